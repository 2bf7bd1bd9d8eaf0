#include "papermaker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace {

constexpr int side = 256;

double meanOf(const std::vector<std::uint8_t>& paper, int channel) {
    double sum = 0.0;
    for (std::size_t i = static_cast<std::size_t>(channel); i < paper.size(); i += 3) {
        sum += paper[i];
    }
    return sum * 3.0 / static_cast<double>(paper.size());
}

double spreadOf(const std::vector<std::uint8_t>& paper) {
    const double mean = meanOf(paper, 1);
    double sum = 0.0;
    for (std::size_t i = 1; i < paper.size(); i += 3) {
        sum += (paper[i] - mean) * (paper[i] - mean);
    }
    return std::sqrt(sum * 3.0 / static_cast<double>(paper.size()));
}

} // namespace

TEST(Papers, AreLightEvenAndNotFlat) {
    ASSERT_EQ(paperNames().size(), 4U);
    EXPECT_TRUE(std::is_sorted(paperNames().begin(), paperNames().end()));
    for (const std::string_view name : paperNames()) {
        const std::vector<std::uint8_t> paper = makePaper(name, side);
        ASSERT_EQ(paper.size(), static_cast<std::size_t>(side) * side * 3) << name;
        const bool brown = name == "kraft";
        EXPECT_GT(meanOf(paper, 1), brown ? 160.0 : 230.0) << name;
        // Paper is warm.
        EXPECT_GE(meanOf(paper, 0), meanOf(paper, 1)) << name;
        EXPECT_GE(meanOf(paper, 1), meanOf(paper, 2)) << name;
        // It has a grain that a drawing outshines.
        EXPECT_GT(spreadOf(paper), 0.7) << name;
        EXPECT_LT(spreadOf(paper), 10.0) << name;
        // No corner is darker than another.
        double quarter[4] = {};
        for (int y = 0; y < side; ++y) {
            for (int x = 0; x < side; ++x) {
                quarter[(y * 2 / side) * 2 + x * 2 / side] +=
                    paper[(static_cast<std::size_t>(y) * side + x) * 3 + 1] * 4.0 / side / side;
            }
        }
        const auto [least, most] = std::minmax_element(std::begin(quarter), std::end(quarter));
        EXPECT_LT(*most - *least, 5.0) << name;
    }
}

TEST(Papers, AreTheSameEveryTimeAndDifferFromEachOther) {
    for (const std::string_view name : paperNames()) {
        EXPECT_EQ(makePaper(name, side), makePaper(name, side)) << name;
        for (const std::string_view other : paperNames()) {
            EXPECT_EQ(makePaper(name, 64) == makePaper(other, 64), name == other);
        }
    }
}

TEST(Papers, AreNoneOfAnUnknownNameOrNoSize) {
    EXPECT_TRUE(makePaper("papyrus", side).empty());
    EXPECT_TRUE(makePaper("laid", 0).empty());
    EXPECT_TRUE(makePaper("laid", -3).empty());
    EXPECT_EQ(makePaper("laid", 1).size(), 3U);
}
