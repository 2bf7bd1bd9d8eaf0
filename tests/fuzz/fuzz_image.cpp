// Image files of all formats: whatever the bytes are, a picture or nothing comes back, within the limit of pixels.
#include "kivrender/platform/kivimage.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::uint64_t maxPixels = 1 << 16;
    const auto image = KivImage::decode({data, size}, maxPixels);
    if (image) {
        if (static_cast<std::uint64_t>(image->width()) * static_cast<std::uint64_t>(image->height()) > maxPixels) {
            std::abort();
        }
        std::uint32_t sum = 0;
        for (std::int32_t y = 0; y < image->height(); ++y) {
            sum += image->pixel(image->width() - 1, y);
        }
        static volatile std::uint32_t sink;
        sink = sum;
    }
    return 0;
}
