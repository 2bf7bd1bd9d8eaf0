#include "kivrender/lines/skins/skinpaint.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace {

// As pictures are filtered where a surface is seen from the side.
constexpr double mostAnisotropy = 4.0;

// The colours at the vertices as a picture of one row.
KivSkinImage colorsAtVertices(const KivMeshPaint& paint) {
    KivSkinImage image{static_cast<int>(paint.coordinates.size()), 1, {}};
    image.pixels.reserve(4 * paint.coordinates.size());
    for (const std::array<float, 3>& parts : paint.coordinates) {
        const SkinPaint::Color color = kivSkinColor({parts[0], parts[1], parts[2]});
        image.pixels.insert(image.pixels.end(), {color[0], color[1], color[2], 255});
    }
    return image;
}

double pixelsAlong(const std::array<double, 2>& step, const KivTexture& texture) {
    return std::hypot(step[0] * texture.width, step[1] * texture.height);
}

} // namespace

bool kivIsUsable(const KivTexture& texture) {
    return texture.width > 0 && texture.height > 0 &&
           texture.pixels.size() ==
               std::size_t{4} * static_cast<std::size_t>(texture.width) * static_cast<std::size_t>(texture.height);
}

KivSkinImage kivSkinImageOf(const KivTexture& texture) {
    KivSkinImage image{texture.width, texture.height, texture.pixels};
    for (std::size_t i = 3; texture.cutOut <= 0.0 && i < image.pixels.size(); i += 4) {
        image.pixels[i] = 255;
    }
    return image;
}

std::array<std::uint8_t, 3> kivSkinColor(const std::array<double, 3>& parts) {
    SkinPaint::Color color{};
    for (std::size_t i = 0; i < 3; ++i) {
        color[i] = static_cast<std::uint8_t>(std::clamp(parts[i], 0.0, 1.0) * 255.0 + 0.5);
    }
    return color;
}

bool SkinPaint::build(std::shared_ptr<const KivTexture> texture, const KivMeshPaint& paint, int numColors) {
    picture = std::move(texture);
    if (picture != nullptr) {
        levels = kivSkinLevels(kivSkinImageOf(*picture));
    }
    if (numColors <= 0) {
        return true;
    }
    const int colors = std::min(numColors, static_cast<int>(TextureLabels::mostColors));
    palette = kivPalette(picture != nullptr ? kivSkinImageOf(*picture) : colorsAtVertices(paint), colors);
    return picture == nullptr || palette.empty() || labels.build(*picture, levels, palette);
}

void SkinPaint::addLinear(double u, double v, std::size_t number, double weight, Sum& sum) const {
    const KivSkinImage& image = levels[number];
    const double x = kivPixelPlace(u, image.width) - 0.5;
    const double y = kivPixelPlace(v, image.height) - 0.5;
    const double left = std::floor(x);
    const double top = std::floor(y);
    for (int j = 0; j < 2; ++j) {
        const double share = weight * (j == 0 ? top + 1.0 - y : y - top);
        const auto row = static_cast<std::size_t>(kivWrapped(static_cast<int>(top) + j, image.height, picture->wrapV));
        for (int i = 0; i < 2; ++i) {
            const double own = share * (i == 0 ? left + 1.0 - x : x - left);
            const auto column =
                static_cast<std::size_t>(kivWrapped(static_cast<int>(left) + i, image.width, picture->wrapU));
            const std::uint8_t* const pixel = &image.pixels[4 * (row * static_cast<std::size_t>(image.width) + column)];
            for (std::size_t c = 0; c < 3; ++c) {
                sum[c] += own * pixel[c];
            }
        }
    }
}

void SkinPaint::addTrilinear(double u, double v, double level, double weight, Sum& sum) const {
    const double last = static_cast<double>(levels.size() - 1);
    const double at = std::clamp(level, 0.0, last);
    const double below = std::min(std::floor(at), last);
    const double share = at - below;
    addLinear(u, v, static_cast<std::size_t>(below), weight * (1.0 - share), sum);
    if (share > 0.0) {
        addLinear(u, v, static_cast<std::size_t>(below) + 1, weight * share, sum);
    }
}

// The filter that EXT_texture_filter_anisotropic describes: along the longer side of the sample's outline in the
// texture as many places as it is longer than the other, each from the two pictures (Williams, Pyramidal parametrics,
// 1983) whose pixels are about as large as its part.
SkinPaint::Color SkinPaint::filtered(const SkinRaster::Place& place) const {
    const double across = pixelsAlong(place.steps[0], *picture);
    const double along = pixelsAlong(place.steps[1], *picture);
    const bool isAcross = across >= along;
    const double longer = std::max(across, along);
    const double shorter = std::min(across, along);
    double count = 1.0;
    if (longer > 1.0 && std::isfinite(longer)) {
        count = shorter > 0.0 ? std::min(std::ceil(longer / shorter), mostAnisotropy) : mostAnisotropy;
    }
    const double level = longer > count ? std::log2(longer / count) : 0.0;
    const std::array<double, 2>& step = place.steps[isAcross ? 0 : 1];
    Sum sum{};
    for (int i = 0; i < static_cast<int>(count); ++i) {
        const double away = (i + 0.5) / count - 0.5;
        addTrilinear(place.paint[0] + away * step[0], place.paint[1] + away * step[1], level, 1.0 / count, sum);
    }
    return kivSkinColor({sum[0] / 255.0, sum[1] / 255.0, sum[2] / 255.0});
}

SkinPaint::Color SkinPaint::at(const SkinRaster& raster, int x, int y, int samples) const {
    if (picture == nullptr) {
        const Color color = kivSkinColor(raster.paintAt(x, y));
        return palette.empty() ? color : kivNearest(palette, color.data());
    }
    SkinRaster::Place place = raster.placeAt(x, y);
    for (std::array<double, 2>& step : place.steps) {
        step = {step[0] * samples, step[1] * samples};
    }
    if (palette.empty()) {
        return filtered(place);
    }
    const double pixels = std::sqrt(pixelsAlong(place.steps[0], *picture) * pixelsAlong(place.steps[1], *picture));
    const int level = pixels > 1.0 && std::isfinite(pixels) ? static_cast<int>(std::lround(std::log2(pixels))) : 0;
    return palette[labels.labelAt(place.paint[0], place.paint[1], level)];
}
