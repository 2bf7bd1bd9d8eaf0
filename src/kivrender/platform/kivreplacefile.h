// Small files read and replaced as a whole, so that whoever opens one sees the old or the new content and never a part.
#ifndef KIVRENDER_PLATFORM_KIVREPLACEFILE_H
#define KIVRENDER_PLATFORM_KIVREPLACEFILE_H

#include "kivrender/platform/kivexport.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

// The bytes of a regular file. Nothing for what is missing, can't be read, is no regular file or larger than maxSize.
KIV_API std::optional<std::string> kivReadFile(const std::wstring& path, std::size_t maxSize);

// Reads the file (a missing one counts as empty), lets edit change its bytes and puts the result in its place. The
// folder is locked meanwhile, so that two programs that do this take turns. A link is followed; permissions stay. False
// if edit says so, and on any failure: the file is as it was then, and nothing is left beside it.
KIV_API bool kivReplaceFile(const std::wstring& path, std::size_t maxSize,
                            const std::function<bool(std::string&)>& edit);

// Makes a file with these bytes; false, with nothing changed, if the name is taken, and on failure.
KIV_API bool kivCreateFile(const std::wstring& path, const std::string& bytes);

// Whether so many bytes could be written into the folder now.
KIV_API bool kivHasRoom(const std::wstring& folder, std::size_t bytes);

// Whether anything has that name, a link that leads nowhere included.
KIV_API bool kivFileExists(const std::wstring& path);

#endif
