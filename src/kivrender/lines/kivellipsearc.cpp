#include "kivrender/lines/kivellipsearc.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <utility>
#include <vector>

namespace {

using Point = KivPicturePoint;
using Triple = std::array<double, 3>;

constexpr double wholeTurn = 2.0 * std::numbers::pi;
constexpr double leastCircleSweep = std::numbers::pi / 18.0;
constexpr double leastEllipseSweep = std::numbers::pi / 3.0;
// An arc rises above its chord by at least so many tolerances, and an ellipse is as wide: less is a line.
constexpr double leastRise = 10.0;
constexpr double leastWidth = 20.0;
constexpr double largest = 1e5;
constexpr double samplesAlong = 256.0;

// The points, and as many between them that the line between two far ones is held to the arc as well.
std::vector<Point> samplesOf(std::span<const Point> line, bool closed) {
    const std::size_t count = line.size() + (closed ? 1 : 0);
    double length = 0.0;
    const auto at = [&](std::size_t i) -> const Point& { return line[i == line.size() ? 0 : i]; };
    for (std::size_t i = 1; i < count; ++i) {
        length += std::hypot(at(i).x - at(i - 1).x, at(i).y - at(i - 1).y);
    }
    std::vector<Point> samples = {line.front()};
    for (std::size_t i = 1; i < count; ++i) {
        const Point& a = at(i - 1);
        const Point& b = at(i);
        const double part = std::hypot(b.x - a.x, b.y - a.y) / length;
        const int steps = static_cast<int>(std::clamp(std::ceil(part * samplesAlong), 2.0, samplesAlong));
        for (int s = 1; s <= steps; ++s) {
            const double t = static_cast<double>(s) / steps;
            samples.push_back({a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t});
        }
    }
    return samples;
}

// Around the mean, in units of the farthest coordinate: sums of high powers stay exact.
struct Frame {
    Point mean;
    double unit = 0.0;

