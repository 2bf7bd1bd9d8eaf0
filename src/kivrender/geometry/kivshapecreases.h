// Which edges of a mesh without normals are edges of the shape, and which are only where two of its triangles meet.
#ifndef KIVRENDER_GEOMETRY_KIVSHAPECREASES_H
#define KIVRENDER_GEOMETRY_KIVSHAPECREASES_H

#include "kivrender/geometry/kivshapeedges.h"

#include <cstdint>
#include <vector>

// For each edge 1 if the surface is sharp there, else 0. Borders and junctions are sharp, and so are edges that bend by
// more than the crease angle (degrees, 180 for none), but for two kinds:
//
// - A mesh that bends by all angles stands roughly for a rounded body: an edge of it is sharp only if its triangles are
//   far flatter elsewhere. A mesh of flat and gently bent faces between sharp edges has next to no bends in between,
//   and keeps all.
// - Sharp edges that hang together and reach over no more than a twentieth of the mesh are roughness.
KIV_API std::vector<std::uint8_t> kivShapeCreases(const std::vector<KivVec>& points,
                                                  const std::vector<KivSurface::Triangle>& triangles,
                                                  const KivShapeEdges& adjacency, double creaseAngle);

#endif
