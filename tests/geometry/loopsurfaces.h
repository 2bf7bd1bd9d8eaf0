// Surfaces to subdivide, made from the meshes with known shapes: no edge is sharp and no point is pinned.
#ifndef TESTS_GEOMETRY_LOOPSURFACES_H
#define TESTS_GEOMETRY_LOOPSURFACES_H

#include "kivrender/geometry/kivloopsurface.h"
#include "kivrender/geometry/kivshapeedges.h"
#include "shapemodels.h"

inline KivLoopSurface surfaceOf(const ShapeModel& model) {
    KivLoopSurface surface;
    surface.points = model.points;
    surface.triangles = model.triangles;
    surface.adjacency = kivShapeEdges(surface.points.size(), surface.triangles);
    surface.sharp.assign(surface.adjacency.edges.size(), 0);
    surface.pinned.assign(surface.points.size(), 0);
    return surface;
}

#endif
