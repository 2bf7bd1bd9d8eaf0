// How far the triangles of a mesh lie from the smooth surface that they stand for, as it shows in the picture.
#ifndef KIVRENDER_GEOMETRY_KIVSHAPERISE_H
#define KIVRENDER_GEOMETRY_KIVSHAPERISE_H

#include "kivrender/geometry/kivloopsurface.h"
#include "kivrender/geometry/kivsmoothshape.h"

// In pixels: what most of the sides rise by, of a sample of some thousand.
double kivRiseByNormals(const KivMesh& mesh, const KivShapeView& view);

// The same over the edges that are not sharp, by the triangles on either side.
double kivRiseByTriangles(const KivLoopSurface& surface, const KivShapeView& view);

// Whether most of a sample of triangles have one normal at all corners.
bool kivIsShadedFlat(const KivMesh& mesh);

#endif
