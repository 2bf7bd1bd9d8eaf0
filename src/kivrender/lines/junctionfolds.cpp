#include "kivrender/lines/junctionfolds.h"

#include "kivrender/lines/curveorder.h"

#include <algorithm>
#include <cstddef>
#include <tuple>
#include <unordered_set>

namespace {

std::uint64_t keyOf(std::uint32_t a, std::uint32_t b) {
    const auto [low, high] = std::minmax(a, b);
    return static_cast<std::uint64_t>(low) << 32U | high;
}

} // namespace

bool JunctionFolds::find(const KivSurface& of, const std::vector<KivFeatureWing>& wings) {
    surface = &of;
    std::unordered_set<std::uint64_t> junctions;
    for (const KivFeatureWing& wing : wings) {
        if (wing.junction) {
            junctions.insert(keyOf(wing.a, wing.b));
        }
    }
    for (std::size_t i = 0; i < of.triangles.size() && !junctions.empty(); ++i) {
        if (kivIsCancelledAt(i)) {
            return false;
        }
        const KivSurface::Triangle& t = of.triangles[i];
        for (std::size_t k = 0; k < 3; ++k) {
            const std::uint32_t a = t[k];
            const std::uint32_t b = t[(k + 1) % 3];
            const bool isAtJunction = junctions.contains(keyOf(a, b));
            if (isAtJunction && kivHasArea(of.points[t[0]], of.points[t[1]], of.points[t[2]])) {
                sides.push_back({std::min(a, b), std::max(a, b), t[(k + 2) % 3]});
            }
        }
    }
    std::sort(sides.begin(), sides.end(), [](const Side& one, const Side& other) {
        return std::tie(one.a, one.b, one.third) < std::tie(other.a, other.b, other.third);
    });
    return true;
}

bool JunctionFolds::isFold(const KivFeatureWing& junction, const KivViewpoint& view) const {
    const auto comesBefore = [](const Side& one, const Side& other) {
        return std::tie(one.a, one.b) < std::tie(other.a, other.b);
    };
    const auto [first, last] =
        std::equal_range(sides.begin(), sides.end(), Side{junction.a, junction.b, 0}, comesBefore);
    const auto areOnOneSide = [&](const Side& one, const Side& other) {
        return kivFeatureIsFold(surface->points[junction.a], surface->points[junction.b], surface->points[one.third],
                                surface->points[other.third], view);
    };
    // Triangles that are seen edge-on lie on no side.
    const auto one = std::find_if(first, last, [&](const Side& side) { return areOnOneSide(side, side); });
    return one != last && std::all_of(first, last, [&](const Side& side) { return areOnOneSide(*one, side); });
}
