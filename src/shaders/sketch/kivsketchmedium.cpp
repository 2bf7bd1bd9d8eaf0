#include "kivsketchmedium.h"

#include "kivsketchnoise.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>

namespace {

// Smooth noise from -1 to 1 on a grid of so many cells by so many, which repeats after them.
class TileNoise {
public:
    TileNoise(int cellsAcross, int cellsDown, std::uint32_t salt)
        : across(cellsAcross), down(cellsDown), values(static_cast<std::size_t>(cellsAcross) * cellsDown) {
        for (std::size_t i = 0; i < values.size(); ++i) {
            values[i] = kivSketchUnit(salt, static_cast<std::uint32_t>(i)) * 2.0 - 1.0;
        }
    }
    // At a place that counts from 0 to 1 over the whole grid.
    double at(double x, double y) const {
        const double gx = x * across;
        const double gy = y * down;
        const int ix = static_cast<int>(std::floor(gx));
        const int iy = static_cast<int>(std::floor(gy));
        const double tx = eased(gx - ix);
        const double ty = eased(gy - iy);
        const double low = value(ix, iy) + (value(ix + 1, iy) - value(ix, iy)) * tx;
        const double high = value(ix, iy + 1) + (value(ix + 1, iy + 1) - value(ix, iy + 1)) * tx;
        return low + (high - low) * ty;
    }

private:
    static double eased(double t) {
        return t * t * (3.0 - 2.0 * t);
    }
    double value(int x, int y) const {
        return values[static_cast<std::size_t>((y % down + down) % down) * across + (x % across + across) % across];
    }

    int across;
    int down;
    std::vector<double> values;
};

std::uint8_t byteOf(double value) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 1.0) * 255.0));
}

double step(double from, double to, double at) {
    const double t = std::clamp((at - from) / (to - from), 0.0, 1.0);
    return t * t * (3.0 - 2.0 * t);
}

} // namespace

KivSketchMedium kivSketchMedium(KivSketchTool tool) {
    switch (tool) {
    case KivSketchTool::pencil:
        return {3.1, 0.50, 0.60, 0.80, 0.08, 0.46, 2.0, 0.6, 0.60, 0.12};
    case KivSketchTool::ink:
        return {2.2, 0.85, 0.0, 1.0, 0.0, 0.0, 1.0, 1.0, 0.12, 0.0};
    case KivSketchTool::charcoal:
        return {6.5, 0.45, 0.60, 0.84, 0.02, 0.72, 2.0, 0.75, 0.80, 0.12};
    case KivSketchTool::pastel:
        return {7.0, 0.30, 0.40, 0.98, 0.04, 0.72, 1.0, 0.9, 0.45, 0.10};
    }
    return {};
}

std::vector<std::uint8_t> kivToothImage(const KivSketchMedium& medium, double grain, std::uint32_t seed) {
    constexpr int size = kivToothSize;
    const TileNoise coarse(size / 8, size / 8, kivSketchHash(seed, 11));
    const TileNoise middle(size / 4, size / 4, kivSketchHash(seed, 12));
    const TileNoise fine(size / 2, size / 2, kivSketchHash(seed, 13));
    std::vector<float> height(static_cast<std::size_t>(size) * size);
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            const double u = static_cast<double>(x) / size;
            const double v = static_cast<double>(y) / size;
            height[static_cast<std::size_t>(y) * size + x] =
                static_cast<float>(0.2 * coarse.at(u, v) + 0.35 * middle.at(u, v) + 0.9 * fine.at(u, v));
        }
    }
    // The rank of a height among all of them is spread evenly, whatever the noise.
    std::vector<std::uint32_t> order(height.size());
    std::iota(order.begin(), order.end(), 0U);
    std::sort(order.begin(), order.end(), [&height](std::uint32_t a, std::uint32_t b) {
        return height[a] != height[b] ? height[a] < height[b] : a < b;
    });
    std::vector<std::uint8_t> image(height.size());
    for (std::size_t i = 0; i < order.size(); ++i) {
        const double rank = static_cast<double>(i) / static_cast<double>(order.size() - 1);
        image[order[i]] = byteOf((medium.toothLow + (medium.toothHigh - medium.toothLow) * rank) * grain);
    }
    return image;
}

std::vector<std::uint8_t> kivProfileImage(const KivSketchMedium& medium, double grain, std::uint32_t seed) {
    const TileNoise edges(kivProfileLength / 8, 2, kivSketchHash(seed, 21));
    const TileNoise streaks(kivProfileLength / 16, kivProfileWidth / 2, kivSketchHash(seed, 22));
    std::vector<std::uint8_t> image(static_cast<std::size_t>(kivProfileLength) * kivProfileWidth);
    for (int y = 0; y < kivProfileWidth; ++y) {
        const double across = (y + 0.5) / kivProfileWidth * 2.0 - 1.0;
        for (int x = 0; x < kivProfileLength; ++x) {
            const double u = static_cast<double>(x) / kivProfileLength;
            // The outermost row is empty, so that the edge of a stroke is that of the image and not of its triangles.
            const double rim =
                0.93 - grain * medium.streaks * 0.2 * (0.5 + 0.5 * edges.at(u, across < 0.0 ? 0.0 : 0.5));
            const double inside = 1.0 - step(rim * (1.0 - medium.softness), rim, std::abs(across));
            const double worn = 1.0 - grain * medium.streaks * (0.5 + 0.5 * streaks.at(u, across * 0.5 + 0.5));
            image[static_cast<std::size_t>(y) * kivProfileLength + x] = byteOf(inside * worn);
        }
    }
    return image;
}

double kivSketchInk(const KivSketchMedium& medium, double grain, double tone) {
    constexpr int steps = 32;
    double sum = 0.0;
    for (int i = 0; i < steps; ++i) {
        const double across = (i + 0.5) / steps;
        const double rim = 0.93 - grain * medium.streaks * 0.1;
        const double inside = 1.0 - step(rim * (1.0 - medium.softness), rim, across);
        const double pressed = tone * inside * (1.0 - grain * medium.streaks * 0.5);
        for (int k = 0; k < steps; ++k) {
            const double part = (k + 0.5) / steps; // every amount of the tooth is equally frequent
            const double taken = grain * (medium.toothLow + (medium.toothHigh - medium.toothLow) * part);
            sum += std::clamp((pressed - taken) * medium.gain, 0.0, 1.0);
        }
    }
    return sum / (steps * steps);
}
