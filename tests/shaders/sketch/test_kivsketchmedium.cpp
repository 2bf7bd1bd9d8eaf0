#include "kivsketchmedium.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {

constexpr KivSketchTool tools[] = {KivSketchTool::pencil, KivSketchTool::ink, KivSketchTool::charcoal,
                                   KivSketchTool::pastel};

double meanOf(const std::vector<std::uint8_t>& image) {
    double sum = 0.0;
    for (const std::uint8_t value : image) {
        sum += value;
    }
    return sum / static_cast<double>(image.size());
}

} // namespace

TEST(KivToothImage, SpreadsEvenlyBetweenItsBounds) {
    for (const KivSketchTool tool : tools) {
        const KivSketchMedium medium = kivSketchMedium(tool);
        const std::vector<std::uint8_t> image = kivToothImage(medium, 1.0, 5);
        ASSERT_EQ(image.size(), static_cast<std::size_t>(kivToothSize) * kivToothSize);
        const auto [low, high] = std::minmax_element(image.begin(), image.end());
        EXPECT_NEAR(*low, medium.toothLow * 255.0, 0.51);
        EXPECT_NEAR(*high, medium.toothHigh * 255.0, 0.51);
        EXPECT_NEAR(meanOf(image), (medium.toothLow + medium.toothHigh) * 127.5, 0.6);
        EXPECT_EQ(image, kivToothImage(medium, 1.0, 5));
    }
    const KivSketchMedium pencil = kivSketchMedium(KivSketchTool::pencil);
    EXPECT_NE(kivToothImage(pencil, 1.0, 5), kivToothImage(pencil, 1.0, 6));
    EXPECT_EQ(meanOf(kivToothImage(pencil, 0.0, 5)), 0.0) << "without grain the paper takes nothing";
}

TEST(KivToothImage, RepeatsWithoutASeam) {
    const std::vector<std::uint8_t> image = kivToothImage(kivSketchMedium(KivSketchTool::charcoal), 1.0, 1);
    const auto at = [&image](int x, int y) {
        return static_cast<int>(image[static_cast<std::size_t>(y) * kivToothSize + x]);
    };
    double seam = 0.0;
    double inside = 0.0;
    for (int i = 0; i < kivToothSize; ++i) {
        seam += std::abs(at(0, i) - at(kivToothSize - 1, i)) + std::abs(at(i, 0) - at(i, kivToothSize - 1));
        inside += std::abs(at(100, i) - at(101, i)) + std::abs(at(i, 100) - at(i, 101));
    }
    EXPECT_LT(seam, inside * 1.4);
    EXPECT_GT(seam, 0.0);
}

TEST(KivProfileImage, IsFullInTheMiddleAndEmptyAtTheRims) {
    for (const KivSketchTool tool : tools) {
        const KivSketchMedium medium = kivSketchMedium(tool);
        const std::vector<std::uint8_t> image = kivProfileImage(medium, 1.0, 3);
        ASSERT_EQ(image.size(), static_cast<std::size_t>(kivProfileLength) * kivProfileWidth);
        const auto row = [&image](int y) {
            return std::vector<std::uint8_t>(image.begin() + y * kivProfileLength,
                                             image.begin() + (y + 1) * kivProfileLength);
        };
        EXPECT_EQ(meanOf(row(0)), 0.0);
        EXPECT_EQ(meanOf(row(kivProfileWidth - 1)), 0.0);
        EXPECT_GT(meanOf(row(kivProfileWidth / 2)), 255.0 * (1.0 - medium.streaks) - 1.0);
    }
    const std::vector<std::uint8_t> ink = kivProfileImage(kivSketchMedium(KivSketchTool::ink), 1.0, 3);
    EXPECT_EQ(ink[static_cast<std::size_t>(kivProfileWidth / 2) * kivProfileLength + 17], 255) << "ink is solid";
}

TEST(KivSketchMedium, GainIsOneThatOpenGlKnows) {
    for (const KivSketchTool tool : tools) {
        const KivSketchMedium medium = kivSketchMedium(tool);
        EXPECT_TRUE(medium.gain == 1.0 || medium.gain == 2.0 || medium.gain == 4.0);
        EXPECT_GT(medium.peak, medium.toothLow);
        EXPECT_GT(medium.width, 0.0);
    }
}

// Against the mean over the images that a stroke is really made of.
TEST(KivSketchInk, IsWhatProfileAndToothLeave) {
    for (const KivSketchTool tool : tools) {
        const KivSketchMedium medium = kivSketchMedium(tool);
        for (const double grain : {0.0, 0.5, 1.0}) {
            const std::vector<std::uint8_t> profile = kivProfileImage(medium, grain, 3);
            const std::vector<std::uint8_t> tooth = kivToothImage(medium, grain, 3);
            for (const double tone : {0.3, 0.7, 1.0}) {
                double sum = 0.0;
                std::size_t count = 0;
                for (std::size_t i = 0; i < profile.size(); i += 31) {
                    for (std::size_t k = 0; k < tooth.size(); k += 37) {
                        const double left = tone * profile[i] / 255.0 - tooth[k] / 255.0;
                        sum += std::clamp(left * medium.gain, 0.0, 1.0);
                        ++count;
                    }
                }
                EXPECT_NEAR(kivSketchInk(medium, grain, tone), sum / static_cast<double>(count), 0.04)
                    << static_cast<int>(tool) << ", grain " << grain << ", tone " << tone;
            }
        }
    }
}

TEST(KivSketchInk, NothingIsPressedWithoutTone) {
    for (const KivSketchTool tool : tools) {
        EXPECT_EQ(kivSketchInk(kivSketchMedium(tool), 1.0, 0.0), 0.0);
    }
    EXPECT_GT(kivSketchInk(kivSketchMedium(KivSketchTool::ink), 1.0, 1.0), 0.8) << "ink is nearly full";
    EXPECT_LT(kivSketchInk(kivSketchMedium(KivSketchTool::charcoal), 1.0, 0.7), 0.4) << "charcoal leaves much of it";
}
