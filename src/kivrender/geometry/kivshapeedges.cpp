#include "kivrender/geometry/kivshapeedges.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <utility>

namespace {

using Triangle = KivSurface::Triangle;

// Whether the triangle runs along the edge from a to b.
bool runsAlong(const Triangle& t, const KivShapeEdge& edge) {
    return (t[0] == edge.a && t[1] == edge.b) || (t[1] == edge.a && t[2] == edge.b) ||
           (t[2] == edge.a && t[0] == edge.b);
}

void addTriangle(KivShapeEdge& edge, std::uint32_t triangle) {
    if (edge.first == KivShapeEdge::none) {
        edge.first = triangle;
    } else if (edge.second == KivShapeEdge::none) {
        edge.second = triangle;
    } else {
        edge.junction = true;
    }
}

// Six times the volume between a triangle and the origin.
double volumeOf(const std::vector<KivVec>& points, const Triangle& t, const KivVec& origin) {
    return kivDot(points[t[0]] - origin, kivCross(points[t[1]] - origin, points[t[2]] - origin));
}

class Orienter {
public:
    Orienter(const std::vector<KivVec>& p, std::vector<Triangle>& t, KivShapeEdges& e)
        : points(p), triangles(t), edges(e), seen(t.size(), 0) {}

    bool orient() {
        for (std::uint32_t t = 0; t < triangles.size(); ++t) {
            if (seen[t] == 0) {
                orientPiece(t);
            }
        }
        return twoSided;
    }

private:
    void orientPiece(std::uint32_t first) {
        piece.assign(1, first);
        seen[first] = 1;
        closed = true;
        for (std::size_t i = 0; i < piece.size(); ++i) {
            for (const std::uint32_t side : edges.sides[piece[i]]) {
                visit(piece[i], edges.edges[side]);
            }
        }
        const KivVec origin = points[triangles[first][0]];
        double volume = 0.0;
        for (const std::uint32_t t : piece) {
            volume += volumeOf(points, triangles[t], origin);
        }
        if (closed && volume < 0.0) {
            for (const std::uint32_t t : piece) {
                turn(t);
            }
        }
    }

    void visit(std::uint32_t from, const KivShapeEdge& edge) {
        if (edge.second == KivShapeEdge::none || edge.junction) {
            closed = false;
            return;
        }
        const std::uint32_t other = edge.first == from ? edge.second : edge.first;
        const bool sameWay = runsAlong(triangles[from], edge) == runsAlong(triangles[other], edge);
        if (seen[other] != 0) {
            twoSided = twoSided && !sameWay;
            return;
        }
        if (sameWay) {
            turn(other);
        }
        seen[other] = 1;
        piece.push_back(other);
    }

    // (a, b, c) becomes (a, c, b), whose sides are those of before in reverse.
    void turn(std::uint32_t t) {
        std::swap(triangles[t][1], triangles[t][2]);
        std::swap(edges.sides[t][0], edges.sides[t][2]);
    }

    const std::vector<KivVec>& points;
    std::vector<Triangle>& triangles;
    KivShapeEdges& edges;
    std::vector<std::uint8_t> seen;
    std::vector<std::uint32_t> piece;
    bool closed = true;
    bool twoSided = true;
};

} // namespace

KivShapeEdges kivShapeEdges(std::size_t numPoints, const std::vector<Triangle>& triangles) {
    KivShapeEdges result;
    result.sides.resize(triangles.size());
    // The sides by their lower point, then by their higher one: two counting sorts.
    struct Side {
        std::uint32_t low;
        std::uint32_t high;
        std::uint32_t place; // 3 * triangle + side
    };
    const auto sorted = [numPoints](const std::vector<Side>& sides, std::uint32_t Side::*key) {
        std::vector<std::uint32_t> start(numPoints + 1, 0);
        for (const Side& side : sides) {
            ++start[side.*key + 1];
        }
        std::partial_sum(start.begin(), start.end(), start.begin());
        std::vector<Side> out(sides.size());
        for (const Side& side : sides) {
            out[start[side.*key]++] = side;
        }
        return out;
    };
    std::vector<Side> sides;
    sides.reserve(triangles.size() * 3);
    for (std::uint32_t t = 0; t < triangles.size(); ++t) {
        for (std::uint32_t k = 0; k < 3; ++k) {
            const auto [low, high] = std::minmax(triangles[t][k], triangles[t][(k + 1) % 3]);
            sides.push_back({low, high, 3 * t + k});
        }
    }
    sides = sorted(sorted(sides, &Side::high), &Side::low);
    result.edges.reserve(sides.size() / 2 + 1);
    for (std::size_t i = 0; i < sides.size(); ++i) {
        const Side& side = sides[i];
        if (i == 0 || side.low != sides[i - 1].low || side.high != sides[i - 1].high) {
            KivShapeEdge& edge = result.edges.emplace_back();
            edge.a = side.low;
            edge.b = side.high;
        }
        addTriangle(result.edges.back(), side.place / 3);
        result.sides[side.place / 3][side.place % 3] = static_cast<std::uint32_t>(result.edges.size() - 1);
    }
    return result;
}

bool kivOrientShape(const std::vector<KivVec>& points, std::vector<Triangle>& triangles, KivShapeEdges& edges) {
    return Orienter(points, triangles, edges).orient();
}
