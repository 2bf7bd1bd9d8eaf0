// Closed bodies made by booleans and noise: the surface where a function of space is zero, by marching tetrahedra (Doi
// and Koide, An Efficient Method of Triangulating Equi-Valued Surfaces, 1991), six of them to a cell, so that the
// surface is closed and manifold whatever the function.
#ifndef TESTS_SUPPORT_IMPLICITBODIES_H
#define TESTS_SUPPORT_IMPLICITBODIES_H

#include "kivrender/scene/kiv3dpoint.h"
#include "kivrender/scene/kivmesh.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <utility>
#include <vector>

// Below 0 inside.
using ImplicitBody = std::function<double(const Kiv3DPoint&)>;

inline ImplicitBody implicitBall(const Kiv3DPoint& middle, double radius) {
    return [=](const Kiv3DPoint& p) { return std::hypot(p.x - middle.x, p.y - middle.y, p.z - middle.z) - radius; };
}
inline ImplicitBody implicitBox(const Kiv3DPoint& middle, double half) {
    return [=](const Kiv3DPoint& p) {
        return std::max({std::abs(p.x - middle.x), std::abs(p.y - middle.y), std::abs(p.z - middle.z)}) - half;
    };
}
// About the y axis through its middle.
inline ImplicitBody implicitRing(const Kiv3DPoint& middle, double radius, double thickness) {
    return [=](const Kiv3DPoint& p) {
        return std::hypot(std::hypot(p.x - middle.x, p.z - middle.z) - radius, p.y - middle.y) - thickness;
    };
}
inline ImplicitBody implicitUnion(const ImplicitBody& a, const ImplicitBody& b) {
    return [=](const Kiv3DPoint& p) { return std::min(a(p), b(p)); };
}
inline ImplicitBody implicitWithout(const ImplicitBody& a, const ImplicitBody& b) {
    return [=](const Kiv3DPoint& p) { return std::max(a(p), -b(p)); };
}
// Waves of three directions, of that height.
inline ImplicitBody implicitRough(const ImplicitBody& a, double height, double frequency) {
    return [=](const Kiv3DPoint& p) {
        return a(p) + height *
                          (std::sin(frequency * p.x + 1.3 * p.y) * std::sin(frequency * p.y + 0.7 * p.z) +
                           std::sin(frequency * p.z + 2.1 * p.x)) /
                          2.0;
    };
}

// Balls, boxes and rings drawn by chance, joined to each other and cut out of each other, every other one rough.
inline ImplicitBody implicitBodyOf(unsigned int seed) {
    std::mt19937 random(seed);
    const auto unit = [&random] { return static_cast<double>(random() % 10000) / 10000.0; };
    const auto place = [&unit](double reach) {
        return Kiv3DPoint((unit() * 2.0 - 1.0) * reach, (unit() * 2.0 - 1.0) * reach, (unit() * 2.0 - 1.0) * reach);
    };
    ImplicitBody body = implicitBall({0.0, 0.0, 0.0}, 0.45);
    for (int i = 0; i < 6; ++i) {
        const int kind = static_cast<int>(random() % 3);
        const Kiv3DPoint middle = place(0.5);
        const ImplicitBody part = kind == 0   ? implicitBall(middle, 0.12 + 0.2 * unit())
                                  : kind == 1 ? implicitBox(middle, 0.1 + 0.14 * unit())
                                              : implicitRing(middle, 0.2 + 0.14 * unit(), 0.05 + 0.06 * unit());
        body = i % 3 == 2 ? implicitWithout(body, part) : implicitUnion(body, part);
    }
    return seed % 2 == 0 ? body : implicitRough(body, 0.04, 14.0);
}

class ImplicitMesher {
public:
    // Over the cube from -1 to 1, with so many cells along a side.
    ImplicitMesher(ImplicitBody shape, int numCells) : body(std::move(shape)), cells(numCells) {}

