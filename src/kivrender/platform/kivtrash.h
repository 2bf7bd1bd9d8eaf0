// The user's wastebasket, where what is removed by hand can be found again.
#ifndef KIVRENDER_PLATFORM_KIVTRASH_H
#define KIVRENDER_PLATFORM_KIVTRASH_H

#include "kivrender/platform/kivexport.h"

#include <string>

// Moves a file there: Trash in kivDataFolder, where desktops look for it, with a note of where the file was. A link is
// moved as a link. False, with the file where it was, if there is no such place or it can't be written.
KIV_API bool kivMoveToTrash(const std::wstring& path);

#endif
