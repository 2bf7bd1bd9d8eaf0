#include "kivsmoothnormals.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>

namespace {

using Triangle = KivSurface::Triangle;
constexpr std::uint32_t none = 0xffffffffU;
constexpr std::uint32_t largestFan = 1024;

// The corners at each point: corner 3 * triangle + k, in ascending order.
struct CornerTable {
    std::vector<std::uint32_t> start; // one more than there are points
    std::vector<std::uint32_t> corners;
};

CornerTable cornersOf(const KivSurface& surface) {
    CornerTable table;
    table.start.assign(surface.points.size() + 1, 0);
    for (const Triangle& t : surface.triangles) {
        for (const std::uint32_t p : t) {
            ++table.start[p + 1];
        }
    }
    for (std::size_t i = 1; i < table.start.size(); ++i) {
        table.start[i] += table.start[i - 1];
    }
    table.corners.resize(surface.triangles.size() * 3);
    std::vector<std::uint32_t> next(table.start.begin(), table.start.end() - 1);
    for (std::uint32_t t = 0; t < surface.triangles.size(); ++t) {
        for (std::uint32_t k = 0; k < 3; ++k) {
            table.corners[next[surface.triangles[t][k]]++] = 3 * t + k;
        }
    }
    return table;
}

// Which triangle lies across each side (side k runs from corner k to the next): none at borders and where three or more
// triangles meet. sameWay tells that it runs along the side in the same direction, so that one of the two is turned.
struct Neighbours {
    std::vector<std::uint32_t> across;
    std::vector<bool> sameWay;
};

Neighbours neighboursOf(const KivSurface& surface, const CornerTable& table) {
    Neighbours result;
    const std::size_t sides = surface.triangles.size() * 3;
    result.across.assign(sides, none);
    result.sameWay.assign(sides, false);
    for (std::uint32_t t = 0; t < surface.triangles.size(); ++t) {
        for (std::uint32_t k = 0; k < 3; ++k) {
            const std::uint32_t from = surface.triangles[t][k];
            const std::uint32_t to = surface.triangles[t][(k + 1) % 3];
            std::uint32_t found = none;
            bool sameWay = false;
            int count = 0;
            for (std::uint32_t i = table.start[from]; i < table.start[from + 1]; ++i) {
                const std::uint32_t other = table.corners[i] / 3;
                const std::uint32_t corner = table.corners[i] % 3;
                const Triangle& o = surface.triangles[other];
                if (other == t) {
                    continue;
                }
                if (o[(corner + 1) % 3] == to || o[(corner + 2) % 3] == to) {
                    found = other;
                    sameWay = o[(corner + 1) % 3] == to;
                    ++count;
                }
            }
            if (count == 1) {
                result.across[3 * t + k] = found;
                result.sameWay[3 * t + k] = sameWay;
            }
        }
    }
    return result;
}

// Six times the volume between the triangle and the origin; the sum over a closed surface is positive when it is wound
// outwards.
double volumeOf(const KivSurface& surface, std::uint32_t t, const KivVec& origin) {
    const Triangle& c = surface.triangles[t];
    return kivDot(surface.points[c[0]] - origin,
                  kivCross(surface.points[c[1]] - origin, surface.points[c[2]] - origin));
}

// For each triangle whether its winding is to be turned.
std::vector<bool> orientation(const KivSurface& surface, const Neighbours& neighbours) {
    const std::size_t count = surface.triangles.size();
    std::vector<bool> turned(count, false);
    std::vector<bool> seen(count, false);
    std::vector<std::uint32_t> piece;
    for (std::uint32_t first = 0; first < count; ++first) {
        if (seen[first]) {
            continue;
        }
        piece.assign(1, first);
        seen[first] = true;
        bool closed = true;
        for (std::size_t i = 0; i < piece.size(); ++i) {
            const std::uint32_t t = piece[i];
            for (std::uint32_t side = 3 * t; side < 3 * t + 3; ++side) {
                const std::uint32_t other = neighbours.across[side];
                closed = closed && other != none;
                if (other != none && !seen[other]) {
                    seen[other] = true;
                    turned[other] = turned[t] != neighbours.sameWay[side];
                    piece.push_back(other);
                }
            }
        }
        const KivVec origin = surface.points[surface.triangles[first][0]];
        double volume = 0.0;
        for (const std::uint32_t t : piece) {
            volume += volumeOf(surface, t, origin) * (turned[t] ? -1.0 : 1.0);
        }
        if (closed && volume < 0.0) {
            for (const std::uint32_t t : piece) {
                turned[t] = !turned[t];
            }
        }
    }
    return turned;
}

double angleAt(const KivVec& corner, const KivVec& a, const KivVec& b) {
    return std::acos(std::clamp(kivDot(kivUnit(a - corner), kivUnit(b - corner)), -1.0, 1.0));
}

} // namespace

