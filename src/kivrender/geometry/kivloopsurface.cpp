#include "kivrender/geometry/kivloopsurface.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace {

using Triangle = KivSurface::Triangle;
constexpr std::uint32_t none = KivShapeEdge::none;

std::size_t cornerOf(const Triangle& t, std::uint32_t point) {
    return t[0] == point ? 0 : t[1] == point ? 1 : 2;
}

std::uint32_t thirdCorner(const Triangle& t, const KivShapeEdge& edge) {
    for (const std::uint32_t p : t) {
        if (p != edge.a && p != edge.b) {
            return p;
        }
    }
    return t[0];
}

// Loop's weight of each of n neighbours.
double neighbourWeight(std::uint32_t n) {
    const double c = 0.375 + 0.25 * std::cos(2.0 * std::numbers::pi / n);
    return (0.625 - c * c) / n;
}

// What the rules ask of the edges at each point.
struct Surroundings {
    explicit Surroundings(const KivLoopSurface& surface)
        : ring(surface.points.size()), along(surface.points.size()), valence(surface.points.size(), 0),
          sharpValence(surface.points.size(), 0) {
        for (std::size_t e = 0; e < surface.adjacency.edges.size(); ++e) {
            const KivShapeEdge& edge = surface.adjacency.edges[e];
            add(surface, edge.a, edge.b, surface.sharp[e] != 0);
            add(surface, edge.b, edge.a, surface.sharp[e] != 0);
        }
    }

    void add(const KivLoopSurface& surface, std::uint32_t at, std::uint32_t other, bool isSharp) {
        ring[at] = ring[at] + surface.points[other];
        ++valence[at];
        if (isSharp) {
            along[at] = along[at] + surface.points[other];
            ++sharpValence[at];
        }
    }

    // One sharp edge alone ends in the point, which is smooth; three and more make a corner.
    bool isSmooth(std::uint32_t p) const {
        return sharpValence[p] < 2;
    }

    std::vector<KivVec> ring;  // sums of the neighbours
    std::vector<KivVec> along; // of those across sharp edges
    std::vector<std::uint32_t> valence;
    std::vector<std::uint32_t> sharpValence;
};

KivVec movedPoint(const KivLoopSurface& surface, const Surroundings& around, std::uint32_t p) {
    const KivVec& own = surface.points[p];
    if (surface.pinned[p] != 0 || around.sharpValence[p] > 2 || around.valence[p] < 2) {
        return own;
    }
    if (around.sharpValence[p] == 2) {
        return own * 0.75 + around.along[p] * 0.125;
    }
    const double weight = neighbourWeight(around.valence[p]);
    return own * (1.0 - around.valence[p] * weight) + around.ring[p] * weight;
}

KivVec limitPoint(const KivLoopSurface& surface, const Surroundings& around, std::uint32_t p) {
    const KivVec& own = surface.points[p];
    if (surface.pinned[p] != 0 || around.sharpValence[p] > 2 || around.valence[p] < 2) {
        return own;
    }
    if (around.sharpValence[p] == 2) {
        return own * (2.0 / 3.0) + around.along[p] * (1.0 / 6.0);
    }
    const std::uint32_t n = around.valence[p];
    const double weight = 1.0 / (n + 0.375 / neighbourWeight(n));
    return own * (1.0 - n * weight) + around.ring[p] * weight;
}

// Around a tip rings shrink to it at one rate in height and nearly so in width: a cone with straight sides. Loop's own
// weights make a cusp.
constexpr double besideTip = 0.03125;

KivVec middleOf(const KivLoopSurface& surface, const Surroundings& around, std::size_t e) {
    const KivShapeEdge& edge = surface.adjacency.edges[e];
    const KivVec ends = surface.points[edge.a] + surface.points[edge.b];
    if (surface.sharp[e] != 0 || edge.second == none) {
        return ends * 0.5;
    }
    const KivVec across = surface.points[thirdCorner(surface.triangles[edge.first], edge)] +
                          surface.points[thirdCorner(surface.triangles[edge.second], edge)];
    const auto isTip = [&](std::uint32_t p) { return surface.pinned[p] != 0 && around.sharpValence[p] == 0; };
    if (isTip(edge.a) != isTip(edge.b)) {
        const KivVec& below = surface.points[isTip(edge.a) ? edge.b : edge.a];
        return ends * 0.5 + (across - below * 2.0) * besideTip;
    }
    return ends * 0.375 + across * 0.125;
}

// The part at the end `at` of an edge that is cut into halves; e and e + 1 in the finer surface.
std::uint32_t halfOf(const KivShapeEdges& adjacency, std::uint32_t e, std::uint32_t at) {
    return 2 * e + (adjacency.edges[e].a == at ? 0 : 1);
}

