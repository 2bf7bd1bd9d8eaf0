#include "kivrender/lines/kivoccluders.h"

#include "kivrender/lines/linegrain.h"
#include "kivrender/lines/visibleparts.h"
#include "kivrender/scene/kivscene.h"
#include "linebodies.h"
#include "linecameras.h"
#include "support/pollcost.h"
#include "support/rawrandom.h"
#include "support/raycaster.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <utility>
#include <vector>

namespace {

using Triangle = KivOccluders::Triangle;

using Body = LineBody;

class Scene {
public:
    Scene(const KivCamera& seenBy, const std::vector<Body>& bodies, double size = 400.0)
        : camera(seenBy), occluders(KivLineView(seenBy, size, size)) {
        for (const Body& body : bodies) {
            EXPECT_TRUE(occluders.add(body.points, body.triangles));
        }
        EXPECT_TRUE(occluders.build());
    }

    std::vector<KivLinePart> visible(const KivVec& a, const KivVec& b) const {
        std::vector<KivLinePart> parts;
        occluders.visibleParts(a, b, parts);
        return parts;
    }
    double visibleLength(const KivVec& a, const KivVec& b) const {
        double length = 0.0;
        for (const KivLinePart& part : visible(a, b)) {
            length += part.to - part.from;
        }
        return length;
    }

