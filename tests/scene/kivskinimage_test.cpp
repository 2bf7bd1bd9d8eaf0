#include "kivrender/scene/kivskinimage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>

namespace {

constexpr int side = 64;
constexpr double usual = 0.5;

KivSkinImage alphaOf(const std::function<double(double x, double y)>& alphaAt) {
    KivSkinImage image{side, side, {}};
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            const double alpha = std::clamp(alphaAt(x - 31.5, y - 31.5), 0.0, 1.0);
            image.pixels.insert(image.pixels.end(), {0, 0, 0, static_cast<std::uint8_t>(std::lround(255.0 * alpha))});
        }
    }
    return image;
}

// A disc whose alpha goes from 1 to 0 within so many pixels.
KivSkinImage disc(double fade) {
    return alphaOf([fade](double x, double y) { return 0.5 + (20.0 - std::hypot(x, y)) / fade; });
}

} // namespace

TEST(KivHasSoftAlpha, AGlowHasItAndALeafHasNot) {
    EXPECT_FALSE(kivHasSoftAlpha(disc(0.01), usual));
    EXPECT_FALSE(kivHasSoftAlpha(disc(2.0), usual)) << "smoothed as pictures are";
    EXPECT_TRUE(kivHasSoftAlpha(disc(40.0), usual));
    EXPECT_FALSE(kivHasSoftAlpha(disc(8.0), usual)) << "most of it is there; its rim is blurred";
    EXPECT_FALSE(kivHasSoftAlpha(KivSkinImage(), usual));
}

TEST(KivHasSoftAlpha, OfSpecksItDependsOnWhatLiesBetweenThem) {
    const auto wave = [](double x, double y) { return std::sin(0.9 * x) * std::sin(0.7 * y); };
    EXPECT_TRUE(kivHasSoftAlpha(alphaOf([&](double x, double y) { return 0.5 + 0.3 * wave(x, y); }), usual));
    EXPECT_FALSE(kivHasSoftAlpha(alphaOf([&](double x, double y) { return wave(x, y) > 0.0 ? 1.0 : 0.0; }), usual));
}

// Most of it is between, and what is cut out of it has edges in rows as in columns.
TEST(KivHasSoftAlpha, HolesInGlassHaveEdges) {
    const auto glass = [](double x, double) { return std::fabs(x) < 5.0 ? 0.0 : std::fabs(x) < 9.0 ? 1.0 : 0.7; };
    EXPECT_FALSE(kivHasSoftAlpha(alphaOf(glass), usual));
    EXPECT_FALSE(kivHasSoftAlpha(alphaOf([&](double x, double y) { return glass(y, x); }), usual));
    EXPECT_FALSE(kivHasSoftAlpha(alphaOf([](double, double) { return 0.7; }), usual)) << "nothing is cut out of it";
}

// What rises from glass to an opaque rib is no edge against nothing.
TEST(KivHasSoftAlpha, RibsInGlassHaveNoEdges) {
    const auto ribs = [](double x, double) { return std::fabs(x) < 5.0 ? 1.0 : 0.3; };
    EXPECT_TRUE(kivHasSoftAlpha(alphaOf(ribs), usual));
    EXPECT_TRUE(kivHasSoftAlpha(alphaOf([&](double x, double y) { return ribs(y, x); }), usual));
}

TEST(KivHasSoftAlpha, TheThresholdTellsWhereEdgesAre) {
    const auto steps = [](double x, double y) {
        return x < -20.0 ? 0.0 : x < 0.0 ? 1.0 : 0.4 + 0.2 * std::sin(0.3 * y);
    };
    EXPECT_TRUE(kivHasSoftAlpha(alphaOf(steps), 0.45));
    EXPECT_FALSE(kivHasSoftAlpha(alphaOf(steps), 0.1));
}

TEST(KivPalette, HasNoMoreColoursThanThePicture) {
    KivSkinImage image{2, 1, {10, 20, 30, 255, 10, 20, 30, 255}};
    EXPECT_EQ(kivPalette(image, 4), (KivPalette{{10, 20, 30}}));
    image.pixels[6] = 31;
    EXPECT_EQ(kivPalette(image, 4), (KivPalette{{10, 20, 30}, {10, 20, 31}}));
}
