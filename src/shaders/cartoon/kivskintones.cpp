#include "kivskintones.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace {

using Color = std::array<std::uint8_t, 3>;

// A picture smaller than this along its longer side is enlarged before it is posterised.
constexpr int wantedSide = 1024;
constexpr int largestTimes = 4;

// The four pixels around a place along one direction, and how much each counts there: the cubic B-spline (de Boor
// 1978).
struct Place {
    std::array<int, 4> pixels{};
    std::array<float, 4> weights{};

    Place(int at, int times, int size) {
        const float source = (static_cast<float>(at) + 0.5F) / static_cast<float>(times) - 0.5F;
        const int below = static_cast<int>(std::floor(source));
        const float t = source - static_cast<float>(below);
        const float rest = 1.0F - t;
        weights = {rest * rest * rest / 6.0F, (3.0F * t * t * t - 6.0F * t * t + 4.0F) / 6.0F,
                   (3.0F * rest * rest * rest - 6.0F * rest * rest + 4.0F) / 6.0F, t * t * t / 6.0F};
        for (int i = 0; i < 4; ++i) {
            pixels[static_cast<std::size_t>(i)] = std::clamp(below - 1 + i, 0, size - 1);
        }
    }
};

// For each pixel of a picture the number of its colour in the palette; the number behind the last stands for none.
struct Labels {
    int width;
    int height;
    std::vector<std::uint8_t> of;

    std::uint8_t at(int x, int y) const {
        return of[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)];
    }
};

Labels labelsOf(const KivSkinImage& image, const KivPalette& palette) {
    Labels labels{image.width, image.height, {}};
    for (std::size_t i = 0; i < image.pixels.size(); i += 4) {
        const bool isThere = image.pixels[i + 3] >= 128;
        labels.of.push_back(
            static_cast<std::uint8_t>(isThere ? kivNearestOf(palette, &image.pixels[i]) : palette.size()));
    }
    return labels;
}

// The label that counts most around a place. A mixture of two colours would pass through a third on its way.
std::uint8_t strongest(const Labels& labels, const Place& column, const Place& row, std::vector<float>& sums) {
    const std::uint8_t middle = labels.at(column.pixels[1], row.pixels[1]);
    bool isOne = true;
    for (const int y : row.pixels) {
        for (const int x : column.pixels) {
            isOne = isOne && labels.at(x, y) == middle;
        }
    }
    if (isOne) {
        return middle;
    }
    std::fill(sums.begin(), sums.end(), 0.0F);
    for (std::size_t j = 0; j < 4; ++j) {
        for (std::size_t i = 0; i < 4; ++i) {
            sums[labels.at(column.pixels[i], row.pixels[j])] += column.weights[i] * row.weights[j];
        }
    }
    return static_cast<std::uint8_t>(std::max_element(sums.begin(), sums.end()) - sums.begin());
}

} // namespace

KivSkinImage kivPosterised(const KivSkinImage& image, int numColors) {
    const KivPalette palette = kivPalette(image, numColors);
    const Labels labels = labelsOf(image, palette);
    const int side = std::max(image.width, image.height);
    const int times = std::clamp(wantedSide / std::max(side, 1), 1, largestTimes);
    KivSkinImage result{image.width * times, image.height * times, {}};
    result.pixels.reserve(image.pixels.size() * static_cast<std::size_t>(times) * static_cast<std::size_t>(times));
    std::vector<Place> columns;
    for (int x = 0; x < result.width; ++x) {
        columns.emplace_back(x, times, image.width);
    }
    std::vector<float> sums(palette.size() + 1);
    for (int y = 0; y < result.height; ++y) {
        const Place row(y, times, image.height);
        for (const Place& column : columns) {
            const std::uint8_t label = strongest(labels, column, row, sums);
            const bool isThere = label < palette.size();
            const Color color = isThere ? palette[label] : Color{};
            result.pixels.insert(result.pixels.end(),
                                 {color[0], color[1], color[2], static_cast<std::uint8_t>(isThere ? 255 : 0)});
        }
    }
    return result;
}

