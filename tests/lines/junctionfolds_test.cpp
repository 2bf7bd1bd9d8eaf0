#include "kivrender/lines/junctionfolds.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

const KivViewpoint fromAbove = {false, {0.0, 0.0, 1.0}};

// Triangles that share the edge from 0 to 1 along y, each with a third corner.
KivSurface fan(const std::vector<KivVec>& thirds) {
    KivSurface surface;
    surface.points = {{0.0, 0.0, 0.0}, {0.0, 1.0, 0.0}};
    for (const KivVec& third : thirds) {
        const auto number = static_cast<std::uint32_t>(surface.points.size());
        surface.points.push_back(third);
        surface.triangles.push_back({0, 1, number});
    }
    return surface;
}

bool isFold(const std::vector<KivVec>& thirds) {
    const KivSurface surface = fan(thirds);
    const std::vector<KivFeatureWing> wings = kivFeatureWings(surface);
    JunctionFolds folds;
    EXPECT_TRUE(folds.find(surface, wings));
    for (const KivFeatureWing& wing : wings) {
        if (wing.a == 0 && wing.b == 1) {
            EXPECT_TRUE(wing.junction);
            return folds.isFold(wing, fromAbove);
        }
    }
    ADD_FAILURE() << "no such edge";
    return false;
}

} // namespace

TEST(JunctionFolds, AreWhereAllTrianglesLieOnOneSide) {
    EXPECT_TRUE(isFold({{1.0, 0.0, 0.0}, {1.0, 0.0, -1.0}, {0.1, 0.0, -1.0}}));
    EXPECT_TRUE(isFold({{-1.0, 0.0, 0.0}, {-1.0, 0.0, -1.0}, {-0.1, 0.0, -1.0}}));
    // Whichever of them it is that goes on at the other side.
    EXPECT_FALSE(isFold({{-1.0, 0.0, 0.0}, {1.0, 0.0, -1.0}, {0.1, 0.0, -1.0}}));
    EXPECT_FALSE(isFold({{1.0, 0.0, 0.0}, {-1.0, 0.0, -1.0}, {0.1, 0.0, -1.0}}));
    EXPECT_FALSE(isFold({{1.0, 0.0, 0.0}, {1.0, 0.0, -1.0}, {-0.1, 0.0, -1.0}}));
}

TEST(JunctionFolds, TrianglesSeenEdgeOnHaveNoSay) {
    EXPECT_TRUE(isFold({{0.0, 0.0, -1.0}, {1.0, 0.0, 0.0}, {1.0, 0.0, -1.0}}));
    EXPECT_FALSE(isFold({{0.0, 0.0, -1.0}, {0.0, 0.0, 1.0}, {0.0, 0.0, -2.0}}));
    EXPECT_FALSE(isFold({{0.0, 0.0, -1.0}, {1.0, 0.0, 0.0}, {-1.0, 0.0, 0.0}}));
}

TEST(JunctionFolds, TrianglesWithoutAnAreaAreNotThere) {
    EXPECT_TRUE(isFold({{1.0, 0.0, 0.0}, {1.0, 0.0, -1.0}, {1.0, 0.5, -2.0}, {0.0, 0.5, 0.0}}));
}
