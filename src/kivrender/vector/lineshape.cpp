#include "kivrender/vector/lineshape.h"

namespace {

// Where a vertex lies along a line, by each axis: 0 at the start, 1 at the end.
struct LineParameters {
    double byX;
    double byY;
};

LineParameters parametersOn(const LineShape& a, const FeedbackVertex& vertex) {
    const bool tinyX = FeedbackVector2::isTiny(a.along.x);
    const bool tinyY = FeedbackVector2::isTiny(a.along.y);
    // Positions are floats, and so are their differences.
    const double fromStartX = vertex.x - a.start.x;
    const double fromStartY = vertex.y - a.start.y;
    if (tinyX && tinyY)
        return {0.0, 0.0};
    if (tinyY) {
        const double byX = fromStartX / a.along.x;
        return {byX, vertex.y == a.start.y ? byX : 0.0};
    }
    if (tinyX) {
        const double byY = fromStartY / a.along.y;
        return {vertex.x == a.start.x ? byY : 0.0, byY};
    }
    return {fromStartX / a.along.x, fromStartY / a.along.y};
}

bool isWithin(double parameter) {
    return parameter >= 0.0 && parameter <= 1.0;
}

} // namespace

LineShape::LineShape(const FeedbackPrimitive& line) {
    // Assigned, not copied: an end near the origin snaps to it and loses its colour.
    start = line.vertices[0];
    end = line.vertices[1];
    along = {end.x - start.x, end.y - start.y};
    scaled = along;
    scaled.lengthScaled();
}

LineShape& LineShape::operator=(const LineShape& other) {
    // The assignment of vertices would keep an end that is close to the new one.
    start.replaceBy(other.start);
    end.replaceBy(other.end);
    along = other.along;
    scaled = other.scaled;
    return *this;
}

LineFate LineShape::compare(const LineShape& a, const LineShape& b) {
    if (!(a.scaled == b.scaled) && !(a.scaled * -1.0 == b.scaled))
        return LineFate::Separate;
    const LineParameters first = parametersOn(a, b.start);
    const LineParameters second = parametersOn(a, b.end);
    if (!FeedbackVector2::isTiny(first.byY - first.byX) || !FeedbackVector2::isTiny(second.byY - second.byX))
        return LineFate::Separate;
    const double t0 = first.byX;
    const double t1 = second.byX;
    if (isWithin(t0)) {
        if (isWithin(t1))
            return LineFate::KeepA;
        return t1 > 1.0 ? LineFate::NewAsBe : LineFate::NewBeAe;
    }
    if (isWithin(t1))
        return t0 < 0.0 ? LineFate::NewBsAe : LineFate::NewAsBs;
    // Both ends of b lie beyond a: on two sides, or on one and then the lines do not meet.
    return (t0 < 0.0) != (t1 < 0.0) ? LineFate::KeepB : LineFate::Separate;
}

std::pair<const FeedbackVertex*, const FeedbackVertex*> LineShape::newEnds(LineFate fate, const LineShape& a,
                                                                           const LineShape& b) {
    switch (fate) {
    case LineFate::NewAsBe:
        return {&a.start, &b.end};
    case LineFate::NewBeAe:
        return {&b.end, &a.end};
    case LineFate::NewBsAe:
        return {&b.start, &a.end};
    case LineFate::NewAsBs:
        return {&a.start, &b.start};
    default:
        return {nullptr, nullptr};
    }
}
