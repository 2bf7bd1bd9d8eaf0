// Where two triangles cross. A line of crossing surfaces runs from one point where an edge pierces a triangle to the
// next; each such point is decided and computed of the edge's two ends and the triangle's three corners in one order,
// whichever neighbours share them, so that the pieces of a line hang together (after Möller, A Fast Triangle-Triangle
// Intersection Test, 1997, with the points made common). A corner that lies in the plane of the other triangle counts
// as above it.
#ifndef KIVRENDER_LINES_TRIANGLECROSSING_H
#define KIVRENDER_LINES_TRIANGLECROSSING_H

#include "kivrender/geometry/kivvec.h"

struct KivTriangleCrossing {
    KivVec from;
    KivVec to;
    // Two corners of one triangle lie in the plane of the other: whether the surface crosses there or merely touches is
    // known once its triangle on the other side of that edge is known too. Then edge is theirs, in one order, and the
    // triangle that they belong to is the first one or not. The piece itself is that of the triangle below.
    bool isAlongEdge = false;
    bool isAbove = false; // nothing but a witness that the surface goes on above
    bool isEdgeOfFirst = false;
    KivVec edge[2];
};

// True if the two triangles have a segment in common. Triangles that share an edge, lie in one plane or have no area do
// not. Corners are shared where they are equal. What lies off a plane by no more than grain lies in it.
bool kivTrianglesCross(const KivVec (&one)[3], const KivVec (&other)[3], double grain, KivTriangleCrossing* crossing);

#endif
