#include "import/winding.h"

#include "kivrender/geometry/disjointsets.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace kivimport {
namespace {

// Of a corner, in units of WorkWatch.
constexpr std::size_t costOfCorner = 6;

// One side of a triangle, its lower position first.
struct Side {
    std::uint32_t low = 0;
    std::uint32_t high = 0;
    std::uint32_t corner = 0; // at which it begins
    bool forward = false;     // runs from low to high

    friend bool operator<(const Side& a, const Side& b) {
        return a.low != b.low ? a.low < b.low : a.high != b.high ? a.high < b.high : a.corner < b.corner;
    }
    bool sameEdge(const Side& other) const {
        return low == other.low && high == other.high;
    }
};

// Where the side that begins at a corner ends.
std::uint32_t endOf(const Surface& surface, std::size_t corner) {
    return surface.corners[corner % 3 == 2 ? corner - 2 : corner + 1];
}

// In ascending order. Few sides have their lower position in common, so that laying them out by it leaves little to
// sort.
std::vector<Side> sidesOf(const Surface& surface) {
    std::vector<std::uint32_t> ends(surface.positions.size() + 1, 0); // first where the sides of a position begin
    for (std::uint32_t c = 0; c < surface.corners.size(); ++c) {
        ++ends[std::min(surface.corners[c], endOf(surface, c)) + 1];
    }
    std::partial_sum(ends.begin(), ends.end(), ends.begin());
    std::vector<Side> sides(surface.corners.size());
    for (std::uint32_t c = 0; c < sides.size(); ++c) {
        const std::uint32_t a = surface.corners[c];
        const std::uint32_t b = endOf(surface, c);
        sides[ends[std::min(a, b)]++] = {std::min(a, b), std::max(a, b), c, a < b};
    }
    std::size_t begin = 0;
    for (std::size_t p = 0; p < surface.positions.size(); ++p) {
        const std::size_t end = ends[p];
        std::sort(sides.begin() + static_cast<std::ptrdiff_t>(begin), sides.begin() + static_cast<std::ptrdiff_t>(end));
        begin = end;
    }
    return sides;
}

// Six times the volume between a triangle and a point: summed over a closed body they tell its own and, by the sign,
// which way it is wound (Zhang and Chen, Efficient Feature Extraction for 2D/3D Objects in Mesh Representation, 2001).
double volume(const Surface& surface, std::size_t triangle, const Vec3& from) {
    const std::uint32_t* corner = &surface.corners[triangle * 3];
    return dot(surface.positions[corner[0]] - from,
               cross(surface.positions[corner[1]] - from, surface.positions[corner[2]] - from));
}

bool hasPieceOfNegativeVolume(const Surface& surface, WorkWatch& watch) {
    DisjointSets pieces(surface.positions.size()); // positions that hang together by triangles
    for (std::size_t c = 0; c < surface.corners.size(); c += 3) {
        watch.add(3 * costOfCorner);
        pieces.join(pieces.join(surface.corners[c], surface.corners[c + 1]), surface.corners[c + 2]);
    }
    std::vector<double> sums(surface.positions.size(), 0.0);
    for (std::size_t t = 0; t < surface.corners.size() / 3; ++t) {
        watch.add(costOfCorner);
        const std::uint32_t root = pieces.find(surface.corners[t * 3]);
        sums[root] += volume(surface, t, surface.positions[root]);
    }
    return std::any_of(sums.begin(), sums.end(), [](double sum) { return sum < 0.0; });
}

// Where the triangles around a position close up and agree, each edge is left along once and come along once; a sum
// over all then vanishes if the one counts positive, the other negative. Numbers that are unlike each other stand for
// the edges.
std::vector<std::uint64_t> sumsAround(const Surface& surface, WorkWatch& watch) {
    const auto mark = [](std::uint64_t v) { return (v + 1) * 0x9E3779B97F4A7C15U ^ v << 32; };
    std::vector<std::uint64_t> sums(surface.positions.size(), 0);
    for (std::size_t c = 0; c < surface.corners.size(); ++c) {
        watch.add(costOfCorner);
        const std::uint32_t from = surface.corners[c];
        const std::uint32_t to = endOf(surface, c);
        sums[from] += mark(to);
        sums[to] -= mark(from);
    }
    return sums;
}

// Whether any edge is run along twice in the same direction. Only ends of edges at rims and at faults are looked at.
bool hasEdgeRunTwice(const Surface& surface, WorkWatch& watch) {
    const std::vector<std::uint64_t> sums = sumsAround(surface, watch);
    std::vector<std::pair<std::uint32_t, std::uint32_t>> runs;
    for (std::size_t c = 0; c < surface.corners.size(); ++c) {
        if (sums[surface.corners[c]] != 0) {
            runs.emplace_back(surface.corners[c], endOf(surface, c));
        }
    }
    std::sort(runs.begin(), runs.end());
    return std::adjacent_find(runs.begin(), runs.end()) != runs.end();
}

class Orienter {
public:
    Orienter(Surface& target, WorkWatch& workWatch)
        : surface(target), watch(workWatch), neighbours(target.corners.size(), noIndex),
          turned(target.corners.size() / 3, 0), piece(target.corners.size() / 3, noIndex) {
        linkNeighbours();
    }

