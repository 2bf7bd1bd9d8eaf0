// PNG files as another reader sees them.
#ifndef TESTS_APPS_PNGPIXELS_H
#define TESTS_APPS_PNGPIXELS_H

#include <cstdint>
#include <string>
#include <vector>

#include <png.h>

struct Pixels {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    bool hasAlpha = false;
    std::vector<std::uint8_t> rgba;
};

// Of no size if it can't be read.
inline Pixels readPixels(const std::string& path) {
    Pixels pixels;
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, path.c_str()) == 0) {
        return pixels;
    }
    pixels.hasAlpha = (image.format & PNG_FORMAT_FLAG_ALPHA) != 0;
    image.format = PNG_FORMAT_RGBA;
    pixels.rgba.resize(PNG_IMAGE_SIZE(image));
    if (png_image_finish_read(&image, nullptr, pixels.rgba.data(), 0, nullptr) != 0) {
        pixels.width = image.width;
        pixels.height = image.height;
    }
    return pixels;
}

#endif
