#include "kivrender/lines/smoothsurface.h"

#include "kivrender/geometry/kivflatfaces.h"
#include "kivrender/lines/curveorder.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <numeric>
#include <tuple>
#include <utility>

namespace {

constexpr double sharpestBend = 150.0; // beyond, a surface is folded back on itself and not round
constexpr double flatBend = 2.0;       // facets that bend by less show no facets
constexpr float inPlane = 0.1F;        // degrees: what rounded coordinates turn triangles of one flat face by
// Of an arc against those of its part in the middle: one that rises as much more stands for no curve. A turned part of
// many columns bends by little between them, and by much where its profile does.
constexpr double mostUneven = 10.0;
// Facets of one curve do not differ more in width from one to the next, where one is flat and would bulge.
constexpr double mostWiden = 3.0;
constexpr double leastBulge = 0.5; // in pixels: what shows beside the edges of a flat face

constexpr std::uint8_t allSides = 7; // of a triangle, a bit each

// Which corner of the triangle the point is.
std::size_t cornerOf(const KivSurface::Triangle& triangle, std::uint32_t point) {
    return triangle[0] == point ? 0 : triangle[1] == point ? 1 : 2;
}

// Whether the triangle runs along the edge from a to b.
bool runsAlong(const KivSurface::Triangle& triangle, std::uint32_t a, std::uint32_t b) {
    return triangle[(cornerOf(triangle, a) + 1) % 3] == b;
}

// Union-find; each entry with its parity against the root.
class Sets {
public:
    explicit Sets(std::size_t count) : parent(count), odd(count, 0) {
        std::iota(parent.begin(), parent.end(), 0U);
    }
    std::uint32_t find(std::uint32_t i, bool* parity) {
        bool sum = false;
        while (parent[i] != i) {
            const std::uint32_t above = parent[i];
            odd[i] ^= odd[above];
            parent[i] = parent[above];
            sum ^= odd[i] != 0;
            i = parent[i];
        }
        *parity = sum;
        return i;
    }
    std::uint32_t find(std::uint32_t i) {
        bool parity = false;
        return find(i, &parity);
    }
    // Entries that were joined before stay as they were.
    void join(std::uint32_t i, std::uint32_t j, bool differ = false) {
        bool first = false;
        bool second = false;
        const std::uint32_t a = find(i, &first);
        const std::uint32_t b = find(j, &second);
        if (a != b) {
            parent[std::max(a, b)] = std::min(a, b);
            odd[std::max(a, b)] = static_cast<std::uint8_t>(first ^ second ^ differ);
        }
    }

private:
    std::vector<std::uint32_t> parent;
    std::vector<std::uint8_t> odd; // against the parent
};

class Builder {
public:
    Builder(const KivSurface& read, const std::vector<KivFeatureWing>& edges, const std::vector<bool>& sharp,
            const KivLineView& seenFrom, SmoothSurface& result)
        : surface(read), wings(edges), creases(sharp), view(seenFrom), smooth(result) {}

    bool build(double mostRise) {
        return orient() && findSmoothWings(mostRise) && splitCorners() && findNormals() && findStraightSides();
    }

private:
    bool isPair(const KivFeatureWing& wing) const {
        return wing.right != KivFeatureWing::none && !wing.junction;
    }

