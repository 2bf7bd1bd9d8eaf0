// The scaler as a plain walk over lines and positions, in doubles: what the fast one must equal bit by bit.
#ifndef TESTS_REFERENCE_TWOPASSSCALE_REFERENCE_H
#define TESTS_REFERENCE_TWOPASSSCALE_REFERENCE_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace reference {

struct ScaleRow {
    int left = 0;
    int right = 0;
    std::vector<double> weights; // one more than the window, the last one 0
};

inline std::vector<ScaleRow> scaleWeights(unsigned int length, unsigned int sourceLength) {
    const double scale = static_cast<double>(length) / static_cast<double>(sourceLength);
    const double filterScale = scale < 1.0 ? scale : 1.0;
    const double support = scale < 1.0 ? 1.0 / scale : 1.0;
    const int window = 2 * static_cast<int>(std::ceil(support)) + 1;
    std::vector<ScaleRow> rows(length);
    for (unsigned int u = 0; u < length; ++u) {
        const double centre = u / scale;
        ScaleRow& row = rows[u];
        row.left = std::max(0, static_cast<int>(std::floor(centre - support)));
        row.right = std::min(static_cast<int>(sourceLength) - 1, static_cast<int>(std::ceil(centre + support)));
        row.weights.assign(static_cast<std::size_t>(window) + 1, 0.0);
        int left = row.left;
        int right = row.right;
        if (right - left + 1 > window) {
            if (left < static_cast<int>(sourceLength)) {
                ++left;
            } else {
                --right;
            }
        }
        double sum = 0.0;
        for (int i = left; i <= right; ++i) {
            const double x = std::fabs(filterScale * (centre - i));
            row.weights[i - left] = filterScale * (x < 1.0 ? 1.0 - x : 0.0);
            sum += row.weights[i - left];
        }
        if (sum > 0.0) {
            for (int i = left; i <= right; ++i) {
                row.weights[i - left] /= sum;
            }
        }
    }
    return rows;
}

// One pass over lines that stand lineStep apart, their pixels pixelStep.
inline std::vector<std::uint32_t> scalePass(const std::vector<std::uint32_t>& source, unsigned int lines,
                                            std::size_t lineStep, std::size_t pixelStep, unsigned int sourceLength,
                                            unsigned int length, std::size_t destLineStep, std::size_t destPixelStep) {
    if (length == sourceLength) {
        return source;
    }
    std::vector<std::uint32_t> dest(static_cast<std::size_t>(lines) * length);
    const std::vector<ScaleRow> rows = scaleWeights(length, sourceLength);
    for (unsigned int line = 0; line < lines; ++line) {
        for (unsigned int p = 0; p < length; ++p) {
            double sums[3] = {0, 0, 0};
            for (int i = rows[p].left; i <= rows[p].right; ++i) {
                const std::uint32_t pixel = source[line * lineStep + static_cast<std::size_t>(i) * pixelStep];
                for (int c = 0; c < 3; ++c) {
                    sums[c] += rows[p].weights[i - rows[p].left] * static_cast<double>(pixel >> (8 * c) & 0xFF);
                }
            }
            std::uint32_t out = 0;
            for (int c = 0; c < 3; ++c) {
                out |= (static_cast<std::uint32_t>(sums[c] + 0.5) & 0xFF) << (8 * c);
            }
            dest[line * destLineStep + p * destPixelStep] = out;
        }
    }
    return dest;
}

inline std::vector<std::uint32_t> scale(const std::vector<std::uint32_t>& source, unsigned int sourceWidth,
                                        unsigned int sourceHeight, unsigned int destWidth, unsigned int destHeight) {
    const std::vector<std::uint32_t> between =
        scalePass(source, sourceHeight, sourceWidth, 1, sourceWidth, destWidth, destWidth, 1);
    return scalePass(between, destWidth, 1, destWidth, sourceHeight, destHeight, 1, destWidth);
}

} // namespace reference

#endif
