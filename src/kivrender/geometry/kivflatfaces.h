// Machine parts and furniture: bodies with faces that are meant to be flat.
#ifndef KIVRENDER_GEOMETRY_KIVFLATFACES_H
#define KIVRENDER_GEOMETRY_KIVFLATFACES_H

#include "kivrender/geometry/kivloopsurface.h"

// Whether much of the surface lies in planes, so that curves through the few points of its outlines would cut into its
// faces: many triangles lie in a plane with two of their neighbours (the quads of a rounded body give its triangles one
// such neighbour), or large flat faces stand out from small ones, as on a box with rounded edges.
KIV_API bool kivHasFlatFaces(const KivLoopSurface& surface);

#endif
