#include "kivrender/host/kivreducedimage.h"

#include "kivrender/host/kivhostapplicationservices.h"
#include "kivrender/platform/kivimage.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace {

// The picture with 24 bits and copies of its last column up to that width, cut where it is wider. Null without memory.
std::unique_ptr<KivImage> withWidth(const KivImage& picture, std::int32_t width) {
    std::unique_ptr<KivImage> widened = KivImage::create({width, picture.height()});
    for (std::int32_t y = 0; widened && y < picture.height(); ++y) {
        std::uint8_t* to = widened->row(y);
        for (std::int32_t x = 0; x < width; ++x, to += 3) {
            const std::uint32_t colour = picture.pixel(std::min(x, picture.width() - 1), y);
            to[0] = static_cast<std::uint8_t>(colour >> 16U);
            to[1] = static_cast<std::uint8_t>(colour >> 8U);
            to[2] = static_cast<std::uint8_t>(colour);
        }
    }
    return widened;
}

} // namespace

std::unique_ptr<KivImage> kivReducedImage(KivHostApplicationServices& host, std::unique_ptr<KivImage> picture,
                                          int divisor) {
    const tagSIZE size{picture->width() / divisor, picture->height() / divisor};
    const std::int32_t rounded = (size.cx + 3) / 4 * 4;
    std::unique_ptr<KivImage> widened;
    if (rounded != size.cx) {
        widened = withWidth(*picture, rounded * divisor);
    }
    KivImage* const source = widened ? widened.get() : picture.get();
    std::unique_ptr<KivImage> reduced(host.stretchImageBilinear(source, {widened ? rounded : size.cx, size.cy}));
    if (!reduced) {
        return picture;
    }
    if (widened && reduced->width() > size.cx) {
        if (auto cut = reduced->part({0, 0, size.cx, reduced->height()})) {
            return cut;
        }
    }
    return reduced;
}
