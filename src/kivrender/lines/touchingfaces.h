// Round surfaces that lie on each other, as a bolt and its hole do: their meshes have corners in different places and
// run through each other all over, but the surfaces do not.
#ifndef KIVRENDER_LINES_TOUCHINGFACES_H
#define KIVRENDER_LINES_TOUCHINGFACES_H

#include "kivrender/geometry/kivsurface.h"

#include <cstdint>

struct MeshFace {
    const KivSurface& surface;
    std::uint32_t triangle = 0;
};

// Whether two faces that cross from one point to the other belong to surfaces that are parallel there, as far as their
// meshes depart from them: across the faces they part by no more. False for meshes without normals and for flat faces.
bool kivFacesTouch(const MeshFace& one, const MeshFace& other, const KivVec& from, const KivVec& to);

#endif
