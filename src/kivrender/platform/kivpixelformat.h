// What a caller can ask of a place to draw into: the flags and the description of a pixel format.
#ifndef KIVRENDER_PLATFORM_KIVPIXELFORMAT_H
#define KIVRENDER_PLATFORM_KIVPIXELFORMAT_H

#include "kivrender/platform/kivtypes.h"

#include <cstdint>

#if !defined(_WIN32)
inline constexpr std::uint32_t PFD_DRAW_TO_WINDOW = 0x00000004;
inline constexpr std::uint32_t PFD_DRAW_TO_BITMAP = 0x00000008;
inline constexpr std::uint32_t PFD_SUPPORT_OPENGL = 0x00000020;
inline constexpr std::uint32_t PFD_GENERIC_FORMAT = 0x00000040;
inline constexpr std::uint32_t PFD_GENERIC_ACCELERATED = 0x00001000;
inline constexpr std::uint8_t PFD_TYPE_RGBA = 0;
#endif

struct KivPixelFormat {
    std::uint32_t flags = 0;
    std::uint8_t pixelType = 0;
    std::uint8_t colourBits = 0;
    std::uint8_t alphaBits = 0;
    std::uint8_t depthBits = 0;
    std::uint8_t stencilBits = 0;
};

#endif
