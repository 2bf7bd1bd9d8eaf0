#include "kivrender/lines/regions/regionfaces.h"

#include "kivrender/lines/curveorder.h"
#include "kivrender/lines/visibleparts.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <tuple>

namespace {

// A face that ties with a segment hides it where it reaches so many steps beyond it: neighbours in one plane share
// edges that are not hidden by either.
constexpr double tieMargin = 2.0;

constexpr double workOfAnyPicture = 3e9; // a shell with a bundle of tubes in it takes most of it

float outwards(double value, float towards) {
    return std::nextafter(static_cast<float>(value), towards);
}

// Cuts the part of a segment down to where a value that runs evenly from p to q is not below 0.
bool keepAbove(double p, double q, KivLinePart* part) {
    if (p < 0.0) {
        if (q < 0.0) {
            return false;
        }
        part->from = std::max(part->from, p / (p - q));
    } else if (q < 0.0) {
        part->to = std::min(part->to, p / (p - q));
    }
    return part->from < part->to;
}

KivSeenCorner mix(const KivSeenCorner& a, const KivSeenCorner& b, double t) {
    return {a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t, a.depth + (b.depth - a.depth) * t};
}

// The part of a convex polygon where a value that is linear over the picture is not below 0 (Sutherland and Hodgman,
// Reentrant polygon clipping, 1974). A cut is computed from the end with the smaller coordinates, whichever face asks.
template <class Value, class Onto>
void clip(std::vector<KivSeenCorner>& polygon, std::vector<KivSeenCorner>& rest, Value value, Onto onto) {
    rest.clear();
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        const KivSeenCorner& a = polygon[i];
        const KivSeenCorner& b = polygon[i + 1 < polygon.size() ? i + 1 : 0];
        const double va = value(a);
        const double vb = value(b);
        if (va >= 0.0) {
            rest.push_back(a);
        }
        if ((va >= 0.0) != (vb >= 0.0)) {
            const bool forwards = std::tie(a.x, a.y) < std::tie(b.x, b.y);
            KivSeenCorner cut = forwards ? mix(a, b, va / (va - vb)) : mix(b, a, vb / (vb - va));
            onto(cut);
            rest.push_back(cut);
        }
    }
    polygon.swap(rest);
}

void clipToPicture(std::vector<KivSeenCorner>& polygon, double width, double height) {
    std::vector<KivSeenCorner> rest;
    clip(
        polygon, rest, [](const KivSeenCorner& c) { return c.x; }, [](KivSeenCorner& c) { c.x = 0.0; });
    clip(
        polygon, rest, [=](const KivSeenCorner& c) { return width - c.x; }, [=](KivSeenCorner& c) { c.x = width; });
    clip(
        polygon, rest, [](const KivSeenCorner& c) { return c.y; }, [](KivSeenCorner& c) { c.y = 0.0; });
    clip(
        polygon, rest, [=](const KivSeenCorner& c) { return height - c.y; }, [=](KivSeenCorner& c) { c.y = height; });
}

} // namespace

void RegionFaces::add(std::span<const KivSeenCorner> seen, std::uint32_t look, double width, double height) {
    bool isInside = true;
    for (const KivSeenCorner& c : seen) {
        if (!(std::fabs(c.x) < RegionGrid::farthest) || !(std::fabs(c.y) < RegionGrid::farthest) ||
            !std::isfinite(c.depth)) {
            return;
        }
        isInside = isInside && c.x >= 0.0 && c.y >= 0.0 && c.x <= width && c.y <= height;
    }
    std::vector<KivSeenCorner> clipped;
    if (!isInside) {
        clipped.assign(seen.begin(), seen.end());
        clipToPicture(clipped, width, height);
        seen = clipped;
    }
    if (seen.size() < 3 || look == noLook) {
        return;
    }
    const auto first = static_cast<std::uint32_t>(points.size());
    for (const KivSeenCorner& c : seen) {
        // The sum turns -0 into 0.
        points.push_back({{onRegionGrid(c.x), onRegionGrid(c.y)}, c.depth + 0.0});
        farthestDepth = std::max(farthestDepth, std::fabs(c.depth));
    }
    const std::size_t before = triangles.size();
    for (std::uint32_t i = 2; i < seen.size(); ++i) {
        Face face = {{first, first + i - 1, first + i}, look};
        const std::int64_t side = gridSide(points[first].place, points[first + i - 1].place, points[first + i].place);
        if (side < 0) {
            std::swap(face.corners[1], face.corners[2]);
        }
        if (side != 0) {
            triangles.push_back(face);
        }
    }
    if (triangles.size() == before) {
        points.resize(first);
    }
}

