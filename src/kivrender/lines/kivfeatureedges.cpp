#include "kivrender/lines/kivfeatureedges.h"

#include "kivrender/geometry/disjointsets.h"
#include "kivrender/geometry/kivarccosine.h"
#include "kivrender/lines/creasebridges.h"
#include "kivrender/lines/curveorder.h"
#include "kivrender/lines/roundedcreases.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace {

// One side of a triangle, in the list of the lower of its two points.
struct Side {
    std::uint32_t high;
    std::uint32_t triangle;
};

bool operator<(const Side& one, const Side& other) {
    return one.high < other.high || (one.high == other.high && one.triangle < other.triangle);
}

// Sides of all triangles, those of one lower point together: point p has those from starts[p] to before starts[p + 1].
struct Sides {
    std::vector<std::size_t> starts;
    std::vector<Side> all;
};

template <class Visit> bool visitSides(const KivSurface& surface, Visit visit) {
    for (std::size_t i = 0; i < surface.triangles.size(); ++i) {
        if (kivIsCancelledAt(i)) {
            return false;
        }
        const KivSurface::Triangle& t = surface.triangles[i];
        for (std::size_t k = 0; k < 3; ++k) {
            const auto [low, high] = std::minmax(t[k], t[k == 2 ? 0 : k + 1]);
            visit(low, Side{high, static_cast<std::uint32_t>(i)});
        }
    }
    return true;
}

// By counting. False when the user cancelled.
bool findSides(const KivSurface& surface, Sides& sides) {
    sides.starts.assign(surface.points.size() + 2, 0);
    if (!visitSides(surface, [&](std::uint32_t low, const Side&) { ++sides.starts[low + 2]; })) {
        return false;
    }
    for (std::size_t p = 2; p < sides.starts.size(); ++p) {
        sides.starts[p] += sides.starts[p - 1];
    }
    sides.all.resize(surface.triangles.size() * 3);
    if (!visitSides(surface, [&](std::uint32_t low, const Side& side) { sides.all[sides.starts[low + 1]++] = side; })) {
        return false;
    }
    for (std::size_t p = 0; p < surface.points.size(); ++p) {
        if (kivIsCancelledAt(p)) {
            return false;
        }
        std::sort(sides.all.begin() + static_cast<std::ptrdiff_t>(sides.starts[p]),
                  sides.all.begin() + static_cast<std::ptrdiff_t>(sides.starts[p + 1]));
    }
    return true;
}

std::vector<bool> whichHaveArea(const KivSurface& surface) {
    std::vector<bool> hasArea(surface.triangles.size());
    for (std::size_t i = 0; i < hasArea.size(); ++i) {
        const KivSurface::Triangle& t = surface.triangles[i];
        hasArea[i] = kivHasArea(surface.points[t[0]], surface.points[t[1]], surface.points[t[2]]);
    }
    return hasArea;
}

// The corner of a triangle that is not on the edge.
std::int32_t thirdCorner(const KivSurface::Triangle& triangle, std::uint32_t a, std::uint32_t b) {
    for (const std::uint32_t corner : triangle) {
        if (corner != a && corner != b) {
            return static_cast<std::int32_t>(corner);
        }
    }
    return KivFeatureWing::none;
}

// The normal that a triangle has at one of its corners.
const KivVec& normalAt(const KivSurface& surface, std::int32_t triangle, std::uint32_t point) {
    const KivSurface::Triangle& corners = surface.triangles[triangle];
    const std::size_t k = corners[0] == point ? 0 : corners[1] == point ? 1 : 2;
    return surface.normals[surface.cornerNormals[triangle][k]];
}

// True if two triangles have nearly the same normals at both ends of their edge.
bool runsOn(const KivSurface& surface, std::int32_t one, std::int32_t other, std::uint32_t a, std::uint32_t b) {
    constexpr double near = 0.97; // the cosine of 14 degrees
    return !surface.normals.empty() && kivDot(normalAt(surface, one, a), normalAt(surface, other, a)) > near &&
           kivDot(normalAt(surface, one, b), normalAt(surface, other, b)) > near;
}

