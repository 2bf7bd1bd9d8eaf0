// Where a point of the scene lands in the picture: the matrices, viewport and depth range that OpenGL is drawing with,
// in doubles. Built from plain numbers, so that it can be tested without a context; kivCurrentView reads them from one.
#ifndef SHADERS_COMMON_KIVVIEW_H
#define SHADERS_COMMON_KIVVIEW_H

#include "kivrender/geometry/kivviewpoint.h"
#include "kivvec.h"

#include <array>

// Homogeneous clip coordinates.
struct KivClipPoint {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    double w = 1.0;
};

// Window coordinates: pixels from the lower left corner, depth as the depth buffer holds it.
struct KivWindowPoint {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

class KivView {
public:
    using Matrix = std::array<double, 16>; // column major, as OpenGL keeps it

    KivView() = default;
    KivView(const Matrix& modelview, const Matrix& projection, int width, int height, double depthNear = 0.0,
            double depthFar = 1.0);

    int width() const {
        return viewWidth;
    }
    int height() const {
        return viewHeight;
    }
    // True when all rays meet in the eye; false when they are parallel.
    // How much single precision leaves of a window depth: parts of 1, or parts of the depth itself where depth is
    // clipped from zero.
    double depthGrain(double windowDepth) const {
        return fineDepth ? windowDepth : 1.0;
    }
    // Whether the depth of the view is clipped from zero (kivrender/platform/kivgldepth.h).
    bool hasFineDepth() const {
        return fineDepth;
    }
    void setFineDepth(bool fine) {
        fineDepth = fine;
    }
    bool isPerspective() const {
        return perspective;
    }
    // The point from which a perspective view looks.
    const KivVec& eye() const {
        return eyePoint;
    }
    // From a point of the scene towards the viewer; not of unit length in a perspective view.
    KivVec toViewer(const KivVec& point) const {
        return perspective ? eyePoint - point : backward;
    }
    KivViewpoint viewpoint() const {
        return {perspective, perspective ? eyePoint : backward};
    }
    // The directions in space that run to the right, upwards and towards the viewer in the picture, of unit length.
    const KivVec& right() const {
        return rightward;
    }
    const KivVec& up() const {
        return upward;
    }
    const KivVec& back() const {
        return backward;
    }
    KivClipPoint clip(const KivVec& point) const;
    // For a point in front of the eye (w above 0).
    KivWindowPoint window(const KivClipPoint& point) const;
    // The size of one pixel at that distance in front of the eye's plane, in units of the scene.
    double pixelSize(double distanceFromEye) const {
        return pixelScale * (perspective ? distanceFromEye : 1.0);
    }
    // The distance in front of the eye's plane of what has this window depth, in units of the scene. Depths at the far
    // end of the range give a very large value.
    double distance(double windowDepth) const;

private:
    Matrix combined{};
    Matrix projection{};
    int viewWidth = 1;
    int viewHeight = 1;
    double depthFrom = 0.0;
    double depthTo = 1.0;
    bool perspective = false;
    bool fineDepth = false;
    KivVec eyePoint;
    KivVec rightward{1.0, 0.0, 0.0};
    KivVec upward{0.0, 1.0, 0.0};
    KivVec backward{0.0, 0.0, 1.0};
    double pixelScale = 1.0;
};

// The part of the segment between two clip points that lies in front of the eye and inside the four sides of the view:
// false if there is none, otherwise the two parameters, 0 at the first point and 1 at the second.
bool kivClipSegment(const KivClipPoint& a, const KivClipPoint& b, double* from, double* to);

KivClipPoint kivMix(const KivClipPoint& a, const KivClipPoint& b, double t);

// The view of the current OpenGL context: its modelview and projection matrices and depth range, for a picture of that
// many pixels.
KivView kivCurrentView(int width, int height);

#endif
