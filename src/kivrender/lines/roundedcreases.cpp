#include "kivrender/lines/roundedcreases.h"

#include "kivrender/lines/curveorder.h"
#include "kivrender/scene/kivprogress.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>

namespace {

using Triangle = KivSurface::Triangle;

constexpr std::uint32_t none = 0xFFFFFFFFU;
constexpr double leastPart = 0.08;    // of the wanted turn, at the edge itself
constexpr double mostOneSided = 0.55; // of the turn of the strip, on either side of the edge
constexpr double mostBeside = 0.3;    // of it, over as much again on either side
// Sides of triangles across a strip. Where there are more they are a small part of a pixel each.
constexpr double mostAcross = 8.0;
constexpr int mostSteps = 64;
constexpr std::size_t samples = 4000; // edges tell the usual length well enough

double degreesBetween(const KivVec& a, const KivVec& b) {
    return std::atan2(kivLength(kivCross(a, b)), kivDot(a, b)) * 180.0 / std::numbers::pi;
}

double usualSide(const KivSurface& surface, const std::vector<KivFeatureWing>& wings) {
    const std::size_t step = std::max<std::size_t>(1, wings.size() / samples);
    double sum = 0.0;
    std::size_t count = 0;
    for (std::size_t i = 0; i < wings.size(); i += step) {
        sum += kivLength(surface.points[wings[i].b] - surface.points[wings[i].a]);
        ++count;
    }
    return count > 0 ? sum / static_cast<double>(count) : 0.0;
}

class StripWalker {
public:
    StripWalker(const KivSurface& s, const std::vector<KivFeatureWing>& w, double width, double wanted)
        : surface(s), wings(w), reach(0.5 * width), angle(wanted) {}

    std::vector<float> find() {
        std::vector<float> turns;
        const double least = leastPart * angle;
        for (std::size_t i = 0; i < wings.size(); ++i) {
            if (kivIsCancelledAt(i)) {
                return {};
            }
            if (isPair(wings[i]) && static_cast<double>(wings[i].bend) > least) {
                findNeighbours();
                if (const double turn = turnAt(wings[i]); turn > 0.0) {
                    turns.resize(wings.size(), 0.0F);
                    turns[i] = static_cast<float>(turn);
                }
            }
        }
        return turns;
    }

private:
    // A walk away from an edge, in the plane square to its middle, and where it has come to.
    struct Walk {
        KivVec from;
        KivVec along; // the edge
        std::uint32_t triangle = 0;
        std::size_t entered = 0; // the side of it through which it came
        bool turned = false;     // it is wound otherwise than the edge's first triangle
        int steps = 0;
    };

    static bool isPair(const KivFeatureWing& wing) {
        return wing.right != KivFeatureWing::none && !wing.junction;
    }

    // The triangle across each side of each triangle, by its own side: 4 * triangle + side.
    void findNeighbours() {
        if (!neighbours.empty()) {
            return;
        }
        neighbours.assign(surface.triangles.size(), {none, none, none});
        for (const KivFeatureWing& wing : wings) {
            if (isPair(wing)) {
                const auto one = static_cast<std::uint32_t>(sideOf(wing.triangle, wing));
                const auto other = static_cast<std::uint32_t>(sideOf(wing.other, wing));
                neighbours[wing.triangle][one] = 4 * wing.other + other;
                neighbours[wing.other][other] = 4 * wing.triangle + one;
            }
        }
    }
    std::size_t sideOf(std::uint32_t t, const KivFeatureWing& wing) const {
        const Triangle& c = surface.triangles[t];
        const auto isSide = [&](std::size_t k) {
            return (c[k] == wing.a && c[k + 1] == wing.b) || (c[k] == wing.b && c[k + 1] == wing.a);
        };
        return isSide(0) ? 0 : isSide(1) ? 1 : 2;
    }
    KivVec faceOf(std::uint32_t t) const {
        const Triangle& c = surface.triangles[t];
        const KivVec& a = surface.points[c[0]];
        return kivCross(surface.points[c[1]] - a, surface.points[c[2]] - a);
    }
    KivVec normalOf(const Walk& walk) const {
        return walk.turned ? -faceOf(walk.triangle) : faceOf(walk.triangle);
    }

