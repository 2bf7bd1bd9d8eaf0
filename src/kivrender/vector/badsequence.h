// A long sequence that a quicksort divides badly: nearly all entries stay on one side of each pivot.
#ifndef KIVRENDER_VECTOR_BADSEQUENCE_H
#define KIVRENDER_VECTOR_BADSEQUENCE_H

#include "kivrender/vector/keyblocks.h"

#include <cstddef>
#include <vector>

// Divides it in the way that sweepOrder tells, each time at a cost that grows with the smaller side alone, and goes on
// with the larger side.
//
// Entries not above the pivot go to the front in their order. When one does, the first of those above the pivot that
// stand before it exchanges places with it. With few at the front, these exchanges are made. With few above the pivot,
// they are taken out, which leaves the front in order; they form a queue whose first becomes its last with each entry
// that goes to the front, and with the pivot, which is exchanged in the same way at the end.
class BadSequence {
public:
    // The entries from one place to another.
    BadSequence(const std::vector<SweepEntry>& entries, std::size_t begin, std::size_t end);

    std::size_t size() const {
        return count;
    }
    // Divides the sequence and keeps its larger side. Pivot and smaller side are written to where they come to stand;
    // the sequence itself begins at that place, which moves with it.
    struct Smaller {
        std::size_t begin;
        std::size_t end;
    };
    Smaller divide(std::vector<SweepEntry>& to);
    std::size_t begin() const {
        return place;
    }
    // Writes what is left.
    void write(std::vector<SweepEntry>& to) const;

private:
    bool findSmallerSide(std::int32_t pivot);
    Smaller takeFront(std::vector<SweepEntry>& to);
    Smaller takeBack(std::vector<SweepEntry>& to);
    void skipEmpty();

    KeyBlocks blocks;
    std::size_t place; // of the first entry in the whole
    std::size_t count;
    std::size_t first = 0; // in blocks
    std::size_t last;
    std::vector<std::size_t> found[2]; // the places of entries not above the pivot, and above it
};

#endif
