// Small shapes and views for the tests of the shader plug-ins.
#ifndef TESTS_SHADERS_SHAPES_H
#define TESTS_SHADERS_SHAPES_H

#include "kivview.h"
#include "support/surfaceshapes.h"

// A camera at the eye that looks at the origin, up along y, with the near rectangle from -side to side at distance 1.
inline KivView::Matrix lookAtOrigin(const KivVec& eye) {
    const KivVec z = kivUnit(eye);
    const KivVec x = kivUnit(kivCross({0.0, 1.0, 0.0}, z));
    const KivVec y = kivCross(z, x);
    return {
        x.x, y.x, z.x, 0.0, x.y, y.y, z.y, 0.0, x.z, y.z, z.z, 0.0, -kivDot(x, eye), -kivDot(y, eye), -kivDot(z, eye),
        1.0};
}

inline KivView perspectiveView(const KivVec& eye, double side, double nearPlane, double farPlane, int size) {
    const KivView::Matrix projection = {nearPlane / side,
                                        0,
                                        0,
                                        0,
                                        0,
                                        nearPlane / side,
                                        0,
                                        0,
                                        0,
                                        0,
                                        -(farPlane + nearPlane) / (farPlane - nearPlane),
                                        -1,
                                        0,
                                        0,
                                        -2 * farPlane * nearPlane / (farPlane - nearPlane),
                                        0};
    return KivView(lookAtOrigin(eye), projection, size, size);
}

inline KivView parallelView(const KivVec& eye, double side, double nearPlane, double farPlane, int size) {
    const KivView::Matrix projection = {1 / side,
                                        0,
                                        0,
                                        0,
                                        0,
                                        1 / side,
                                        0,
                                        0,
                                        0,
                                        0,
                                        -2 / (farPlane - nearPlane),
                                        0,
                                        0,
                                        0,
                                        -(farPlane + nearPlane) / (farPlane - nearPlane),
                                        1};
    return KivView(lookAtOrigin(eye), projection, size, size);
}

#endif
