// Surfaces as shaders light them, made from plain shapes.
#ifndef TESTS_SHADERS_HALFTONE_HALFTONESHAPES_H
#define TESTS_SHADERS_HALFTONE_HALFTONESHAPES_H

#include "../shapes.h"
#include "kivshadedmesh.h"

// Each triangle by itself, with its own normal or, about the origin, with that of a ball.
inline KivShadedMesh shadedMesh(const KivSurface& surface, bool isBall) {
    KivShadedMesh mesh;
    for (const KivSurface::Triangle& t : surface.triangles) {
        const KivVec normal = kivUnit(faceNormal(surface, t));
        const auto first = static_cast<std::uint32_t>(mesh.points.size());
        for (const std::uint32_t corner : t) {
            mesh.points.push_back(surface.points[corner]);
            mesh.normals.push_back(isBall ? kivUnit(surface.points[corner]) : normal);
        }
        mesh.triangles.push_back({first, first + 1, first + 2});
        mesh.windings.push_back(1);
    }
    return mesh;
}

// Upright before the eye on the z axis, from -half to half, at that height.
inline KivShadedMesh upright(double half, double z = 0.0) {
    KivSurface sheet;
    sheet.points = {{-half, -half, z}, {half, -half, z}, {half, half, z}, {-half, half, z}};
    sheet.triangles = {{0, 1, 2}, {0, 2, 3}};
    return shadedMesh(sheet, false);
}

#endif