    explicit Frame(const std::vector<Point>& points) {
        for (const Point& p : points) {
            mean.x += p.x / static_cast<double>(points.size());
            mean.y += p.y / static_cast<double>(points.size());
        }
        for (const Point& p : points) {
            unit = std::max({unit, std::fabs(p.x - mean.x), std::fabs(p.y - mean.y)});
        }
    }
    Point into(const Point& p) const {
        return {(p.x - mean.x) / unit, (p.y - mean.y) / unit};
    }
};

// Kasa's fit (A Circle Fitting Procedure and Its Error Analysis, 1976).
std::optional<KivEllipseArc> circleThrough(const std::vector<Point>& points, const Frame& frame) {
    double uu = 0.0;
    double uv = 0.0;
    double vv = 0.0;
    double uz = 0.0;
    double vz = 0.0;
    for (const Point& point : points) {
        const Point p = frame.into(point);
        const double z = p.x * p.x + p.y * p.y;
        uu += p.x * p.x;
        uv += p.x * p.y;
        vv += p.y * p.y;
        uz += p.x * z;
        vz += p.y * z;
    }
    const double determinant = uu * vv - uv * uv;
    const double a = (uz * vv - vz * uv) / (2.0 * determinant);
    const double b = (vz * uu - uz * uv) / (2.0 * determinant);
    const double radius = frame.unit * std::sqrt(a * a + b * b + (uu + vv) / static_cast<double>(points.size()));
    if (!(radius < largest)) {
        return std::nullopt;
    }
    return KivEllipseArc{{frame.mean.x + a * frame.unit, frame.mean.y + b * frame.unit}, radius, radius, 0.0, 0.0, 0.0};
}

Triple cross(const Triple& a, const Triple& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

using Matrix = std::array<Triple, 3>; // of rows

// The vector that the matrix takes to value times itself: across its rows.
Triple kernel(Matrix m, double value) {
    for (std::size_t i = 0; i < 3; ++i) {
        m[i][i] -= value;
    }
    Triple best{};
    double most = -1.0;
    for (std::size_t i = 0; i < 3; ++i) {
        const Triple v = cross(m[i], m[i == 2 ? 0 : i + 1]);
        const double size = v[0] * v[0] + v[1] * v[1] + v[2] * v[2];
        if (size > most) {
            most = size;
            best = v;
        }
    }
    return best;
}

// The real values x with det(m - x) = 0.
std::vector<double> valuesOf(const Matrix& m) {
    const double trace = m[0][0] + m[1][1] + m[2][2];
    const double minors = m[0][0] * m[1][1] - m[0][1] * m[1][0] + m[0][0] * m[2][2] - m[0][2] * m[2][0] +
                          m[1][1] * m[2][2] - m[1][2] * m[2][1];
    const Triple c = cross(m[1], m[2]);
    const double determinant = m[0][0] * c[0] + m[0][1] * c[1] + m[0][2] * c[2];
    // x = y + trace / 3 leaves y^3 + p y + q.
    const double p = minors - trace * trace / 3.0;
    const double q = trace * minors / 3.0 - 2.0 * trace * trace * trace / 27.0 - determinant;
    const double inner = 0.25 * q * q + p * p * p / 27.0;
    if (inner > 0.0) {
        const double root = std::sqrt(inner);
        return {std::cbrt(-0.5 * q + root) + std::cbrt(-0.5 * q - root) + trace / 3.0};
    }
    const double size = 2.0 * std::sqrt(std::max(-p / 3.0, 0.0));
    const double angle = std::acos(std::clamp(size > 0.0 ? 3.0 * q / (p * size) : 0.0, -1.0, 1.0)) / 3.0;
    std::vector<double> values;
    for (int k = 0; k < 3; ++k) {
        values.push_back(size * std::cos(angle - wholeTurn * k / 3.0) + trace / 3.0);
    }
    return values;
}

// a xx + b xy + c yy + d x + e y + f = 0.
using Conic = std::array<double, 6>;

// The ellipse of least squares (Halir and Flusser, Numerically Stable Direct Least Squares Fitting of Ellipses, 1998).
std::optional<Conic> conicThrough(const std::vector<Point>& points, const Frame& frame) {
    Matrix quadratic{};
    Matrix mixed{};
    Matrix linear{};
    for (const Point& point : points) {
        const Point p = frame.into(point);
        const Triple high = {p.x * p.x, p.x * p.y, p.y * p.y};
        const Triple low = {p.x, p.y, 1.0};
        for (std::size_t i = 0; i < 3; ++i) {
            for (std::size_t k = 0; k < 3; ++k) {
                quadratic[i][k] += high[i] * high[k];
                mixed[i][k] += high[i] * low[k];
                linear[i][k] += low[i] * low[k];
            }
        }
    }
    // down = -linear^-1 mixed^T; the inverse of a symmetric matrix by its minors.
    const Matrix minors = {cross(linear[1], linear[2]), cross(linear[2], linear[0]), cross(linear[0], linear[1])};
    const double determinant = linear[0][0] * minors[0][0] + linear[0][1] * minors[0][1] + linear[0][2] * minors[0][2];
    Matrix down{};
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t k = 0; k < 3; ++k) {
            for (std::size_t n = 0; n < 3; ++n) {
                down[i][k] -= minors[n][i] * mixed[k][n] / determinant;
            }
        }
    }
    Matrix reduced = quadratic;
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t k = 0; k < 3; ++k) {
            for (std::size_t n = 0; n < 3; ++n) {
                reduced[i][k] += mixed[i][n] * down[n][k];
            }
        }
    }
    // By the inverse of the matrix that makes 4 a c - b b of a conic.
    Matrix system{};
    for (std::size_t k = 0; k < 3; ++k) {
        system[0][k] = 0.5 * reduced[2][k];
        system[1][k] = -reduced[1][k];
        system[2][k] = 0.5 * reduced[0][k];
    }
    std::optional<Conic> best;
    for (const double value : valuesOf(system)) {
        const Triple v = kernel(system, value);
        if (4.0 * v[0] * v[2] - v[1] * v[1] > 0.0) {
            Conic conic = {v[0], v[1], v[2], 0.0, 0.0, 0.0};
            for (std::size_t i = 0; i < 3; ++i) {
                conic[3 + i] = down[i][0] * v[0] + down[i][1] * v[1] + down[i][2] * v[2];
            }
            best = conic;
        }
    }
    return best;
}