    // Neighbours across an edge count as wound alike where they run along it in opposite directions. What is wound
    // otherwise is turned, as far as the surface has two sides.
    bool orient() {
        smooth.oriented.assign(wings.size(), false);
        bool all = true;
        for (std::size_t i = 0; i < wings.size(); ++i) {
            if (kivIsCancelledAt(i)) {
                return false;
            }
            if (isPair(wings[i])) {
                smooth.oriented[i] = !turnsAt(wings[i]);
                all = all && smooth.oriented[i];
            }
        }
        return all || turnTriangles();
    }
    bool turnsAt(const KivFeatureWing& wing) const {
        return runsAlong(surface.triangles[wing.triangle], wing.a, wing.b) ==
               runsAlong(surface.triangles[wing.other], wing.a, wing.b);
    }
    bool turnTriangles() {
        Sets sets(surface.triangles.size());
        for (std::size_t i = 0; i < wings.size(); ++i) {
            if (kivIsCancelledAt(i)) {
                return false;
            }
            if (isPair(wings[i])) {
                sets.join(wings[i].triangle, wings[i].other, turnsAt(wings[i]));
            }
        }
        turned.resize(surface.triangles.size());
        for (std::uint32_t t = 0; t < turned.size(); ++t) {
            bool parity = false;
            sets.find(t, &parity);
            turned[t] = parity;
        }
        for (std::size_t i = 0; i < wings.size(); ++i) {
            if (isPair(wings[i])) {
                smooth.oriented[i] = (turned[wings[i].triangle] != turned[wings[i].other]) == turnsAt(wings[i]);
            }
        }
        return true;
    }

