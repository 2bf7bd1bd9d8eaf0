#include "kivrender/scene/kivoutline.h"

#include <cmath>
#include <utility>

namespace {

constexpr double coincidence = 1e-6; // places this near to each other on every axis are one
constexpr double rayLength = 1000.0;
constexpr double sideStep = 0.001; // how far beside an edge its sides are looked at
constexpr double fullTurn = 6.283185307179586;

Kiv3DPoint flat(const Kiv3DPoint& point) {
    return {point.x, point.y, 0.0};
}

bool coincide(const Kiv3DPoint& a, const Kiv3DPoint& b) {
    return a.isEqual(b, coincidence);
}

// A line in the x-y plane.
struct PlaneLine {
    PlaneLine(const Kiv3DPoint& p, const Kiv3DPoint& q) : vertical(p.x == q.x) {
        if (!vertical) {
            slope = (q.y - p.y) / (q.x - p.x);
            intercept = p.y - slope * p.x;
        }
    }

    double at(double x) const {
        return slope * x + intercept;
    }

    bool vertical;
    double slope = 0.0;
    double intercept = 0.0;
};

// Whether the point is no farther from either end than the two ends are from each other.
bool isBetween(const Kiv3DPoint& point, const Kiv3DPoint& from, const Kiv3DPoint& to) {
    const double length = from.distanceTo(to);
    return !(point.distanceTo(from) > length) && !(point.distanceTo(to) > length);
}

} // namespace

KivOutline::KivOutline() = default;

KivOutline::KivOutline(const std::vector<Kiv3DPoint>& points) {
    addPolygon(points);
}

KivOutline::KivOutline(const KivOutline& other) {
    addOutline(other);
}

KivOutline::~KivOutline() = default;

bool KivOutline::addPolygon(const std::vector<Kiv3DPoint>& points) {
    if (points.empty()) {
        return false;
    }
    bool added = false;
    const auto add = [&](const Kiv3DPoint& start, const Kiv3DPoint& end) {
        added |= addEdge(std::make_unique<KivOutlineEdge>(KivOutlineEdge{start, end, true}));
    };
    for (std::size_t i = 1; i < points.size(); ++i) {
        add(points[i - 1], points[i]);
    }
    if (points.front() != points.back()) {
        add(points.back(), points.front());
    }
    return added;
}

bool KivOutline::addEdge(std::unique_ptr<KivOutlineEdge> edge) {
    if (findEdge(*edge)) {
        return false;
    }
    edges.push_back(std::move(edge));
    return true;
}

bool KivOutline::findEdge(const KivOutlineEdge& edge) {
    for (const auto& own : edges) {
        if ((coincide(own->start, edge.start) && coincide(own->end, edge.end)) ||
            (coincide(own->start, edge.end) && coincide(own->end, edge.start))) {
            own->active = true;
            return true;
        }
    }
    return false;
}

bool KivOutline::addOutline(const KivOutline& other) {
    bool added = false;
    for (const auto& edge : other.edges) {
        if (edge->active) {
            added |= addEdge(std::make_unique<KivOutlineEdge>(*edge));
        }
    }
    return added;
}

bool KivOutline::segmentsIntersect(const Kiv3DPoint& a0, const Kiv3DPoint& a1, const Kiv3DPoint& b0,
                                   const Kiv3DPoint& b1, bool asSegments, Kiv3DPoint* hit) {
    const Kiv3DPoint p0 = flat(a0);
    const Kiv3DPoint p1 = flat(a1);
    const Kiv3DPoint q0 = flat(b0);
    const Kiv3DPoint q1 = flat(b1);
    // A segment does not cross itself.
    if ((coincide(p0, q0) && coincide(p1, q1)) || (coincide(p0, q1) && coincide(p1, q0))) {
        return false;
    }
    const PlaneLine a(p0, p1);
    const PlaneLine b(q0, q1);
    Kiv3DPoint place;
    if (a.vertical && b.vertical) {
        if (p0.x != q0.x || !overlapPoint(p0, p1, q0, q1, &place)) {
            return false;
        }
    } else if (b.vertical) {
        place.set(q0.x, a.at(q0.x), 0.0);
    } else if (a.vertical) {
        place.set(p0.x, b.at(p0.x), 0.0);
    } else if (a.slope != b.slope) {
        const double x = (b.intercept - a.intercept) / (a.slope - b.slope);
        place.set(x, a.at(x), 0.0);
    } else if (a.intercept != b.intercept || !overlapPoint(p0, p1, q0, q1, &place)) {
        return false;
    }
    if (asSegments && !(isBetween(place, p0, p1) && isBetween(place, q0, q1))) {
        return false;
    }
    *hit = place;
    return true;
}

