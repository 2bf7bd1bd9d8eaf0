#include "kivrender/vector/sidegrid.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <numeric>

namespace {

constexpr std::size_t trianglesPerSlab = 1024;
constexpr std::uint32_t nowhere = UINT32_MAX;

} // namespace

SideGrid::SideGrid(const std::vector<SweepTriangle*>& sweep, const TriangleKinds& triangleKinds)
    : triangles(sweep), allKinds(triangleKinds), axis(sweep.empty() ? 0 : sweep.front()->axis),
      isTaken(sweep.size(), false) {}

double SideGrid::cellOnAxis(int number) const {
    const FeedbackEdge edge = sideOf(triangles, number);
    return VertexCells::cellOf(alongAxis(VertexCells::middle(*edge.from, *edge.to), axis));
}

// Slabs begin where every so manieth triangle does. Extents that are not numbers are in no order and begin none.
void SideGrid::makeSlabs() {
    slabs.push_back({-std::numeric_limits<double>::infinity(), 0, 0});
    for (std::size_t i = trianglesPerSlab; i < triangles.size(); i += trianglesPerSlab) {
        const double cell = VertexCells::cellOf(triangles[i]->minExtent);
        if (cell > slabs.back().begin)
            slabs.push_back({cell, 0, 0});
    }
}

std::size_t SideGrid::slabOf(double cell) const {
    const auto behind = std::upper_bound(slabs.begin() + 1, slabs.end(), cell,
                                         [](double value, const Slab& slab) { return value < slab.begin; });
    return static_cast<std::size_t>(behind - slabs.begin()) - 1;
}

std::size_t SideGrid::cellOf(int number) const {
    const FeedbackEdge edge = sideOf(triangles, number);
    const FeedbackVector place = VertexCells::middle(*edge.from, *edge.to);
    const double along = VertexCells::cellOf(alongAxis(place, axis));
    const double aside = VertexCells::cellOf(alongAxis(place, axis == 0 ? 1 : 0));
    const double deep = VertexCells::cellOf(alongAxis(place, axis == 2 ? 1 : 2));
    const Slab& slab = slabs[slabOf(along)];
    const std::uint64_t key = VertexCells::keyWith(
        VertexCells::keyWith(VertexCells::keyWith(allKinds.keyOf(number / 3), along), aside), deep);
    return slab.base + (key & slab.mask);
}

void SideGrid::sizeSlabs(const std::vector<std::uint32_t>& counts) {
    std::uint32_t base = 0;
    for (std::size_t i = 0; i < slabs.size(); ++i) {
        slabs[i].base = base;
        slabs[i].mask = std::bit_ceil(counts[i] + 1) * 2 - 1;
        base += slabs[i].mask + 1;
    }
    starts.assign(static_cast<std::size_t>(base) + 1, 0);
}

bool SideGrid::build(WorkPoll& poll) {
    makeSlabs();
    const int numSides = static_cast<int>(triangles.size()) * 3;
    std::vector<std::uint32_t> counts(slabs.size(), 0);
    for (int number = 0; number < numSides; ++number) {
        if (allKinds.canMerge(number / 3))
            ++counts[slabOf(cellOnAxis(number))];
        if (poll.isCancelled(40))
            return false;
    }
    sizeSlabs(counts);
    std::vector<std::uint32_t> cells(static_cast<std::size_t>(numSides), nowhere);
    for (int number = 0; number < numSides; ++number) {
        if (allKinds.canMerge(number / 3)) {
            const std::size_t cell = cellOf(number);
            cells[static_cast<std::size_t>(number)] = static_cast<std::uint32_t>(cell);
            ++starts[cell + 1];
        }
        if (poll.isCancelled(80))
            return false;
    }
    std::partial_sum(starts.begin(), starts.end(), starts.begin());
    fill(cells);
    return true;
}

void SideGrid::fill(const std::vector<std::uint32_t>& cells) {
    sides.resize(starts.back());
    onward.resize(sides.size());
    std::vector<std::uint32_t> next(starts.begin(), starts.end() - 1);
    for (std::size_t number = 0; number < cells.size(); ++number) {
        if (cells[number] != nowhere)
            sides[next[cells[number]]++] = static_cast<int>(number);
    }
    for (std::size_t at = 0; at < onward.size(); ++at)
        onward[at] = static_cast<std::uint32_t>(at + 1);
}
