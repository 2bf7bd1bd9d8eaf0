#include "kivrender/platform/kivsystemerror.h"

#include <array>
#include <cerrno>

namespace {

thread_local unsigned long lastError = 0;

struct ErrorText {
    unsigned long code;
    const wchar_t* text;
};

constexpr std::array errorTexts{
    ErrorText{kivErrorFileNotFound, L"The file can't be found."},
    ErrorText{kivErrorPathNotFound, L"The folder can't be found."},
    ErrorText{kivErrorTooManyOpenFiles, L"Too many files are open."},
    ErrorText{kivErrorAccessDenied, L"Access is denied."},
    ErrorText{kivErrorInvalidHandle, L"The handle is not valid."},
    ErrorText{kivErrorNotEnoughMemory, L"There is not enough memory."},
    ErrorText{kivErrorWriteProtect, L"The medium is write-protected."},
    ErrorText{kivErrorGeneralFailure, L"The system reported a failure."},
    ErrorText{kivErrorInvalidParameter, L"A parameter is not valid."},
    ErrorText{kivErrorDiskFull, L"The disk is full."},
    ErrorText{kivErrorBadArguments, L"An argument is missing or not valid."},
    ErrorText{kivErrorAlreadyExists, L"The file exists already."},
    ErrorText{kivErrorFileTooLarge, L"The file is larger than the limit allows."},
    ErrorText{kivErrorInvalidPixelFormat, L"The picture can't be drawn: OpenGL has no fitting pixel format."},
};

} // namespace

unsigned long kivGetLastError() {
    return lastError;
}

void kivSetLastError(unsigned long code) {
    lastError = code;
}

unsigned long kivErrorFromErrno(int value) {
    switch (value) {
    case ENOENT:
        return kivErrorFileNotFound;
    case ENOTDIR:
    case ELOOP:
    case ENAMETOOLONG:
        return kivErrorPathNotFound;
    case EMFILE:
    case ENFILE:
        return kivErrorTooManyOpenFiles;
    case EACCES:
    case EPERM:
        return kivErrorAccessDenied;
    case EBADF:
        return kivErrorInvalidHandle;
    case ENOMEM:
    case EAGAIN:
        return kivErrorNotEnoughMemory;
    case EROFS:
        return kivErrorWriteProtect;
    case EINVAL:
        return kivErrorInvalidParameter;
    case ENOSPC:
    case EDQUOT:
        return kivErrorDiskFull;
    case EEXIST:
        return kivErrorAlreadyExists;
    case EFBIG:
        return kivErrorFileTooLarge;
    default:
        return kivErrorGeneralFailure;
    }
}

std::wstring kivSystemErrorText(unsigned long code) {
    for (const ErrorText& entry : errorTexts) {
        if (entry.code == code) {
            return entry.text;
        }
    }
    std::wstring text(L"Error ");
    return text.append(std::to_wstring(code)).append(L".");
}
