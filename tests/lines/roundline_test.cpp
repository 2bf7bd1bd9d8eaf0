#include "kivrender/lines/roundline.h"

#include "linecameras.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

const KivLineView view(lineCamera(KivCamera::orthographic, {0.0, 0.0, 20.0}, 100.0, 1.0, 100.0), 200.0, 200.0);

std::vector<KivVec> polygon(int corners, double radius) {
    std::vector<KivVec> points;
    for (int i = 0; i < corners; ++i) {
        const double a = 2.0 * std::numbers::pi * i / corners;
        points.push_back({radius * std::cos(a), radius * std::sin(a), 0.0});
    }
    return points;
}

double farthestFromCircle(const std::vector<KivVec>& points, double radius) {
    double most = 0.0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const KivVec middle = (points[i] + points[(i + 1) % points.size()]) * 0.5;
        most = std::max({most, std::fabs(kivLength(points[i]) - radius), std::fabs(kivLength(middle) - radius)});
    }
    return most;
}

TEST(RoundLine, ChordsOfACircleBecomeTheCircle) {
    std::vector<KivVec> points = polygon(24, 80.0); // one pixel is one unit
    EXPECT_GT(farthestFromCircle(points, 80.0), 0.6);
    kivRoundLine(view, std::vector<bool>(24, true), true, points);
    EXPECT_GT(points.size(), 72U);
    EXPECT_LT(farthestFromCircle(points, 80.0), 0.05);
}

TEST(RoundLine, EdgesOfAMeshStayWhereTheyShow) {
    std::vector<KivVec> coarse = polygon(24, 80.0);
    kivRoundLine(view, std::vector<bool>(24, false), true, coarse);
    EXPECT_EQ(coarse.size(), 24U) << "six tenths of a pixel";
    std::vector<KivVec> fine = polygon(60, 80.0);
    kivRoundLine(view, std::vector<bool>(60, false), true, fine);
    EXPECT_GT(fine.size(), 60U);
    EXPECT_LT(farthestFromCircle(fine, 80.0), 0.03);
}

TEST(RoundLine, StraightLinesAndCornersStay) {
    // A straight line runs into an arc.
    std::vector<KivVec> points = {{-90.0, 30.0, 0.0}, {0.0, 30.0, 0.0}};
    for (int i = 1; i <= 6; ++i) {
        points.push_back({30.0 * std::sin(0.1 * i), 30.0 * std::cos(0.1 * i), 0.0});
    }
    std::vector<KivVec> edges = points;
    kivRoundLine(view, std::vector<bool>(points.size(), false), false, edges);
    EXPECT_EQ(edges[1].x, 0.0) << "nothing between the ends of the straight line";
    std::vector<KivVec> square = {{-50, -50, 0}, {50, -50, 0}, {50, 50, 0}, {-50, 50, 0}};
    kivRoundLine(view, std::vector<bool>(4, true), true, square);
    EXPECT_EQ(square.size(), 4U);
}

} // namespace
