#include "apps/document/studiocamera.h"

#include "support/rawrandom.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace {

constexpr double pi = 3.14159265358979323846;
constexpr double width = 800.0;
constexpr double height = 600.0;

double dot(const Kiv3DVector& a, const Kiv3DVector& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

Kiv3DVector between(const Kiv3DPoint& a, const Kiv3DPoint& b) {
    return {b.x - a.x, b.y - a.y, b.z - a.z};
}

double distanceOf(const Kiv3DPoint& a, const Kiv3DPoint& b) {
    return between(a, b).norm();
}

struct Pixel {
    double x = -1e9;
    double y = -1e9;
};

Pixel seen(const StudioCamera& camera, const Kiv3DPoint& point) {
    Pixel pixel;
    EXPECT_TRUE(camera.project(point, width, height, &pixel.x, &pixel.y));
    return pixel;
}

// The point at the target's depth that is under a pixel.
Kiv3DPoint atTargetDepth(const StudioCamera& camera, const Pixel& pixel) {
    const double units = camera.heightAtTarget() / height;
    const ViewAxes axes = camera.axes();
    const double right = (pixel.x - width / 2.0) * units;
    const double up = (height / 2.0 - pixel.y) * units;
    return {camera.target.x + axes.right.x * right + axes.up.x * up,
            camera.target.y + axes.right.y * right + axes.up.y * up,
            camera.target.z + axes.right.z * right + axes.up.z * up};
}

StudioCamera anyCamera(RawRandom& random) {
    StudioCamera camera;
    camera.up = random.chance(2) ? Kiv3DVector(0.0, 0.0, 1.0) : Kiv3DVector(0.0, 1.0, 0.0);
    camera.target = {random.between(-50, 50), random.between(-50, 50), random.between(-50, 50)};
    camera.distance = random.between(1, 400);
    camera.yaw = random.between(-pi, pi);
    camera.pitch = random.between(-pi / 2, pi / 2);
    camera.fov = random.between(10, 100);
    camera.parallel = random.chance(2);
    return camera;
}

std::vector<Kiv3DPoint> boxCorners(double x, double y, double z) {
    std::vector<Kiv3DPoint> points;
    for (int i = 0; i < 8; ++i) {
        points.emplace_back((i & 1) != 0 ? x : -x, (i & 2) != 0 ? y : -y, (i & 4) != 0 ? z : -z);
    }
    return points;
}

// Invariants, whatever was done.
void expectSound(const StudioCamera& camera) {
    for (const double number : {camera.target.x, camera.target.y, camera.target.z, camera.distance, camera.yaw,
                                camera.pitch, camera.fov, camera.heightAtTarget()}) {
        ASSERT_TRUE(std::isfinite(number));
    }
    ASSERT_GT(camera.distance, 0.0);
    ASSERT_LE(std::abs(camera.pitch), pi / 2);
    const ViewAxes axes = camera.axes();
    ASSERT_NEAR(dot(axes.right, axes.right), 1.0, 1e-9);
    ASSERT_NEAR(dot(axes.up, axes.up), 1.0, 1e-9);
    ASSERT_NEAR(dot(axes.forward, axes.forward), 1.0, 1e-9);
    ASSERT_NEAR(dot(axes.right, axes.up), 0.0, 1e-9);
    ASSERT_NEAR(dot(axes.right, axes.forward), 0.0, 1e-9);
    ASSERT_NEAR(dot(axes.up, axes.forward), 0.0, 1e-9);
    // No roll: what is right in the picture is level, and up is never upside down.
    ASSERT_NEAR(dot(axes.right, camera.up), 0.0, 1e-9);
    ASSERT_GE(dot(axes.up, camera.up), -1e-9);
}

} // namespace

