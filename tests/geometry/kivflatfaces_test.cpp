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

namespace {

// A plate of half the side 5 whose upper rim is cut by a chamfer of 45 degrees: ten flat polygons.
ShapeModel chamferedPlate() {
    ShapeModel model;
    for (const double x : {-1.0, 1.0}) {
        for (const double y : {-1.0, 1.0}) {
            model.points.push_back({5.0 * x, 5.0 * y, 0.0});
            model.points.push_back({5.0 * x, 5.0 * y, 2.0});
            model.points.push_back({4.0 * x, 4.0 * y, 3.0});
        }
    }
    const std::uint32_t corners[] = {0, 6, 9, 3}; // counterclockwise from above
    model.addQuad(3, 9, 6, 0);
    model.addQuad(2, 8, 11, 5);
    for (int i = 0; i < 4; ++i) {
        const std::uint32_t a = corners[i];
        const std::uint32_t b = corners[(i + 1) % 4];
        model.addQuad(a, b, b + 1, a + 1);
        model.addQuad(a + 1, b + 1, b + 2, a + 2);
    }
    return model;
}

} // namespace

TEST(KivIsPolyhedron, FlatPolygonsBetweenSharpEdgesAreOne) {
    EXPECT_TRUE(kivIsPolyhedron(surfaceOf(chamferedPlate())));
    EXPECT_TRUE(kivIsPolyhedron(surfaceOf(prismModel(8))));   // 45 degrees from side to side
    EXPECT_FALSE(kivIsPolyhedron(surfaceOf(prismModel(12)))); // 30 degrees: it may be a rod
}

TEST(KivIsPolyhedron, ABentFaceOrTrianglesThatLieInNoPlaneAreNone) {
    ShapeModel bent = chamferedPlate();
    bent.points[2].z = 3.5; // a corner of the top, and of two chamfers
    EXPECT_FALSE(kivIsPolyhedron(surfaceOf(bent)));
    EXPECT_FALSE(kivIsPolyhedron(surfaceOf(ballModel(6))));
}

TEST(KivIsFlatOrPolyhedron, IsWhatOneOrTheOtherIs) {
    bool seen[2] = {false, false};
    for (const ShapeModel& model : {chamferedPlate(), prismModel(8), prismModel(12), ballModel(6), ballModel(12)}) {
        const KivLoopSurface surface = surfaceOf(model);
        const bool expected = kivHasFlatFaces(surface) || kivIsPolyhedron(surface);
        EXPECT_EQ(kivIsFlatOrPolyhedron(surface), expected) << model.points.size();
        seen[expected ? 1 : 0] = true;
    }
    EXPECT_TRUE(seen[0] && seen[1]);
    const KivLoopSurface plate = surfaceOf(chamferedPlate());
    EXPECT_TRUE(kivIsPolyhedron(plate) && !kivHasFlatFaces(plate)) << "the second kind alone";
}

TEST(KivCreaseAngleOf, IsSmallerForFlatFacesAmongTheUsualAnglesAlone) {
    const auto angle = [](const ShapeModel& model, double asked) {
        KivSurface surface;
        surface.points = model.points;
        surface.triangles = model.triangles;
        return kivCreaseAngleOf(surface, asked);
    };
    for (const ShapeModel& flat : {chamferedPlate(), sheetModel(6), roundedBox(26, 4.0)}) {
        EXPECT_EQ(angle(flat, 45.0), kivFlatFacesCrease);
        EXPECT_EQ(angle(flat, kivMostUsualCrease), kivFlatFacesCrease);
        EXPECT_EQ(angle(flat, 30.0), 30.0);
        EXPECT_EQ(angle(flat, 61.0), 61.0);
    }
    EXPECT_EQ(angle(ballModel(12), 45.0), 45.0);
}
