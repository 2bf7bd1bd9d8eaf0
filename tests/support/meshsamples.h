// Large meshes for measurements and tests.
#ifndef TESTS_SUPPORT_MESHSAMPLES_H
#define TESTS_SUPPORT_MESHSAMPLES_H

#include "kivrender/scene/kivmesh.h"
#include "support/rawrandom.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>
#include <vector>

// A wavy square of about that many triangles with shared vertices, spaced 0.01 and lifted by up to 1.
inline std::unique_ptr<KivMesh> gridMesh(unsigned int triangles) {
    const auto side = static_cast<unsigned int>(std::lround(std::sqrt(triangles / 2.0)));
    auto mesh = std::make_unique<KivMesh>();
    mesh->reserveVertexs((side + 1) * (side + 1));
    mesh->reserveTriangles(2 * side * side);
    for (unsigned int y = 0; y <= side; ++y) {
        for (unsigned int x = 0; x <= side; ++x) {
            mesh->addVertex(Kiv3DPoint(x * 0.01, y * 0.01, std::sin(x * 0.02) * std::cos(y * 0.03)));
        }
    }
    for (unsigned int y = 0; y < side; ++y) {
        for (unsigned int x = 0; x < side; ++x) {
            const unsigned int corner = y * (side + 1) + x;
            mesh->addQuad(corner, corner + 1, corner + side + 2, corner + side + 1);
        }
    }
    return mesh;
}

// The same surface with vertices of its own for every triangle, in random order.
inline std::unique_ptr<KivMesh> triangleSoup(unsigned int triangles) {
    const std::unique_ptr<KivMesh> grid = gridMesh(triangles);
    std::vector<unsigned int> order(grid->getNumTriangles());
    for (unsigned int t = 0; t < order.size(); ++t) {
        order[t] = t;
    }
    RawRandom random(1);
    for (unsigned int t = static_cast<unsigned int>(order.size()); t > 1; --t) {
        std::swap(order[t - 1], order[random.below(t)]);
    }
    auto soup = std::make_unique<KivMesh>();
    for (const unsigned int t : order) {
        Kiv3DPoint points[3];
        grid->getTriangle(points, t);
        const unsigned int first = soup->getNumVertexs();
        for (const Kiv3DPoint& point : points) {
            soup->addVertex(point);
        }
        soup->addTriangle(first, first + 1, first + 2);
    }
    return soup;
}

// A closed ball with bumps of about that many triangles, radius 0.85 to 1.15, wound outwards.
inline std::unique_ptr<KivMesh> bumpyBall(int triangles) {
    auto mesh = std::make_unique<KivMesh>();
    const int rows = static_cast<int>(std::lround(std::sqrt(triangles / 2.0)));
    for (int j = 0; j <= rows; ++j) {
        for (int i = 0; i < rows; ++i) {
            const double a = 2 * std::numbers::pi * i / rows;
            const double p = std::numbers::pi * j / rows;
            const double r = 1 + 0.15 * std::sin(5 * a) * std::sin(4 * p);
            mesh->addVertex(Kiv3DPoint(r * std::sin(p) * std::cos(a), r * std::cos(p), r * std::sin(p) * std::sin(a)));
        }
    }
    for (int j = 0; j < rows; ++j) {
        for (int i = 0; i < rows; ++i) {
            const auto at = [&](int row, int column) {
                return static_cast<unsigned int>((j + row) * rows + (i + column) % rows);
            };
            mesh->addQuad(at(0, 0), at(0, 1), at(1, 1), at(1, 0));
        }
    }
    return mesh;
}

#endif
