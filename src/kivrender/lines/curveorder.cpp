#include "kivrender/lines/curveorder.h"

#include "kivrender/scene/kivprogress.h"

#include <algorithm>
#include <memory>
#include <numeric>

namespace {

// Sixteen bits with two zeros between each.
std::uint64_t spread(std::uint64_t bits) {
    bits = (bits | bits << 16U) & 0x0000FF0000FFULL;
    bits = (bits | bits << 8U) & 0x00F00F00F00FULL;
    bits = (bits | bits << 4U) & 0x0C30C30C30C3ULL;
    bits = (bits | bits << 2U) & 0x249249249249ULL;
    return bits;
}

// Where a value lies between two others, in 65536 steps.
std::uint64_t step(double value, double low, double high) {
    const double part = (value - low) / (high - low);
    return part > 0.0 ? static_cast<std::uint64_t>(std::min(part, 1.0) * 65535.0) : 0; // NaN is not above 0
}

struct Keyed {
    std::uint64_t key;
    std::uint32_t entry;
};

constexpr unsigned int digitBits = 12;
constexpr std::size_t numDigits = 4; // of a key, the lowest first
constexpr std::size_t digitValues = std::size_t{1} << digitBits;

std::size_t digitOf(std::uint64_t key, std::size_t digit) {
    return (key >> (digitBits * digit)) & (digitValues - 1);
}

// Where the entries with each value of each digit begin.
using Starts = std::array<std::array<std::uint32_t, digitValues>, numDigits>;

bool findStarts(const std::vector<Keyed>& keyed, Starts& starts) {
    for (std::size_t i = 0; i < keyed.size(); ++i) {
        if (kivIsCancelledAt(i)) {
            return false;
        }
        for (std::size_t digit = 0; digit < numDigits; ++digit) {
            ++starts[digit][digitOf(keyed[i].key, digit)];
        }
    }
    for (auto& values : starts) {
        std::exclusive_scan(values.begin(), values.end(), values.begin(), 0U);
    }
    return true;
}

// By key; equal keys stay in their order (radix sort from the lowest digit). False when the user cancelled.
bool sortByKey(std::vector<Keyed>& keyed) {
    const auto starts = std::make_unique<Starts>();
    if (!findStarts(keyed, *starts)) {
        return false;
    }
    std::vector<Keyed> other(keyed.size());
    for (std::size_t digit = 0; digit < numDigits; ++digit) {
        for (std::size_t i = 0; i < keyed.size(); ++i) {
            if (kivIsCancelledAt(i)) {
                return false;
            }
            other[(*starts)[digit][digitOf(keyed[i].key, digit)]++] = keyed[i];
        }
        keyed.swap(other);
    }
    return true;
}

} // namespace

bool kivIsCancelledAt(std::size_t entry) {
    return entry % (1U << 16U) == 0 && kivIsCancelled();
}

bool kivCurveOrder(const std::vector<std::array<float, 3>>& places, const std::array<float, 3>& low,
                   const std::array<float, 3>& high, std::vector<std::uint32_t>& order) {
    std::vector<Keyed> keyed(places.size());
    for (std::size_t i = 0; i < places.size(); ++i) {
        if (kivIsCancelledAt(i)) {
            return false;
        }
        std::uint64_t key = 0;
        for (unsigned int axis = 0; axis < 3; ++axis) {
            key |= spread(step(places[i][axis], low[axis], high[axis])) << axis;
        }
        keyed[i] = {key, static_cast<std::uint32_t>(i)};
    }
    if (!sortByKey(keyed)) {
        return false;
    }
    order.resize(keyed.size());
    for (std::size_t i = 0; i < keyed.size(); ++i) {
        order[i] = keyed[i].entry;
    }
    return true;
}
