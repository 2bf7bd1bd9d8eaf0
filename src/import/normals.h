// From a surface as it was read to vertices with one position and one normal each.
#ifndef IMPORT_NORMALS_H
#define IMPORT_NORMALS_H

#include "import/modelparts.h"
#include "import/workwatch.h"

namespace kivimport {

// Makes positions that are exactly equal one (files that know no shared vertices repeat each of them), and removes the
// triangles that have no area left: two corners at one position, or all three on a line. Returns how many were removed.
// Positions keep the order of their first occurrence, triangles keep theirs, unless their order is bad (nearorder.h).
// The points of edges are welded along, and equal paint becomes one in the same way.
std::uint64_t weldSurface(Surface& surface, WorkWatch watch = {});

struct SurfaceVertices {
    std::vector<std::uint32_t> positions; // index into the surface's positions, one to a vertex, ascending
    Points normals;                       // unit length, one to a vertex
    std::vector<std::uint32_t> corners;   // vertex indices, three to a triangle
    std::vector<std::uint32_t> given;     // index into the surface's normals or noIndex, one to a vertex of a posed one
    std::vector<std::uint32_t> paint;     // index into the surface's paint or noIndex, one to a vertex; empty for none
};

// Gives every corner its normal: the file's own where it has a direction, else the mean of those faces around the
// position that are linked with this corner's face by angles of at most creaseAngle (degrees; on bodies with flat
// faces kivFlatFacesCrease in the place of all from there to kivMostUsualCrease), each weighted by its angle at the
// position; of a surface in a pose the angles are those at rest. Corners of one position with equal normals and equal
// paint share a vertex. The surface must be welded.
SurfaceVertices makeVertices(const Surface& surface, double creaseAngle, WorkWatch watch = {});

} // namespace kivimport

#endif
