// The smooth surface under meshes whose triangles show in the picture.
//
// A mesh that brings no normals of its own stands for the limit surface of Loop's subdivision over it
// (kivloopsurface.h), sharp along the edges of the shape (kivshapecreases.h), with the tips of its spikes
// (kivshapetips.h) and ending at its borders. So does one
// whose normals a file brings and which say no more than its triangles (kivshapenormals.h). Meshes that share points
// are parts of one surface: it runs on from one to the next, and their border is a curve on it. Textures and colours at
// vertices run straight over each triangle, as they did. A model that names its edges, or whose normals say more than
// its triangles or come from a host, stays as it is.
#ifndef KIVRENDER_GEOMETRY_KIVSMOOTHSHAPE_H
#define KIVRENDER_GEOMETRY_KIVSMOOTHSHAPE_H

#include "kivrender/geometry/kivvec.h"
#include "kivrender/platform/kivexport.h"

#include <memory>
#include <vector>

class KivMesh;

// How large things are in the picture.
struct KivShapeView {
    bool perspective = false;
    KivVec eye{};
    KivVec forward{0.0, 0.0, -1.0};
    double pixelsPerUnit = 0.0; // in a perspective view at distance 1

    // Of a length at a place; 0 behind the eye.
    double pixels(const KivVec& place, double length) const {
        const double away = perspective ? kivDot(place - eye, forward) : 1.0;
        return away > 0.0 ? length * pixelsPerUnit / away : 0.0;
    }
};

struct KivShapeRequest {
    const KivMesh* mesh = nullptr;
    double smoothAngle = 45.0; // degrees; edges that bend by more stay sharp
};

// For each request the mesh to draw in its place, with normals, material and shader settings; null where the triangles
// of the mesh lie within a fraction of a pixel of the smooth surface, as those of a fine mesh do, and where the mesh
// stays as it is. Empty if that is so for all, which a look at some thousand triangles tells.
//
// Triangles come in the order of those that they stand in for, each becoming the same number; one each where a fine
// mesh only had flat normals. Costs and takes memory in
// proportion to the triangles of the result.
KIV_API std::vector<std::unique_ptr<KivMesh>> kivSmoothShapes(const std::vector<KivShapeRequest>& requests,
                                                              const KivShapeView& view);

#endif
