// Cells in space for finding what equals a vertex, or the middle of a side, within the tolerance of vertices.
#ifndef KIVRENDER_VECTOR_VERTEXCELLS_H
#define KIVRENDER_VECTOR_VERTEXCELLS_H

#include "kivrender/vector/feedbackvector.h"
#include "kivrender/vector/feedbackvertex.h"

#include <bit>
#include <cmath>
#include <cstdint>

namespace VertexCells {

inline bool isFinite(const FeedbackVector& place) {
    return std::isfinite(place.x) && std::isfinite(place.y) && std::isfinite(place.z);
}

inline FeedbackVector placeOf(const FeedbackVertex& vertex) {
    return {vertex.x, vertex.y, vertex.z};
}

inline FeedbackVector middle(const FeedbackVertex& first, const FeedbackVertex& second) {
    return {(static_cast<double>(first.x) + second.x) * 0.5, (static_cast<double>(first.y) + second.y) * 0.5,
            (static_cast<double>(first.z) + second.z) * 0.5};
}

// Names the cell along one axis; grows with the coordinate. Cells are 1/256 wide. Far out, where middles are rounded
// too much for that, they become wider with the distance, and each width is a multiple of the one before it.
inline double cellOf(double coordinate) {
    // Moves whole numbers and hundredths off the borders, where two cells would have to be searched.
    constexpr double shift = 0.00173;
    constexpr int farExponent = 30;
    const double place = coordinate + shift;
    const double distance = std::fabs(place);
    const bool isFar = distance >= std::ldexp(1.0, farExponent); // NaN is not, and has no exponent to take
    const double width = isFar ? std::ldexp(0x1p-8, std::ilogb(distance) - farExponent) : 0x1p-8;
    return std::copysign(std::floor(distance / width) * width, place);
}

// The one or two cells along one axis in which something can stand that equals what stands at the coordinate: a range
// of twice the tolerance, and a little more for rounding, is shorter than any cell.
struct Pair {
    double cells[2] = {0, 0};
    int count = 1;

    explicit Pair(double coordinate) {
        const double reach = 0.00101 + std::fabs(coordinate) * 0x1p-50;
        cells[0] = cellOf(coordinate - reach);
        cells[1] = cellOf(coordinate + reach);
        count = cells[0] == cells[1] ? 1 : 2;
    }
};

inline std::uint64_t mixed(std::uint64_t value) {
    value ^= value >> 32;
    value *= 0xD6E8FEB86659FD93U;
    value ^= value >> 32;
    value *= 0xD6E8FEB86659FD93U;
    return value ^ (value >> 32);
}

// A further value of what a key stands for. Different values may lead to one key: whoever looks compares what is found.
inline std::uint64_t keyWith(std::uint64_t key, double value) {
    return mixed(key + 0x9E3779B97F4A7C15U + std::bit_cast<std::uint64_t>(value + 0.0));
}

inline std::uint64_t keyOf(const FeedbackVector& place) {
    return keyWith(keyWith(keyWith(0, cellOf(place.x)), cellOf(place.y)), cellOf(place.z));
}

// Calls visit with the key of each cell in which something stands that equals what stands at the place, which is
// finite.
template <class Visit> void forEachKeyAround(const FeedbackVector& place, const Visit& visit) {
    const Pair x(place.x);
    const Pair y(place.y);
    const Pair z(place.z);
    for (int i = 0; i < x.count; ++i) {
        const std::uint64_t alongX = keyWith(0, x.cells[i]);
        for (int j = 0; j < y.count; ++j) {
            const std::uint64_t alongY = keyWith(alongX, y.cells[j]);
            for (int k = 0; k < z.count; ++k)
                visit(keyWith(alongY, z.cells[k]));
        }
    }
}

} // namespace VertexCells

#endif
