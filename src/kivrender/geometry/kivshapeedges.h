// The edges between the triangles of a surface, each once, with what lies on either side: edge adjacency as walks over
// a surface need it. Made in linear time.
#ifndef KIVRENDER_GEOMETRY_KIVSHAPEEDGES_H
#define KIVRENDER_GEOMETRY_KIVSHAPEEDGES_H

#include "kivrender/geometry/kivsurface.h"
#include "kivrender/platform/kivexport.h"

#include <cstdint>
#include <vector>

struct KivShapeEdge {
    static constexpr std::uint32_t none = 0xffffffffU;

    std::uint32_t a = 0; // the ends
    std::uint32_t b = 0;
    std::uint32_t first = none;  // a triangle at the edge
    std::uint32_t second = none; // the other one; none at a border
    bool junction = false;       // three or more triangles meet here; first and second are two of them
};

struct KivShapeEdges {
    std::vector<KivShapeEdge> edges;         // ascending by their points, the lower one first
    std::vector<KivSurface::Triangle> sides; // of each triangle the edge from corner k to the next
};

KIV_API KivShapeEdges kivShapeEdges(std::size_t numPoints, const std::vector<KivSurface::Triangle>& triangles);

// Turns triangles so that neighbours across an edge that only they share run along it in opposite directions, and
// closed pieces so that they are wound outwards. Edges and sides stay right: sides are turned along. False if a piece
// has no two sides, such as a band with a half twist, which keeps a seam of opposite windings.
KIV_API bool kivOrientShape(const std::vector<KivVec>& points, std::vector<KivSurface::Triangle>& triangles,
                            KivShapeEdges& edges);

#endif
