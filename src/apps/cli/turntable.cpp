#include "apps/cli/turntable.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

double dot(const Kiv3DVector& a, const Kiv3DVector& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

Kiv3DVector cross(const Kiv3DVector& a, const Kiv3DVector& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

} // namespace

Kiv3DPoint middleOf(const std::vector<Kiv3DPoint>& points) {
    if (points.empty()) {
        return {};
    }
    Kiv3DPoint low = points.front();
    Kiv3DPoint high = points.front();
    for (const Kiv3DPoint& p : points) {
        low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
    }
    return {(low.x + high.x) / 2.0, (low.y + high.y) / 2.0, (low.z + high.z) / 2.0};
}

Kiv3DVector turned(const Kiv3DVector& v, const Kiv3DVector& axis, double angle) {
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    const Kiv3DVector across = cross(axis, v);
    const double along = dot(axis, v) * (1.0 - c);
    return {v.x * c + across.x * s + axis.x * along, v.y * c + across.y * s + axis.y * along,
            v.z * c + across.z * s + axis.z * along};
}

std::vector<Kiv3DPoint> sweptPoints(const std::vector<Kiv3DPoint>& points, const Kiv3DVector& axis) {
    constexpr std::size_t rings = 64;
    constexpr int around = 48;
    if (points.empty()) {
        return points;
    }
    const Kiv3DPoint middle = middleOf(points);
    const auto fromMiddle = [&](const Kiv3DPoint& p) {
        return Kiv3DVector(p.x - middle.x, p.y - middle.y, p.z - middle.z);
    };
    double low = dot(fromMiddle(points.front()), axis);
    double high = low;
    for (const Kiv3DPoint& p : points) {
        low = std::min(low, dot(fromMiddle(p), axis));
        high = std::max(high, dot(fromMiddle(p), axis));
    }
    const double height = std::max(high - low, 1e-300);
    std::vector<double> radii(rings, -1.0);
    for (const Kiv3DPoint& p : points) {
        const Kiv3DVector v = fromMiddle(p);
        const double at = dot(v, axis);
        const auto ring = std::min(rings - 1, static_cast<std::size_t>((at - low) / height * rings));
        radii[ring] = std::max(radii[ring], std::sqrt(std::max(0.0, dot(v, v) - at * at)));
    }
    const ViewAxes axes = viewAxes(axis, {axis.y, axis.z, axis.x});
    std::vector<Kiv3DPoint> swept;
    for (std::size_t ring = 0; ring < rings; ++ring) {
        for (int i = 0; i < around && radii[ring] >= 0.0; ++i) {
            const Kiv3DVector out = turned(axes.right, axis, 2.0 * std::numbers::pi * i / around);
            // The lower and the upper edge of a ring.
            for (const std::size_t edge : {ring, ring + 1}) {
                const double at = low + height * static_cast<double>(edge) / rings;
                const double r = radii[ring];
                swept.emplace_back(middle.x + axis.x * at + out.x * r, middle.y + axis.y * at + out.y * r,
                                   middle.z + axis.z * at + out.z * r);
            }
        }
    }
    return swept;
}
