#include "kivrender/lines/curvefit.h"

#include "support/rawrandom.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

namespace {

using Line = std::vector<KivPicturePoint>;
using Kind = KivCurvePiece::Kind;

double distanceToSegment(const KivPicturePoint& p, const KivPicturePoint& a, const KivPicturePoint& b) {
    const double dx = b.x - a.x;
    const double dy = b.y - a.y;
    const double square = dx * dx + dy * dy;
    const double t = square > 0.0 ? std::clamp(((p.x - a.x) * dx + (p.y - a.y) * dy) / square, 0.0, 1.0) : 0.0;
    return std::hypot(p.x - a.x - t * dx, p.y - a.y - t * dy);
}

double distanceToLine(const KivPicturePoint& p, const Line& line) {
    double least = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i + 1 < line.size(); ++i) {
        least = std::min(least, distanceToSegment(p, line[i], line[i + 1]));
    }
    return least;
}

// The path as a fine polyline.
Line drawn(const KivCurvePath& path) {
    Line line = {path.start};
    for (const KivCurvePiece& piece : path.pieces) {
        const KivPicturePoint from = line.back();
        if (piece.kind == Kind::line) {
            line.push_back(piece.end);
            continue;
        }
        for (int i = 1; i <= 64; ++i) {
            const double t = i / 64.0;
            const double s = 1.0 - t;
            const auto mix = [&](double a, double b, double c, double d) {
                return a * s * s * s + b * 3.0 * s * s * t + c * 3.0 * s * t * t + d * t * t * t;
            };
            line.push_back({mix(from.x, piece.control[0].x, piece.control[1].x, piece.end.x),
                            mix(from.y, piece.control[0].y, piece.control[1].y, piece.end.y)});
        }
    }
    return line;
}

// The largest distance of either from the other.
double deviation(const KivCurvePath& path, Line line, bool closed) {
    if (closed) {
        line.push_back(line.front());
    }
    const Line curve = drawn(path);
    double most = 0.0;
    for (const KivPicturePoint& p : curve) {
        most = std::max(most, distanceToLine(p, line));
    }
    for (std::size_t i = 0; i + 1 < line.size(); ++i) {
        for (const double t : {0.0, 0.3, 0.7, 1.0}) {
            const KivPicturePoint p = {line[i].x + t * (line[i + 1].x - line[i].x),
                                       line[i].y + t * (line[i + 1].y - line[i].y)};
            most = std::max(most, distanceToLine(p, curve));
        }
    }
    return most;
}

int count(const KivCurvePath& path, Kind kind) {
    return static_cast<int>(std::count_if(path.pieces.begin(), path.pieces.end(),
                                          [kind](const KivCurvePiece& piece) { return piece.kind == kind; }));
}

// The sharpest turn between two pieces that meet, in radians.
double sharpestTurn(const KivCurvePath& path) {
    double most = 0.0;
    KivPicturePoint from = path.start;
    KivPicturePoint before{};
    for (std::size_t i = 0; i < path.pieces.size(); ++i) {
        const KivCurvePiece& piece = path.pieces[i];
        const bool isCurve = piece.kind == Kind::cubic;
        const KivPicturePoint towards = isCurve ? piece.control[0] : piece.end;
        const KivPicturePoint leave = {towards.x - from.x, towards.y - from.y};
        if (i > 0) {
            most = std::max(most, std::fabs(std::atan2(before.x * leave.y - before.y * leave.x,
                                                       before.x * leave.x + before.y * leave.y)));
        }
        const KivPicturePoint last = isCurve ? piece.control[1] : from;
        before = {piece.end.x - last.x, piece.end.y - last.y};
        from = piece.end;
    }
    return most;
}

Line arc(double radius, double from, double to, int steps, KivPicturePoint middle = {}) {
    Line line;
    for (int i = 0; i <= steps; ++i) {
        const double angle = from + (to - from) * i / steps;
        line.push_back({middle.x + radius * std::cos(angle), middle.y + radius * std::sin(angle)});
    }
    return line;
}

