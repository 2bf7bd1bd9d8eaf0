#include "kivrender/lines/write/pathcircle.h"

#include <cmath>
#include <vector>

#include <gtest/gtest.h>

TEST(PathCircle, FindsTheCircleThatPointsLieOn) {
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

TEST(PathCircle, WhatIsStraightIsNoCircle) {
    EXPECT_FALSE(kivCircleThrough(std::vector<KivPicturePoint>{{0, 0}, {1, 1}, {2, 2}, {3, 3}}, 0.1).has_value());
    EXPECT_FALSE(kivCircleThrough(std::vector<KivPicturePoint>{{0, 0}, {1, 1}}, 0.1).has_value());
    EXPECT_FALSE(kivCircleThrough(std::vector<KivPicturePoint>{{1, 1}, {1, 1}, {1, 1}}, 0.1).has_value());
}