    // By how much the surface turns over the strip, or 0 if that is no crease.
    double turnAt(const KivFeatureWing& wing) const {
        const double bend = static_cast<double>(wing.bend);
        Walk one = startOf(wing, wing.triangle);
        const KivVec start = normalOf(one);
        go(one, reach);
        const KivVec rim = normalOf(one);
        const double turnOne = degreesBetween(start, rim);
        // The turn on the other side is known to be too small or too great before it is walked.
        if (turnOne + bend < (1.0 - mostOneSided) * angle) {
            return 0.0;
        }
        Walk other = startOf(wing, wing.other);
        const KivVec otherStart = normalOf(other);
        go(other, reach);
        const KivVec otherRim = normalOf(other);
        const double all = degreesBetween(rim, otherRim);
        if (all <= angle || std::max(turnOne, degreesBetween(otherStart, otherRim)) > mostOneSided * all) {
            return 0.0;
        }
        go(one, 2.0 * reach);
        go(other, 2.0 * reach);
        const double beside = std::max(degreesBetween(rim, normalOf(one)), degreesBetween(otherRim, normalOf(other)));
        return beside < mostBeside * all ? all : 0.0;
    }

    Walk startOf(const KivFeatureWing& wing, std::uint32_t triangle) const {
        const KivVec& a = surface.points[wing.a];
        const KivVec& b = surface.points[wing.b];
        Walk walk;
        walk.from = (a + b) * 0.5;
        walk.along = b - a;
        walk.triangle = triangle;
        walk.entered = sideOf(triangle, wing);
        walk.turned =
            triangle != wing.triangle && isTurned(wing.triangle, sideOf(wing.triangle, wing), triangle, walk.entered);
        return walk;
    }
    // Whether two triangles run along a side that they share in the same direction.
    bool isTurned(std::uint32_t t, std::size_t side, std::uint32_t other, std::size_t otherSide) const {
        return surface.triangles[t][side] == surface.triangles[other][otherSide];
    }

    // On to the triangle in which the way leaves the ball of that radius, or the surface ends.
    void go(Walk& walk, double radius) const {
        for (; walk.steps < mostSteps; ++walk.steps) {
            const Triangle& c = surface.triangles[walk.triangle];
            const std::size_t k = walk.entered;
            const KivVec first = surface.points[c[k]] - walk.from;
            const KivVec third = surface.points[c[(k + 2) % 3]] - walk.from;
            const double thirdSide = kivDot(third, walk.along);
            const double firstSide = kivDot(first, walk.along);
            // The plane parts the corners of the side through which the way came.
            const bool isWithFirst = (thirdSide > 0.0) == (firstSide > 0.0);
            const std::size_t left = isWithFirst ? (k + 1) % 3 : (k + 2) % 3;
            const KivVec end = isWithFirst ? surface.points[c[(k + 1) % 3]] - walk.from : first;
            const double endSide = isWithFirst ? kivDot(end, walk.along) : firstSide;
            const KivVec at = third + (end - third) * (thirdSide / (thirdSide - endSide));
            const std::uint32_t next = neighbours[walk.triangle][left];
            if (!(kivDot(at, at) < radius * radius) || next == none) {
                return;
            }
            walk.turned = walk.turned != isTurned(walk.triangle, left, next / 4, next % 4);
            walk.triangle = next / 4;
            walk.entered = next % 4;
        }
    }

    const KivSurface& surface;
    const std::vector<KivFeatureWing>& wings;
    const double reach; // half of the width of the strip
    const double angle;
    std::vector<Triangle> neighbours; // across each side of each triangle, see findNeighbours
};

} // namespace

std::vector<float> kivRoundedCreases(const KivSurface& surface, const std::vector<KivFeatureWing>& wings, double width,
                                     double angle) {
    if (!(width > 0.0) || !std::isfinite(width) || width > mostAcross * usualSide(surface, wings)) {
        return {};
    }
    return StripWalker(surface, wings, width, angle).find();
}