void divideTriangles(const KivLoopSurface& surface, KivLoopSurface& finer) {
    const auto numPoints = static_cast<std::uint32_t>(surface.points.size());
    const auto numEdges = static_cast<std::uint32_t>(surface.adjacency.edges.size());
    finer.triangles.resize(surface.triangles.size() * 4);
    finer.adjacency.sides.resize(finer.triangles.size());
    for (std::uint32_t t = 0; t < surface.triangles.size(); ++t) {
        const Triangle& c = surface.triangles[t];
        const Triangle& side = surface.adjacency.sides[t];
        const std::uint32_t inner = 2 * numEdges + 3 * t; // the edge that cuts off corner k comes k behind
        for (std::uint32_t k = 0; k < 3; ++k) {
            const std::uint32_t before = side[(k + 2) % 3];
            finer.triangles[4 * t + k] = {c[k], numPoints + side[k], numPoints + before};
            finer.adjacency.sides[4 * t + k] = {halfOf(surface.adjacency, side[k], c[k]), inner + k,
                                                halfOf(surface.adjacency, before, c[k])};
            KivShapeEdge& cut = finer.adjacency.edges[inner + k];
            cut.a = numPoints + std::min(side[k], before);
            cut.b = numPoints + std::max(side[k], before);
            cut.first = 4 * t + k;
            cut.second = 4 * t + 3;
        }
        finer.triangles[4 * t + 3] = {numPoints + side[0], numPoints + side[1], numPoints + side[2]};
        finer.adjacency.sides[4 * t + 3] = {inner + 1, inner + 2, inner};
    }
}

void divideEdges(const KivLoopSurface& surface, KivLoopSurface& finer) {
    const auto numPoints = static_cast<std::uint32_t>(surface.points.size());
    const auto childAt = [&](std::uint32_t triangle, std::uint32_t point) {
        return triangle == none
                   ? none
                   : 4 * triangle + static_cast<std::uint32_t>(cornerOf(surface.triangles[triangle], point));
    };
    for (std::uint32_t e = 0; e < surface.adjacency.edges.size(); ++e) {
        const KivShapeEdge& edge = surface.adjacency.edges[e];
        for (const std::uint32_t end : {edge.a, edge.b}) {
            const std::uint32_t half = halfOf(surface.adjacency, e, end);
            finer.adjacency.edges[half] = {end, numPoints + e, childAt(edge.first, end), childAt(edge.second, end),
                                           edge.junction};
            finer.sharp[half] = surface.sharp[e];
        }
    }
}

// The ring of a point within one side of its sharp edges, or all around.
struct Fan {
    std::vector<std::uint32_t> ring;    // neighbours, anticlockwise; the first comes not again at the end
    std::vector<std::uint32_t> corners; // 3 * triangle + corner, anticlockwise
    bool closed = false;
};

class LimitBuilder {
public:
    explicit LimitBuilder(const KivLoopSurface& s) : surface(s), around(s), done(s.triangles.size() * 3, 0) {}

    KivLoopLimit build() {
        limit.triangles.resize(surface.triangles.size());
        limit.points.reserve(surface.points.size());
        limit.normals.reserve(surface.points.size());
        limit.origins.reserve(surface.points.size());
        for (std::uint32_t corner = 0; corner < done.size(); ++corner) {
            if (done[corner] == 0) {
                addVertex(corner);
            }
        }
        return std::move(limit);
    }

private:
    void addVertex(std::uint32_t corner) {
        findFan(corner);
        const std::uint32_t p = surface.triangles[corner / 3][corner % 3];
        const auto vertex = static_cast<std::uint32_t>(limit.points.size());
        limit.points.push_back(limitPoint(surface, around, p));
        limit.normals.push_back(normalAt(p));
        limit.origins.push_back(p);
        for (const std::uint32_t c : fan.corners) {
            done[c] = 1;
            limit.triangles[c / 3][c % 3] = vertex;
        }
    }

    // The corner of the neighbour across the side with that edge, at the same point; none over sharp edges.
    std::uint32_t across(std::uint32_t corner, std::uint32_t e) const {
        const KivShapeEdge& edge = surface.adjacency.edges[e];
        if (surface.sharp[e] != 0 || edge.second == none) {
            return none;
        }
        const std::uint32_t other = edge.first == corner / 3 ? edge.second : edge.first;
        const std::uint32_t p = surface.triangles[corner / 3][corner % 3];
        return 3 * other + static_cast<std::uint32_t>(cornerOf(surface.triangles[other], p));
    }
    std::uint32_t nextEdge(std::uint32_t corner) const { // on the side that comes last, anticlockwise
        return surface.adjacency.sides[corner / 3][(corner % 3 + 2) % 3];
    }
    std::uint32_t previousEdge(std::uint32_t corner) const {
        return surface.adjacency.sides[corner / 3][corner % 3];
    }

