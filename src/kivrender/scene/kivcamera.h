// How a scene is seen: a plain record. Positions and frustum are in model units, the frustum in camera space as the
// projection calls of OpenGL take it.
#ifndef KIVRENDER_SCENE_KIVCAMERA_H
#define KIVRENDER_SCENE_KIVCAMERA_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/scene/kiv3dpoint.h"
#include "kivrender/scene/kiv3dvector.h"

#include <cstdint>

class KIV_API KivCamera {
public:
    enum projection : std::int32_t { orthographic = 0, perspective = 1 };

    // Perspective; everything else zero.
    KivCamera() = default;

    void setFrustumLeft(double value);
    double getFrustumLeft() const;
    void setFrustumRight(double value);
    double getFrustumRight() const;
    void setFrustumBottom(double value);
    double getFrustumBottom() const;
    void setFrustumTop(double value);
    double getFrustumTop() const;
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
    void setUp(Kiv3DVector vector);
    Kiv3DVector getUp() const;
    void setProjection(projection value);
    projection getProjection() const;

    // The near rectangle of the frustum across its short side.
    double getMinFrustumSize() const;

private:
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