TEST(StudioCamera, ThePointUnderTheHandFollowsIt) {
    RawRandom random(1);
    for (int round = 0; round < 500; ++round) {
        StudioCamera camera = anyCamera(random);
        const Pixel from{random.between(0, width), random.between(0, height)};
        const Pixel to{random.between(0, width), random.between(0, height)};
        const Kiv3DPoint held = atTargetDepth(camera, from);
        const Pixel before = seen(camera, held);
        EXPECT_NEAR(before.x, from.x, 1e-6);
        EXPECT_NEAR(before.y, from.y, 1e-6);
        camera.pan(to.x - from.x, to.y - from.y, height);
        const Pixel after = seen(camera, held);
        EXPECT_NEAR(after.x, to.x, 1e-6);
        EXPECT_NEAR(after.y, to.y, 1e-6);
    }
}

TEST(StudioCamera, WhatIsUnderTheMouseStaysThereWhenZooming) {
    RawRandom random(2);
    for (int round = 0; round < 500; ++round) {
        StudioCamera camera = anyCamera(random);
        const Pixel at{random.between(0, width), random.between(0, height)};
        const Kiv3DPoint held = atTargetDepth(camera, at);
        const double factor = random.between(0.2, 5.0);
        const double distance = camera.distance;
        camera.zoom(factor, at.x - width / 2.0, at.y - height / 2.0, height);
        EXPECT_NEAR(camera.distance, distance / factor, 1e-9 * distance);
        const Pixel after = seen(camera, held);
        EXPECT_NEAR(after.x, at.x, 1e-6);
        EXPECT_NEAR(after.y, at.y, 1e-6);
    }
}

TEST(StudioCamera, ZoomingThereAndBackIsNoChange) {
    StudioCamera camera;
    camera.yaw = 0.4;
    const StudioCamera before = camera;
    camera.zoom(1.7, 120.0, -80.0, height);
    EXPECT_NE(camera.target.x, before.target.x);
    camera.zoom(1.0 / 1.7, 120.0, -80.0, height);
    EXPECT_NEAR(camera.distance, before.distance, 1e-9);
    EXPECT_NEAR(distanceOf(camera.target, before.target), 0.0, 1e-9);
}

TEST(StudioCamera, ZoomEndsAtItsLimitsAndComesBackFromThem) {
    for (const double factor : {2.0, 0.5}) {
        for (const bool parallel : {false, true}) {
            StudioCamera camera;
            camera.parallel = parallel;
            for (int i = 0; i < 200; ++i) {
                camera.zoom(factor, 10.0, 10.0, height);
            }
            const double limit = camera.distance;
            const Kiv3DPoint target = camera.target;
            camera.zoom(factor, 300.0, 200.0, height);
            EXPECT_EQ(camera.distance, limit);
            EXPECT_NEAR(distanceOf(camera.target, target), 0.0, 1e-9 * limit) << "at the limit nothing drifts";
            camera.zoom(1.0 / factor, 0.0, 0.0, height);
            EXPECT_NEAR(camera.distance, limit / (1.0 / factor), 1e-9 * limit);
        }
    }
}

TEST(StudioCamera, OrbitKeepsTheTargetAndTheDistance) {
    RawRandom random(3);
    for (int round = 0; round < 300; ++round) {
        StudioCamera camera = anyCamera(random);
        const StudioCamera before = camera;
        camera.orbit(random.between(-1, 1), random.between(-1, 1));
        EXPECT_EQ(distanceOf(camera.target, before.target), 0.0);
        EXPECT_NEAR(distanceOf(camera.eye(), camera.target), before.distance, 1e-9 * before.distance);
        const Pixel middle = seen(camera, camera.target);
        EXPECT_NEAR(middle.x, width / 2.0, 1e-6);
        EXPECT_NEAR(middle.y, height / 2.0, 1e-6);
        expectSound(camera);
    }
}

