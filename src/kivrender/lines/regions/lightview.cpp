#include "kivrender/lines/regions/lightview.h"

#include "kivrender/lines/curveorder.h"
#include "kivrender/lines/occluderindex.h"
#include "kivrender/lines/regions/regionborders.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

// Of the light's picture, in pixels: with the steps of the grid a place is known to a part in 16 millions.
constexpr double side = 16384.0;
constexpr std::size_t unitsPerTriangle = 64; // of work, for each outline over it

// What of a convex polygon lies where a linear value is not below 0 (Sutherland and Hodgman, Reentrant polygon
// clipping, 1974).
template <class Value> void keep(std::vector<KivVec>& polygon, Value value) {
    std::vector<KivVec> rest;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        const KivVec& a = polygon[i];
        const KivVec& b = polygon[i + 1 < polygon.size() ? i + 1 : 0];
        const double va = value(a);
        const double vb = value(b);
        if (va >= 0.0) {
            rest.push_back(a);
        }
        if ((va >= 0.0) != (vb >= 0.0)) {
            rest.push_back(a + (b - a) * (va / (va - vb)));
        }
    }
    polygon.swap(rest);
}

float outwards(double value, float towards) {
    return std::nextafter(static_cast<float>(value), towards);
}

double doubleArea(const KivSeenCorner (&c)[3]) {
    return (c[1].x - c[0].x) * (c[2].y - c[0].y) - (c[2].x - c[0].x) * (c[1].y - c[0].y);
}

} // namespace

LightView::LightView(const KivVec& place, const KivVec& axis, double pyramid, double nearest, double farthest)
    : origin(place), along(axis), tangent(pyramid), near(nearest), far(farthest) {
    const KivVec helper = std::fabs(axis.x) < 0.6 ? KivVec{1, 0, 0} : KivVec{0, 1, 0};
    // The picture as the light sees it: what is counterclockwise for it is so here.
    across = kivUnit(kivCross(helper, along));
    upwards = kivCross(across, along);
}

KivVec LightView::inFrame(const KivVec& p) const {
    const KivVec way = p - origin;
    return {kivDot(way, across), kivDot(way, upwards), kivDot(way, along)};
}

KivVec LightView::inWorld(const KivVec& p) const {
    return origin + across * p.x + upwards * p.y + along * p.z;
}

std::vector<KivVec> LightView::clipped(const Triangle& corners) const {
    std::vector<KivVec> polygon;
    for (const KivVec& corner : corners) {
        polygon.push_back(inFrame(corner));
    }
    const auto isInside = [this](const KivVec& p) {
        return p.z >= near && std::fabs(p.x) <= tangent * p.z && std::fabs(p.y) <= tangent * p.z;
    };
    if (std::all_of(polygon.begin(), polygon.end(), isInside)) {
        return polygon;
    }
    keep(polygon, [this](const KivVec& p) { return p.z - near; });
    keep(polygon, [this](const KivVec& p) { return tangent * p.z - p.x; });
    keep(polygon, [this](const KivVec& p) { return tangent * p.z + p.x; });
    keep(polygon, [this](const KivVec& p) { return tangent * p.z - p.y; });
    keep(polygon, [this](const KivVec& p) { return tangent * p.z + p.y; });
    return polygon;
}

// The depth is linear over flat faces: the reciprocal distance, 0 at the nearest and 1 at the farthest.
KivSeenCorner LightView::seen(const KivVec& p) const {
    const double depth = (far / near) * (p.z - near) / p.z / (far / near - 1.0);
    return {0.5 * side * (1.0 + p.x / (p.z * tangent)), 0.5 * side * (1.0 + p.y / (p.z * tangent)), depth};
}

void LightView::addCaster(const Triangle& corners) {
    const std::vector<KivVec> polygon = clipped(corners);
    std::vector<KivSeenCorner> picture;
    for (const KivVec& p : polygon) {
        picture.push_back(seen(p));
    }
    if (picture.size() >= 3) {
        faces.add(picture, 0, side, side);
    }
}

bool LightView::build() {
    outlines.clear();
    return faces.build() && findRegionBorders(faces, {}, outlines);
}

bool LightView::sees(const KivVec& place) const {
    const KivVec p = inFrame(place);
    return p.z > 0.0 && std::fabs(p.x) <= tangent * p.z && std::fabs(p.y) <= tangent * p.z;
}