    KivCamera camera;
    KivOccluders occluders;
};

const KivCamera corner = lineCamera(KivCamera::perspective, {3.0, 4.0, 7.0}, 0.5, 1.0, 100.0);
const KivCamera front = lineCamera(KivCamera::orthographic, {0.0, 0.0, 20.0}, 5.0, 1.0, 100.0);

TEST(KivOccluders, ABoxShowsNineOfItsEdgesWhole) {
    for (const auto kind : {KivCamera::perspective, KivCamera::orthographic}) {
        const Body cube = boxBody({-1.0, -1.0, -1.0}, {1.0, 1.0, 1.0});
        const Scene scene(lineCamera(kind, {3.0, 4.0, 7.0}, kind == KivCamera::perspective ? 0.5 : 4.0, 1.0, 100.0),
                          {cube});
        int whole = 0;
        int none = 0;
        for (const auto& [a, b] : edgesOf(cube)) {
            const KivVec d = cube.points[b] - cube.points[a];
            if ((d.x != 0.0) + (d.y != 0.0) + (d.z != 0.0) != 1) {
                continue; // a diagonal of a side
            }
            const double length = scene.visibleLength(cube.points[a], cube.points[b]);
            whole += length == 1.0 ? 1 : 0;
            none += length == 0.0 ? 1 : 0;
        }
        EXPECT_EQ(whole, 9);
        EXPECT_EQ(none, 3);
    }
}

TEST(KivOccluders, ASegmentThroughABoxIsHiddenFromFaceToEnd) {
    const Scene scene(front, {boxBody({-1.0, -1.0, -1.0}, {1.0, 1.0, 1.0})});
    // Runs backwards through the front face: seen up to it and beyond the side.
    const std::vector<KivLinePart> parts = scene.visible({0.0, 0.0, 3.0}, {4.0, 0.0, -13.0});
    ASSERT_EQ(parts.size(), 2U);
    EXPECT_DOUBLE_EQ(parts[0].from, 0.0);
    EXPECT_DOUBLE_EQ(parts[0].to, 0.125);  // at z = 1
    EXPECT_DOUBLE_EQ(parts[1].from, 0.25); // at x = 1
    EXPECT_DOUBLE_EQ(parts[1].to, 1.0);
}

TEST(KivOccluders, WhatTouchesIsSeen) {
    // A box stands on a plate and beside another box; coordinates that no float holds.
    const Body plate = {{{-3.1, 0.1, -3.1}, {3.1, 0.1, -3.1}, {3.1, 0.1, 3.1}, {-3.1, 0.1, 3.1}},
                        {{0, 1, 2}, {0, 2, 3}}};
    const Body one = boxBody({-0.7, 0.1, -0.7}, {0.3, 1.3, 0.3});
    const Body other = boxBody({0.3, 0.1, -0.7}, {1.1, 1.3, 0.3});
    const Scene scene(lineCamera(KivCamera::perspective, {-1.0, 5.0, 9.0}, 0.5, 1.0, 100.0), {plate, one, other});
    EXPECT_EQ(scene.visibleLength({-0.7, 0.1, 0.3}, {0.3, 0.1, 0.3}), 1.0); // the foot in front
    EXPECT_EQ(scene.visibleLength({0.3, 0.1, 0.3}, {0.3, 1.3, 0.3}), 1.0);  // where both boxes meet
    EXPECT_EQ(scene.visibleLength({0.3, 1.3, -0.7}, {0.3, 1.3, 0.3}), 1.0);
    EXPECT_EQ(scene.visibleLength({-0.7, 0.1, -0.7}, {0.3, 0.1, -0.7}), 0.0); // the foot behind
}

TEST(KivOccluders, RepeatedFacesAndOtherWindingsChangeNothing) {
    const Body ring = ringBody({0.0, 0.0, 0.0}, 1.5, 0.6, 40, 20);
    Body repeated = ring;
    for (const Triangle& t : ring.triangles) {
        repeated.triangles.push_back({t[1], t[0], t[2]});
        repeated.triangles.push_back(t);
    }
    std::reverse(repeated.triangles.begin(), repeated.triangles.end());
    const Scene plain(corner, {ring});
    const Scene again(corner, {repeated, ring});
    for (const auto& [a, b] : edgesOf(ring)) {
        const auto parts = plain.visible(ring.points[a], ring.points[b]);
        const auto others = again.visible(ring.points[a], ring.points[b]);
        ASSERT_EQ(parts.size(), others.size());
        for (std::size_t i = 0; i < parts.size(); ++i) {
            ASSERT_EQ(parts[i].from, others[i].from);
            ASSERT_EQ(parts[i].to, others[i].to);
        }
    }
}

// One segment alone may pass by a million triangles.
TEST(KivOccluders, ACancelEndsASingleSegment) {
    Body slivers;
    for (std::uint32_t i = 0; i < 60000; ++i) {
        // Boxes over the segment, triangles below it.
        slivers.points.insert(slivers.points.end(), {{-1.0, -1.0, 0.0}, {1.0, -1.0, 0.0}, {1.0, 1.0, 1e-6 * i}});
        slivers.triangles.push_back({3 * i, 3 * i + 1, 3 * i + 2});
    }
    const Scene scene(front, {slivers});
    PollCounter all;
    {
        const ScopedProgress shown(all);
        EXPECT_EQ(scene.visible({-0.9, 0.5, -1.0}, {0.2, 0.5, -1.0}).size(), 1U);
    }
    EXPECT_GE(all.polls, 3);
    PollCounter first(1);
    const ScopedProgress shown(first);
    scene.visible({-0.9, 0.5, -1.0}, {0.2, 0.5, -1.0});
    EXPECT_EQ(first.polls, 1) << "it went on";
}

TEST(KivOccluders, ThePictureSizeChangesNothing) {
    const Body ring = ringBody({0.0, 0.0, 0.0}, 1.5, 0.6, 40, 20);
    const Scene small(corner, {ring}, 10.0);
    const Scene large(corner, {ring}, 30000.0);
    for (const auto& [a, b] : edgesOf(ring)) {
        const auto parts = small.visible(ring.points[a], ring.points[b]);
        const auto others = large.visible(ring.points[a], ring.points[b]);
        ASSERT_EQ(parts.size(), others.size());
        for (std::size_t i = 0; i < parts.size(); ++i) {
            ASSERT_EQ(parts[i].from, others[i].from);
            ASSERT_EQ(parts[i].to, others[i].to);
        }
    }
}

TEST(KivOccluders, UnitsOfMicronsAndOfKilometresGiveTheSameParts) {
    const Body ring = ringBody({0.0, 0.0, 0.0}, 1.5, 0.6, 24, 12);
    const auto partsAt = [&](double scale) {
        Body body = ring;
        for (KivVec& p : body.points) {
            p = p * scale;
        }
        const Scene scene(
            lineCamera(KivCamera::perspective, KivVec{3.0, 4.0, 7.0} * scale, 0.5 * scale, scale, 100.0 * scale),
            {body});
        std::vector<double> ends;
        for (const auto& [a, b] : edgesOf(body)) {
            for (const KivLinePart& part : scene.visible(body.points[a], body.points[b])) {
                ends.insert(ends.end(), {part.from, part.to});
            }
        }
        return ends;
    };
    const std::vector<double> plain = partsAt(1.0);
    ASSERT_GT(plain.size(), 400U);
    for (const double scale : {0x1p-40, 0x1p-20, 0x1p20, 0x1p60}) {
        EXPECT_EQ(partsAt(scale), plain) << scale; // powers of two round nothing
    }
}

TEST(KivOccluders, WhatLiesBeforeTheNearPlaneHidesNothing) {
    // Walls on both sides of the eye and through it.
    const Body wall = {{{0.0, -5.0, -50.0}, {0.0, 5.0, -50.0}, {0.0, 5.0, 50.0}, {0.0, -5.0, 50.0}},
                       {{0, 1, 2}, {0, 2, 3}}};
    KivCamera camera = lineCamera(KivCamera::perspective, {-1.0, 0.0, 20.0}, 1.0, 1.0, 100.0);
    camera.setDirection({0.0, 0.0, -1.0});
    const Scene scene(camera, {wall});
    EXPECT_EQ(scene.visibleLength({-3.0, 0.0, 0.0}, {-1.0, 0.0, 0.0}), 1.0);
    EXPECT_EQ(scene.visibleLength({1.0, 0.0, 0.0}, {3.0, 0.0, 0.0}),
              0.0); // behind the wall, which is cut at the near plane
    // Nearer than the near plane: a sheet before the whole picture.
    const Body sheet = {{{-50.0, -50.0, 19.5}, {50.0, -50.0, 19.5}, {0.0, 50.0, 19.5}}, {{0, 1, 2}}};
    EXPECT_EQ(Scene(camera, {sheet}).visibleLength({-3.0, 0.0, 0.0}, {-1.0, 0.0, 0.0}), 1.0);
}

TEST(KivOccluders, PartsOutsideThePictureAreNotVisible) {
    const Scene scene(front, {});
    const std::vector<KivLinePart> parts = scene.visible({-10.0, 0.0, 0.0}, {10.0, 0.0, 0.0});
    ASSERT_EQ(parts.size(), 1U);
    EXPECT_DOUBLE_EQ(parts[0].from, 0.25);
    EXPECT_DOUBLE_EQ(parts[0].to, 0.75);
    EXPECT_TRUE(scene.visible({-10.0, 6.0, 0.0}, {10.0, 6.0, 0.0}).empty());
    EXPECT_TRUE(scene.visible({1.0, 1.0, 0.0}, {1.0, 1.0, 0.0}).size() <= 1U);
}

TEST(KivOccluders, BrokenTrianglesHideNothing) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const Body broken = {{{-5.0, -5.0, 3.0}, {5.0, -5.0, 3.0}, {0.0, 9.0, 3.0}, {nan, 0.0, 3.0}, {1e308, 1e308, 1e308}},
                         {{0, 1, 7}, {0, 1, 4000000000U}, {0, 1, 3}, {0, 0, 1}, {4, 4, 4}}};
    const Scene scene(front, {broken});
    EXPECT_EQ(scene.visibleLength({-1.0, 0.0, 0.0}, {1.0, 0.0, 0.0}), 1.0);
    EXPECT_TRUE(scene.visible({nan, 0.0, 0.0}, {1.0, 0.0, 0.0}).empty());
}

