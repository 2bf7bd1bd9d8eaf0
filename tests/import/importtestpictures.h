// Pictures that the tests of the import put into models.
#ifndef TESTS_IMPORT_IMPORTTESTPICTURES_H
#define TESTS_IMPORT_IMPORTTESTPICTURES_H

#include "kivrender/platform/kivimage.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <vector>

// Pixels of red, green, blue and alpha, from the upper left corner.
inline std::string pngOf(std::int32_t width, std::int32_t height,
                         const std::vector<std::array<std::uint8_t, 4>>& pixels) {
    const auto image = KivImage::createWithAlpha({width, height});
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        const auto& [r, g, b, a] = pixels[i];
        const std::array<std::uint8_t, 4> stored{b, g, r, a};
        const std::size_t x = i % static_cast<std::size_t>(width);
        std::copy(stored.begin(), stored.end(), image->row(static_cast<std::int32_t>(i / width)) + 4 * x);
    }
    const std::vector<std::uint8_t> bytes = image->encode(KivImageFormat::png);
    return {bytes.begin(), bytes.end()};
}

#endif
