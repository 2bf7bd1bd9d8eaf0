#include "surface_calls.h"

#include <EGL/egl.h>
#include <GL/gl.h>

#include <atomic>
#include <dlfcn.h>

namespace {

std::atomic<int> calls{0};

template <typename Function> Function next(const char* name) {
    ++calls;
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

} // namespace

int surfaceGlCalls() {
    return calls;
}

extern "C" {

EGLBoolean eglMakeCurrent(EGLDisplay display, EGLSurface draw, EGLSurface read, EGLContext context) {
    static const auto function = next<decltype(&eglMakeCurrent)>("eglMakeCurrent");
    ++calls;
    return function(display, draw, read, context);
}

EGLBoolean eglDestroyContext(EGLDisplay display, EGLContext context) {
    static const auto function = next<decltype(&eglDestroyContext)>("eglDestroyContext");
    ++calls;
    return function(display, context);
}

EGLContext eglGetCurrentContext() {
    static const auto function = next<decltype(&eglGetCurrentContext)>("eglGetCurrentContext");
    ++calls;
    return function();
}

void glReadPixels(GLint x, GLint y, GLsizei width, GLsizei height, GLenum format, GLenum type, void* pixels) {
    static const auto function = next<decltype(&glReadPixels)>("glReadPixels");
    ++calls;
    function(x, y, width, height, format, type, pixels);
}

void glGetIntegerv(GLenum name, GLint* value) {
    static const auto function = next<decltype(&glGetIntegerv)>("glGetIntegerv");
    ++calls;
    function(name, value);
}

void glFinish() {
    static const auto function = next<decltype(&glFinish)>("glFinish");
    ++calls;
    function();
}

void glFlush() {
    static const auto function = next<decltype(&glFlush)>("glFlush");
    ++calls;
    function();
}
}
