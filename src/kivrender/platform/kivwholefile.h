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

// Whether the two above could write under that name now. Leaves everything as it is; false with the last error set.
KIV_API bool kivCanWriteFile(const std::wstring& path);

#endif