std::optional<KivEllipseArc> ellipseThrough(const std::vector<Point>& points, const Frame& frame) {
    const std::optional<Conic> found = conicThrough(points, frame);
    if (!found) {
        return std::nullopt;
    }
    const auto& [a, b, c, d, e, f] = *found;
    const double determinant = 4.0 * a * c - b * b;
    const Point middle = {(b * e - 2.0 * c * d) / determinant, (b * d - 2.0 * a * e) / determinant};
    // Around its middle a xx + b xy + c yy = level; the axes are those of the quadratic form.
    const double level = -(f + 0.5 * (d * middle.x + e * middle.y));
    const double turn = 0.5 * std::atan2(b, a - c);
    const double half = 0.5 * std::hypot(a - c, b);
    const double one = level / (0.5 * (a + c) + half); // along turn
    const double other = level / (0.5 * (a + c) - half);
    if (!(one > 0.0 && other > 0.0)) {
        return std::nullopt;
    }
    KivEllipseArc arc;
    arc.centre = {frame.mean.x + middle.x * frame.unit, frame.mean.y + middle.y * frame.unit};
    arc.along = frame.unit * std::sqrt(std::max(one, other));
    arc.across = frame.unit * std::sqrt(std::min(one, other));
    arc.turn = std::remainder(one >= other ? turn : turn + 0.5 * std::numbers::pi, std::numbers::pi);
    return arc.along < largest ? std::optional(arc) : std::nullopt;
}

// Places of a point in the axes of an ellipse.
class Axes {
public:
    explicit Axes(const KivEllipseArc& found) : arc(found), cosine(std::cos(found.turn)), sine(std::sin(found.turn)) {}

    double angleOf(const Point& p) const {
        const Point q = into(p);
        return std::atan2(q.y / arc.across, q.x / arc.along);
    }
    // To first order (Sampson, 1982).
    double distanceTo(const Point& p) const {
        const Point q = into(p);
        const double u = q.x / arc.along;
        const double v = q.y / arc.across;
        const double slope = 2.0 * std::hypot(u / arc.along, v / arc.across);
        return slope > 0.0 ? std::fabs(u * u + v * v - 1.0) / slope : arc.across;
    }

private:
    Point into(const Point& p) const {
        const double x = p.x - arc.centre.x;
        const double y = p.y - arc.centre.y;
        return {x * cosine + y * sine, y * cosine - x * sine};
    }

    const KivEllipseArc& arc;
    double cosine;
    double sine;
};

// Runs along the ellipse, once and in one direction; arc gets from where and how far.
bool runsAlong(const std::vector<Point>& samples, bool closed, double tolerance, KivEllipseArc& arc) {
    const Axes axes(arc);
    double farthest = 0.0;
    double back = 0.0;
    double angle = axes.angleOf(samples.front());
    arc.from = angle;
    for (const Point& p : samples) {
        if (!(axes.distanceTo(p) <= tolerance)) {
            return false;
        }
        const double next = axes.angleOf(p);
        arc.sweep += std::remainder(next - angle, wholeTurn);
        angle = next;
        back = std::max({back, std::fabs(farthest) - std::fabs(arc.sweep), -farthest * arc.sweep});
        farthest = std::fabs(arc.sweep) > std::fabs(farthest) ? arc.sweep : farthest;
    }
    if (!(back * arc.along <= 2.0 * tolerance)) {
        return false;
    }
    if (closed) {
        const bool isWhole = std::fabs(std::fabs(arc.sweep) - wholeTurn) < 1e-6;
        arc.sweep = std::copysign(wholeTurn, arc.sweep);
        return isWhole;
    }
    return std::fabs(arc.sweep) < 0.999 * wholeTurn;
}

