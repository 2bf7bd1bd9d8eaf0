#include "kivrender/lines/kivoccluders.h"

#include "kivrender/lines/linegrain.h"
#include "kivrender/lines/occluderindex.h"
#include "kivrender/lines/visibleparts.h"
#include "kivrender/scene/kivprogress.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>

namespace {

constexpr std::size_t trianglesPerPoll = 1U << 15U;

float outwards(double value, float towards) {
    return std::nextafter(static_cast<float>(value), towards);
}

// The part of the picture that a triangle in front of the near plane covers.
KivOccluderBounds boundsOf(const KivLineView& view, const KivVec& a, const KivVec& b, const KivVec& c) {
    const KivPicturePoint p = view.toPicture(a);
    const KivPicturePoint q = view.toPicture(b);
    const KivPicturePoint r = view.toPicture(c);
    constexpr float most = std::numeric_limits<float>::max();
    return {outwards(std::min({p.x, q.x, r.x}), -most), outwards(std::max({p.x, q.x, r.x}), most),
            outwards(std::min({p.y, q.y, r.y}), -most), outwards(std::max({p.y, q.y, r.y}), most),
            outwards(std::min({a.z, b.z, c.z}), -most)};
}

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
            addCut(first + t[0], first + t[1], first + t[2], grain);
        }
    }
    return true;
}

// Adds the part of a triangle behind the near plane: nothing, the triangle, or a polygon with three or four corners.
void KivOccluders::addCut(std::uint32_t a, std::uint32_t b, std::uint32_t c, float grain) {
    const double nearest = seenFrom.nearest();
    std::uint32_t kept[4];
    int count = 0;
    const std::uint32_t around[3] = {a, b, c};
    for (int i = 0; i < 3; ++i) {
        const std::uint32_t from = around[i];
        const std::uint32_t to = around[i == 2 ? 0 : i + 1];
        const bool isSeen = corners[from].z >= nearest;
        if (isSeen) {
            kept[count++] = from;
        }
        if (isSeen != (corners[to].z >= nearest)) {
            kept[count++] = pointAtNearPlane(from, to);
        }
    }
    if (count >= 3) {
        addTriangle(kept[0], kept[1], kept[2], grain);
    }
    if (count == 4) {
        addTriangle(kept[0], kept[2], kept[3], grain);
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

void KivOccluders::addTriangle(std::uint32_t a, std::uint32_t b, std::uint32_t c, float grain) {
    const KivOccluderBounds bounds = boundsOf(seenFrom, corners[a], corners[b], corners[c]);
    if (bounds.right >= 0.0F && bounds.left <= seenFrom.width() && bounds.top >= 0.0F &&
        bounds.bottom <= seenFrom.height()) {
        occluders.push_back({{a, b, c}, grain});
    }
}

bool KivOccluders::build() {
    std::vector<KivOccluderBounds> bounds;
    bounds.reserve(occluders.size());
    for (const Occluder& occluder : occluders) {
        if (bounds.size() % trianglesPerPoll == 0 && kivIsCancelled()) {
            return false;
        }
        bounds.push_back(boundsOf(seenFrom, corners[occluder.corners[0]], corners[occluder.corners[1]],
                                  corners[occluder.corners[2]]));
    }
    return index->build(bounds);
}

void KivOccluders::visibleParts(const KivVec& a, const KivVec& b, std::vector<KivLinePart>& parts) const {
    parts.clear();
    const KivVec p = seenFrom.toCamera(a);
    const KivVec q = seenFrom.toCamera(b);
    KivLinePart inPicture;
    if (!seenFrom.clip(p, q, &inPicture.from, &inPicture.to) || !(inPicture.from < inPicture.to)) {
        return;
    }
    VisibleParts visible(parts, inPicture);
    const KivVec start = p + (q - p) * inPicture.from;
    const KivVec end = p + (q - p) * inPicture.to;
    const KivPicturePoint from = seenFrom.toPicture(start);
    const KivPicturePoint to = seenFrom.toPicture(end);
    index->walk(from.x, from.y, to.x, to.y, std::max(start.z, end.z), [&](std::uint32_t which) {
        const Occluder& occluder = occluders[which];
        const KivVec triangle[3] = {corners[occluder.corners[0]], corners[occluder.corners[1]],
                                    corners[occluder.corners[2]]};
        KivLinePart hidden;
        return !kivHiddenPart(seenFrom, triangle, double{occluder.grain}, p, q, &hidden) || visible.hide(hidden);
    });
    visible.finish();
}
