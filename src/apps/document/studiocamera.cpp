#include "apps/document/studiocamera.h"

#include "apps/common/standardview.h"
#include <algorithm>
#include <array>
#include <cmath>
#include <initializer_list>
#include <numbers>

namespace {

using std::numbers::pi;
// A model is about a hundred units large.
constexpr double nearest = 0.05;
constexpr double farthest = 1e5;

double dot(const Kiv3DVector& a, const Kiv3DVector& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
Kiv3DVector cross(const Kiv3DVector& a, const Kiv3DVector& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
Kiv3DVector sum(const Kiv3DVector& a, double s, const Kiv3DVector& b, double t) {
    return {a.x * s + b.x * t, a.y * s + b.y * t, a.z * s + b.z * t};
}
Kiv3DVector between(const Kiv3DPoint& from, const Kiv3DPoint& to) {
    return {to.x - from.x, to.y - from.y, to.z - from.z};
}
Kiv3DPoint along(const Kiv3DPoint& from, const Kiv3DVector& way, double length) {
    return {from.x + way.x * length, from.y + way.y * length, from.z + way.z * length};
}

bool isZUp(const Kiv3DVector& up) {
    return std::abs(up.z) > std::abs(up.y);
}

// The way that the front view looks: along -z where y is up, along +y where z is.
Kiv3DVector frontOf(const Kiv3DVector& up) {
    return isZUp(up) ? Kiv3DVector(0.0, 1.0, 0.0) : Kiv3DVector(0.0, 0.0, -1.0);
}

bool areFinite(std::initializer_list<double> values) {
    return std::all_of(values.begin(), values.end(), [](double v) { return std::isfinite(v); });
}

double finiteOr(double value, double otherwise) {
    return std::isfinite(value) ? value : otherwise;
}

Kiv3DPoint middleOf(const std::vector<Kiv3DPoint>& points) {
    if (points.empty()) {
        return {0.0, 0.0, 0.0};
    }
    Kiv3DPoint low = points.front();
    Kiv3DPoint high = low;
    for (const Kiv3DPoint& p : points) {
        low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
    }
    return {(low.x + high.x) / 2.0, (low.y + high.y) / 2.0, (low.z + high.z) / 2.0};
}

} // namespace

ViewAxes StudioCamera::axes() const {
    const Kiv3DVector front = frontOf(up);
    const Kiv3DVector side = cross(front, up); // what is right in the front view
    // From the right one looks to the left.
    const Kiv3DVector level = sum(front, std::cos(yaw), side, -std::sin(yaw));
    ViewAxes axes;
    axes.forward = sum(level, std::cos(pitch), up, -std::sin(pitch));
    axes.right = cross(level, up);
    axes.up = cross(axes.right, axes.forward);
    return axes;
}

Kiv3DPoint StudioCamera::eye() const {
    return along(target, axes().forward, -distance);
}

double StudioCamera::heightAtTarget() const {
    return 2.0 * distance * std::tan(fov * pi / 360.0);
}

void StudioCamera::orbit(double right, double upwards) {
    if (!areFinite({right, upwards})) {
        return;
    }
    yaw += right;
    pitch += upwards;
    sanitize();
}

void StudioCamera::pan(double x, double y, double viewHeight) {
    if (!areFinite({x, y, viewHeight})) {
        return;
    }
    const double unitsPerPixel = heightAtTarget() / std::max(viewHeight, 1.0);
    const ViewAxes view = axes();
    target = along(along(target, view.right, -x * unitsPerPixel), view.up, y * unitsPerPixel);
    sanitize();
}

void StudioCamera::zoom(double factor, double x, double y, double viewHeight) {
    if (!areFinite({factor, x, y, viewHeight})) {
        return;
    }
    const double before = distance;
    distance = std::clamp(before / std::max(factor, 1e-6), nearest, farthest);
    const double unitsPerPixel = heightAtTarget() / distance * before / std::max(viewHeight, 1.0);
    const double part = 1.0 - distance / before;
    const ViewAxes view = axes();
    target = along(along(target, view.right, x * unitsPerPixel * part), view.up, -y * unitsPerPixel * part);
    sanitize();
}

void StudioCamera::look(StudioSide view) {
    yaw = 0.0;
    pitch = 0.0;
    switch (view) {
    case StudioSide::front:
        break;
    case StudioSide::back:
        yaw = pi;
        break;
    case StudioSide::right:
        yaw = pi / 2.0;
        break;
    case StudioSide::left:
        yaw = -pi / 2.0;
        break;
    case StudioSide::top:
        pitch = pi / 2.0;
        break;
    case StudioSide::bottom:
        pitch = -pi / 2.0;
        break;
    case StudioSide::threeQuarter:
        turnTo(threeQuarterDirection(up));
        break;
    case StudioSide::iso:
        turnTo(standardDirections(StandardView::iso, up).forward);
        break;
    }
}

void StudioCamera::fit(const std::vector<Kiv3DPoint>& points, double aspect) {
    if (points.empty()) {
        return;
    }
    Lens lens;
    lens.aspect = aspect > 0.0 && std::isfinite(aspect) ? aspect : 1.0;
    lens.verticalFov = fov;
    const ViewAxes view = axes();
    if (parallel) {
        lens.orthoHeight = fittingOrthoHeight(points, view, lens.aspect);
    }
    const Kiv3DPoint place = fittingLocation(points, view, lens);
    double depth = dot(between(place, middleOf(points)), view.forward);
    if (parallel) {
        // The height decides, and the eye goes to where it would be in perspective.
        const double wanted = lens.orthoHeight / (2.0 * std::tan(fov * pi / 360.0));
        target = along(place, view.forward, depth);
        distance = wanted;
    } else {
        depth = std::max(depth, nearest);
        target = along(place, view.forward, depth);
        distance = depth;
    }
    sanitize();
}

void StudioCamera::follow(const Kiv3DPoint& location, const Kiv3DVector& direction,
                          const std::vector<Kiv3DPoint>& points) {
    if (turnTo(direction)) {
        const double depth = dot(between(location, middleOf(points)), axes().forward);
        distance = std::clamp(finiteOr(depth, distance), nearest, farthest);
        target = along(location, axes().forward, distance);
        sanitize();
    }
}

bool StudioCamera::turnTo(const Kiv3DVector& direction) {
    const double length = std::sqrt(dot(direction, direction));
    if (!(length > 0.0) || !std::isfinite(length)) {
        return false;
    }
    const Kiv3DVector way = sum(direction, 1.0 / length, up, 0.0);
    const Kiv3DVector front = frontOf(up);
    const Kiv3DVector side = cross(front, up);
    pitch = std::asin(std::clamp(-dot(way, up), -1.0, 1.0));
    const double ahead = dot(way, front);
    const double aside = dot(way, side);
    if (ahead * ahead + aside * aside > 1e-12) {
        yaw = std::atan2(-aside, ahead);
    }
    sanitize();
    return true;
}

KivCamera StudioCamera::toCamera(const std::vector<Kiv3DPoint>& points, double aspect) const {
    Lens lens;
    lens.aspect = aspect;
    lens.verticalFov = fov;
    lens.orthoHeight = parallel ? heightAtTarget() : 0.0;
    return makeCamera(points, eye(), axes(), lens);
}

bool StudioCamera::project(const Kiv3DPoint& point, double width, double height, double* x, double* y) const {
    const ViewAxes view = axes();
    const Kiv3DVector way = between(eye(), point);
    const double depth = dot(way, view.forward);
    if (!parallel && depth <= distance * 1e-6) {
        return false;
    }
    const double pixels = height / heightAtTarget() * (parallel ? 1.0 : distance / depth);
    *x = width / 2.0 + dot(way, view.right) * pixels;
    *y = height / 2.0 - dot(way, view.up) * pixels;
    return true;
}

Kiv3DVector StudioCamera::moved(const Kiv3DPoint& point, double x, double y, double viewHeight) const {
    const ViewAxes view = axes();
    const double depth = parallel ? distance : std::max(dot(between(eye(), point), view.forward), nearest);
    const double units = heightAtTarget() / std::max(viewHeight, 1.0) * depth / distance;
    return sum(view.right, x * units, view.up, -y * units);
}

bool StudioCamera::operator==(const StudioCamera& other) const {
    const auto numbers = [](const StudioCamera& c) {
        return std::array{c.target.x, c.target.y, c.target.z, c.distance, c.yaw,
                          c.pitch,    c.up.x,     c.up.y,     c.up.z,     c.fov};
    };
    return numbers(*this) == numbers(other) && parallel == other.parallel;
}

void StudioCamera::sanitize() {
    target = {finiteOr(target.x, 0.0), finiteOr(target.y, 0.0), finiteOr(target.z, 0.0)};
    const auto within = [](double v) { return std::clamp(v, -farthest, farthest); };
    target = {within(target.x), within(target.y), within(target.z)};
    distance = std::clamp(finiteOr(distance, 300.0), nearest, farthest);
    yaw = std::remainder(finiteOr(yaw, 0.0), 2.0 * pi);
    pitch = std::clamp(finiteOr(pitch, 0.0), -pi / 2.0, pi / 2.0);
    up = isZUp(up) ? Kiv3DVector(0.0, 0.0, 1.0) : Kiv3DVector(0.0, 1.0, 0.0);
    fov = std::clamp(finiteOr(fov, 30.0), 1.0, 120.0);
}