// All triangles that meet at an edge count, however they are wound.
KivFeatureWing wingOf(const KivSurface& surface, const std::vector<bool>& hasArea, std::uint32_t low, const Side* first,
                      const Side* last) {
    KivFeatureWing wing;
    wing.a = low;
    wing.b = first->high;
    int found = 0;
    for (const Side* side = first; side != last; ++side) {
        if (!hasArea[side->triangle]) {
            wing.filled = true;
            continue;
        }
        (found == 0 ? wing.left : wing.right) = thirdCorner(surface.triangles[side->triangle], wing.a, wing.b);
        (found == 0 ? wing.triangle : wing.other) = side->triangle;
        ++found;
    }
    wing.junction = found > 2;
    wing.filled = wing.filled && found < 2;
    if (found == 2) {
        wing.bend = static_cast<float>(kivFeatureBend(surface.points[wing.a], surface.points[wing.b],
                                                      surface.points[wing.left], surface.points[wing.right]));
        wing.smooth = runsOn(surface, static_cast<std::int32_t>(wing.triangle), static_cast<std::int32_t>(wing.other),
                             wing.a, wing.b);
    }
    return wing;
}

// On which side of the plane through the eye and the edge a point lies: its distance from that plane.
double sideOf(const KivVec& plane, const KivVec& a, const KivVec& point) {
    return kivDot(plane, point - a);
}

// Sets that are joined until nothing more belongs together; each with the box of what was entered.
class Groups {
public:
    explicit Groups(std::size_t count) : size(count), sets(count) {}

    std::uint32_t find(std::uint32_t i) {
        return sets.find(i);
    }

    // Call only before the first enter.
    void join(std::uint32_t i, std::uint32_t j) {
        sets.join(i, j);
    }

    void enter(std::uint32_t i, const KivVec& point) {
        const std::uint32_t group = find(i);
        if (filled.empty()) {
            low.resize(size);
            high.resize(size);
            filled.resize(size, false);
        }
        if (!filled[group]) {
            low[group] = high[group] = point;
            filled[group] = true;
        }
        low[group] = {std::min(low[group].x, point.x), std::min(low[group].y, point.y),
                      std::min(low[group].z, point.z)};
        high[group] = {std::max(high[group].x, point.x), std::max(high[group].y, point.y),
                       std::max(high[group].z, point.z)};
    }

    // The diagonal of the box of the group.
    double extent(std::uint32_t i) {
        const std::uint32_t group = find(i);
        return !filled.empty() && filled[group] ? kivLength(high[group] - low[group]) : 0.0;
    }

private:
    std::size_t size;
    DisjointSets sets;
    // Of the groups that were entered; empty before the first, as most surfaces have no crease.
    std::vector<KivVec> low;
    std::vector<KivVec> high;
    std::vector<bool> filled;
};

// A network of creases that reaches over this part of its piece is a feature, however it looks.
constexpr double largeFeature = 0.3;

// What the creases of one network look like together.
struct Character {
    unsigned int edges = 0;
    unsigned int corners = 0; // points where creases meet
    double bends = 0.0;       // of the edges, summed, in degrees
    double turns = 0.0;       // at the corners, summed, in degrees

    // One edge or two that bend only just enough are an accident of the triangles.
    bool isScrap() const {
        return edges < 3 && bends / edges < 65.0;
    }

    // Noise wanders and branches from edge to edge and bends only just enough; the creases of a shape run on, or turn
    // at few corners, or bend strongly.
    bool isRough() const {
        return edges >= 5 && corners > 0 && turns / corners > 30.0 && bends / edges < 65.0;
    }
};

// strips: by how much rounded edges turn; empty if there are none.
std::vector<Character> characterOf(const KivSurface& surface, const std::vector<KivFeatureWing>& wings,
                                   const std::vector<bool>& creases, const std::vector<float>& strips,
                                   Groups& network) {
    constexpr double branch = 60.0; // the turn that a point with three creases or more counts for
    std::vector<Character> characters(surface.points.size());
    std::vector<std::uint8_t> degree(surface.points.size(), 0);
    std::vector<KivVec> arrival(surface.points.size());
    for (std::size_t i = 0; i < wings.size(); ++i) {
        if (!creases[i]) {
            continue;
        }
        const KivFeatureWing& wing = wings[i];
        Character& character = characters[network.find(wing.a)];
        ++character.edges;
        const float bend = strips.empty() ? wing.bend : std::max(wing.bend, strips[i]);
        character.bends += wing.junction ? 180.0 : static_cast<double>(bend);
        const KivVec along = kivUnit(surface.points[wing.b] - surface.points[wing.a]);
        for (const std::uint32_t p : {wing.a, wing.b}) {
            const KivVec outward = p == wing.a ? along : -along;
            if (degree[p] == 0) {
                arrival[p] = outward;
            } else if (degree[p] == 1) {
                const double cosine = std::clamp(-kivDot(arrival[p], outward), -1.0, 1.0);
                ++character.corners;
                character.turns += std::acos(cosine) * 180.0 / std::numbers::pi;
            } else if (degree[p] == 2) {
                character.turns += branch;
            }
            degree[p] = static_cast<std::uint8_t>(std::min(degree[p] + 1, 3));
        }
    }
    return characters;
}

