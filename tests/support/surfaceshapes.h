// Small surfaces, wound anticlockwise seen from outside, and random numbers for them.
#ifndef TESTS_SUPPORT_SURFACESHAPES_H
#define TESTS_SUPPORT_SURFACESHAPES_H

#include "kivrender/geometry/kivsurface.h"

#include <cmath>
#include <cstdint>
#include <numbers>
#include <random>

inline KivSurface cubeSurface(double half = 1.0) {
    KivSurface s;
    for (int i = 0; i < 8; ++i) {
        s.points.push_back({(i & 1) != 0 ? half : -half, (i & 2) != 0 ? half : -half, (i & 4) != 0 ? half : -half});
    }
    const std::uint32_t quads[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4},
                                       {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
    for (const auto& q : quads) {
        s.triangles.push_back({q[0], q[1], q[2]});
        s.triangles.push_back({q[0], q[2], q[3]});
    }
    return s;
}

// A sphere of radius 1 with single points at the poles.
inline KivSurface sphereSurface(int rings, int sectors) {
    KivSurface s;
    s.points.push_back({0.0, 1.0, 0.0});
    for (int i = 1; i < rings; ++i) {
        for (int j = 0; j < sectors; ++j) {
            const double a = std::numbers::pi * i / rings;
            const double b = 2.0 * std::numbers::pi * j / sectors;
            s.points.push_back({std::sin(a) * std::cos(b), std::cos(a), std::sin(a) * std::sin(b)});
        }
    }
    s.points.push_back({0.0, -1.0, 0.0});
    const auto at = [sectors](int i, int j) { return static_cast<std::uint32_t>(1 + (i - 1) * sectors + j % sectors); };
    const auto south = static_cast<std::uint32_t>(s.points.size() - 1);
    for (int j = 0; j < sectors; ++j) {
        s.triangles.push_back({0, at(1, j + 1), at(1, j)});
        for (int i = 1; i + 1 < rings; ++i) {
            s.triangles.push_back({at(i, j), at(i, j + 1), at(i + 1, j + 1)});
            s.triangles.push_back({at(i, j), at(i + 1, j + 1), at(i + 1, j)});
        }
        s.triangles.push_back({at(rings - 1, j), at(rings - 1, j + 1), south});
    }
    return s;
}

inline KivVec faceNormal(const KivSurface& s, const KivSurface::Triangle& t) {
    return kivCross(s.points[t[1]] - s.points[t[0]], s.points[t[2]] - s.points[t[0]]);
}

// A number in [-1, 1) from the raw words of the generator, the same on every system.
inline double signedUnit(std::mt19937& words) {
    return static_cast<double>(words()) / 2147483648.0 - 1.0;
}

#endif
