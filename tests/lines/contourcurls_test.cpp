#include "kivrender/lines/contourcurls.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

KivFoundLine lineThrough(const std::vector<KivPicturePoint>& points, bool closed = false) {
    KivFoundLine line;
    line.closed = closed;
    line.picture = points;
    for (const KivPicturePoint& p : points) {
        line.space.push_back({p.x, p.y, 1.0});
    }
    return line;
}

std::vector<KivPicturePoint> without(const std::vector<KivPicturePoint>& points, bool closed = false) {
    KivFoundLine line = lineThrough(points, closed);
    kivTakeOutCurls(line);
    EXPECT_EQ(line.space.size(), line.picture.size());
    for (std::size_t i = 0; i < line.space.size(); ++i) {
        EXPECT_EQ(line.space[i].x, line.picture[i].x) << "points in space go along";
    }
    return line.picture;
}

TEST(ContourCurls, AZigzagInALineGoes) {
    const std::vector<KivPicturePoint> left = without(
        {{0.0, 0.0}, {10.0, 0.0}, {11.0, 0.0}, {10.2, 0.4}, {11.2, 0.8}, {10.4, 0.6}, {12.0, 0.5}, {22.0, 0.5}});
    for (std::size_t i = 1; i < left.size(); ++i) {
        EXPECT_GT(left[i].x, left[i - 1].x);
    }
    EXPECT_EQ(left.front().x, 0.0);
    EXPECT_EQ(left.back().x, 22.0);
}

TEST(ContourCurls, ALoopAtAnEndGoesWithIt) {
    std::vector<KivPicturePoint> points = {{0.0, 0.0},  {10.0, 0.0}, {20.0, 0.0}, {20.8, 0.3},
                                           {20.2, 0.6}, {19.9, 0.2}, {20.4, 0.1}};
    for (const bool atStart : {false, true}) {
        const std::vector<KivPicturePoint> left = without(points);
        EXPECT_EQ(left.size(), 3U);
        EXPECT_TRUE(std::any_of(left.begin(), left.end(), [](const KivPicturePoint& p) { return p.x == 0.0; }));
        EXPECT_TRUE(std::any_of(left.begin(), left.end(), [](const KivPicturePoint& p) { return p.x == 10.0; }));
        std::reverse(points.begin(), points.end());
        EXPECT_EQ(atStart, points.front().x == 0.0);
    }
}

TEST(ContourCurls, TipsCornersAndLargeLoopsStay) {
    const std::vector<KivPicturePoint> lines[] = {
        {{0.0, 0.0}, {10.0, 0.0}, {12.0, 0.5}, {10.0, 1.0}, {0.0, 1.0}},                 // the tip of a needle
        {{0.0, 0.0}, {10.0, 0.0}, {10.5, 0.0}, {10.5, 0.5}, {10.5, 10.0}},               // a corner
        {{0.0, 0.0}, {10.0, 0.0}, {20.0, 10.0}, {10.0, 15.0}, {12.0, 2.0}, {30.0, 0.0}}, // a loop to be seen
        {{0.0, 0.0}, {1.0, 0.0}}};
    for (const std::vector<KivPicturePoint>& line : lines) {
        EXPECT_EQ(without(line).size(), line.size()) << line.size();
    }
    EXPECT_EQ(without({{0.0, 0.0}, {9.0, 0.0}, {9.0, 9.0}, {0.0, 9.0}}, true).size(), 4U);
}

} // namespace
