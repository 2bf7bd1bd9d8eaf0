#include "kivrender/geometry/kivflatfaces.h"

#include "shapemodels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

KivLoopSurface surfaceOf(const ShapeModel& model) {
    KivLoopSurface surface;
    surface.points = model.points;
    surface.triangles = model.triangles;
    surface.adjacency = kivShapeEdges(surface.points.size(), surface.triangles);
    return surface;
}

// A ball pulled apart along all axes: a box with edges that are rounded by a number of rows.
ShapeModel roundedBox(int sides, double half) {
    ShapeModel model = ballModel(sides);
    for (KivVec& p : model.points) {
        p = {p.x + std::copysign(half, p.x), p.y + std::copysign(half, p.y), p.z + std::copysign(half, p.z)};
    }
    return model;
}

} // namespace

TEST(KivFlatFaces, RoundBodiesHaveNone) {
    EXPECT_FALSE(kivHasFlatFaces(surfaceOf(ballModel(24))));
    EXPECT_FALSE(kivHasFlatFaces(surfaceOf(prismModel(12)))); // a rough model of a rod: all its faces are alike
}

TEST(KivFlatFaces, ManyTrianglesInPlanesAreAMachinePart) {
    EXPECT_TRUE(kivHasFlatFaces(surfaceOf(sheetModel(6))));
    EXPECT_FALSE(kivHasFlatFaces(surfaceOf(prismModel(24)))); // 44 triangles of its ends are too few
    EXPECT_TRUE(kivHasFlatFaces(surfaceOf(prismModel(40))));
}

TEST(KivFlatFaces, ABoxWithRoundedEdgesHasLargeFlatOnes) {
    EXPECT_TRUE(kivHasFlatFaces(surfaceOf(roundedBox(26, 4.0))));
    EXPECT_FALSE(kivHasFlatFaces(surfaceOf(roundedBox(26, 0.05)))); // a ball with seams
}
