#include "kivdepthimage.h"

#include <algorithm>
#include <cmath>

namespace {

// Marks of tiles that no span holds.
constexpr std::int32_t notWanted = -1;
constexpr std::int32_t wanted = -2;

} // namespace

KivDepthImage::KivDepthImage(int width, int height, int left, int bottom)
    : frameLeft(left), frameBottom(bottom), pixelsWide(width), pixelsHigh(height), tilesWide((width + tile - 1) / tile),
      tilesHigh((height + tile - 1) / tile), spanOfTile(static_cast<std::size_t>(tilesWide) * tilesHigh, notWanted) {}

void KivDepthImage::want(const KivWindowPoint& a, const KivWindowPoint& b, double margin) {
    const double length = std::hypot(b.x - a.x, b.y - a.y);
    if (!std::isfinite(length)) {
        return;
    }
    // Steps of half a tile; what lies between two of them is within the margin of one.
    const double reach = margin + tile / 4.0;
    const int steps = static_cast<int>(std::min(length / (tile / 2.0), 1e6)) + 1;
    const auto cell = [](double at, int count) {
        return static_cast<int>(std::clamp(std::floor(at / tile), 0.0, static_cast<double>(count - 1)));
    };
    for (int i = 0; i <= steps; ++i) {
        const double t = static_cast<double>(i) / steps;
        const double x = a.x + (b.x - a.x) * t - frameLeft;
        const double y = a.y + (b.y - a.y) * t - frameBottom;
        for (int row = cell(y - reach, tilesHigh); row <= cell(y + reach, tilesHigh); ++row) {
            for (int column = cell(x - reach, tilesWide); column <= cell(x + reach, tilesWide); ++column) {
                spanOfTile[static_cast<std::size_t>(row) * tilesWide + column] = wanted;
            }
        }
    }
}

std::vector<KivDepthImage::Span>& KivDepthImage::spans() {
    for (int row = 0; row < tilesHigh; ++row) {
        for (int column = 0; column < tilesWide;) {
            std::int32_t* first = &spanOfTile[static_cast<std::size_t>(row) * tilesWide + column];
            int count = 0;
            while (column + count < tilesWide && first[count] == wanted) {
                first[count++] = static_cast<std::int32_t>(read.size());
            }
            if (count > 0) {
                Span span;
                span.left = column * tile;
                span.bottom = row * tile;
                span.width = std::min(count * tile, pixelsWide - span.left);
                span.height = std::min(tile, pixelsHigh - span.bottom);
                span.values.resize(static_cast<std::size_t>(span.width) * span.height);
                read.push_back(std::move(span));
            }
            column += std::max(count, 1);
        }
    }
    return read;
}

float KivDepthImage::at(int pictureX, int pictureY) const {
    const int x = pictureX - frameLeft;
    const int y = pictureY - frameBottom;
    if (x < 0 || y < 0 || x >= pixelsWide || y >= pixelsHigh) {
        return 1.0F;
    }
    const std::int32_t number = spanOfTile[static_cast<std::size_t>(y / tile) * tilesWide + x / tile];
    if (number < 0) {
        return 1.0F;
    }
    const Span& span = read[static_cast<std::size_t>(number)];
    return span.values[static_cast<std::size_t>(y - span.bottom) * span.width + (x - span.left)];
}

float KivDepthImage::farthest(int pictureX, int pictureY) const {
    const int x = pictureX - frameLeft;
    const int y = pictureY - frameBottom;
    if (const Span* const span = spanAround(x, y)) {
        const auto width = static_cast<std::size_t>(span->width);
        const float* row = &span->values[static_cast<std::size_t>(y - 1 - span->bottom) * width + (x - 1 - span->left)];
        float result = 0.0F;
        for (int i = 0; i < 3; ++i, row += width) {
            result = std::max({result, row[0], row[1], row[2]});
        }
        return result;
    }
    float result = 0.0F;
    for (int dy = -1; dy <= 1; ++dy) {
        for (int dx = -1; dx <= 1; ++dx) {
            result = std::max(result, at(pictureX + dx, pictureY + dy));
        }
    }
    return result;
}

// The span that holds a pixel of the frame and its eight neighbours, if a single one does.
const KivDepthImage::Span* KivDepthImage::spanAround(int x, int y) const {
    if (x < 1 || y < 1 || x + 1 >= pixelsWide || y + 1 >= pixelsHigh) {
        return nullptr;
    }
    const auto column = static_cast<unsigned int>(x) / tile;
    const auto row = static_cast<unsigned int>(y) / tile;
    const std::int32_t number = spanOfTile[static_cast<std::size_t>(row) * tilesWide + column];
    if (number < 0) {
        return nullptr;
    }
    const Span& span = read[static_cast<std::size_t>(number)];
    const bool isWithin =
        x > span.left && x + 1 < span.left + span.width && y > span.bottom && y + 1 < span.bottom + span.height;
    return isWithin ? &span : nullptr;
}
