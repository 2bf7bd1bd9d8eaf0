// The extents by which a sweep compares, as integers in the same order.
#ifndef KIVRENDER_VECTOR_SWEEPKEY_H
#define KIVRENDER_VECTOR_SWEEPKEY_H

#include <bit>
#include <cstdint>
#include <limits>

// NaN sorts above infinity: no comparison says that it is not greater than a key.
inline constexpr std::int32_t sweepKeyNaN = std::numeric_limits<std::int32_t>::max();

constexpr std::int32_t sweepKeyOf(float value) {
    if (value != value)
        return sweepKeyNaN;
    // Adding 0 makes one zero of the two.
    const auto bits = std::bit_cast<std::int32_t>(value + 0.0F);
    return bits < 0 ? bits ^ 0x7FFFFFFF : bits;
}

// A key and whose it is.
struct SweepEntry {
    std::int32_t key;
    int index;
};

constexpr float sweepValueOf(std::int32_t key) {
    if (key == sweepKeyNaN)
        return std::numeric_limits<float>::quiet_NaN();
    return std::bit_cast<float>(key < 0 ? key ^ 0x7FFFFFFF : key);
}

#endif
