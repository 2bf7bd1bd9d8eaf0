// A mesh without the parts that the alpha of its texture cuts out (KivTexture::cutOut): leaves, grids, fences. Drawings
// need the shape itself; pictures test each pixel.
//
// Each triangle is cut along the outline of what is there (alphaloops.h) and what is left of it is divided by the
// tessellator of GLU. Neighbours that share an edge, and its places in the texture, share the points on it.
#ifndef KIVRENDER_LINES_SKINS_KIVCUTMESH_H
#define KIVRENDER_LINES_SKINS_KIVCUTMESH_H

#include "kivrender/geometry/kivsmoothshape.h"
#include "kivrender/platform/kivexport.h"

#include <memory>

class KivMesh;

// With normals, material, paint and shader settings of the source, right to a fraction of a pixel of the view. Null for
// a mesh without such a texture, for one of which nothing is cut out, for one whose outlines are too much work, and
// when the user cancelled.
//
// effort: how much work it may be, as a part of what is usual. isTooMuch: set to true where it would be more, and left
// alone otherwise; may be null.
KIV_API std::unique_ptr<KivMesh> kivCutMesh(const KivMesh& source, const KivShapeView& view, double effort = 1.0,
                                            bool* isTooMuch = nullptr);

#endif