bool isFold(const KivSurface& surface, const KivFeatureWing& wing, const KivViewpoint& view) {
    const std::vector<KivVec>& p = surface.points;
    return wing.right != KivFeatureWing::none
               ? kivFeatureIsFold(p[wing.a], p[wing.b], p[wing.left], p[wing.right], view)
               : kivFeatureFoldsBeyond(surface, wing, view);
}

std::vector<bool> namedCreases(const KivSurface& surface, const std::vector<KivFeatureWing>& wings,
                               const KivFeatureRules& rules) {
    std::vector<bool> creases(wings.size(), false);
    for (std::size_t i = 0; i < wings.size() && !kivIsCancelledAt(i); ++i) {
        const KivSurface::NamedEdge* const named = kivNamedEdge(surface, wings[i].a, wings[i].b);
        creases[i] = named != nullptr && (rules.tangents || !named->tangent);
    }
    return creases;
}

// Those that bend by enough, without noise.
std::vector<bool> sharpCreases(const KivSurface& surface, const std::vector<KivFeatureWing>& wings,
                               const KivFeatureRules& rules, double pixel) {
    std::vector<bool> creases(wings.size(), false);
    Groups network(surface.points.size());
    const std::vector<float> strips = kivRoundedCreases(surface, wings, rules.roundedEdges * pixel, rules.creaseAngle);
    bool any = false;
    for (std::size_t i = 0; i < wings.size(); ++i) {
        if (kivIsCancelledAt(i)) {
            return creases;
        }
        const KivFeatureWing& wing = wings[i];
        const double limit = wing.smooth ? rules.smoothCreaseAngle : rules.creaseAngle;
        const bool isRounded = !strips.empty() && strips[i] > 0.0F;
        if (wing.junction || isRounded || (wing.right != KivFeatureWing::none && wing.bend > limit)) {
            creases[i] = true;
            any = true;
            network.join(wing.a, wing.b);
        }
    }
    if (!any || !(rules.creaseLength > 0.0)) {
        return creases;
    }
    Groups pieces(surface.points.size());
    for (std::size_t i = 0; i < surface.triangles.size(); ++i) {
        if (kivIsCancelledAt(i)) {
            return creases;
        }
        const KivSurface::Triangle& t = surface.triangles[i];
        pieces.join(t[0], t[1]);
        pieces.join(t[1], t[2]);
    }
    for (std::uint32_t p = 0; p < surface.points.size(); ++p) {
        if (kivIsCancelledAt(p)) {
            return creases;
        }
        pieces.enter(p, surface.points[p]);
    }
    for (std::size_t i = 0; i < wings.size(); ++i) {
        if (creases[i]) {
            network.enter(wings[i].a, surface.points[wings[i].a]);
            network.enter(wings[i].b, surface.points[wings[i].b]);
        }
    }
    const std::vector<Character> characters = characterOf(surface, wings, creases, strips, network);
    for (std::size_t i = 0; i < wings.size(); ++i) {
        if (kivIsCancelledAt(i)) {
            return creases;
        }
        if (creases[i]) {
            const double part = network.extent(wings[i].a) / pieces.extent(wings[i].a);
            const Character& character = characters[network.find(wings[i].a)];
            creases[i] =
                part >= rules.creaseLength && (part >= largeFeature || !(character.isRough() || character.isScrap()));
        }
    }
    return creases;
}

KivVec planeThroughEye(const KivVec& a, const KivVec& b, const KivViewpoint& view) {
    return kivCross(view.toViewer(a), b - a);
}

} // namespace

std::vector<KivFeatureWing> kivFeatureWings(const KivSurface& surface) {
    Sides sides;
    std::vector<KivFeatureWing> wings;
    if (!findSides(surface, sides)) {
        return wings;
    }
    const std::vector<bool> hasArea = whichHaveArea(surface);
    wings.reserve(surface.triangles.size() * 3 / 2 + 16);
    for (std::uint32_t low = 0; low < surface.points.size(); ++low) {
        if (kivIsCancelledAt(low)) {
            return {};
        }
        const Side* const end = sides.all.data() + sides.starts[low + 1];
        for (const Side* first = sides.all.data() + sides.starts[low]; first != end;) {
            const Side* last = first + 1;
            while (last != end && last->high == first->high) {
                ++last;
            }
            const KivFeatureWing wing = wingOf(surface, hasArea, low, first, last);
            if (wing.left != KivFeatureWing::none) {
                wings.push_back(wing);
            }
            first = last;
        }
    }
    return wings;
}

