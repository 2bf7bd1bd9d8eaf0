// Where a scene is seen from: the eye of a perspective view, or the direction towards the viewer of a parallel one.
//
// What tells front from back of a surface, in doubles and without a picture:
//
//     const bool isFront = kivDot(normal, viewpoint.toViewer(point)) > 0.0;
#ifndef KIVRENDER_GEOMETRY_KIVVIEWPOINT_H
#define KIVRENDER_GEOMETRY_KIVVIEWPOINT_H

#include "kivrender/geometry/kivvec.h"

struct KivViewpoint {
    // Whether `place` is the eye; else it is the direction towards the viewer.
    bool perspective = false;
    KivVec place{0.0, 0.0, 1.0}; // the eye, or the direction

    // From a point towards the viewer; not of unit length in a perspective view.
    KivVec toViewer(const KivVec& point) const {
        return perspective ? place - point : place;
    }
};

#endif
