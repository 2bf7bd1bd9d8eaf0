// How a scene is seen: a plain record. Positions and frustum are in model units, the frustum in camera space as the
// projection calls of OpenGL take it.
//
// The frustum is the near rectangle: left, right, bottom and top where it cuts the near plane, seen from the eye along
// the direction, with up at the top. A symmetric perspective camera of a vertical field of view of 30 degrees for a
// picture of 4:3:
//
//     const double half = near * std::tan(15.0 * pi / 180.0);
//     camera.setFrustumBottom(-half);       camera.setFrustumTop(half);
//     camera.setFrustumLeft(-half * 4 / 3); camera.setFrustumRight(half * 4 / 3);
//
// The nearer both planes are to the model, the finer the depth that tells its surfaces apart: a ratio of far to near
// beyond some thousand shows. Nothing is checked or mended here; a camera that sees nothing gives an empty picture, not
// an error. Copies are independent.
#ifndef KIVRENDER_SCENE_KIVCAMERA_H
#define KIVRENDER_SCENE_KIVCAMERA_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/scene/kiv3dpoint.h"
#include "kivrender/scene/kiv3dvector.h"

#include <cstdint>

class KIV_API KivCamera {
public:
    // The numbers are part of the interface.
    enum projection : std::int32_t { orthographic = 0, perspective = 1 };

    // Perspective; everything else zero.
    KivCamera() = default;

    // The near rectangle in model units, left below right and bottom below top. For a parallel view it is what the
    // picture shows.
    void setFrustumLeft(double value);
    double getFrustumLeft() const;
    void setFrustumRight(double value);
    double getFrustumRight() const;
    void setFrustumBottom(double value);
    double getFrustumBottom() const;
    void setFrustumTop(double value);
    double getFrustumTop() const;
    // Distances from the eye to both planes along the direction: near below far, and above 0 in perspective.
    void setFrustumNear(double value);
    double getFrustumNear() const;
    void setFrustumFar(double value);
    double getFrustumFar() const;
    // The eye.
    void setLocation(Kiv3DPoint point);
    Kiv3DPoint getLocation() const;
    // The viewing direction, of any length: location plus direction is the point looked at.
    void setDirection(Kiv3DVector vector);
    Kiv3DVector getDirection() const;
    // The direction that points up in the picture, of any length; not along the direction of view.
    void setUp(Kiv3DVector vector);
    Kiv3DVector getUp() const;
    // Whether lines of sight meet in the eye or run side by side.
    void setProjection(projection value);
    projection getProjection() const;

    // The near rectangle of the frustum across its short side.
    double getMinFrustumSize() const;

private:
    // As the setters have left them.
    double frustumLeft = 0.0;
    double frustumRight = 0.0;
    double frustumBottom = 0.0;
    double frustumTop = 0.0;
    double frustumNear = 0.0;
    double frustumFar = 0.0;
    Kiv3DPoint location;
    Kiv3DVector direction;
    Kiv3DVector up;
    projection kind = perspective;
};

#endif
