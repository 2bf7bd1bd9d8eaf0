#include "kivrender/scene/kiv3dpoint.h"

#include "kivrender/scene/kiv3dmatrix.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
const double nan = std::numeric_limits<double>::quiet_NaN();

TEST(Kiv3DPoint, IsAPlainValue) {
    Kiv3DPoint p;
    EXPECT_TRUE(p == Kiv3DPoint(0.0, 0.0, 0.0));
    p.set(1.0, 2.0, 3.0);
    const Kiv3DPoint copy(p);
    EXPECT_TRUE(copy == p);
    const Kiv3DVector v = p;
    EXPECT_TRUE(v == Kiv3DVector(1.0, 2.0, 3.0));
    EXPECT_TRUE(p + Kiv3DVector(1.0, 1.0, 1.0) == Kiv3DPoint(2.0, 3.0, 4.0));
    EXPECT_TRUE(p - Kiv3DVector(1.0, 1.0, 1.0) == Kiv3DPoint(0.0, 1.0, 2.0));
    EXPECT_TRUE((p - Kiv3DPoint(3.0, 2.0, 1.0)) == Kiv3DVector(-2.0, 0.0, 2.0));
}

TEST(Kiv3DPoint, EqualPointsAreNeitherBelowNorAbove) {
    const Kiv3DPoint a(1.0, 2.0, 3.0);
    const Kiv3DPoint b(1.0, 2.0, 3.0);
    EXPECT_TRUE(a <= b);
    EXPECT_TRUE(a >= b);
    EXPECT_FALSE(a < b);
    EXPECT_FALSE(a > b);
    EXPECT_TRUE(a == b);
    EXPECT_FALSE(a != b);
}

TEST(Kiv3DPoint, ComparesByXThenYThenZ) {
    const Kiv3DPoint base(1.0, 2.0, 3.0);
    for (const Kiv3DPoint& greater :
         {Kiv3DPoint(1.5, 0.0, 0.0), Kiv3DPoint(1.0, 2.5, 0.0), Kiv3DPoint(1.0, 2.0, 3.5)}) {
        EXPECT_TRUE(base < greater);
        EXPECT_TRUE(base <= greater);
        EXPECT_FALSE(base > greater);
        EXPECT_FALSE(base >= greater);
        EXPECT_TRUE(greater > base);
        EXPECT_TRUE(greater >= base);
        EXPECT_FALSE(greater < base);
        EXPECT_FALSE(greater <= base);
        EXPECT_TRUE(base != greater);
        EXPECT_FALSE(base == greater);
    }
    EXPECT_TRUE(Kiv3DPoint(nan, 0.0, 0.0) != Kiv3DPoint(nan, 0.0, 0.0));
}

TEST(Kiv3DPoint, ToleranceHoldsOnEachAxisAndIsInclusive) {
    const Kiv3DPoint origin;
    const Kiv3DPoint near(0.0001, 0.0001, 0.0001);
    EXPECT_TRUE(origin.isEqual(near, 0.0001));
    EXPECT_FALSE(origin.isGreater(near, 0.0001));
    EXPECT_FALSE(near.isGreater(origin, 0.0001));
    EXPECT_FALSE(origin.isEqual(Kiv3DPoint(0.00011, 0.0, 0.0), 0.0001));
    EXPECT_FALSE(origin.isEqual(Kiv3DPoint(0.0, -0.00011, 0.0), 0.0001));
    EXPECT_FALSE(origin.isEqual(Kiv3DPoint(0.0, 0.0, 0.00011), 0.0001));
}

TEST(Kiv3DPoint, ADifferenceThatIsNoNumberCountsAsEqual) {
    EXPECT_TRUE(Kiv3DPoint(nan, 0.0, 0.0).isEqual(Kiv3DPoint(5.0, 0.0, 0.0), 0.0001));
    EXPECT_FALSE(Kiv3DPoint(nan, 1.0, 0.0).isEqual(Kiv3DPoint(5.0, 0.0, 0.0), 0.0001));
}

TEST(Kiv3DPoint, TheFirstAxisBeyondTheBandDecides) {
    EXPECT_TRUE(Kiv3DPoint(0.00011, -9.0, -9.0).isGreater(Kiv3DPoint(), 0.0001));
    EXPECT_FALSE(Kiv3DPoint(-0.00011, 9.0, 9.0).isGreater(Kiv3DPoint(), 0.0001));
    EXPECT_TRUE(Kiv3DPoint(-0.00005, 0.00011, -9.0).isGreater(Kiv3DPoint(), 0.0001));
    EXPECT_FALSE(Kiv3DPoint(0.00005, -0.00011, 9.0).isGreater(Kiv3DPoint(), 0.0001));
    EXPECT_TRUE(Kiv3DPoint(-0.00005, -0.00005, 0.00011).isGreater(Kiv3DPoint(), 0.0001));
}

TEST(Kiv3DPoint, DistanceIsGuardedAndSquaredDistanceIsNot) {
    const Kiv3DPoint far(1e200, 0.0, 0.0);
    EXPECT_EQ(far.distanceTo(Kiv3DPoint()), 1e200);
    EXPECT_EQ(far.squaredDistanceTo(Kiv3DPoint()), infinity);
    EXPECT_EQ(Kiv3DPoint(1.0, 2.0, 3.0).squaredDistanceTo(Kiv3DPoint(4.0, 6.0, 3.0)), 25.0);
}

TEST(Kiv3DPoint, TransformByAnAffineMatrixNeedsNoDivision) {
    Kiv3DMatrix m;
    m.setCoordSystem(Kiv3DPoint(10.0, 20.0, 30.0), Kiv3DVector(0.0, 1.0, 0.0), Kiv3DVector(-1.0, 0.0, 0.0),
                     Kiv3DVector(0.0, 0.0, 2.0));
    Kiv3DPoint p(1.0, 2.0, 3.0);
    Kiv3DPoint& result = p.transformBy(m);
    EXPECT_EQ(&result, &p);
    EXPECT_TRUE(p == Kiv3DPoint(8.0, 21.0, 36.0));
}

TEST(Kiv3DPoint, TransformByDividesByTheFourthCoordinate) {
    Kiv3DMatrix m;
    m.elements[3][3] = 4.0;
    Kiv3DPoint p(1.0, 2.0, -3.0);
    EXPECT_TRUE(p.transformBy(m) == Kiv3DPoint(0.25, 0.5, -0.75));
}

TEST(Kiv3DPoint, TransformByAFourthCoordinateThatIsNotPositiveIsInfinite) {
    for (const double w : {0.0, -2.0, DBL_MIN}) {
        Kiv3DMatrix m;
        m.elements[3][3] = w;
        Kiv3DPoint p(1.0, -2.0, 0.0);
        p.transformBy(m);
        EXPECT_EQ(p.x, infinity) << w;
        EXPECT_EQ(p.y, -infinity) << w;
        EXPECT_TRUE(std::isnan(p.z)) << w;
    }
}

} // namespace
