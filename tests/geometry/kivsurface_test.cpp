#include "kivrender/geometry/kivsurface.h"

#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshedges.h"
#include "support/surfaceshapes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <random>
#include <set>

namespace {

KivMesh unweldedCube() {
    KivMesh mesh;
    const KivSurface cube = cubeSurface();
    for (const KivSurface::Triangle& t : cube.triangles) {
        const unsigned int first = mesh.getNumVertexs();
        for (const std::uint32_t p : t) {
            mesh.addVertex(Kiv3DPoint(cube.points[p].x, cube.points[p].y, cube.points[p].z));
        }
        mesh.addTriangle(first, first + 1, first + 2);
    }
    return mesh;
}

} // namespace

TEST(KivWeldPoints, MatchesAComparisonOfAllPairs) {
    std::mt19937 words(3);
    for (int run = 0; run < 200; ++run) {
        std::vector<KivVec> points(words() % 40);
        for (KivVec& p : points) {
            p = {static_cast<double>(words() % 3), static_cast<double>(words() % 3) * -0.0,
                 words() % 2 != 0 ? 0.0 : -0.0};
        }
        std::uint32_t count = 0;
        const std::vector<std::uint32_t> result = kivWeldPoints(points, &count);
        std::uint32_t expected = 0;
        std::vector<std::uint32_t> places(points.size());
        for (std::size_t i = 0; i < points.size(); ++i) {
            std::size_t j = 0;
            while (points[j].x != points[i].x || points[j].y != points[i].y || points[j].z != points[i].z) {
                ++j;
            }
            places[i] = j == i ? expected++ : places[j];
        }
        EXPECT_EQ(result, places);
        EXPECT_EQ(count, expected);
    }
}

TEST(KivWeldPoints, KeepsWhatIsNoNumberApart) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    std::vector<KivVec> points(200000, KivVec{nan, 0.0, 0.0});
    std::uint32_t count = 0;
    kivWeldPoints(points, &count);
    EXPECT_EQ(count, points.size());
}

TEST(KivReadSurface, WeldsAnUnweldedCube) {
    const KivSurface surface = kivReadSurface(unweldedCube());
    EXPECT_EQ(surface.points.size(), 8U);
    EXPECT_EQ(surface.triangles.size(), 12U);
    EXPECT_TRUE(surface.normals.empty());
}

// Of few points most triangles have the same sum of corners, of many hardly any.
TEST(KivReadSurface, OfTrianglesWithTheSameCornersTheFirstStays) {
    std::mt19937 random(5);
    for (const unsigned int points : {5U, 60U, 200U, 5000U}) {
        KivMesh mesh;
        for (unsigned int i = 0; i < points; ++i) {
            mesh.addVertex(Kiv3DPoint(i, i * i % 7, 0.0));
        }
        std::set<std::set<unsigned int>> known;
        std::vector<std::uint32_t> expected;
        for (unsigned int t = 0; t < 20000; ++t) {
            const unsigned int corner[3] = {random() % points, random() % points, random() % points};
            mesh.addTriangle(corner[0], corner[1], corner[2]);
            const std::set<unsigned int> key(corner, corner + 3);
            if (key.size() == 3 && known.insert(key).second) {
                expected.push_back(t);
            }
        }
        EXPECT_EQ(kivReadSurface(mesh).sources, expected) << points;
    }
}

TEST(KivReadSurface, LeavesOutWhatCannotBeDrawn) {
    KivMesh mesh;
    mesh.addVertex(Kiv3DPoint(0, 0, 0));
    mesh.addVertex(Kiv3DPoint(1, 0, 0));
    mesh.addVertex(Kiv3DPoint(0, 1, 0));
    mesh.addVertex(Kiv3DPoint(std::numeric_limits<double>::infinity(), 1, 0));
    mesh.addTriangle(0, 1, 2);
    mesh.addTriangle(2, 1, 0); // the same face from behind
    mesh.addTriangle(1, 2, 0); // again
    mesh.addTriangle(0, 1, 1);
    mesh.addTriangle(0, 1, 3);
    mesh.addTriangle(0, 1, 4); // out of range
    const KivSurface surface = kivReadSurface(mesh);
    ASSERT_EQ(surface.triangles.size(), 1U);
    EXPECT_EQ(surface.sources[0], 0U);
}

