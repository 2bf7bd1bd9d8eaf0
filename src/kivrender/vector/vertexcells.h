// Cells in space for finding what equals a vertex, or the middle of a side, within the tolerance of vertices.
#ifndef KIVRENDER_VECTOR_VERTEXCELLS_H
#define KIVRENDER_VECTOR_VERTEXCELLS_H

#include "kivrender/vector/feedbackvector.h"
#include "kivrender/vector/feedbackvertex.h"

#include <bit>
#include <cmath>
#include <cstdint>

namespace VertexCells {

inline constexpr double width = 0.004;
// A little more than the tolerance, for the rounding of the difference and of the middle.
inline constexpr double reach = 0.00101;
// Beyond this the middle of two vertices is rounded too much to be found by cell.
inline constexpr double farthest = 1e9;

enum class Kind {
    Near, // in a cell
    Far,  // found by walking all such places
    None, // not finite: equals nothing
};

inline Kind kindOf(const FeedbackVector& place) {
    if (!std::isfinite(place.x) || !std::isfinite(place.y) || !std::isfinite(place.z))
        return Kind::None;
    return std::fabs(place.x) > farthest || std::fabs(place.y) > farthest || std::fabs(place.z) > farthest ? Kind::Far
                                                                                                           : Kind::Near;
}

inline FeedbackVector middle(const FeedbackVertex& first, const FeedbackVertex& second) {
    return {(static_cast<double>(first.x) + second.x) * 0.5, (static_cast<double>(first.y) + second.y) * 0.5,
            (static_cast<double>(first.z) + second.z) * 0.5};
}

inline std::uint64_t mixed(std::uint64_t value) {
    value ^= value >> 32;
    value *= 0xD6E8FEB86659FD93U;
    value ^= value >> 32;
    value *= 0xD6E8FEB86659FD93U;
    return value ^ (value >> 32);
}

// Different cells may share a key: whoever looks compares what is found.
inline std::uint64_t keyOf(double x, double y, double z, std::uint64_t group) {
    std::uint64_t key = mixed(group + 0x9E3779B97F4A7C15U);
    for (const double cell : {x, y, z})
        key = mixed(key + 0x9E3779B97F4A7C15U + std::bit_cast<std::uint64_t>(cell + 0.0));
    return key;
}

inline std::uint64_t keyOf(const FeedbackVector& place, std::uint64_t group) {
    return keyOf(std::floor(place.x / width), std::floor(place.y / width), std::floor(place.z / width), group);
}

// Calls visit with the key of each cell in which something stands that equals what stands at the place, which is
// finite.
template <class Visit> void forEachKeyAround(const FeedbackVector& place, std::uint64_t group, const Visit& visit) {
    const auto low = [](double value) { return std::floor((value - reach) / width); };
    const auto steps = [&](double value) { return static_cast<int>(std::floor((value + reach) / width) - low(value)); };
    const int stepsX = steps(place.x);
    const int stepsY = steps(place.y);
    const int stepsZ = steps(place.z);
    for (int x = 0; x <= stepsX; ++x) {
        for (int y = 0; y <= stepsY; ++y) {
            for (int z = 0; z <= stepsZ; ++z)
                visit(keyOf(low(place.x) + x, low(place.y) + y, low(place.z) + z, group));
        }
    }
}

} // namespace VertexCells

#endif