    std::uint64_t orient() {
        std::uint64_t count = 0;
        for (std::uint32_t t = 0; t < piece.size(); ++t) {
            if (piece[t] == noIndex) {
                count += orientPiece(t);
            }
        }
        return count;
    }

private:
    // Only an edge of exactly two triangles links them: where three meet there is no telling.
    void linkNeighbours() {
        const std::vector<Side> sides = sidesOf(surface);
        for (std::size_t i = 0; i < sides.size();) {
            std::size_t end = i + 1;
            while (end < sides.size() && sides[i].sameEdge(sides[end])) {
                ++end;
            }
            watch.add((end - i) * costOfCorner);
            if (end - i == 2) {
                neighbours[sides[i].corner] = sides[i + 1].corner;
                neighbours[sides[i + 1].corner] = sides[i].corner;
            }
            i = end;
        }
    }

    bool runsForward(std::uint32_t corner) const {
        return surface.corners[corner] < endOf(surface, corner);
    }

    // Spreads the winding of one triangle over all that hang together with it, then decides for the whole.
    std::uint64_t orientPiece(std::uint32_t first) {
        members.assign(1, first);
        piece[first] = first;
        bool closed = true;
        std::uint64_t numTurned = 0;
        double sum = 0.0;
        const Vec3 from = surface.positions[surface.corners[first * 3]];
        for (std::size_t i = 0; i < members.size(); ++i) {
            watch.add(3 * costOfCorner);
            const std::uint32_t t = members[i];
            numTurned += turned[t];
            sum += volume(surface, t, from) * (turned[t] != 0 ? -1.0 : 1.0);
            for (std::uint32_t c = t * 3; c < t * 3 + 3; ++c) {
                if (neighbours[c] == noIndex) {
                    closed = false;
                    continue;
                }
                const std::uint32_t other = neighbours[c] / 3;
                if (piece[other] == noIndex) {
                    piece[other] = first;
                    const bool clash = runsForward(c) == runsForward(neighbours[c]);
                    turned[other] = static_cast<std::uint8_t>((turned[t] != 0) != clash ? 1 : 0);
                    members.push_back(other);
                }
            }
        }
        const bool turnAll = closed ? sum < 0.0 : numTurned * 2 > members.size();
        std::uint64_t count = 0;
        for (const std::uint32_t t : members) {
            if ((turned[t] != 0) != turnAll) {
                std::swap(surface.corners[t * 3 + 1], surface.corners[t * 3 + 2]);
                ++count;
            }
        }
        return count;
    }

    Surface& surface;
    WorkWatch& watch;
    std::vector<std::uint32_t> neighbours; // across the side that begins at a corner: the other's corner
    std::vector<std::uint8_t> turned;
    std::vector<std::uint32_t> piece;
    std::vector<std::uint32_t> members;
};

} // namespace

std::uint64_t orientSurface(Surface& surface, WorkWatch watch) {
    if (surface.corners.empty() || !surface.cornerNormals.empty()) {
        return 0;
    }
    if (!hasPieceOfNegativeVolume(surface, watch) && !hasEdgeRunTwice(surface, watch)) {
        return 0;
    }
    return Orienter(surface, watch).orient();
}

} // namespace kivimport
