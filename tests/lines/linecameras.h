// Cameras for tests of lines.
#ifndef TESTS_LINES_LINECAMERAS_H
#define TESTS_LINES_LINECAMERAS_H

#include "kivrender/geometry/kivvec.h"
#include "kivrender/scene/kivcamera.h"

// Looks from the eye to the origin; in a picture of equal sides the frustum is halfWidth to either side at the near
// plane.
inline KivCamera lineCamera(KivCamera::projection kind, const KivVec& eye, double halfWidth, double nearest,
                            double farthest) {
    KivCamera camera;
    camera.setProjection(kind);
    camera.setFrustumLeft(-halfWidth);
    camera.setFrustumRight(halfWidth);
    camera.setFrustumBottom(-halfWidth);
    camera.setFrustumTop(halfWidth);
    camera.setFrustumNear(nearest);
    camera.setFrustumFar(farthest);
    camera.setLocation({eye.x, eye.y, eye.z});
    camera.setDirection({-eye.x, -eye.y, -eye.z});
    camera.setUp({0.0, 1.0, 0.0});
    return camera;
}

#endif
