// Meshes with known shapes, for the tests of smooth surfaces.
#ifndef TESTS_GEOMETRY_SHAPEMODELS_H
#define TESTS_GEOMETRY_SHAPEMODELS_H

#include "kivrender/geometry/kivsurface.h"

#include <cmath>
#include <numbers>
#include <vector>

struct ShapeModel {
    std::vector<KivVec> points;
    std::vector<KivSurface::Triangle> triangles;

    void addQuad(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
        triangles.push_back({a, b, c});
        triangles.push_back({a, c, d});
    }
};

// Side 2, wound outwards.
inline ShapeModel cubeModel() {
    ShapeModel model;
    for (int i = 0; i < 8; ++i) {
        model.points.push_back({(i & 1) != 0 ? 1.0 : -1.0, (i & 2) != 0 ? 1.0 : -1.0, (i & 4) != 0 ? 1.0 : -1.0});
    }
    model.addQuad(0, 2, 3, 1);
    model.addQuad(4, 5, 7, 6);
    model.addQuad(0, 1, 5, 4);
    model.addQuad(2, 6, 7, 3);
    model.addQuad(0, 4, 6, 2);
    model.addQuad(1, 3, 7, 5);
    return model;
}

// A ball of radius 1.
inline ShapeModel ballModel(int sides) {
    ShapeModel model;
    const int rows = sides / 2;
    model.points = {{0.0, 1.0, 0.0}, {0.0, -1.0, 0.0}};
    for (int i = 1; i < rows; ++i) {
        for (int j = 0; j < sides; ++j) {
            const double u = std::numbers::pi * i / rows;
            const double v = 2.0 * std::numbers::pi * j / sides;
            model.points.push_back({std::sin(u) * std::cos(v), std::cos(u), std::sin(u) * std::sin(v)});
        }
    }
    const auto at = [sides](int i, int j) { return static_cast<std::uint32_t>(2 + (i - 1) * sides + j % sides); };
    for (int j = 0; j < sides; ++j) {
        model.triangles.push_back({0, at(1, j + 1), at(1, j)});
        model.triangles.push_back({1, at(rows - 1, j), at(rows - 1, j + 1)});
        for (int i = 1; i < rows - 1; ++i) {
            model.addQuad(at(i, j), at(i, j + 1), at(i + 1, j + 1), at(i + 1, j));
        }
    }
    return model;
}

// A prism of radius 1 and height 2 with flat ends.
inline ShapeModel prismModel(int sides) {
    ShapeModel model;
    for (int j = 0; j < sides; ++j) {
        const double v = 2.0 * std::numbers::pi * j / sides;
        model.points.push_back({std::cos(v), -1.0, -std::sin(v)});
        model.points.push_back({std::cos(v), 1.0, -std::sin(v)});
    }
    const auto n = static_cast<std::uint32_t>(sides);
    for (std::uint32_t j = 0; j < n; ++j) {
        const std::uint32_t k = (j + 1) % n;
        model.addQuad(2 * j, 2 * k, 2 * k + 1, 2 * j + 1);
        if (j > 0 && k > 0) {
            model.triangles.push_back({1, 2 * j + 1, 2 * k + 1});
            model.triangles.push_back({0, 2 * k, 2 * j});
        }
    }
    return model;
}

// A flat square of 2 times 2 units with n times n cells, facing z.
inline ShapeModel sheetModel(int n) {
    ShapeModel model;
    for (int i = 0; i <= n; ++i) {
        for (int j = 0; j <= n; ++j) {
            model.points.push_back({2.0 * j / n - 1.0, 2.0 * i / n - 1.0, 0.0});
        }
    }
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) {
            const auto at = [n](int row, int column) { return static_cast<std::uint32_t>(row * (n + 1) + column); };
            model.addQuad(at(i, j), at(i, j + 1), at(i + 1, j + 1), at(i + 1, j));
        }
    }
    return model;
}

#endif
