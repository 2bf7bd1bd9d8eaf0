// Normals for meshes that bring none: smooth over gentle bends, split at creases, whatever the winding of neighbouring
// triangles.
#ifndef SHADERS_CARTOON_KIVCARTOONNORMALS_H
#define SHADERS_CARTOON_KIVCARTOONNORMALS_H

#include "kivsurface.h"

#include <vector>

// The surface with its vertices split where the normals on both sides of a crease differ.
struct KivSmoothMesh {
    std::vector<KivVec> points;
    std::vector<KivVec> normals; // of unit length, one per point
    std::vector<KivSurface::Triangle> triangles;
};

// Triangles are first turned so that neighbours across an edge that only they share agree; a closed piece is then
// turned outwards. At each corner the normals of the triangles around it that bend by less than creaseAngle (degrees)
// from the corner's own are averaged by their angle there (Thuermer and Wuethrich, 1998). The triangles come in the
// surface's order, with the turned winding.
KivSmoothMesh kivSmoothNormals(const KivSurface& surface, double creaseAngle);

// Evens out normals over neighbouring vertices, the more the more passes: what is left of the light on a rough surface
// is its large shape. Normals that differ at one position, on both sides of a crease, stay apart; vertices that repeat
// a position with the same normal stay together.
void kivEvenNormals(const std::vector<KivVec>& points, const std::vector<KivSurface::Triangle>& triangles,
                    std::vector<KivVec>& normals, int passes);

#endif
