#include "kivrender/lines/write/pathpolyline.h"

#include "sampledrawings.h"

#include <cmath>

#include <gtest/gtest.h>

TEST(PathPolyline, StaysWithinItsToleranceWithFewCorners) {
    const KivCurvePath circle = circlePath(10, 20, 100);
    for (const double tolerance : {1.0, 0.1, 0.01}) {
        const std::vector<KivPicturePoint> line = kivPolylineOf(circle, tolerance);
        EXPECT_EQ(line.front().x, line.back().x);
        double worst = 0.0;
        for (std::size_t i = 1; i < line.size(); ++i) {
            const KivPicturePoint middle = {(line[i - 1].x + line[i].x) / 2, (line[i - 1].y + line[i].y) / 2};
            worst = std::max(worst, std::fabs(std::hypot(middle.x - 10, middle.y - 20) - 100));
        }
        EXPECT_LE(worst, tolerance + 0.03); // what four cubics lack of a circle
        // A chord of a circle deviates by its square through eight radii.
        EXPECT_LE(line.size(), 2.5 * 2 * 3.15 * 100 / std::sqrt(8 * 100 * tolerance) + 5);
    }
}

TEST(PathPolyline, LinesAndDotsStayAsTheyAre) {
    EXPECT_EQ(kivPolylineOf(polylinePath({{0, 0}, {5, 5}, {9, 1}}), 0.1).size(), 3U);
    EXPECT_EQ(kivPolylineOf(polylinePath({{0, 0}}), 0.1).size(), 1U);
}

TEST(PathPolyline, ACurveBeyondAllMeasureHasAnEnd) {
    KivCurvePath path = circlePath(0, 0, 1e7);
    EXPECT_LE(kivPolylineOf(path, 1e-6).size(), 4001U);
}

TEST(PathPolyline, FindsTheCircleThatPointsLieOn) {
    std::vector<KivPicturePoint> points;
    for (int i = 0; i < 10; ++i) {
        const double angle = 0.3 + 0.1 * i;
        points.push_back({5 + 20 * std::cos(angle), -3 + 20 * std::sin(angle)});
    }
    const std::optional<PathCircle> circle = kivCircleThrough(points, 1e-6);
    ASSERT_TRUE(circle.has_value());
    EXPECT_NEAR(circle->centre.x, 5, 1e-6);
    EXPECT_NEAR(circle->centre.y, -3, 1e-6);
    EXPECT_NEAR(circle->radius, 20, 1e-6);
    points[4].x += 0.02;
    EXPECT_FALSE(kivCircleThrough(points, 0.005).has_value());
    EXPECT_TRUE(kivCircleThrough(points, 0.05).has_value());
}

TEST(PathPolyline, WhatIsStraightIsNoCircle) {
    EXPECT_FALSE(kivCircleThrough(std::vector<KivPicturePoint>{{0, 0}, {1, 1}, {2, 2}, {3, 3}}, 0.1).has_value());
    EXPECT_FALSE(kivCircleThrough(std::vector<KivPicturePoint>{{0, 0}, {1, 1}}, 0.1).has_value());
    EXPECT_FALSE(kivCircleThrough(std::vector<KivPicturePoint>{{1, 1}, {1, 1}, {1, 1}}, 0.1).has_value());
}
