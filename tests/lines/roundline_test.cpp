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
    kivRoundLine(view, std::vector<bool>(24, true), {}, true, points);
    EXPECT_GT(points.size(), 72U);
    EXPECT_LT(farthestFromCircle(points, 80.0), 0.05);
}

TEST(RoundLine, EdgesOfAMeshStayWhereTheyShow) {
    std::vector<KivVec> coarse = polygon(24, 80.0);
    kivRoundLine(view, std::vector<bool>(24, false), {}, true, coarse);
    EXPECT_EQ(coarse.size(), 24U) << "six tenths of a pixel";
    std::vector<KivVec> fine = polygon(60, 80.0);
    kivRoundLine(view, std::vector<bool>(60, false), {}, true, fine);
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
    kivRoundLine(view, std::vector<bool>(points.size(), false), {}, false, edges);
    EXPECT_EQ(edges[1].x, 0.0) << "nothing between the ends of the straight line";
    std::vector<KivVec> square = {{-50, -50, 0}, {50, -50, 0}, {50, 50, 0}, {-50, 50, 0}};
    kivRoundLine(view, std::vector<bool>(4, true), {}, true, square);
    EXPECT_EQ(square.size(), 4U);
}

TEST(RoundLine, ALongPieceBesideShortOnesFollowsTheNormals) {
    // A quarter of a small circle, from which the line runs on straight in both directions.
    std::vector<KivVec> points = {{-90.0, 10.0, 0.0}};
    std::vector<KivVec> normals = {{0.0, 1.0, 0.0}};
    for (int i = 0; i <= 10; ++i) {
        const double a = std::numbers::pi / 20.0 * i;
        normals.push_back({std::sin(a), std::cos(a), 0.0});
        points.push_back(normals.back() * 10.0);
    }
    points.push_back({10.0, -90.0, 0.0});
    normals.push_back({1.0, 0.0, 0.0});
    std::vector<KivVec> blind = points;
    kivRoundLine(view, std::vector<bool>(points.size(), true), normals, false, points);
    EXPECT_GT(points.size(), 20U) << "the bend is round";
    double most = 0.0;
    for (const KivVec& p : points) {
        most = std::max({most, p.x, p.y});
    }
    EXPECT_LE(most, 10.0 + 1e-9) << "nothing bulges";
    kivRoundLine(view, std::vector<bool>(blind.size(), true), {}, false, blind);
    EXPECT_GT(std::max_element(blind.begin(), blind.end(), [](auto& a, auto& b) { return a.y < b.y; })->y, 10.1);
}

TEST(RoundLine, ASliverBetweenLongPiecesBendsNone) {
    // A circle of even chords, and on it a point close beside another one.
    std::vector<KivVec> points = polygon(24, 80.0);
    const double a = 2.0 * std::numbers::pi / 24.0 * 5.02;
    points.insert(points.begin() + 6, KivVec{80.0 * std::cos(a), 80.0 * std::sin(a), 0.0});
    std::vector<KivVec> normals;
    for (const KivVec& p : points) {
        normals.push_back(kivUnit(p));
    }
    kivRoundLine(view, std::vector<bool>(25, true), normals, true, points);
    EXPECT_LT(farthestFromCircle(points, 80.0), 0.05);
}

} // namespace
