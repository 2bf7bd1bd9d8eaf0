// The framebuffer object that a context draws into in place of a window, and the way of its colour into a bitmap and
// back. For the platform folder alone. All operations need the context current on the calling thread.
#ifndef KIVRENDER_PLATFORM_KIVGLFRAMEBUFFER_H
#define KIVRENDER_PLATFORM_KIVGLFRAMEBUFFER_H

#include "kivrender/platform/kivglcontext.h"
#include "kivrender/platform/kivglframe.h"
#include "kivrender/platform/kivtypes.h"

#include <cstdint>

class KivGlFramebuffer {
public:
    // Makes colour, depth and, if it is wanted, a stencil of the frame's size and binds them. Black, depth and stencil
    // 0 at first. False, with *failure telling why, if the driver can't: nothing is bound then.
    bool create(const KivGlFrame& newFrame, tagSIZE newSurface, bool withStencil, KivGlFailure* failure);
    // Bound, and its surface as create leaves it, after it was drawn into.
    void renew() const;
    // Gives a frame of the same size to another surface, which is as create leaves it.
    void moveTo(const KivGlFrame& newFrame, tagSIZE newSurface);
    // The names themselves; what is bound to them becomes unbound.
    void destroy();

    // Of the surface.
    tagSIZE size() const {
        return surface;
    }
    const KivGlFrame& frame() const {
        return whole;
    }
    bool hasStencil() const {
        return stencilled;
    }
    // Both leave all state of the context as it was. pixels holds the surface's rows without padding, blue first, the
    // bottom row first: all of them, or count rows from that one on.
    void read(std::int32_t firstRow, std::int32_t count, std::uint8_t* pixels) const;
    void write(const std::uint8_t* pixels) const;

private:
    bool createTargets();
    void clear() const;
    bool checkLimits(KivGlFailure* failure) const;
    bool isWhole() const {
        return surface == whole.size;
    }

    KivGlFrame whole;
    tagSIZE surface{};
    unsigned int framebuffer = 0;
    unsigned int colour = 0; // a texture: only those let the caller choose the order of the bytes
    unsigned int depthStencil = 0;
    bool stencilled = false;
};

#endif