    void findFan(std::uint32_t corner) {
        fan.ring.clear();
        fan.corners.clear();
        // Clockwise to the sharp edge with which the fan begins, if there is one.
        std::uint32_t first = corner;
        for (;;) {
            const std::uint32_t before = across(first, previousEdge(first));
            if (before == none || before == corner || done[before] != 0) {
                fan.closed = before == corner;
                break;
            }
            first = before;
        }
        if (fan.closed) {
            first = corner;
        }
        for (std::uint32_t at = first;;) {
            const Triangle& t = surface.triangles[at / 3];
            fan.corners.push_back(at);
            fan.ring.push_back(t[(at % 3 + 1) % 3]);
            const std::uint32_t next = across(at, nextEdge(at));
            if (next == none || next == first || fan.corners.size() > surface.triangles.size()) {
                if (!fan.closed) {
                    fan.ring.push_back(t[(at % 3 + 2) % 3]);
                }
                break;
            }
            at = next;
        }
    }

    KivVec normalAt(std::uint32_t p) const {
        const bool isCorner = surface.pinned[p] != 0 || around.sharpValence[p] > 2;
        const KivVec mean = meanNormal(p);
        KivVec normal;
        if (fan.closed) {
            normal = smoothNormal();
        } else if (!isCorner && around.sharpValence[p] == 2) {
            normal = sharpNormal(p);
            normal = kivDot(normal, mean) < 0.0 ? -normal : normal;
        }
        // A fan that is folded back on itself has tangents that tell nothing.
        return kivDot(normal, mean) > 0.2 ? normal : mean;
    }

    // From the two tangents of the surface.
    KivVec smoothNormal() const {
        KivVec u;
        KivVec v;
        const double step = 2.0 * std::numbers::pi / static_cast<double>(fan.ring.size());
        for (std::size_t i = 0; i < fan.ring.size(); ++i) {
            const KivVec& q = surface.points[fan.ring[i]];
            u = u + q * std::cos(step * static_cast<double>(i));
            v = v + q * std::sin(step * static_cast<double>(i));
        }
        return kivUnit(kivCross(u, v));
    }

    // From the tangent along the curve and the one away from it (Biermann, Levin and Zorin, Piecewise Smooth
    // Subdivision Surfaces with Normal Control, 2000).
    KivVec sharpNormal(std::uint32_t p) const {
        const std::size_t last = fan.ring.size() - 1;
        const auto at = [this](std::size_t i) -> const KivVec& { return surface.points[fan.ring[i]]; };
        const KivVec& own = surface.points[p];
        KivVec away;
        if (last == 1) {
            away = at(0) + at(1) - own * 2.0;
        } else if (last == 2) {
            away = at(1) - own;
        } else {
            const double angle = std::numbers::pi / static_cast<double>(last);
            away = (at(0) + at(last)) * std::sin(angle);
            for (std::size_t i = 1; i < last; ++i) {
                away = away + at(i) * ((2.0 * std::cos(angle) - 2.0) * std::sin(angle * static_cast<double>(i)));
            }
            away = -away;
        }
        return kivUnit(kivCross(at(0) - at(last), away));
    }

    KivVec meanNormal(std::uint32_t p) const {
        KivVec sum;
        for (const std::uint32_t corner : fan.corners) {
            const Triangle& t = surface.triangles[corner / 3];
            const KivVec& own = surface.points[p];
            const KivVec a = surface.points[t[(corner % 3 + 1) % 3]] - own;
            const KivVec b = surface.points[t[(corner % 3 + 2) % 3]] - own;
            const KivVec across = kivCross(a, b);
            sum = sum + kivUnit(across) * std::atan2(kivLength(across), kivDot(a, b));
        }
        return kivUnit(sum);
    }

    const KivLoopSurface& surface;
    Surroundings around;
    std::vector<std::uint8_t> done; // of the corners
    Fan fan;
    KivLoopLimit limit;
};

} // namespace

KivLoopSurface kivLoopStep(const KivLoopSurface& surface) {
    const Surroundings around(surface);
    const std::size_t numEdges = surface.adjacency.edges.size();
    KivLoopSurface finer;
    finer.points.reserve(surface.points.size() + numEdges);
    for (std::uint32_t p = 0; p < surface.points.size(); ++p) {
        finer.points.push_back(movedPoint(surface, around, p));
    }
    for (std::size_t e = 0; e < numEdges; ++e) {
        finer.points.push_back(middleOf(surface, around, e));
    }
    finer.pinned = surface.pinned;
    finer.pinned.resize(finer.points.size(), 0);
    finer.adjacency.edges.resize(2 * numEdges + 3 * surface.triangles.size());
    finer.sharp.resize(finer.adjacency.edges.size(), 0);
    divideTriangles(surface, finer);
    divideEdges(surface, finer);
    return finer;
}

KivLoopLimit kivLoopLimit(const KivLoopSurface& surface) {
    return LimitBuilder(surface).build();
}
