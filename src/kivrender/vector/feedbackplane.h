// The plane of a triangle.
#ifndef KIVRENDER_VECTOR_FEEDBACKPLANE_H
#define KIVRENDER_VECTOR_FEEDBACKPLANE_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/vector/feedbackvector.h"
#include "kivrender/vector/feedbackvertex.h"
#include "kivrender/vector/sweeptriangle.h"

struct KIV_API FeedbackPlane {
    FeedbackVector normal; // not a number for a triangle that is too thin to have a plane
    FeedbackVertex point;

    FeedbackPlane(const FeedbackVertex& p0, const FeedbackVertex& p1, const FeedbackVertex& p2);

    // True if the triangle lies in this plane, whichever way it faces.
    bool isCoplanar(SweepTriangle* triangle);
    // The same for a caller that has the normal of the triangle's own plane.
    bool isCoplanar(const SweepTriangle& triangle, const FeedbackVector& triangleNormal) const;
};

#endif
