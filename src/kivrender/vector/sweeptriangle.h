// A triangle with its extents along one axis, by which a sweep orders triangles.
#ifndef KIVRENDER_VECTOR_SWEEPTRIANGLE_H
#define KIVRENDER_VECTOR_SWEEPTRIANGLE_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/vector/feedbackprimitive.h"

#include <cstdint>

struct KIV_API SweepTriangle {
    FeedbackVertex vertices[3];
    std::int32_t axis = 0; // 0 x, 1 y, 2 z
    float maxExtent = 0;
    float minExtent = 0;

    // The first three vertices of a primitive that has them.
    explicit SweepTriangle(const FeedbackPrimitive& triangle);
    void computeExtents();
};

#endif
