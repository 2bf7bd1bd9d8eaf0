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

namespace {

// A square of n by n points in which each normal leans by chance.
struct Sheet {
    std::vector<KivVec> points;
    std::vector<KivVec> normals;
    std::vector<KivSurface::Triangle> triangles;
};

Sheet noisySheet(std::uint32_t n) {
    Sheet sheet;
    std::mt19937 words(9);
    const auto lean = [&words] { return static_cast<double>(words() % 1001) / 1000.0 - 0.5; };
    for (std::uint32_t y = 0; y < n; ++y) {
        for (std::uint32_t x = 0; x < n; ++x) {
            sheet.points.push_back({x * 1.0, y * 1.0, 0.0});
            sheet.normals.push_back(kivUnit({lean(), lean(), 1.0}));
        }
    }
    for (std::uint32_t y = 0; y + 1 < n; ++y) {
        for (std::uint32_t x = 0; x + 1 < n; ++x) {
            const std::uint32_t a = y * n + x;
            sheet.triangles.push_back({a, a + 1, a + n + 1});
            sheet.triangles.push_back({a, a + n + 1, a + n});
        }
    }
    return sheet;
}

// Where all positions differ: each pass adds those of all triangles at a point to its own.
std::vector<KivVec> literalEvenNormals(const Sheet& sheet, int passes) {
    std::vector<KivVec> even = sheet.normals;
    for (int pass = 0; pass < passes; ++pass) {
        const std::vector<KivVec> before = even;
        for (std::uint32_t p = 0; p < even.size(); ++p) {
            KivVec sum = before[p];
            for (const KivSurface::Triangle& t : sheet.triangles) {
                if (std::find(t.begin(), t.end(), p) != t.end()) {
                    sum = sum + before[t[0]] + before[t[1]] + before[t[2]];
                }
            }
            even[p] = kivUnit(sum);
        }
    }
    return even;
}

} // namespace

TEST(KivEvenNormals, AreTheLiteralMeansOfNeighbours) {
    const Sheet sheet = noisySheet(12);
    for (const int passes : {0, 1, 2, 9}) {
        const std::vector<KivVec> expected = literalEvenNormals(sheet, passes);
        std::vector<KivVec> normals = sheet.normals;
        kivEvenNormals(sheet.points, sheet.triangles, normals, passes);
        for (std::size_t i = 0; i < normals.size(); ++i) {
            ASSERT_LT(kivLength(normals[i] - expected[i]), passes == 0 ? 1e-15 : 2e-6) << passes;
            ASSERT_NEAR(kivLength(normals[i]), 1.0, 1e-12);
        }
    }
}

TEST(KivEvenNormals, GoOnAcrossASeamAndEndAtACrease) {
    // Two squares that share a side in space, each with points of its own.
    const std::vector<KivVec> points = {{-1, 0, 0}, {0, 0, 0}, {0, 1, 0}, {-1, 1, 0},
                                        {0, 0, 0},  {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
    const std::vector<KivSurface::Triangle> triangles = {{0, 1, 2}, {0, 2, 3}, {4, 5, 6}, {4, 6, 7}};
    const KivVec up = {0.0, 0.0, 1.0};
    const KivVec tilted = kivUnit({1.0, 0.0, 1.0});
    std::vector<KivVec> creased = {up, up, up, up, tilted, tilted, tilted, tilted};
    kivEvenNormals(points, triangles, creased, 3);
    EXPECT_NEAR(kivDot(creased[1], up), 1.0, 1e-12);
    EXPECT_NEAR(kivDot(creased[4], tilted), 1.0, 1e-12);
    std::vector<KivVec> seamed = {up, up, up, up, up, tilted, tilted, up};
    kivEvenNormals(points, triangles, seamed, 1);
    EXPECT_LT(kivDot(seamed[1], up), 0.999); // of the points across the seam, which it has no triangle with
    EXPECT_EQ(kivLength(seamed[1] - seamed[4]), 0.0);
}

TEST(KivEvenNormals, NormalsThatCancelEachOtherOutStay) {
    const std::vector<KivVec> points = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    const KivVec up = {0.0, 0.0, 1.0};
    std::vector<KivVec> normals = {up, -up, -up};
    kivEvenNormals(points, {{0, 1, 2}}, normals, 1);
    EXPECT_EQ(kivLength(normals[0] - up), 0.0);
    EXPECT_EQ(kivLength(normals[1] + up), 0.0);
}
