// The cells of a planar arrangement: segments that meet in their ends alone, as half-edges with the cycles that they
// make around cells, and for each cell some points well inside.
//
// One sweep from left to right (after Bentley and Ottmann, 1979, with nothing left to cross) divides the cells into
// trapezoids: their areas add up to the cell's, the widest give the points, and the edge below a vertex with nothing on
// its left tells in which cell a part of the arrangement lies that hangs together with nothing else (de Berg et al.,
// Computational Geometry, chapter 6).
#ifndef KIVRENDER_LINES_REGIONS_PLANARMAP_H
#define KIVRENDER_LINES_REGIONS_PLANARMAP_H

#include "kivrender/lines/regions/regiongrid.h"

#include <array>
#include <cstdint>
#include <limits>
#include <vector>

class PlanarMap {
public:
    static constexpr std::uint32_t none = std::numeric_limits<std::uint32_t>::max();

    // A place inside a cell, in grid steps, with the width of the cell there; 0 for no sample.
    struct Sample {
        double x = 0.0;
        double y = 0.0;
        double room = 0.0;
    };
    struct Cell {
        double area = 0.0; // in square grid steps
        std::array<Sample, 3> samples;
    };

    // The segments come sorted and with their smaller ends first. False when the user cancelled.
    bool build(const std::vector<GridSegment>& segments);

    // Half-edge 2 e runs along edge e from its smaller end to its larger one, 2 e + 1 back.
    std::uint32_t halfEdges() const {
        return static_cast<std::uint32_t>(2 * ends.size());
    }
    static std::uint32_t twin(std::uint32_t halfEdge) {
        return halfEdge ^ 1U;
    }
    std::uint32_t origin(std::uint32_t halfEdge) const {
        return ends[halfEdge / 2][halfEdge % 2];
    }
    std::uint32_t target(std::uint32_t halfEdge) const {
        return origin(twin(halfEdge));
    }
    const GridPoint& place(std::uint32_t vertex) const {
        return places[vertex];
    }
    std::uint32_t vertices() const {
        return static_cast<std::uint32_t>(places.size());
    }
    // The half-edge that leaves the same vertex next, counterclockwise.
    std::uint32_t nextAround(std::uint32_t halfEdge) const {
        return around[halfEdge];
    }
    // Of those that leave a vertex, one; none for a vertex without edges, of which there are none.
    std::uint32_t leaving(std::uint32_t vertex) const {
        return star[first[vertex]];
    }
    std::uint32_t degree(std::uint32_t vertex) const {
        return first[vertex + 1] - first[vertex];
    }
    // The cell on the left of a half-edge; cell 0 lies around everything.
    std::uint32_t cellOf(std::uint32_t halfEdge) const {
        return cellOfHalfEdge[halfEdge];
    }
    const std::vector<Cell>& cells() const {
        return all;
    }

private:
    friend class MapSweep;

    bool collect(const std::vector<GridSegment>& segments);
    bool sortAround();
    void findCycles();
    bool joinCycles();

    std::vector<GridPoint> places;
    std::vector<std::array<std::uint32_t, 2>> ends;
    std::vector<std::uint32_t> first; // of each vertex in star
    std::vector<std::uint32_t> star;  // half-edges that leave each vertex, counterclockwise from straight down
    std::vector<std::uint32_t> around;
    std::vector<std::uint32_t> cellOfHalfEdge; // a cycle until cycles are joined
    std::vector<Cell> all;
};

#endif
