#include "kivsmoothnormals.h"

#include "../shapes.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

void turnSome(KivSurface& surface, std::mt19937& words) {
    for (KivSurface::Triangle& t : surface.triangles) {
        if (words() % 2 != 0) {
            std::swap(t[1], t[2]);
        }
    }
}

} // namespace

TEST(KivSmoothNormals, SplitsACubeAtItsEdges) {
    std::mt19937 words(1);
    KivSurface cube = cubeSurface();
    turnSome(cube, words);
    const KivSmoothMesh mesh = kivSmoothNormals(cube, 45.0);
    EXPECT_EQ(mesh.points.size(), 24U);
    for (const KivSurface::Triangle& t : mesh.triangles) {
        const KivVec face =
            kivUnit(kivCross(mesh.points[t[1]] - mesh.points[t[0]], mesh.points[t[2]] - mesh.points[t[0]]));
        EXPECT_GT(kivDot(face, mesh.points[t[0]]), 0.0) << "not wound outwards";
        for (const std::uint32_t p : t) {
            EXPECT_NEAR(kivDot(mesh.normals[p], face), 1.0, 1e-12);
        }
    }
}

TEST(KivSmoothNormals, SharesVerticesWhereNothingIsSharp) {
    const KivSmoothMesh mesh = kivSmoothNormals(cubeSurface(), 120.0);
    EXPECT_EQ(mesh.points.size(), 8U);
    for (std::size_t i = 0; i < mesh.points.size(); ++i) {
        EXPECT_NEAR(kivDot(mesh.normals[i], kivUnit(mesh.points[i])), 1.0, 1e-9);
    }
}

TEST(KivSmoothNormals, PointAwayFromTheMiddleOfASphereHoweverItIsWound) {
    std::mt19937 words(2);
    for (int run = 0; run < 5; ++run) {
        KivSurface sphere = sphereSurface(20, 32);
        turnSome(sphere, words);
        const KivSmoothMesh mesh = kivSmoothNormals(sphere, 45.0);
        EXPECT_EQ(mesh.points.size(), sphere.points.size());
        for (std::size_t i = 0; i < mesh.points.size(); ++i) {
            EXPECT_GT(kivDot(mesh.normals[i], mesh.points[i]), 0.99);
        }
    }
}

TEST(KivSmoothNormals, AgreeAcrossAnOpenStripOfRandomWinding) {
    std::mt19937 words(4);
    KivSurface strip;
    for (int i = 0; i <= 20; ++i) {
        strip.points.push_back({i * 1.0, 0.0, 0.0});
        strip.points.push_back({i * 1.0, 1.0, 0.0});
    }
    for (std::uint32_t i = 0; i < 20; ++i) {
        strip.triangles.push_back({2 * i, 2 * i + 2, 2 * i + 1});
        strip.triangles.push_back({2 * i + 1, 2 * i + 2, 2 * i + 3});
    }
    turnSome(strip, words);
    const KivSmoothMesh mesh = kivSmoothNormals(strip, 45.0);
    for (const KivVec& normal : mesh.normals) {
        EXPECT_NEAR(normal.z * mesh.normals[0].z, 1.0, 1e-12);
    }
}

TEST(KivSmoothNormals, SurviveWhatIsNoSurface) {
    KivSurface odd;
    for (int i = 0; i < 6; ++i) {
        odd.points.push_back({i * 1.0, i % 2 * 1.0, i % 3 * 1.0});
    }
    odd.points.push_back(odd.points[0] + (odd.points[1] - odd.points[0]) * 0.5); // a sliver without area
    odd.triangles = {{0, 1, 2}, {1, 0, 3}, {0, 1, 4}, {0, 1, 5}, {0, 1, 6}};
    const KivSmoothMesh mesh = kivSmoothNormals(odd, 45.0);
    EXPECT_EQ(mesh.triangles.size(), odd.triangles.size());
    for (const KivVec& normal : mesh.normals) {
        EXPECT_TRUE(std::isfinite(normal.x + normal.y + normal.z));
    }
}
