#include "apps/common/coverage.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace {

constexpr int full = 255;

std::uint8_t quotient(int colour, int alpha) {
    return static_cast<std::uint8_t>(std::min(full, (colour * full + alpha / 2) / alpha));
}

// Blue, green, red and alpha.
struct Pixel {
    std::array<double, 3> colour{}; // 0 to 255, not multiplied
    double alpha = 1.0;
};

Pixel pixelAt(const KivImage& image, std::int32_t x, std::int32_t y) {
    const std::uint32_t colour = image.pixel(x, y);
    Pixel pixel;
    for (std::size_t c = 0; c < 3; ++c) {
        pixel.colour[2 - c] = colour >> (8 * c) & 0xFF;
    }
    if (image.layout() == KivImage::Layout::rgba32) {
        pixel.alpha = image.row(y)[std::size_t{4} * static_cast<std::size_t>(x) + 3] / 255.0;
    }
    return pixel;
}

} // namespace

std::unique_ptr<KivImage> pictureWithoutBackground(const KivImage& onBlack, const KivImage& onWhite,
                                                   const KivImage* onPaper) {
    std::unique_ptr<KivImage> result = KivImage::createWithAlpha(onBlack.size());
    if (!result) {
        return nullptr;
    }
    const std::size_t rowSize = std::size_t{3} * static_cast<std::size_t>(result->width());
    std::vector<std::uint8_t> black(rowSize);
    std::vector<std::uint8_t> white(rowSize);
    std::vector<std::uint8_t> colours(rowSize);
    for (std::int32_t y = 0; y < result->height(); ++y) {
        onBlack.copyRowRgb(y, black.data());
        onWhite.copyRowRgb(y, white.data());
        (onPaper != nullptr ? *onPaper : onBlack).copyRowRgb(y, colours.data());
        std::uint8_t* to = result->row(y);
        for (std::size_t at = 0; at < rowSize; at += 3, to += 4) {
            int shining = 0;
            int brightest = 0;
            for (std::size_t c = 0; c < 3; ++c) {
                shining += std::max(0, white[at + c] - black[at + c]);
                brightest = std::max<int>(brightest, colours[at + c]);
            }
            // Each channel tells the coverage, rounded by itself. No colour is brighter than its coverage.
            const int alpha = std::max(full - (shining + 1) / 3, brightest);
            if (alpha > 0) {
                to[0] = quotient(colours[at + 2], alpha);
                to[1] = quotient(colours[at + 1], alpha);
                to[2] = quotient(colours[at], alpha);
                to[3] = static_cast<std::uint8_t>(alpha);
            }
        }
    }
    return result;
}

namespace {

// The least share of a colour that brings one value to another.
double leastShare(double from, double to) {
    if (to < from) {
        return (from - to) / from;
    }
    return to > from ? (to - from) / (full - from) : 0.0;
}

// Whether two colours are one but for the rounding of passes that add up.
bool areAlike(const Pixel& a, const Pixel& b) {
    for (std::size_t c = 0; c < 3; ++c) {
        if (std::abs(a.colour[c] - b.colour[c]) > 1.0) {
            return false;
        }
    }
    return true;
}

// Blue, green, red and alpha of a colour that makes `to` of `from` when it covers at least so much.
void writeBetween(const Pixel& from, const Pixel& to, double covered, std::uint8_t* out) {
    if (covered <= 0.0 && areAlike(from, to)) {
        return;
    }
    double share = covered;
    for (std::size_t c = 0; c < 3; ++c) {
        share = std::max(share, leastShare(from.colour[c], to.colour[c]));
    }
    const double alpha = std::ceil(share * full - 1e-9); // more alpha finds a colour, less would not
    if (alpha <= 0.0) {
        return;
    }
    for (std::size_t c = 0; c < 3; ++c) {
        const double colour = from.colour[c] + (to.colour[c] - from.colour[c]) * full / alpha;
        out[c] = static_cast<std::uint8_t>(std::clamp(colour, 0.0, static_cast<double>(full)) + 0.5);
    }
    out[3] = static_cast<std::uint8_t>(alpha);
}

} // namespace

std::unique_ptr<KivImage> layerBetween(const KivImage& below, const KivImage& target, const KivImage* covers) {
    std::unique_ptr<KivImage> result = KivImage::createWithAlpha(below.size());
    if (!result) {
        return nullptr;
    }
    for (std::int32_t y = 0; y < result->height(); ++y) {
        std::uint8_t* to = result->row(y);
        for (std::int32_t x = 0; x < result->width(); ++x, to += 4) {
            const Pixel from = pixelAt(below, x, y);
            const double covered = covers != nullptr ? pixelAt(*covers, x, y).alpha : 0.0;
            writeBetween(from, pixelAt(target, x, y), covered, to);
        }
    }
    return result;
}

