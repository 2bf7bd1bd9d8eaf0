// Loop's subdivision surface over a mesh of triangles: quartic box splines that go smoothly over every point (Charles
// Loop, Smooth Subdivision Surfaces Based on Triangles, 1987), with sharp edges, darts and corners as Hoppe and others
// have them (Piecewise Smooth Surface Reconstruction, 1994). Curves along sharp edges and borders are cubic B-splines
// of the points on them alone, so that meshes that meet there fit together.
//
// A mesh and what it becomes by steps of subdivision stand for the same surface: pictures that are drawn from either
// agree.
#ifndef KIVRENDER_GEOMETRY_KIVLOOPSURFACE_H
#define KIVRENDER_GEOMETRY_KIVLOOPSURFACE_H

#include "kivrender/geometry/kivshapeedges.h"

#include <cstdint>
#include <vector>

struct KivLoopSurface {
    std::vector<KivVec> points;
    std::vector<KivSurface::Triangle> triangles; // neighbours are wound alike
    KivShapeEdges adjacency;
    std::vector<std::uint8_t> sharp;  // of the edges; borders and junctions always are
    std::vector<std::uint8_t> pinned; // of the points: corners, which stay where they are
};

// One step: four triangles for each, triangle t becoming 4 t to 4 t + 3: those at its corners, and the one in the
// middle. Costs and allocates in proportion to the triangles.
KIV_API KivLoopSurface kivLoopStep(const KivLoopSurface& surface);

// Points of the surface itself, with its normals.
struct KivLoopLimit {
    std::vector<KivVec> points;         // of the vertices; a point on a sharp edge has one vertex for each side
    std::vector<KivVec> normals;        // of unit length, outwards by the winding
    std::vector<std::uint32_t> origins; // the control point of each vertex
    std::vector<KivSurface::Triangle> triangles;
};

KIV_API KivLoopLimit kivLoopLimit(const KivLoopSurface& surface);

#endif
