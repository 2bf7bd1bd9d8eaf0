#include "kivrender/lines/kivlineengine.h"

#include "kivrender/lines/kivoccluders.h"
#include "kivrender/lines/linebudget.h"
#include "linebodies.h"
#include "linecameras.h"
#include "linejudge.h"
#include "support/oneprocessor.h"
#include "support/pollcost.h"
#include "support/rawrandom.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <map>
#include <numbers>
#include <numeric>
#include <utility>
#include <vector>

namespace {

using Kind = KivStrokeKind;

constexpr double size = 600.0;

KivLineBody engineBody(const LineBody& body, std::uint32_t object = 0) {
    KivLineBody result;
    result.surface = kivReadSurface(*meshOf(body));
    result.object = object;
    return result;
}

std::vector<KivFoundLine> linesOf(const KivCamera& camera, std::vector<KivLineBody> bodies, double pixels = size) {
    KivLineEngine engine(KivLineView(camera, pixels, pixels));
    for (KivLineBody& body : bodies) {
        engine.add(std::move(body));
    }
    EXPECT_TRUE(engine.find());
    return engine.lines();
}

std::vector<KivFoundLine> linesOf(const KivCamera& camera, const std::vector<LineBody>& bodies, double pixels = size) {
    std::vector<KivLineBody> all;
    for (const LineBody& body : bodies) {
        all.push_back(engineBody(body, static_cast<std::uint32_t>(all.size()) + 1));
    }
    return linesOf(camera, std::move(all), pixels);
}

std::vector<KivFoundLine> ofKind(const std::vector<KivFoundLine>& lines, Kind kind, bool hidden = false) {
    std::vector<KivFoundLine> result;
    std::copy_if(lines.begin(), lines.end(), std::back_inserter(result),
                 [&](const KivFoundLine& line) { return line.kind == kind && line.hidden == hidden; });
    return result;
}

double lengthOf(const std::vector<KivFoundLine>& lines) {
    return std::accumulate(lines.begin(), lines.end(), 0.0,
                           [](double sum, const KivFoundLine& line) { return sum + pictureLength(line); });
}

KivCamera cameraAt(bool perspective, const KivVec& eye, double spans = 3.0) {
    return perspective ? lineCamera(KivCamera::perspective, eye, spans / kivLength(eye), 1.0, 100.0)
                       : lineCamera(KivCamera::orthographic, eye, spans, 1.0, 100.0);
}

const KivVec corner = {3.0, 4.0, 7.0};

// The edges of a box as pairs of corners, with the two outward directions of the sides that meet there.
struct BoxEdge {
    KivVec from;
    KivVec to;
    KivVec sides[2];
};

std::vector<BoxEdge> boxEdges(double half) {
    std::vector<BoxEdge> edges;
    for (int axis = 0; axis < 3; ++axis) {
        for (const double u : {-1.0, 1.0}) {
            for (const double v : {-1.0, 1.0}) {
                double p[3] = {};
                p[(axis + 1) % 3] = u;
                p[(axis + 2) % 3] = v;
                double one[3] = {};
                one[(axis + 1) % 3] = u;
                double other[3] = {};
                other[(axis + 2) % 3] = v;
                const KivVec middle = KivVec{p[0], p[1], p[2]} * half;
                const KivVec along = KivVec{axis == 0 ? half : 0.0, axis == 1 ? half : 0.0, axis == 2 ? half : 0.0};
                edges.push_back(
                    {middle - along, middle + along, {{one[0], one[1], one[2]}, {other[0], other[1], other[2]}}});
            }
        }
    }
    return edges;
}

// A sheet that overhangs above and below the middle of the picture, by more the farther out, and between them stands
// upright, the less so the larger the ease: x = s^3/3 + c(y) s over a depth of s, with c below 0 where it overhangs.
LineBody sheetOfTwoBeaks(double ease) {
    LineBody sheet;
    constexpr int rows = 60;
    constexpr int columns = 80;
    for (int row = 0; row <= rows; ++row) {
        const double y = -48.0 + 96.0 * row / rows;
        const double bend = 1.0 - y * y / 36.0;
        const double c = bend > 0.0 ? ease * bend : std::max(0.02 * bend, -0.35);
        for (int column = 0; column <= columns; ++column) {
            const double s = -1.5 + 3.0 * column / columns;
            sheet.points.push_back({60.0 * (s * s * s / 3.0 + c * s), y, -60.0 * s});
        }
    }
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            const auto at = [&](int i, int k) { return static_cast<std::uint32_t>(i * (columns + 1) + k); };
            sheet.triangles.push_back({at(row, column), at(row, column + 1), at(row + 1, column + 1)});
            sheet.triangles.push_back({at(row, column), at(row + 1, column + 1), at(row + 1, column)});
        }
    }
    return sheet;
}

TEST(KivLineEngine, AContourGoesOnWhereTheSurfaceAllButFolds) {
    const KivCamera camera = lineCamera(KivCamera::orthographic, {0.0, 0.0, 200.0}, 100.0, 1.0, 400.0);
    for (const double ease : {0.02, 0.5}) {
        std::vector<KivFoundLine> contours =
            ofKind(linesOf(camera, std::vector<LineBody>{sheetOfTwoBeaks(ease)}, 200.0), Kind::contour);
        EXPECT_EQ(contours.size(), ease < 0.1 ? 1U : 2U) << ease;
        EXPECT_GT(lengthOf(contours), ease < 0.1 ? 90.0 : 70.0);
    }
}

