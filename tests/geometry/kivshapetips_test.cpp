#include "kivrender/geometry/kivshapetips.h"

#include "loopsurfaces.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

// A ball of radius 1 whose upper pole, point 0, is drawn out to a height; its neighbours lie 15 degrees from it if the
// ball has 24 sides.
KivLoopSurface spikeSurface(double height, int sides = 24) {
    ShapeModel model = ballModel(sides);
    model.points[0] = {0.0, height, 0.0};
    return surfaceOf(model);
}

long numPinned(const KivLoopSurface& surface) {
    return std::count(surface.pinned.begin(), surface.pinned.end(), 1);
}

} // namespace

TEST(KivPinTips, ASpikeKeepsItsTipAndNothingElse) {
    KivLoopSurface surface = spikeSurface(1.5);
    kivPinTips(surface);
    EXPECT_EQ(surface.pinned[0], 1);
    EXPECT_EQ(numPinned(surface), 1);
}

TEST(KivPinTips, RoundBodiesBoxesAndBluntConesHaveNone) {
    // Half the angle at the tip is 46 degrees in the last one: a full turn times its sine is 259 degrees.
    for (KivLoopSurface surface : {surfaceOf(ballModel(24)), surfaceOf(cubeModel()), spikeSurface(1.216)}) {
        kivPinTips(surface);
        EXPECT_EQ(numPinned(surface), 0);
    }
}

TEST(KivPinTips, WhatHardlyStandsOutIsRoughness) {
    // The same spike on a body a hundred times as large.
    KivLoopSurface surface = spikeSurface(1.5);
    surface.points.push_back({0.0, -100.0, 0.0});
    surface.pinned.push_back(0);
    kivPinTips(surface);
    EXPECT_EQ(numPinned(surface), 0);
}

TEST(KivPinTips, TipsWithASharpEdgeAreLeftToItsRules) {
    KivLoopSurface surface = spikeSurface(1.5);
    for (std::size_t e = 0; e < surface.sharp.size(); ++e) {
        if (surface.adjacency.edges[e].a == 0) {
            surface.sharp[e] = 1;
            break;
        }
    }
    kivPinTips(surface);
    EXPECT_EQ(numPinned(surface), 0);
}

// The radius of a straight cone falls with the distance from its tip; by Loop's weights it would be 0.69 of that here.
TEST(KivPinTips, ATipIsAConeOnTheFinerSurface) {
    constexpr double height = 2.5;
    KivLoopSurface surface = spikeSurface(height, 8);
    kivPinTips(surface);
    for (int step = 0; step < 3; ++step) {
        surface = kivLoopStep(surface);
    }
    EXPECT_EQ(surface.points[0].y, height);
    const double slope = std::sqrt(0.5) / (height - std::sqrt(0.5));
    int looked = 0;
    for (const KivShapeEdge& edge : surface.adjacency.edges) {
        if (edge.a == 0 || edge.b == 0) {
            const KivVec& p = surface.points[edge.a == 0 ? edge.b : edge.a];
            const double share = std::hypot(p.x, p.z) / (height - p.y) / slope;
            EXPECT_GT(share, 0.85);
            EXPECT_LT(share, 1.05);
            ++looked;
        }
    }
    EXPECT_EQ(looked, 8);
}