TEST(StudioCamera, ThePolesAreReachedAndLeftAgain) {
    for (const double way : {1.0, -1.0}) {
        StudioCamera camera;
        camera.orbit(0.0, way * 10.0);
        EXPECT_NEAR(dot(camera.axes().forward, camera.up), -way, 1e-12);
        expectSound(camera);
        // Turning at the pole turns the picture, without a jump.
        const ViewAxes before = camera.axes();
        camera.orbit(0.25, 0.0);
        EXPECT_NEAR(dot(before.right, camera.axes().right), std::cos(0.25), 1e-9);
        camera.orbit(0.0, -way * 0.5);
        EXPECT_NEAR(dot(camera.axes().forward, camera.up), -way * std::cos(0.5), 1e-9);
    }
}

TEST(StudioCamera, StandardViewsLookTheWayOfTheirName) {
    struct {
        StudioSide side;
        Kiv3DVector yUp;
        Kiv3DVector zUp;
    } const views[] = {{StudioSide::front, {0, 0, -1}, {0, 1, 0}},  {StudioSide::back, {0, 0, 1}, {0, -1, 0}},
                       {StudioSide::right, {-1, 0, 0}, {-1, 0, 0}}, {StudioSide::left, {1, 0, 0}, {1, 0, 0}},
                       {StudioSide::top, {0, -1, 0}, {0, 0, -1}},   {StudioSide::bottom, {0, 1, 0}, {0, 0, 1}}};
    RawRandom random(4);
    for (const auto& view : views) {
        for (const bool zUp : {false, true}) {
            StudioCamera camera = anyCamera(random);
            camera.up = zUp ? Kiv3DVector(0, 0, 1) : Kiv3DVector(0, 1, 0);
            camera.look(view.side);
            EXPECT_NEAR(dot(camera.axes().forward, zUp ? view.zUp : view.yUp), 1.0, 1e-12);
            expectSound(camera);
        }
    }
}

TEST(StudioCamera, AStandardViewTurnsAroundTheTarget) {
    RawRandom random(5);
    for (const StudioSide side : {StudioSide::front, StudioSide::back, StudioSide::left, StudioSide::right,
                                  StudioSide::top, StudioSide::bottom, StudioSide::threeQuarter}) {
        StudioCamera camera = anyCamera(random);
        const StudioCamera before = camera;
        camera.look(side);
        EXPECT_NEAR(distanceOf(camera.target, before.target), 0.0, 1e-9);
        EXPECT_NEAR(camera.distance, before.distance, 1e-9);
    }
    for (const Kiv3DVector& up : {Kiv3DVector(0, 1, 0), Kiv3DVector(0, 0, 1)}) {
        StudioCamera camera;
        camera.up = up;
        camera.look(StudioSide::threeQuarter);
        EXPECT_NEAR(dot(camera.axes().forward, threeQuarterDirection(up)), 1.0, 1e-12);
    }
}

TEST(StudioCamera, AFittedModelFillsThePictureAndNoneOfItIsOutside) {
    RawRandom random(6);
    for (int round = 0; round < 200; ++round) {
        StudioCamera camera = anyCamera(random);
        const auto points = boxCorners(random.between(1, 60), random.between(1, 60), random.between(1, 60));
        camera.fit(points, width / height);
        expectSound(camera);
        double widest = 0.0;
        for (const Kiv3DPoint& p : points) {
            const Pixel pixel = seen(camera, p);
            widest = std::max({widest, std::abs(pixel.x / width * 2 - 1), std::abs(pixel.y / height * 2 - 1)});
        }
        EXPECT_LE(widest, 1.0);
        EXPECT_GT(widest, 0.8);
    }
}

TEST(StudioCamera, FittingNothingOrOnePointIsNoHarm) {
    StudioCamera camera;
    const StudioCamera before = camera;
    camera.fit({}, 1.5);
    EXPECT_EQ(camera.distance, before.distance);
    for (const bool parallel : {false, true}) {
        camera.parallel = parallel;
        camera.fit({{3.0, 4.0, 5.0}}, 1.5);
        expectSound(camera);
        EXPECT_NEAR(seen(camera, {3.0, 4.0, 5.0}).x, width / 2.0, 1e-3);
        camera.fit({{3.0, 4.0, 5.0}}, std::numeric_limits<double>::quiet_NaN());
        expectSound(camera);
    }
}

