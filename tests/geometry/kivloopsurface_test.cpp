#include "kivrender/geometry/kivloopsurface.h"

#include "kivrender/geometry/kivshapecreases.h"
#include "shapemodels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <utility>

namespace {

KivLoopSurface surfaceOf(const ShapeModel& model, double creaseAngle = 180.0) {
    KivLoopSurface surface;
    surface.points = model.points;
    surface.triangles = model.triangles;
    surface.adjacency = kivShapeEdges(surface.points.size(), surface.triangles);
    surface.sharp = kivShapeCreases(surface.points, surface.triangles, surface.adjacency, creaseAngle);
    surface.pinned.assign(surface.points.size(), 0);
    return surface;
}

double distance(const KivVec& a, const KivVec& b) {
    return kivLength(a - b);
}

} // namespace

// Stepping and finding the limit is the same as finding the limit at once: the points of the mesh are on one surface.
// Normals along sharp edges whose points have unusual numbers of neighbours are near to right, and nearer in each step.
TEST(KivLoopSurface, StepsLeadToTheSameSurface) {
    const std::pair<ShapeModel, double> models[] = {{cubeModel(), 45.0}, {cubeModel(), 180.0}, {prismModel(10), 45.0}};
    for (const auto& [model, angle] : models) {
        const KivLoopSurface coarse = surfaceOf(model, angle);
        const KivLoopSurface finer = kivLoopStep(kivLoopStep(coarse));
        const KivLoopLimit first = kivLoopLimit(coarse);
        const KivLoopLimit second = kivLoopLimit(finer);
        // The points of the coarse mesh come first in the finer one.
        for (std::size_t v = 0; v < first.points.size(); ++v) {
            bool found = false;
            for (std::size_t w = 0; w < second.points.size() && !found; ++w) {
                found = second.origins[w] == first.origins[v] && distance(second.points[w], first.points[v]) < 1e-12 &&
                        distance(second.normals[w], first.normals[v]) < (angle < 180.0 ? 0.1 : 1e-9);
            }
            EXPECT_TRUE(found) << angle << " " << v;
        }
    }
}

TEST(KivLoopSurface, AStepKeepsItsAdjacency) {
    const KivLoopSurface finer = kivLoopStep(surfaceOf(prismModel(12), 45.0));
    const KivShapeEdges anew = kivShapeEdges(finer.points.size(), finer.triangles);
    ASSERT_EQ(finer.adjacency.edges.size(), anew.edges.size());
    for (std::uint32_t t = 0; t < finer.triangles.size(); ++t) {
        for (std::size_t k = 0; k < 3; ++k) {
            const KivShapeEdge& kept = finer.adjacency.edges[finer.adjacency.sides[t][k]];
            const KivShapeEdge& found = anew.edges[anew.sides[t][k]];
            EXPECT_EQ(std::minmax(kept.a, kept.b), std::minmax(found.a, found.b));
            EXPECT_EQ(std::minmax(kept.first, kept.second), std::minmax(found.first, found.second));
        }
    }
}

TEST(KivLoopSurface, ABallStaysRound) {
    const KivLoopLimit limit = kivLoopLimit(kivLoopStep(surfaceOf(ballModel(48))));
    for (std::size_t v = 0; v < limit.points.size(); ++v) {
        EXPECT_NEAR(kivLength(limit.points[v]), 1.0, 0.008);
        EXPECT_GT(kivDot(kivUnit(limit.points[v]), limit.normals[v]), 0.9995) << v;
    }
}

TEST(KivLoopSurface, ACubeWithSharpEdgesStaysACube) {
    const KivLoopLimit limit = kivLoopLimit(kivLoopStep(surfaceOf(cubeModel(), 45.0)));
    for (std::size_t v = 0; v < limit.points.size(); ++v) {
        const KivVec& p = limit.points[v];
        const KivVec& n = limit.normals[v];
        EXPECT_NEAR(kivDot(p, n), 1.0, 1e-12); // on the face that its normal belongs to
        EXPECT_NEAR(std::max({std::abs(n.x), std::abs(n.y), std::abs(n.z)}), 1.0, 1e-12);
    }
}

TEST(KivLoopSurface, FlatPartsStayFlatToTheirBorders) {
    KivLoopSurface sheet = surfaceOf(sheetModel(3));
    for (const std::uint32_t corner : {0U, 3U, 12U, 15U}) {
        sheet.pinned[corner] = 1;
    }
    const KivLoopLimit limit = kivLoopLimit(kivLoopStep(sheet));
    double least = 1.0;
    double most = -1.0;
    for (std::size_t v = 0; v < limit.points.size(); ++v) {
        EXPECT_EQ(limit.points[v].z, 0.0);
        EXPECT_NEAR(limit.normals[v].z, 1.0, 1e-12);
        least = std::min(least, limit.points[v].x);
        most = std::max(most, limit.points[v].x);
    }
    EXPECT_DOUBLE_EQ(least, -1.0);
    EXPECT_DOUBLE_EQ(most, 1.0);
}

// The round side of a prism ends in circles, up to which its normals stay level.
TEST(KivLoopSurface, SharpRimsAreCurvesWithANormalOnEachSide) {
    const KivLoopLimit limit = kivLoopLimit(kivLoopStep(surfaceOf(prismModel(24), 45.0)));
    std::size_t level = 0;
    for (std::size_t v = 0; v < limit.points.size(); ++v) {
        if (std::abs(std::abs(limit.points[v].y) - 1.0) < 1e-9) {
            const double rise = std::abs(limit.normals[v].y);
            EXPECT_TRUE(rise < 0.01 || rise > 0.99) << rise;
            if (rise < 0.01) {
                ++level;
                EXPECT_NEAR(std::hypot(limit.points[v].x, limit.points[v].z), 0.99, 0.012);
            }
        }
    }
    EXPECT_EQ(level, 96U);
}