TEST(KivLineEngine, ACubeHasOneContourAndTheEdgesWithinFromWhereverItIsSeen) {
    RawRandom random(1);
    const LineBody cube = boxBody({-1.0, -1.0, -1.0}, {1.0, 1.0, 1.0});
    int three = 0;
    for (int round = 0; round < 200; ++round) {
        const KivVec way = kivUnit({random.between(-1.0, 1.0), random.between(-0.8, 0.8), random.between(-1.0, 1.0)});
        const bool perspective = random.chance(2);
        const KivVec eye = way * 8.0;
        const KivCamera camera = cameraAt(perspective, eye);
        const KivLineView view(camera, size, size);
        double contour = 0.0;
        double within = 0.0;
        int visible = 0;
        for (const BoxEdge& edge : boxEdges(1.0)) {
            int faces = 0;
            for (const KivVec& side : edge.sides) {
                faces += kivDot(side, perspective ? eye - side : eye) > 0.0 ? 1 : 0;
            }
            const KivPicturePoint a = view.toPicture(view.toCamera(edge.from));
            const KivPicturePoint b = view.toPicture(view.toCamera(edge.to));
            (faces == 1 ? contour : within) += faces == 0 ? 0.0 : std::hypot(b.x - a.x, b.y - a.y);
            visible += faces == 0 ? 0 : 1;
        }
        const std::vector<KivFoundLine> lines = linesOf(camera, std::vector<LineBody>{cube});
        const std::vector<KivFoundLine> contours = ofKind(lines, Kind::contour);
        const std::vector<KivFoundLine> creases = ofKind(lines, Kind::crease);
        ASSERT_EQ(contours.size(), 1U) << round;
        EXPECT_TRUE(contours[0].closed);
        EXPECT_EQ(lines.size(), 1U + creases.size());
        EXPECT_NEAR(lengthOf(contours), contour, 1e-6 * contour);
        EXPECT_NEAR(lengthOf(creases), within, 1e-6 * contour + 1e-9);
        if (visible == 9) {
            ++three;
            EXPECT_EQ(contours[0].picture.size(), 6U);
            EXPECT_GE(creases.size(), 1U);
            EXPECT_LE(creases.size(), 3U);
        }
        const KivStroke stroke = kivStrokeOf(contours[0]);
        EXPECT_TRUE(stroke.path.closed);
        EXPECT_LE(stroke.path.pieces.size(), contours[0].picture.size() + 2) << "a line for each edge";
        EXPECT_EQ(stroke.object, 1U);
    }
    EXPECT_GT(three, 50);
}

TEST(KivLineEngine, ACubeSeenFromTheFrontIsASquare) {
    const LineBody cube = boxBody({-1.0, -1.0, -1.0}, {1.0, 1.0, 1.0});
    const std::vector<KivFoundLine> lines = linesOf(cameraAt(false, {0.0, 0.0, 8.0}), std::vector<LineBody>{cube});
    EXPECT_NEAR(lengthOf(lines), 4.0 * size / 3.0, 1e-6) << "nothing twice, though four edges lie behind four others";
}

// The contour of a sphere is a circle in a parallel view.
TEST(KivLineEngine, ASphereIsOneCircle) {
    const LineBody sphere = sphereBody({0.0, 0.0, 0.0}, 1.0, 60, 40);
    for (const bool perspective : {true, false}) {
        const KivCamera camera = cameraAt(perspective, corner, 1.5);
        const double distance = kivLength(corner);
        // The cone around the sphere, at the distance of one near plane.
        const double radius =
            perspective ? 1.0 / std::sqrt(distance * distance - 1.0) / (1.5 / distance) * 0.5 * size : 0.5 * size / 1.5;
        const std::vector<KivFoundLine> lines = linesOf(camera, std::vector<LineBody>{sphere});
        ASSERT_EQ(lines.size(), 1U);
        EXPECT_EQ(lines[0].kind, Kind::contour);
        EXPECT_TRUE(lines[0].closed);
        for (const KivPicturePoint& p : lines[0].picture) {
            EXPECT_NEAR(std::hypot(p.x - 0.5 * size, p.y - 0.5 * size), radius, 0.1);
        }
        const KivStroke stroke = kivStrokeOf(lines[0]);
        EXPECT_TRUE(stroke.path.closed);
        EXPECT_LE(stroke.path.pieces.size(), 24U);
        ASSERT_TRUE(stroke.arc.has_value());
        EXPECT_TRUE(stroke.arc->isCircle() && stroke.arc->isWhole());
        EXPECT_NEAR(stroke.arc->along, radius, 0.1);
        for (const KivPicturePoint& p : kivFlattenCurve(stroke.path, 0.01)) {
            EXPECT_NEAR(std::hypot(p.x - 0.5 * size, p.y - 0.5 * size), radius, 0.2);
        }
    }
}

// The outer outline and the near side of the hole are whole; the far side of the hole is hidden where the tube turns.
TEST(KivLineEngine, ARingHasWholeContoursOnItsSurface) {
    const LineBody ring = ringBody({0.0, 0.0, 0.0}, 1.5, 0.5, 90, 45);
    const KivVec eye = {0.0, -8.0, 6.0};
    const std::vector<KivFoundLine> lines = linesOf(cameraAt(false, eye, 2.5), std::vector<LineBody>{ring});
    ASSERT_GE(lines.size(), 2U);
    EXPECT_LE(lines.size(), 4U);
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(), [](const KivFoundLine& line) { return line.closed; }),
              lines.size() == 2U ? 2 : 1);
    for (const KivFoundLine& line : lines) {
        EXPECT_EQ(line.kind, Kind::contour);
        for (const KivVec& p : line.space) {
            const double around = std::hypot(p.x, p.y);
            const KivVec middle = KivVec{p.x, p.y, 0.0} * (1.5 / around);
            const KivVec out = p - middle;
            EXPECT_NEAR(kivLength(out), 0.5, 2e-3);
            EXPECT_NEAR(kivDot(kivUnit(out), kivUnit(eye)), 0.0, 0.03);
        }
    }
}

LineBody cylinderBody(double radius, double half, unsigned int around) {
    LineBody body;
    for (const double z : {-half, half}) {
        body.points.push_back({0.0, 0.0, z});
        for (unsigned int i = 0; i < around; ++i) {
            const double a = 2.0 * std::numbers::pi * i / around;
            body.points.push_back({radius * std::cos(a), radius * std::sin(a), z});
        }
    }
    const std::uint32_t upper = around + 1;
    for (std::uint32_t i = 0; i < around; ++i) {
        const std::uint32_t a = 1 + i;
        const std::uint32_t b = 1 + (i + 1) % around;
        body.triangles.push_back({0, b, a});
        body.triangles.push_back({upper, upper + a, upper + b});
        body.triangles.push_back({a, b, upper + b});
        body.triangles.push_back({a, upper + b, upper + a});
    }
    return body;
}

