// The smooth surface that a mesh stands for, as far as its contour needs it: which edges it runs on over, and a normal
// at each corner that is the same for all triangles between two edges over which it does not.
#ifndef KIVRENDER_LINES_SMOOTHSURFACE_H
#define KIVRENDER_LINES_SMOOTHSURFACE_H

#include "kivrender/geometry/kivsurface.h"
#include "kivrender/lines/kivfeatureedges.h"
#include "kivrender/lines/kivlineview.h"

#include <array>
#include <cstdint>
#include <vector>

struct SmoothSurface {
    // Numbers of normals. Below the number of points they are the point's own; a point at which several smooth parts
    // meet has further ones.
    std::vector<std::array<std::uint32_t, 3>> corners;
    std::vector<KivVec> normals;       // of unit length; of no length where nothing has an area
    std::vector<std::uint32_t> points; // of the normals
    std::vector<bool> smooth;          // of the wings
    // Of the wings: both triangles have their normals on the same side of the surface. False also at borders.
    std::vector<bool> oriented;
    std::vector<std::uint8_t> smoothSides; // of the triangles: bit k for the side from corner k to the next
    // The same for smooth sides that stay straight, as they lie within a flat face that a sharp edge ends; empty if
    // there are none.
    std::vector<std::uint8_t> straightSides;
};

// An edge is smooth if it is not a crease and the picture shows no facets there: over all of a part between creases, in
// the mean of its bent edges, the arc over an edge rises by less than mostRise pixels above it, and so does an arc
// across the wider of the two triangles; it does not bend by far more than the part around it; and it does not lie
// between a flat face and a narrow strip, as a chamfer's edges do, where the face would bulge. False when the user
// cancelled. The normals are those of the exact surface if there is one under the mesh, which bulges nowhere. Otherwise
// they follow Max (Weights for Computing Vertex Normals from Facet Normals, 1999), which are those of a sphere for
// points on a sphere, however these are joined to triangles.
bool kivSmoothSurface(const KivSurface& surface, const std::vector<KivFeatureWing>& wings,
                      const std::vector<bool>& creases, const KivLineView& view, double mostRise,
                      SmoothSurface& smooth);

#endif
