// The picture behind HBITMAP: in memory, 32 bits a pixel, the bottom row first, each pixel blue, green, red
// and one byte without meaning, rows without padding.
//
// A handle is a number that is given out once in the life of the process, so a handle whose bitmap is gone is refused
// by every function here and never names a later bitmap. A bitmap counts its owners: it lives until kivDeleteBitmap was
// called once for its making and once for each kivShareBitmap. All functions may be called from any thread; who reads
// or writes the pixels sees to it that nobody deletes the bitmap meanwhile (the lock of the surface serves for that).
#ifndef KIVRENDER_PLATFORM_KIVBITMAP_H
#define KIVRENDER_PLATFORM_KIVBITMAP_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"

#include <cstddef>
#include <cstdint>

struct KivBitmapInfo {
    std::int32_t width = 0;         // pixels, above 0
    std::int32_t height = 0;        // pixels, above 0
    std::size_t rowBytes = 0;       // always width * 4
    std::uint8_t* pixels = nullptr; // height rows, the bottom one first; stays where it is while the bitmap lives
    bool isSection = false; // made by kivCreateBitmapOnSection; otherwise its pixels belong to a device in principle
};

// Describes a bitmap. False, with info untouched and the last error kivErrorInvalidHandle, for null or a handle whose
// bitmap is gone.
KIV_API bool kivGetBitmapInfo(HBITMAP bitmap, KivBitmapInfo* info);

// A black picture in memory of its own. Null on failure: last error kivErrorInvalidParameter for a width or height
// below 1, kivErrorNotEnoughMemory where the memory can't be had.
KIV_API HBITMAP kivCreateBitmap(tagSIZE size);

// A picture on the memory of a section (platform/kivpixelmemory.h), from its first byte. The bitmap keeps the memory
// alive; the section may be closed first. Null on failure, as above; a section too small for the picture is
// kivErrorNotEnoughMemory, a null or closed one kivErrorInvalidHandle.
KIV_API HBITMAP kivCreateBitmapOnSection(tagSIZE size, HANDLE section);

// One more owner. Returns the same handle, or null for a handle whose bitmap is gone.
KIV_API HBITMAP kivShareBitmap(HBITMAP bitmap);

// One owner less; the last one frees the memory. False for null or a handle whose bitmap is gone. The stand-by bitmap
// of device contexts is nobody's: for it the answer is true and nothing happens.
KIV_API bool kivDeleteBitmap(HBITMAP bitmap);

// The bitmap of one black pixel that a device context has selected until it is given another.
KIV_API HBITMAP kivStandByBitmap();

#endif
