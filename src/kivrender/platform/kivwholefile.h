// Files that are written as a whole: whoever opens one sees the old or the new content, and a failure leaves neither a
// part of a file nor anything beside it. Unless it is asked for nothing is forced to the disk: a power cut may then
// lose what was written last. What is not a regular file (a pipe, a device) is written as it stands.
#ifndef KIVRENDER_PLATFORM_KIVWHOLEFILE_H
#define KIVRENDER_PLATFORM_KIVWHOLEFILE_H

#include "kivrender/platform/kivexport.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

// Replaces or makes the file. False on failure, with the last error set.
KIV_API bool kivWriteWholeFile(const std::wstring& path, std::span<const std::uint8_t> bytes, bool isForced = false);

// The same with the content of another file.
KIV_API bool kivCopyWholeFile(const std::wstring& from, const std::wstring& to);

// Gives a finished file the name of another, which it replaces: the permissions of that one stay, and its owner where
// the system lets us; a link stays a link. From another file system, and to what is no regular file, its content is
// copied. False, with the last error set and the file where it was, on failure.
KIV_API bool kivMoveWholeFile(const std::wstring& from, const std::wstring& to);

// Where the file of that name really stands: the path itself, or where its links lead. Empty if they lead nowhere.
KIV_API std::wstring kivBehindLinks(const std::wstring& path);

// Whether a file could be written under that name now. Leaves everything as it is; false with the last error set.
KIV_API bool kivCanWriteFile(const std::wstring& path);

#endif
