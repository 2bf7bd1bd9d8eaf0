// Creases whose edge is rounded, but so little that it is one line in the picture: a fold of sheet metal, a chamfer,
// the edge of a model that was subdivided. No single edge of the mesh bends by much there, but a narrow strip does.
#ifndef KIVRENDER_LINES_ROUNDEDCREASES_H
#define KIVRENDER_LINES_ROUNDEDCREASES_H

#include "kivrender/geometry/kivsurface.h"
#include "kivrender/lines/kivfeatureedges.h"

#include <vector>

// For each wing by how many degrees the surface turns over a strip of that width (the model's units) with this edge in
// its middle, if that is more than `angle` and the surface beside the strip is flat against it, as it isn't on a thin
// cylinder; else 0. The middle is where half of the turn lies on either side, so that a rounded edge gives one line and
// not one for each of its facets. Empty if there are none, or the user cancelled, and for meshes whose triangles are
// far smaller than the strip.
//
// The strip is walked across the triangles in the plane square to the edge; each walk ends after some triangles, so
// that the cost is linear in the wings.
std::vector<float> kivRoundedCreases(const KivSurface& surface, const std::vector<KivFeatureWing>& wings, double width,
                                     double angle);

#endif
