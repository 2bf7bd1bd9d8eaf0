// The last error of the calling thread, as numbers that mean the same on every system, and their texts. The surface
// functions set it where they fail; what succeeds leaves it alone.
//
//     kivSetLastError(0);
//     if (!kivWriteWholeFile(path, bytes)) {
//         report(path + L": " + kivSystemErrorText(kivGetLastError()));
//     }
//
// Each thread has an error of its own. The numbers are those of Windows, for which hosts of the interface were written.
#ifndef KIVRENDER_PLATFORM_KIVSYSTEMERROR_H
#define KIVRENDER_PLATFORM_KIVSYSTEMERROR_H

#include "kivrender/platform/kivexport.h"

#include <string>

inline constexpr unsigned long kivErrorFileNotFound = 2;
inline constexpr unsigned long kivErrorPathNotFound = 3;
inline constexpr unsigned long kivErrorTooManyOpenFiles = 4;
inline constexpr unsigned long kivErrorAccessDenied = 5;
inline constexpr unsigned long kivErrorInvalidHandle = 6;
inline constexpr unsigned long kivErrorNotEnoughMemory = 8;
inline constexpr unsigned long kivErrorWriteProtect = 19;
inline constexpr unsigned long kivErrorGeneralFailure = 31;
inline constexpr unsigned long kivErrorInvalidParameter = 87;
inline constexpr unsigned long kivErrorDiskFull = 112;
inline constexpr unsigned long kivErrorBadArguments = 160;
inline constexpr unsigned long kivErrorAlreadyExists = 183;
inline constexpr unsigned long kivErrorFileTooLarge = 223;
inline constexpr unsigned long kivErrorInvalidPixelFormat = 2000;

// 0 where nothing has failed since it was set to 0.
KIV_API unsigned long kivGetLastError();
KIV_API void kivSetLastError(unsigned long code);

// The number that stands for an errno value; kivErrorGeneralFailure where there is none of its own.
KIV_API unsigned long kivErrorFromErrno(int value);

// One English line for a number of the list above, as the operating system would word it; for any other number a line
// that names the number. Never empty.
KIV_API std::wstring kivSystemErrorText(unsigned long code);

#endif
