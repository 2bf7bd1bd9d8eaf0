// The order of places along a space-filling curve (Morton, A Computer Oriented Geodetic Data Base, 1966): what lies
// near in space lies near in the list.
#ifndef KIVRENDER_GEOMETRY_MORTONORDER_H
#define KIVRENDER_GEOMETRY_MORTONORDER_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <numeric>
#include <vector>

namespace mortonorder {

// Sixteen bits with two zeros between each.
inline std::uint64_t spread(std::uint64_t bits) {
    bits = (bits | bits << 16U) & 0x0000FF0000FFULL;
    bits = (bits | bits << 8U) & 0x00F00F00F00FULL;
    bits = (bits | bits << 4U) & 0x0C30C30C30C3ULL;
    bits = (bits | bits << 2U) & 0x249249249249ULL;
    return bits;
}

// Where a value lies between two others, in 65536 steps.
inline std::uint64_t step(double value, double low, double high) {
    const double part = (value - low) / (high - low);
    return part > 0.0 ? static_cast<std::uint64_t>(std::min(part, 1.0) * 65535.0) : 0; // NaN is not above 0
}

struct Keyed {
    std::uint64_t key;
    std::uint32_t entry;
};

inline constexpr unsigned int digitBits = 12;
inline constexpr std::size_t numDigits = 4; // of a key, the lowest first
inline constexpr std::size_t digitValues = std::size_t{1} << digitBits;

inline std::size_t digitOf(std::uint64_t key, std::size_t digit) {
    return (key >> (digitBits * digit)) & (digitValues - 1);
}

// By key; equal keys stay in their order (radix sort from the lowest digit). False as soon as goesOn(entry) is.
template <class GoesOn> bool sortByKey(std::unique_ptr<Keyed[]>& keyed, std::size_t count, const GoesOn& goesOn) {
    // Where the entries with each value of each digit begin.
    using Starts = std::array<std::array<std::uint32_t, digitValues>, numDigits>;
    const auto starts = std::make_unique<Starts>();
    for (std::size_t i = 0; i < count; ++i) {
        if (!goesOn(i)) {
            return false;
        }
        for (std::size_t digit = 0; digit < numDigits; ++digit) {
            ++(*starts)[digit][digitOf(keyed[i].key, digit)];
        }
    }
    for (auto& values : *starts) {
        std::exclusive_scan(values.begin(), values.end(), values.begin(), 0U);
    }
    auto other = std::make_unique_for_overwrite<Keyed[]>(count);
    for (std::size_t digit = 0; digit < numDigits; ++digit) {
        for (std::size_t i = 0; i < count; ++i) {
            if (!goesOn(i)) {
                return false;
            }
            other[(*starts)[digit][digitOf(keyed[i].key, digit)]++] = keyed[i];
        }
        keyed.swap(other);
    }
    return true;
}

} // namespace mortonorder

// Replaces order by the numbers of count places in the order of the curve through the box from low to high; places on
// one point of its grid, 65536 steps to a side, stay in their order. placeAt(i) gives three coordinates by [axis].
// goesOn(i) is asked for each entry of each of the six passes, and may throw; false, with order undefined, as soon as
// it answers so.
template <class Place, class PlaceAt, class GoesOn>
bool kivMortonOrder(std::size_t count, const PlaceAt& placeAt, const Place& low, const Place& high,
                    const GoesOn& goesOn, std::vector<std::uint32_t>& order) {
    // Memory that is not filled first: it comes page by page as it is written, between two questions.
    auto keyed = std::make_unique_for_overwrite<mortonorder::Keyed[]>(count);
    for (std::size_t i = 0; i < count; ++i) {
        if (!goesOn(i)) {
            return false;
        }
        const Place place = placeAt(i);
        std::uint64_t key = 0;
        for (unsigned int axis = 0; axis < 3; ++axis) {
            key |= mortonorder::spread(mortonorder::step(place[axis], low[axis], high[axis])) << axis;
        }
        keyed[i] = {key, static_cast<std::uint32_t>(i)};
    }
    if (!mortonorder::sortByKey(keyed, count, goesOn)) {
        return false;
    }
    order.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
        order[i] = keyed[i].entry;
    }
    return true;
}

#endif
