// Which ends of lines go on into each other where they meet, and the chains that follow from it.
#ifndef KIVRENDER_LINES_LINEJOINS_H
#define KIVRENDER_LINES_LINEJOINS_H

#include "kivrender/geometry/kivvec.h"

#include <cstdint>
#include <vector>

// One end of a line. Line i has the ends 2 i and 2 i + 1.
struct LineEnd {
    std::uint32_t node = 0;  // the point at which it lies
    std::uint32_t group = 0; // only ends of one group are joined
    KivVec inward;           // from the end into the line, of unit length; of no length if it is not known
};

enum class LineJunctions : std::uint8_t {
    end,  // where more than two ends of a group meet, all of them end
    goOn, // there the two that go on most nearly straight are joined first, none that turn by more than 60 degrees
};

inline constexpr std::int32_t noLineEnd = -1;

// For each end the end that the line goes on with, or noLineEnd. Two ends of a group that meet alone are joined however
// sharply the line turns. After a cancel some are not joined.
std::vector<std::int32_t> kivJoinedEnds(const std::vector<LineEnd>& ends, LineJunctions junctions);

struct LineChain {
    std::vector<std::uint32_t> lines; // in order
    std::vector<bool> reversed;       // for each whether it is walked from its second end to its first
    bool closed = false;
};

// Every line is in exactly one chain. Chains come in the order of their first line, open ones before rings. After a
// cancel some are missing.
std::vector<LineChain> kivChainsOf(const std::vector<std::int32_t>& mates);

#endif
