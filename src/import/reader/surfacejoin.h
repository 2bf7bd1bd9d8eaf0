// Pieces of one mesh put together again.
#ifndef IMPORT_READER_SURFACEJOIN_H
#define IMPORT_READER_SURFACEJOIN_H

#include "import/modelparts.h"

#include <cstddef>
#include <string>
#include <vector>

namespace kivimport {

// A glTF mesh consists of primitives, and programs write many where one would do: one for each strip of triangles, or
// for each range of a buffer. Surfaces from the first-th on that differ in nothing but their triangles become one, so
// that an edge between two primitives is an edge within one surface and not the rim of two. Each goes to the first of
// its kind, in order. Each has one part, and none has edges of its own.
// A surface of several pieces is called name, unless that is empty.
void joinSurfaces(std::vector<Surface>& surfaces, std::size_t first, const std::string& name);

} // namespace kivimport

#endif
