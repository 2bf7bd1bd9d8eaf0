// A model that turns before the camera: what has to fit into the picture, and where the camera is.
#ifndef APPS_CLI_TURNTABLE_H
#define APPS_CLI_TURNTABLE_H

#include "apps/common/framing.h"

#include <vector>

// Circles about the axis through the middle of the points that hold all of them however they are turned.
std::vector<Kiv3DPoint> sweptPoints(const std::vector<Kiv3DPoint>& points, const Kiv3DVector& axis);

// The middle of the box around the points.
Kiv3DPoint middleOf(const std::vector<Kiv3DPoint>& points);

// A vector turned about an axis of unit length (O. Rodrigues, 1840); angle in radians, anticlockwise seen from the
// axis's end.
Kiv3DVector turned(const Kiv3DVector& vector, const Kiv3DVector& axis, double angle);

#endif
