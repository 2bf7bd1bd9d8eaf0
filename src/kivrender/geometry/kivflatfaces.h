// Machine parts and furniture: bodies with faces that are meant to be flat.
#ifndef KIVRENDER_GEOMETRY_KIVFLATFACES_H
#define KIVRENDER_GEOMETRY_KIVFLATFACES_H

#include "kivrender/geometry/kivloopsurface.h"

// Whether much of the surface lies in planes, so that curves through the few points of its outlines would cut into its
// faces: many triangles lie in a plane with two of their neighbours (the quads of a rounded body give its triangles one
// such neighbour), or large flat faces stand out from small ones, as on a box with rounded edges.
KIV_API bool kivHasFlatFaces(const KivLoopSurface& surface);

// Whether there is nothing but flat polygons and edges too sharp for a row of facets that stands for a curve, as on a
// box with chamfers.
KIV_API bool kivIsPolyhedron(const KivLoopSurface& surface);

// Whether it is of one kind or the other, with one look at its planes for both.
KIV_API bool kivIsFlatOrPolyhedron(const KivLoopSurface& surface);

// Degrees. Between the faces of such bodies what bends by more is an edge; facets of rounded faces bend by less. That
// is the angle of coarse facets, 12 to a full turn, and a little for the rounding of coordinates.
inline constexpr double kivFlatFacesCrease = 31.0;

// Degrees. Who asks for a greater crease angle wants even such bodies to be round.
inline constexpr double kivMostUsualCrease = 60.0;

// The angle (degrees) up to which a surface without normals is smooth, where creaseAngle is asked for:
// kivFlatFacesCrease for one of the kinds above, unless the angle is less or beyond kivMostUsualCrease; else
// creaseAngle. More than 200 thousand triangles are not looked at.
KIV_API double kivCreaseAngleOf(const KivSurface& surface, double creaseAngle);

#endif
