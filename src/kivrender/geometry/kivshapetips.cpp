#include "kivrender/geometry/kivshapetips.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <utility>
#include <vector>

namespace {

// In radians. A cone of half the angle of 36 degrees has so much, the corner of a box 270 degrees.
constexpr double slenderCone = 210.0 * std::numbers::pi / 180.0;
constexpr double leastHeight = 0.01; // over the mean of the neighbours, against the extent of the mesh

double angleAt(const KivVec& p, const KivVec& a, const KivVec& b) {
    return std::atan2(kivLength(kivCross(a - p, b - p)), kivDot(a - p, b - p));
}

std::vector<double> anglesOf(const KivLoopSurface& surface) {
    std::vector<double> angles(surface.points.size(), 0.0);
    for (const KivSurface::Triangle& t : surface.triangles) {
        for (std::size_t k = 0; k < 3; ++k) {
            angles[t[k]] +=
                angleAt(surface.points[t[k]], surface.points[t[(k + 1) % 3]], surface.points[t[(k + 2) % 3]]);
        }
    }
    return angles;
}

double extentOf(const std::vector<KivVec>& points) {
    KivVec low = points.front();
    KivVec high = low;
    for (const KivVec& p : points) {
        low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
    }
    return kivLength(high - low);
}

} // namespace

void kivPinTips(KivLoopSurface& surface) {
    if (surface.points.empty()) {
        return;
    }
    std::vector<KivVec> ring(surface.points.size());
    std::vector<std::uint32_t> count(surface.points.size(), 0);
    for (std::size_t e = 0; e < surface.sharp.size(); ++e) {
        const KivShapeEdge& edge = surface.adjacency.edges[e];
        // Borders end here; what is sharp has its own rules.
        const bool isInner = surface.sharp[e] == 0 && edge.second != KivShapeEdge::none;
        for (const auto& [at, to] : {std::pair(edge.a, edge.b), std::pair(edge.b, edge.a)}) {
            ring[at] = ring[at] + surface.points[to];
            count[at] = isInner && count[at] != KivShapeEdge::none ? count[at] + 1 : KivShapeEdge::none;
        }
    }
    const std::vector<double> angles = anglesOf(surface);
    const double least = leastHeight * extentOf(surface.points);
    for (std::size_t p = 0; p < surface.points.size(); ++p) {
        if (count[p] >= 3 && count[p] != KivShapeEdge::none && angles[p] < slenderCone &&
            kivLength(surface.points[p] - ring[p] * (1.0 / count[p])) > least) {
            surface.pinned[p] = 1;
        }
    }
}
