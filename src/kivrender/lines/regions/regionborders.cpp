#include "kivrender/lines/regions/regionborders.h"

#include "kivrender/lines/curveorder.h"
#include "kivrender/lines/regions/regioncrossings.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>
#include <tuple>

namespace {

// How many steps a part goes on where it begins to be hidden.
constexpr double overshoot = 3.0;

// An edge as one of its faces has it, the smaller end first.
struct FaceEdge {
    GridPoint a;
    GridPoint b;
    double depthA;
    double depthB;
    std::uint32_t face;
    bool isOnLeft; // the face, of the way from a to b
};

auto keyOf(const FaceEdge& edge) {
    return std::tie(edge.a.x, edge.a.y, edge.b.x, edge.b.y, edge.depthA, edge.depthB);
}

std::size_t hashOf(const FaceEdge& edge) {
    std::uint64_t hash = 0xCBF29CE484222325U;
    for (const std::int32_t value : {edge.a.x, edge.a.y, edge.b.x, edge.b.y}) {
        hash = (hash ^ static_cast<std::uint32_t>(value)) * 0x9E3779B97F4A7C15U;
        hash ^= hash >> 29U;
    }
    return hash;
}

// Equal edges lie in one block of a few hundred: what is alike is found there.
class EdgeBlocks {
public:
    bool fill(const RegionFaces& faces) {
        const std::size_t blocks = faces.faces().size() / 128 + 1;
        first.assign(blocks + 1, 0);
        return forEach(faces, [&](const FaceEdge& edge) { ++first[hashOf(edge) % blocks + 1]; }) &&
               place(faces, blocks);
    }
    std::size_t size() const {
        return first.size() - 1;
    }
    std::span<FaceEdge> block(std::size_t i) {
        return {edges.data() + first[i], first[i + 1] - first[i]};
    }

private:
    bool place(const RegionFaces& faces, std::size_t blocks) {
        for (std::size_t i = 0; i < blocks; ++i) {
            first[i + 1] += first[i];
        }
        edges.resize(first[blocks]);
        std::vector<std::size_t> next(first.begin(), first.end() - 1);
        return forEach(faces, [&](const FaceEdge& edge) { edges[next[hashOf(edge) % blocks]++] = edge; });
    }
    template <class Take> static bool forEach(const RegionFaces& faces, Take take) {
        for (std::uint32_t f = 0; f < faces.faces().size(); ++f) {
            if (kivIsCancelledAt(f)) {
                return false;
            }
            for (int i = 0; i < 3; ++i) {
                const RegionCorner& from = faces.corners()[faces.faces()[f].corners[i]];
                const RegionCorner& to = faces.corners()[faces.faces()[f].corners[i == 2 ? 0 : i + 1]];
                take(from.place < to.place ? FaceEdge{from.place, to.place, from.depth, to.depth, f, true}
                                           : FaceEdge{to.place, from.place, to.depth, from.depth, f, false});
            }
        }
        return true;
    }

    std::vector<std::size_t> first;
    std::vector<FaceEdge> edges;
};

RegionLine lineOf(const RegionFaces& faces, std::span<const FaceEdge> alike) {
    const FaceEdge& one = alike.front();
    RegionLine line = {{one.a, one.depthA}, {one.b, one.depthB}, 0.0, 0, {}};
    for (const FaceEdge& edge : alike) {
        for (const std::uint32_t corner : faces.faces()[edge.face].corners) {
            const RegionCorner& c = faces.corners()[corner];
            if (!(c.place == one.a) && !(c.place == one.b)) {
                line.beside.push_back(c);
            }
        }
        line.noise = std::max(line.noise, faces.noiseOf(edge.face));
        line.order = std::max(line.order, edge.face);
    }
    return line;
}

// Whether the faces at an edge leave it open on a side, differ in their looks, or are not alike in what they lie over
// in their own plane.
bool mayPartLooks(const RegionFaces& faces, const std::vector<bool>& ties, std::span<const FaceEdge> alike) {
    bool hasLeft = false;
    bool hasRight = false;
    for (const FaceEdge& edge : alike) {
        (edge.isOnLeft ? hasLeft : hasRight) = true;
        if (ties[edge.face] || faces.faces()[edge.face].look != faces.faces()[alike.front().face].look) {
            return true;
        }
    }
    return !hasLeft || !hasRight;
}

class BorderFinder {
public:
    BorderFinder(const RegionFaces& all, std::vector<GridSegment>& into) : faces(all), borders(into) {}

    bool addEdges() {
        EdgeBlocks blocks;
        if (!findRegionCrossings(faces, crossings) || !blocks.fill(faces)) {
            return false;
        }
        for (std::size_t i = 0; i < blocks.size(); ++i) {
            const std::span<FaceEdge> edges = blocks.block(i);
            if (kivIsCancelledAt(i * 256) || !addEdges(edges)) {
                return false;
            }
        }
        return true;
    }

    bool addCrossings() {
        return addLines(crossings.lines);
    }

    bool addLines(const std::vector<RegionLine>& lines) {
        for (const RegionLine& line : lines) {
            if (!faces.work().spend(1)) {
                return false;
            }
            addVisible(line);
        }
        return true;
    }

private:
    bool addEdges(std::span<FaceEdge> edges) {
        // Of a million equal faces there is one block with all of them.
        std::sort(edges.begin(), edges.end(), [](const FaceEdge& p, const FaceEdge& q) {
            return std::tuple(keyOf(p), p.face) < std::tuple(keyOf(q), q.face);
        });
        for (std::size_t from = 0; from < edges.size();) {
            std::size_t end = from + 1;
            while (end < edges.size() && keyOf(edges[end]) == keyOf(edges[from])) {
                ++end;
            }
            const std::span<const FaceEdge> alike = edges.subspan(from, end - from);
            if (mayPartLooks(faces, crossings.ties, alike)) {
                if (!faces.work().spend(1)) {
                    return false;
                }
                addVisible(lineOf(faces, alike));
            }
            from = end;
        }
        return true;
    }

    void addVisible(const RegionLine& line) {
        if (line.a.place == line.b.place) {
            return;
        }
        faces.visibleParts(line, parts);
        const double x = static_cast<double>(line.b.place.x) - line.a.place.x;
        const double y = static_cast<double>(line.b.place.y) - line.a.place.y;
        const double beyond = overshoot / std::hypot(x, y);
        for (const KivLinePart& part : parts) {
            const auto at = [&](double t) {
                return GridPoint{line.a.place.x + static_cast<std::int32_t>(std::lround(t * x)),
                                 line.a.place.y + static_cast<std::int32_t>(std::lround(t * y))};
            };
            const GridPoint from = part.from > beyond ? at(part.from - beyond) : line.a.place;
            const GridPoint to = part.to < 1.0 - beyond ? at(part.to + beyond) : line.b.place;
            if (!(from == to)) {
                borders.push_back(from < to ? GridSegment{from, to} : GridSegment{to, from});
            }
        }
    }

    const RegionFaces& faces;
    std::vector<GridSegment>& borders;
    RegionCrossings crossings;
    std::vector<KivLinePart> parts;
};

} // namespace

bool findRegionBorders(const RegionFaces& faces, const std::vector<RegionLine>& further,
                       std::vector<GridSegment>& borders) {
    BorderFinder finder(faces, borders);
    return finder.addEdges() && finder.addCrossings() && finder.addLines(further);
}
