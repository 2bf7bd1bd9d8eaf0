#include "kivrender/scene/kiv3dmatrix.h"

#include "kivrender/scene/kiv3dpoint.h"
#include "kivrender/scene/kiv3dvector.h"
#include "support/rawrandom.h"

#include <gtest/gtest.h>

namespace {

void expectIdentity(const Kiv3DMatrix& m, double tolerance) {
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 4; ++column) {
            EXPECT_NEAR(m.elements[row][column], row == column ? 1.0 : 0.0, tolerance) << row << ' ' << column;
        }
    }
}

TEST(Kiv3DMatrix, StartsAsTheIdentity) {
    expectIdentity(Kiv3DMatrix(), 0.0);
    Kiv3DMatrix m;
    m.elements[1][2] = 5.0;
    m.elements[3][0] = 5.0;
    EXPECT_EQ(&m.setToIdentity(), &m);
    expectIdentity(m, 0.0);
}

TEST(Kiv3DMatrix, TheDeterminantIsThatOfTheUpperLeftBlock) {
    Kiv3DMatrix m;
    m.setCoordSystem(Kiv3DPoint(7.0, 8.0, 9.0), Kiv3DVector(2.0, 1.0, 0.0), Kiv3DVector(0.0, 3.0, 1.0),
                     Kiv3DVector(1.0, 0.0, 4.0));
    m.elements[3][0] = 99.0;
    m.elements[3][3] = 0.0;
    EXPECT_EQ(m.determinant(), 25.0);
}

TEST(Kiv3DMatrix, CoordSystemPutsAxesIntoColumns) {
    Kiv3DMatrix m;
    m.elements[3][1] = 6.0;
    m.setCoordSystem(Kiv3DPoint(10.0, 11.0, 12.0), Kiv3DVector(1.0, 2.0, 3.0), Kiv3DVector(4.0, 5.0, 6.0),
                     Kiv3DVector(7.0, 8.0, 9.0));
    const double expected[4][4] = {{1, 4, 7, 10}, {2, 5, 8, 11}, {3, 6, 9, 12}, {0, 0, 0, 1}};
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 4; ++column) {
            EXPECT_EQ(m.elements[row][column], expected[row][column]);
        }
    }
    m.setToNormalizedCoordSystem(Kiv3DPoint(1.0, 2.0, 3.0), Kiv3DVector(2.0, 0.0, 0.0), Kiv3DVector(0.0, 0.0, 5.0),
                                 Kiv3DVector(0.0, -3.0, 0.0));
    EXPECT_EQ(m.elements[0][0], 1.0);
    EXPECT_EQ(m.elements[2][1], 1.0);
    EXPECT_EQ(m.elements[1][2], -1.0);
    EXPECT_EQ(m.elements[2][3], 3.0);
}

TEST(Kiv3DMatrix, WorldToLocalTakesTheOriginOfTheFrameToZero) {
    Kiv3DMatrix m;
    m.setToWorldToLocal(Kiv3DPoint(5.0, 6.0, 7.0), Kiv3DVector(0.0, 4.0, 0.0), Kiv3DVector(0.0, 0.0, 2.0),
                        Kiv3DVector(3.0, 0.0, 0.0));
    Kiv3DPoint origin(5.0, 6.0, 7.0);
    EXPECT_TRUE(origin.transformBy(m).isEqual(Kiv3DPoint(), 1e-12));
    Kiv3DPoint p(6.0, 8.0, 10.0);
    EXPECT_TRUE(p.transformBy(m).isEqual(Kiv3DPoint(2.0, 3.0, 1.0), 1e-12));
}

TEST(Kiv3DMatrix, InverseUndoesAnyAffineMatrix) {
    RawRandom random(1);
    for (int round = 0; round < 1000; ++round) {
        Kiv3DMatrix m;
        for (int row = 0; row < 3; ++row) {
            for (double& element : m.elements[row]) {
                element = random.between(-10.0, 10.0);
            }
        }
        if (std::fabs(m.determinant()) < 1.0) {
            continue;
        }
        const Kiv3DPoint original(random.between(-9.0, 9.0), random.between(-9.0, 9.0), random.between(-9.0, 9.0));
        Kiv3DPoint p(original);
        p.transformBy(m).transformBy(m.inverse());
        ASSERT_TRUE(p.isEqual(original, 1e-8)) << round;
        Kiv3DMatrix inverted(m);
        EXPECT_EQ(&inverted.invert(), &inverted);
        EXPECT_EQ(inverted.elements[0][3], m.inverse().elements[0][3]);
        EXPECT_EQ(inverted.elements[3][3], 1.0);
    }
}

TEST(Kiv3DMatrix, InverseOfANearlySingularMatrixIsTheIdentity) {
    Kiv3DMatrix m;
    m.elements[0][0] = 0.0000005;
    m.elements[1][3] = 12.0;
    EXPECT_DOUBLE_EQ(m.determinant(), 0.0000005);
    expectIdentity(m.inverse(), 0.0);
}

TEST(Kiv3DMatrix, GetInverseWritesThreeRowsOrNothing) {
    Kiv3DMatrix m;
    m.elements[0][0] = 2.0;
    m.elements[0][3] = 6.0;
    Kiv3DMatrix target;
    target.elements[3][0] = 42.0;
    EXPECT_TRUE(m.getInverse(target, 1e-6));
    EXPECT_EQ(target.elements[0][0], 0.5);
    EXPECT_EQ(target.elements[0][3], -3.0);
    EXPECT_EQ(target.elements[3][0], 42.0);
    // The range of determinants that are refused is closed.
    Kiv3DMatrix untouched;
    untouched.elements[2][2] = 17.0;
    EXPECT_FALSE(m.getInverse(untouched, 2.0));
    EXPECT_EQ(untouched.elements[2][2], 17.0);
    m.elements[0][0] = -2.0;
    EXPECT_FALSE(m.getInverse(untouched, 2.0));
    EXPECT_TRUE(m.getInverse(untouched, 1.9999));
}

} // namespace
