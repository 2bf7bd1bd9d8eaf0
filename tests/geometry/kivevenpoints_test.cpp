#include "kivrender/geometry/kivevenpoints.h"

#include "loopsurfaces.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>

namespace {

KivShapeView viewAt(double pixelsPerUnit) {
    KivShapeView view;
    view.pixelsPerUnit = pixelsPerUnit;
    return view;
}

// A ball of 48 sides whose points are off by up to so much of its radius.
ShapeModel roughBall(double part) {
    ShapeModel model = ballModel(48);
    std::mt19937 words(7);
    for (KivVec& p : model.points) {
        p = p * (1.0 + part * (static_cast<double>(words() % 2001) / 1000.0 - 1.0));
    }
    return model;
}

double roughness(const std::vector<KivVec>& points) {
    double sum = 0.0;
    for (const KivVec& p : points) {
        sum += (kivLength(p) - 1.0) * (kivLength(p) - 1.0);
    }
    return std::sqrt(sum / static_cast<double>(points.size()));
}

} // namespace

// Sides of 6 pixels, noise of 0.6.
TEST(KivEvenPoints, NoiseGoesAndTheShapeStays) {
    KivLoopSurface surface = surfaceOf(roughBall(0.01));
    const double before = roughness(surface.points);
    ASSERT_GT(kivEvenPoints(surface, viewAt(60.0), 0.05, 1.0).points, 0.0);
    EXPECT_LT(roughness(surface.points), 0.35 * before);
}

TEST(KivEvenPoints, NothingMovesFurtherThanItMay) {
    const ShapeModel rough = roughBall(0.02);
    KivLoopSurface surface = surfaceOf(rough);
    ASSERT_GT(kivEvenPoints(surface, viewAt(60.0), 0.05, 0.5).points, 0.0);
    double most = 0.0;
    for (std::size_t p = 0; p < rough.points.size(); ++p) {
        most = std::max(most, 60.0 * kivLength(surface.points[p] - rough.points[p]));
    }
    EXPECT_LT(most, 0.5 + 1e-9);
    EXPECT_GT(most, 0.2);
    KivLoopSurface higher = surfaceOf(roughBall(0.1)); // shape, not noise
    EXPECT_EQ(kivEvenPoints(higher, viewAt(60.0), 0.05, 0.5).points, 0.0);
}

TEST(KivEvenPoints, WhatBendsEvenlyIsLargeOrSharpStays) {
    KivLoopSurface clean = surfaceOf(ballModel(48));
    EXPECT_EQ(kivEvenPoints(clean, viewAt(60.0), 0.001, 0.5).points, 0.0);
    KivLoopSurface large = surfaceOf(roughBall(0.01));
    EXPECT_EQ(kivEvenPoints(large, viewAt(600.0), 0.05, 0.5).points, 0.0);
    KivLoopSurface largeSides = surfaceOf(roughBall(0.01)); // sides of 21 pixels, noise of 1.6
    const KivEvened evened = kivEvenPoints(largeSides, viewAt(160.0), 0.01, 2.0);
    EXPECT_EQ(evened.points, 0.0);
    EXPECT_GT(evened.light, 0.0) << "what is too large to be moved may be lit evenly";
    KivLoopSurface small = surfaceOf(roughBall(0.01));
    EXPECT_EQ(kivEvenPoints(small, viewAt(4.0), 0.05, 0.5).points, 0.0);
    KivLoopSurface sharp = surfaceOf(roughBall(0.01));
    std::fill(sharp.sharp.begin(), sharp.sharp.begin() + static_cast<std::ptrdiff_t>(sharp.sharp.size() / 5), 1);
    EXPECT_EQ(kivEvenPoints(sharp, viewAt(60.0), 0.05, 0.5).points, 0.0);
    const ShapeModel untouched = roughBall(0.01);
    for (std::size_t p = 0; p < untouched.points.size(); ++p) {
        ASSERT_EQ(kivLength(large.points[p] - untouched.points[p]), 0.0);
        ASSERT_EQ(kivLength(sharp.points[p] - untouched.points[p]), 0.0);
    }
}

TEST(KivEvenPoints, CornersStay) {
    const ShapeModel rough = roughBall(0.02);
    KivLoopSurface surface = surfaceOf(rough);
    for (std::size_t e = 0; e < 4; ++e) {
        surface.sharp[e] = 1;
        surface.pinned[surface.adjacency.edges[e].a] = surface.pinned[surface.adjacency.edges[e].b] = 1;
    }
    ASSERT_GT(kivEvenPoints(surface, viewAt(60.0), 0.05, 0.5).points, 0.0);
    for (std::size_t e = 0; e < 4; ++e) {
        const std::uint32_t p = surface.adjacency.edges[e].b;
        EXPECT_EQ(kivLength(surface.points[p] - rough.points[p]), 0.0);
    }
}

// Waves of 3 degrees from vertex to vertex go, a bend of a right angle stays.
TEST(KivEvenLight, SmallWavesGoAndBendsStay) {
    const ShapeModel sheet = sheetModel(40);
    KivLoopLimit limit;
    limit.points = sheet.points;
    limit.triangles = sheet.triangles;
    std::mt19937 words(3);
    const double wave = std::tan(3.0 * std::numbers::pi / 180.0);
    for (const KivVec& p : sheet.points) {
        const double off = wave * (static_cast<double>(words() % 2001) / 1000.0 - 1.0);
        limit.normals.push_back(p.x < 0.0 ? kivUnit({off, 0.0, 1.0}) : kivUnit({1.0, 0.0, off}));
    }
    kivEvenLight(limit, viewAt(40.0), 12.0, 8.0); // sides of 2 pixels
    for (std::size_t v = 0; v < limit.normals.size(); ++v) {
        const KivVec& p = sheet.points[v];
        const KivVec& n = limit.normals[v];
        EXPECT_NEAR(kivLength(n), 1.0, 1e-12);
        if (std::abs(p.x) > 0.7) {
            EXPECT_LT(std::abs(p.x < 0.0 ? n.x : n.z), 0.4 * wave);
        }
        EXPECT_GT(p.x < 0.0 ? n.z : n.x, std::cos(12.0 * std::numbers::pi / 180.0));
    }
}

// Light that changes evenly over a sheet stays as it is, however its triangles are cut.
TEST(KivEvenLight, EvenChangesStay) {
    ShapeModel sheet = sheetModel(40);
    std::mt19937 words(11);
    for (KivVec& p : sheet.points) {
        if (std::abs(p.x) < 0.99 && std::abs(p.y) < 0.99) {
            p.x += 0.000014 * (static_cast<double>(words() % 2001) - 1000.0);
            p.y += 0.000014 * (static_cast<double>(words() % 2001) - 1000.0);
        }
    }
    KivLoopLimit limit;
    limit.points = sheet.points;
    limit.triangles = sheet.triangles;
    for (const KivVec& p : sheet.points) {
        limit.normals.push_back(kivUnit({std::sin(0.3 * p.x), 0.0, std::cos(0.3 * p.x)}));
    }
    const std::vector<KivVec> before = limit.normals;
    kivEvenLight(limit, viewAt(40.0), 12.0, 8.0);
    for (std::size_t v = 0; v < before.size(); ++v) {
        if (std::abs(sheet.points[v].x) < 0.5) {
            EXPECT_LT(kivLength(limit.normals[v] - before[v]), 0.0055);
        }
    }
}
