// EGL for the platform folder alone: which driver draws, contexts of it, and what the calling thread had current.
#ifndef KIVRENDER_PLATFORM_KIVEGL_H
#define KIVRENDER_PLATFORM_KIVEGL_H

#include "kivrender/platform/kivglcontext.h"

#include <EGL/egl.h>

#include <string>

// What EGL has current on the calling thread. Plain data: it may live as long as the thread.
struct KivEglBinding {
    EGLDisplay display = EGL_NO_DISPLAY;
    EGLSurface draw = EGL_NO_SURFACE;
    EGLSurface read = EGL_NO_SURFACE;
    EGLContext context = EGL_NO_CONTEXT;
    EGLenum api = EGL_OPENGL_API;

    static KivEglBinding current();
    // Makes it current again; if that is no longer possible, nothing. ownDisplay is the display to release then.
    void restore(EGLDisplay ownDisplay) const;
};

// Puts back, at the end of a block, what was current at its start.
class KivEglRestore {
public:
    explicit KivEglRestore(EGLDisplay ownDisplay) : before(KivEglBinding::current()), display(ownDisplay) {}
    KivEglRestore(const KivEglRestore&) = delete;
    KivEglRestore& operator=(const KivEglRestore&) = delete;
    ~KivEglRestore() {
        before.restore(display);
    }

private:
    KivEglBinding before;
    EGLDisplay display;
};

// The display of the driver in use: chosen at the first call, initialised again at each, as a caller who shares it may
// have terminated it. EGL_NO_DISPLAY if there is none, with *failure telling why.
EGLDisplay kivEglDisplay(KivGlFailure* failure);

// A new OpenGL context of the compatibility profile, without a surface. Null with *failure telling why.
EGLContext kivEglCreateContext(EGLDisplay display, KivGlFailure* failure);

// No driver, because that call of EGL failed: the detail is "eglInitialize: 0x3001".
KivGlFailure kivEglFailure(const char* call);

#endif
