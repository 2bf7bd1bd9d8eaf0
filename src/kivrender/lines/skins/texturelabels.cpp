#include "kivrender/lines/skins/texturelabels.h"

#include "kivrender/lines/curveorder.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace {

// The numbers of the nearest colours: from a table by the upper bits of red, green and blue, where all colours with
// these bits have one nearest. Those are so whose corners have, as the places nearest to a colour are convex.
class NearestTable {
public:
    explicit NearestTable(const KivPalette& colors) : palette(colors), numbers(std::size_t{side} * side * side) {
        std::vector<std::uint8_t> corners(std::size_t{side + 1} * (side + 1) * (side + 1));
        const auto cornerAt = [](int r, int g, int b) {
            return static_cast<std::size_t>((b * (side + 1) + g) * (side + 1) + r);
        };
        const auto byte = [](int step) { return static_cast<std::uint8_t>(std::min(step * width, 255)); };
        forAll(side + 1, [&](int r, int g, int b) {
            const std::uint8_t color[3] = {byte(r), byte(g), byte(b)};
            corners[cornerAt(r, g, b)] = static_cast<std::uint8_t>(kivNearestOf(palette, color));
        });
        std::size_t i = 0;
        forAll(side, [&](int r, int g, int b) {
            const std::uint8_t first = corners[cornerAt(r, g, b)];
            bool isOne = true;
            for (int k = 1; k < 8; ++k) {
                isOne = isOne && corners[cornerAt(r + (k & 1), g + (k >> 1 & 1), b + (k >> 2))] == first;
            }
            numbers[i++] = isOne ? first : several;
        });
    }
    std::uint8_t of(const std::uint8_t* color) const {
        const std::uint8_t number =
            numbers[(std::size_t{color[2]} / width * side + color[1] / width) * side + color[0] / width];
        return number != several ? number : static_cast<std::uint8_t>(kivNearestOf(palette, color));
    }

private:
    static constexpr int side = 32;
    static constexpr int width = 8;
    static constexpr std::uint8_t several = 0xFF;

    template <class Take> static void forAll(int steps, Take take) {
        for (int b = 0; b < steps; ++b) {
            for (int g = 0; g < steps; ++g) {
                for (int r = 0; r < steps; ++r) {
                    take(r, g, b);
                }
            }
        }
    }

    const KivPalette& palette;
    std::vector<std::uint8_t> numbers;
};

// How far a colour lies from one to another, 0 to 1; below 0 for one that is no mixture of them.
double shareOf(const std::uint8_t* color, const std::array<std::uint8_t, 3>& from,
               const std::array<std::uint8_t, 3>& to) {
    double along = 0.0;
    double square = 0.0;
    for (std::size_t i = 0; i < 3; ++i) {
        along += (static_cast<double>(color[i]) - from[i]) * (static_cast<double>(to[i]) - from[i]);
        square += (static_cast<double>(to[i]) - from[i]) * (static_cast<double>(to[i]) - from[i]);
    }
    const double t = square > 0.0 ? along / square : 0.0;
    double away = 0.0;
    for (std::size_t i = 0; i < 3; ++i) {
        const double off = color[i] - (from[i] + t * (static_cast<double>(to[i]) - from[i]));
        away += off * off;
    }
    constexpr double farthest = 0.04; // of the square of what the two differ by
    return away < farthest * square ? std::clamp(t, 0.0, 1.0) : -1.0;
}

// The labels of a pixel, in the middle, and of those up to two pixels away.
using Neighbours = std::array<std::uint8_t, 25>;

struct Around {
    int own = 0;
    std::pair<std::uint8_t, int> first{0, 0}; // the most frequent other one, and how often
    std::pair<std::uint8_t, int> second{0, 0};

    explicit Around(const Neighbours& labels) {
        std::array<int, TextureLabels::mostColors> counts{};
        for (const std::uint8_t label : labels) {
            ++counts[label];
        }
        own = std::exchange(counts[labels[labels.size() / 2]], 0);
        for (const std::uint8_t label : labels) {
            const int times = std::exchange(counts[label], 0);
            if (times > first.second) {
                second = std::exchange(first, {label, times});
            } else if (times > second.second) {
                second = {label, times};
            }
        }
    }
};

} // namespace

double kivPixelPlace(double coordinate, int size) {
    constexpr double farthest = 1e6; // beyond nothing can be told apart
    const double place = coordinate * size;
    return std::fabs(place) <= farthest ? place : 0.0;
}

int kivWrapped(int pixel, int size, KivTexture::Wrap wrap) {
    if (pixel >= 0 && pixel < size) {
        return pixel;
    }
    if (wrap == KivTexture::Wrap::clamp) {
        return std::clamp(pixel, 0, size - 1);
    }
    const int period = wrap == KivTexture::Wrap::mirror ? 2 * size : size;
    const int rest = pixel % period;
    const int at = rest < 0 ? rest + period : rest;
    return at < size ? at : period - 1 - at;
}

