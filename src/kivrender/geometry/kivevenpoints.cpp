#include "kivrender/geometry/kivevenpoints.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <utility>
#include <vector>

namespace {

// A step towards the mean of the neighbours and one as long away from it: of waves of five sides half is left, of
// longer ones nearly all, and nothing swells.
constexpr double leastWeight = -0.5; // of needles
constexpr double mostWeight = 3.0;
constexpr double shrinking = 0.63;
constexpr double swelling = -0.63;
constexpr int rounds = 12;
// How far the filter turns normals against how far they turn from point to point: 0.12 on what designers made at most,
// 0.18 and more where triangles are cut without plan, 0.36 on scans.
constexpr double leastNoise = 0.15;
constexpr double noiseReach = 7.0; // pixels: the bends of much larger triangles are shape
constexpr double mostSharp = 0.1;  // of the edges: bodies with more are built, not scanned
constexpr int mostPasses = 24;     // of means of normals

// Of a move that must stay below a length: nearly all of a small one, and less the longer it is.
double partWithin(double length, double most) {
    const double ratio = length / most;
    return 1.0 / std::sqrt(std::sqrt(1.0 + ratio * ratio * ratio * ratio));
}

// The neighbours that count for a point: across all edges, or across the two sharp ones of a point on a sharp line.
class Evener {
public:
    explicit Evener(const KivLoopSurface& s) : surface(s), moved(s.points), sums(s.points.size()) {
        std::vector<std::uint32_t> sharpEdges(s.points.size(), 0);
        for (std::size_t e = 0; e < s.sharp.size(); ++e) {
            sharpEdges[s.adjacency.edges[e].a] += s.sharp[e];
            sharpEdges[s.adjacency.edges[e].b] += s.sharp[e];
        }
        kinds.resize(s.points.size());
        for (std::size_t p = 0; p < kinds.size(); ++p) {
            kinds[p] = sharpEdges[p] == 0                       ? Kind::smooth
                       : sharpEdges[p] == 2 && s.pinned[p] == 0 ? Kind::line
                                                                : Kind::fixed;
        }
        findCounts();
    }

    const std::vector<KivVec>& even() {
        for (int i = 0; i < rounds; ++i) {
            step(shrinking);
            step(swelling);
        }
        return moved;
    }

    bool isLine(std::size_t p) const {
        return kinds[p] == Kind::line;
    }

private:
    enum class Kind : std::uint8_t { smooth, line, fixed };

    template <class Visit> void forNeighbours(Visit visit) const {
        for (std::size_t e = 0; e < surface.sharp.size(); ++e) {
            const KivShapeEdge& edge = surface.adjacency.edges[e];
            if (kinds[edge.a] == Kind::smooth || surface.sharp[e] != 0) {
                visit(edge.a, edge.b, weights[e]);
            }
            if (kinds[edge.b] == Kind::smooth || surface.sharp[e] != 0) {
                visit(edge.b, edge.a, weights[e]);
            }
        }
    }

    // By the angles across each edge, so that points stay on a smooth surface however its triangles lie (Mathieu
    // Desbrun and others, Implicit Fairing of Irregular Meshes, 1999).
    void findWeights() {
        weights.assign(surface.sharp.size(), 0.0);
        for (std::size_t t = 0; t < surface.triangles.size(); ++t) {
            const KivSurface::Triangle& c = surface.triangles[t];
            for (std::size_t k = 0; k < 3; ++k) {
                const KivVec& own = surface.points[c[(k + 2) % 3]];
                const KivVec a = surface.points[c[k]] - own;
                const KivVec b = surface.points[c[(k + 1) % 3]] - own;
                const double across = kivLength(kivCross(a, b));
                const double cotangent = across > 0.0 ? kivDot(a, b) / across : 0.0;
                weights[surface.adjacency.sides[t][k]] += std::clamp(cotangent, leastWeight, mostWeight);
            }
        }
        for (std::size_t e = 0; e < weights.size(); ++e) {
            weights[e] = surface.sharp[e] != 0 ? 1.0 : std::max(weights[e], 0.02);
        }
    }

    void findCounts() {
        counts.assign(kinds.size(), 0.0);
        findWeights();
        forNeighbours([this](std::uint32_t at, std::uint32_t, double weight) { counts[at] += weight; });
        for (std::size_t p = 0; p < counts.size(); ++p) {
            counts[p] = kinds[p] == Kind::fixed || !(counts[p] > 0.0) ? 0.0 : 1.0 / counts[p];
        }
    }