    std::unique_ptr<KivMesh> make() {
        mesh = std::make_unique<KivMesh>();
        for (int k = 0; k <= cells; ++k) {
            for (int j = 0; j <= cells; ++j) {
                for (int i = 0; i <= cells; ++i) {
                    const double value = body(placeOf(number(i, j, k)));
                    // Never zero: a corner on the surface would give triangles without area.
                    values.push_back(std::abs(value) < 1e-3 ? 1e-3 : value);
                }
            }
        }
        // Around the diagonal of a cell, in order.
        constexpr int ring[7] = {1, 3, 2, 6, 4, 5, 1};
        for (int k = 0; k < cells; ++k) {
            for (int j = 0; j < cells; ++j) {
                for (int i = 0; i < cells; ++i) {
                    const auto corner = [&](int c) { return number(i + (c & 1), j + (c >> 1 & 1), k + (c >> 2)); };
                    for (int t = 0; t < 6; ++t) {
                        addTetrahedron({corner(0), corner(7), corner(ring[t]), corner(ring[t + 1])});
                    }
                }
            }
        }
        return std::move(mesh);
    }

private:
    std::uint32_t number(int i, int j, int k) const {
        return static_cast<std::uint32_t>((k * (cells + 1) + j) * (cells + 1) + i);
    }
    Kiv3DPoint placeOf(std::uint32_t n) const {
        const auto row = static_cast<std::uint32_t>(cells + 1);
        const auto at = [this](std::uint32_t i) { return 2.0 * static_cast<double>(i) / cells - 1.0; };
        return {at(n % row), at(n / row % row), at(n / row / row)};
    }
    std::uint32_t vertexOf(std::uint32_t a, std::uint32_t b) {
        const auto [entry, isNew] = vertices.try_emplace(std::minmax(a, b), 0U);
        if (isNew) {
            const auto& [low, high] = entry->first;
            const double t = values[low] / (values[low] - values[high]);
            const Kiv3DPoint p = placeOf(low);
            const Kiv3DPoint q = placeOf(high);
            entry->second = mesh->getNumVertexs();
            mesh->addVertex(Kiv3DPoint(p.x + (q.x - p.x) * t, p.y + (q.y - p.y) * t, p.z + (q.z - p.z) * t));
        }
        return entry->second;
    }
    // Wound anticlockwise as seen from a place outside.
    void addTriangle(std::uint32_t a, std::uint32_t b, std::uint32_t c, const Kiv3DPoint& outside) {
        const Kiv3DPoint p = mesh->getVertex(a);
        const Kiv3DVector u = mesh->getVertex(b) - p;
        const Kiv3DVector v = mesh->getVertex(c) - p;
        const Kiv3DVector n = u * v;
        const Kiv3DVector w = outside - p;
        if (n.x * w.x + n.y * w.y + n.z * w.z < 0.0) {
            std::swap(b, c);
        }
        mesh->addTriangle(a, b, c);
    }
    void addTetrahedron(const std::array<std::uint32_t, 4>& corners) {
        std::vector<std::uint32_t> in;
        std::vector<std::uint32_t> out;
        for (const std::uint32_t c : corners) {
            (values[c] < 0.0 ? in : out).push_back(c);
        }
        if (in.empty() || out.empty()) {
            return;
        }
        const Kiv3DPoint outside = placeOf(out[0]);
        if (in.size() == 2) {
            const std::uint32_t a = vertexOf(in[0], out[0]);
            const std::uint32_t b = vertexOf(in[0], out[1]);
            const std::uint32_t c = vertexOf(in[1], out[1]);
            const std::uint32_t d = vertexOf(in[1], out[0]);
            addTriangle(a, b, c, outside);
            addTriangle(a, c, d, outside);
            return;
        }
        const std::vector<std::uint32_t>& one = in.size() == 1 ? in : out;
        const std::vector<std::uint32_t>& three = in.size() == 1 ? out : in;
        addTriangle(vertexOf(one[0], three[0]), vertexOf(one[0], three[1]), vertexOf(one[0], three[2]), outside);
    }

    ImplicitBody body;
    int cells;
    std::vector<double> values;
    std::map<std::pair<std::uint32_t, std::uint32_t>, std::uint32_t> vertices;
    std::unique_ptr<KivMesh> mesh;
};

#endif
