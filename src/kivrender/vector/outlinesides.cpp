#include "kivrender/vector/outlinesides.h"

#include "kivrender/vector/vertexcells.h"

#include <bit>

namespace {

constexpr std::size_t mostWalked = 16;

} // namespace

OutlineSides::OutlineSides(const std::vector<SweepTriangle*>& triangles)
    : all(triangles), slots(triangles.size() * 3, -1) {}

void OutlineSides::begin(std::vector<FeedbackEdge>& outlineEdges) {
    for (const int side : sides)
        slots[static_cast<std::size_t>(side)] = -1;
    sides.clear();
    heads.clear();
    edges = &outlineEdges;
}

void OutlineSides::append(int side) {
    slots[static_cast<std::size_t>(side)] = static_cast<int>(sides.size());
    edges->push_back(sideOf(all, side));
    sides.push_back(side);
    if (heads.empty() ? sides.size() > mostWalked : sides.size() > heads.size())
        sortIntoCells(4 * sides.size());
    else if (!heads.empty())
        link(side);
}

std::uint64_t OutlineSides::keyOf(int side) const {
    const FeedbackEdge edge = sideOf(all, side);
    return VertexCells::keyOf(VertexCells::middle(*edge.from, *edge.to));
}

void OutlineSides::sortIntoCells(std::size_t numCells) {
    if (next.empty()) {
        next.resize(slots.size());
        previous.resize(slots.size());
    }
    heads.assign(std::bit_ceil(numCells), -1);
    for (const int side : sides)
        link(side);
}

void OutlineSides::link(int side) {
    int& head = heads[keyOf(side) & (heads.size() - 1)];
    next[static_cast<std::size_t>(side)] = head;
    previous[static_cast<std::size_t>(side)] = -1;
    if (head >= 0)
        previous[static_cast<std::size_t>(head)] = side;
    head = side;
}

void OutlineSides::unlink(int side) {
    const int behind = next[static_cast<std::size_t>(side)];
    const int before = previous[static_cast<std::size_t>(side)];
    if (behind >= 0)
        previous[static_cast<std::size_t>(behind)] = before;
    if (before >= 0)
        next[static_cast<std::size_t>(before)] = behind;
    else
        heads[keyOf(side) & (heads.size() - 1)] = behind;
}

void OutlineSides::collectAround(int triangle, unsigned which, WorkPoll& poll) {
    const FeedbackEdge edge = sideOf(all, 3 * triangle + static_cast<int>(which));
    VertexCells::forEachKeyAround(VertexCells::middle(*edge.from, *edge.to), [&](std::uint64_t key) {
        int walked = 0;
        for (int side = heads[key & (heads.size() - 1)]; side >= 0; side = next[static_cast<std::size_t>(side)]) {
            ++walked;
            if (sameEnds(edge, sideOf(all, side)))
                shared.emplace_back(side, 1U << which);
        }
        poll.isCancelled(10 * static_cast<std::size_t>(1 + walked));
    });
}

void OutlineSides::collectShared(int triangle, WorkPoll& poll) {
    shared.clear();
    for (unsigned which = 0; which < 3; ++which) {
        if (!heads.empty()) {
            collectAround(triangle, which, poll);
            continue;
        }
        const FeedbackEdge edge = sideOf(all, 3 * triangle + static_cast<int>(which));
        for (std::size_t slot = 0; slot < sides.size(); ++slot) {
            if (sameEnds(edge, (*edges)[slot]))
                shared.emplace_back(sides[slot], 1U << which);
        }
    }
}

unsigned OutlineSides::closeShared(int triangle, WorkPoll& poll) {
    collectShared(triangle, poll);
    unsigned open = 7;
    for (int from = 0; open != 0;) {
        // The first edge from here on that has a side still open; of these sides, the first.
        int slot = -1;
        unsigned matching = 0;
        for (const auto& [side, which] : shared) {
            const int place = slots[static_cast<std::size_t>(side)];
            if (place < from || (which & open) == 0)
                continue;
            if (slot < 0 || place < slot) {
                slot = place;
                matching = which;
            } else if (place == slot) {
                matching |= which;
            }
        }
        if (slot < 0)
            break;
        open &= ~(1U << std::countr_zero(matching & open));
        remove(sides[static_cast<std::size_t>(slot)]);
        from = slot;
    }
    return open;
}

void OutlineSides::remove(int side) {
    if (!heads.empty())
        unlink(side);
    const std::size_t slot = static_cast<std::size_t>(slots[static_cast<std::size_t>(side)]);
    slots[static_cast<std::size_t>(side)] = -1;
    if (slot + 1 != sides.size()) {
        (*edges)[slot] = edges->back();
        sides[slot] = sides.back();
        slots[static_cast<std::size_t>(sides[slot])] = static_cast<int>(slot);
    }
    edges->pop_back();
    sides.pop_back();
}