TEST(KivOccluders, ACameraThatSeesNothingShowsNothing) {
    KivOccluders occluders{KivLineView()};
    const Body cube = boxBody({-1.0, -1.0, -1.0}, {1.0, 1.0, 1.0});
    EXPECT_TRUE(occluders.add(cube.points, cube.triangles));
    EXPECT_TRUE(occluders.build());
    std::vector<KivLinePart> parts = {{0.0, 1.0}};
    occluders.visibleParts({0.0, 0.0, 0.0}, {1.0, 0.0, 0.0}, parts);
    EXPECT_TRUE(parts.empty());
}

// Follows rays to samples on segments. A sample counts where the place is clear of doubt: no end of a visible part lies
// within a quarter of a pixel, and rays a tenth of a pixel to four sides agree with the one in the middle.
class Judge {
public:
    Judge(const Scene& judged, const std::vector<Body>& bodies) : scene(judged) {
        for (const Body& body : bodies) {
            model.addMesh(meshOf(body).release());
        }
        caster = std::make_unique<RayCaster>(model);
    }

    void look(const KivVec& a, const KivVec& b, double t) {
        const std::vector<KivLinePart> parts = scene.visible(a, b);
        const KivLineView& view = scene.occluders.view();
        const auto placeOf = [&](double at) { return view.toPicture(view.toCamera(a + (b - a) * at)); };
        double from = 0.0;
        double to = 0.0;
        if (!view.clip(view.toCamera(a), view.toCamera(b), &from, &to) || t < from || t > to) {
            return;
        }
        const KivPicturePoint place = placeOf(t);
        bool isVisible = false;
        for (const KivLinePart& part : parts) {
            isVisible = isVisible || (t >= part.from && t <= part.to);
            for (const double end : {part.from, part.to}) {
                const KivPicturePoint p = placeOf(end);
                if (std::hypot(p.x - place.x, p.y - place.y) < 0.25) {
                    ++doubtful;
                    return;
                }
            }
        }
        const KivVec point = a + (b - a) * t;
        const bool hit = isBlocked(place, 0.0, 0.0, point, 1e-5);
        // A tenth of a pixel aside the line's own surface may reach nearer by this much.
        constexpr double steep = 0.01;
        for (const auto& [dx, dy] : {std::pair{0.1, 0.0}, {-0.1, 0.0}, {0.0, 0.1}, {0.0, -0.1}}) {
            if (isBlocked(place, dx, dy, point, steep) != hit) {
                ++doubtful;
                return;
            }
        }
        ++(isVisible != hit ? right : wrong);
        ++(isVisible ? seen : hidden);
    }

