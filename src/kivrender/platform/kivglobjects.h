// The objects behind HDC and HGLRC, for the platform folder alone.
#ifndef KIVRENDER_PLATFORM_KIVGLOBJECTS_H
#define KIVRENDER_PLATFORM_KIVGLOBJECTS_H

#include "kivrender/platform/kivbitmapobject.h"
#include "kivrender/platform/kivegl.h"
#include "kivrender/platform/kivglframebuffer.h"
#include "kivrender/platform/kivhandletable.h"
#include "kivrender/platform/kivtypes.h"

#include <memory>

struct KivGlContextObject {
    KivGlContextObject() = default;
    KivGlContextObject(const KivGlContextObject&) = delete;
    KivGlContextObject& operator=(const KivGlContextObject&) = delete;
    // A context that another thread has current ends when that thread lets it go.
    ~KivGlContextObject();

    // Of its framebuffer, the bottom one being 0, without padding. False, with nothing copied, if it can't be had.
    bool readRows(std::int32_t first, std::int32_t count, std::uint8_t* rows);

    // Null on failure, with *failure telling why.
    static std::shared_ptr<KivGlContextObject> make(KivGlFailure* failure);
    // Gives the framebuffer that size, if it has another, and a stencil, if it has none. What the thread had current
    // stays so.
    bool fit(tagSIZE size, bool withStencil, KivGlFailure* failure);

    EGLDisplay display = EGL_NO_DISPLAY;
    EGLContext context = EGL_NO_CONTEXT;
    KivGlFramebuffer framebuffer;
    std::shared_ptr<KivBitmapObject> bitmap; // what it drew into last; null before its first use
    bool isBehindBitmap = false;             // the bitmap was changed by a copy since
    bool defersPictures = false;             // bitmaps get them when they are asked for
    bool isReusable = false;                 // its first state was saved
    int uses = 0;
};

struct KivDeviceContextObject {
    HBITMAP selected = nullptr;                   // null only for the screen
    int pixelFormat = 0;                          // 0: not set yet
    std::shared_ptr<KivGlContextObject> prepared; // made with the pixel format, for the first context
    std::weak_ptr<KivGlContextObject> drawing;    // the context that was last taken for this device context
};

using KivDeviceContextTable = KivHandleTable<KivDeviceContextObject, HDC>;
using KivGlContextTable = KivHandleTable<KivGlContextObject, HGLRC>;

KivDeviceContextTable& kivDeviceContextTable();
KivGlContextTable& kivGlContextTable();

// Whether the pixel format of that number has one.
bool kivHasStencil(int pixelFormat);

// A context with a framebuffer of that size: the one that was warmed up, if there is one, or a new one.
std::shared_ptr<KivGlContextObject> kivTakeGlContext(tagSIZE size, bool withStencil, KivGlFailure* failure);

// For kivKeepGlContexts; both with the context current. Saves the state of a fresh context; brings a used one back to
// it, or tells that it is not to be used again.
void kivPrepareReuse(KivGlContextObject& context);
bool kivMakeAsNew(KivGlContextObject& context);

// The context has to take over its bitmap, which has changed: at once if it is current on this thread, else when it is
// taken next. The first operation makes the bitmap as new as the drawing, before the change.
void kivBeforeBitmapChange(KivGlContextObject& context);
void kivAfterBitmapChange(KivGlContextObject& context);

// Keeps the failure for kivGlFailure and sets the last error to kivErrorInvalidPixelFormat. Returns false.
bool kivFailGl(const KivGlFailure& failure);
void kivClearGlFailure();

#endif