TEST(KivReadSurface, KeepsTheNormalsOfEachCorner) {
    KivMesh mesh;
    const Kiv3DVector up(0, 0, 2);
    const Kiv3DVector aside(3, 0, 0);
    mesh.addVertex(Kiv3DPoint(0, 0, 0), up);
    mesh.addVertex(Kiv3DPoint(1, 0, 0), up);
    mesh.addVertex(Kiv3DPoint(0, 1, 0), up);
    mesh.addVertex(Kiv3DPoint(0, 0, 0), aside);
    mesh.addVertex(Kiv3DPoint(0, 1, 1), aside);
    mesh.addTriangle(0, 1, 2);
    mesh.addTriangle(3, 2, 4);
    const KivSurface surface = kivReadSurface(mesh);
    ASSERT_EQ(surface.triangles.size(), 2U);
    EXPECT_EQ(surface.triangles[0][0], surface.triangles[1][0]);
    EXPECT_EQ(surface.normals[surface.cornerNormals[0][0]].z, 1.0);
    EXPECT_EQ(surface.normals[surface.cornerNormals[1][0]].x, 1.0);
}

TEST(KivReadSurface, NamedEdgesFollowTheWeld) {
    KivMesh mesh = unweldedCube();
    EXPECT_FALSE(kivReadSurface(mesh).namesEdges);
    auto named = std::make_shared<KivMeshEdges>();
    // The mesh's first two triangles are 0 2 3 and 0 3 1 of the cube: points 0 1 2 and 0 2 3 of the surface.
    named->vertices = {0, 1, 2, 3, 5, 2, 4, 9999, 0, 3};
    named->edges.push_back({KivMeshEdge::Kind::sharp, false, 0, 0, 3});
    named->edges.push_back({KivMeshEdge::Kind::tangent, false, 0, 3, 3});
    named->edges.push_back({KivMeshEdge::Kind::seam, false, 0, 0, 2});
    named->edges.push_back({KivMeshEdge::Kind::sharp, false, 0, 6, 2});
    named->edges.push_back({KivMeshEdge::Kind::sharp, false, 0, 8, 2});
    kivSetMeshEdges(mesh, named);
    const KivSurface surface = kivReadSurface(mesh);
    EXPECT_TRUE(surface.namesEdges);
    ASSERT_EQ(surface.namedEdges.size(), 4U) << "no seam, no vertex that is not there, no edge without a length";
    const auto at = [&surface](std::uint32_t a, std::uint32_t b) { return kivNamedEdge(surface, a, b); };
    ASSERT_NE(at(0, 1), nullptr);
    EXPECT_FALSE(at(0, 1)->tangent);
    ASSERT_NE(at(1, 2), nullptr);
    EXPECT_FALSE(at(1, 2)->tangent);
    ASSERT_NE(at(0, 3), nullptr);
    EXPECT_TRUE(at(0, 3)->tangent);
    ASSERT_NE(at(2, 3), nullptr);
    EXPECT_TRUE(at(2, 3)->tangent);
    EXPECT_EQ(at(0, 2), nullptr);
    EXPECT_EQ(at(3, 2), nullptr);
}

TEST(KivReadSurface, WhatIsTangentAndSharpIsSharp) {
    KivMesh mesh = unweldedCube();
    auto named = std::make_shared<KivMeshEdges>();
    named->vertices = {0, 1};
    named->edges.push_back({KivMeshEdge::Kind::tangent, false, 0, 0, 2});
    named->edges.push_back({KivMeshEdge::Kind::sharp, false, 0, 0, 2});
    kivSetMeshEdges(mesh, named);
    EXPECT_FALSE(kivNamedEdge(kivReadSurface(mesh), 0, 1)->tangent);
}