TEST(StudioCamera, SwitchingTheProjectionKeepsTheSizeAtTheTarget) {
    RawRandom random(7);
    for (int round = 0; round < 100; ++round) {
        StudioCamera camera = anyCamera(random);
        const Kiv3DPoint held = atTargetDepth(camera, {100.0, 500.0});
        camera.parallel = !camera.parallel;
        const Pixel after = seen(camera, held);
        EXPECT_NEAR(after.x, 100.0, 1e-6);
        EXPECT_NEAR(after.y, 500.0, 1e-6);
    }
}

TEST(StudioCamera, FollowTakesOverWhereAnotherCameraStandsAndLooks) {
    RawRandom random(8);
    const auto points = boxCorners(20, 20, 20);
    for (int round = 0; round < 300; ++round) {
        StudioCamera camera = anyCamera(random);
        const Kiv3DPoint place(random.between(60, 200), random.between(60, 200), random.between(-200, 200));
        const Kiv3DVector way = between(place, {random.between(-20, 20), random.between(-20, 20), 0.0});
        camera.follow(place, way, points);
        expectSound(camera);
        EXPECT_NEAR(distanceOf(camera.eye(), place), 0.0, 1e-9 * distanceOf(place, {0, 0, 0}));
        EXPECT_NEAR(dot(camera.axes().forward, way) / way.norm(), 1.0, 1e-12);
    }
    StudioCamera camera;
    const Kiv3DPoint eye = camera.eye();
    camera.follow({1, 2, 3}, {0, 0, 0}, points);
    EXPECT_EQ(distanceOf(camera.eye(), eye), 0.0) << "no direction, no change";
}

TEST(StudioCamera, TheRenderedCameraSeesWhatTheViewShows) {
    RawRandom random(9);
    const auto points = boxCorners(30, 20, 10);
    for (int round = 0; round < 200; ++round) {
        StudioCamera camera = anyCamera(random);
        camera.fit(points, width / height);
        const KivCamera rendered = camera.toCamera(points, width / height);
        const ViewAxes axes = camera.axes();
        EXPECT_EQ(rendered.getProjection() == KivCamera::perspective, !camera.parallel);
        for (const Kiv3DPoint& p : points) {
            const Kiv3DVector way = between(rendered.getLocation(), p);
            const double depth = dot(way, axes.forward);
            EXPECT_GE(depth, rendered.getFrustumNear() - 1e-6);
            EXPECT_LE(depth, rendered.getFrustumFar() + 1e-6);
            const double scale = camera.parallel ? 1.0 : rendered.getFrustumNear() / depth;
            const Pixel pixel = seen(camera, p);
            EXPECT_NEAR(dot(way, axes.right) * scale / rendered.getFrustumRight(), pixel.x / width * 2 - 1, 1e-9);
            EXPECT_NEAR(dot(way, axes.up) * scale / rendered.getFrustumTop(), 1 - pixel.y / height * 2, 1e-9);
        }
    }
}

TEST(StudioCamera, AnEyeInsideTheModelStillHasAFrustum) {
    const auto points = boxCorners(30, 30, 30);
    for (const bool parallel : {false, true}) {
        StudioCamera camera;
        camera.parallel = parallel;
        camera.distance = 1.0;
        const KivCamera rendered = camera.toCamera(points, 1.5);
        EXPECT_GT(rendered.getFrustumFar(), rendered.getFrustumNear());
        EXPECT_GT(rendered.getFrustumTop(), 0.0);
        EXPECT_GT(rendered.getFrustumRight(), rendered.getFrustumTop());
        if (!parallel) {
            EXPECT_GT(rendered.getFrustumNear(), 0.0);
        }
    }
}

