#include "import/flatbodies.h"

#include "kivrender/geometry/kivflatfaces.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numeric>

namespace kivimport {
namespace {

// In units of WorkWatch, for each triangle.
constexpr std::size_t costOfTriangle = 60;
constexpr std::size_t costOfDirection = 3;
constexpr std::size_t mostTriangles = 500000; // of a body: more are a scan, and take long
constexpr std::size_t fewTriangles = 5000;    // which are looked at in any case

// How much area faces where, in cells of two degrees or so.
class Directions {
public:
    void add(const Vec3& across) {
        const double sum = std::fabs(across.x) + std::fabs(across.y) + std::fabs(across.z);
        if (!(sum > 0.0)) {
            return;
        }
        // The octahedron unfolded to a square (Meyer and others, On Floating-Point Normal Vectors, 2010).
        double u = across.x / sum;
        double v = across.y / sum;
        if (across.z < 0.0) {
            const double folded = (1.0 - std::fabs(v)) * (u < 0.0 ? -1.0 : 1.0);
            v = (1.0 - std::fabs(u)) * (v < 0.0 ? -1.0 : 1.0);
            u = folded;
        }
        const double area = length(across);
        cells[placeOf(u) * side + placeOf(v)] += area;
        all += area;
    }

    // Whether a few directions have a good part of the area.
    bool areFew() const {
        double large = 0.0;
        for (const double cell : cells) {
            large += cell > largeCell * all ? cell : 0.0;
        }
        return large > largeShare * all;
    }

private:
    static constexpr std::size_t side = 96;
    static constexpr double largeCell = 0.004; // a round body has a thousandth in the largest
    static constexpr double largeShare = 0.05;

    // Axes lie in the middle of a cell, as planes of machine parts do.
    static std::size_t placeOf(double u) {
        return std::min(static_cast<std::size_t>(std::lround((u + 1.0) * 0.5 * (side - 1))), side - 1);
    }

    std::array<double, side * side> cells{};
    double all = 0.0;
};

class Bodies {
public:
    Bodies(const Points& p, const Indices& c, WorkWatch& workWatch) : positions(p), corners(c), watch(workWatch) {}

    // Which spares most scans the rest of the work.
    bool mayBeFlat() const {
        Directions directions;
        for (std::size_t i = 0; i < corners.size(); i += 3) {
            watch.add(costOfDirection);
            const Vec3& a = positions[corners[i]];
            directions.add(cross(positions[corners[i + 1]] - a, positions[corners[i + 2]] - a));
        }
        return corners.size() < 3 * fewTriangles || directions.areFew();
    }

    std::vector<std::uint8_t> flatOnes(const std::vector<std::uint8_t>& asked) {
        findBodies();
        std::vector<std::uint8_t> isAsked(positions.size(), 0); // of the positions that stand for their bodies
        for (std::uint32_t p = 0; p < positions.size(); ++p) {
            isAsked[find(p)] |= asked[p];
        }
        std::vector<std::uint32_t> order;
        for (std::uint32_t t = 0; t < corners.size() / 3; ++t) {
            if (isAsked[bodyOf(t)] != 0) {
                order.push_back(t);
            }
        }
        std::stable_sort(order.begin(), order.end(),
                         [this](std::uint32_t a, std::uint32_t b) { return bodyOf(a) < bodyOf(b); });
        std::vector<std::uint8_t> flat(corners.size() / 3, 0);
        bool any = false;
        std::vector<std::uint32_t> place(positions.size(), noIndex);
        for (std::size_t first = 0; first < order.size();) {
            std::size_t end = first;
            while (end < order.size() && bodyOf(order[end]) == bodyOf(order[first])) {
                ++end;
            }
            if (end - first <= mostTriangles && hasFlatFaces(&order[first], end - first, place)) {
                any = true;
                std::for_each(order.begin() + static_cast<std::ptrdiff_t>(first),
                              order.begin() + static_cast<std::ptrdiff_t>(end),
                              [&flat](std::uint32_t t) { flat[t] = 1; });
            }
            first = end;
        }
        return any ? flat : std::vector<std::uint8_t>();
    }

private:
    void findBodies() {
        parent.resize(positions.size());
        std::iota(parent.begin(), parent.end(), 0U);
        for (std::size_t i = 0; i < corners.size(); i += 3) {
            watch.add(costOfDirection);
            join(corners[i], corners[i + 1]);
            join(corners[i], corners[i + 2]);
        }
    }

    std::uint32_t find(std::uint32_t p) {
        while (parent[p] != p) {
            parent[p] = parent[parent[p]];
            p = parent[p];
        }
        return p;
    }
    void join(std::uint32_t a, std::uint32_t b) {
        a = find(a);
        b = find(b);
        parent[std::max(a, b)] = std::min(a, b);
    }
    std::uint32_t bodyOf(std::uint32_t triangle) {
        return find(corners[std::size_t{3} * triangle]);
    }

    // place: of each position in the body at hand; each body has positions of its own.
    bool hasFlatFaces(const std::uint32_t* triangles, std::size_t count, std::vector<std::uint32_t>& place) {
        KivLoopSurface body;
        for (std::size_t i = 0; i < count; ++i) {
            watch.add(costOfTriangle);
            KivSurface::Triangle triangle{};
            for (std::size_t k = 0; k < 3; ++k) {
                const std::uint32_t p = corners[std::size_t{3} * triangles[i] + k];
                if (place[p] == noIndex) {
                    place[p] = static_cast<std::uint32_t>(body.points.size());
                    body.points.push_back({positions[p].x, positions[p].y, positions[p].z});
                }
                triangle[k] = place[p];
            }
            body.triangles.push_back(triangle);
        }
        body.adjacency = kivShapeEdges(body.points.size(), body.triangles);
        return kivIsFlatOrPolyhedron(body);
    }

    const Points& positions;
    const Indices& corners;
    WorkWatch& watch;
    std::vector<std::uint32_t> parent;
};

} // namespace

std::vector<std::uint8_t> trianglesOfFlatBodies(const Points& positions, const Indices& corners,
                                                const std::vector<std::uint8_t>& asked, WorkWatch& watch) {
    Bodies bodies(positions, corners, watch);
    return bodies.mayBeFlat() ? bodies.flatOnes(asked) : std::vector<std::uint8_t>();
}

} // namespace kivimport