bool isArc(const KivEllipseArc& arc, double tolerance) {
    const double sweep = std::fabs(arc.sweep);
    const double rise = arc.across * (1.0 - std::cos(0.5 * std::min(sweep, std::numbers::pi)));
    return sweep >= (arc.isCircle() ? leastCircleSweep : leastEllipseSweep) && rise >= leastRise * tolerance &&
           arc.across >= leastWidth * tolerance;
}

} // namespace

bool KivEllipseArc::isWhole() const {
    return std::fabs(sweep) > wholeTurn - 1e-9;
}

KivPicturePoint KivEllipseArc::at(double angle) const {
    const double u = along * std::cos(angle);
    const double v = across * std::sin(angle);
    return {centre.x + u * std::cos(turn) - v * std::sin(turn), centre.y + u * std::sin(turn) + v * std::cos(turn)};
}

std::optional<KivEllipseArc> kivFitEllipseArc(std::span<const KivPicturePoint> polyline, bool closed,
                                              double tolerance) {
    const bool isFinite = std::all_of(polyline.begin(), polyline.end(), [](const Point& p) {
        return std::fabs(p.x) < largest && std::fabs(p.y) < largest; // false for NaN
    });
    if (polyline.size() < 3 || !isFinite) {
        return std::nullopt;
    }
    const std::vector<Point> samples = samplesOf(polyline, closed);
    const Frame frame(samples);
    if (!(frame.unit > tolerance)) {
        return std::nullopt;
    }
    for (const auto through : {circleThrough, ellipseThrough}) {
        std::optional<KivEllipseArc> arc = through(samples, frame);
        if (arc && arc->across > leastWidth * tolerance && runsAlong(samples, closed, tolerance, *arc)) {
            return isArc(*arc, tolerance) ? arc : std::nullopt;
        }
    }
    return std::nullopt;
}

KivCurvePath kivPathOf(const KivEllipseArc& arc, double tolerance) {
    // A cubic over an angle departs from the circle by this part of its radius (Goldapp, 1991).
    const auto departure = [](double angle) {
        return 2.0 / 27.0 * std::pow(std::sin(0.25 * angle), 6.0) / std::pow(std::cos(0.25 * angle), 2.0);
    };
    const double sweep = std::fabs(arc.sweep);
    int pieces = std::max(1, static_cast<int>(std::ceil(sweep / (0.5 * std::numbers::pi) - 1e-9)));
    while (pieces < 64 && arc.along * departure(sweep / pieces) > 0.1 * tolerance) {
        ++pieces;
    }
    const double step = arc.sweep / pieces;
    const double handle = 4.0 / 3.0 * std::tan(0.25 * step);
    KivCurvePath path{arc.at(arc.from), {}, arc.isWhole()};
    // A right angle on: the direction in which the ellipse runs at an angle.
    const auto along = [&](double angle) {
        const Point p = arc.at(angle + 0.5 * std::numbers::pi);
        return Point{(p.x - arc.centre.x) * handle, (p.y - arc.centre.y) * handle};
    };
    for (int i = 0; i < pieces; ++i) {
        const Point start = arc.at(arc.from + step * i);
        const Point end = arc.at(arc.from + step * (i + 1));
        const Point out = along(arc.from + step * i);
        const Point in = along(arc.from + step * (i + 1));
        path.pieces.push_back(
            {KivCurvePiece::Kind::cubic, {{start.x + out.x, start.y + out.y}, {end.x - in.x, end.y - in.y}}, end});
    }
    if (path.closed) {
        path.pieces.back().end = path.start;
    }
    return path;
}
