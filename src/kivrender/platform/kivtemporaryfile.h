// Files for what is under way.
//
// Held files are reached by a path, so that others can write and read them, and are gone when their last owner or the
// process ends: where the system can do that they never have a name in a folder, and the path leads to the open file.
#ifndef KIVRENDER_PLATFORM_KIVTEMPORARYFILE_H
#define KIVRENDER_PLATFORM_KIVTEMPORARYFILE_H

#include "kivrender/platform/kivexport.h"

#include <string>

// The folder for temporary files: $TMPDIR, or /tmp if that is not set or empty. Without a closing separator.
KIV_API std::wstring kivTemporaryFolder();

// Makes a new empty file in the folder, named by the prefix, a number and ".tmp", for this user alone. Its descriptor,
// which is the caller's, and its path; -1 on failure, with the last error set.
KIV_API int kivOpenTemporaryFile(const std::wstring& folder, const std::wstring& prefix, std::string* path);

// Makes an empty file that is held, with one owner, and returns its path, which other processes of this user may use
// too. Empty on failure, with the last error set.
KIV_API std::wstring kivHoldTemporaryFile(const std::wstring& folder, const std::wstring& prefix);
// One more owner, one less. Nothing happens for a path that is none of a held file.
KIV_API void kivShareTemporaryFile(const std::wstring& path);
KIV_API void kivReleaseTemporaryFile(const std::wstring& path);

KIV_API bool kivRemoveFile(const std::wstring& path);

#endif
