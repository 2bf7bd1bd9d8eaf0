// Puts what lies near in space near in memory, where a file does not.
#ifndef IMPORT_NEARORDER_H
#define IMPORT_NEARORDER_H

#include "import/modelparts.h"
#include "import/workwatch.h"

#include <cstdint>
#include <vector>

namespace kivimport {

// Whether walking the triangles in their order jumps about in the list of positions: more than one triangle in two
// would fetch a line of 64 bytes that a cache of 256 KiB no longer holds. A list that fits in there never does.
bool jumpsAbout(const Surface& surface, WorkWatch& watch);

// Puts the positions of a surface that jumps about in the order of a space-filling curve, and its triangles in the
// order of the first of their positions in it: everything later walks over one or the other, and a model of a million
// triangles in no order takes more than twice the time of one in order. All that belongs to the positions and triangles
// goes along, each triangle keeps its first corner, and normals and paint come in the order in which the triangles use
// them. The order depends on the positions at rest alone if there are any, so that it is the same in all poses. Returns
// whether anything moved.
bool putNearTogether(Surface& surface, WorkWatch& watch);

} // namespace kivimport

#endif
