// Cubic curves are fitted by least squares with given tangents at their ends, the places of the points on the curve
// improved by Newton's method, and curves that stay too far away are divided (Schneider, An Algorithm for Automatically
// Fitting Digitized Curves, Graphics Gems, 1990). Straight runs and corners are found before by Douglas and Peucker's
// simplification (1973).
#include "kivrender/lines/curvefit.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace {

using Point = KivPicturePoint;

Point operator+(const Point& a, const Point& b) {
    return {a.x + b.x, a.y + b.y};
}
Point operator-(const Point& a, const Point& b) {
    return {a.x - b.x, a.y - b.y};
}
Point operator*(const Point& a, double s) {
    return {a.x * s, a.y * s};
}
double dot(const Point& a, const Point& b) {
    return a.x * b.x + a.y * b.y;
}
double lengthOf(const Point& a) {
    return std::hypot(a.x, a.y);
}
Point unit(const Point& a) {
    const double length = lengthOf(a);
    return length > 0.0 ? a * (1.0 / length) : Point{};
}

double distanceToSegment(const Point& p, const Point& a, const Point& b) {
    const Point along = b - a;
    const double square = dot(along, along);
    const double t = square > 0.0 ? std::clamp(dot(p - a, along) / square, 0.0, 1.0) : 0.0;
    return lengthOf(p - (a + along * t));
}

// A turn by more than this, in radians, is a corner.
constexpr double cornerTurn = 0.7;
// A run is straight on purpose, and no piece of a curve, from so many tolerances and from so many times its neighbours
// on.
constexpr double coarse = 2.0; // an arc's rise above its chords that makes these a polygon, in tolerances
constexpr double straightRun = 60.0;
// Samples of a line lie at most so many tolerances apart: a curve that passes by all of them passes by all between.
constexpr double sampleSpacing = 10.0;
// The part of the tolerance that samples may use, as the curve swings out a little between them.
constexpr double toleranceAtSamples = 0.9;

// Marks which points Douglas and Peucker keep: every other one lies within the tolerance of the line between its kept
// neighbours. Without recursion, as hostile lines are long.
std::vector<std::size_t> keptPoints(std::span<const Point> points, double tolerance) {
    std::vector<bool> kept(points.size(), false);
    std::vector<std::pair<std::size_t, std::size_t>> open = {{0, points.size() - 1}};
    kept.front() = kept.back() = true;
    while (!open.empty()) {
        const auto [first, last] = open.back();
        open.pop_back();
        double most = tolerance;
        std::size_t farthest = first;
        for (std::size_t i = first + 1; i < last; ++i) {
            const double distance = distanceToSegment(points[i], points[first], points[last]);
            if (distance > most) {
                most = distance;
                farthest = i;
            }
        }
        if (farthest != first) {
            kept[farthest] = true;
            open.emplace_back(first, farthest);
            open.emplace_back(farthest, last);
        }
    }
    std::vector<std::size_t> result;
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (kept[i]) {
            result.push_back(i);
        }
    }
    return result;
}

struct Cubic {
    Point p[4];

    Point at(double t) const {
        const double s = 1.0 - t;
        return p[0] * (s * s * s) + p[1] * (3.0 * s * s * t) + p[2] * (3.0 * s * t * t) + p[3] * (t * t * t);
    }
    Point velocityAt(double t) const {
        const double s = 1.0 - t;
        return (p[1] - p[0]) * (3.0 * s * s) + (p[2] - p[1]) * (6.0 * s * t) + (p[3] - p[2]) * (3.0 * t * t);
    }
    Point accelerationAt(double t) const {
        return (p[2] - p[1] * 2.0 + p[0]) * (6.0 * (1.0 - t)) + (p[3] - p[2] * 2.0 + p[1]) * (6.0 * t);
    }
};

// Fits curves to a smooth run of samples and adds them to a path.
class Fitter {
public:
    Fitter(std::vector<Point> run, double allowed, KivCurvePath& into)
        : samples(std::move(run)), tolerance(allowed * toleranceAtSamples), path(into) {}