// Two sides and half of a rim are the contour, in one ring; the rest of the near rim is a crease.
TEST(KivLineEngine, ACylinderHasAClosedContourAndOneCrease) {
    const LineBody cylinder = cylinderBody(1.0, 1.0, 64);
    const KivVec eye = {0.0, -6.0, 4.0};
    const std::vector<KivFoundLine> lines = linesOf(cameraAt(false, eye, 2.0), std::vector<LineBody>{cylinder});
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0].kind, Kind::contour);
    EXPECT_TRUE(lines[0].closed);
    EXPECT_EQ(lines[1].kind, Kind::crease);
    const double pixels = size / 4.0;
    const double tilt = 4.0 / std::hypot(6.0, 4.0);
    const auto [low, high] =
        std::minmax_element(lines[0].picture.begin(), lines[0].picture.end(),
                            [](const KivPicturePoint& a, const KivPicturePoint& b) { return a.x < b.x; });
    EXPECT_NEAR(high->x - low->x, 2.0 * pixels, 0.3) << "as wide as the round cylinder";
    const double sides = 2.0 * 2.0 * std::sqrt(1.0 - tilt * tilt) * pixels;
    // Half of an ellipse (Ramanujan, 1914).
    const double h = std::pow((1.0 - tilt) / (1.0 + tilt), 2.0);
    const double halfRim =
        0.5 * std::numbers::pi * (1.0 + tilt) * (1.0 + 3.0 * h / (10.0 + std::sqrt(4.0 - 3.0 * h))) * pixels;
    EXPECT_NEAR(pictureLength(lines[0]), sides + 2.0 * halfRim, 2.0);
    EXPECT_NEAR(pictureLength(lines[1]), halfRim, 1.0);
    const KivStroke crease = kivStrokeOf(lines[1]);
    EXPECT_LE(crease.path.pieces.size(), 16U);
    ASSERT_TRUE(crease.arc.has_value());
    EXPECT_NEAR(crease.arc->along, pixels, 0.2);
    EXPECT_NEAR(crease.arc->across, tilt * pixels, 0.2);
    EXPECT_NEAR(std::fabs(crease.arc->sweep), std::numbers::pi, 0.02);
    EXPECT_FALSE(kivStrokeOf(lines[0]).arc.has_value()) << "two sides and half a rim";
}

// Where the contour of a coarse mesh arrives at a rim, the facets there turn otherwise than the round surface.
TEST(KivLineEngine, TheContourOfACoarseCylinderRunsOntoItsRims) {
    RawRandom random(31);
    for (int i = 0; i < 200; ++i) {
        const unsigned int columns = 20 + random.below(40);
        const LineBody cylinder = cylinderBody(1.0, random.between(0.3, 1.0), columns);
        const double angle = random.between(0.0, 2.0 * std::numbers::pi);
        const double height = random.between(0.15, 0.95);
        const double aside = 7.0 * std::sqrt(1.0 - height * height);
        const KivVec eye = {aside * std::cos(angle), aside * std::sin(angle), 7.0 * height};
        const std::vector<KivFoundLine> lines =
            linesOf(cameraAt(i % 2 == 0, eye, 2.0), std::vector<LineBody>{cylinder});
        EXPECT_EQ(ofKind(lines, Kind::contour).size(), 1U)
            << columns << " columns seen from " << angle << ' ' << height;
        for (const KivFoundLine& line : ofKind(lines, Kind::contour)) {
            EXPECT_TRUE(line.closed) << columns << " columns seen from " << angle << ' ' << height;
        }
    }
}

// A coarse prism shows its facets: its contour runs along its edges, whatever the normals say.
TEST(KivLineEngine, FacetsThatShowKeepTheirEdges) {
    const LineBody prism = cylinderBody(1.0, 1.0, 10);
    const std::vector<KivFoundLine> lines =
        linesOf(cameraAt(false, {0.3, -6.0, 4.0}, 2.0), std::vector<LineBody>{prism});
    for (const KivFoundLine& line : lines) {
        for (const KivVec& p : line.space) {
            const bool isCorner = std::any_of(prism.points.begin(), prism.points.end(),
                                              [&](const KivVec& q) { return kivLength(p - q) < 1e-12; });
            EXPECT_TRUE(isCorner);
        }
    }
    EXPECT_EQ(ofKind(lines, Kind::contour).size(), 1U);
}

// A turned part of few steps: its bends of 34 degrees are not creases, and its outline is that of its steps all the
// same.
TEST(KivLineEngine, BendsBetweenWideFacetsAreNotRounded) {
    const std::vector<std::pair<double, double>> profile = {{0.0, 0.0},  {0.5, 0.0}, {0.5, 1.1},
                                                            {0.6, 1.25}, {0.6, 1.4}, {0.0, 1.4}};
    constexpr std::uint32_t columns = 96;
    LineBody part;
    for (const auto& [radius, height] : profile) {
        for (std::uint32_t k = 0; k < columns; ++k) {
            const double angle = 2.0 * std::numbers::pi * k / columns;
            part.points.push_back({radius * std::cos(angle), radius * std::sin(angle), height});
        }
    }
    for (std::uint32_t row = 0; row + 1 < profile.size(); ++row) {
        for (std::uint32_t k = 0; k < columns; ++k) {
            const std::uint32_t here = row * columns;
            const std::uint32_t next = (k + 1) % columns;
            part.triangles.push_back({here + k, here + next, here + columns + next});
            part.triangles.push_back({here + k, here + columns + next, here + columns + k});
        }
    }
    const std::vector<KivFoundLine> lines =
        linesOf(cameraAt(false, {0.0, -6.0, 0.7}, 2.0), std::vector<LineBody>{part});
    double widest = 0.0;
    for (const KivFoundLine& line : ofKind(lines, Kind::contour)) {
        for (const KivVec& p : line.space) {
            if (p.z > 0.05 && p.z < 1.05) {
                EXPECT_NEAR(std::hypot(p.x, p.y), 0.5, 0.003);
            }
            widest = std::max(widest, std::hypot(p.x, p.y));
        }
    }
    EXPECT_NEAR(widest, 0.6, 2.0 / 150.0) << "two pixels: less wide facets may be a curve's";
}

// A pyramid comes up through a plate: their crossing is a square, seen from above all around.
TEST(KivLineEngine, ACrossingSeenAllAroundIsOneClosedStroke) {
    LineBody pyramid;
    pyramid.points = {{-1.0, -1.0, -1.0}, {1.0, -1.0, -1.0}, {1.0, 1.0, -1.0}, {-1.0, 1.0, -1.0}, {0.0, 0.0, 1.0}};
    pyramid.triangles = {{0, 1, 4}, {1, 2, 4}, {2, 3, 4}, {3, 0, 4}, {0, 2, 1}, {0, 3, 2}};
    const LineBody plate = boxBody({-2.0, -2.0, -0.2}, {2.0, 2.0, 0.2});
    KivCamera camera = lineCamera(KivCamera::orthographic, {0.1, 0.2, 8.0}, 2.5, 1.0, 100.0);
    const std::vector<KivFoundLine> lines = linesOf(camera, {pyramid, plate});
    const std::vector<KivFoundLine> crossings = ofKind(lines, Kind::intersection);
    ASSERT_EQ(crossings.size(), 1U);
    EXPECT_TRUE(crossings[0].closed);
    EXPECT_EQ(crossings[0].object, 1U) << "it belongs to the first of the two";
    EXPECT_EQ(kivStrokeOf(crossings[0]).path.pieces.size(), 4U);
    for (const KivVec& p : crossings[0].space) {
        EXPECT_NEAR(p.z, 0.2, 1e-9);
    }
    KivLineBody without = engineBody(pyramid);
    without.rules.intersections = false;
    std::vector<KivLineBody> bodies;
    bodies.push_back(std::move(without));
    bodies.push_back(engineBody(plate));
    EXPECT_TRUE(ofKind(linesOf(camera, std::move(bodies)), Kind::intersection).empty());
}

