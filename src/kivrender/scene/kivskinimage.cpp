#include "kivrender/scene/kivskinimage.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

namespace {

using Color = std::array<std::uint8_t, 3>;

// So many pixels tell the colours of a picture well enough.
constexpr std::size_t mostSamples = 40000;
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

// Lloyd's iteration (1982): each colour moves to the mean of the samples that are nearest to it.
void refine(KivPalette& palette, const std::vector<Color>& samples) {
    constexpr int rounds = 4;
    for (int round = 0; round < rounds; ++round) {
        std::vector<std::array<std::uint64_t, 4>> sums(palette.size());
        for (const Color& sample : samples) {
            std::array<std::uint64_t, 4>& sum = sums[kivNearestOf(palette, sample.data())];
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

// Looks at alpha wherever it passes the threshold from one pixel to the next, in rows and columns.
class AlphaEdges {
public:
    AlphaEdges(const KivSkinImage& ofImage, double ofThreshold) : image(ofImage), threshold(255.0 * ofThreshold) {}

    bool areSoft() {
        std::size_t between = 0;
        std::size_t opaque = 0;
        for (std::size_t i = 3; i < image.pixels.size(); i += 4) {
            between += image.pixels[i] > nearlyNone && image.pixels[i] < nearlyAll ? 1 : 0;
            opaque += image.pixels[i] >= nearlyAll ? 1 : 0;
        }
        if (between <= opaque) {
            return false;
        }
        const auto width = static_cast<std::size_t>(image.width);
        const auto height = static_cast<std::size_t>(image.height);
        for (std::size_t y = 0; y < height; ++y) {
            walk(4 * y * width + 3, 4, width);
        }
        for (std::size_t x = 0; x < width; ++x) {
            walk(4 * x + 3, 4 * width, height);
        }
        return 2 * hard < all;
    }

private:
    static constexpr std::uint8_t nearlyNone = 32;
    static constexpr std::uint8_t nearlyAll = 223;
    static constexpr std::size_t reach = 2; // smoothed edges take so many pixels on either side

    void walk(std::size_t first, std::size_t step, std::size_t count) {
        const auto alphaAt = [&](std::size_t i) { return image.pixels[first + i * step]; };
        for (std::size_t i = 1; i < count; ++i) {
            if ((alphaAt(i - 1) < threshold) == (alphaAt(i) < threshold)) {
                continue;
            }
            std::uint8_t low = 255;
            std::uint8_t high = 0;
            for (std::size_t k = i - std::min(i, reach + 1); k < std::min(count, i + reach + 1); ++k) {
                low = std::min(low, alphaAt(k));
                high = std::max(high, alphaAt(k));
            }
            ++all;
            hard += low <= nearlyNone && high >= nearlyAll ? 1 : 0;
        }
    }

    const KivSkinImage& image;
    double threshold;
    std::size_t all = 0;  // places where alpha passes the threshold
    std::size_t hard = 0; // of these, where it does so from nearly nothing to nearly all
};

} // namespace

std::size_t kivNearestOf(const KivPalette& palette, const std::uint8_t* color) {
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
    return palette[kivNearestOf(palette, color)];
}

bool kivHasSoftAlpha(const KivSkinImage& image, double threshold) {
    return AlphaEdges(image, threshold).areSoft();
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
