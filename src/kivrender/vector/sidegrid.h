// Finds sides of triangles that have the same ends.
#ifndef KIVRENDER_VECTOR_SIDEGRID_H
#define KIVRENDER_VECTOR_SIDEGRID_H

#include "kivrender/vector/coplanargroup.h"
#include "kivrender/vector/vertexcells.h"

#include <cstdint>
#include <vector>

class SideGrid {
public:
    // Side k of triangle t, from its vertex k to the next, has the number 3 * t + k. Only sides of one group, a number
    // for each triangle, are sought together; a side of another may be found by chance. The triangles must outlive the
    // grid.
    SideGrid(const std::vector<SweepTriangle*>& triangles, const std::vector<int>& groups);

    FeedbackEdge side(int number) const {
        FeedbackVertex* vertices = (*all)[static_cast<std::size_t>(number / 3)]->vertices;
        const int first = number % 3;
        return {&vertices[first], &vertices[first == 2 ? 0 : first + 1]};
    }

    // Calls visit with each side of the group that has the same ends and passes the filter, which comes first since it
    // is cheap. A side may come twice, and sides of other groups may come too.
    template <class Filter, class Visit>
    void forEachMatch(const FeedbackEdge& edge, int group, const Filter& filter, const Visit& visit) const {
        const FeedbackVector place = VertexCells::middle(*edge.from, *edge.to);
        if (VertexCells::kindOf(place) == VertexCells::Kind::None)
            return;
        const auto visitBucket = [&](std::uint64_t key) {
            const std::size_t bucket = key & mask;
            for (std::uint32_t i = starts[bucket]; i < starts[bucket + 1]; ++i) {
                if (filter(sides[i]) && sameEnds(edge, side(sides[i])))
                    visit(sides[i]);
            }
        };
        VertexCells::forEachKeyAround(place, static_cast<std::uint64_t>(group), visitBucket);
        for (const int number : farSides) {
            if (filter(number) && sameEnds(edge, side(number)))
                visit(number);
        }
    }

private:
    const std::vector<SweepTriangle*>* all;
    std::size_t mask;
    std::vector<std::uint32_t> starts; // of each bucket's sides
    std::vector<int> sides;
    std::vector<int> farSides;
};

#endif