// A bolt and its hole have the same radius, and meshes that run through each other all over.
TEST(KivLineEngine, RoundSurfacesThatLieOnEachOtherDoNotCross) {
    const auto ball = [](double x, unsigned int around) {
        KivLineBody body = engineBody(sphereBody({x, 0.0, 0.0}, 1.5, around, around / 2));
        for (const KivVec& p : body.surface.points) {
            body.surface.normals.push_back(kivUnit(p - KivVec{x, 0.0, 0.0}));
        }
        body.surface.cornerNormals = body.surface.triangles;
        body.rules.hidden = true;
        return body;
    };
    const KivCamera camera = cameraAt(false, corner);
    for (const bool hidden : {false, true}) {
        EXPECT_TRUE(ofKind(linesOf(camera, {ball(0.0, 24), ball(0.0, 30)}), Kind::intersection, hidden).empty());
        EXPECT_GT(lengthOf(ofKind(linesOf(camera, {ball(-0.4, 24), ball(0.4, 30)}), Kind::intersection, hidden)),
                  100.0);
    }
}

TEST(KivLineEngine, WhatIsThereTwiceIsDrawnOnce) {
    const LineBody ring = ringBody({0.0, 0.0, 0.0}, 1.5, 0.6, 40, 20);
    const LineBody box = boxBody({-1.0, -1.0, -1.0}, {1.0, 1.0, 1.0});
    LineBody repeated = box;
    for (const LineBody::Triangle& t : box.triangles) {
        repeated.triangles.push_back({t[1], t[0], t[2]});
    }
    const KivCamera camera = cameraAt(true, corner);
    for (const auto& [one, two] : {std::pair(std::vector{ring}, std::vector{ring, ring}),
                                   std::pair(std::vector{box}, std::vector{box, repeated})}) {
        const std::vector<KivFoundLine> plain = linesOf(camera, one);
        const std::vector<KivFoundLine> again = linesOf(camera, two);
        ASSERT_EQ(plain.size(), again.size());
        EXPECT_NEAR(lengthOf(plain), lengthOf(again), 1e-6);
    }
}

// Boxes of different height side by side: along the edge that they share only one line is drawn.
TEST(KivLineEngine, BodiesThatTouchShareTheirLines) {
    const LineBody low = boxBody({-1.0, -1.0, -1.0}, {0.0, 0.2, 1.0});
    const LineBody high = boxBody({0.0, -1.0, -1.0}, {1.0, 1.0, 1.0});
    const KivCamera camera = cameraAt(true, corner);
    const KivLineView view(camera, size, size);
    const std::vector<KivFoundLine> lines = linesOf(camera, {low, high});
    // At the seam in front, from below up to the lower of the two.
    for (double y = -0.95; y < 0.15; y += 0.1) {
        const KivPicturePoint place = view.toPicture(view.toCamera({0.0, y, 1.0}));
        EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                                [&](const KivFoundLine& line) { return distanceTo(place, line) < 0.5; }),
                  1)
            << y;
    }
}

// Where the side of one triangle meets two others, all three sides are borders on one line.
TEST(KivLineEngine, TJunctionsHaveTheirBordersOnce) {
    LineBody sheet;
    sheet.points = {{-1.0, 0.0, 0.0}, {1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, -1.0, 0.0}, {0.2, 0.0, 0.0}};
    sheet.triangles = {{0, 1, 2}, {0, 3, 4}, {4, 3, 1}};
    const std::vector<KivFoundLine> lines =
        linesOf(cameraAt(false, {0.0, 0.0, 8.0}, 1.5), std::vector<LineBody>{sheet});
    const double pixels = size / 3.0;
    EXPECT_NEAR(lengthOf(lines), (2.0 + 4.0 * std::sqrt(2.0)) * pixels, 1e-3);
}

TEST(KivLineEngine, AnOpenSheetHasOneClosedBorder) {
    LineBody sheet;
    for (int j = 0; j <= 6; ++j) {
        for (int i = 0; i <= 6; ++i) {
            sheet.points.push_back({i / 3.0 - 1.0, j / 3.0 - 1.0, 0.0});
        }
    }
    for (std::uint32_t j = 0; j < 6; ++j) {
        for (std::uint32_t i = 0; i < 6; ++i) {
            const std::uint32_t a = j * 7 + i;
            sheet.triangles.push_back({a, a + 1, a + 8});
            sheet.triangles.push_back({a, a + 8, a + 7});
        }
    }
    const std::vector<KivFoundLine> lines = linesOf(cameraAt(true, corner), std::vector<LineBody>{sheet});
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].kind, Kind::boundary);
    EXPECT_TRUE(lines[0].closed);
    EXPECT_EQ(kivStrokeOf(lines[0]).path.pieces.size(), 4U) << "straight runs are one line each";
}

TEST(KivLineEngine, TheWindingHasNoSay) {
    RawRandom random(3);
    for (const LineBody& body :
         {ringBody({0.0, 0.0, 0.0}, 1.5, 0.6, 60, 30), boxBody({-1.0, -1.0, -1.0}, {1.0, 1.0, 1.0})}) {
        LineBody turned = body;
        for (LineBody::Triangle& t : turned.triangles) {
            if (random.chance(2)) {
                std::swap(t[0], t[1]);
            }
        }
        const KivCamera camera = cameraAt(true, corner);
        const std::vector<KivFoundLine> plain = linesOf(camera, std::vector{body});
        const std::vector<KivFoundLine> mixed = linesOf(camera, std::vector{turned});
        ASSERT_EQ(plain.size(), mixed.size());
        EXPECT_NEAR(lengthOf(plain), lengthOf(mixed), 0.5);
    }
}

TEST(KivLineEngine, TheNoiseOfAScanIsNoCreaseAndItsContourOneRing) {
    RawRandom random(4);
    LineBody rough = sphereBody({0.0, 0.0, 0.0}, 1.0, 240, 160);
    for (KivVec& p : rough.points) {
        p = p * (1.0 + random.between(-0.0002, 0.0002));
    }
    const std::vector<KivFoundLine> lines = linesOf(cameraAt(false, corner, 1.5), std::vector<LineBody>{rough});
    EXPECT_TRUE(ofKind(lines, Kind::crease).empty());
    EXPECT_LE(lines.size(), 12U);
    double longest = 0.0;
    for (const KivFoundLine& line : lines) {
        EXPECT_GE(pictureLength(line), 2.0) << "no specks";
        longest = std::max(longest, pictureLength(line));
    }
    EXPECT_GT(longest, 0.9 * 2.0 * std::numbers::pi * size / 3.0);
}