double kivFeatureBend(const KivVec& a, const KivVec& b, const KivVec& left, const KivVec& right) {
    const KivVec along = b - a;
    const double square = kivDot(along, along);
    if (!(square > 0.0)) {
        return 0.0;
    }
    const KivVec u = (left - a) - along * (kivDot(left - a, along) / square);
    const KivVec v = (right - a) - along * (kivDot(right - a, along) / square);
    const double lengths = std::sqrt(kivDot(u, u) * kivDot(v, v));
    if (!(lengths > 0.0) || !std::isfinite(lengths)) {
        return 0.0;
    }
    const double between = kivArcCosine(kivDot(u, v) / lengths);
    return 180.0 - between * 180.0 / std::numbers::pi;
}

bool kivFeatureIsFold(const KivVec& a, const KivVec& b, const KivVec& left, const KivVec& right,
                      const KivViewpoint& view) {
    const KivVec plane = planeThroughEye(a, b, view);
    const double l = sideOf(plane, a, left);
    const double r = sideOf(plane, a, right);
    return (l >= 0.0 && r >= 0.0 && l + r > 0.0) || (l <= 0.0 && r <= 0.0 && l + r < 0.0);
}

std::vector<bool> kivFeatureCreases(const KivSurface& surface, const std::vector<KivFeatureWing>& wings,
                                    const KivFeatureRules& rules, double pixel) {
    if (surface.namesEdges) {
        return namedCreases(surface, wings, rules);
    }
    std::vector<bool> creases = sharpCreases(surface, wings, rules, pixel);
    kivBridgeCreases(surface, wings, rules, creases);
    return creases;
}

double kivPixelOnSurface(const KivSurface& surface, const KivViewpoint& view, double pixelAtOne) {
    if (!view.perspective || surface.points.empty()) {
        return pixelAtOne;
    }
    KivVec low = surface.points.front();
    KivVec high = low;
    for (const KivVec& p : surface.points) {
        low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
    }
    // Around an eye that is inside, much of the surface is about this far off.
    const double least = 0.25 * kivLength(high - low);
    return pixelAtOne * std::max(kivLength(view.toViewer((low + high) * 0.5)), least);
}

bool kivTakeBends(const std::vector<KivFeatureWing>& atRest, std::vector<KivFeatureWing>& posed) {
    const auto isSame = [](const KivFeatureWing& x, const KivFeatureWing& y) { return x.a == y.a && x.b == y.b; };
    if (!std::equal(atRest.begin(), atRest.end(), posed.begin(), posed.end(), isSame)) {
        return false;
    }
    for (std::size_t i = 0; i < posed.size(); ++i) {
        posed[i].bend = atRest[i].bend;
        posed[i].smooth = atRest[i].smooth;
    }
    return true;
}

bool kivFeatureFoldsBeyond(const KivSurface& surface, const KivFeatureWing& wing, const KivViewpoint& view) {
    const KivSurface::NamedEdge* const named = kivNamedEdge(surface, wing.a, wing.b);
    return named != nullptr && named->hasBeyond &&
           kivFeatureIsFold(surface.points[wing.a], surface.points[wing.b], surface.points[wing.left], named->beyond,
                            view);
}

std::vector<KivFeatureEdge> kivFeatureEdges(const KivSurface& surface, const std::vector<KivFeatureWing>& wings,
                                            const std::vector<bool>& creases, const KivViewpoint& view,
                                            const KivFeatureRules& rules) {
    std::vector<KivFeatureEdge> edges;
    for (std::size_t i = 0; i < wings.size(); ++i) {
        const KivFeatureWing& wing = wings[i];
        KivFeatureEdge edge{wing.a, wing.b, KivFeatureKind::crease, static_cast<std::uint32_t>(wing.left), creases[i]};
        if (creases[i] && surface.namesEdges && kivNamedEdge(surface, wing.a, wing.b)->tangent) {
            edge.kind = KivFeatureKind::tangent;
            edge.sharp = false;
        }
        // Where colours meet, a part is in two meshes and ends in neither: named edges are creases or folds there too.
        if (wing.right == KivFeatureWing::none && !surface.namesEdges) {
            edge.kind = KivFeatureKind::border;
            if (rules.borders && !wing.filled) {
                edges.push_back(edge);
            }
            continue;
        }
        if (rules.silhouettes && !wing.junction && isFold(surface, wing, view)) {
            edge.kind = KivFeatureKind::silhouette;
            edges.push_back(edge);
        } else if (creases[i] && (rules.creases || edge.kind == KivFeatureKind::tangent)) {
            edges.push_back(edge);
        }
    }
    return edges;
}
