#include "import/polygons.h"

#include <cmath>
#include <random>

#include <gtest/gtest.h>

using namespace kivimport;

namespace {

Indices cut(const Points& polygon) {
    Indices triangles;
    triangulate(polygon, triangles);
    return triangles;
}

Vec3 areaOf(const Points& points, const Indices& triangles) {
    Vec3 sum;
    for (std::size_t i = 0; i < triangles.size(); i += 3) {
        const Vec3& a = points[triangles[i]];
        sum = sum + cross(points[triangles[i + 1]] - a, points[triangles[i + 2]] - a) * 0.5;
    }
    return sum;
}

double sumOfAreas(const Points& points, const Indices& triangles) {
    double sum = 0.0;
    for (std::size_t i = 0; i < triangles.size(); i += 3) {
        const Vec3& a = points[triangles[i]];
        sum += length(cross(points[triangles[i + 1]] - a, points[triangles[i + 2]] - a)) * 0.5;
    }
    return sum;
}

} // namespace

TEST(Polygons, SmallOnes) {
    EXPECT_TRUE(cut({{0, 0, 0}, {1, 0, 0}}).empty());
    EXPECT_EQ(cut({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}), (Indices{0, 1, 2}));
    EXPECT_EQ(cut({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}), (Indices{0, 1, 2, 0, 2, 3}));
}

TEST(Polygons, AnArrowHeadIsCutInside) {
    // A fan around corner 0 would lie outside, as the notch is at corner 2.
    const Points arrow{{-1, 0, 0}, {0, 2, 0}, {1, 0, 0}, {0, 0.5, 0}};
    for (std::size_t turn = 0; turn < 4; ++turn) {
        Points points;
        for (std::size_t i = 0; i < 4; ++i) {
            points.push_back(arrow[(i + turn) % 4]);
        }
        const Indices triangles = cut(points);
        ASSERT_EQ(triangles.size(), 6U);
        EXPECT_NEAR(sumOfAreas(points, triangles), 1.5, 1e-12) << turn;
        EXPECT_NEAR(areaOf(points, triangles).z, -1.5, 1e-12) << turn;
    }
}

TEST(Polygons, ConcaveOnesInAnyPlaneAreCoveredOnce) {
    std::mt19937 random(3);
    for (int round = 0; round < 500; ++round) {
        // Star-shaped around the origin, so simple, with a random plane.
        const std::size_t n = 4 + random() % 30;
        const Vec3 u = unit({random() % 200 - 100.5, random() % 200 - 100.5, random() % 200 - 100.5});
        const Vec3 w = unit(cross(u, unit({random() % 200 - 99.5, random() % 200 - 99.5, random() % 200 - 99.5})));
        Points points;
        double area = 0.0;
        for (std::size_t i = 0; i < n; ++i) {
            const double angle = 2.0 * 3.14159265358979323846 * static_cast<double>(i) / static_cast<double>(n);
            const double r = 0.2 + static_cast<double>(random() % 1000) / 1000.0;
            points.push_back(u * (r * std::cos(angle)) + w * (r * std::sin(angle)));
        }
        for (std::size_t i = 0; i < n; ++i) {
            area += length(cross(points[i], points[(i + 1) % n])) * 0.5;
        }
        const Indices triangles = cut(points);
        ASSERT_EQ(triangles.size(), (n - 2) * 3);
        EXPECT_NEAR(sumOfAreas(points, triangles), area, 1e-9) << round;
        EXPECT_NEAR(dot(areaOf(points, triangles), cross(u, w)), area, 1e-9) << round;
    }
}

TEST(Polygons, WhatCrossesItselfOrHasNoAreaStillEnds) {
    EXPECT_EQ(cut({{0, 0, 0}, {1, 1, 0}, {1, 0, 0}, {0, 1, 0}}).size(), 6U);
    EXPECT_EQ(cut(Points(7, Vec3{1, 1, 1})).size(), 15U);
    Points star;
    for (int i = 0; i < 5; ++i) {
        star.push_back({std::cos(i * 2.513274), std::sin(i * 2.513274), 0});
    }
    EXPECT_EQ(cut(star).size(), 9U);
}