TEST(KivLineEngine, HiddenLinesAreTheRest) {
    const LineBody cube = boxBody({-1.0, -1.0, -1.0}, {1.0, 1.0, 1.0});
    const KivCamera camera = cameraAt(false, corner);
    const KivLineView view(camera, size, size);
    KivLineBody body = engineBody(cube);
    body.rules.hidden = true;
    std::vector<KivLineBody> bodies;
    bodies.push_back(std::move(body));
    const std::vector<KivFoundLine> lines = linesOf(camera, std::move(bodies));
    double hidden = 0.0;
    for (const BoxEdge& edge : boxEdges(1.0)) {
        if (kivDot(edge.sides[0], corner) < 0.0 && kivDot(edge.sides[1], corner) < 0.0) {
            const KivPicturePoint a = view.toPicture(view.toCamera(edge.from));
            const KivPicturePoint b = view.toPicture(view.toCamera(edge.to));
            hidden += std::hypot(b.x - a.x, b.y - a.y);
        }
    }
    EXPECT_NEAR(lengthOf(ofKind(lines, Kind::crease, true)), hidden, 1e-6);
    EXPECT_TRUE(ofKind(lines, Kind::contour, true).empty());
    EXPECT_TRUE(kivStrokeOf(ofKind(lines, Kind::crease, true)[0]).hidden);
}

TEST(KivLineEngine, OwnLinesAndDotsGoBehindBodies) {
    KivLineEngine engine(
        KivLineView(lineCamera(KivCamera::orthographic, {0.0, 0.0, 20.0}, 5.0, 1.0, 100.0), size, size));
    engine.add(engineBody(boxBody({-1.0, -1.0, -1.0}, {1.0, 1.0, 1.0}), 1));
    engine.add(KivLineCourse{{{-4.0, 0.0, -3.0}, {4.0, 0.0, -3.0}}, false, 7, true});
    engine.add(KivLineCourse{{{3.0, 3.0, 0.0}, {4.0, 3.0, 0.0}, {4.0, 4.0, 0.0}}, true, 8, false});
    engine.add(KivLineCourse{{{0.5, 0.5, -2.0}}, false, 9, false});
    engine.add(KivLineCourse{{{0.5, 0.5, 2.0}}, false, 10, false});
    ASSERT_TRUE(engine.find());
    const std::vector<KivFoundLine> own = ofKind(engine.lines(), Kind::own);
    ASSERT_EQ(own.size(), 4U);
    EXPECT_NEAR(lengthOf({own[0], own[1]}), 6.0 * size / 10.0, 1e-6);
    EXPECT_EQ(own[0].object, 7U);
    EXPECT_EQ(own[0].source, 1U);
    EXPECT_TRUE(own[2].closed);
    EXPECT_EQ(own[2].picture.size(), 3U);
    EXPECT_EQ(own[3].object, 10U) << "the other dot is hidden";
    EXPECT_EQ(own[3].picture.size(), 1U);
    EXPECT_TRUE(kivStrokeOf(own[3]).path.pieces.empty());
    const std::vector<KivFoundLine> behind = ofKind(engine.lines(), Kind::own, true);
    ASSERT_EQ(behind.size(), 1U) << "only the line that asks for it";
    EXPECT_NEAR(pictureLength(behind[0]), 2.0 * size / 10.0, 1e-6);
}

TEST(KivLineEngine, NamedEdgesAndMaterialBordersAreLines) {
    LineBody sheet;
    sheet.points = {{-1.0, -1.0, 0.0}, {1.0, -1.0, 0.0}, {1.0, 1.0, 0.0}, {-1.0, 1.0, 0.0}};
    sheet.triangles = {{0, 1, 2}, {0, 2, 3}};
    const KivCamera camera = cameraAt(false, {0.0, 0.0, 8.0}, 1.5);
    const double pixels = size / 3.0;
    for (const bool named : {false, true}) {
        KivLineBody body = engineBody(sheet);
        if (named) {
            body.edges = {{0, 2}, {2, 3}, {0, 9}};
        } else {
            body.materials = {4, 5};
        }
        std::vector<KivLineBody> bodies;
        bodies.push_back(std::move(body));
        const std::vector<KivFoundLine> lines = linesOf(camera, std::move(bodies));
        const std::vector<KivFoundLine> inner = ofKind(lines, named ? Kind::edge : Kind::material);
        EXPECT_NEAR(lengthOf(inner), (2.0 * std::sqrt(2.0) + (named ? 2.0 : 0.0)) * pixels, 1e-6);
        EXPECT_NEAR(lengthOf(ofKind(lines, Kind::boundary)), (named ? 6.0 : 8.0) * pixels, 1e-6)
            << "what is named is no border besides";
    }
}

// A sheet of four corners, bent along its diagonal; seen from above.
TEST(KivLineEngine, ASurfaceThatNamesItsEdgesHasThese) {
    LineBody sheet;
    sheet.points = {{-1.0, -1.0, 0.0}, {1.0, -1.0, 2.0}, {1.0, 1.0, 0.0}, {-1.0, 1.0, 2.0}};
    sheet.triangles = {{0, 1, 2}, {0, 2, 3}};
    const KivCamera camera = cameraAt(false, {0.0, 0.0, 8.0}, 1.5);
    const double pixels = size / 3.0;
    const auto linesWith = [&](std::vector<KivSurface::NamedEdge> named, bool tangents) {
        std::vector<KivLineBody> bodies;
        bodies.push_back(engineBody(sheet));
        bodies[0].surface.namesEdges = true;
        bodies[0].surface.namedEdges = std::move(named);
        bodies[0].rules.features.tangents = tangents;
        return linesOf(camera, std::move(bodies));
    };
    EXPECT_TRUE(linesWith({}, true).empty()) << "neither the bend nor the ends are edges";
    const auto sharp = linesWith({{0, 2, false}, {1, 2, false}}, true);
    EXPECT_NEAR(lengthOf(ofKind(sharp, Kind::edge)), (2.0 * std::sqrt(2.0) + 2.0) * pixels, 1e-6);
    EXPECT_EQ(sharp.size(), ofKind(sharp, Kind::edge).size());
    const auto tangent = linesWith({{0, 2, true}}, true);
    EXPECT_NEAR(lengthOf(ofKind(tangent, Kind::tangent)), 2.0 * std::sqrt(2.0) * pixels, 1e-6);
    EXPECT_EQ(tangent.size(), 1U);
    EXPECT_TRUE(linesWith({{0, 2, true}}, false).empty());
}

