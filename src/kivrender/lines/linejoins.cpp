#include "kivrender/lines/linejoins.h"

#include "kivrender/lines/curveorder.h"
#include "kivrender/lines/regions/polledsort.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <tuple>
#include <utility>

namespace {

constexpr double straightEnough = 0.5; // the cosine of the largest turn at a junction, 60 degrees

// A hub of very many lines would pair in quadratic time and is not a line to follow.
constexpr std::size_t largestHub = 64;

using Number = std::uint32_t;

struct Pair {
    double straightness;
    Number first;
    Number second;
};

void joinStraightest(const std::vector<Number>& meeting, const std::vector<LineEnd>& ends,
                     std::vector<std::int32_t>& mate) {
    std::vector<Pair> pairs;
    for (std::size_t i = 0; i < meeting.size(); ++i) {
        for (std::size_t j = i + 1; j < meeting.size(); ++j) {
            const double straightness = -kivDot(ends[meeting[i]].inward, ends[meeting[j]].inward);
            if (straightness >= straightEnough) {
                pairs.push_back({straightness, meeting[i], meeting[j]});
            }
        }
    }
    std::stable_sort(pairs.begin(), pairs.end(),
                     [](const Pair& a, const Pair& b) { return a.straightness > b.straightness; });
    for (const Pair& pair : pairs) {
        if (mate[pair.first] == noLineEnd && mate[pair.second] == noLineEnd) {
            mate[pair.first] = static_cast<std::int32_t>(pair.second);
            mate[pair.second] = static_cast<std::int32_t>(pair.first);
        }
    }
}

LineChain walk(Number start, const std::vector<std::int32_t>& mates, std::vector<bool>& used) {
    LineChain chain;
    for (Number end = start;;) {
        used[end / 2] = true;
        chain.lines.push_back(end / 2);
        chain.reversed.push_back(end % 2 == 1);
        const std::int32_t next = mates[end ^ 1U];
        if (next == noLineEnd) {
            return chain;
        }
        if (used[static_cast<std::size_t>(next) / 2]) {
            chain.closed = static_cast<Number>(next) == start;
            return chain;
        }
        end = static_cast<Number>(next);
    }
}

} // namespace

std::vector<std::int32_t> kivJoinedEnds(const std::vector<LineEnd>& ends, LineJunctions junctions) {
    std::vector<Number> order(ends.size());
    std::iota(order.begin(), order.end(), 0U);
    const auto key = [&ends](Number end) { return std::tie(ends[end].node, ends[end].group); };
    std::vector<std::int32_t> mate(ends.size(), noLineEnd);
    if (!polledSort(order, [&](Number a, Number b) { return key(a) < key(b) || (key(a) == key(b) && a < b); })) {
        return mate;
    }
    std::vector<Number> meeting;
    for (std::size_t i = 0; i < order.size();) {
        meeting.clear();
        const Number here = order[i];
        for (; i < order.size() && key(order[i]) == key(here); ++i) {
            if (meeting.size() < largestHub) {
                meeting.push_back(order[i]);
            }
        }
        if (meeting.size() == 2) {
            mate[meeting[0]] = static_cast<std::int32_t>(meeting[1]);
            mate[meeting[1]] = static_cast<std::int32_t>(meeting[0]);
        } else if (meeting.size() > 2 && junctions == LineJunctions::goOn) {
            joinStraightest(meeting, ends, mate);
        }
    }
    return mate;
}

std::vector<LineChain> kivChainsOf(const std::vector<std::int32_t>& mates) {
    std::vector<bool> used(mates.size() / 2, false);
    std::vector<LineChain> chains;
    for (Number end = 0; end < mates.size() && !kivIsCancelledAt(end); ++end) {
        if (mates[end] == noLineEnd && !used[end / 2]) {
            chains.push_back(walk(end, mates, used));
        }
    }
    for (Number end = 0; end < mates.size() && !kivIsCancelledAt(end); end += 2) {
        if (!used[end / 2]) {
            chains.push_back(walk(end, mates, used));
        }
    }
    return chains;
}