bool RegionFaces::build(double effort) {
    budget = LineBudget(LineBudget::allowance(triangles.size(), effort, workOfAnyPicture));
    planes.reserve(triangles.size());
    noises.reserve(triangles.size());
    for (std::size_t i = 0; i < triangles.size(); ++i) {
        if (kivIsCancelledAt(i)) {
            return false;
        }
        planes.push_back(planeThrough(triangles[i]));
        noises.push_back(noiseOfPlane(planes.back()));
    }
    std::vector<KivOccluderBounds> boxes;
    return cutIntoBoxes(boxes, owners) && index.build(boxes);
}

bool RegionFaces::cutIntoBoxes(std::vector<KivOccluderBounds>& boxes, std::vector<std::uint32_t>& ownersOfBoxes) const {
    return kivCutIntoBoxes(
        triangles.size(), [this](std::size_t i) { return piecesOf(triangles[i]); },
        [this](std::size_t i) { return noises[i]; }, boxes, ownersOfBoxes);
}

OccluderPieces RegionFaces::piecesOf(const Face& face) const {
    std::array<KivPicturePoint, 3> places;
    std::array<double, 3> depths{};
    for (std::size_t i = 0; i < 3; ++i) {
        const RegionCorner& corner = points[face.corners[i]];
        places[i] = {offRegionGrid(corner.place.x), offRegionGrid(corner.place.y)};
        depths[i] = corner.depth;
    }
    return {places, depths};
}

RegionPlane RegionFaces::planeThrough(const Face& face) const {
    const RegionCorner& a = points[face.corners[0]];
    const RegionCorner& b = points[face.corners[1]];
    const RegionCorner& c = points[face.corners[2]];
    const double x1 = static_cast<double>(b.place.x) - a.place.x;
    const double y1 = static_cast<double>(b.place.y) - a.place.y;
    const double x2 = static_cast<double>(c.place.x) - a.place.x;
    const double y2 = static_cast<double>(c.place.y) - a.place.y;
    const double rise1 = b.depth - a.depth;
    const double rise2 = c.depth - a.depth;
    const double area = x1 * y2 - x2 * y1;
    return {a.place,
            a.depth,
            (rise1 * y2 - rise2 * y1) / area,
            (rise2 * x1 - rise1 * x2) / area,
            std::min({a.depth, b.depth, c.depth}),
            std::max({a.depth, b.depth, c.depth})};
}

// A depth in single precision, and what the face rises over a step of the grid.
double RegionFaces::noiseOfPlane(const RegionPlane& plane) const {
    return farthestDepth * 0x1p-24 +
           std::min(std::fabs(plane.slopeX) + std::fabs(plane.slopeY), 0.1 * (plane.high - plane.low));
}

bool RegionFaces::covers(const Face& face, double x, double y) const {
    for (int i = 0; i < 3; ++i) {
        const GridPoint& a = points[face.corners[i]].place;
        const GridPoint& b = points[face.corners[i == 2 ? 0 : i + 1]].place;
        if ((static_cast<double>(b.x) - a.x) * (y - a.y) - (static_cast<double>(b.y) - a.y) * (x - a.x) < 0.0) {
            return false;
        }
    }
    return true;
}

// How far the nearest face may reach, and the last of those that may be as near.
std::uint32_t RegionFaces::faceAt(double x, double y) const {
    double reach = std::numeric_limits<double>::infinity();
    if (!budget.goesOn()) {
        return noFace;
    }
    constexpr float most = std::numeric_limits<float>::max();
    candidates.clear();
    const std::size_t boxes = index.probe(offRegionGrid(x), offRegionGrid(y), [&](std::uint32_t box) {
        const std::uint32_t number = owners[box];
        const Face& face = triangles[number];
        if (covers(face, x, y)) {
            const RegionPlane& plane = planes[number];
            const double depth = std::clamp(plane.at(x, y), plane.low, plane.high);
            const double noise = noises[number];
            reach = std::min(reach, depth + noise);
            if (depth - noise <= reach) {
                candidates.push_back({number, std::max(depth - noise, double{outwards(plane.low, -most)})});
            }
        }
        return reach;
    });
    budget.spend(boxes);
    std::uint32_t last = noFace;
    for (const Candidate& face : candidates) {
        if (face.from <= reach && (last == noFace || face.number > last)) {
            last = face.number;
        }
    }
    return last;
}

std::uint32_t RegionFaces::lookAt(double x, double y) const {
    const std::uint32_t face = faceAt(x, y);
    return face != noFace ? triangles[face].look : noLook;
}