TEST(KivLineEngine, HiddenTangentEdgesAreLeftOutUnlessWanted) {
    LineBody sheet;
    sheet.points = {{-1.0, -1.0, 0.0}, {1.0, -1.0, 0.0}, {1.0, 1.0, 0.0}, {-1.0, 1.0, 0.0}};
    sheet.triangles = {{0, 1, 2}, {0, 2, 3}};
    const KivCamera camera = cameraAt(false, {0.0, 0.0, 8.0}, 1.5);
    for (const bool isTangent : {true, false}) {
        for (const bool wanted : {true, false}) {
            KivLineBody named = engineBody(sheet);
            named.surface.namesEdges = true;
            named.surface.namedEdges = {{0, 2, isTangent}};
            named.rules.hidden = true;
            named.rules.hiddenTangents = wanted;
            std::vector<KivLineBody> bodies;
            bodies.push_back(std::move(named));
            bodies.push_back(engineBody(boxBody({-2.0, -2.0, 1.0}, {2.0, 2.0, 1.5})));
            bodies.back().drawn = false;
            const Kind kind = isTangent ? Kind::tangent : Kind::edge;
            EXPECT_EQ(ofKind(linesOf(camera, std::move(bodies)), kind, true).size(), isTangent && !wanted ? 0U : 1U);
        }
    }
}

TEST(KivLineEngine, BodiesMayHideAndNotBeDrawnAndTheOtherWayRound) {
    const LineBody behind = boxBody({-0.5, -0.5, -4.0}, {0.5, 0.5, -3.0});
    const LineBody wall = boxBody({-1.0, -1.0, 0.0}, {1.0, 1.0, 0.1});
    const KivCamera camera = lineCamera(KivCamera::orthographic, {0.0, 0.0, 20.0}, 5.0, 1.0, 100.0);
    const auto count = [&](bool hides, bool drawn) {
        KivLineBody front = engineBody(wall);
        front.hides = hides;
        front.drawn = drawn;
        std::vector<KivLineBody> bodies;
        bodies.push_back(std::move(front));
        bodies.push_back(engineBody(behind));
        return std::lround(lengthOf(linesOf(camera, std::move(bodies))) / size * 10.0);
    };
    EXPECT_EQ(count(true, true), 8);
    EXPECT_EQ(count(true, false), 0);
    EXPECT_EQ(count(false, false), 4);
    EXPECT_EQ(count(false, true), 8 + 4 + 0);
}

const std::vector<LineBody>& assembly() {
    static const std::vector<LineBody> bodies = [] {
        RawRandom random(21);
        std::vector<LineBody> all;
        const auto place = [&] {
            return KivVec{random.between(-2.0, 2.0), random.between(-2.0, 2.0), random.between(-2.0, 2.0)};
        };
        for (int i = 0; i < 20; ++i) {
            const KivVec at = place();
            const double r = random.between(0.2, 0.7);
            if (i % 4 == 0) {
                all.push_back(sphereBody(at, r, 80, 50));
            } else if (i % 4 == 1) {
                all.push_back(ringBody(at, r, 0.4 * r, 80, 40));
            } else {
                all.push_back(boxBody(at - KivVec{r, 0.7 * r, 0.4 * r}, at + KivVec{0.5 * r, r, r}));
            }
        }
        return all;
    }();
    return bodies;
}

TEST(KivLineEngine, RaysSeeWhatIsDrawnOfAnAssembly) {
    RawRandom random(5);
    for (const bool perspective : {true, false}) {
        const KivCamera camera = cameraAt(perspective, corner);
        const KivLineView view(camera, size, size);
        const LineJudge judge(camera, view, assembly());
        int right = 0;
        int wrong = 0;
        for (const KivFoundLine& line : linesOf(camera, assembly())) {
            for (std::size_t i = 1; i < line.space.size(); ++i) {
                const double t = random.between(0.02, 0.98);
                const KivVec p = line.space[i - 1] + (line.space[i] - line.space[i - 1]) * t;
                ++(judge.isSeenNearby(p) ? right : wrong);
            }
        }
        EXPECT_GT(right, 1500);
        EXPECT_LE(wrong, (right + wrong) / 1000) << "of " << right + wrong;
    }
}

// Each point of a box's edge that rays see lies on a line.
TEST(KivLineEngine, WhatRaysSeeOfEdgesIsDrawn) {
    RawRandom random(6);
    for (const bool perspective : {true, false}) {
        const KivCamera camera = cameraAt(perspective, corner);
        const KivLineView view(camera, size, size);
        const LineJudge judge(camera, view, assembly());
        const std::vector<KivFoundLine> lines = linesOf(camera, assembly());
        int covered = 0;
        int missing = 0;
        for (const LineBody& body : assembly()) {
            if (body.points.size() != 8) {
                continue;
            }
            for (const auto& [a, b] : edgesOf(body)) {
                const KivVec way = body.points[b] - body.points[a];
                if ((way.x != 0.0) + (way.y != 0.0) + (way.z != 0.0) != 1) {
                    continue; // a diagonal of a side
                }
                for (int i = 0; i < 20; ++i) {
                    const double t = random.between(0.02, 0.98);
                    const KivVec p = body.points[a] + way * t;
                    const KivPicturePoint place = judge.placeOf(p);
                    // Specks are left out: what is seen is seen for a pixel to both sides.
                    const double pixel = view.pixelSize(view.toCamera(p).z) / kivLength(way);
                    bool isSeen = place.x > 0.0 && place.x < size && place.y > 0.0 && place.y < size;
                    for (const double aside : {-3.0, -1.5, 0.0, 1.5, 3.0}) {
                        const KivVec q = p + way * (aside * pixel);
                        isSeen = isSeen && t + aside * pixel > 0.0 && t + aside * pixel < 1.0 &&
                                 !judge.isBlocked(judge.placeOf(q), q);
                    }
                    if (isSeen) {
                        const bool isDrawn = std::any_of(lines.begin(), lines.end(), [&](const KivFoundLine& line) {
                            return distanceTo(place, line) < 0.1;
                        });
                        ++(isDrawn ? covered : missing);
                    }
                }
            }
        }
        EXPECT_GT(covered, 500);
        EXPECT_LE(missing, (covered + missing) / 1000) << "of " << covered + missing;
    }
}

