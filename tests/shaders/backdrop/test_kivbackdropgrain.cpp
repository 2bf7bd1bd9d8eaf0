#include "kivbackdropgrain.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <numeric>

namespace {

double meanOf(const std::vector<std::uint8_t>& grain) {
    return std::accumulate(grain.begin(), grain.end(), 0.0) / static_cast<double>(grain.size());
}

int at(const std::vector<std::uint8_t>& grain, int x, int y) {
    return grain[static_cast<std::size_t>(y % kivGrainSide) * kivGrainSide + x % kivGrainSide];
}

} // namespace

TEST(KivPaperGrain, WithoutStrengthThereIsNone) {
    const std::vector<std::uint8_t> grain = kivPaperGrain(0.0);
    ASSERT_EQ(grain.size(), static_cast<std::size_t>(kivGrainSide) * kivGrainSide);
    EXPECT_EQ(std::count(grain.begin(), grain.end(), 255), static_cast<std::ptrdiff_t>(grain.size()));
    EXPECT_EQ(kivPaperGrain(-3.0), grain);
}

TEST(KivPaperGrain, DarkensMoreTheStrongerItIsAndIsAlwaysTheSame) {
    double before = 255.0;
    for (const double strength : {0.1, 0.3, 0.6, 1.0}) {
        const std::vector<std::uint8_t> grain = kivPaperGrain(strength);
        const double mean = meanOf(grain);
        EXPECT_LT(mean, before);
        EXPECT_GT(mean, 255.0 * (1.0 - 0.4 * strength)) << "the sheet keeps its colour";
        EXPECT_EQ(*std::max_element(grain.begin(), grain.end()), 255);
        EXPECT_GE(*std::min_element(grain.begin(), grain.end()), static_cast<int>(255.0 * (1.0 - strength)));
        EXPECT_EQ(kivPaperGrain(strength), grain);
        before = mean;
    }
    EXPECT_EQ(kivPaperGrain(7.0), kivPaperGrain(1.0));
}

// Side by side no seam shows: over the border neighbours differ no more than elsewhere.
TEST(KivPaperGrain, SquaresJoin) {
    const std::vector<std::uint8_t> grain = kivPaperGrain(1.0);
    const auto steps = [&](int column, int row) {
        double sum = 0.0;
        for (int i = 0; i < kivGrainSide; ++i) {
            sum += std::abs(at(grain, column, i) - at(grain, column + 1, i));
            sum += std::abs(at(grain, i, row) - at(grain, i, row + 1));
        }
        return sum / (2.0 * kivGrainSide);
    };
    double inside = 0.0;
    for (int i = 0; i < 64; ++i) {
        inside = std::max(inside, steps(100 + i, 200 + i));
    }
    EXPECT_LT(steps(kivGrainSide - 1, kivGrainSide - 1), 1.2 * inside);
}

// No part of the sheet is darker than another, which would look like a stain that repeats.
TEST(KivPaperGrain, IsEven) {
    const std::vector<std::uint8_t> grain = kivPaperGrain(1.0);
    constexpr int side = 64;
    const double mean = meanOf(grain);
    for (int top = 0; top < kivGrainSide; top += side) {
        for (int left = 0; left < kivGrainSide; left += side) {
            double sum = 0.0;
            for (int y = 0; y < side; ++y) {
                for (int x = 0; x < side; ++x) {
                    sum += at(grain, left + x, top + y);
                }
            }
            EXPECT_NEAR(sum / (side * side), mean, 4.0);
        }
    }
}
