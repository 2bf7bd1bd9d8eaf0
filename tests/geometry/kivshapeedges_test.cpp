#include "kivrender/geometry/kivshapeedges.h"

#include "shapemodels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

TEST(KivShapeEdges, EveryEdgeIsThereOnceWithItsTriangles) {
    const ShapeModel cube = cubeModel();
    const KivShapeEdges edges = kivShapeEdges(cube.points.size(), cube.triangles);
    ASSERT_EQ(edges.edges.size(), 18U);
    ASSERT_EQ(edges.sides.size(), 12U);
    for (std::uint32_t t = 0; t < 12; ++t) {
        for (std::size_t k = 0; k < 3; ++k) {
            const KivShapeEdge& edge = edges.edges[edges.sides[t][k]];
            EXPECT_EQ(std::minmax(cube.triangles[t][k], cube.triangles[t][(k + 1) % 3]), std::minmax(edge.a, edge.b));
            EXPECT_TRUE(edge.first == t || edge.second == t);
            EXPECT_NE(edge.second, KivShapeEdge::none);
            EXPECT_FALSE(edge.junction);
        }
    }
}

TEST(KivShapeEdges, TellsBordersAndJunctions) {
    const std::vector<KivSurface::Triangle> fan = {{0, 1, 2}, {0, 1, 3}, {0, 1, 4}};
    const KivShapeEdges edges = kivShapeEdges(5, fan);
    int junctions = 0;
    int borders = 0;
    for (const KivShapeEdge& edge : edges.edges) {
        junctions += edge.junction ? 1 : 0;
        borders += edge.second == KivShapeEdge::none ? 1 : 0;
    }
    EXPECT_EQ(junctions, 1);
    EXPECT_EQ(borders, 6);
}

TEST(KivShapeEdges, TurnsTrianglesOutwardsAndSidesAlong) {
    ShapeModel cube = cubeModel();
    const std::vector<KivSurface::Triangle> right = cube.triangles;
    for (const std::size_t t : {1U, 4U, 7U, 8U, 9U, 10U, 11U}) {
        std::swap(cube.triangles[t][1], cube.triangles[t][2]);
    }
    KivShapeEdges edges = kivShapeEdges(cube.points.size(), cube.triangles);
    EXPECT_TRUE(kivOrientShape(cube.points, cube.triangles, edges));
    for (std::size_t t = 0; t < right.size(); ++t) {
        KivSurface::Triangle turned = cube.triangles[t];
        std::rotate(turned.begin(), std::find(turned.begin(), turned.end(), right[t][0]), turned.end());
        EXPECT_EQ(turned, right[t]) << t;
        for (std::size_t k = 0; k < 3; ++k) {
            const KivShapeEdge& edge = edges.edges[edges.sides[t][k]];
            EXPECT_EQ(std::minmax(cube.triangles[t][k], cube.triangles[t][(k + 1) % 3]), std::minmax(edge.a, edge.b));
        }
    }
}

TEST(KivShapeEdges, ABandWithAHalfTwistHasNoTwoSides) {
    std::vector<KivVec> points;
    std::vector<KivSurface::Triangle> triangles;
    const std::uint32_t n = 12;
    for (std::uint32_t i = 0; i < n; ++i) {
        const double u = 2.0 * std::numbers::pi * i / n;
        for (const double side : {-0.3, 0.3}) {
            const double r = 1.0 + side * std::cos(u / 2.0);
            points.push_back({r * std::cos(u), r * std::sin(u), side * std::sin(u / 2.0)});
        }
    }
    for (std::uint32_t i = 0; i < n; ++i) {
        const std::uint32_t a = 2 * i;
        const std::uint32_t b = 2 * i + 1;
        const std::uint32_t c = i + 1 < n ? 2 * i + 2 : 1;
        const std::uint32_t d = i + 1 < n ? 2 * i + 3 : 0;
        triangles.push_back({a, c, d});
        triangles.push_back({a, d, b});
    }
    KivShapeEdges edges = kivShapeEdges(points.size(), triangles);
    EXPECT_FALSE(kivOrientShape(points, triangles, edges));
}
