#include "kivrender/lines/kivoccluders.h"

#include "kivrender/lines/linegrain.h"
#include "kivrender/lines/occluderindex.h"
#include "kivrender/lines/occluderpieces.h"
#include "kivrender/lines/visibleparts.h"
#include "kivrender/scene/kivprogress.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>

namespace {

constexpr std::size_t trianglesPerPoll = 1U << 15U;
constexpr std::size_t visitsPerPoll = 1U << 14U; // of triangles that may hide a segment

} // namespace

KivOccluders::KivOccluders(const KivLineView& view) : seenFrom(view), index(std::make_unique<OccluderIndex>()) {}

KivOccluders::~KivOccluders() = default;

bool KivOccluders::add(std::span<const KivVec> points, std::span<const Triangle> triangles) {
    if (!seenFrom.seesAnything()) {
        return true;
    }
    const auto first = static_cast<std::uint32_t>(corners.size());
    corners.reserve(corners.size() + points.size());
    for (const KivVec& point : points) {
        corners.push_back(seenFrom.toCamera(point));
    }
    const auto grain = static_cast<float>(kivGrainOf(points, triangles));
    occluders.reserve(occluders.size() + triangles.size());
    for (std::size_t i = 0; i < triangles.size(); ++i) {
        if (i % trianglesPerPoll == 0 && kivIsCancelled()) {
            return false;
        }
        const Triangle& t = triangles[i];
        if (kivIsWhole(points, t)) {
            addCut({{first + t[0], first + t[1], first + t[2]}, added + static_cast<std::uint32_t>(i), grain});
        }
    }
    added += static_cast<std::uint32_t>(triangles.size());
    return true;
}

// Adds the part of a triangle behind the near plane: nothing, the triangle, or a polygon with three or four corners.
void KivOccluders::addCut(const Occluder& triangle) {
    const double nearest = seenFrom.nearest();
    std::uint32_t kept[4];
    int count = 0;
    for (int i = 0; i < 3; ++i) {
        const std::uint32_t from = triangle.corners[i];
        const std::uint32_t to = triangle.corners[i == 2 ? 0 : i + 1];
        const bool isSeen = corners[from].z >= nearest;
        if (isSeen) {
            kept[count++] = from;
        }
        if (isSeen != (corners[to].z >= nearest)) {
            kept[count++] = pointAtNearPlane(from, to);
        }
    }
    if (count >= 3) {
        addTriangle({{kept[0], kept[1], kept[2]}, triangle.number, triangle.grain});
    }
    if (count == 4) {
        addTriangle({{kept[0], kept[2], kept[3]}, triangle.number, triangle.grain});
    }
}

// The same point whichever of the two triangles at the edge asks.
std::uint32_t KivOccluders::pointAtNearPlane(std::uint32_t a, std::uint32_t b) {
    KivVec p = corners[a];
    KivVec q = corners[b];
    if (std::tie(q.x, q.y, q.z) < std::tie(p.x, p.y, p.z)) {
        std::swap(p, q);
    }
    KivVec cut = p + (q - p) * ((seenFrom.nearest() - p.z) / (q.z - p.z));
    cut.z = seenFrom.nearest();
    corners.push_back(cut);
    return static_cast<std::uint32_t>(corners.size() - 1);
}

void KivOccluders::addTriangle(const Occluder& triangle) {
    const KivPicturePoint p = seenFrom.toPicture(corners[triangle.corners[0]]);
    const KivPicturePoint q = seenFrom.toPicture(corners[triangle.corners[1]]);
    const KivPicturePoint r = seenFrom.toPicture(corners[triangle.corners[2]]);
    if (std::max({p.x, q.x, r.x}) >= 0.0 && std::min({p.x, q.x, r.x}) <= seenFrom.width() &&
        std::max({p.y, q.y, r.y}) >= 0.0 && std::min({p.y, q.y, r.y}) <= seenFrom.height()) {
        occluders.push_back(triangle);
    }
}

OccluderPieces KivOccluders::piecesOf(const Occluder& triangle) const {
    return {seenFrom, {corners[triangle.corners[0]], corners[triangle.corners[1]], corners[triangle.corners[2]]}};
}

bool KivOccluders::build() {
    std::vector<KivOccluderBounds> boxes;
    return kivCutIntoBoxes(
               occluders.size(), [this](std::size_t i) { return piecesOf(occluders[i]); },
               [](std::size_t) { return 0.0; }, boxes, owners) &&
           index->build(boxes);
}