TEST(StudioCamera, ALightThatIsDraggedFollowsTheHandAtItsOwnDepth) {
    RawRandom random(10);
    for (int round = 0; round < 200; ++round) {
        const StudioCamera camera = anyCamera(random);
        const ViewAxes axes = camera.axes();
        const double ahead = camera.distance * random.between(0.5, 3.0);
        const Kiv3DPoint eye = camera.eye();
        const Kiv3DPoint light(eye.x + axes.forward.x * ahead, eye.y + axes.forward.y * ahead,
                               eye.z + axes.forward.z * ahead);
        const Pixel before = seen(camera, light);
        const Kiv3DVector step = camera.moved(light, 70.0, -40.0, height);
        const Pixel after = seen(camera, {light.x + step.x, light.y + step.y, light.z + step.z});
        EXPECT_NEAR(after.x - before.x, 70.0, 1e-6);
        EXPECT_NEAR(after.y - before.y, -40.0, 1e-6);
    }
}

TEST(StudioCamera, NothingBehindTheEyeIsSeenInPerspective) {
    StudioCamera camera;
    double x = 0.0;
    double y = 0.0;
    EXPECT_FALSE(camera.project({0.0, 0.0, camera.distance + 1.0}, width, height, &x, &y));
    EXPECT_FALSE(camera.project(camera.eye(), width, height, &x, &y));
    camera.parallel = true;
    EXPECT_TRUE(camera.project({0.0, 0.0, camera.distance + 1.0}, width, height, &x, &y));
}

TEST(StudioCamera, NumbersThatAreNoneMoveNothing) {
    const double bad[] = {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
                          -std::numeric_limits<double>::infinity()};
    for (const double v : bad) {
        StudioCamera camera;
        camera.target = {1.0, 2.0, 3.0};
        camera.yaw = 0.5;
        const StudioCamera before = camera;
        camera.orbit(v, v);
        camera.pan(v, 0.0, height);
        camera.pan(0.0, v, height);
        camera.pan(1.0, 1.0, v);
        camera.zoom(v, 0.0, 0.0, height);
        camera.zoom(2.0, v, 0.0, height);
        camera.zoom(2.0, 0.0, 0.0, v);
        expectSound(camera);
        EXPECT_EQ(distanceOf(camera.target, before.target), 0.0);
        EXPECT_EQ(camera.distance, before.distance);
        EXPECT_EQ(camera.yaw, before.yaw);
        EXPECT_EQ(camera.pitch, before.pitch);
    }
    for (const double size : {0.0, -5.0}) {
        StudioCamera camera;
        camera.pan(3.0, 3.0, size);
        camera.zoom(0.0, 3.0, 3.0, size);
        camera.zoom(-1.0, 3.0, 3.0, size);
        expectSound(camera);
    }
}

TEST(StudioCamera, AnyRowOfMovesLeavesItSound) {
    RawRandom random(11);
    const auto points = boxCorners(40, 25, 30);
    for (int round = 0; round < 40; ++round) {
        StudioCamera camera = anyCamera(random);
        for (int step = 0; step < 200; ++step) {
            switch (random.below(7)) {
            case 0:
                camera.orbit(random.between(-9, 9), random.between(-9, 9));
                break;
            case 1:
                camera.pan(random.between(-5000, 5000), random.between(-5000, 5000), height);
                break;
            case 2:
                camera.zoom(std::exp(random.between(-8, 8)), random.between(-400, 400), random.between(-300, 300),
                            height);
                break;
            case 3:
                camera.look(static_cast<StudioSide>(random.below(7)));
                break;
            case 4:
                camera.fit(points, random.between(0.1, 9));
                break;
            case 5:
                camera.parallel = !camera.parallel;
                break;
            default:
                camera.follow({random.between(-500, 500), 10.0, random.between(-500, 500)},
                              {random.between(-1, 1), random.between(-1, 1), random.between(-1, 1)}, points);
                break;
            }
            expectSound(camera);
            const KivCamera rendered = camera.toCamera(points, 1.5);
            ASSERT_TRUE(std::isfinite(rendered.getFrustumNear()));
            ASSERT_GT(rendered.getFrustumFar(), rendered.getFrustumNear());
        }
    }
}
