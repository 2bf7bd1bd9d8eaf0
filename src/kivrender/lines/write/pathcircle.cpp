#include "kivrender/lines/write/pathcircle.h"

#include <algorithm>
#include <cmath>

KivPicturePoint kivPointOn(const KivPicturePoint& start, const KivCurvePiece& cubic, double t) {
    const double s = 1.0 - t;
    const auto mix = [&](double a, double b, double c, double d) {
        return a * s * s * s + b * 3.0 * s * s * t + c * 3.0 * s * t * t + d * t * t * t;
    };
    return {mix(start.x, cubic.control[0].x, cubic.control[1].x, cubic.end.x),
            mix(start.y, cubic.control[0].y, cubic.control[1].y, cubic.end.y)};
}

std::optional<PathCircle> kivCircleThrough(std::span<const KivPicturePoint> points, double tolerance) {
    if (points.size() < 3) {
        return std::nullopt;
    }
    const auto count = static_cast<double>(points.size());
    double mx = 0.0;
    double my = 0.0;
    for (const KivPicturePoint& p : points) {
        mx += p.x / count;
        my += p.y / count;
    }
    // Moments around the mean: least squares of (x - a)^2 + (y - b)^2 - r^2.
    double uu = 0.0;
    double uv = 0.0;
    double vv = 0.0;
    double uz = 0.0;
    double vz = 0.0;
    for (const KivPicturePoint& p : points) {
        const double u = p.x - mx;
        const double v = p.y - my;
        const double z = u * u + v * v;
        uu += u * u;
        uv += u * v;
        vv += v * v;
        uz += u * z;
        vz += v * z;
    }
    const double determinant = uu * vv - uv * uv;
    // Straighter than a thousandth is a line.
    if (!(determinant > 1e-6 * (uu + vv) * (uu + vv))) {
        return std::nullopt;
    }
    const double a = (uz * vv - vz * uv) / (2.0 * determinant);
    const double b = (vz * uu - uz * uv) / (2.0 * determinant);
    const PathCircle circle{{mx + a, my + b}, std::sqrt(a * a + b * b + (uu + vv) / count)};
    const bool fits = std::all_of(points.begin(), points.end(), [&](const KivPicturePoint& p) {
        return std::fabs(std::hypot(p.x - circle.centre.x, p.y - circle.centre.y) - circle.radius) <= tolerance;
    });
    return fits ? std::optional(circle) : std::nullopt;
}