bool KivOutline::overlapPoint(const Kiv3DPoint& a0, const Kiv3DPoint& a1, const Kiv3DPoint& b0, const Kiv3DPoint& b1,
                              Kiv3DPoint* hit) {
    const Kiv3DPoint p0 = flat(a0);
    const Kiv3DPoint p1 = flat(a1);
    const Kiv3DPoint q0 = flat(b0);
    const Kiv3DPoint q1 = flat(b1);
    const auto liesWithin = [](const Kiv3DPoint& point, const Kiv3DPoint& from, const Kiv3DPoint& to) {
        const double length = from.distanceTo(to);
        return length > point.distanceTo(from) && length > point.distanceTo(to);
    };
    const auto isEnd = [](const Kiv3DPoint& point, const Kiv3DPoint& from, const Kiv3DPoint& to) {
        return point == from || point == to;
    };
    // In this order: each end strictly within the other segment, then the common ends.
    const std::pair<bool, Kiv3DPoint> candidates[] = {{liesWithin(p0, q0, q1), p0}, {liesWithin(p1, q0, q1), p1},
                                                      {liesWithin(q0, p0, p1), q0}, {liesWithin(q1, p0, p1), q1},
                                                      {isEnd(p0, q0, q1), p0},      {isEnd(p1, q0, q1), p1}};
    for (const auto& [found, place] : candidates) {
        if (found) {
            *hit = place;
            return true;
        }
    }
    return false;
}

Kiv3DPoint KivOutline::rayEnd(const Kiv3DPoint& point) const {
    raySeed = raySeed * 1664525U + 1013904223U;
    constexpr std::uint32_t largest = 32767;
    const double angle = ((raySeed >> 16U) & largest) / static_cast<double>(largest) * fullTurn;
    return point + Kiv3DVector(std::cos(angle), std::sin(angle), 0.0) * rayLength;
}

bool KivOutline::isPointOnOutline(const Kiv3DPoint& point, bool flatten) const {
    const Kiv3DPoint from = flatten ? flat(point) : point;
    const Kiv3DPoint to = rayEnd(from);
    for (const auto& edge : edges) {
        Kiv3DPoint hit;
        if (edge->active && segmentsIntersect(from, to, edge->start, edge->end, true, &hit) &&
            hit.distanceTo(from) < coincidence) {
            return true;
        }
    }
    return false;
}

// By the parity of crossings along a ray (Shimrat, Algorithm 112: Position of Point Relative to Polygon, 1962).
bool KivOutline::isPointInside(const Kiv3DPoint& point, bool flatten, bool whenOnOutline) const {
    if (isPointOnOutline(point, flatten)) {
        return whenOnOutline;
    }
    const Kiv3DPoint from = flatten ? flat(point) : point;
    const Kiv3DPoint to = rayEnd(from);
    bool inside = false;
    for (const auto& edge : edges) {
        Kiv3DPoint hit;
        if (edge->active && segmentsIntersect(from, to, edge->start, edge->end, true, &hit)) {
            inside = !inside;
        }
    }
    return inside;
}

bool KivOutline::containsOutline(const KivOutline& other, bool flatten, bool whenOnOutline) const {
    // The edges asked for are this outline's own, as many as the other has: the test is switched off, and what it would
    // drop has to stay known as it is. An outline shorter than the other ends the walk.
    for (std::size_t i = 0; i < other.edges.size() && i < edges.size(); ++i) {
        const KivOutlineEdge& edge = *edges[i];
        if (edge.active &&
            !(isPointInside(edge.start, flatten, whenOnOutline) && isPointInside(edge.end, flatten, whenOnOutline))) {
            return false;
        }
    }
    return true;
}

bool KivOutline::merge(const KivOutline& other) {
    if (containsOutline(other, true, true)) {
        return false;
    }
    KivOutline copy(other);
    clipAgainst(copy, *this, true);
    clipAgainst(*this, other, true);
    return addOutline(copy);
}

void KivOutline::splitAt(KivOutline& outline, const KivOutline& other) {
    // By number: the parts that are split off join the list and are split in their turn.
    for (std::size_t i = 0; i < outline.edges.size(); ++i) {
        KivOutlineEdge& edge = *outline.edges[i];
        if (!edge.active) {
            continue;
        }
        for (const auto& cutter : other.edges) {
            Kiv3DPoint hit;
            if (cutter->active && segmentsIntersect(edge.start, edge.end, cutter->start, cutter->end, true, &hit) &&
                !coincide(hit, flat(edge.end)) && !coincide(hit, flat(edge.start))) {
                outline.addEdge(std::make_unique<KivOutlineEdge>(KivOutlineEdge{hit, edge.end, true}));
                edge.end = hit;
            }
        }
    }
}

void KivOutline::clipAgainst(KivOutline& outline, const KivOutline& other, bool removeInside) {
    const KivOutline before(outline);
    splitAt(outline, other);
    for (const auto& edge : outline.edges) {
        if (!edge->active) {
            continue;
        }
        const Kiv3DVector along = edge->end - edge->start;
        const Kiv3DPoint middle = edge->start + along / 2.0;
        bool inside = other.isPointInside(middle, true, true);
        if (inside && other.isPointOnOutline(middle, true)) {
            // Both outlines run along here. Where they lie on the same side the edge belongs to the union.
            const Kiv3DPoint beside = middle + along.normal().perpVector() * sideStep;
            if (other.isPointInside(beside, true, false) == before.isPointInside(beside, true, false)) {
                inside = false;
            }
        }
        if (inside) {
            edge->active = removeInside != inside;
        }
    }
}