TEST(CurveFit, AStraightRunOfManyPointsIsOneLine) {
    Line line;
    for (int i = 0; i <= 500; ++i) {
        line.push_back({0.3 * i, 0.1 * i + (i % 3) * 0.01});
    }
    const KivCurvePath path = kivFitCurve(line, false, 0.1);
    ASSERT_EQ(path.pieces.size(), 1U);
    EXPECT_EQ(path.pieces[0].kind, Kind::line);
    EXPECT_EQ(path.pieces[0].end.x, line.back().x);
}

TEST(CurveFit, APolygonKeepsItsCorners) {
    const Line square = {{0.0, 0.0}, {50.0, 0.0}, {100.0, 0.0}, {100.0, 80.0}, {0.0, 80.0}};
    const KivCurvePath path = kivFitCurve(square, true, 0.1);
    EXPECT_TRUE(path.closed);
    ASSERT_EQ(path.pieces.size(), 4U);
    EXPECT_EQ(count(path, Kind::line), 4);
    EXPECT_EQ(path.pieces.back().end.x, path.start.x);
    EXPECT_EQ(path.pieces.back().end.y, path.start.y);
    EXPECT_LT(deviation(path, square, true), 1e-12);
}

TEST(CurveFit, ACircleIsAFewCurvesWithoutAKink) {
    for (const double radius : {3.0, 40.0, 400.0}) {
        Line circle = arc(radius, 0.0, 2.0 * std::numbers::pi, 720);
        circle.pop_back();
        const KivCurvePath path = kivFitCurve(circle, true, 0.1);
        EXPECT_EQ(count(path, Kind::line), 0) << radius;
        EXPECT_LE(path.pieces.size(), radius > 100.0 ? 16U : 9U) << radius;
        EXPECT_LE(deviation(path, circle, true), 0.1) << radius;
        EXPECT_LT(sharpestTurn(path), 0.02) << radius;
    }
}

TEST(CurveFit, ASlotHasTwoLinesThatRunIntoItsArcs) {
    Line slot = arc(20.0, -std::numbers::pi / 2, std::numbers::pi / 2, 60, {200.0, 0.0});
    const Line other = arc(20.0, std::numbers::pi / 2, 1.5 * std::numbers::pi, 60, {0.0, 0.0});
    slot.insert(slot.end(), other.begin(), other.end());
    const KivCurvePath path = kivFitCurve(slot, true, 0.1);
    EXPECT_EQ(count(path, Kind::line), 2);
    EXPECT_LE(path.pieces.size(), 8U);
    EXPECT_LE(deviation(path, slot, true), 0.1);
    EXPECT_LT(sharpestTurn(path), 0.05);
}

TEST(CurveFit, FacetsOfARoundLineDoNotShow) {
    // 48 sides of a circle of 100 pixels leave it by 0.2 pixels.
    Line circle = arc(100.0, 0.0, 2.0 * std::numbers::pi, 48);
    circle.pop_back();
    const KivCurvePath path = kivFitCurve(circle, true, 0.3);
    EXPECT_EQ(count(path, Kind::line), 0);
    EXPECT_LE(path.pieces.size(), 12U);
    EXPECT_LE(deviation(path, circle, true), 0.3);
}

TEST(CurveFit, StaysWithinTheToleranceOfRandomLines) {
    RawRandom random(31);
    std::size_t before = 0;
    std::size_t after = 0;
    for (int round = 0; round < 40; ++round) {
        // Bends that change at random, straight runs and sharp corners.
        Line line = {{0.0, 0.0}};
        double angle = random.between(0.0, 6.0);
        double bend = 0.0;
        for (int i = 0; i < 150; ++i) {
            if (random.chance(15)) {
                bend = random.chance(3) ? 0.0 : random.between(-0.2, 0.2);
            }
            angle += bend + (random.chance(40) ? random.between(-2.5, 2.5) : 0.0);
            const double step = random.between(0.2, 6.0);
            line.push_back({line.back().x + step * std::cos(angle), line.back().y + step * std::sin(angle)});
        }
        const bool closed = random.chance(3);
        const double tolerance = random.chance(2) ? 0.1 : 0.5;
        const KivCurvePath path = kivFitCurve(line, closed, tolerance);
        ASSERT_LE(deviation(path, line, closed), tolerance) << "round " << round;
        before += line.size();
        after += path.pieces.size();
        if (!closed) {
            EXPECT_EQ(path.pieces.back().end.x, line.back().x);
            EXPECT_EQ(path.start.x, line.front().x);
        }
    }
    EXPECT_LT(after * 3, before);
}

