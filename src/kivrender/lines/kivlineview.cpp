#include "kivrender/lines/kivlineview.h"

#include "kivrender/scene/kivcamera.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

bool isFinite(const KivVec& v) {
    return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

template <class Triple> KivVec vecOf(const Triple& t) {
    return {t.x, t.y, t.z};
}

// Of unit length whatever the length of the vector: the squares of very long and very short ones leave the range of
// doubles.
KivVec directionOf(const KivVec& v) {
    const double most = std::max({std::fabs(v.x), std::fabs(v.y), std::fabs(v.z)});
    return most > 0.0 && std::isfinite(most) ? kivUnit({v.x / most, v.y / most, v.z / most}) : KivVec{};
}

// The direction at a right angle to forward that is nearest to wanted; any one if wanted runs along forward.
KivVec uprightOf(const KivVec& forward, const KivVec& wanted) {
    KivVec aside = kivCross(forward, directionOf(wanted));
    if (kivLength(aside) < 1e-9) {
        const bool steep = std::fabs(forward.y) > 0.7;
        aside = kivCross(forward, steep ? KivVec{0.0, 0.0, 1.0} : KivVec{0.0, 1.0, 0.0});
    }
    return kivCross(kivUnit(aside), forward);
}

// Cuts the part from *from to *to down to where a value that runs evenly from a to b is not below 0.
bool keepAbove(double a, double b, double* from, double* to) {
    if (a < 0.0 && b < 0.0) {
        return false;
    }
    if (a < 0.0) {
        *from = std::max(*from, a / (a - b));
    } else if (b < 0.0) {
        *to = std::min(*to, a / (a - b));
    }
    return *from <= *to;
}

} // namespace

KivLineView::KivLineView(const KivCamera& camera, double width, double height)
    : perspective(camera.getProjection() == KivCamera::perspective), pictureWidth(width), pictureHeight(height),
      left(camera.getFrustumLeft()), rightEnd(camera.getFrustumRight()), bottom(camera.getFrustumBottom()),
      top(camera.getFrustumTop()), nearPlane(camera.getFrustumNear()),
      farPlane(camera.getFrustumFar() > 0.0 ? camera.getFrustumFar() * 1.1 : std::numeric_limits<double>::infinity()),
      eye(vecOf(camera.getLocation())), forward(directionOf(vecOf(camera.getDirection()))) {
    up = uprightOf(forward, vecOf(camera.getUp()));
    right = kivCross(forward, up);
    pixelsAcross = width / (rightEnd - left);
    pixelsAlong = height / (top - bottom);
    valid = isFinite(eye) && kivDot(forward, forward) > 0.0 && pixelsAcross > 0.0 && pixelsAlong > 0.0 &&
            std::isfinite(pixelsAcross) && std::isfinite(pixelsAlong) && std::isfinite(left) && std::isfinite(bottom) &&
            std::isfinite(nearPlane) && farPlane > nearPlane && (!perspective || nearPlane > 0.0);
}

bool KivLineView::clip(const KivVec& a, const KivVec& b, double* from, double* to) const {
    *from = 0.0;
    *to = 1.0;
    if (!valid || !isFinite(a) || !isFinite(b)) {
        return false;
    }
    const double wa = perspective ? a.z / nearPlane : 1.0;
    const double wb = perspective ? b.z / nearPlane : 1.0;
    return keepAbove(a.z - nearPlane, b.z - nearPlane, from, to) &&
           (std::isinf(farPlane) || keepAbove(farPlane - a.z, farPlane - b.z, from, to)) &&
           keepAbove(a.x - left * wa, b.x - left * wb, from, to) &&
           keepAbove(rightEnd * wa - a.x, rightEnd * wb - b.x, from, to) &&
           keepAbove(a.y - bottom * wa, b.y - bottom * wb, from, to) &&
           keepAbove(top * wa - a.y, top * wb - b.y, from, to);
}
