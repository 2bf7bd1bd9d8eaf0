#include "kivrender/lines/kivellipsearc.h"

#include "support/rawrandom.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

namespace {

constexpr double pi = std::numbers::pi;
using Points = std::vector<KivPicturePoint>;

// Points so close that the chords between them rise by less than 0.02 pixels.
Points pointsOf(const KivEllipseArc& arc) {
    const int count = static_cast<int>(std::ceil(std::fabs(arc.sweep) * std::sqrt(arc.along / 0.16))) + 2;
    Points points;
    for (int i = 0; i < count + (arc.isWhole() ? 0 : 1); ++i) {
        points.push_back(arc.at(arc.from + arc.sweep * i / count));
    }
    return points;
}

void expectSame(const KivEllipseArc& found, const KivEllipseArc& wanted, double tolerance) {
    EXPECT_NEAR(found.centre.x, wanted.centre.x, tolerance);
    EXPECT_NEAR(found.centre.y, wanted.centre.y, tolerance);
    EXPECT_NEAR(found.along, wanted.along, tolerance);
    EXPECT_NEAR(found.across, wanted.across, tolerance);
    for (const double part : {0.0, 0.3, 1.0}) {
        const KivPicturePoint p = found.at(found.from + part * found.sweep);
        const KivPicturePoint q = wanted.at(wanted.from + part * wanted.sweep);
        EXPECT_LT(std::hypot(p.x - q.x, p.y - q.y), tolerance) << part;
    }
}

} // namespace

TEST(KivEllipseArc, FindsCirclesAndTheirArcsEitherWay) {
    for (const double sweep : {2.0 * pi, -2.0 * pi, 0.5, -3.0, 5.0}) {
        const KivEllipseArc circle = {{300.0, 200.0}, 80.0, 80.0, 0.0, 2.0, sweep};
        const auto found = kivFitEllipseArc(pointsOf(circle), circle.isWhole(), 0.1);
        ASSERT_TRUE(found.has_value()) << sweep;
        EXPECT_TRUE(found->isCircle());
        EXPECT_EQ(found->isWhole(), circle.isWhole());
        expectSame(*found, circle, 0.05);
    }
}

TEST(KivEllipseArc, FindsEllipsesOfAnyShape) {
    RawRandom random(3);
    for (int i = 0; i < 300; ++i) {
        KivEllipseArc ellipse;
        ellipse.centre = {random.between(0.0, 1000.0), random.between(0.0, 1000.0)};
        ellipse.along = random.between(20.0, 400.0);
        ellipse.across = std::max(4.0, ellipse.along * random.between(0.05, 0.9));
        ellipse.turn = random.between(-0.5 * pi, 0.5 * pi);
        ellipse.from = random.between(-pi, pi);
        ellipse.sweep = i % 2 == 0 ? 2.0 * pi : random.between(2.0, 6.0);
        ellipse.sweep *= i % 4 < 2 ? 1.0 : -1.0;
        const Points points = pointsOf(ellipse);
        const auto found = kivFitEllipseArc(points, ellipse.isWhole(), 0.1);
        ASSERT_TRUE(found.has_value()) << i;
        EXPECT_FALSE(found->isCircle());
        EXPECT_NEAR(found->sweep, ellipse.sweep, 0.1);
        for (const KivPicturePoint& p : points) {
            double nearest = std::numeric_limits<double>::infinity();
            for (int k = 0; k <= 4000; ++k) {
                const KivPicturePoint q = found->at(found->from + found->sweep * k / 4000);
                nearest = std::min(nearest, std::hypot(p.x - q.x, p.y - q.y));
            }
            ASSERT_LT(nearest, 0.1 + 0.5 * 7.0 * ellipse.along / 4000) << i;
        }
    }
}

TEST(KivEllipseArc, OtherLinesAreNone) {
    const KivEllipseArc circle = {{300.0, 200.0}, 80.0, 80.0, 0.0, 0.0, 2.0 * pi};
    Points bumped = pointsOf(circle);
    bumped[5].x += 0.3;
    EXPECT_FALSE(kivFitEllipseArc(bumped, true, 0.1).has_value()) << "a bump";
    EXPECT_TRUE(kivFitEllipseArc(bumped, true, 0.4).has_value());

    EXPECT_FALSE(kivFitEllipseArc(Points{{0, 0}, {100, 0}, {100, 100}, {0, 100}}, true, 0.1).has_value())
        << "a square, whose corners lie on a circle";
    EXPECT_FALSE(kivFitEllipseArc(Points{{0, 0}, {50, 0}, {100, 0}}, false, 0.1).has_value()) << "a line";
    EXPECT_FALSE(kivFitEllipseArc(Points{{0, 0}, {100, 0}}, false, 0.1).has_value());
    EXPECT_FALSE(kivFitEllipseArc(Points{}, true, 0.1).has_value());
    EXPECT_FALSE(kivFitEllipseArc(Points(10, {5, 5}), true, 0.1).has_value()) << "no extent";
    EXPECT_FALSE(kivFitEllipseArc(Points{{0, 0}, {std::nan(""), 0}, {9, 9}, {3, 4}}, false, 0.1).has_value());

    const KivEllipseArc flat = {{0.0, 0.0}, 5000.0, 5000.0, 0.0, 0.0, 0.1};
    EXPECT_FALSE(kivFitEllipseArc(pointsOf(flat), false, 0.1).has_value()) << "six degrees";
    const KivEllipseArc small = {{0.0, 0.0}, 1.5, 1.5, 0.0, 0.0, 2.0 * pi};
    EXPECT_FALSE(kivFitEllipseArc(pointsOf(small), true, 0.1).has_value());

    Points twice = pointsOf(circle);
    const Points once = twice;
    twice.insert(twice.end(), once.begin(), once.end());
    EXPECT_FALSE(kivFitEllipseArc(twice, true, 0.1).has_value()) << "twice around";
    Points back = pointsOf({{300.0, 200.0}, 80.0, 80.0, 0.0, 0.0, 3.0});
    for (std::size_t i = back.size() / 2; i > 0; --i) {
        back.push_back(back[back.size() / 2 + i]);
    }
    EXPECT_FALSE(kivFitEllipseArc(back, false, 0.1).has_value()) << "forth and back";
}

TEST(KivEllipseArc, ItsPathKeepsToIt) {
    for (const double sweep : {2.0 * pi, -2.0 * pi, 0.3, 4.0, -1.0}) {
        const KivEllipseArc arc = {{300.0, 200.0}, 2000.0, 500.0, 0.4, 1.0, sweep};
        const KivCurvePath path = kivPathOf(arc, 0.1);
        EXPECT_EQ(path.closed, arc.isWhole());
        EXPECT_LE(path.pieces.size(), 16U);
        const Points points = kivFlattenCurve(path, 0.001);
        const KivPicturePoint end = arc.at(arc.from + arc.sweep);
        EXPECT_NEAR(points.back().x, end.x, 1e-6);
        EXPECT_NEAR(points.back().y, end.y, 1e-6);
        for (const KivPicturePoint& p : points) {
            const double x = p.x - 300.0;
            const double y = p.y - 200.0;
            const double u = (x * std::cos(0.4) + y * std::sin(0.4)) / 2000.0;
            const double v = (y * std::cos(0.4) - x * std::sin(0.4)) / 500.0;
            EXPECT_NEAR(std::hypot(u, v), 1.0, 0.011 / 2000.0);
        }
    }
}
