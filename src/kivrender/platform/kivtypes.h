// The few system types of the interface: sizes, rectangles and opaque handles, so that hosts, plug-ins and the
// library speak of bitmaps, contexts, modules and windows without the headers of any operating system.
//
// On Windows these are the system's own types, from its headers; elsewhere they have the same names, sizes and meaning,
// so that one source serves both. Handles are pointers that only the library looks behind: hosts pass them on, compare
// them with null, and free none but by the class that gave them.
#ifndef KIVRENDER_PLATFORM_KIVTYPES_H
#define KIVRENDER_PLATFORM_KIVTYPES_H

#if defined(_WIN32)
#include <windows.h>
#else

#include <cstdint>

// Width and height in pixels.
struct tagSIZE {
    std::int32_t cx = 0;
    std::int32_t cy = 0;

    friend bool operator==(const tagSIZE&, const tagSIZE&) = default;
};
using SIZE = tagSIZE;

// Left, top, right, bottom in pixels; right and bottom stand one past the last pixel.
struct tagRECT {
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t right = 0;
    std::int32_t bottom = 0;
};
using RECT = tagRECT;

// Names an image encoder.
struct GUID {
    std::uint32_t Data1 = 0;
    std::uint16_t Data2 = 0;
    std::uint16_t Data3 = 0;
    std::uint8_t Data4[8] = {};

    friend bool operator==(const GUID&, const GUID&) = default;
};

// Opaque handles. What stands behind each is known to platform/ alone.
// Owned by a KivBitmapManager, or by whoever the operation that returns one names.
struct KivBitmapObject;        // pixels in memory: 32 bits each, B G R X in memory order, bottom row first
struct KivDeviceContextObject; // a place to draw into, with one bitmap selected
struct KivGlContextObject;     // an OpenGL context
struct KivModuleObject;        // a loaded shared library
struct KivWindow;              // a window of the toolkit, if one is installed

// Null stands for none in all of them.
using HBITMAP = KivBitmapObject*;
using HDC = KivDeviceContextObject*;
using HGLRC = KivGlContextObject*;
using HINSTANCE = KivModuleObject*;
using HWND = KivWindow*;
using HANDLE = void*;

#endif

// Paths and strings that cross the interface in a fixed buffer fit into this many wide characters, the closing zero
// included. Every copy into such a buffer goes through kivCopyText.
inline constexpr int kivMaxPath = 260;

// The number of shaders that can be loaded at a time, and so the size of every array of shaders.
inline constexpr int kivMaxShaders = 32;

#endif
