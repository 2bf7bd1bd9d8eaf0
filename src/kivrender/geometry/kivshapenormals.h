// What the normals in a file say of the shape under its triangles.
#ifndef KIVRENDER_GEOMETRY_KIVSHAPENORMALS_H
#define KIVRENDER_GEOMETRY_KIVSHAPENORMALS_H

#include "kivrender/geometry/kivsurface.h"
#include "kivrender/platform/kivexport.h"

#include <cstdint>

enum class KivShapeNormals : std::uint8_t {
    // No more than the triangles do: they are those of the triangles, on a body that bends gently from one to the next.
    nothing,
    // At each corner the mean of the triangles that share the normal: the shape is smooth, with edges where triangles
    // at a point have different ones.
    smooth,
    // Anything else: facets, or flat faces whose normals go on over rounded edges. The shape is that of the triangles.
    //
    // Triangles with normals of their own are facets if there are few of them, or if half of the edges, by their length
    // and but for those within flat faces, bend strongly: characters bend by 5 to 23 degrees there, gems and rocks by
    // 28 and more.
    own
};

// The surface needs normals.
KIV_API KivShapeNormals kivShapeNormals(const KivSurface& surface);

#endif