    bool findSmoothWings(double mostRise) {
        smooth.smooth.assign(wings.size(), false);
        findFlatTriangles();
        double highest = 0.0;
        std::vector<float> rises(wings.size(), 0.0F);
        std::vector<float> swells(wings.size(), 0.0F);
        for (std::size_t i = 0; i < wings.size(); ++i) {
            if (kivIsCancelledAt(i)) {
                return false;
            }
            const KivFeatureWing& wing = wings[i];
            smooth.smooth[i] = smooth.oriented[i] && !creases[i] && !isSplit(wing) &&
                               static_cast<double>(wing.bend) < sharpestBend && !endsFlatFace(wing);
            if (smooth.smooth[i] && static_cast<double>(wing.bend) > flatBend) {
                const double rise = riseOver(wing, lengthOf(wing));
                const double swell = riseOver(wing, widthBeside(wing));
                rises[i] = static_cast<float>(rise);
                swells[i] = static_cast<float>(swell);
                highest = std::max({highest, rise, swell});
            }
        }
        return highest <= mostRise || (leaveUneven(swells, mostRise) && leaveFacets(rises, mostRise) &&
                                       (hasExactNormals() || leaveFacets(swells, mostRise)));
    }
    // Where the normals of the mesh do not run on over more than a facet's bend, there is an edge, though it may be too
    // short for a line: such as the chamfer at a corner of a machine part.
    bool isSplit(const KivFeatureWing& wing) const {
        return !surface.cornerNormals.empty() && !wing.smooth && static_cast<double>(wing.bend) > kivFlatFacesCrease;
    }
    void findFlatTriangles() {
        isFlat.assign(surface.triangles.size(), false);
        if (hasExactNormals()) {
            return; // which bulge nowhere
        }
        for (const KivFeatureWing& wing : wings) {
            if (isPair(wing) && wing.bend <= inPlane) {
                isFlat[wing.triangle] = isFlat[wing.other] = true;
            }
        }
    }
    // Where a flat face is much wider than the strip beside it, as on a box with chamfers, a curve that runs on from
    // one to the other would bulge over the face.
    bool endsFlatFace(const KivFeatureWing& wing) const {
        if (static_cast<double>(wing.bend) <= flatBend || !(isFlat[wing.triangle] || isFlat[wing.other])) {
            return false;
        }
        const double one = widthBeside(wing, wing.left);
        const double other = widthBeside(wing, wing.right);
        return std::max(one, other) > mostWiden * std::min(one, other) &&
               isFlat[one > other ? wing.triangle : wing.other] && riseOver(wing, std::max(one, other)) > leastBulge;
    }
    double lengthOf(const KivFeatureWing& wing) const {
        return kivLength(surface.points[wing.b] - surface.points[wing.a]);
    }
    // Across the edge, of the wider of its triangles.
    double widthBeside(const KivFeatureWing& wing) const {
        return std::max(widthBeside(wing, wing.left), widthBeside(wing, wing.right));
    }
    double widthBeside(const KivFeatureWing& wing, std::int32_t corner) const {
        const KivVec& a = surface.points[wing.a];
        const KivVec edge = surface.points[wing.b] - a;
        const double length = kivLength(edge);
        const double twiceArea = kivLength(kivCross(edge, surface.points[static_cast<std::size_t>(corner)] - a));
        return length > 0.0 ? twiceArea / length : 0.0;
    }
    // In pixels, of an arc of that length that turns by the edge's bend.
    double riseOver(const KivFeatureWing& wing, double length) const {
        const double depth = 0.5 * (view.toCamera(surface.points[wing.a]).z + view.toCamera(surface.points[wing.b]).z);
        if (depth < view.nearest()) {
            return 0.0;
        }
        return 0.125 * length * static_cast<double>(wing.bend) * std::numbers::pi / 180.0 / view.pixelSize(depth);
    }
    // The triangles on either side of smooth edges belong to one part.
    bool joinParts(Sets& parts) const {
        for (std::size_t i = 0; i < wings.size(); ++i) {
            if (kivIsCancelledAt(i)) {
                return false;
            }
            if (smooth.smooth[i]) {
                parts.join(wings[i].triangle, wings[i].other);
            }
        }
        return true;
    }
    // Edges over which the arc would rise by more than the picture bears, and by far more than over most of their part,
    // are not curve's.
    bool leaveUneven(const std::vector<float>& swells, double mostRise) {
        Sets parts(surface.triangles.size());
        if (!joinParts(parts)) {
            return false;
        }
        std::vector<std::pair<std::uint32_t, std::uint32_t>> bent; // parts and wings
        for (std::uint32_t i = 0; i < wings.size(); ++i) {
            if (swells[i] > 0.0F) {
                bent.emplace_back(parts.find(wings[i].triangle), i);
            }
        }
        std::sort(bent.begin(), bent.end(), [&](const auto& x, const auto& y) {
            return std::tie(x.first, swells[x.second], x.second) < std::tie(y.first, swells[y.second], y.second);
        });
        for (std::size_t from = 0, to = 0; from < bent.size(); from = to) {
            double all = 0.0;
            for (to = from; to < bent.size() && bent[to].first == bent[from].first; ++to) {
                all += lengthOf(wings[bent[to].second]);
            }
            std::size_t middle = from;
            for (double sum = 0.0; middle < to; ++middle) {
                sum += lengthOf(wings[bent[middle].second]);
                if (2.0 * sum >= all) {
                    break;
                }
            }
            const double usual = static_cast<double>(swells[bent[std::min(middle, to - 1)].second]);
            for (std::size_t i = from; i < to; ++i) {
                const auto swell = static_cast<double>(swells[bent[i].second]);
                if (swell > std::max(mostRise, mostUneven * usual)) {
                    smooth.smooth[bent[i].second] = false;
                }
            }
        }
        return true;
    }
    // Parts of the surface whose facets show keep them. A strip of short edges, such as those of a cornice, shows them
    // by its width alone.
    bool leaveFacets(const std::vector<float>& rises, double mostRise) {
        Sets parts(surface.triangles.size());
        if (!joinParts(parts)) {
            return false;
        }
        std::vector<std::pair<double, double>> sums(surface.triangles.size()); // lengths times rises, lengths
        for (std::size_t i = 0; i < wings.size(); ++i) {
            if (rises[i] > 0.0F && smooth.smooth[i]) {
                const double length = lengthOf(wings[i]);
                auto& [rise, all] = sums[parts.find(wings[i].triangle)];
                rise += length * static_cast<double>(rises[i]);
                all += length;
            }
        }
        for (std::size_t i = 0; i < wings.size(); ++i) {
            if (smooth.smooth[i]) {
                const auto& [rise, all] = sums[parts.find(wings[i].triangle)];
                smooth.smooth[i] = rise <= mostRise * all;
            }
        }
        return true;
    }

