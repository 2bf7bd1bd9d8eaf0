#include "kivskintones.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace {

using Color = std::array<std::uint8_t, 3>;

// So many pixels tell the colours of a picture well enough.
constexpr std::size_t mostSamples = 40000;
// A picture smaller than this along its longer side is enlarged before it is posterised.
constexpr int wantedSide = 1024;
constexpr int largestTimes = 4;

std::vector<Color> samplesOf(const KivSkinImage& image) {
    const std::size_t count = image.pixels.size() / 4;
    const std::size_t step = std::max<std::size_t>(1, count / mostSamples);
    std::vector<Color> samples;
    for (std::size_t i = 0; i < count; i += step) {
        const std::uint8_t* const p = &image.pixels[i * 4];
        if (p[3] >= 128) {
            samples.push_back({p[0], p[1], p[2]});
        }
    }
    return samples;
}

// Samples from begin to end, and in which of the three parts they differ most.
struct Box {
    std::size_t begin;
    std::size_t end;
    std::size_t widest = 0;
    int width = 0;

    Box(const std::vector<Color>& samples, std::size_t first, std::size_t behind) : begin(first), end(behind) {
        for (std::size_t c = 0; c < 3 && begin < end; ++c) {
            int low = 255;
            int high = 0;
            for (std::size_t i = begin; i < end; ++i) {
                low = std::min<int>(low, samples[i][c]);
                high = std::max<int>(high, samples[i][c]);
            }
            if (high - low > width) {
                width = high - low;
                widest = c;
            }
        }
    }
    // The gain of dividing it.
    double weight() const {
        return static_cast<double>(width) * std::sqrt(static_cast<double>(end - begin));
    }
};

int distance(const Color& a, const std::uint8_t* b) {
    int sum = 0;
    for (std::size_t c = 0; c < 3; ++c) {
        const int difference = static_cast<int>(a[c]) - b[c];
        sum += difference * difference;
    }
    return sum;
}

std::size_t nearestOf(const KivPalette& palette, const std::uint8_t* color) {
    std::size_t best = 0;
    int least = std::numeric_limits<int>::max();
    for (std::size_t i = 0; i < palette.size(); ++i) {
        const int away = distance(palette[i], color);
        if (away < least) {
            least = away;
            best = i;
        }
    }
    return best;
}

// Lloyd's iteration (1982): each colour moves to the mean of the samples that are nearest to it.
void refine(KivPalette& palette, const std::vector<Color>& samples) {
    constexpr int rounds = 4;
    for (int round = 0; round < rounds; ++round) {
        std::vector<std::array<std::uint64_t, 4>> sums(palette.size());
        for (const Color& sample : samples) {
            std::array<std::uint64_t, 4>& sum = sums[nearestOf(palette, sample.data())];
            for (std::size_t c = 0; c < 3; ++c) {
                sum[c] += sample[c];
            }
            ++sum[3];
        }
        for (std::size_t i = 0; i < palette.size(); ++i) {
            for (std::size_t c = 0; c < 3 && sums[i][3] > 0; ++c) {
                palette[i][c] = static_cast<std::uint8_t>((sums[i][c] + sums[i][3] / 2) / sums[i][3]);
            }
        }
    }
}

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
        labels.of.push_back(static_cast<std::uint8_t>(isThere ? nearestOf(palette, &image.pixels[i]) : palette.size()));
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

// A transparent pixel takes the colour of the pixel of the next, coarser level that it went into.
void fillTransparent(KivSkinImage& fine, const KivSkinImage& coarse) {
    for (int y = 0; y < fine.height; ++y) {
        for (int x = 0; x < fine.width; ++x) {
            std::uint8_t* const p =
                &fine.pixels[4 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(fine.width) +
                                  static_cast<std::size_t>(x))];
            if (p[3] == 0) {
                const int cx = std::min(x / 2, coarse.width - 1);
                const int cy = std::min(y / 2, coarse.height - 1);
                std::copy_n(&coarse.pixels[4 * (static_cast<std::size_t>(cy) * static_cast<std::size_t>(coarse.width) +
                                                static_cast<std::size_t>(cx))],
                            3, p);
            }
        }
    }
}

} // namespace