// Where two colours meet, a picture has mixtures of them: their pixels belong to both, so that the border runs between
// pixels, and are no rims of a third colour that is like them. A line of a pixel in a colour of its own stays.
bool TextureLabels::build(const KivTexture& texture, const std::vector<KivSkinImage>& levels, const KivPalette& palette,
                          bool hasSoftEdges) {
    wrapU = texture.wrapU;
    wrapV = texture.wrapV;
    all.clear();
    const NearestTable nearest(palette);
    for (const KivSkinImage& image : levels) {
        std::vector<std::uint8_t> labels(image.pixels.size() / 4);
        for (std::size_t i = 0; i < labels.size(); ++i) {
            labels[i] = nearest.of(&image.pixels[4 * i]);
        }
        Level level{image.width, image.height, {}};
        level.texels.reserve(labels.size());
        const auto at = [&](int x, int y) {
            return static_cast<std::size_t>(kivWrapped(y, image.height, wrapV)) *
                       static_cast<std::size_t>(image.width) +
                   static_cast<std::size_t>(kivWrapped(x, image.width, wrapU));
        };
        for (int y = 0; y < image.height; ++y) {
            if (kivIsCancelledAt(static_cast<std::size_t>(y) * 64)) {
                return false;
            }
            for (int x = 0; x < image.width; ++x) {
                const std::uint8_t own = labels[at(x, y)];
                const auto isOwn = [&](int dx, int dy) { return labels[at(x + dx, y + dy)] == own; };
                const bool isInside = isOwn(-1, 0) && isOwn(1, 0) && isOwn(0, -1) && isOwn(0, 1) && isOwn(-1, -1) &&
                                      isOwn(1, -1) && isOwn(-1, 1) && isOwn(1, 1);
                if (isInside || !hasSoftEdges) {
                    level.texels.push_back({own, own, 0});
                    continue;
                }
                Neighbours around{};
                for (int i = 0; i < 25; ++i) {
                    around[static_cast<std::size_t>(i)] = labels[at(x + i % 5 - 2, y + i / 5 - 2)];
                }
                level.texels.push_back(mixed(around, &image.pixels[4 * at(x, y)], palette));
            }
        }
        all.push_back(std::move(level));
    }
    return true;
}

TextureLabels::Texel TextureLabels::mixed(const std::array<std::uint8_t, 25>& labels, const std::uint8_t* color,
                                          const KivPalette& palette) {
    constexpr int widestRim = 11; // two pixels wide, and a corner
    const Around around(labels);
    const std::uint8_t own = labels[labels.size() / 2];
    const auto [p, timesP] = around.first;
    const auto [q, timesQ] = around.second;
    const auto byte = [](double share) { return static_cast<std::uint8_t>(std::lround(255.0 * share)); };
    if (around.own <= widestRim && timesP > 0 && timesQ > 0) {
        const double share = shareOf(color, palette[p], palette[q]);
        if (share > 0.1 && share < 0.9) {
            return {p, q, byte(share)};
        }
    }
    const double share = timesP > 0 ? shareOf(color, palette[own], palette[p]) : 0.0;
    return share > 0.0 ? Texel{own, p, byte(share)} : Texel{own, own, 0};
}

// The quadratic B-spline (de Boor, 1978): a single pixel counts more than all around it in its middle, and so stays.
TextureLabels::Patch TextureLabels::patchAt(double u, double v, int number) const {
    const Level& level = all[static_cast<std::size_t>(std::clamp(number, 0, static_cast<int>(all.size()) - 1))];
    const auto weights = [](double at, std::array<float, 3>& out) {
        const double middle = std::floor(at);
        const auto t = static_cast<float>(at - middle - 0.5);
        out = {0.5F * (0.5F - t) * (0.5F - t), 0.75F - t * t, 0.5F * (0.5F + t) * (0.5F + t)};
        return static_cast<int>(middle);
    };
    Patch patch;
    const int x = weights(kivPixelPlace(u, level.width), patch.across);
    const int y = weights(kivPixelPlace(v, level.height), patch.down);
    for (int j = 0; j < 3; ++j) {
        const auto row = static_cast<std::size_t>(kivWrapped(y - 1 + j, level.height, wrapV)) *
                         static_cast<std::size_t>(level.width);
        for (int i = 0; i < 3; ++i) {
            const auto column = static_cast<std::size_t>(kivWrapped(x - 1 + i, level.width, wrapU));
            patch.texels[static_cast<std::size_t>(3 * j + i)] = level.texels[row + column];
        }
    }
    return patch;
}

std::uint8_t TextureLabels::labelAt(double u, double v, int level) const {
    const Patch patch = patchAt(u, v, level);
    const std::uint8_t one = patch.texels[0].first;
    if (std::all_of(patch.texels.begin(), patch.texels.end(),
                    [one](const Texel& texel) { return texel.isOnly(one); })) {
        return one;
    }
    std::array<float, mostColors> sums{};
    std::uint8_t best = one;
    for (std::size_t i = 0; i < 9; ++i) {
        const Texel& texel = patch.texels[i];
        const float weight = patch.across[i % 3] * patch.down[i / 3];
        const float share = static_cast<float>(texel.share) / 255.0F;
        sums[texel.first] += weight * (1.0F - share);
        sums[texel.second] += weight * share;
    }
    for (const Texel& texel : patch.texels) {
        for (const std::uint8_t label : {texel.first, texel.second}) {
            best = sums[label] > sums[best] || (sums[label] == sums[best] && label < best) ? label : best;
        }
    }
    return best;
}

double TextureLabels::lead(double u, double v, int level, std::uint8_t p, std::uint8_t q) const {
    const Patch patch = patchAt(u, v, level);
    double sum = 0.0;
    for (std::size_t i = 0; i < 9; ++i) {
        const Texel& texel = patch.texels[i];
        const double weight = static_cast<double>(patch.across[i % 3]) * patch.down[i / 3];
        const double share = texel.share / 255.0;
        const auto signOf = [p, q](std::uint8_t label) { return label == p ? 1.0 : label == q ? -1.0 : 0.0; };
        sum += weight * (signOf(texel.first) * (1.0 - share) + signOf(texel.second) * share);
    }
    return sum;
}