void KivOccluders::visibleParts(const KivVec& a, const KivVec& b, std::vector<KivLinePart>& parts) const {
    findParts(a, b, parts, [](std::uint32_t, const KivLinePart&) { return true; });
}

void KivOccluders::visibleParts(const KivVec& a, const KivVec& b, std::span<const std::uint32_t> exempt,
                                std::vector<KivLinePart>& parts, std::vector<KivLinePart>& excused) const {
    excused.clear();
    findParts(a, b, parts, [&](std::uint32_t number, const KivLinePart& hidden) {
        if (!std::binary_search(exempt.begin(), exempt.end(), number)) {
            return true;
        }
        excused.push_back(hidden);
        return false;
    });
}

template <class Hides>
void KivOccluders::findParts(const KivVec& a, const KivVec& b, std::vector<KivLinePart>& parts, Hides hides) const {
    parts.clear();
    const KivVec p = seenFrom.toCamera(a);
    const KivVec q = seenFrom.toCamera(b);
    KivLinePart inPicture;
    if (!seenFrom.clip(p, q, &inPicture.from, &inPicture.to) || !(inPicture.from < inPicture.to)) {
        return;
    }
    VisibleParts visible(parts, inPicture);
    const auto segmentOf = [&](const KivLinePart& part) {
        const KivVec start = p + (q - p) * part.from;
        const KivVec end = p + (q - p) * part.to;
        const KivPicturePoint from = seenFrom.toPicture(start);
        const KivPicturePoint to = seenFrom.toPicture(end);
        return OccluderIndex::Segment{from.x, from.y, to.x, to.y, start.z, end.z};
    };
    // Of a long segment less and less is left to ask about.
    KivLinePart asked = inPicture;
    constexpr double worthIt = 0.75;
    std::size_t visits = 0;
    const std::size_t boxes = index->walkRest(segmentOf(inPicture), [&](std::uint32_t which, auto* rest) {
        if (++visits % visitsPerPoll == 0 && kivIsCancelled()) {
            return false;
        }
        const Occluder& occluder = occluders[owners[which]];
        const KivVec triangle[3] = {corners[occluder.corners[0]], corners[occluder.corners[1]],
                                    corners[occluder.corners[2]]};
        KivLinePart hidden;
        if (!kivHiddenPart(seenFrom, triangle, double{occluder.grain}, p, q, &hidden) ||
            !hides(occluder.number, hidden)) {
            return true;
        }
        const bool goesOn = visible.hide(hidden);
        const KivLinePart reach = visible.reach();
        if (goesOn && reach.to - reach.from < worthIt * (asked.to - asked.from)) {
            asked = reach;
            *rest = segmentOf(reach);
        }
        return goesOn;
    });
    looks.fetch_add(boxes, std::memory_order_relaxed);
    visible.finish();
}

namespace {

// The depth of a triangle at a place inside it in the picture; infinite outside.
double depthAt(const KivLineView& view, const KivVec (&corners)[3], const KivPicturePoint& place) {
    KivPicturePoint p[3];
    for (int i = 0; i < 3; ++i) {
        p[i] = view.toPicture(corners[i]);
    }
    const auto area = [](const KivPicturePoint& a, const KivPicturePoint& b, const KivPicturePoint& c) {
        return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
    };
    const double all = area(p[0], p[1], p[2]);
    const double parts[3] = {area(place, p[1], p[2]) / all, area(p[0], place, p[2]) / all,
                             area(p[0], p[1], place) / all};
    if (!(parts[0] >= 0.0 && parts[1] >= 0.0 && parts[2] >= 0.0)) {
        return std::numeric_limits<double>::infinity();
    }
    // One over the depth runs evenly across a picture with perspective.
    const auto evenly = [&](double z) { return view.isPerspective() ? 1.0 / z : z; };
    return evenly(parts[0] * evenly(corners[0].z) + parts[1] * evenly(corners[1].z) + parts[2] * evenly(corners[2].z));
}

} // namespace

double KivOccluders::nearestAt(const KivPicturePoint& place) const {
    double nearest = std::numeric_limits<double>::infinity();
    const std::size_t boxes = index->probe(place.x, place.y, [&](std::uint32_t which) {
        const Occluder& occluder = occluders[owners[which]];
        const KivVec triangle[3] = {corners[occluder.corners[0]], corners[occluder.corners[1]],
                                    corners[occluder.corners[2]]};
        nearest = std::min(nearest, depthAt(seenFrom, triangle, place));
        return nearest;
    });
    looks.fetch_add(boxes, std::memory_order_relaxed);
    return nearest;
}
