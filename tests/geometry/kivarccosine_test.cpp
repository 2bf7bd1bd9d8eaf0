#include "kivrender/geometry/kivarccosine.h"

#include <cstdlib>
#include <limits>

#include <gtest/gtest.h>

namespace {

using std::numbers::pi;

TEST(ArcCosine, IsThatOfTheLibrary) {
    constexpr int steps = 200'000;
    for (int i = -steps; i <= steps; ++i) {
        const double x = static_cast<double>(i) / steps;
        ASSERT_NEAR(kivArcCosine(x), std::acos(x), 3e-12) << x;
        const double close = 1.0 - std::ldexp(1.0, -std::abs(i) % 53);
        ASSERT_NEAR(kivArcCosine(close), std::acos(close), 3e-12) << close;
    }
}

TEST(ArcCosine, IsExactWhereFacesAreFlat) {
    EXPECT_EQ(kivArcCosine(1.0), 0.0);
    EXPECT_EQ(kivArcCosine(-1.0), pi);
}

// Rounding carries products of unit vectors over the ends.
TEST(ArcCosine, BeyondTheEndsIsAtTheEnds) {
    for (const double x : {1.0000000000000002, 1.5, 1e300, std::numeric_limits<double>::infinity()}) {
        EXPECT_EQ(kivArcCosine(x), 0.0) << x;
        EXPECT_EQ(kivArcCosine(-x), pi) << x;
    }
}

// Creases are told by angles in degrees that are floats.
TEST(ArcCosine, UsualAnglesAreExactAsFloats) {
    for (const double degrees : {15.0, 20.0, 30.0, 36.0, 40.0, 45.0, 60.0, 72.0, 90.0, 120.0, 135.0}) {
        const double cosine = std::cos(degrees * pi / 180.0);
        EXPECT_EQ(static_cast<float>(kivArcCosine(cosine) * 180.0 / pi), static_cast<float>(degrees));
    }
}

} // namespace