bool RegionFaces::isCoveredBefore(double x, double y, double depth) const {
    bool isCovered = false;
    const std::size_t boxes = index.probe(offRegionGrid(x), offRegionGrid(y), [&](std::uint32_t box) {
        const std::uint32_t number = owners[box];
        if (!isCovered && covers(triangles[number], x, y)) {
            const RegionPlane& plane = planes[number];
            isCovered = std::clamp(plane.at(x, y), plane.low, plane.high) < depth;
        }
        return isCovered ? -std::numeric_limits<double>::infinity() : depth;
    });
    budget.spend(boxes);
    return isCovered;
}

// Where the segment runs inside the triangle, by more than the margin in steps.
bool RegionFaces::insidePart(const Face& face, const RegionLine& line, double margin, KivLinePart* part) const {
    *part = {0.0, 1.0};
    for (int i = 0; i < 3; ++i) {
        const GridPoint& a = points[face.corners[i]].place;
        const GridPoint& b = points[face.corners[i == 2 ? 0 : i + 1]].place;
        const double inset =
            margin > 0.0 ? margin * std::hypot(static_cast<double>(b.x) - a.x, static_cast<double>(b.y) - a.y) : 0.0;
        if (!keepAbove(static_cast<double>(gridSide(a, b, line.a.place)) - inset,
                       static_cast<double>(gridSide(a, b, line.b.place)) - inset, part)) {
            return false;
        }
    }
    return true;
}

// Whether a face that ties with a line would hide the line's own faces beside it, too: where one of those comes nearer
// than the plane of the face, the line is its edge in sight.
bool RegionFaces::liesOver(std::uint32_t face, const RegionPlane& plane, const RegionLine& line, double noise) const {
    return face > line.order && !line.beside.empty() &&
           std::none_of(line.beside.begin(), line.beside.end(), [&](const RegionCorner& corner) {
               return plane.at(corner.place.x, corner.place.y) - corner.depth > noise;
           });
}

void RegionFaces::visibleParts(const RegionLine& line, std::vector<KivLinePart>& parts) const {
    VisibleParts rest(parts, {0.0, 1.0});
    const double farther = 2.0 * line.noise + farthestDepth * 0x1p-20;
    const auto at = [&](double t) {
        return std::array<double, 2>{line.a.place.x + t * (static_cast<double>(line.b.place.x) - line.a.place.x),
                                     line.a.place.y + t * (static_cast<double>(line.b.place.y) - line.a.place.y)};
    };
    const auto segmentOf = [&](const KivLinePart& part) {
        const auto [x0, y0] = at(part.from);
        const auto [x1, y1] = at(part.to);
        const double rise = line.b.depth - line.a.depth;
        return OccluderIndex::Segment{offRegionGrid(x0),
                                      offRegionGrid(y0),
                                      offRegionGrid(x1),
                                      offRegionGrid(y1),
                                      line.a.depth + rise * part.from + farther,
                                      line.a.depth + rise * part.to + farther};
    };
    // Of a long segment less and less is left to ask about.
    KivLinePart asked = {0.0, 1.0};
    constexpr double worthIt = 0.75;
    const std::size_t boxes = index.walkRest(segmentOf(asked), [&](std::uint32_t box, auto* shorter) {
        const std::uint32_t number = owners[box];
        const Face& face = triangles[number];
        KivLinePart inside;
        if (!insidePart(face, line, 0.0, &inside)) {
            return true;
        }
        const RegionPlane& plane = planes[number];
        const double noise = noises[number] + line.noise;
        const auto behind = [&](double t) {
            const auto [x, y] = at(t);
            return line.a.depth + t * (line.b.depth - line.a.depth) - std::clamp(plane.at(x, y), plane.low, plane.high);
        };
        const auto hide = [&](KivLinePart part, double margin) {
            const double from = behind(part.from) - margin;
            const double to = behind(part.to) - margin;
            KivLinePart deep = {0.0, 1.0};
            if ((from <= 0.0 && to <= 0.0) || !keepAbove(from, to, &deep)) {
                return true;
            }
            const double length = part.to - part.from;
            return rest.hide({deep.from > 0.0 ? part.from + deep.from * length : part.from,
                              deep.to < 1.0 ? part.from + deep.to * length : part.to});
        };
        if (!hide(inside, noise) || (liesOver(number, plane, line, noise) &&
                                     insidePart(face, line, tieMargin, &inside) && !hide(inside, -noise))) {
            return false;
        }
        const KivLinePart reach = rest.reach();
        if (reach.to - reach.from < worthIt * (asked.to - asked.from)) {
            asked = reach;
            *shorter = segmentOf(reach);
        }
        return true;
    });
    budget.spend(boxes);
    rest.finish();
}
