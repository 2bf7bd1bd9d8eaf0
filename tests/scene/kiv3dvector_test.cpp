#include "kivrender/scene/kiv3dvector.h"

#include "kivrender/scene/kiv3dpoint.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>
#include <numbers>

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
const double nan = std::numeric_limits<double>::quiet_NaN();

TEST(Kiv3DVector, StartsAsZeroAndKeepsItsComponentsSideBySide) {
    const Kiv3DVector zero;
    EXPECT_TRUE(zero == Kiv3DVector(0.0, 0.0, 0.0));
    const Kiv3DVector v(1.0, 2.0, 3.0);
    EXPECT_EQ(reinterpret_cast<const char*>(&v.z) - reinterpret_cast<const char*>(&v.x),
              2 * std::ptrdiff_t{sizeof(double)});
}

TEST(Kiv3DVector, NormIsTheLength) {
    EXPECT_EQ(Kiv3DVector(3.0, 4.0, 0.0).norm(), 5.0);
    EXPECT_EQ(Kiv3DVector(0.0, -3.0, 4.0).norm(), 5.0);
    EXPECT_EQ(Kiv3DVector(4.0, 0.0, -3.0).norm(), 5.0);
    EXPECT_DOUBLE_EQ(Kiv3DVector(2.0, 3.0, 6.0).norm(), 7.0);
}

TEST(Kiv3DVector, NormNeitherOverflowsNorUnderflows) {
    const double large = Kiv3DVector(1e308, 1e308, 0.0).norm();
    EXPECT_TRUE(std::isfinite(large));
    EXPECT_DOUBLE_EQ(large, 1e308 * std::sqrt(2.0));
    EXPECT_EQ(Kiv3DVector(1e-200, 0.0, 0.0).norm(), 1e-200);
    EXPECT_EQ(Kiv3DVector(0.0, 0.0, -1e-200).norm(), 1e-200);
}

TEST(Kiv3DVector, NormOfTheSmallestAndOfTheInfinite) {
    EXPECT_EQ(Kiv3DVector(DBL_MIN, 0.0, 0.0).norm(), 0.0);
    EXPECT_GT(Kiv3DVector(DBL_MIN * 2.0, 0.0, 0.0).norm(), 0.0);
    EXPECT_EQ(Kiv3DVector(1.0, -infinity, 2.0).norm(), infinity);
    EXPECT_EQ(Kiv3DVector(infinity, -infinity, 1.0).norm(), infinity) << "no infinity is divided by another";
    EXPECT_EQ(Kiv3DVector(-infinity, 0.0, infinity).norm(), infinity);
    EXPECT_EQ(Kiv3DPoint(infinity, 0.0, 0.0).distanceTo(Kiv3DPoint(0.0, infinity, 0.0)), infinity);
    EXPECT_EQ(Kiv3DVector(nan, 0.0, 0.0).norm(), 0.0) << "not greater than the smallest normal number";
    EXPECT_TRUE(std::isnan(Kiv3DVector(1.0, nan, 0.0).norm()));
}

TEST(Kiv3DVector, NormaliceLeavesAVectorOfNoLength) {
    Kiv3DVector zero;
    zero.normalice();
    EXPECT_TRUE(zero == Kiv3DVector());
    EXPECT_TRUE(Kiv3DVector().normal() == Kiv3DVector());
    Kiv3DVector tiny(DBL_EPSILON, 0.0, 0.0);
    tiny.normalice();
    EXPECT_EQ(tiny.x, DBL_EPSILON);
    Kiv3DVector small(DBL_EPSILON * 2.0, 0.0, 0.0);
    small.normalice();
    EXPECT_EQ(small.x, 1.0);
}

TEST(Kiv3DVector, NormaliceMultipliesByOneReciprocal) {
    Kiv3DVector v(1.0, 7.0, 3.0);
    const double factor = 1.0 / v.norm();
    v.normalice();
    EXPECT_EQ(v.x, 1.0 * factor);
    EXPECT_EQ(v.y, 7.0 * factor);
    EXPECT_EQ(v.z, 3.0 * factor);
    const Kiv3DVector original(0.0, 0.0, 8.0);
    EXPECT_TRUE(original.normal() == Kiv3DVector(0.0, 0.0, 1.0));
    EXPECT_EQ(original.z, 8.0);
}

TEST(Kiv3DVector, AVectorOfNoLengthPointsTheSameWayAsAnything) {
    const Kiv3DVector zero;
    const Kiv3DVector v(0.0, -2.0, 0.0);
    EXPECT_EQ(zero.cosAngle(v), 1.0);
    EXPECT_EQ(v.cosAngle(zero), 1.0);
    EXPECT_EQ(zero.angle(v), 0.0);
    EXPECT_EQ(v.angle(zero), 0.0);
    EXPECT_EQ(v.cosAngle(Kiv3DVector(0.0, DBL_EPSILON / 2.0, 0.0)), 1.0);
    EXPECT_EQ(v.cosAngle(Kiv3DVector(0.0, DBL_EPSILON, 0.0)), -1.0);
}