TEST(CurveFit, LinesWithoutExtentAndNumbersThatAreNoneGiveNoPieces) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(kivFitCurve({}, false, 0.1).pieces.empty());
    EXPECT_TRUE(kivFitCurve(Line{{1.0, 2.0}}, true, 0.1).pieces.empty());
    EXPECT_TRUE(kivFitCurve(Line{{1.0, 2.0}, {1.0, 2.0}, {1.0, 2.0}}, true, 0.1).pieces.empty());
    EXPECT_TRUE(kivFitCurve(Line{{nan, 2.0}, {1.0, nan}}, false, 0.1).pieces.empty());
    const KivCurvePath path = kivFitCurve(Line{{0.0, 0.0}, {nan, nan}, {5.0, 0.0}}, false, 0.1);
    ASSERT_EQ(path.pieces.size(), 1U);
    EXPECT_EQ(path.pieces[0].end.x, 5.0);
}

TEST(CurveFit, AHundredThousandPointsAreDoneInNoTime) {
    Line line;
    for (int i = 0; i < 100000; ++i) {
        line.push_back({i * 0.05, 200.0 * std::sin(i * 0.0004) + 3.0 * std::sin(i * 0.01)});
    }
    const KivCurvePath path = kivFitCurve(line, false, 0.1);
    EXPECT_LT(path.pieces.size(), 2000U);
    EXPECT_GT(path.pieces.size(), 50U);
}

TEST(KivFitCurve, ACoarsePolygonStaysOne) {
    std::vector<KivPicturePoint> polygon;
    for (int i = 0; i < 32; ++i) {
        polygon.push_back({150.0 * std::cos(i * 0.19634954), 150.0 * std::sin(i * 0.19634954)});
    }
    const KivCurvePath path = kivFitCurve(polygon, true, 0.1);
    ASSERT_EQ(path.pieces.size(), 32U) << "its sides lie seven tenths of a pixel within the circle";
    for (const KivCurvePiece& piece : path.pieces) {
        EXPECT_EQ(piece.kind, KivCurvePiece::Kind::line);
    }
    EXPECT_LT(kivFitCurve(polygon, true, 1.0).pieces.size(), 16U);
}

TEST(KivFlattenCurve, KeepsToTheCurveAndHasNoMorePointsThanThatTakes) {
    const KivCurvePath path = {{0.0, 0.0},
                               {{KivCurvePiece::Kind::line, {}, {10.0, 0.0}},
                                {KivCurvePiece::Kind::cubic, {{65.2, 0.0}, {110.0, 44.8}}, {110.0, 100.0}}},
                               false};
    for (const double tolerance : {0.01, 0.1, 1.0}) {
        const std::vector<KivPicturePoint> points = kivFlattenCurve(path, tolerance);
        double most = 0.0;
        for (std::size_t i = 2; i < points.size(); ++i) {
            const double x = 0.5 * (points[i - 1].x + points[i].x) - 10.0;
            const double y = 0.5 * (points[i - 1].y + points[i].y) - 100.0;
            most = std::max(most, std::fabs(std::hypot(x, y) - 100.0));
        }
        EXPECT_LT(most, tolerance + 0.03) << "the cubic is nearly a quarter of a circle";
        EXPECT_LT(static_cast<double>(points.size()), 4.0 + 16.0 / std::sqrt(tolerance));
        EXPECT_EQ(points.back().y, 100.0);
    }
    EXPECT_EQ(kivFlattenCurve({{3.0, 4.0}, {}, false}, 0.1).size(), 1U);
}

} // namespace