    // The tangents point along the line at both ends.
    void fit(const Point& startTangent, const Point& endTangent) {
        std::vector<Range> open = {{0, samples.size() - 1, startTangent, endTangent}};
        while (!open.empty()) {
            const Range range = open.back();
            open.pop_back();
            Cubic curve{};
            const std::size_t worst = fitOne(range, &curve);
            if (worst == 0) {
                path.pieces.push_back({KivCurvePiece::Kind::cubic, {curve.p[1], curve.p[2]}, curve.p[3]});
            } else if (range.last - range.first < 2) {
                path.pieces.push_back({KivCurvePiece::Kind::line, {}, samples[range.last]});
            } else {
                const Point tangent = tangentAt(worst);
                open.push_back({worst, range.last, tangent, range.endTangent});
                open.push_back({range.first, worst, range.startTangent, tangent});
            }
        }
    }

private:
    struct Range {
        std::size_t first;
        std::size_t last;
        Point startTangent;
        Point endTangent;
    };

    // Over some tolerances to either side, so that the facets of a line do not turn it.
    Point tangentAt(std::size_t i) const {
        const double reach = 8.0 * tolerance;
        std::size_t low = i;
        std::size_t high = i;
        while (low > 0 && lengthOf(samples[low] - samples[i]) < reach) {
            --low;
        }
        while (high + 1 < samples.size() && lengthOf(samples[high] - samples[i]) < reach) {
            ++high;
        }
        return unit(samples[high] - samples[low]);
    }

    // 0 if the curve fits; otherwise the sample to divide at.
    std::size_t fitOne(const Range& range, Cubic* curve) {
        const std::size_t count = range.last - range.first + 1;
        places.resize(count);
        places[0] = 0.0;
        for (std::size_t i = 1; i < count; ++i) {
            places[i] = places[i - 1] + lengthOf(samples[range.first + i] - samples[range.first + i - 1]);
        }
        const double length = places[count - 1];
        if (!(length > 0.0)) {
            return range.first + 1 < range.last ? range.first + 1 : range.last;
        }
        for (double& place : places) {
            place /= length;
        }
        std::size_t worst = 0;
        constexpr int rounds = 5;
        for (int round = 0; round < rounds; ++round) {
            *curve = leastSquares(range, length);
            const double error = errorOf(range, *curve, &worst);
            if (error <= tolerance) {
                return 0;
            }
            if (error > 8.0 * tolerance) {
                break; // moving the samples along the curve does not help so much
            }
            improvePlaces(range, *curve);
        }
        return std::clamp(worst, range.first + 1, std::max(range.first + 1, range.last - 1));
    }

    Cubic leastSquares(const Range& range, double length) const {
        const Point& start = samples[range.first];
        const Point& end = samples[range.last];
        double c00 = 0.0;
        double c01 = 0.0;
        double c11 = 0.0;
        double x0 = 0.0;
        double x1 = 0.0;
        for (std::size_t i = 0; i < places.size(); ++i) {
            const double t = places[i];
            const double s = 1.0 - t;
            const Point a = range.startTangent * (3.0 * s * s * t);
            const Point b = range.endTangent * (-3.0 * s * t * t);
            c00 += dot(a, a);
            c01 += dot(a, b);
            c11 += dot(b, b);
            const Point rest =
                samples[range.first + i] - (start * (s * s * (s + 3.0 * t)) + end * (t * t * (t + 3.0 * s)));
            x0 += dot(a, rest);
            x1 += dot(b, rest);
        }
        const double determinant = c00 * c11 - c01 * c01;
        double alpha = determinant > 1e-12 ? (x0 * c11 - x1 * c01) / determinant : 0.0;
        double beta = determinant > 1e-12 ? (c00 * x1 - c01 * x0) / determinant : 0.0;
        // Handles that point backwards or reach beyond the line make loops; a third of the length is always sound.
        if (!(alpha > 1e-3 * length && beta > 1e-3 * length && alpha < length && beta < length)) {
            alpha = beta = length / 3.0;
        }
        return {{start, start + range.startTangent * alpha, end - range.endTangent * beta, end}};
    }

