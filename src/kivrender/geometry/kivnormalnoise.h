// How noisy a surface is, told by the discrete Laplacian of its normals (Taubin 1995).
#ifndef KIVRENDER_GEOMETRY_KIVNORMALNOISE_H
#define KIVRENDER_GEOMETRY_KIVNORMALNOISE_H

#include "kivrender/geometry/kivsurface.h"
#include "kivrender/platform/kivexport.h"

#include <vector>

// 0 for a surface that bends evenly from point to point, 1 for a rough scan. Normals have unit length; the triangles
// are indices into them.
KIV_API double kivNormalNoise(const std::vector<KivVec>& normals, const std::vector<KivSurface::Triangle>& triangles);

#endif
