// Cuts polygons into triangles, ear by ear (Meisters, Polygons Have Ears, 1975).
#ifndef IMPORT_POLYGONS_H
#define IMPORT_POLYGONS_H

#include "import/modelparts.h"

#include <array>
#include <vector>

namespace kivimport {

// Ear clipping looks at every other corner for each ear, so a face has a largest size.
inline constexpr std::size_t maxPolygonCorners = 10'000;

// Appends corner numbers, three to a triangle and always corners - 2 triangles, in the polygon's own winding. Convex
// polygons become a fan around corner 0, others are cut by their ears; a polygon that crosses itself is still covered,
// with triangles that overlap. Fewer than three corners give nothing.
void triangulate(const Points& polygon, Indices& triangles);

} // namespace kivimport

#endif