    double errorOf(const Range& range, const Cubic& curve, std::size_t* worst) const {
        double most = 0.0;
        *worst = range.first + (range.last - range.first) / 2;
        for (std::size_t i = 1; i + 1 < places.size(); ++i) {
            const double distance = lengthOf(curve.at(places[i]) - samples[range.first + i]);
            if (distance > most) {
                most = distance;
                *worst = range.first + i;
            }
        }
        // Between two samples the curve keeps near their line too.
        for (std::size_t i = 1; i < places.size(); ++i) {
            for (const double part : {0.25, 0.5, 0.75}) {
                const Point between = curve.at(places[i - 1] + part * (places[i] - places[i - 1]));
                const double distance =
                    distanceToSegment(between, samples[range.first + i - 1], samples[range.first + i]);
                if (distance > most) {
                    most = distance;
                    *worst = range.first + i;
                }
            }
        }
        return most;
    }

    void improvePlaces(const Range& range, const Cubic& curve) {
        for (std::size_t i = 1; i + 1 < places.size(); ++i) {
            const Point away = curve.at(places[i]) - samples[range.first + i];
            const Point velocity = curve.velocityAt(places[i]);
            const double slope = dot(velocity, velocity) + dot(away, curve.accelerationAt(places[i]));
            if (slope > 0.0) {
                places[i] -= dot(away, velocity) / slope;
            }
        }
        // Samples stay in their order on the curve.
        places.back() = 1.0;
        for (std::size_t i = 1; i < places.size(); ++i) {
            places[i] = std::clamp(places[i], places[i - 1], 1.0);
        }
    }

    std::vector<Point> samples;
    double tolerance;
    KivCurvePath& path;
    std::vector<double> places;
};

// A polyline with what it is made of: kept points, and which runs between them are straight lines.
class Outline {
public:
    Outline(std::vector<Point> line, bool isClosed, double allowed)
        : points(std::move(line)), closed(isClosed), tolerance(allowed) {
        if (closed) {
            turnToCorner();
            points.push_back(points.front());
        }
        kept = keptPoints(points, 0.5 * tolerance);
        markLines();
    }

    KivCurvePath path() const {
        KivCurvePath result{points.front(), {}, closed};
        const std::size_t runs = kept.size() - 1;
        for (std::size_t first = 0; first < runs;) {
            if (isLine[first]) {
                result.pieces.push_back({KivCurvePiece::Kind::line, {}, points[kept[first + 1]]});
                ++first;
                continue;
            }
            std::size_t end = first + 1; // of the curve, in kept points
            while (end < runs && !isLine[end] && !isCorner(end)) {
                ++end;
            }
            addCurve(first, end, result);
            first = end;
        }
        return result;
    }

private:
    Point direction(std::size_t run) const {
        return unit(points[kept[run + 1]] - points[kept[run]]);
    }
    static double turn(const Point& a, const Point& b) {
        return std::fabs(std::atan2(a.x * b.y - a.y * b.x, dot(a, b)));
    }
    // Whether the line turns sharply at a kept point; ends of open lines do.
    bool isCorner(std::size_t i) const {
        const std::size_t runs = kept.size() - 1;
        if (i == 0 || i == runs) {
            return !closed || turnsSharply(runs - 1, 0);
        }
        return turnsSharply(i - 1, i);
    }
    // By its angle; or because an arc over the runs would rise clearly above them: what was sampled that coarsely, by
    // more than the tolerance, is meant as the polygon that it is.
    bool turnsSharply(std::size_t before, std::size_t after) const {
        const double angle = turn(direction(before), direction(after));
        const double run = std::min(runLength(before), runLength(after));
        return angle > cornerTurn || 0.125 * run * angle > coarse * tolerance;
    }
    double runLength(std::size_t run) const {
        return lengthOf(points[kept[run + 1]] - points[kept[run]]);
    }

    // A closed line begins at its sharpest point, so that no corner lies inside a curve.
    void turnToCorner() {
        const std::vector<std::size_t> corners = keptPoints(points, 0.5 * tolerance);
        double most = -1.0;
        std::size_t sharpest = 0;
        for (std::size_t k = 0; k < corners.size(); ++k) {
            const Point& before = points[corners[k == 0 ? corners.size() - 1 : k - 1]];
            const Point& here = points[corners[k]];
            const Point& after = points[corners[k + 1 == corners.size() ? 0 : k + 1]];
            const double turnHere = turn(here - before, after - here);
            if (turnHere > most) {
                most = turnHere;
                sharpest = corners[k];
            }
        }
        std::rotate(points.begin(), points.begin() + static_cast<std::ptrdiff_t>(sharpest), points.end());
    }