    // The corners of the triangles at a point share a normal where smooth edges lead from one to the next.
    bool splitCorners() {
        markSmoothSides();
        smooth.corners.assign(surface.triangles.begin(), surface.triangles.end());
        std::vector<bool> isSharp(surface.points.size(), false);
        bool any = false;
        for (std::size_t i = 0; i < wings.size(); ++i) {
            if (!smooth.smooth[i]) {
                isSharp[wings[i].a] = isSharp[wings[i].b] = true;
                any = true;
            }
        }
        smooth.points.resize(surface.points.size());
        std::iota(smooth.points.begin(), smooth.points.end(), 0U);
        return !any || split(isSharp);
    }
    void markSmoothSides() {
        smooth.smoothSides.assign(surface.triangles.size(), 0);
        for (std::size_t i = 0; i < wings.size(); ++i) {
            if (smooth.smooth[i]) {
                mark(wings[i], smooth.smoothSides);
            }
        }
    }
    void mark(const KivFeatureWing& wing, std::vector<std::uint8_t>& sides) const {
        for (const std::uint32_t t : {wing.triangle, wing.other}) {
            const KivSurface::Triangle& triangle = surface.triangles[t];
            const bool along = runsAlong(triangle, wing.a, wing.b);
            sides[t] |= static_cast<std::uint8_t>(1U << cornerOf(triangle, along ? wing.a : wing.b));
        }
    }
    bool split(const std::vector<bool>& isSharp) {
        const auto own = static_cast<std::uint32_t>(surface.points.size());
        std::vector<std::uint32_t> places; // the points of corners that may need a normal of their own
        for (std::size_t t = 0; t < surface.triangles.size(); ++t) {
            if (kivIsCancelledAt(t)) {
                return false;
            }
            for (std::size_t k = 0; k < 3; ++k) {
                if (isSharp[surface.triangles[t][k]]) {
                    smooth.corners[t][k] = own + static_cast<std::uint32_t>(places.size());
                    places.push_back(surface.triangles[t][k]);
                }
            }
        }
        Sets fans(places.size());
        for (std::size_t i = 0; i < wings.size(); ++i) {
            if (smooth.smooth[i]) {
                for (const std::uint32_t p : {wings[i].a, wings[i].b}) {
                    if (isSharp[p]) {
                        fans.join(cornerAt(wings[i].triangle, p) - own, cornerAt(wings[i].other, p) - own);
                    }
                }
            }
        }
        std::vector<std::uint32_t> numbers(places.size(), 0);
        for (std::uint32_t i = 0; i < places.size(); ++i) {
            if (fans.find(i) == i) {
                numbers[i] = static_cast<std::uint32_t>(smooth.points.size());
                smooth.points.push_back(places[i]);
            }
        }
        for (std::array<std::uint32_t, 3>& corner : smooth.corners) {
            for (std::uint32_t& c : corner) {
                c = c < own ? c : numbers[fans.find(c - own)];
            }
        }
        return true;
    }
    std::uint32_t cornerAt(std::uint32_t triangle, std::uint32_t point) const {
        return smooth.corners[triangle][cornerOf(surface.triangles[triangle], point)];
    }

