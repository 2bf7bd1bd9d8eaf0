// Bodies with faces that are meant to be flat, among all that a surface consists of.
#ifndef IMPORT_FLATBODIES_H
#define IMPORT_FLATBODIES_H

#include "import/modelparts.h"
#include "import/workwatch.h"

#include <cstdint>
#include <vector>

namespace kivimport {

// For each triangle of a welded surface 1 if it belongs to a body with flat faces (kivHasFlatFaces, kivIsPolyhedron),
// else 0. Bodies are what hangs together by shared positions. Only those are looked at that have a position at which
// asked is not 0, and not more than half a million triangles; the triangles of the others get 0. Empty if no triangle
// got 1. positions: the surface's, or those at rest.
std::vector<std::uint8_t> trianglesOfFlatBodies(const Points& positions, const Indices& corners,
                                                const std::vector<std::uint8_t>& asked, WorkWatch& watch);

} // namespace kivimport

#endif
