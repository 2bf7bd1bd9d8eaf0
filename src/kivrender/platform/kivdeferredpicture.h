// Pictures that stay where OpenGL has drawn them until somebody wants their pixels, so that a large one that is made
// smaller in bands never fills the memory of its bitmap.
#ifndef KIVRENDER_PLATFORM_KIVDEFERREDPICTURE_H
#define KIVRENDER_PLATFORM_KIVDEFERREDPICTURE_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"

#include <cstdint>

// From now on a release of the context (kivMakeGlCurrent) leaves the picture in the framebuffer, and the bitmap gets it
// when it is asked for its pixels (kivGetBitmapInfo), from any thread and also after the context's end. A picture that
// nobody has asked for when the context is taken again never comes into the bitmap; once somebody has, each release
// writes it as ever. False for a context that is gone.
KIV_API bool kivDeferPictures(HGLRC context);

// The size of a bitmap in pixels, and whether it was made on a section; its pixels stay where they are. False, with
// nothing written and the last error kivErrorInvalidHandle, for null or a handle whose bitmap is gone.
KIV_API bool kivGetBitmapSize(HBITMAP bitmap, tagSIZE* size, bool* isSection);

// Copies count rows from first on, the bottom one being 0, each of width * 4 bytes without padding. A picture that is
// still with OpenGL comes from there, and the memory of the bitmap stays untouched. False as above, with the last error
// kivErrorInvalidParameter for rows that the bitmap does not have, and if the picture can't be had.
KIV_API bool kivReadBitmapRows(HBITMAP bitmap, std::int32_t first, std::int32_t count, std::uint8_t* rows);

#endif