    int right = 0;
    int wrong = 0;
    int doubtful = 0;
    int seen = 0;
    int hidden = 0;

private:
    bool isBlocked(const KivPicturePoint& place, double dx, double dy, const KivVec& point, double margin) const {
        const KivLineView& view = scene.occluders.view();
        const RayCaster::Ray ray =
            RayCaster::through(scene.camera, (place.x + dx) / view.width(), (place.y + dy) / view.height());
        const double depth = view.toCamera(point).z;
        const double near = view.nearest();
        // Rays of a perspective view are as long as the near plane is far.
        const double to = view.isPerspective() ? depth / near : depth;
        return caster->isBlocked(ray, view.isPerspective() ? 1.0 : near, to * (1.0 - margin));
    }

    const Scene& scene;
    KivScene model;
    std::unique_ptr<RayCaster> caster;
};

void judgeEdges(const std::vector<Body>& bodies, RawRandom& random, Judge& judge) {
    for (const Body& body : bodies) {
        for (const auto& [a, b] : edgesOf(body)) {
            judge.look(body.points[a], body.points[b], random.between(0.02, 0.98));
        }
    }
}

TEST(KivOccluders, RaysAgreeOnAllEdgesOfBodiesThatHideAndCrossEachOther) {
    RawRandom random(11);
    const std::vector<Body> bodies = {
        ringBody({0.0, 0.0, 0.3}, 1.5, 0.6, 60, 30), sphereBody({0.2, 0.1, 0.0}, 1.1, 40, 20),
        boxBody({-2.0, -1.0, -0.4}, {1.0, 0.6, 0.4}), boxBody({0.0, -2.0, 0.1}, {0.7, 2.1, 1.7})};
    for (const auto kind : {KivCamera::perspective, KivCamera::orthographic}) {
        const Scene scene(lineCamera(kind, {3.0, 4.0, 7.0}, kind == KivCamera::perspective ? 0.5 : 3.5, 1.0, 100.0),
                          bodies);
        Judge judge(scene, bodies);
        judgeEdges(bodies, random, judge);
        EXPECT_GT(judge.seen, 1000);
        EXPECT_GT(judge.hidden, 2000);
        EXPECT_LT(judge.doubtful, (judge.right + judge.wrong) / 5);
        EXPECT_LE(judge.wrong, (judge.right + judge.wrong) / 1000) << "of " << judge.right + judge.wrong;
    }
}

// Triangles with corners on a coarse grid: everything coincides, touches, lies in one plane or runs through a corner.
TEST(KivOccluders, RaysAgreeOnSoupsOfTrianglesOnACoarseGrid) {
    RawRandom random(12);
    int judged = 0;
    int wrong = 0;
    int doubtful = 0;
    for (int round = 0; round < 200; ++round) {
        Body soup;
        const unsigned int count = 3 + random.below(40);
        const auto place = [&] {
            soup.points.push_back({random.below(5) - 2.0, random.below(5) - 2.0, random.below(5) - 2.0});
            return static_cast<std::uint32_t>(soup.points.size() - 1);
        };
        for (unsigned int i = 0; i < count; ++i) {
            const std::uint32_t a = place();
            const std::uint32_t b = place();
            soup.triangles.push_back({a, b, place()});
        }
        const bool isStraight = random.chance(4); // every edge of the grid seen end-on or along another
        const auto kind = random.chance(2) ? KivCamera::perspective : KivCamera::orthographic;
        const KivVec eye = isStraight ? KivVec{0.0, 0.0, 12.0} : KivVec{3.3, 4.1, 9.7};
        const Scene scene(lineCamera(kind, eye, kind == KivCamera::perspective ? 0.5 : 4.5, 1.0, 100.0), {soup});
        Judge judge(scene, {soup});
        judgeEdges({soup}, random, judge);
        judged += judge.right + judge.wrong;
        wrong += judge.wrong;
        doubtful += judge.doubtful;
    }
    EXPECT_GT(judged, 5000);
    EXPECT_LT(doubtful, judged);
    EXPECT_LE(wrong, judged / 1000) << "of " << judged;
}

