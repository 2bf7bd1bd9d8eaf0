// The outline of a region that grows by triangles, with the numbers of the sides that are its edges.
#ifndef KIVRENDER_VECTOR_OUTLINESIDES_H
#define KIVRENDER_VECTOR_OUTLINESIDES_H

#include "kivrender/vector/coplanargroup.h"
#include "kivrender/vector/workpoll.h"

#include <cstdint>
#include <utility>
#include <vector>

// Short outlines are walked. The edges of a long one are sorted into cells by the place of their middles.
class OutlineSides {
public:
    // The triangles must outlive the object.
    explicit OutlineSides(const std::vector<SweepTriangle*>& triangles);

    // Starts with an empty outline, whose edges are kept in that list.
    void begin(std::vector<FeedbackEdge>& outlineEdges);
    void append(int side);
    bool contains(int side) const {
        return slots[static_cast<std::size_t>(side)] >= 0;
    }
    // Closes what the triangle shares with the outline, in the order of the edges: each side closes the first edge with
    // the same ends that is left, and the last edge comes to its place. Returns the sides that stay open, as bits.
    unsigned closeShared(int triangle, WorkPoll& poll);

private:
    // A side of the outline, and which sides of the triangle have its ends.
    using Match = std::pair<int, unsigned>;

    std::uint64_t keyOf(int side) const;
    void collectShared(int triangle, WorkPoll& poll);
    void collectAround(int triangle, unsigned which, WorkPoll& poll);
    void remove(int side);
    void link(int side);
    void unlink(int side);
    void sortIntoCells(std::size_t numCells);

    const std::vector<SweepTriangle*>& all;
    std::vector<FeedbackEdge>* edges = nullptr;
    std::vector<int> sides; // behind the edges
    std::vector<int> slots; // of each side in the outline, or -1
    std::vector<Match> shared;
    // Lists of the sides in each cell; empty while the outline is short.
    std::vector<int> heads;
    std::vector<int> next;
    std::vector<int> previous;
};

#endif