bool kivAreSameTones(const KivCartoonColors& a, const KivCartoonColors& b) {
    return a.bands == b.bands && a.paint == b.paint && a.emission == b.emission && a.alpha == b.alpha;
}

KivToneTable::KivToneTable(const KivCartoonSkin& skin, const KivCartoonColors& colors, KivCartoonLayer layer,
                           KivCartoonShare share, double level) {
    KivCartoonColors each = colors;
    each.alpha = 1.0;
    entries.reserve(std::size_t{steps + 1} * (steps + 1) * (steps + 1));
    for (int b = 0; b <= steps; ++b) {
        for (int g = 0; g <= steps; ++g) {
            for (int r = 0; r <= steps; ++r) {
                const std::array<double, 3>& factor = skin.paint->factor;
                const KivTone color{factor[0] * r / steps, factor[1] * g / steps, factor[2] * b / steps};
                each.diffuse = kivAdjusted(color, skin.saturation, skin.lightness);
                const KivRampEntry tone = kivCartoonEntry(each, layer, share, level);
                entries.push_back(
                    {static_cast<float>(tone[0]), static_cast<float>(tone[1]), static_cast<float>(tone[2])});
            }
        }
    }
}

void KivToneTable::toneOf(const std::uint8_t* color, std::uint8_t* out) const {
    std::array<std::size_t, 3> cell{};
    std::array<float, 3> share{};
    for (std::size_t c = 0; c < 3; ++c) {
        const float at = static_cast<float>(color[c]) * (static_cast<float>(steps) / 255.0F);
        cell[c] = std::min<std::size_t>(static_cast<std::size_t>(at), steps - 1);
        share[c] = at - static_cast<float>(cell[c]);
    }
    constexpr std::size_t row = steps + 1;
    const std::size_t first = (cell[2] * row + cell[1]) * row + cell[0];
    std::array<float, 3> sum{};
    for (std::size_t corner = 0; corner < 8; ++corner) {
        const std::size_t dr = corner & 1U;
        const std::size_t dg = corner >> 1U & 1U;
        const std::size_t db = corner >> 2U;
        const float weight = (dr != 0 ? share[0] : 1.0F - share[0]) * (dg != 0 ? share[1] : 1.0F - share[1]) *
                             (db != 0 ? share[2] : 1.0F - share[2]);
        const std::array<float, 3>& entry = entries[first + (db * row + dg) * row + dr];
        for (std::size_t c = 0; c < 3; ++c) {
            sum[c] += entry[c] * weight;
        }
    }
    for (std::size_t c = 0; c < 3; ++c) {
        out[c] = static_cast<std::uint8_t>(sum[c] + 0.5F);
    }
}

KivSkinImage KivToneTable::toned(const KivSkinImage& image) const {
    KivSkinImage result = image;
    for (std::size_t i = 0; i < image.pixels.size(); i += 4) {
        const bool isRepeated = i > 0 && std::equal(&image.pixels[i], &image.pixels[i] + 3, &image.pixels[i - 4]);
        if (isRepeated) {
            std::copy_n(&result.pixels[i - 4], 3, &result.pixels[i]);
        } else {
            toneOf(&image.pixels[i], &result.pixels[i]);
        }
    }
    return result;
}

std::vector<std::uint8_t> KivToneTable::cube(int side, const KivPalette& palette) const {
    std::vector<std::uint8_t> tones;
    tones.reserve(std::size_t{4} * static_cast<std::size_t>(side) * static_cast<std::size_t>(side) *
                  static_cast<std::size_t>(side));
    const auto byteAt = [side](int step) {
        return static_cast<std::uint8_t>((255 * step + (side - 1) / 2) / (side - 1));
    };
    for (int b = 0; b < side; ++b) {
        for (int g = 0; g < side; ++g) {
            for (int r = 0; r < side; ++r) {
                Color color{byteAt(r), byteAt(g), byteAt(b)};
                color = palette.empty() ? color : kivNearest(palette, color.data());
                std::array<std::uint8_t, 4> tone{0, 0, 0, 255};
                toneOf(color.data(), tone.data());
                tones.insert(tones.end(), tone.begin(), tone.end());
            }
        }
    }
    return tones;
}
