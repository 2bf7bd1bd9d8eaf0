// The tips of a coarse mesh: points that a smooth surface through its neighbourhood would lose.
#ifndef KIVRENDER_GEOMETRY_KIVSHAPETIPS_H
#define KIVRENDER_GEOMETRY_KIVSHAPETIPS_H

#include "kivrender/geometry/kivloopsurface.h"

// Pins the points at the tips of spikes, horns and thorns, which Loop's rules would draw in by half of their height:
// triangles all around whose angles at the point sum up to that of a slender cone, as the angle that is missing from
// a full turn is the curvature there (Meyer, Desbrun, Schröder and Barr, Discrete Differential-Geometry Operators for
// Triangulated 2-Manifolds, 2003). What stands out by less than a hundredth of the mesh is roughness. The surface is
// smooth around a pinned point and a cone in it.
KIV_API void kivPinTips(KivLoopSurface& surface);

#endif
