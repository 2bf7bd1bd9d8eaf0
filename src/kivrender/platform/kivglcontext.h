// The objects behind HDC and HGLRC: device contexts in memory with one bitmap selected, and OpenGL contexts that draw
// for them off screen, through EGL without any window system.
//
// An OpenGL context draws into a framebuffer object of the size of the bitmap: 32 bits of colour, 32 of depth as
// floating point, 8 of stencil or none, as the pixel format says. The bitmap gets the picture each time the context is
// released. What is in the framebuffer, depth and stencil included, and all state survive a release, so drawing goes on
// where it stood. A context that the caller had current when one of ours was taken is current again when ours is
// released.
//
// Environment, read once:
//   SELVARIN_GL=software|gpu|auto   what draws. software and auto: Mesa in software. gpu: the first device of EGL that
//                                   gives a usable context, which may still be software where there is no other.
//   SELVARIN_GL_DISABLE=NAME,...    switches off, by name, what is done for one driver's sake: "bgra-target" (colour is
//                                   kept in the bitmap's byte order, so that the read-back is a plain copy),
//                                   "huge-pages" (pixel memory asks for large pages).
//
// Handles are of the kind that bitmaps are (platform/kivbitmap.h): never given twice, refused once gone.
#ifndef KIVRENDER_PLATFORM_KIVGLCONTEXT_H
#define KIVRENDER_PLATFORM_KIVGLCONTEXT_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivpixelformat.h"
#include "kivrender/platform/kivtypes.h"

#include <cstdint>
#include <string>

struct KivGlFailure {
    enum Kind {
        none,
        noDriver, // EGL or its driver gives no context
        tooLarge, // the bitmap is larger than limit in one direction
        noMemory, // the driver can't make the framebuffer
        wrongUse  // a handle that is gone, a context without a pixel format or for another size of bitmap
    };
    Kind kind = none;
    std::int32_t limit = 0; // pixels, for tooLarge: the largest width and height
    std::string detail;     // for reports of problems: the call that failed, not for translation
};

// --- device contexts

// The parent of all memory device contexts: stands for the screen and needs no release. It has no bitmap, takes none,
// and 32 bits a pixel.
KIV_API HDC kivScreenDeviceContext();
// A device context in memory with the stand-by bitmap selected. Null if the parent is null or gone.
KIV_API HDC kivCreateCompatibleDeviceContext(HDC parent);
// Ends a device context. A bitmap other than the stand-by that is still selected loses the context as owner. False for
// null, the screen and one that is gone.
KIV_API bool kivDeleteDeviceContext(HDC dc);
// Selects a bitmap and returns what was selected before. The caller's ownership of the one goes to the context and the
// context's of the other to the caller. Null, with nothing changed, if either handle is null or gone.
KIV_API HBITMAP kivSelectBitmap(HDC dc, HBITMAP bitmap);
// The selected bitmap; null for the screen and for null. It stays the context's.
KIV_API HBITMAP kivSelectedBitmap(HDC dc);
// Copies size pixels of the source's bitmap to the target's, top left corner on top left corner; what lies outside
// either bitmap is left out. An OpenGL context of the target goes on from the changed picture. False if either has no
// bitmap.
KIV_API bool kivCopyPixels(HDC target, HDC source, tagSIZE size);
// 32 for any context; 0 for null or one that is gone.
KIV_API int kivBitsPerPixel(HDC dc);

// --- pixel formats

// How many formats the context offers, and the description of one of them, numbered from 1. 0 for null or one that is
// gone, false for a number outside.
KIV_API int kivPixelFormatCount(HDC dc);
KIV_API bool kivDescribePixelFormat(HDC dc, int number, KivPixelFormat* format);
// Sets the format and makes the OpenGL context and its framebuffer ready, so that what can't be drawn fails here: no
// driver, a bitmap larger than the driver draws, no memory. False then, with the last error kivErrorInvalidPixelFormat
// and the reason in kivGlFailure().
KIV_API bool kivSetPixelFormat(HDC dc, int number);
// The last failure of this thread in this header; without a kind if there was none since the last success of
// kivSetPixelFormat.
KIV_API KivGlFailure kivGlFailure();

// --- OpenGL contexts

// A context for a device context whose pixel format is set. Null on failure.
KIV_API HGLRC kivCreateGlContext(HDC dc);
// Takes the context on this thread, drawing into the bitmap of dc; with a null context releases the one that is
// taken, which finishes its drawing and writes the picture into its bitmap. False on failure, with nothing taken.
KIV_API bool kivMakeGlCurrent(HDC dc, HGLRC context);
// Ends a context, released first if it is current. False for null and one that is gone.
KIV_API bool kivDeleteGlContext(HGLRC context);
// The context of ours that is current on this thread, or null.
KIV_API HGLRC kivCurrentGlContext();

#endif
