#include "kivview.h"

#include "kivrender/platform/kivgldepth.h"
#include "kivrender/shader/kivpicturetile.h"

#include <GL/gl.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

KivView::Matrix product(const KivView::Matrix& a, const KivView::Matrix& b) {
    KivView::Matrix result{};
    for (int column = 0; column < 4; ++column) {
        for (int row = 0; row < 4; ++row) {
            double sum = 0.0;
            for (int k = 0; k < 4; ++k) {
                sum += a[k * 4 + row] * b[column * 4 + k];
            }
            result[column * 4 + row] = sum;
        }
    }
    return result;
}

} // namespace

KivView::KivView(const Matrix& modelview, const Matrix& projectionMatrix, int width, int height, double depthNear,
                 double depthFar)
    : combined(product(projectionMatrix, modelview)), projection(projectionMatrix), viewWidth(width),
      viewHeight(height), depthFrom(depthNear), depthTo(depthFar) {
    // Shadows look at a parallel view from a very distant eye: there the last element is not 0.
    perspective = projection[11] != 0.0 && projection[15] == 0.0;
    // The modelview matrix of a camera is a rotation and a move, so its inverse is its transpose: the eye is the point
    // that it takes to the origin.
    const Matrix& m = modelview;
    eyePoint = {-(m[0] * m[12] + m[1] * m[13] + m[2] * m[14]), -(m[4] * m[12] + m[5] * m[13] + m[6] * m[14]),
                -(m[8] * m[12] + m[9] * m[13] + m[10] * m[14])};
    rightward = {m[0], m[4], m[8]};
    upward = {m[1], m[5], m[9]};
    backward = {m[2], m[6], m[10]};
    const double horizontal = projection[0] * width;
    const double vertical = projection[5] * height;
    const double scale = std::max(std::abs(horizontal), std::abs(vertical));
    pixelScale = scale > 0.0 ? 2.0 / scale : 1.0;
}

KivClipPoint KivView::clip(const KivVec& p) const {
    const Matrix& m = combined;
    return {m[0] * p.x + m[4] * p.y + m[8] * p.z + m[12], m[1] * p.x + m[5] * p.y + m[9] * p.z + m[13],
            m[2] * p.x + m[6] * p.y + m[10] * p.z + m[14], m[3] * p.x + m[7] * p.y + m[11] * p.z + m[15]};
}

KivWindowPoint KivView::window(const KivClipPoint& p) const {
    const double inverse = 1.0 / p.w;
    return {(p.x * inverse + 1.0) * 0.5 * viewWidth, (p.y * inverse + 1.0) * 0.5 * viewHeight,
            depthFrom + (p.z * inverse + 1.0) * 0.5 * (depthTo - depthFrom)};
}

double KivView::distance(double windowDepth) const {
    const double normalised = (windowDepth - depthFrom) / (depthTo - depthFrom) * 2.0 - 1.0;
    const double divisor = normalised * projection[11] - projection[10];
    const double z = (projection[14] - normalised * projection[15]) / divisor;
    if (!perspective) {
        return -z;
    }
    // Behind the far end of an infinite projection the quotient changes its sign.
    return std::isfinite(z) && z < 0.0 ? -z : std::numeric_limits<double>::max();
}

bool kivClipSegment(const KivClipPoint& a, const KivClipPoint& b, double* from, double* to) {
    // Signed distances to the four sides and to the near plane: inside where they are not negative.
    const double da[5] = {a.w - a.x, a.w + a.x, a.w - a.y, a.w + a.y, a.w + a.z};
    const double db[5] = {b.w - b.x, b.w + b.x, b.w - b.y, b.w + b.y, b.w + b.z};
    double first = 0.0;
    double last = 1.0;
    for (int side = 0; side < 5; ++side) {
        if (!(da[side] >= 0.0) && !(db[side] >= 0.0)) {
            return false;
        }
        if (da[side] < 0.0) {
            first = std::max(first, da[side] / (da[side] - db[side]));
        } else if (db[side] < 0.0) {
            last = std::min(last, da[side] / (da[side] - db[side]));
        }
    }
    *from = first;
    *to = last;
    return first <= last;
}

KivClipPoint kivMix(const KivClipPoint& a, const KivClipPoint& b, double t) {
    return {a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t, a.z + (b.z - a.z) * t, a.w + (b.w - a.w) * t};
}

KivView kivCurrentView(int width, int height) {
    KivView::Matrix modelview;
    KivView::Matrix projection;
    GLdouble range[2] = {0.0, 1.0};
    glGetDoublev(GL_MODELVIEW_MATRIX, modelview.data());
    glGetDoublev(GL_PROJECTION_MATRIX, projection.data());
    glGetDoublev(GL_DEPTH_RANGE, range);
    kivRemovePicturePlace(projection.data());
    const bool fine = kivIsDepthClippedFromZero();
    if (fine) {
        for (std::size_t column = 0; column < 16; column += 4) {
            projection[column + 2] = 2.0 * projection[column + 2] - projection[column + 3];
        }
    }
    KivView view(modelview, projection, width, height, range[0], range[1]);
    view.setFineDepth(fine);
    return view;
}
