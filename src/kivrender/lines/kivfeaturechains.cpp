#include "kivrender/lines/kivfeaturechains.h"

#include "kivrender/lines/linejoins.h"

#include <cstddef>
#include <utility>

std::vector<KivFeatureChain> kivFeatureChains(const std::vector<KivFeatureEdge>& edges,
                                              const KivFeatureDirections& directions) {
    std::vector<LineEnd> ends;
    ends.reserve(edges.size() * 2);
    for (std::size_t i = 0; i < edges.size(); ++i) {
        const auto group = static_cast<std::uint32_t>(edges[i].kind);
        ends.push_back({edges[i].a, group, directions[i]});
        ends.push_back({edges[i].b, group, -directions[i]});
    }
    std::vector<KivFeatureChain> chains;
    for (LineChain& chain : kivChainsOf(kivJoinedEnds(ends, LineJunctions::goOn))) {
        chains.push_back({std::move(chain.lines), std::move(chain.reversed), chain.closed});
    }
    return chains;
}