TEST(Kiv3DVector, AngleIsClampedAndInRadians) {
    EXPECT_DOUBLE_EQ(Kiv3DVector(1.0, 0.0, 0.0).angle(Kiv3DVector(0.0, 5.0, 0.0)), std::numbers::pi / 2.0);
    EXPECT_DOUBLE_EQ(Kiv3DVector(1.0, 0.0, 0.0).angle(Kiv3DVector(-3.0, 0.0, 0.0)), std::numbers::pi);
    // Vectors whose cosine with themselves comes out above 1 exist; without the clamp the angle would be NaN.
    bool sawMoreThanOne = false;
    for (int i = 1; i < 2000; ++i) {
        const Kiv3DVector v(i, i * 0.37, i * 1.91 + 1.0);
        sawMoreThanOne |= v.cosAngle(v) > 1.0;
        ASSERT_FALSE(std::isnan(v.angle(v)));
    }
    EXPECT_TRUE(sawMoreThanOne);
}

TEST(Kiv3DVector, StarBetweenVectorsIsTheCrossProduct) {
    const Kiv3DVector a(1.0, 2.0, 3.0);
    const Kiv3DVector b(-4.0, 5.0, 7.0);
    const Kiv3DVector cross(2.0 * 7.0 - 3.0 * 5.0, 3.0 * -4.0 - 1.0 * 7.0, 1.0 * 5.0 - 2.0 * -4.0);
    EXPECT_TRUE(a * b == cross);
    EXPECT_TRUE(a.crossProduct(b) == cross);
    EXPECT_EQ(a.dotProduct(b), -4.0 + 10.0 + 21.0);
}

TEST(Kiv3DVector, PerpVectorDropsZ) {
    EXPECT_TRUE(Kiv3DVector(2.0, 3.0, 9.0).perpVector() == Kiv3DVector(-3.0, 2.0, 0.0));
    EXPECT_TRUE(Kiv3DVector(0.0, 0.0, 5.0).perpVector() == Kiv3DVector());
}

TEST(Kiv3DVector, SumsAndSigns) {
    Kiv3DVector v(1.0, -2.0, 3.0);
    EXPECT_TRUE(-v == Kiv3DVector(-1.0, 2.0, -3.0));
    EXPECT_TRUE(v + Kiv3DVector(1.0, 1.0, 1.0) == Kiv3DVector(2.0, -1.0, 4.0));
    EXPECT_TRUE(v - Kiv3DVector(1.0, 1.0, 1.0) == Kiv3DVector(0.0, -3.0, 2.0));
    v += Kiv3DVector(0.5, 0.5, 0.5);
    EXPECT_TRUE(v == Kiv3DVector(1.5, -1.5, 3.5));
    v.reverse();
    EXPECT_TRUE(v == Kiv3DVector(-1.5, 1.5, -3.5));
    EXPECT_FALSE(v == Kiv3DVector(-1.5, 1.5, -3.5000001));
}

TEST(Kiv3DVector, ScalarsAreWidenedFirst) {
    const Kiv3DVector v(3.0, 6.0, 9.0);
    EXPECT_TRUE(v * 2.0 == Kiv3DVector(6.0, 12.0, 18.0));
    EXPECT_TRUE(v * 2 == Kiv3DVector(6.0, 12.0, 18.0));
    EXPECT_EQ((v * 0.1F).x, 3.0 * static_cast<double>(0.1F));
    EXPECT_TRUE(v / 3 == Kiv3DVector(1.0, 2.0, 3.0));
    EXPECT_TRUE(v / 3.0 == Kiv3DVector(1.0, 2.0, 3.0));
    EXPECT_EQ((v / 0.1F).y, 6.0 / static_cast<double>(0.1F));
    Kiv3DVector w(v);
    w /= 3;
    EXPECT_TRUE(w == Kiv3DVector(1.0, 2.0, 3.0));
    w /= 0.5;
    EXPECT_TRUE(w == Kiv3DVector(2.0, 4.0, 6.0));
    w /= 2.0F;
    EXPECT_TRUE(w == Kiv3DVector(1.0, 2.0, 3.0));
}

TEST(Kiv3DVector, DivisionByZeroStands) {
    const Kiv3DVector v = Kiv3DVector(1.0, -1.0, 0.0) / 0;
    EXPECT_EQ(v.x, infinity);
    EXPECT_EQ(v.y, -infinity);
    EXPECT_TRUE(std::isnan(v.z));
}

} // namespace
