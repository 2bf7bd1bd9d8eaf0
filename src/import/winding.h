// Puts the winding of triangles right where a file has it wrong.
#ifndef IMPORT_WINDING_H
#define IMPORT_WINDING_H

#include "import/modelparts.h"
#include "import/workwatch.h"

namespace kivimport {

// Turns triangles so that neighbours across an edge that only they share run along it in opposite directions, and
// closed pieces so that they are wound outwards. Pieces that are not closed keep the winding of most of their
// triangles. A surface with normals of the file stays as it is: they tell what is outside. Returns how many triangles
// were turned. The surface must be welded.
//
// Nearly all files are right, so whether there is anything to do is found out first, in a fraction of the time.
std::uint64_t orientSurface(Surface& surface, WorkWatch watch = {});

} // namespace kivimport

#endif