KivPalette kivPalette(const KivSkinImage& image, int numColors) {
    std::vector<Color> samples = samplesOf(image);
    if (samples.empty()) {
        return {Color{}};
    }
    std::vector<Box> boxes{Box(samples, 0, samples.size())};
    while (static_cast<int>(boxes.size()) < numColors) {
        const auto widest = std::max_element(boxes.begin(), boxes.end(),
                                             [](const Box& a, const Box& b) { return a.weight() < b.weight(); });
        if (widest->width == 0) {
            break;
        }
        const Box whole = *widest;
        const auto begin = samples.begin() + static_cast<std::ptrdiff_t>(whole.begin);
        const auto end = samples.begin() + static_cast<std::ptrdiff_t>(whole.end);
        std::sort(begin, end, [&whole](const Color& a, const Color& b) { return a[whole.widest] < b[whole.widest]; });
        // Where the value changes next to the middle of the samples.
        const std::uint8_t value = (*(begin + (end - begin) / 2))[whole.widest];
        const auto isBelow = [&whole](const Color& c, int limit) { return c[whole.widest] < limit; };
        auto cut = std::lower_bound(begin, end, value, isBelow);
        cut = cut == begin ? std::lower_bound(begin, end, value + 1, isBelow) : cut;
        const auto at = static_cast<std::size_t>(cut - samples.begin());
        *widest = Box(samples, whole.begin, at);
        boxes.emplace_back(samples, at, whole.end);
    }
    KivPalette palette;
    for (const Box& box : boxes) {
        palette.push_back(samples[(box.begin + box.end) / 2]);
    }
    refine(palette, samples);
    return palette;
}

const std::array<std::uint8_t, 3>& kivNearest(const KivPalette& palette, const std::uint8_t* color) {
    return palette[nearestOf(palette, color)];
}

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

KivSkinImage kivHalved(const KivSkinImage& image) {
    KivSkinImage half{std::max(1, image.width / 2), std::max(1, image.height / 2), {}};
    half.pixels.reserve(std::size_t{4} * static_cast<std::size_t>(half.width) * static_cast<std::size_t>(half.height));
    for (int y = 0; y < half.height; ++y) {
        for (int x = 0; x < half.width; ++x) {
            std::array<unsigned int, 4> sum{};
            for (const auto& [dx, dy] : {std::pair(0, 0), std::pair(1, 0), std::pair(0, 1), std::pair(1, 1)}) {
                const auto sx = static_cast<std::size_t>(std::min(2 * x + dx, image.width - 1));
                const auto sy = static_cast<std::size_t>(std::min(2 * y + dy, image.height - 1));
                const std::uint8_t* const p = &image.pixels[4 * (sy * static_cast<std::size_t>(image.width) + sx)];
                for (std::size_t c = 0; c < 3; ++c) {
                    sum[c] += static_cast<unsigned int>(p[c]) * p[3];
                }
                sum[3] += p[3];
            }
            for (std::size_t c = 0; c < 3; ++c) {
                half.pixels.push_back(sum[3] > 0 ? static_cast<std::uint8_t>((sum[c] + sum[3] / 2) / sum[3]) : 0);
            }
            half.pixels.push_back(static_cast<std::uint8_t>((sum[3] + 2) / 4));
        }
    }
    return half;
}

std::vector<KivSkinImage> kivSkinLevels(KivSkinImage image) {
    std::vector<KivSkinImage> levels;
    levels.push_back(std::move(image));
    while (levels.back().width > 1 || levels.back().height > 1) {
        levels.push_back(kivHalved(levels.back()));
    }
    for (std::size_t i = levels.size() - 1; i-- > 0;) {
        fillTransparent(levels[i], levels[i + 1]);
    }
    return levels;
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