KivSmoothMesh kivSmoothNormals(const KivSurface& surface, double creaseAngle) {
    const CornerTable table = cornersOf(surface);
    const std::vector<bool> turned = orientation(surface, neighboursOf(surface, table));
    const std::size_t count = surface.triangles.size();
    KivSmoothMesh mesh;
    mesh.triangles.resize(count);
    // Step 1: the face normals, of unit length, and the angle at each corner.
    std::vector<KivVec> faces(count);
    std::vector<double> angles(count * 3);
    for (std::size_t t = 0; t < count; ++t) {
        const Triangle& c = surface.triangles[t];
        const KivVec& a = surface.points[c[0]];
        const KivVec normal = kivUnit(kivCross(surface.points[c[1]] - a, surface.points[c[2]] - a));
        faces[t] = turned[t] ? -normal : normal;
        for (std::size_t k = 0; k < 3; ++k) {
            angles[3 * t + k] =
                angleAt(surface.points[c[k]], surface.points[c[(k + 1) % 3]], surface.points[c[(k + 2) % 3]]);
        }
    }
    // Step 2: the normal of every corner; corners of one point with equal normals share a vertex.
    const double limit = std::cos(creaseAngle * std::numbers::pi / 180.0);
    std::vector<std::uint32_t> vertexOf(count * 3, none);
    mesh.points.reserve(surface.points.size());
    mesh.normals.reserve(surface.points.size());
    for (std::size_t p = 0; p < surface.points.size(); ++p) {
        const std::uint32_t firstVertex = static_cast<std::uint32_t>(mesh.points.size());
        for (std::uint32_t i = table.start[p]; i < table.start[p + 1]; ++i) {
            const KivVec& own = faces[table.corners[i] / 3];
            KivVec sum;
            // The hub of a great fan would cost the square of its size; there every corner keeps its own normal.
            const bool hub = table.start[p + 1] - table.start[p] > largestFan;
            for (std::uint32_t j = hub ? i : table.start[p]; j < (hub ? i + 1 : table.start[p + 1]); ++j) {
                const KivVec& face = faces[table.corners[j] / 3];
                if (kivDot(own, face) >= limit) {
                    sum = sum + face * angles[table.corners[j]];
                }
            }
            KivVec normal = kivUnit(sum);
            if (kivDot(normal, normal) == 0.0) {
                normal = own;
            }
            std::uint32_t vertex = firstVertex;
            while (vertex < mesh.points.size() && kivDot(mesh.normals[vertex], normal) < 1.0 - 1e-12) {
                ++vertex;
            }
            if (vertex == mesh.points.size()) {
                mesh.points.push_back(surface.points[p]);
                mesh.normals.push_back(normal);
            }
            vertexOf[table.corners[i]] = vertex;
        }
    }
    for (std::size_t t = 0; t < count; ++t) {
        mesh.triangles[t] = {vertexOf[3 * t], vertexOf[3 * t + 1], vertexOf[3 * t + 2]};
        if (turned[t]) {
            std::swap(mesh.triangles[t][1], mesh.triangles[t][2]);
        }
    }
    return mesh;
}

namespace {

// For each vertex the number of the group that it forms with those at its position that share its normal.
std::vector<std::uint32_t> smoothGroups(const std::vector<KivVec>& points, const std::vector<KivVec>& normals,
                                        std::uint32_t* count) {
    constexpr double same = 0.999;
    std::uint32_t places = 0;
    const std::vector<std::uint32_t> place = kivWeldPoints(points, &places);
    std::vector<std::uint32_t> first(places, none); // the first group of each place
    std::vector<std::uint32_t> next;                // the next group of the same place
    std::vector<std::uint32_t> sample;              // a vertex of each group
    std::vector<std::uint32_t> result(points.size());
    for (std::uint32_t v = 0; v < points.size(); ++v) {
        std::uint32_t group = first[place[v]];
        // The hub of a great fan of faces would take the square of their number; its corners then stay apart.
        std::uint32_t tries = 0;
        while (group != none && tries < largestFan && kivDot(normals[sample[group]], normals[v]) < same) {
            group = next[group];
            ++tries;
        }
        if (group == none || tries == largestFan) {
            group = static_cast<std::uint32_t>(sample.size());
            sample.push_back(v);
            next.push_back(first[place[v]]);
            first[place[v]] = group;
        }
        result[v] = group;
    }
    *count = static_cast<std::uint32_t>(sample.size());
    return result;
}

// A direction and a nought: what a processor adds up at once. Means of normals need no more digits than a float has.
using Floats4 = float __attribute__((vector_size(16)));

} // namespace

void kivEvenNormals(const std::vector<KivVec>& points, const std::vector<Triangle>& triangles,
                    std::vector<KivVec>& normals, int passes) {
    if (passes <= 0) {
        return;
    }
    std::uint32_t count = 0;
    const std::vector<std::uint32_t> groups = smoothGroups(points, normals, &count);
    std::vector<Floats4> even(count);
    for (std::size_t v = 0; v < points.size(); ++v) {
        const KivVec& n = normals[v];
        even[groups[v]] = Floats4{static_cast<float>(n.x), static_cast<float>(n.y), static_cast<float>(n.z), 0.0F};
    }
    std::vector<Floats4> sums(count);
    for (int pass = 0; pass < passes; ++pass) {
        sums = even;
        for (const Triangle& t : triangles) {
            const std::uint32_t a = groups[t[0]];
            const std::uint32_t b = groups[t[1]];
            const std::uint32_t c = groups[t[2]];
            const Floats4 sum = even[a] + even[b] + even[c];
            sums[a] += sum;
            sums[b] += sum;
            sums[c] += sum;
        }
        for (std::uint32_t g = 0; g < count; ++g) {
            const Floats4 squares = sums[g] * sums[g];
            const float length = std::sqrt(squares[0] + squares[1] + squares[2]);
            if (length > 0.0F) {
                even[g] = sums[g] * (1.0F / length);
            }
        }
    }
    for (std::size_t v = 0; v < points.size(); ++v) {
        const Floats4& n = even[groups[v]];
        normals[v] = kivUnit({n[0], n[1], n[2]});
    }
}