    void step(double part) {
        std::fill(sums.begin(), sums.end(), KivVec{});
        forNeighbours([this](std::uint32_t at, std::uint32_t other, double weight) {
            sums[at] = sums[at] + moved[other] * weight;
        });
        for (std::size_t p = 0; p < moved.size(); ++p) {
            if (counts[p] > 0.0) {
                moved[p] = moved[p] + (sums[p] * counts[p] - moved[p]) * part;
            }
        }
    }

    const KivLoopSurface& surface;
    std::vector<KivVec> moved;
    std::vector<KivVec> sums;
    std::vector<Kind> kinds;
    std::vector<double> weights; // of the edges
    std::vector<double> counts;  // one over the number of neighbours, 0 for what stays
};

std::vector<KivVec> normalsOf(const std::vector<KivVec>& points, const KivLoopSurface& surface) {
    std::vector<KivVec> normals(points.size());
    for (const KivSurface::Triangle& t : surface.triangles) {
        const KivVec face = kivCross(points[t[1]] - points[t[0]], points[t[2]] - points[t[0]]);
        for (const std::uint32_t p : t) {
            normals[p] = normals[p] + face;
        }
    }
    std::transform(normals.begin(), normals.end(), normals.begin(), kivUnit);
    return normals;
}

double middleOf(std::vector<double>& values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

// In pixels, of a sample of some thousand.
double usualEdge(const KivLoopSurface& surface, const KivShapeView& view) {
    const std::vector<KivShapeEdge>& edges = surface.adjacency.edges;
    const std::size_t step = std::max<std::size_t>(1, edges.size() / 2000);
    std::vector<double> lengths;
    for (std::size_t e = 0; e < edges.size(); e += step) {
        const KivVec& a = surface.points[edges[e].a];
        lengths.push_back(view.pixels(a, kivLength(surface.points[edges[e].b] - a)));
    }
    return lengths.empty() ? 0.0 : middleOf(lengths);
}

// How far normals turned, against how far they turn from one point to the next.
double partOfNoise(const KivLoopSurface& surface, const std::vector<KivVec>& before, const std::vector<KivVec>& after) {
    std::vector<double> turns;
    std::vector<double> bends;
    for (std::size_t p = 0; p < before.size(); ++p) {
        turns.push_back(kivLength(after[p] - before[p]));
    }
    for (const KivShapeEdge& edge : surface.adjacency.edges) {
        bends.push_back(kivLength(before[edge.a] - before[edge.b]));
    }
    const double bend = middleOf(bends);
    return bend > 0.0 ? middleOf(turns) / bend : 0.0;
}

} // namespace

KivEvened kivEvenPoints(KivLoopSurface& surface, const KivShapeView& view, double leastPixels, double mostPixels) {
    const auto sharp = std::count(surface.sharp.begin(), surface.sharp.end(), 1);
    if (surface.points.empty() || static_cast<double>(sharp) > mostSharp * static_cast<double>(surface.sharp.size())) {
        return {};
    }
    Evener evener(surface);
    const std::vector<KivVec>& even = evener.even();
    const std::vector<KivVec> normals = normalsOf(even, surface);
    std::vector<double> pixels;
    std::vector<KivVec> moves;
    pixels.reserve(even.size());
    moves.reserve(even.size());
    for (std::size_t p = 0; p < even.size(); ++p) {
        const KivVec away = even[p] - surface.points[p];
        moves.push_back(evener.isLine(p) ? away : normals[p] * kivDot(away, normals[p]));
        pixels.push_back(view.pixels(surface.points[p], kivLength(moves[p])));
    }
    std::vector<double> sorted = pixels;
    const double usual = middleOf(sorted);
    if (usual < leastPixels || partOfNoise(surface, normalsOf(surface.points, surface), normals) < leastNoise) {
        return {};
    }
    KivEvened evened;
    evened.light = std::clamp(2.0 - 2.0 * usual / mostPixels, 0.0, 1.0);
    evened.points = std::clamp(1.6 - usual / mostPixels, 0.0, 1.0) *
                    std::clamp(2.0 - usualEdge(surface, view) / noiseReach, 0.0, 1.0);
    for (std::size_t p = 0; p < even.size() && evened.points > 0.0; ++p) {
        surface.points[p] = surface.points[p] + moves[p] * partWithin(pixels[p], evened.points * mostPixels);
    }
    return evened;
}

namespace {

// Of the triangles, in pixels and in units, of a sample of some thousand.
std::pair<double, double> usualSide(const KivLoopLimit& limit, const KivShapeView& view) {
    const std::size_t step = std::max<std::size_t>(1, limit.triangles.size() / 2000);
    std::vector<std::pair<double, double>> sides;
    for (std::size_t t = 0; t < limit.triangles.size(); t += step) {
        const KivVec& a = limit.points[limit.triangles[t][0]];
        const double side = kivLength(limit.points[limit.triangles[t][1]] - a);
        if (view.pixels(a, side) > 0.0) {
            sides.emplace_back(view.pixels(a, side), side);
        }
    }
    if (sides.empty()) {
        return {};
    }
    const auto middle = sides.begin() + static_cast<std::ptrdiff_t>(sides.size() / 2);
    std::nth_element(sides.begin(), middle, sides.end());
    return *middle;
}

// Normals that spread over the surface like heat. Weights by angles keep what changes evenly over it as it is, however
// the triangles are cut; plain means would shift it to and fro.
class LightEvener {
public:
    explicit LightEvener(const KivLoopLimit& l) : limit(l), even(l.normals), weight(even.size(), 0.0), area(weight) {
        cotangents.reserve(limit.triangles.size());
        for (const KivSurface::Triangle& t : limit.triangles) {
            std::array<double, 3>& of = cotangents.emplace_back();
            for (std::size_t k = 0; k < 3; ++k) {
                const KivVec& own = limit.points[t[k]];
                const KivVec a = limit.points[t[(k + 1) % 3]] - own;
                const KivVec b = limit.points[t[(k + 2) % 3]] - own;
                const double across = kivLength(kivCross(a, b));
                of[k] = across > 0.0 ? std::clamp(kivDot(a, b) / across, leastCotangent, mostCotangent) : 0.0;
                weight[t[(k + 1) % 3]] += of[k];
                weight[t[(k + 2) % 3]] += of[k];
                area[t[k]] += across / 6.0;
            }
        }
    }

