// Cameras and lights for a scene that brings none.
#ifndef APPS_COMMON_FRAMING_H
#define APPS_COMMON_FRAMING_H

#include "kivrender/scene/kiv3dpoint.h"
#include "kivrender/scene/kiv3dvector.h"
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivlight.h"
#include "kivrender/scene/kivscene.h"

#include <vector>

// All points that are drawn: what a camera has to show.
std::vector<Kiv3DPoint> scenePoints(const KivScene& scene);

// A view direction with right and up, all of unit length and at right angles.
struct ViewAxes {
    Kiv3DVector right;
    Kiv3DVector up;
    Kiv3DVector forward;
};

// Any up that is not along forward gives the same picture turned; one that is, or is zero, is replaced.
ViewAxes viewAxes(const Kiv3DVector& forward, const Kiv3DVector& up);

// From the right, a little above: what shows three sides of a box.
Kiv3DVector threeQuarterDirection(const Kiv3DVector& up);

// What a picture of aspect width / height shows.
struct Lens {
    double aspect = 4.0 / 3.0;
    double verticalFov = 30.0; // degrees, for perspective
    double orthoHeight = 0.0;  // scene units; above 0: parallel projection
};

// The place from which all points just fit into the picture along these axes, with a margin around them.
Kiv3DPoint fittingLocation(const std::vector<Kiv3DPoint>& points, const ViewAxes& axes, const Lens& lens);
// The height of a parallel projection that shows all points with a margin.
double fittingOrthoHeight(const std::vector<Kiv3DPoint>& points, const ViewAxes& axes, double aspect);

// The camera with near and far planes close around the points: depth is what tells surfaces apart.
KivCamera makeCamera(const std::vector<Kiv3DPoint>& points, const Kiv3DPoint& location, const ViewAxes& axes,
                     const Lens& lens);

// A key light from over the viewer's left shoulder. A second light would not fill the shadows but take them away, as
// the strongest light on a point decides its tone; the ambient colour is what fills them.
std::vector<KivLight> defaultLights(const ViewAxes& axes, const std::vector<Kiv3DPoint>& points);

// A light that shines in parallel along a direction; its location is far outside the points.
KivLight directionalLight(const Kiv3DVector& direction, const std::vector<Kiv3DPoint>& points);

#endif
