#include "kivrender/vector/coplanargroup.h"

bool sameEnds(const FeedbackEdge& first, const FeedbackEdge& second) {
    return (*first.from == *second.from && *first.to == *second.to) ||
           (*first.from == *second.to && *first.to == *second.from);
}

CoplanarGroup::~CoplanarGroup() {
    delete plane;
    for (SweepTriangle* triangle : sweepTriangles)
        delete triangle;
}

void CoplanarGroup::takeTriangle(SweepTriangle* triangle) {
    const bool isFirst = sweepTriangles.empty();
    if (isFirst)
        plane = new FeedbackPlane(triangle->vertices[0], triangle->vertices[1], triangle->vertices[2]);
    sweepTriangles.push_back(triangle);
    if (isFirst || triangle->maxExtent > maxExtent)
        maxExtent = triangle->maxExtent;
    if (isFirst || minExtent > triangle->minExtent)
        minExtent = triangle->minExtent;
}

void CoplanarGroup::forgetPlane() {
    delete plane;
    plane = nullptr;
}

bool CoplanarGroup::addTriangle(SweepTriangle* triangle) {
    FeedbackVertex* vertices = triangle->vertices;
    const FeedbackEdge sides[3] = {
        {&vertices[0], &vertices[1]}, {&vertices[1], &vertices[2]}, {&vertices[2], &vertices[0]}};
    bool isOpen[3] = {true, true, true};
    int numOpen = 3;
    if (!sweepTriangles.empty()) {
        if (!plane->isCoplanar(triangle))
            return false;
        for (std::size_t index = 0; index < edges.size() && numOpen > 0;) {
            int match = 0;
            while (match < 3 && !(isOpen[match] && sameEnds(edges[index], sides[match])))
                ++match;
            if (match == 3) {
                ++index;
                continue;
            }
            // The last edge comes to this place and is looked at next.
            edges[index] = edges.back();
            edges.pop_back();
            isOpen[match] = false;
            --numOpen;
        }
        if (numOpen == 3)
            return false;
    }
    for (int side = 0; side < 3; ++side) {
        if (isOpen[side])
            edges.push_back(sides[side]);
    }
    takeTriangle(triangle);
    return true;
}
