// A surface with an OpenGL context current, and how to look at its pixels.
#ifndef TESTS_SUPPORT_GLSURFACE_H
#define TESTS_SUPPORT_GLSURFACE_H

#include "kivrender/platform/kivbitmap.h"
#include "kivrender/platform/kivglcontext.h"
#include "kivrender/platform/kivpixelformat.h"
#include "kivrender/render/kivbitmapmanager.h"

#include <GL/gl.h>
#include <cstdint>
#include <stdexcept>

// A pixel of a finished surface, from the bottom left, red in the low byte.
inline std::uint32_t pixelOf(KivBitmapManager& surface, int x, int y) {
    KivBitmapInfo info;
    if (!kivGetBitmapInfo(surface.getHBitmap(), &info) || x < 0 || y < 0 || x >= info.width || y >= info.height) {
        throw std::runtime_error("no such pixel");
    }
    const std::uint8_t* const at =
        info.pixels + static_cast<std::size_t>(y) * info.rowBytes + static_cast<std::size_t>(x) * 4;
    return static_cast<std::uint32_t>(at[2]) | static_cast<std::uint32_t>(at[1]) << 8U |
           static_cast<std::uint32_t>(at[0]) << 16U;
}

// How many pixels have the colour.
inline int countPixels(KivBitmapManager& surface, std::uint32_t color) {
    KivBitmapInfo info;
    int count = 0;
    if (kivGetBitmapInfo(surface.getHBitmap(), &info)) {
        for (int y = 0; y < info.height; ++y) {
            for (int x = 0; x < info.width; ++x) {
                count += pixelOf(surface, x, y) == color ? 1 : 0;
            }
        }
    }
    return count;
}

class GlSurface {
public:
    explicit GlSurface(std::int32_t width = 64, std::int32_t height = 64) {
        tagSIZE size{width, height};
        if (wglCreateDefaultBitmapDC(&surface, &size, 32, 0, 32, 8, PFD_GENERIC_FORMAT, nullptr, true) == 0) {
            throw std::runtime_error("no surface");
        }
        surface.setHGLRC(kivCreateGlContext(surface.getHDC()));
        if (!kivMakeGlCurrent(surface.getHDC(), surface.getHGLRC())) {
            throw std::runtime_error("no context");
        }
        glViewport(0, 0, width, height);
        glClearColor(0.0F, 0.0F, 0.0F, 0.0F);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
    }
    GlSurface(const GlSurface&) = delete;
    GlSurface& operator=(const GlSurface&) = delete;

    KivBitmapManager& manager() {
        return surface;
    }
    // The pixels drawn there now, from the bottom left, red in the low byte.
    static std::uint32_t pixel(int x, int y) {
        std::uint8_t bytes[4] = {};
        glReadPixels(x, y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, bytes);
        return static_cast<std::uint32_t>(bytes[0]) | static_cast<std::uint32_t>(bytes[1]) << 8U |
               static_cast<std::uint32_t>(bytes[2]) << 16U;
    }

private:
    KivBitmapManager surface;
};

#endif
