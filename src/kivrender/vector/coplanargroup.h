// Triangles of one plane that hang together by their sides, and the outline of the region they cover.
#ifndef KIVRENDER_VECTOR_COPLANARGROUP_H
#define KIVRENDER_VECTOR_COPLANARGROUP_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/vector/feedbackplane.h"
#include "kivrender/vector/sweeptriangle.h"

#include <vector>

// An edge of an outline, between vertices inside the triangles of the group.
struct FeedbackEdge {
    FeedbackVertex* from;
    FeedbackVertex* to;
};

// Side k of triangle t, from its vertex k to the next, has the number 3 * t + k.
inline FeedbackEdge sideOf(const std::vector<SweepTriangle*>& triangles, int number) {
    FeedbackVertex* vertices = triangles[static_cast<std::size_t>(number / 3)]->vertices;
    const int first = number % 3;
    return {&vertices[first], &vertices[first == 2 ? 0 : first + 1]};
}

// True if the two edges have the same ends, in either direction.
KIV_API bool sameEnds(const FeedbackEdge& first, const FeedbackEdge& second);

// Owns its plane and its triangles.
struct KIV_API CoplanarGroup {
    FeedbackPlane* plane = nullptr; // of the first triangle; null before there is one, and when forgotten
    std::vector<SweepTriangle*> sweepTriangles;
    std::vector<FeedbackEdge> edges; // the sides that no second triangle shares, in no order
    float maxExtent = 0;             // over all triangles, along their axis
    float minExtent = 0;

    CoplanarGroup() = default;
    CoplanarGroup(const CoplanarGroup&) = delete;
    CoplanarGroup& operator=(const CoplanarGroup&) = delete;
    ~CoplanarGroup();

    // True if the triangle joined: it is the first, or it lies in the plane and shares a side with the outline. The
    // group owns it then. On false nothing has changed.
    bool addTriangle(SweepTriangle* triangle);
    // What addTriangle does apart from the outline: takes a triangle over that is known to belong.
    void takeTriangle(SweepTriangle* triangle);
    // For a group that has all its triangles. There may be a million groups.
    void forgetPlane();
};

#endif