// The literal form: every triangle, one after the other.
std::vector<KivLinePart> cutByAll(const KivLineView& view, const Body& body, const KivVec& a, const KivVec& b) {
    const double grain = static_cast<float>(kivGrainOf(body.points, body.triangles));
    std::vector<KivLinePart> parts;
    VisibleParts visible(parts, {0.0, 1.0});
    for (const Triangle& t : body.triangles) {
        const KivVec corners[3] = {view.toCamera(body.points[t[0]]), view.toCamera(body.points[t[1]]),
                                   view.toCamera(body.points[t[2]])};
        KivLinePart hidden;
        if (kivHiddenPart(view, corners, grain, view.toCamera(a), view.toCamera(b), &hidden)) {
            visible.hide(hidden);
        }
    }
    visible.finish();
    return parts;
}

TEST(KivOccluders, LongSegmentsAreCutAsByOneTriangleAfterTheOther) {
    RawRandom random(21);
    std::size_t pieces = 0;
    for (const KivCamera& camera : {corner, front}) {
        Body soup;
        const auto place = [&] {
            return KivVec{random.between(-2.0, 2.0), random.between(-2.0, 2.0), random.between(-2.0, 2.0)};
        };
        for (std::uint32_t i = 0; i < 400; ++i) {
            const KivVec p = place();
            soup.points.insert(soup.points.end(), {p, p + place() * 0.3, p + place() * 0.3});
            soup.triangles.push_back({3 * i, 3 * i + 1, 3 * i + 2});
        }
        const Scene scene(camera, {soup});
        for (int i = 0; i < 300; ++i) {
            const KivVec a = place();
            const KivVec b = place();
            const std::vector<KivLinePart> parts = scene.visible(a, b);
            const std::vector<KivLinePart> literal = cutByAll(scene.occluders.view(), soup, a, b);
            ASSERT_EQ(parts.size(), literal.size());
            for (std::size_t k = 0; k < parts.size(); ++k) {
                EXPECT_EQ(parts[k].from, literal[k].from);
                EXPECT_EQ(parts[k].to, literal[k].to);
            }
            pieces += parts.size();
        }
    }
    EXPECT_GT(pieces, 200U);
}

TEST(KivOccluders, ExemptTrianglesHideNothing) {
    const Body sheets = {
        {{-5.0, -5.0, 3.0}, {5.0, -5.0, 3.0}, {0.0, 9.0, 3.0}, {-5.0, -5.0, 4.0}, {0.0, -5.0, 4.0}, {-2.5, 9.0, 4.0}},
        {{0, 1, 2}, {3, 4, 5}}};
    const Body none = {{{0.0, 0.0, 0.0}}, {{0, 0, 0}}};
    const Scene scene(front, {none, sheets}); // the first triangle counts, though it hides nothing
    std::vector<KivLinePart> excused;
    const auto lengthWithout = [&](std::vector<std::uint32_t> exempt) {
        std::vector<KivLinePart> parts;
        scene.occluders.visibleParts({-2.0, 0.0, 0.0}, {2.0, 0.0, 0.0}, exempt, parts, excused);
        double length = 0.0;
        for (const KivLinePart& part : parts) {
            length += part.to - part.from;
        }
        return length;
    };
    EXPECT_EQ(lengthWithout({}), 0.0);
    EXPECT_EQ(lengthWithout({0, 2}), 0.0);
    EXPECT_GT(lengthWithout({1}), 0.3);
    EXPECT_LT(lengthWithout({1}), 0.8);
    EXPECT_EQ(lengthWithout({1, 2}), 1.0);
    ASSERT_EQ(excused.size(), 2U);
    const auto widest = std::max_element(excused.begin(), excused.end(),
                                         [](const auto& a, const auto& b) { return a.to - a.from < b.to - b.from; });
    EXPECT_EQ(widest->from, 0.0);
    EXPECT_EQ(widest->to, 1.0);
}

