#include "kivrender/vector/sidegrid.h"

#include <bit>

SideGrid::SideGrid(const std::vector<SweepTriangle*>& triangles, const std::vector<int>& groups) : all(&triangles) {
    const std::size_t numSides = triangles.size() * 3;
    mask = std::bit_ceil(numSides + 1) * 2 - 1;
    starts.assign(mask + 2, 0);
    std::vector<std::uint32_t> buckets(numSides);
    std::vector<bool> isNear(numSides, false);
    for (std::size_t i = 0; i < numSides; ++i) {
        const FeedbackEdge edge = side(static_cast<int>(i));
        const FeedbackVector place = VertexCells::middle(*edge.from, *edge.to);
        const VertexCells::Kind kind = VertexCells::kindOf(place);
        if (kind == VertexCells::Kind::Far)
            farSides.push_back(static_cast<int>(i));
        if (kind != VertexCells::Kind::Near)
            continue;
        isNear[i] = true;
        buckets[i] =
            static_cast<std::uint32_t>(VertexCells::keyOf(place, static_cast<std::uint64_t>(groups[i / 3])) & mask);
        ++starts[buckets[i] + 1];
    }
    for (std::size_t bucket = 0; bucket <= mask; ++bucket)
        starts[bucket + 1] += starts[bucket];
    sides.resize(starts.back());
    std::vector<std::uint32_t> next(starts.begin(), starts.end() - 1);
    for (std::size_t i = 0; i < numSides; ++i) {
        if (isNear[i])
            sides[next[buckets[i]]++] = static_cast<int>(i);
    }
}
