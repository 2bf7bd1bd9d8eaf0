#include "kivrender/geometry/kivshapecreases.h"

#include "kivrender/geometry/disjointsets.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numbers>

namespace {

using Triangle = KivSurface::Triangle;

constexpr double leastReach = 0.05; // of creases that hang together, against the mesh
// By so much a crease bends more than the triangles beside it, on a rounded mesh, at the usual angle and above. Who
// asks for a smaller angle wants to see edges, and at 0 all of them.
constexpr double usualRatio = 10.0;
constexpr double usualAngle = 45.0;
constexpr double leastBeside = 1.5; // degrees: less is flat
// Bends between those of a round face and those of sharp edges; a mesh has so much more of them if it is round itself.
constexpr double bandFrom = 25.0;
constexpr double bandTo = 60.0;
constexpr double roundShare = 0.5;
// Degrees. A body without flat faces has next to no edges that bend by less; the diagonals of planks and prisms do.
constexpr double exactlyFlat = 0.1;
constexpr double mostFlat = 0.2; // of the length of all edges

struct Box {
    KivVec low{std::numeric_limits<double>::max(), std::numeric_limits<double>::max(),
               std::numeric_limits<double>::max()};
    KivVec high{std::numeric_limits<double>::lowest(), std::numeric_limits<double>::lowest(),
                std::numeric_limits<double>::lowest()};

    void add(const KivVec& p) {
        low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
    }
    double size() const {
        return low.x <= high.x ? kivLength(high - low) : 0.0;
    }
};

class CreaseFinder {
public:
    CreaseFinder(const std::vector<KivVec>& p, const std::vector<Triangle>& t, const KivShapeEdges& a)
        : points(p), triangles(t), adjacency(a) {}

    std::vector<std::uint8_t> find(double creaseAngle) {
        findBends();
        const bool isRound = hasAllBends();
        const double ratio = usualRatio * std::min(creaseAngle / usualAngle, 1.0);
        std::vector<std::uint8_t> sharp(adjacency.edges.size(), 0);
        for (std::size_t e = 0; e < sharp.size(); ++e) {
            const bool bends = isPair(adjacency.edges[e]) && bend[e] > creaseAngle;
            sharp[e] = bends && (!isRound || bend[e] > ratio * std::max(bendBeside(e), leastBeside)) ? 1 : 0;
        }
        removeShort(sharp);
        for (std::size_t e = 0; e < sharp.size(); ++e) {
            sharp[e] |= isPair(adjacency.edges[e]) ? 0 : 1;
        }
        return sharp;
    }

private:
    static bool isPair(const KivShapeEdge& edge) {
        return edge.second != KivShapeEdge::none && !edge.junction;
    }
    double lengthOf(const KivShapeEdge& edge) const {
        return kivLength(points[edge.b] - points[edge.a]);
    }

    void findBends() {
        std::vector<KivVec> normals(triangles.size());
        for (std::size_t t = 0; t < triangles.size(); ++t) {
            const KivVec& a = points[triangles[t][0]];
            normals[t] = kivUnit(kivCross(points[triangles[t][1]] - a, points[triangles[t][2]] - a));
        }
        bend.assign(adjacency.edges.size(), 0.0);
        for (std::size_t e = 0; e < bend.size(); ++e) {
            const KivShapeEdge& edge = adjacency.edges[e];
            if (isPair(edge)) {
                const KivVec& m = normals[edge.first];
                const KivVec& n = normals[edge.second];
                bend[e] = std::atan2(kivLength(kivCross(m, n)), kivDot(m, n)) * 180.0 / std::numbers::pi;
            }
        }
    }

    bool hasAllBends() const {
        double all = 0.0;
        double flat = 0.0;
        double between = 0.0;
        double sharp = 0.0;
        for (std::size_t e = 0; e < bend.size(); ++e) {
            const double length = lengthOf(adjacency.edges[e]);
            all += length;
            flat += bend[e] <= exactlyFlat && isPair(adjacency.edges[e]) ? length : 0.0;
            between += bend[e] > bandFrom && bend[e] <= bandTo ? length : 0.0;
            sharp += bend[e] > bandTo ? length : 0.0;
        }
        return between > roundShare * sharp && flat < mostFlat * all;
    }

    // The bend of the other edges of the flatter of the two triangles.
    double bendBeside(std::size_t e) const {
        double least = std::numeric_limits<double>::max();
        for (const std::uint32_t t : {adjacency.edges[e].first, adjacency.edges[e].second}) {
            double most = 0.0;
            for (const std::uint32_t side : adjacency.sides[t]) {
                most = side != e ? std::max(most, bend[side]) : most;
            }
            least = std::min(least, most);
        }
        return least;
    }

    void removeShort(std::vector<std::uint8_t>& sharp) {
        DisjointSets networks(points.size());
        Box all;
        for (std::size_t e = 0; e < sharp.size(); ++e) {
            const KivShapeEdge& edge = adjacency.edges[e];
            all.add(points[edge.a]);
            if (sharp[e] != 0) {
                networks.join(edge.a, edge.b);
            }
        }
        std::vector<Box> reach(points.size());
        for (std::size_t e = 0; e < sharp.size(); ++e) {
            if (sharp[e] != 0) {
                Box& box = reach[networks.find(adjacency.edges[e].a)];
                box.add(points[adjacency.edges[e].a]);
                box.add(points[adjacency.edges[e].b]);
            }
        }
        const double least = leastReach * all.size();
        for (std::size_t e = 0; e < sharp.size(); ++e) {
            if (sharp[e] != 0 && reach[networks.find(adjacency.edges[e].a)].size() < least) {
                sharp[e] = 0;
            }
        }
    }

    const std::vector<KivVec>& points;
    const std::vector<Triangle>& triangles;
    const KivShapeEdges& adjacency;
    std::vector<double> bend; // of the edges, degrees
};

} // namespace

std::vector<std::uint8_t> kivShapeCreases(const std::vector<KivVec>& points, const std::vector<Triangle>& triangles,
                                          const KivShapeEdges& adjacency, double creaseAngle) {
    return CreaseFinder(points, triangles, adjacency).find(creaseAngle);
}