TEST(KivLineEngine, ThePictureSizeChangesNoVisibility) {
    std::vector<LineBody> boxes;
    for (const LineBody& body : assembly()) {
        if (body.points.size() == 8) {
            boxes.push_back(body);
        }
    }
    const KivCamera camera = cameraAt(true, corner);
    const std::vector<KivFoundLine> one = linesOf(camera, boxes, 1000.0);
    const std::vector<KivFoundLine> other = linesOf(camera, boxes, 4000.0);
    EXPECT_NEAR(4.0 * lengthOf(one), lengthOf(other), 0.002 * lengthOf(other)) << "but for specks";
    for (const KivFoundLine& line : one) {
        for (const KivPicturePoint& p : line.picture) {
            const KivPicturePoint large = {4.0 * p.x, 4.0 * p.y};
            EXPECT_TRUE(std::any_of(other.begin(), other.end(),
                                    [&](const KivFoundLine& candidate) { return distanceTo(large, candidate) < 0.5; }));
        }
    }
}

TEST(KivLineEngine, GivesTheSameLinesAgain) {
    const KivCamera camera = cameraAt(true, corner);
    const std::vector<KivFoundLine> one = linesOf(camera, assembly());
    const std::vector<KivFoundLine> other = linesOf(camera, assembly());
    ASSERT_EQ(one.size(), other.size());
    for (std::size_t i = 0; i < one.size(); ++i) {
        ASSERT_EQ(one[i].kind, other[i].kind);
        ASSERT_EQ(one[i].source, other[i].source);
        ASSERT_EQ(one[i].picture.size(), other[i].picture.size());
        for (std::size_t k = 0; k < one[i].picture.size(); ++k) {
            ASSERT_EQ(one[i].picture[k].x, other[i].picture[k].x);
            ASSERT_EQ(one[i].picture[k].y, other[i].picture[k].y);
        }
    }
}

TEST(KivLineEngine, BearsTrianglesOfEveryKind) {
    RawRandom random(8);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (int round = 0; round < 60; ++round) {
        LineBody soup;
        for (unsigned int i = 0; i < 40; ++i) {
            soup.points.push_back({random.below(5) - 2.0, random.below(5) - 2.0, random.below(5) - 2.0});
        }
        soup.points.push_back({nan, 0.0, 0.0});
        soup.points.push_back({1e300, -1e300, 1e300});
        soup.points.push_back({1e-300, 1e-310, 0.0});
        for (unsigned int i = 0; i < 60; ++i) {
            soup.triangles.push_back({random.below(43), random.below(43), random.below(43)});
        }
        KivLineBody body = engineBody(soup);
        body.rules.hidden = true;
        std::vector<KivLineBody> bodies;
        bodies.push_back(std::move(body));
        const std::vector<KivFoundLine> lines = linesOf(cameraAt(round % 2 == 0, corner), std::move(bodies));
        EXPECT_FALSE(lines.empty());
        for (const KivFoundLine& line : lines) {
            ASSERT_EQ(line.picture.size(), line.space.size());
            ASSERT_GE(line.picture.size(), 2U);
            for (const KivPicturePoint& p : line.picture) {
                ASSERT_TRUE(p.x > -1.0 && p.x < size + 1.0 && p.y > -1.0 && p.y < size + 1.0);
            }
        }
    }
}

TEST(KivLineEngine, ACameraThatSeesNothingHasNoLines) {
    KivLineEngine engine{KivLineView()};
    engine.add(engineBody(boxBody({-1.0, -1.0, -1.0}, {1.0, 1.0, 1.0})));
    EXPECT_TRUE(engine.find());
    EXPECT_TRUE(engine.lines().empty());
}

TEST(KivLineEngine, ACancelAtAnyQuestionEndsIt) {
    const KivLineView view(cameraAt(true, corner), size, size);
    const OneProcessor alone; // how often another thread is waited for is never the same
    const auto find = [&](long cancelAtPoll, std::size_t* found) {
        KivLineEngine engine(view);
        for (const LineBody& body : assembly()) {
            engine.add(engineBody(body));
        }
        PollCounter progress(cancelAtPoll);
        const ScopedProgress installed(progress);
        const bool isWhole = engine.find();
        *found = engine.lines().size();
        return std::pair(isWhole, progress.polls);
    };
    std::size_t found = 0;
    const long polls = find(PollCounter::never, &found).second;
    ASSERT_GT(polls, 20);
    EXPECT_GT(found, 20U);
    for (long poll = 1; poll <= polls; poll += 1 + polls / 100) {
        EXPECT_FALSE(find(poll, &found).first) << poll;
        EXPECT_EQ(found, 0U);
    }
}

TEST(KivLineEngine, PollsByCost) {
    const LineBody ring = ringBody({0.0, 0.0, 0.0}, 1.5, 0.6, 600, 300);
    const LineBody other = ringBody({0.7, 0.1, 0.0}, 1.5, 0.6, 300, 200);
    const KivLineView view(cameraAt(true, corner), size, size);
    const KivLineBody bodies[2] = {engineBody(ring), engineBody(other)};
    const OneProcessor alone; // how often another thread is waited for is never the same
    PollCost::expectAllowed([&] {
        KivLineEngine engine(view);
        engine.add(bodies[0]);
        engine.add(bodies[1]);
        engine.find();
    });
}

// Crossings of many triangles are found on a thread of their own.
TEST(KivLineEngine, CrossingsThatAreFoundBesideAreTheSame) {
    const KivLineView view(cameraAt(true, corner), size, size);
    const auto lengthWith = [&](unsigned int around) {
        KivLineEngine engine(view);
        engine.add(engineBody(ringBody({0.0, 0.0, 0.0}, 1.5, 0.6, 2 * around, around)));
        engine.add(engineBody(ringBody({0.7, 0.1, 0.3}, 1.5, 0.6, 2 * around, around)));
        EXPECT_TRUE(engine.find());
        return lengthOf(ofKind(engine.lines(), Kind::intersection));
    };
    const double few = lengthWith(40); // without a thread
    EXPECT_GT(few, 100.0);
    EXPECT_NEAR(lengthWith(90), few, 0.02 * few);
}