bool LightView::isHidden(const KivVec& place) const {
    const KivVec p = inFrame(place);
    if (p.z < near) {
        return false;
    }
    const KivSeenCorner c = seen(p);
    return faces.isCoveredBefore(c.x * RegionGrid::steps, c.y * RegionGrid::steps, c.depth);
}

bool LightView::layOutlines(std::uint32_t count, const std::function<Triangle(std::uint32_t)>& triangleOf,
                            const Take& take) const {
    std::vector<KivOccluderBounds> bounds;
    std::vector<std::uint32_t> numbers;
    for (std::uint32_t i = 0; i < count; ++i) {
        if (kivIsCancelledAt(i * std::size_t{4})) {
            return false;
        }
        KivOccluderBounds box = {std::numeric_limits<float>::max(), -std::numeric_limits<float>::max(),
                                 std::numeric_limits<float>::max(), -std::numeric_limits<float>::max(), 0.0F};
        for (const KivVec& p : clipped(triangleOf(i))) {
            const KivSeenCorner c = seen(p);
            box.left = std::min(box.left, outwards(c.x, -1.0F));
            box.right = std::max(box.right, outwards(c.x, 1e9F));
            box.bottom = std::min(box.bottom, outwards(c.y, -1.0F));
            box.top = std::max(box.top, outwards(c.y, 1e9F));
        }
        if (box.left <= box.right) {
            bounds.push_back(box);
            numbers.push_back(i);
        }
    }
    OccluderIndex index;
    if (!index.build(bounds)) {
        return false;
    }
    for (std::size_t i = 0; i < outlines.size(); ++i) {
        const GridSegment& s = outlines[i];
        std::size_t visits = 0;
        const std::size_t boxes =
            index.walk(offRegionGrid(s.a.x), offRegionGrid(s.a.y), offRegionGrid(s.b.x), offRegionGrid(s.b.y), 1.0,
                       [&](std::uint32_t entry) {
                           const std::vector<KivVec> polygon = clipped(triangleOf(numbers[entry]));
                           for (std::size_t k = 2; k < polygon.size(); ++k) {
                               layUpon(s, numbers[entry], {polygon[0], polygon[k - 1], polygon[k]}, take);
                           }
                           ++visits;
                           return visits % 1024 != 0 || faces.work().spend(1024 * unitsPerTriangle);
                       });
        if (!faces.work().spend(boxes + visits % 1024 * unitsPerTriangle)) {
            return false;
        }
    }
    return true;
}

void LightView::layUpon(const GridSegment& outline, std::uint32_t number, const Triangle& frame,
                        const Take& take) const {
    const KivSeenCorner c[3] = {seen(frame[0]), seen(frame[1]), seen(frame[2])};
    const double area = doubleArea(c);
    const double sign = area > 0.0 ? 1.0 : -1.0;
    const double x = offRegionGrid(outline.a.x);
    const double y = offRegionGrid(outline.a.y);
    const double dx = offRegionGrid(outline.b.x) - x;
    const double dy = offRegionGrid(outline.b.y) - y;
    double from = 0.0;
    double to = area != 0.0 && std::isfinite(area) ? 1.0 : -1.0;
    for (std::size_t k = 0; k < 3 && from < to; ++k) {
        const KivSeenCorner& p = c[k];
        const KivSeenCorner& q = c[(k + 1) % 3];
        const double at = sign * ((q.x - p.x) * (y - p.y) - (q.y - p.y) * (x - p.x));
        const double change = sign * ((q.x - p.x) * dy - (q.y - p.y) * dx);
        if (change > 0.0) {
            from = std::max(from, -at / change);
        } else if (change < 0.0) {
            to = std::min(to, -at / change);
        } else if (at < 0.0) {
            return;
        }
    }
    if (!(from < to)) {
        return;
    }
    // The shares of the corners in the picture are those in space after division by their distances.
    const auto lifted = [&](double t) {
        const double px = x + t * dx;
        const double py = y + t * dy;
        KivVec sum;
        double total = 0.0;
        for (std::size_t k = 0; k < 3; ++k) {
            const KivSeenCorner& p = c[(k + 1) % 3];
            const KivSeenCorner& q = c[(k + 2) % 3];
            const double share = ((p.x - px) * (q.y - py) - (q.x - px) * (p.y - py)) / (area * frame[k].z);
            sum = sum + frame[k] * share;
            total += share;
        }
        return inWorld(sum * (1.0 / total));
    };
    take(number, lifted(from), lifted(to));
}
