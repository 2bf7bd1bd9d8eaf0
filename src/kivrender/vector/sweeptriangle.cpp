#include "kivrender/vector/sweeptriangle.h"

namespace {

float coordinate(const FeedbackVertex& vertex, int axis) {
    return axis == 0 ? vertex.x : axis == 1 ? vertex.y : vertex.z;
}

} // namespace

SweepTriangle::SweepTriangle(const FeedbackPrimitive& triangle)
    : vertices{triangle.vertices[0], triangle.vertices[1], triangle.vertices[2]} {}

void SweepTriangle::computeExtents() {
    maxExtent = minExtent = coordinate(vertices[0], axis);
    for (const int other : {1, 2}) {
        const float value = coordinate(vertices[other], axis);
        if (value > maxExtent)
            maxExtent = value;
        else if (value < minExtent)
            minExtent = value;
    }
}
