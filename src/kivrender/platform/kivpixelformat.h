// What a caller can ask of a place to draw into: the flags and the description of a pixel format.
//
// The names and numbers are those of the Windows interface, where wingdi.h defines them, so that hosts of both systems
// are written alike. KivBitmapManager takes a format with the wishes of a shader and answers with the one that it has
// found: at least as many bits of each kind as were asked for.
#ifndef KIVRENDER_PLATFORM_KIVPIXELFORMAT_H
#define KIVRENDER_PLATFORM_KIVPIXELFORMAT_H

#include "kivrender/platform/kivtypes.h"

#include <cstdint>

#if !defined(_WIN32)
// Flags of KivPixelFormat::flags: where the pixels go to ...
inline constexpr std::uint32_t PFD_DRAW_TO_WINDOW = 0x00000004;
inline constexpr std::uint32_t PFD_DRAW_TO_BITMAP = 0x00000008;
// ... that OpenGL draws them ...
inline constexpr std::uint32_t PFD_SUPPORT_OPENGL = 0x00000020;
// ... and who does: the processor, or the processor with help of a graphics card.
inline constexpr std::uint32_t PFD_GENERIC_FORMAT = 0x00000040;
inline constexpr std::uint32_t PFD_GENERIC_ACCELERATED = 0x00001000;
// The one pixel type: red, green, blue and alpha, without a palette.
inline constexpr std::uint8_t PFD_TYPE_RGBA = 0;
#endif

// A plain record: 0 asks for nothing in particular, and answers that there is none.
struct KivPixelFormat {
    // Any of PFD_ above, together.
    std::uint32_t flags = 0;
    std::uint8_t pixelType = 0;
    // Bits of each pixel: of red, green and blue together, of alpha, of depth and of the stencil. Shadows need a
    // stencil of 8 bits.
    std::uint8_t colourBits = 0;
    std::uint8_t alphaBits = 0;
    std::uint8_t depthBits = 0;
    std::uint8_t stencilBits = 0;
};

#endif