namespace {

const std::uint8_t* pixelOf(const KivImage& image, std::int32_t x, std::int32_t y) {
    return image.row(y) + std::size_t{4} * static_cast<std::size_t>(x);
}

// Of what is to let through `through` of the light, a part lets through the power of it that is its share; the last one
// makes up for the rounding of those before it.
void divide(const std::uint8_t* pixel, const std::vector<double>& shares,
            const std::vector<std::unique_ptr<KivImage>>& parts, std::int32_t x, std::int32_t y) {
    std::size_t last = 0;
    for (std::size_t i = 0; i < shares.size(); ++i) {
        last = shares[i] > 0.0 ? i : last;
    }
    const double through = 1.0 - pixel[3] / 255.0;
    double passed = 1.0;
    for (std::size_t i = 0; i <= last; ++i) {
        if (shares[i] <= 0.0) {
            continue;
        }
        const double own = i == last ? (passed > 0.0 ? through / passed : 1.0) : std::pow(through, shares[i]);
        std::uint8_t* const out = parts[i]->row(y) + std::size_t{4} * static_cast<std::size_t>(x);
        const double alpha = std::round(std::clamp(1.0 - own, 0.0, 1.0) * full);
        if (alpha > 0.0) {
            std::copy_n(pixel, 3, out);
            out[3] = static_cast<std::uint8_t>(alpha);
            passed *= 1.0 - alpha / full;
        }
    }
}

} // namespace

std::vector<std::unique_ptr<KivImage>> layerParts(const KivImage& layer, const std::vector<const KivImage*>& covers) {
    // Anti-aliased rims of two passes may differ by this much.
    constexpr double trace = 2.5;
    std::vector<std::unique_ptr<KivImage>> parts;
    for (std::size_t i = 0; i <= covers.size(); ++i) {
        parts.push_back(KivImage::createWithAlpha(layer.size()));
        if (!parts.back()) {
            return {};
        }
    }
    std::vector<double> shares(parts.size());
    for (std::int32_t y = 0; y < layer.height(); ++y) {
        for (std::int32_t x = 0; x < layer.width(); ++x) {
            const std::uint8_t* const pixel = pixelOf(layer, x, y);
            if (pixel[3] == 0) {
                continue;
            }
            double sum = 0.0;
            for (std::size_t i = 0; i < covers.size(); ++i) {
                shares[i] = pixelOf(*covers[i], x, y)[3];
                shares[i] = shares[i] > trace ? shares[i] : 0.0;
                sum += shares[i];
            }
            shares.back() = sum > 0.0 ? 0.0 : 1.0;
            for (double& share : shares) {
                share /= sum > 0.0 ? sum : 1.0;
            }
            divide(pixel, shares, parts, x, y);
        }
    }
    return parts;
}

bool isTransparent(const KivImage& picture, std::uint8_t most) {
    for (std::int32_t y = 0; y < picture.height(); ++y) {
        for (std::int32_t x = 0; x < picture.width(); ++x) {
            if (picture.layout() != KivImage::Layout::rgba32 || pixelOf(picture, x, y)[3] > most) {
                return false;
            }
        }
    }
    return true;
}

std::unique_ptr<KivImage> laidOver(const KivImage& above, const KivImage& below) {
    std::unique_ptr<KivImage> result = KivImage::createWithAlpha(below.size());
    if (!result) {
        return nullptr;
    }
    for (std::int32_t y = 0; y < result->height(); ++y) {
        std::uint8_t* to = result->row(y);
        for (std::int32_t x = 0; x < result->width(); ++x, to += 4) {
            const Pixel a = pixelAt(above, x, y);
            const Pixel b = pixelAt(below, x, y);
            const double shows = b.alpha * (1.0 - a.alpha);
            const double alpha = a.alpha + shows;
            for (std::size_t c = 0; c < 3 && alpha > 0.0; ++c) {
                to[c] = static_cast<std::uint8_t>((a.colour[c] * a.alpha + b.colour[c] * shows) / alpha + 0.5);
            }
            to[3] = static_cast<std::uint8_t>(alpha * 255.0 + 0.5);
        }
    }
    return result;
}
