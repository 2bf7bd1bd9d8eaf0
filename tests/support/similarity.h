// How alike two pictures look: the structural similarity index (SSIM) of Wang, Bovik, Sheikh and Simoncelli, "Image
// quality assessment: from error visibility to structural similarity", IEEE Transactions on Image Processing 13(4),
// 2004, as given there: on luminance, in windows of 11 by 11 pixels weighed by a Gaussian of 1.5 pixels, K1 = 0.01,
// K2 = 0.03, a range of 255; the mean over all windows that lie wholly inside the picture.
#ifndef TESTS_SUPPORT_SIMILARITY_H
#define TESTS_SUPPORT_SIMILARITY_H

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

struct Luminance {
    int width = 0;
    int height = 0;
    std::vector<float> values; // 0 to 255, row by row
};

// From rows of red, green, blue bytes; luma weights of ITU-R BT.601.
inline Luminance luminanceOf(const std::vector<std::uint8_t>& rgb, int width, int height) {
    Luminance result{width, height, std::vector<float>(static_cast<std::size_t>(width) * height)};
    for (std::size_t i = 0; i < result.values.size(); ++i) {
        result.values[i] = 0.299F * rgb[3 * i] + 0.587F * rgb[3 * i + 1] + 0.114F * rgb[3 * i + 2];
    }
    return result;
}

struct Similarity {
    double mean = 0.0; // 1 for equal pictures; 0 if the sizes differ or the pictures are smaller than a window
    // The index of each window; column and row of its middle are five more.
    int width = 0;
    int height = 0;
    std::vector<float> map;

    // The part of the windows whose index is below a limit.
    double below(double limit) const {
        std::size_t count = 0;
        for (const float value : map) {
            count += value < limit ? 1 : 0;
        }
        return map.empty() ? 1.0 : static_cast<double>(count) / static_cast<double>(map.size());
    }
};

namespace similarity_detail {

constexpr int window = 11;

inline std::array<double, window> gaussian() {
    std::array<double, window> weights{};
    double sum = 0.0;
    for (int i = 0; i < window; ++i) {
        const double x = i - window / 2;
        weights[static_cast<std::size_t>(i)] = std::exp(-x * x / (2.0 * 1.5 * 1.5));
        sum += weights[static_cast<std::size_t>(i)];
    }
    for (double& weight : weights) {
        weight /= sum;
    }
    return weights;
}

// The weighed mean of each window of what value(i) gives for pixel i.
template <class Value> std::vector<double> windowMeans(int width, int height, Value value) {
    static const std::array<double, window> weights = gaussian();
    const int columns = width - window + 1;
    const int rows = height - window + 1;
    std::vector<double> across(static_cast<std::size_t>(columns) * height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < columns; ++x) {
            double sum = 0.0;
            for (int k = 0; k < window; ++k) {
                sum += weights[static_cast<std::size_t>(k)] * value(static_cast<std::size_t>(y) * width + x + k);
            }
            across[static_cast<std::size_t>(y) * columns + x] = sum;
        }
    }
    std::vector<double> means(static_cast<std::size_t>(columns) * rows);
    for (int y = 0; y < rows; ++y) {
        for (int x = 0; x < columns; ++x) {
            double sum = 0.0;
            for (int k = 0; k < window; ++k) {
                sum += weights[static_cast<std::size_t>(k)] * across[static_cast<std::size_t>(y + k) * columns + x];
            }
            means[static_cast<std::size_t>(y) * columns + x] = sum;
        }
    }
    return means;
}

} // namespace similarity_detail

inline Similarity similarityOf(const Luminance& a, const Luminance& b) {
    using namespace similarity_detail;
    Similarity result;
    if (a.width != b.width || a.height != b.height || a.width < window || a.height < window) {
        return result;
    }
    constexpr double c1 = (0.01 * 255) * (0.01 * 255);
    constexpr double c2 = (0.03 * 255) * (0.03 * 255);
    const auto mean = [&](auto value) { return windowMeans(a.width, a.height, value); };
    const std::vector<double> meanA = mean([&](std::size_t i) { return a.values[i]; });
    const std::vector<double> meanB = mean([&](std::size_t i) { return b.values[i]; });
    const std::vector<double> squareA = mean([&](std::size_t i) { return a.values[i] * a.values[i]; });
    const std::vector<double> squareB = mean([&](std::size_t i) { return b.values[i] * b.values[i]; });
    const std::vector<double> product = mean([&](std::size_t i) { return a.values[i] * b.values[i]; });
    result.width = a.width - window + 1;
    result.height = a.height - window + 1;
    result.map.resize(meanA.size());
    double sum = 0.0;
    for (std::size_t i = 0; i < meanA.size(); ++i) {
        const double ma = meanA[i];
        const double mb = meanB[i];
        const double index = ((2.0 * ma * mb + c1) * (2.0 * (product[i] - ma * mb) + c2)) /
                             ((ma * ma + mb * mb + c1) * (squareA[i] - ma * ma + squareB[i] - mb * mb + c2));
        result.map[i] = static_cast<float>(index);
        sum += index;
    }
    result.mean = sum / static_cast<double>(meanA.size());
    return result;
}

#endif