    // time: half of the square of the distance that it spreads over, in units.
    const std::vector<KivVec>& spread(double time, int passes) {
        std::vector<KivVec> sums(even.size());
        for (int pass = 0; pass < passes; ++pass) {
            std::fill(sums.begin(), sums.end(), KivVec{});
            for (std::size_t t = 0; t < cotangents.size(); ++t) {
                const KivSurface::Triangle& c = limit.triangles[t];
                for (std::size_t k = 0; k < 3; ++k) {
                    const std::uint32_t a = c[(k + 1) % 3];
                    const std::uint32_t b = c[(k + 2) % 3];
                    sums[a] = sums[a] + even[b] * cotangents[t][k];
                    sums[b] = sums[b] + even[a] * cotangents[t][k];
                }
            }
            for (std::size_t v = 0; v < even.size(); ++v) {
                if (weight[v] > 0.0 && area[v] > 0.0) {
                    const double part = std::min(1.0, time / passes * weight[v] / (2.0 * area[v]));
                    even[v] = kivUnit(even[v] + (sums[v] * (1.0 / weight[v]) - even[v]) * part);
                }
            }
        }
        return even;
    }

private:
    // More would throw the light of needles about.
    static constexpr double leastCotangent = -0.5;
    static constexpr double mostCotangent = 8.0;

    const KivLoopLimit& limit;
    std::vector<KivVec> even;
    std::vector<double> weight;
    std::vector<double> area;
    std::vector<std::array<double, 3>> cotangents; // at the corners of the triangles
};

} // namespace

void kivEvenLight(KivLoopLimit& limit, const KivShapeView& view, double pixels, double mostDegrees) {
    const auto [side, units] = usualSide(limit, view);
    const double ratio = side > 0.0 ? pixels / side : 0.0;
    const int passes = static_cast<int>(std::min(ratio * ratio, static_cast<double>(mostPasses)));
    if (passes == 0) {
        return;
    }
    const double reach = 0.5 * ratio * units;
    LightEvener evener(limit);
    const std::vector<KivVec>& even = evener.spread(0.5 * reach * reach, passes);
    const double most = mostDegrees * std::numbers::pi / 180.0;
    for (std::size_t v = 0; v < even.size(); ++v) {
        const KivVec away = even[v] - limit.normals[v]; // about as long as the angle
        const double part = partWithin(kivLength(away), most);
        const KivVec normal = kivUnit(limit.normals[v] + away * part);
        limit.normals[v] = kivDot(normal, normal) > 0.0 ? normal : limit.normals[v];
    }
}
