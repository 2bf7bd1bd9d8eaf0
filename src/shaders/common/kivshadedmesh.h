// A mesh of the scene as shaders light it.
#ifndef SHADERS_COMMON_KIVSHADEDMESH_H
#define SHADERS_COMMON_KIVSHADEDMESH_H

#include "kivrender/scene/kivmeshnormals.h"
#include "kivsurface.h"
#include "kivview.h"

#include <array>
#include <cstdint>
#include <vector>

class KivMesh;

// A mesh to draw. Normals have unit length, one per point; none for flat shading.
struct KivShadedMesh {
    std::vector<KivVec> points;
    std::vector<KivVec> normals;
    std::vector<KivSurface::Triangle> triangles;
    // For each triangle +1 if its winding runs anticlockwise round the normal of its outer side, -1 if clockwise.
    std::vector<std::int8_t> windings;
    // By point, as KivMeshPaint has it; empty for a mesh of one colour.
    std::vector<std::array<float, 3>> paint;
    // The normals are those of the exact surface under a mesh that names its edges (kivmeshedges.h).
    bool isExact = false;
    KivMeshNoise noise; // of the mesh in whose place this one stands
};

// The angle up to which importers make smooth normals, more or less.
inline constexpr double kivUsualSmoothAngle = 45.0;

// Reads the mesh through its accessors. Its own normals are used as they are, brought to unit length; a vertex whose
// normal has no length or is NaN gets one from the triangles around it. A mesh without normals gets them from its
// shape, smooth over bends up to creaseAngle (degrees), and so does one whose normals were made from its triangles,
// unless the angle is the usual one. Which side of a triangle is its outer one is told by its normals, whatever its
// winding. Triangles with an index out of range or a corner that is NaN are left out.
KivShadedMesh kivReadShadedMesh(const KivMesh& mesh, double creaseAngle);

// The length of most sides, in pixels of the image.
double kivUsualSide(const KivShadedMesh& model, const KivView& view);

// How noisy the surface is: 0 for one that bends evenly from vertex to vertex, 1 for a rough scan. usualSide: as above,
// in pixels of the finished picture.
double kivNoiseOf(const KivShadedMesh& model, double usualSide);

// Over how many pixels normals are evened out where so many are asked for: up to this many for noise alone, what is
// asked for beyond whatever the surface.
inline constexpr double kivNoiseReach = 10.0;
double kivEvenReach(double pixels, double noise);

// How many passes of kivEvenNormals reach over that many pixels in this view: an even spread grows with the root of the
// passes, and one pass with the length of a side. At most 24, and none for what has no triangles or has exact normals:
// a flat face would take on those of the blends around it.
int kivEvenPasses(const KivShadedMesh& model, const KivView& view, double pixels);

#endif
