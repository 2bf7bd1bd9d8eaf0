#include "kivrender/geometry/kivshapecreases.h"

#include "shapemodels.h"

#include <gtest/gtest.h>

namespace {

std::size_t numCreases(const ShapeModel& model, double angle = 45.0) {
    const KivShapeEdges edges = kivShapeEdges(model.points.size(), model.triangles);
    std::size_t count = 0;
    for (const std::uint8_t sharp : kivShapeCreases(model.points, model.triangles, edges, angle)) {
        count += sharp;
    }
    return count;
}

// A body that stands roughly for a round one: bends of all sizes, some beyond every crease angle.
ShapeModel lumpModel() {
    ShapeModel model = ballModel(8);
    for (std::size_t i = 0; i < model.points.size(); ++i) {
        const double swell = 1.0 + 0.35 * static_cast<double>(i * 7 % 5) / 4.0;
        model.points[i] = model.points[i] * swell;
    }
    return model;
}

} // namespace

TEST(KivShapeCreases, ACubeKeepsItsEdges) {
    EXPECT_EQ(numCreases(cubeModel()), 12U);
}

TEST(KivShapeCreases, AnglesAboveTheBendsLeaveNone) {
    EXPECT_EQ(numCreases(cubeModel(), 91.0), 0U);
    EXPECT_EQ(numCreases(cubeModel(), 180.0), 0U);
}

TEST(KivShapeCreases, APrismKeepsItsRimsAndLosesTheEdgesOfItsRoundSide) {
    EXPECT_EQ(numCreases(prismModel(24)), 48U);
    EXPECT_EQ(numCreases(prismModel(10)), 20U); // whose sides bend by more than those of round bodies do
}

TEST(KivShapeCreases, ABallHasNone) {
    EXPECT_EQ(numCreases(ballModel(48)), 0U);
}

TEST(KivShapeCreases, ARoughModelOfARoundBodyHasNone) {
    const ShapeModel lump = lumpModel();
    const KivShapeEdges edges = kivShapeEdges(lump.points.size(), lump.triangles);
    double most = 0.0;
    for (const KivShapeEdge& edge : edges.edges) {
        const auto normal = [&](std::uint32_t t) {
            const KivSurface::Triangle& c = lump.triangles[t];
            return kivUnit(kivCross(lump.points[c[1]] - lump.points[c[0]], lump.points[c[2]] - lump.points[c[0]]));
        };
        most = std::max(most, std::acos(kivDot(normal(edge.first), normal(edge.second))));
    }
    ASSERT_GT(most * 180.0 / std::numbers::pi, 50.0); // else the test tells nothing
    EXPECT_EQ(numCreases(lump), 0U);
    // But all of its edges, for who wants to see them.
    EXPECT_EQ(numCreases(lump, 0.0), edges.edges.size());
}

TEST(KivShapeCreases, BordersAreSharp) {
    EXPECT_EQ(numCreases(sheetModel(4)), 16U);
}

TEST(KivShapeCreases, ASmallSpikeOnALargeSheetIsRoughness) {
    ShapeModel sheet = sheetModel(100);
    const std::size_t rim = 400;
    sheet.points[50 * 101 + 50].z = 0.1;
    EXPECT_EQ(numCreases(sheet), rim);
    ShapeModel coarse = sheetModel(10);
    coarse.points[5 * 11 + 5].z = 1.0;
    EXPECT_GT(numCreases(coarse), 40U);
}
