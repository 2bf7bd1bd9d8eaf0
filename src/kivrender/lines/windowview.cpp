#include "kivrender/lines/windowview.h"

#include "kivrender/scene/kivcamera.h"

KivLineView kivWindowView(double width, double height) {
    KivCamera camera;
    camera.setProjection(KivCamera::orthographic);
    camera.setFrustumLeft(0.0);
    camera.setFrustumRight(width);
    camera.setFrustumBottom(0.0);
    camera.setFrustumTop(height);
    camera.setFrustumNear(0.5);
    camera.setFrustumFar(0.0); // no end
    camera.setLocation({0.0, 0.0, 0.0});
    camera.setDirection({0.0, 0.0, -1.0});
    camera.setUp({0.0, 1.0, 0.0});
    return {camera, width, height};
}
