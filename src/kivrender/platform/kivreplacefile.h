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

#endif