TEST(KivLineEngine, ACancelEndsTheCrossingsThatAreFoundBeside) {
    RawRandom random(11);
    LineBody soup;
    for (std::uint32_t i = 0; i < 40000; ++i) {
        for (int k = 0; k < 3; ++k) {
            soup.points.push_back({random.between(-1.0, 1.0), random.between(-1.0, 1.0), random.between(-1.0, 1.0)});
        }
        soup.triangles.push_back({3 * i, 3 * i + 1, 3 * i + 2});
    }
    KivLineBody body = engineBody(soup);
    body.hides = false;
    body.rules.features.borders = body.rules.features.creases = body.rules.features.silhouettes = false;
    const auto now = [] { // of all threads
        timespec time{};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
    };
    struct Watch : PollCounter {
        bool isCancelled() override {
            return time() >= end;
        }
        double end = 0.0;
        double (*time)() = nullptr;
    };
    const auto timeWithCancelAfter = [&](double seconds) {
        KivLineEngine engine(KivLineView(cameraAt(true, corner), size, size));
        engine.add(body);
        engine.setEffort(10.0); // a heap that is given up late
        Watch watch;
        const double start = now();
        watch.time = now;
        watch.end = start + seconds;
        const ScopedProgress installed(watch);
        engine.find();
        return now() - start;
    };
    const double whole = timeWithCancelAfter(1e9);
    EXPECT_LT(timeWithCancelAfter(0.0), 0.3 * whole);         // before anybody waits for the thread
    EXPECT_LT(timeWithCancelAfter(0.5 * whole), 0.8 * whole); // while somebody does
}

// Needles from anywhere to anywhere: each stands before most of the others.
LineBody needles(std::uint32_t count) {
    RawRandom random(3);
    LineBody body;
    for (std::uint32_t i = 0; i < count; ++i) {
        const KivVec tip = {random.between(-1.5, 1.5), random.between(-1.5, 1.5), random.between(-1.5, 1.5)};
        const KivVec back = {random.between(-1.5, 1.5), random.between(-1.5, 1.5), random.between(-1.5, 1.5)};
        body.points.insert(body.points.end(), {tip, back, back + KivVec{0.01, 0.0, 0.01}});
        body.triangles.push_back({3 * i, 3 * i + 1, 3 * i + 2});
    }
    return body;
}

// One body without the intersections of its faces, with so much work allowed.
void addWithEffort(KivLineEngine& engine, const LineBody& body, double effort) {
    KivLineBody drawn = engineBody(body);
    drawn.rules.intersections = false;
    engine.add(std::move(drawn));
    engine.setEffort(effort);
}

TEST(KivLineEngine, AHostileArrangementIsCutShortAndSaysSo) {
    const KivLineView view(cameraAt(true, corner), size, size);
    const LineBody body = needles(200);
    double lengthBefore = -1.0;
    for (const double effort : {1e-10, 2e-5, 1e-4, 1.0}) {
        KivLineEngine engine(view);
        addWithEffort(engine, body, effort);
        ASSERT_TRUE(engine.find());
        EXPECT_EQ(engine.isCutShort(), effort < 1.0) << effort;
        const double length = lengthOf(engine.lines());
        EXPECT_GT(length, lengthBefore) << effort;
        lengthBefore = length;
    }
    EXPECT_GT(lengthBefore, 1000.0);
}

TEST(KivLineEngine, ARingThatIsCutShortIsNotClosed) {
    const KivLineView view(cameraAt(true, corner), size, size);
    for (const double effort : {1.0, 1e-5}) {
        KivLineEngine engine(view);
        KivLineBody ball = engineBody(sphereBody({0.0, 0.0, 0.0}, 1.0, 200, 100));
        ball.rules.intersections = false;
        engine.add(std::move(ball));
        engine.setEffort(effort);
        ASSERT_TRUE(engine.find());
        ASSERT_EQ(engine.lines().size(), 1U) << effort;
        EXPECT_EQ(engine.lines()[0].closed, effort == 1.0);
    }
}

TEST(KivLineEngine, CrossingsThatAreGivenUpAreTold) {
    const KivLineView view(cameraAt(true, corner), size, size);
    double others = 0.0;
    // Few crossings are allowed then, and more than enough work for all other lines.
    for (const double effort : {1.0, 2e-3}) {
        KivLineEngine engine(view);
        engine.add(engineBody(boxBody({-1.0, -1.0, -1.0}, {1.0, 1.0, 1.0})));
        engine.add(engineBody(sphereBody({0.0, 0.0, 1.0}, 0.7, 80, 50)));
        engine.setEffort(effort);
        ASSERT_TRUE(engine.find());
        EXPECT_EQ(ofKind(engine.lines(), Kind::intersection).empty(), effort < 1.0);
        EXPECT_EQ(engine.isCutShort(), effort < 1.0);
        const double length = lengthOf(engine.lines()) - lengthOf(ofKind(engine.lines(), Kind::intersection));
        others = effort == 1.0 ? length : others;
        EXPECT_DOUBLE_EQ(length, others);
    }
}

// Triangles side by side that touch nothing: three lines each, and hardly any work on their sight. Their ends are
// collected, welded, sorted, joined and chained before it.
TEST(KivLineEngine, AsksWhileItJoinsManyLines) {
    LineBody dust;
    for (std::uint32_t i = 0; i < 60000; ++i) {
        const KivVec at = {-1.0 + 0.005 * (i % 400), -1.0 + 0.005 * (i / 400), 0.0};
        dust.points.insert(dust.points.end(), {at, at + KivVec{0.002, 0.0, 0.0}, at + KivVec{0.0, 0.002, 0.0}});
        dust.triangles.push_back({3 * i, 3 * i + 1, 3 * i + 2});
    }
    const KivLineView view(cameraAt(true, corner), size, size);
    KivLineBody body = engineBody(dust);
    body.rules.intersections = false;
    PollCost::expectAllowed([&] {
        KivLineEngine engine(view);
        engine.add(body);
        engine.find();
    });
}

// The work on the sight of lines, in boxes of the tree that are looked at, stays within what is allowed, and what is
// allowed is used.
TEST(KivLineEngine, AHostileArrangementTakesTheWorkThatIsAllowed) {
    const KivLineView view(cameraAt(true, corner), size, size);
    const LineBody body = needles(400);
    for (const double effort : {1e-4, 4e-4, 1.6e-3}) {
        KivLineEngine engine(view);
        addWithEffort(engine, body, effort);
        ASSERT_TRUE(engine.find());
        EXPECT_TRUE(engine.isCutShort()) << effort;
        const auto allowed = static_cast<double>(LineBudget::allowance(1600, effort));
        const auto done = static_cast<double>(engine.occluders().work());
        EXPECT_GT(done, 0.3 * allowed) << effort;
        EXPECT_LT(done, 1.5 * allowed) << effort;
    }
}

TEST(KivLineEngine, PollsByCostInAHostileArrangement) {
    const KivLineView view(cameraAt(true, corner), size, size);
    const KivLineBody body = engineBody(needles(250));
    PollCost::expectAllowed([&] {
        KivLineEngine engine(view);
        engine.add(body);
        engine.find();
    });
}

} // namespace
