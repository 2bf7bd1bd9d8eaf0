#include "apps/common/filmpalette.h"

#include "kivrender/platform/kivimage.h"

#include <algorithm>

namespace {

constexpr int cellBits = 6;
constexpr std::size_t numCells = std::size_t{1} << (3 * cellBits);

std::uint32_t cellOf(const std::uint8_t* bgr) {
    constexpr int cut = 8 - cellBits;
    return static_cast<std::uint32_t>(bgr[0] >> cut) | static_cast<std::uint32_t>(bgr[1] >> cut) << cellBits |
           static_cast<std::uint32_t>(bgr[2] >> cut) << (2 * cellBits);
}

// The middle of a cell in one channel.
int channelOf(std::uint32_t cell, int channel) {
    const auto value = static_cast<int>(cell >> (channel * cellBits) & ((1U << cellBits) - 1));
    return value << 2 | value >> 4;
}

std::uint32_t opaque(int blue, int green, int red) {
    return 0xFF000000U | static_cast<std::uint32_t>(red) << 16 | static_cast<std::uint32_t>(green) << 8 |
           static_cast<std::uint32_t>(blue);
}

} // namespace

FilmPalette::FilmPalette(const KivImage& picture) : known(numCells, -1) {
    std::vector<std::uint32_t> counts(numCells, 0);
    // Flat areas keep their colour to the bit: the last one seen stands for the cell.
    std::vector<std::uint32_t> exact(numCells, 0);
    for (std::int32_t y = 0; y < picture.height(); ++y) {
        const std::uint8_t* pixel = picture.row(y);
        for (std::int32_t x = 0; x < picture.width(); ++x, pixel += 3) {
            const std::uint32_t cell = cellOf(pixel);
            ++counts[cell];
            exact[cell] = opaque(pixel[0], pixel[1], pixel[2]);
        }
    }
    std::size_t size = 0;
    constexpr int levels[] = {0, 85, 170, 255};
    for (const int red : levels) {
        for (const int green : levels) {
            for (const int blue : levels) {
                table[size++] = opaque(blue, green, red);
            }
        }
    }
    std::vector<std::uint32_t> order;
    for (std::uint32_t cell = 0; cell < numCells; ++cell) {
        if (counts[cell] > 0) {
            order.push_back(cell);
        }
    }
    const std::size_t most = std::min(order.size(), table.size() - size);
    std::partial_sort(
        order.begin(), order.begin() + static_cast<std::ptrdiff_t>(most), order.end(),
        [&](std::uint32_t a, std::uint32_t b) { return counts[a] != counts[b] ? counts[a] > counts[b] : a < b; });
    for (std::size_t i = 0; i < most; ++i) {
        table[size++] = exact[order[i]];
    }
    std::fill(table.begin() + static_cast<std::ptrdiff_t>(size), table.end(), table[0]);
}

std::uint8_t FilmPalette::nearest(std::uint32_t cell) const {
    std::size_t best = 0;
    int least = 1 << 30;
    for (std::size_t i = 0; i < table.size(); ++i) {
        int distance = 0;
        for (int channel = 0; channel < 3; ++channel) {
            const int apart = static_cast<int>(table[i] >> (8 * channel) & 0xFF) - channelOf(cell, channel);
            distance += apart * apart;
        }
        if (distance < least) {
            least = distance;
            best = i;
        }
    }
    return static_cast<std::uint8_t>(best);
}

void FilmPalette::fill(const KivImage& picture, std::uint8_t* out, std::size_t stride) {
    for (std::int32_t y = 0; y < picture.height(); ++y, out += stride) {
        const std::uint8_t* pixel = picture.row(y);
        for (std::int32_t x = 0; x < picture.width(); ++x, pixel += 3) {
            const std::uint32_t cell = cellOf(pixel);
            if (known[cell] < 0) {
                known[cell] = nearest(cell);
            }
            out[x] = static_cast<std::uint8_t>(known[cell]);
        }
    }
}
