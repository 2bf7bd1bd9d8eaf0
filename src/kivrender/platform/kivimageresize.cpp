#include "kivrender/platform/kivimageresize.h"

#include "kivrender/platform/kivimage.h"

// The warnings are the header's own.
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wsign-compare"
#pragma GCC diagnostic ignored "-Wunused-but-set-variable"
#pragma GCC diagnostic ignored "-Wunused-parameter"
#endif
#define STB_IMAGE_RESIZE_STATIC
#define STB_IMAGE_RESIZE_IMPLEMENTATION
#include <stb/stb_image_resize.h>
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

bool kivResizeBicubic(const KivImage& source, KivImage& target) {
    constexpr int channels = 3;
    return stbir_resize_uint8_generic(
               source.row(0), source.width(), source.height(), static_cast<int>(source.rowBytes()), target.row(0),
               target.width(), target.height(), static_cast<int>(target.rowBytes()), channels, STBIR_ALPHA_CHANNEL_NONE,
               0, STBIR_EDGE_CLAMP, STBIR_FILTER_CATMULLROM, STBIR_COLORSPACE_LINEAR, nullptr) != 0;
}
