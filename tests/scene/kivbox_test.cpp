#include "kivrender/scene/kivbox.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

TEST(KivBox, KeepsItsSixBoundsInPairs) {
    KivBox box(1.0, 2.0, 3.0, 5.0, 7.0, 11.0);
    EXPECT_EQ(box.getXMin(), 1.0);
    EXPECT_EQ(box.getXMax(), 2.0);
    EXPECT_EQ(box.getYMin(), 3.0);
    EXPECT_EQ(box.getYMax(), 5.0);
    EXPECT_EQ(box.getZMin(), 7.0);
    EXPECT_EQ(box.getZMax(), 11.0);
    EXPECT_EQ(box.getXSize(), 1.0);
    EXPECT_EQ(box.getYSize(), 2.0);
    EXPECT_EQ(box.getZSize(), 4.0);
    EXPECT_EQ(box.minDistance(), 1.0);
    box.setXMin(-1.0);
    box.setXMax(9.0);
    box.setYMin(-2.0);
    box.setYMax(8.0);
    box.setZMin(-3.0);
    box.setZMax(3.0);
    const KivBox copy(box);
    EXPECT_EQ(copy.getXSize(), 10.0);
    EXPECT_EQ(copy.getYSize(), 10.0);
    EXPECT_EQ(copy.getZSize(), 6.0);
    EXPECT_EQ(copy.minDistance(), 6.0);
    EXPECT_EQ(KivBox().getXMax(), 0.0);
    EXPECT_EQ(KivBox().diagonalDistance(), 0.0);
}

TEST(KivBox, ItsBoundsAreInside) {
    const KivBox box(0.0, 1.0, 0.0, 1.0, 0.0, 1.0);
    EXPECT_TRUE(box.isInside(Kiv3DPoint(1.0, 0.0, 1.0)));
    EXPECT_TRUE(box.isInside(Kiv3DPoint(0.5, 0.5, 0.5)));
    const double below = -1e-12;
    const double above = 1.0 + 1e-12;
    for (const double outside : {below, above}) {
        EXPECT_FALSE(box.isInside(Kiv3DPoint(outside, 0.5, 0.5)));
        EXPECT_FALSE(box.isInside(Kiv3DPoint(0.5, outside, 0.5)));
        EXPECT_FALSE(box.isInside(Kiv3DPoint(0.5, 0.5, outside)));
    }
}

TEST(KivBox, DiagonalRunsFromCornerToCorner) {
    EXPECT_DOUBLE_EQ(KivBox(0.0, 2.0, 1.0, 4.0, -3.0, 3.0).diagonalDistance(), 7.0);
}

TEST(KivBox, ABoxTurnedInsideOutHasANegativeSize) {
    EXPECT_EQ(KivBox(3.0, 1.0, 0.0, 5.0, 0.0, 5.0).minDistance(), -2.0);
}

} // namespace
