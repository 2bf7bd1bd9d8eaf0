// The surface of a mesh at rest, for decisions that all poses of it share (kivmeshrest.h).
#ifndef KIVRENDER_GEOMETRY_KIVRESTSURFACE_H
#define KIVRENDER_GEOMETRY_KIVRESTSURFACE_H

#include "kivrender/geometry/kivsurface.h"
#include "kivrender/platform/kivexport.h"

#include <optional>

// With the points and triangles of the posed mesh's surface, one by one. Nothing for a mesh that is at rest itself, and
// for one whose points meet in one of the two and not in the other.
KIV_API std::optional<KivSurface> kivRestSurface(const KivMesh& mesh, const KivSurface& posed);

#endif
