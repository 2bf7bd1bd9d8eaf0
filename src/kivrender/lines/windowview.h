// The picture as a scene of its own: what was projected already, with x and y in pixels and the depth of OpenGL's
// window coordinates, which is linear over a flat face. A parallel view onto it lets all that works on scenes work on
// pictures.
#ifndef KIVRENDER_LINES_WINDOWVIEW_H
#define KIVRENDER_LINES_WINDOWVIEW_H

#include "kivrender/lines/kivlineview.h"
#include "kivrender/platform/kivexport.h"

KIV_API KivLineView kivWindowView(double width, double height);

// So many units of the scene are the whole range of depths, 0 to 1: coordinates count as rounded to a millionth of the
// largest, which is then a little more than the rounding of a depth in single precision.
inline constexpr double kivWindowDepth = 16384.0;

// The place of a point in that scene.
inline KivVec kivWindowPlace(double x, double y, double depth) {
    return {x, y, -1.0 - depth * kivWindowDepth};
}

#endif
