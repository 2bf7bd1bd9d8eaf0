#include "kivfeaturechains.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace {

constexpr std::int32_t none = -1;
constexpr double straightEnough = 0.5; // the cosine of the largest turn, 60 degrees

// One end of an edge: the edge's index times two, plus one for its point b.
using End = std::uint32_t;

std::uint32_t pointOf(const std::vector<KivFeatureEdge>& edges, End end) {
    const KivFeatureEdge& edge = edges[end / 2];
    return end % 2 == 0 ? edge.a : edge.b;
}

// From the end into the edge.
KivVec inward(const KivFeatureDirections& directions, End end) {
    return end % 2 == 0 ? directions[end / 2] : -directions[end / 2];
}

struct Pair {
    double straightness;
    End first;
    End second;
};

// Joins the ends that meet in one point and are of one kind.
void joinEnds(const std::vector<End>& meeting, const KivFeatureDirections& directions,
              std::vector<std::int32_t>& mate) {
    if (meeting.size() < 2) {
        return;
    }
    if (meeting.size() == 2) {
        mate[meeting[0]] = static_cast<std::int32_t>(meeting[1]);
        mate[meeting[1]] = static_cast<std::int32_t>(meeting[0]);
        return;
    }
    std::vector<Pair> pairs;
    for (std::size_t i = 0; i < meeting.size(); ++i) {
        for (std::size_t j = i + 1; j < meeting.size(); ++j) {
            const double straightness = -kivDot(inward(directions, meeting[i]), inward(directions, meeting[j]));
            if (straightness >= straightEnough) {
                pairs.push_back({straightness, meeting[i], meeting[j]});
            }
        }
    }
    std::stable_sort(pairs.begin(), pairs.end(),
                     [](const Pair& a, const Pair& b) { return a.straightness > b.straightness; });
    for (const Pair& pair : pairs) {
        if (mate[pair.first] == none && mate[pair.second] == none) {
            mate[pair.first] = static_cast<std::int32_t>(pair.second);
            mate[pair.second] = static_cast<std::int32_t>(pair.first);
        }
    }
}

// For each end the end that the line goes on with, or none.
std::vector<std::int32_t> findMates(const std::vector<KivFeatureEdge>& edges, const KivFeatureDirections& directions) {
    std::vector<End> ends(edges.size() * 2);
    for (End end = 0; end < ends.size(); ++end) {
        ends[end] = end;
    }
    const auto key = [&edges](End end) { return std::pair(pointOf(edges, end), edges[end / 2].kind); };
    std::stable_sort(ends.begin(), ends.end(), [&key](End x, End y) { return key(x) < key(y); });
    std::vector<std::int32_t> mate(ends.size(), none);
    std::vector<End> meeting;
    for (std::size_t i = 0; i < ends.size();) {
        meeting.clear();
        const auto here = key(ends[i]);
        for (; i < ends.size() && key(ends[i]) == here; ++i) {
            // A hub of very many edges would pair in quadratic time and is no line to follow.
            if (meeting.size() < 64) {
                meeting.push_back(ends[i]);
            }
        }
        joinEnds(meeting, directions, mate);
    }
    return mate;
}

KivFeatureChain walk(End start, const std::vector<std::int32_t>& mate, std::vector<bool>& used) {
    KivFeatureChain chain;
    End end = start;
    for (;;) {
        used[end / 2] = true;
        chain.edges.push_back(end / 2);
        chain.reversed.push_back(end % 2 == 1);
        const std::int32_t next = mate[end ^ 1U];
        if (next == none) {
            return chain;
        }
        if (used[static_cast<std::size_t>(next) / 2]) {
            chain.closed = static_cast<End>(next) == start;
            return chain;
        }
        end = static_cast<End>(next);
    }
}

} // namespace

std::vector<KivFeatureChain> kivFeatureChains(const std::vector<KivFeatureEdge>& edges,
                                              const KivFeatureDirections& directions) {
    const std::vector<std::int32_t> mate = findMates(edges, directions);
    std::vector<bool> used(edges.size(), false);
    std::vector<KivFeatureChain> chains;
    for (End end = 0; end < mate.size(); ++end) {
        if (mate[end] == none && !used[end / 2]) {
            chains.push_back(walk(end, mate, used));
        }
    }
    for (End end = 0; end < mate.size(); end += 2) {
        if (!used[end / 2]) {
            chains.push_back(walk(end, mate, used));
        }
    }
    return chains;
}
