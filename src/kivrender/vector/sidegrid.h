// Finds the triangles of a sweep that have a side with the same ends as a given one.
#ifndef KIVRENDER_VECTOR_SIDEGRID_H
#define KIVRENDER_VECTOR_SIDEGRID_H

#include "kivrender/vector/coplanargroup.h"
#include "kivrender/vector/trianglekinds.h"
#include "kivrender/vector/vertexcells.h"
#include "kivrender/vector/workpoll.h"

#include <cstdint>
#include <vector>

// Holds the sides of all triangles until they are taken, in cells by kind and by the place of the middle. Cells that
// lie side by side along the sweep lie side by side in memory too, so that the sweep works on little of it at a time.
class SideGrid {
public:
    // The triangles are sorted along their axis. They and the kinds must outlive the grid.
    SideGrid(const std::vector<SweepTriangle*>& sweep, const TriangleKinds& triangleKinds);

    // Must come first, and once. False when the user has cancelled.
    bool build(WorkPoll& poll);

    void take(int triangle) {
        isTaken[static_cast<std::size_t>(triangle)] = true;
    }
    bool isFree(int triangle) const {
        return !isTaken[static_cast<std::size_t>(triangle)];
    }

    // The first free triangle that has one of the kinds and a side with the ends of the edge, and that accepts says yes
    // to; none if there is none. It must be asked for triangles of that kind alone, but may see others.
    static constexpr int none = INT32_MAX;
    template <class Accepts>
    int firstMatch(const FeedbackEdge& edge, const std::vector<std::uint64_t>& kinds, WorkPoll& poll,
                   const Accepts& accepts) {
        int best = none;
        const FeedbackVector place = VertexCells::middle(*edge.from, *edge.to);
        const auto visitCell = [&](std::size_t cell) {
            int walked = 0;
            const std::uint32_t end = starts[cell + 1];
            for (std::uint32_t at = nextFree(starts[cell], end); at < end; at = nextFree(at + 1, end)) {
                ++walked;
                const int triangle = sides[at] / 3;
                if (triangle >= best)
                    break;
                if (sameEnds(edge, sideOf(triangles, sides[at])) && accepts(triangle)) {
                    best = triangle;
                    break;
                }
            }
            poll.isCancelled(10 * static_cast<std::size_t>(2 + walked));
        };
        forEachCellAround(place, kinds, visitCell);
        return best;
    }

private:
    // The cells of one part of the sweep.
    struct Slab {
        double begin;       // the first cell along the axis, as VertexCells names them
        std::uint32_t base; // of its cells among all
        std::uint32_t mask; // a power of two of cells, less one
    };

    static double alongAxis(const FeedbackVector& place, int axis) {
        return axis == 0 ? place.x : axis == 1 ? place.y : place.z;
    }
    double cellOnAxis(int number) const;
    void makeSlabs();
    void sizeSlabs(const std::vector<std::uint32_t>& counts);
    std::size_t slabOf(double cell) const;
    std::size_t cellOf(int number) const;
    void fill(const std::vector<std::uint32_t>& cells);

    // The first place from that one on whose triangle is free, or one that is not before the end. Shortens the way for
    // the next time (path halving: Tarjan and van Leeuwen, 1984, Worst-case analysis of set union algorithms).
    std::uint32_t nextFree(std::uint32_t at, std::uint32_t end) {
        while (at < end && !isFree(sides[at] / 3)) {
            const std::uint32_t next = onward[at];
            if (next < end && !isFree(sides[next] / 3))
                onward[at] = onward[next];
            at = next;
        }
        return at;
    }

    template <class Visit>
    void forEachCellAround(const FeedbackVector& place, const std::vector<std::uint64_t>& kinds,
                           const Visit& visit) const {
        const VertexCells::Pair along(alongAxis(place, axis));
        const VertexCells::Pair aside(alongAxis(place, axis == 0 ? 1 : 0));
        const VertexCells::Pair deep(alongAxis(place, axis == 2 ? 1 : 2));
        for (int i = 0; i < along.count; ++i) {
            const Slab& slab = slabs[slabOf(along.cells[i])];
            for (const std::uint64_t kind : kinds) {
                const std::uint64_t first = VertexCells::keyWith(kind, along.cells[i]);
                for (int j = 0; j < aside.count; ++j) {
                    const std::uint64_t second = VertexCells::keyWith(first, aside.cells[j]);
                    for (int k = 0; k < deep.count; ++k)
                        visit(slab.base + (VertexCells::keyWith(second, deep.cells[k]) & slab.mask));
                }
            }
        }
    }

    const std::vector<SweepTriangle*>& triangles;
    const TriangleKinds& allKinds;
    int axis = 0;
    std::vector<Slab> slabs;
    std::vector<std::uint32_t> starts; // of each cell's sides
    std::vector<int> sides;            // in each cell in order
    std::vector<std::uint32_t> onward; // where to look next if a side's triangle is taken
    std::vector<bool> isTaken;
};

#endif