TEST(KivOccluders, TellsTheNearestDepthAtAPlace) {
    for (const auto kind : {KivCamera::perspective, KivCamera::orthographic}) {
        // A plane that falls away to the right.
        const Body plane = {{{-5.0, -5.0, 2.0}, {5.0, -5.0, -2.0}, {0.0, 9.0, 0.0}}, {{0, 1, 2}}};
        const Body behind = {{{-9.0, -9.0, -5.0}, {9.0, -9.0, -5.0}, {0.0, 20.0, -5.0}}, {{0, 1, 2}}};
        const Scene scene(lineCamera(kind, {0.0, 0.0, 20.0}, kind == KivCamera::perspective ? 0.25 : 5.0, 1.0, 100.0),
                          {behind, plane});
        const KivLineView& view = scene.occluders.view();
        const KivVec point = {1.0, 0.5, -0.4};
        EXPECT_NEAR(scene.occluders.nearestAt(view.toPicture(view.toCamera(point))), 20.4, 1e-9);
        EXPECT_NEAR(scene.occluders.nearestAt(view.toPicture(view.toCamera({-4.0, 4.0, -5.0}))), 25.0, 1e-9);
        EXPECT_TRUE(std::isinf(scene.occluders.nearestAt({1.0, 399.0})));
    }
}

// Long thin triangles askew, a shell of them around a bundle: a box for each would hold the whole picture.
TEST(KivOccluders, ABundleOfTubesIsQuicklyLookedThrough) {
    const KivVec way{9.0, 6.0, -12.0};
    const auto tube = [&way](const KivVec& middle, double radius, int around) {
        Body body;
        for (int i = 0; i < around; ++i) {
            const double angle = 2.0 * std::numbers::pi * i / around;
            const KivVec p = middle + KivVec{radius * std::cos(angle), radius * std::sin(angle), 0.0} - way * 0.5;
            body.points.insert(body.points.end(), {p, p + way});
            const auto a = static_cast<std::uint32_t>(2 * i);
            const auto b = static_cast<std::uint32_t>(2 * ((i + 1) % around));
            body.triangles.push_back({a, b, b + 1});
            body.triangles.push_back({a, b + 1, a + 1});
        }
        return body;
    };
    std::vector<Body> bodies = {tube({}, 1.0, 60)};
    std::vector<std::pair<KivVec, KivVec>> lines;
    for (int i = 0; i < 100; ++i) {
        const KivVec middle{0.14 * (i % 10) - 0.63, 0.14 * (i / 10) - 0.63, 0.0};
        bodies.push_back(tube(middle, 0.05, 12));
        lines.emplace_back(middle - way * 0.49, middle + way * 0.49);
    }
    const Scene scene(lineCamera(KivCamera::perspective, {4.0, 9.0, 14.0}, 0.4, 1.0, 100.0), bodies, 1000.0);
    double seen = 0.0;
    for (const auto& [a, b] : lines) {
        seen += scene.visibleLength(a, b);
    }
    EXPECT_EQ(seen, 0.0);
    const std::size_t afterLines = scene.occluders.work();
    RawRandom random(2);
    int covered = 0;
    for (int i = 0; i < 1000; ++i) {
        covered += std::isfinite(scene.occluders.nearestAt({random.between(0.0, 1000.0), random.between(0.0, 1000.0)}));
    }
    EXPECT_GT(covered, 50);
    EXPECT_LT(afterLines / lines.size(), 2200U);                     // 1800; with one box for each triangle 2800
    EXPECT_LT((scene.occluders.work() - afterLines) / 1000, 10000U); // 7000 and 15000
}

TEST(KivOccluders, PollsWhileItTakesAndSortsTriangles) {
    const Body ring = ringBody({0.0, 0.0, 0.0}, 1.5, 0.6, 700, 500);
    PollCost::expectAllowed([&] {
        KivOccluders occluders(KivLineView(corner, 400.0, 400.0));
        if (occluders.add(ring.points, ring.triangles)) {
            occluders.build();
        }
    });
}

TEST(KivOccluders, ACancelIsTold) {
    const Body ring = ringBody({0.0, 0.0, 0.0}, 1.5, 0.6, 40, 20);
    KivOccluders occluders(KivLineView(corner, 400.0, 400.0));
    ASSERT_TRUE(occluders.add(ring.points, ring.triangles));
    PollCounter progress(1);
    const ScopedProgress installed(progress);
    EXPECT_FALSE(occluders.build());
    EXPECT_FALSE(occluders.add(ring.points, ring.triangles));
}

} // namespace
