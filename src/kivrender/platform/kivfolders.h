// The folders that the system keeps for a user, and files at the operating system's edge. Paths have no closing
// separator; an empty one means that the folder is not known, as without a home.
#ifndef KIVRENDER_PLATFORM_KIVFOLDERS_H
#define KIVRENDER_PLATFORM_KIVFOLDERS_H

#include "kivrender/platform/kivexport.h"

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

// $XDG_DATA_HOME, or ~/.local/share.
KIV_API std::wstring kivDataFolder();
// $XDG_CONFIG_HOME, or ~/.config.
KIV_API std::wstring kivConfigFolder();
// $XDG_CACHE_HOME, or ~/.cache.
std::wstring kivCacheFolder();
// The first of $XDG_CONFIG_DIRS, or /etc/xdg.
KIV_API std::wstring kivMachineConfigFolder();
// The user's documents as user-dirs.dirs in kivConfigFolder names them, or the home folder.
KIV_API std::wstring kivDocumentsFolder();

// Makes a folder and what is missing above it. True if it is there afterwards.
KIV_API bool kivMakeFolders(const std::wstring& path);

// The names, without the folder, of the regular files in a folder (links followed) that end like that, such as ".kiv",
// case ignored; in name order without regard to case and then by exact name. Empty for a folder that can't be read.
KIV_API std::vector<std::wstring> kivListFiles(const std::wstring& folder, std::wstring_view ending);

// fopen with a wide path.
KIV_API std::FILE* kivOpenFile(const std::wstring& path, const char* mode);

#endif
