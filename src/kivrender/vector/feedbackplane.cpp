#include "kivrender/vector/feedbackplane.h"

namespace {

FeedbackVector between(const FeedbackVertex& from, const FeedbackVertex& to) {
    return {static_cast<double>(to.x) - from.x, static_cast<double>(to.y) - from.y, static_cast<double>(to.z) - from.z};
}

FeedbackVector directionBetween(const FeedbackVertex& from, const FeedbackVertex& to) {
    FeedbackVector direction = between(from, to);
    direction.normalise();
    return direction;
}

// For the dot product of two unit vectors: do they point the same way or opposite ways?
bool isParallel(double dot) {
    const double error = dot > 0.0 ? dot - 1.0 : dot + 1.0;
    return error < 1e-6 && error > -1e-6;
}

} // namespace

FeedbackPlane::FeedbackPlane(const FeedbackVertex& p0, const FeedbackVertex& p1, const FeedbackVertex& p2) {
    // Both members are assigned, so a cross product within the tolerance of zero leaves no normal, and a point near the
    // origin becomes the origin.
    normal = directionBetween(p0, p1).cross(directionBetween(p0, p2));
    normal.normalise();
    point = p2;
}

bool FeedbackPlane::isCoplanar(SweepTriangle* triangle) {
    const FeedbackVertex* vertices = triangle->vertices;
    return isCoplanar(*triangle, FeedbackPlane(vertices[0], vertices[1], vertices[2]).normal);
}

bool FeedbackPlane::isCoplanar(const SweepTriangle& triangle, const FeedbackVector& triangleNormal) const {
    if (!isParallel(normal.dot(triangleNormal)))
        return false;
    const FeedbackVertex& reached = triangle.vertices[point == triangle.vertices[0] ? 2 : 0];
    const FeedbackVector toPoint = directionBetween(reached, point);
    // Perpendicular to both, and then back: the normal again if the triangle lies in the plane.
    FeedbackVector aside = normal.cross(toPoint);
    aside.normalise();
    FeedbackVector back = toPoint.cross(aside);
    back.normalise();
    return isParallel(normal.dot(back));
}
