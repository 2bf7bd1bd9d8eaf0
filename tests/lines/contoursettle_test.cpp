#include "kivrender/lines/contoursettle.h"

#include "linebodies.h"
#include "linecameras.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

// One pixel is one unit; the middle of the picture is the origin. A box stands before the lines, its upper side at 0.
class ContourSettle : public testing::Test {
protected:
    ContourSettle() {
        const LineBody box = boxBody({-50.0, -50.0, 5.0}, {50.0, 0.0, 10.0});
        EXPECT_TRUE(occluders.add(box.points, box.triangles));
        EXPECT_TRUE(occluders.build());
    }
    KivFoundLine settled(const std::vector<KivVec>& points, bool closed = false, std::size_t work = 1000000) {
        KivFoundLine line;
        line.closed = closed;
        line.space = points;
        for (const KivVec& p : points) {
            line.picture.push_back(view.toPicture(view.toCamera(p)));
        }
        LineBudget budget(work);
        kivSettleContour(occluders, budget, line);
        EXPECT_EQ(line.space.size(), line.picture.size());
        for (std::size_t i = 0; i < line.space.size(); ++i) {
            const KivPicturePoint place = view.toPicture(view.toCamera(line.space[i]));
            EXPECT_NEAR(place.x, line.picture[i].x, 1e-9);
            EXPECT_NEAR(place.y, line.picture[i].y, 1e-9);
            EXPECT_NEAR(line.space[i].z, 0.0, 1e-9) << "it stays as deep";
        }
        return line;
    }

    KivLineView view{lineCamera(KivCamera::orthographic, {0.0, 0.0, 50.0}, 100.0, 1.0, 200.0), 200.0, 200.0};
    KivOccluders occluders{view};
};

TEST_F(ContourSettle, ALineALittleBehindAnOutlineIsSeenWithinAQuarterOfAPixel) {
    for (const double below : {0.3, 0.45, 0.55}) {
        for (const bool backwards : {false, true}) {
            const KivFoundLine line = backwards ? settled({{30.0, -below, 0.0}, {-30.0, -below, 0.0}})
                                                : settled({{-30.0, -below, 0.0}, {30.0, -below, 0.0}});
            for (const KivVec& p : line.space) {
                EXPECT_LE(p.y, 0.0);
                EXPECT_GE(p.y, -0.25) << below;
            }
        }
    }
}

TEST_F(ContourSettle, WhatIsRightOrFarBehindStays) {
    for (const double y : {5.0, 0.0, -0.15, -0.8, -20.0}) {
        const std::vector<KivVec> points = {{-30.0, y, 0.0}, {0.0, y, 0.0}, {30.0, y, 0.0}};
        const KivFoundLine line = settled(points);
        ASSERT_EQ(line.space.size(), points.size()) << y;
        for (std::size_t i = 0; i < points.size(); ++i) {
            EXPECT_EQ(line.space[i].y, points[i].y);
        }
    }
}

// Deeper and deeper behind the edge and back again: it is all left alone.
TEST_F(ContourSettle, ALineThatGoesOnBehindSomethingStays) {
    const std::vector<KivVec> points = {
        {-30.0, 2.0, 0.0}, {-10.0, 0.0, 0.0}, {0.0, -2.0, 0.0}, {10.0, 0.0, 0.0}, {30.0, 2.0, 0.0}};
    const KivFoundLine line = settled(points);
    ASSERT_EQ(line.space.size(), points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        EXPECT_EQ(line.space[i].y, points[i].y);
    }
}

// Behind the edge in the middle alone: what is around it bends towards it, without a step.
TEST_F(ContourSettle, ALineTurnsAsideSoftly) {
    const KivFoundLine line =
        settled({{-30.0, 1.0, 0.0}, {-10.0, 0.1, 0.0}, {-2.0, -0.5, 0.0}, {2.0, -0.5, 0.0}, {20.0, 1.0, 0.0}});
    EXPECT_NEAR(line.space.front().y, 1.0, 1e-9);
    EXPECT_NEAR(line.space.back().y, 1.0, 1e-9);
    for (std::size_t i = 1; i < line.space.size(); ++i) {
        EXPECT_GE(line.space[i].y, -0.25);
        const double way = std::fabs(line.space[i].x - line.space[i - 1].x);
        EXPECT_LE(std::fabs(line.space[i].y - line.space[i - 1].y), 0.35 * way + 1e-9);
    }
}

TEST_F(ContourSettle, ARingSettlesOverItsEnd) {
    const KivFoundLine line =
        settled({{-20.0, -0.5, 0.0}, {20.0, -0.5, 0.0}, {20.0, 30.0, 0.0}, {-20.0, 30.0, 0.0}}, true);
    double lowest = 0.0;
    bool turns = false;
    for (const KivVec& p : line.space) {
        lowest = std::min(lowest, p.y);
        turns = turns || (p.y > 0.5 && p.y < 3.0 && p.x > -19.99 && p.x < 0.0);
    }
    EXPECT_GE(lowest, -0.25);
    EXPECT_TRUE(turns) << "the last side turns aside before the first";
}

TEST_F(ContourSettle, WithoutWorkAllStays) {
    const KivFoundLine line = settled({{-30.0, -0.5, 0.0}, {30.0, -0.5, 0.0}}, false, 3);
    ASSERT_EQ(line.space.size(), 2U);
    EXPECT_EQ(line.space[0].y, -0.5);
}

} // namespace
