#include "apps/common/sight.h"

#include "kivrender/scene/kiv3dvector.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace {

// Of a pixel: what is smaller all in all covers the middle of none but by chance.
constexpr double leastSize = 0.1;

double dot(const Kiv3DPoint& p, const Kiv3DVector& v) {
    return p.x * v.x + p.y * v.y + p.z * v.z;
}

// A point as the camera sees it: to the right, up, and in front.
struct Seen {
    double right, up, depth;
};

class View {
public:
    explicit View(const KivCamera& seeing)
        : camera(seeing), forward(camera.getDirection()), up(camera.getUp()),
          right(forward.y * up.z - forward.z * up.y, forward.z * up.x - forward.x * up.z,
                forward.x * up.y - forward.y * up.x) {}

    Seen at(const Kiv3DPoint& p) const {
        const Kiv3DPoint eye = camera.getLocation();
        const Kiv3DPoint from(p.x - eye.x, p.y - eye.y, p.z - eye.z);
        return {dot(from, right), dot(from, up), dot(from, forward)};
    }
    bool isParallel() const {
        return camera.getProjection() == KivCamera::orthographic;
    }
    // By how much the picture widens with the depth, and how wide it is at the eye.
    double slope(double atNear) const {
        return isParallel() ? 0.0 : atNear / camera.getFrustumNear();
    }
    double offset(double atNear) const {
        return isParallel() ? atNear : 0.0;
    }
    // How far inside the sides a point lies, below 0 outside: left, right, below, above, behind.
    std::array<double, 5> inside(const Seen& p) const {
        const auto limit = [&](double atNear) { return slope(atNear) * p.depth + offset(atNear); };
        return {p.right - limit(camera.getFrustumLeft()), limit(camera.getFrustumRight()) - p.right,
                p.up - limit(camera.getFrustumBottom()), limit(camera.getFrustumTop()) - p.up,
                isParallel() ? 1.0 : p.depth};
    }

private:
    const KivCamera& camera;
    Kiv3DVector forward;
    Kiv3DVector up;
    Kiv3DVector right;
};

// OpenGL keeps its matrices in floats.
bool fitsOpenGl(const KivCamera& camera) {
    const double width = camera.getFrustumRight() - camera.getFrustumLeft();
    const double height = camera.getFrustumTop() - camera.getFrustumBottom();
    const double depth = camera.getFrustumFar() - camera.getFrustumNear();
    const bool isPerspective = camera.getProjection() != KivCamera::orthographic;
    const double factor = isPerspective ? camera.getFrustumNear() : 1.0;
    constexpr double most = std::numeric_limits<float>::max();
    const auto isDrawn = [&](double size) { return size > 0.0 && 2.0 * factor / size < most; };
    const Kiv3DPoint eye = camera.getLocation();
    const double farthest = std::max({std::fabs(eye.x), std::fabs(eye.y), std::fabs(eye.z), camera.getFrustumFar()});
    return isDrawn(width) && isDrawn(height) && depth > 0.0 && farthest < most;
}

// Of points in the picture.
class Extent {
public:
    void add(const View& view, const Kiv3DPoint& point, double frustumTop) {
        const Seen seen = view.at(point);
        const std::array<double, 5> inside = view.inside(seen);
        for (std::size_t i = 0; i < best.size(); ++i) {
            best[i] = std::max(best[i], inside[i]);
        }
        const double half = view.isParallel()  ? frustumTop
                            : seen.depth > 0.0 ? view.slope(frustumTop) * seen.depth
                                               : 0.0;
        const double place[2] = {seen.right / half, seen.up / half};
        for (int i = 0; i < 2; ++i) {
            // A point beside the eye is as far out as can be.
            low[i] = std::min(low[i], half > 0.0 ? place[i] : -infinity);
            high[i] = std::max(high[i], half > 0.0 ? place[i] : infinity);
        }
    }

    // Empty once something is, and then whatever is added.
    std::string whyNothingIsSeen(int height, bool areSeveral) const {
        if (best[4] <= 0.0) {
            return "the whole model is behind it";
        }
        if (std::any_of(best.begin(), best.end(), [](double most) { return most < 0.0; })) {
            return "the whole model is beside its picture";
        }
        if (std::max(high[0] - low[0], high[1] - low[1]) * height / 2.0 < leastSize && areSeveral) {
            return "the whole model is far smaller than a pixel";
        }
        return {};
    }

private:
    static constexpr double infinity = std::numeric_limits<double>::infinity();

    std::array<double, 5> best = {-infinity, -infinity, -infinity, -infinity, -infinity};
    double low[2] = {infinity, infinity};
    double high[2] = {-infinity, -infinity};
};

} // namespace

std::string whyNothingIsSeen(const std::vector<Kiv3DPoint>& points, const KivCamera& camera, int height) {
    if (points.empty()) {
        return {};
    }
    if (!fitsOpenGl(camera)) {
        return "it is too far away, or its picture too small, for the numbers of OpenGL";
    }
    const View view(camera);
    Extent extent;
    std::string why;
    // Further points only make it larger: of most models a few thousand are enough.
    constexpr std::size_t together = 4096;
    for (std::size_t first = 0; first < points.size() && (first == 0 || !why.empty()); first += together) {
        for (std::size_t i = first; i < std::min(points.size(), first + together); ++i) {
            extent.add(view, points[i], camera.getFrustumTop());
        }
        why = extent.whyNothingIsSeen(height, points.size() > 1);
    }
    return why;
}
