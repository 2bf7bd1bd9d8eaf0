// What lines take from a body as it comes: which triangles count, and how exact its coordinates are.
#ifndef KIVRENDER_LINES_LINEGRAIN_H
#define KIVRENDER_LINES_LINEGRAIN_H

#include "kivrender/geometry/kivvec.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <span>

// Three corners that exist, are different and are finite.
inline bool kivIsWhole(std::span<const KivVec> points, const std::array<std::uint32_t, 3>& t) {
    const auto isFinite = [&](std::uint32_t i) {
        return std::isfinite(points[i].x) && std::isfinite(points[i].y) && std::isfinite(points[i].z);
    };
    return t[0] < points.size() && t[1] < points.size() && t[2] < points.size() && t[0] != t[1] && t[1] != t[2] &&
           t[2] != t[0] && isFinite(t[0]) && isFinite(t[1]) && isFinite(t[2]);
}

// Coordinates in files have six digits or the 24 bits of a float, whichever is the coarser: a millionth of the largest
// coordinate of a triangle's corner. What differs by less is the same.
inline double kivGrainOf(std::span<const KivVec> points, std::span<const std::array<std::uint32_t, 3>> triangles) {
    double largest = 0.0;
    for (const std::array<std::uint32_t, 3>& t : triangles) {
        if (kivIsWhole(points, t)) {
            for (const std::uint32_t i : t) {
                largest = std::max({largest, std::fabs(points[i].x), std::fabs(points[i].y), std::fabs(points[i].z)});
            }
        }
    }
    return largest * 1e-6;
}

#endif