    void markLines() {
        const std::size_t runs = kept.size() - 1;
        isLine.assign(runs, false);
        for (std::size_t run = 0; run < runs; ++run) {
            const double length = runLength(run);
            const bool endsAtCorners = isCorner(run) && isCorner(run + 1);
            const double before = run > 0 && !isCorner(run) ? runLength(run - 1) : 0.0;
            const double after = run + 1 < runs && !isCorner(run + 1) ? runLength(run + 1) : 0.0;
            isLine[run] = endsAtCorners || (length > straightRun * tolerance && length > 3.0 * std::max(before, after));
        }
    }

    // The curve runs on into straight lines and, where a closed line begins, into itself.
    void addCurve(std::size_t first, std::size_t end, KivCurvePath& result) const {
        std::vector<Point> samples = {points[kept[first]]};
        for (std::size_t i = kept[first] + 1; i <= kept[end]; ++i) {
            const Point from = samples.back();
            const Point way = points[i] - from;
            const int steps =
                std::clamp(static_cast<int>(std::ceil(lengthOf(way) / (sampleSpacing * tolerance))), 1, 1000);
            for (int s = 1; s <= steps; ++s) {
                samples.push_back(s == steps ? points[i] : from + way * (static_cast<double>(s) / steps));
            }
        }
        const Point startTangent = tangentInto(first, samples, true);
        const Point endTangent = tangentInto(end, samples, false);
        Fitter(std::move(samples), tolerance, result).fit(startTangent, endTangent);
    }

    Point tangentInto(std::size_t i, const std::vector<Point>& samples, bool atStart) const {
        const std::size_t runs = kept.size() - 1;
        const std::size_t before = i == 0 ? runs - 1 : i - 1;
        const std::size_t after = i == runs ? 0 : i;
        if (!isCorner(i)) {
            if (isLine[before]) {
                return direction(before);
            }
            return isLine[after] ? direction(after) : unit(direction(before) + direction(after));
        }
        // Of the first or last part of the curve alone.
        const double reach = 8.0 * tolerance;
        const std::size_t last = samples.size() - 1;
        std::size_t k = 1;
        while (k < last && lengthOf(samples[atStart ? k : last - k] - samples[atStart ? 0 : last]) < reach) {
            ++k;
        }
        return atStart ? unit(samples[k] - samples[0]) : unit(samples[last] - samples[last - k]);
    }

    std::vector<Point> points;
    bool closed;
    double tolerance;
    std::vector<std::size_t> kept;
    std::vector<bool> isLine; // of the runs between kept points
};

} // namespace

KivCurvePath kivFitCurve(std::span<const KivPicturePoint> polyline, bool closed, double tolerance) {
    std::vector<Point> points;
    points.reserve(polyline.size());
    for (const Point& p : polyline) {
        const bool isFinite = std::isfinite(p.x) && std::isfinite(p.y);
        if (isFinite && (points.empty() || lengthOf(p - points.back()) > 1e-3 * tolerance)) {
            points.push_back(p);
        }
    }
    if (closed && points.size() > 1 && lengthOf(points.back() - points.front()) <= 1e-3 * tolerance) {
        points.pop_back();
    }
    const bool ring = closed && points.size() > 2;
    if (points.size() < 2) {
        return {points.empty() ? Point{} : points.front(), {}, false};
    }
    return Outline(std::move(points), ring, tolerance).path();
}

std::vector<KivPicturePoint> kivFlattenCurve(const KivCurvePath& path, double tolerance) {
    std::vector<KivPicturePoint> points = {path.start};
    for (const KivCurvePiece& piece : path.pieces) {
        if (piece.kind == KivCurvePiece::Kind::cubic) {
            const Cubic curve = {{points.back(), piece.control[0], piece.control[1], piece.end}};
            // Between even steps a curve departs from the chord by at most its acceleration times the square of the
            // step through 8; the acceleration is largest at one of the ends.
            const double bend = std::max(lengthOf(curve.accelerationAt(0.0)), lengthOf(curve.accelerationAt(1.0)));
            const int steps = static_cast<int>(std::clamp(std::ceil(std::sqrt(bend / (8.0 * tolerance))), 1.0, 1000.0));
            for (int i = 1; i < steps; ++i) {
                points.push_back(curve.at(static_cast<double>(i) / steps));
            }
        }
        points.push_back(piece.end);
    }
    return points;
}
