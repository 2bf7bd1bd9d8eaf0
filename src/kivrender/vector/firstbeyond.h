// Answers which is the first of a row of triangles, from some place on, that a sweep's reach does not extend to.
#ifndef KIVRENDER_VECTOR_FIRSTBEYOND_H
#define KIVRENDER_VECTOR_FIRSTBEYOND_H

#include "kivrender/vector/sweepkey.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

// A tree of maxima over the smallest extents. The row is sorted where all extents are numbers; where some are not it
// has no order, and then the first is not found by halving.
class FirstBeyond {
public:
    explicit FirstBeyond(const std::vector<float>& minExtents)
        : size(std::bit_ceil(std::max<std::size_t>(minExtents.size(), 1))), greatest(2 * size, gone) {
        for (std::size_t i = 0; i < minExtents.size(); ++i)
            greatest[size + i] = sweepKeyOf(minExtents[i]);
        for (std::size_t node = size; node-- > 1;)
            greatest[node] = std::max(greatest[2 * node], greatest[2 * node + 1]);
    }

    void remove(std::size_t place) {
        std::size_t node = size + place;
        greatest[node] = gone;
        while ((node /= 2) >= 1)
            greatest[node] = std::max(greatest[2 * node], greatest[2 * node + 1]);
    }

    // The first place from that one on that is beyond the reach of the extent, or a number behind all places. Beyond
    // means: not within the tolerance of 0.001 on either side.
    std::size_t find(std::size_t from, float maxExtent) const {
        const double reach = maxExtent + 0.001;
        const auto isBeyond = [reach](std::int64_t key) {
            return key != gone && !(reach >= sweepValueOf(static_cast<std::int32_t>(key)) - 0.001);
        };
        std::size_t node = size + from;
        if (from >= size)
            return size;
        while (!isBeyond(greatest[node])) {
            while ((node & 1) != 0) // a right child: what follows it follows its parent
                node /= 2;
            if (node == 0)
                return size;
            ++node;
        }
        while (node < size) {
            node *= 2;
            if (!isBeyond(greatest[node]))
                ++node;
        }
        return node - size;
    }

private:
    static constexpr std::int64_t gone = INT64_MIN;

    std::size_t size;
    std::vector<std::int64_t> greatest;
};

#endif