    bool findNormals() {
        smooth.normals.assign(smooth.points.size(), KivVec{});
        for (std::size_t t = 0; t < surface.triangles.size(); ++t) {
            if (kivIsCancelledAt(t)) {
                return false;
            }
            const KivSurface::Triangle& triangle = surface.triangles[t];
            const KivVec side[3] = {surface.points[triangle[1]] - surface.points[triangle[0]],
                                    surface.points[triangle[2]] - surface.points[triangle[1]],
                                    surface.points[triangle[0]] - surface.points[triangle[2]]};
            const KivVec across = kivCross(side[0], side[1]) * (!turned.empty() && turned[t] ? -1.0 : 1.0);
            const double squares[3] = {kivDot(side[0], side[0]), kivDot(side[1], side[1]), kivDot(side[2], side[2])};
            for (std::size_t k = 0; k < 3; ++k) {
                const double weight = squares[k] * squares[(k + 2) % 3];
                if (weight > 0.0) {
                    KivVec& normal = smooth.normals[smooth.corners[t][k]];
                    normal = normal + across * (1.0 / weight);
                }
            }
        }
        for (KivVec& normal : smooth.normals) {
            normal = kivUnit(normal);
        }
        return !hasExactNormals() || takeExactNormals();
    }
    // Programs write all kinds of normals along with meshes; only those of a CAD file are known to be of the surface.
    bool hasExactNormals() const {
        return surface.namesEdges && !surface.normals.empty() &&
               surface.cornerNormals.size() == surface.triangles.size();
    }
    // Facets tell little of a surface whose triangles are as long as it is, such as a blend along the side of a box: at
    // a corner of the box they would mix in what goes on around it.
    bool takeExactNormals() {
        std::vector<KivVec> sums(smooth.normals.size());
        for (std::size_t t = 0; t < surface.triangles.size(); ++t) {
            if (kivIsCancelledAt(t)) {
                return false;
            }
            for (std::size_t k = 0; k < 3; ++k) {
                KivVec& sum = sums[smooth.corners[t][k]];
                sum = sum + surface.normals[surface.cornerNormals[t][k]] * (!turned.empty() && turned[t] ? -1.0 : 1.0);
            }
        }
        for (std::size_t i = 0; i < sums.size(); ++i) {
            const KivVec normal = kivUnit(sums[i]);
            smooth.normals[i] = kivLength(normal) > 0.0 ? normal : smooth.normals[i]; // none at the tip of a cone
        }
        return true;
    }

    // A sharp edge of a flat face lies in its plane: what lies within the face and swelled over it would stand out of
    // the line along that edge, in a spike over the diagonal of a quad between two chamfers. Exact normals say where
    // two triangles stand for a curve.
    bool findStraightSides() {
        if (hasExactNormals() || std::find(smooth.smooth.begin(), smooth.smooth.end(), false) == smooth.smooth.end()) {
            return true;
        }
        const auto isWithin = [&](std::size_t i) { return smooth.smooth[i] && wings[i].bend <= inPlane; };
        Sets faces(surface.triangles.size());
        for (std::size_t i = 0; i < wings.size(); ++i) {
            if (kivIsCancelledAt(i)) {
                return false;
            }
            if (isWithin(i)) {
                faces.join(wings[i].triangle, wings[i].other);
            }
        }
        std::vector<bool> isEnded(surface.triangles.size(), false);
        for (std::uint32_t t = 0; t < isEnded.size(); ++t) {
            if (smooth.smoothSides[t] != allSides) {
                isEnded[faces.find(t)] = true;
            }
        }
        smooth.straightSides.assign(surface.triangles.size(), 0);
        for (std::size_t i = 0; i < wings.size(); ++i) {
            if (isWithin(i) && isEnded[faces.find(wings[i].triangle)]) {
                mark(wings[i], smooth.straightSides);
            }
        }
        return true;
    }

    const KivSurface& surface;
    const std::vector<KivFeatureWing>& wings;
    const std::vector<bool>& creases;
    const KivLineView& view;
    SmoothSurface& smooth;
    std::vector<bool> turned; // triangles; empty if none is
    std::vector<bool> isFlat; // triangles with one in their plane beside them
};

} // namespace

bool kivSmoothSurface(const KivSurface& surface, const std::vector<KivFeatureWing>& wings,
                      const std::vector<bool>& creases, const KivLineView& view, double mostRise,
                      SmoothSurface& smooth) {
    return Builder(surface, wings, creases, view, smooth).build(mostRise);
}
