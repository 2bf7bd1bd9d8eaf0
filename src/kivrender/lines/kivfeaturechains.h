// Joins edges end to end into long lines, so that a line can be judged, smoothed and ended as one.
//
// The strokes of a line drawing begin here: an outline is a ring, a crease an open chain. Points are those of the
// surface that the edges belong to; nothing is copied.
#ifndef KIVRENDER_LINES_KIVFEATURECHAINS_H
#define KIVRENDER_LINES_KIVFEATURECHAINS_H

#include "kivrender/lines/kivfeatureedges.h"
#include "kivrender/platform/kivexport.h"

#include <cstdint>
#include <vector>

struct KivFeatureChain {
    // The edges in order, and for each whether it is walked from b to a.
    std::vector<std::uint32_t> edges;
    std::vector<bool> reversed;
    bool closed = false;

    std::uint32_t size() const {
        return static_cast<std::uint32_t>(edges.size());
    }
};

// The direction of an edge in the picture from its point a to its point b, of unit length (z is 0); by the edge's
// index.
using KivFeatureDirections = std::vector<KivVec>;

// Every edge is in exactly one chain. At a point where two edges of one kind meet they are joined; where more meet, the
// two that go on most nearly straight are joined first, and pairs that would turn by more than 60 degrees are not. Only
// edges of one kind are joined. Chains come in the order of their first edge, open ones before rings.
KIV_API std::vector<KivFeatureChain> kivFeatureChains(const std::vector<KivFeatureEdge>& edges,
                                                      const KivFeatureDirections& directions);

#endif
