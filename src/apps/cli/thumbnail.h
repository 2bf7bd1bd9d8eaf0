// A small copy of a picture for a contact sheet.
#ifndef APPS_CLI_THUMBNAIL_H
#define APPS_CLI_THUMBNAIL_H

#include "kivrender/platform/kivtypes.h"

#include <string>

inline constexpr int thumbnailSide = 240;

// As a PNG of at most that side, averaged from whole blocks of pixels. A sheet without it has a gap, and so a failure
// is not told.
void saveThumbnail(HBITMAP picture, const std::wstring& file);

#endif
