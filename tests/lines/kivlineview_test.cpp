#include "kivrender/lines/kivlineview.h"

#include "linecameras.h"
#include "support/rawrandom.h"
#include "support/raycaster.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

KivVec vecOf(const RayCaster::Vec& v) {
    return {v[0], v[1], v[2]};
}

TEST(KivLineView, PutsPointsWhereTheRaysThroughThePictureRun) {
    RawRandom random(1);
    for (const auto kind : {KivCamera::perspective, KivCamera::orthographic}) {
        KivCamera camera = lineCamera(kind, {3.0, 4.0, -5.0}, 0.7, 1.5, 40.0);
        camera.setFrustumLeft(-0.2); // off the middle
        const KivLineView view(camera, 640.0, 480.0);
        ASSERT_TRUE(view.seesAnything());
        for (int i = 0; i < 200; ++i) {
            const double x = random.between(0.0, 1.0);
            const double y = random.between(0.0, 1.0);
            const RayCaster::Ray ray = RayCaster::through(camera, x, y);
            const double along = random.between(1.5, 20.0);
            const KivVec point = vecOf(RayCaster::add(ray.origin, RayCaster::scaled(ray.direction, along)));
            const KivPicturePoint place = view.toPicture(view.toCamera(point));
            EXPECT_NEAR(place.x, x * 640.0, 1e-9);
            EXPECT_NEAR(place.y, y * 480.0, 1e-9);
            const KivVec back = view.toSpace(place, view.toCamera(point).z);
            EXPECT_NEAR(kivLength(back - point), 0.0, 1e-9);
        }
    }
}

TEST(KivLineView, ClipsAtAllSixSides) {
    // At a distance of 2 the picture reaches from -2 to 2 in perspective, from -1 to 1 without.
    const KivLineView perspective(lineCamera(KivCamera::perspective, {0.0, 0.0, 1.0}, 1.0, 1.0, 10.0), 100.0, 100.0);
    const KivLineView parallel(lineCamera(KivCamera::orthographic, {0.0, 0.0, 1.0}, 1.0, 1.0, 10.0), 100.0, 100.0);
    double from = 0.0;
    double to = 0.0;
    ASSERT_TRUE(perspective.clip({-4.0, 0.0, 2.0}, {4.0, 0.0, 2.0}, &from, &to));
    EXPECT_DOUBLE_EQ(from, 0.25);
    EXPECT_DOUBLE_EQ(to, 0.75);
    ASSERT_TRUE(parallel.clip({0.0, -4.0, 2.0}, {0.0, 4.0, 2.0}, &from, &to));
    EXPECT_DOUBLE_EQ(from, 0.375);
    EXPECT_DOUBLE_EQ(to, 0.625);
    // A little more room at the far end than the camera says, as pictures have it: 11.
    ASSERT_TRUE(perspective.clip({0.0, 0.0, -9.0}, {0.0, 0.0, 31.0}, &from, &to));
    EXPECT_DOUBLE_EQ(from, 0.25);
    EXPECT_DOUBLE_EQ(to, 0.5);
    EXPECT_FALSE(perspective.clip({-4.0, 0.0, 2.0}, {-3.0, 9.0, 2.0}, &from, &to));
    EXPECT_FALSE(perspective.clip({0.0, 0.0, 0.5}, {0.0, 0.0, -3.0}, &from, &to));
    EXPECT_FALSE(perspective.clip({0.0, 0.0, 0.5}, {0.0, std::numeric_limits<double>::quiet_NaN(), 3.0}, &from, &to));
}

TEST(KivLineView, FindsAnotherUpWhenUpRunsAlongTheDirection) {
    const KivLineView view(lineCamera(KivCamera::perspective, {0.0, 8.0, 0.0}, 0.5, 1.0, 40.0), 200.0, 200.0);
    ASSERT_TRUE(view.seesAnything());
    const KivPicturePoint middle = view.toPicture(view.toCamera({0.0, 0.0, 0.0}));
    EXPECT_DOUBLE_EQ(middle.x, 100.0);
    EXPECT_DOUBLE_EQ(middle.y, 100.0);
    const KivPicturePoint aside = view.toPicture(view.toCamera({1.0, 0.0, 0.0}));
    EXPECT_NEAR(std::hypot(aside.x - 100.0, aside.y - 100.0), 25.0, 1e-9);
}

TEST(KivLineView, DirectionsOfAnyLengthAreDirections) {
    for (const double length : {1e-300, 1e-9, 1.0, 1e200}) {
        KivCamera camera = lineCamera(KivCamera::orthographic, {0.0, 0.0, 5.0}, 1.0, 1.0, 10.0);
        camera.setDirection({0.0, 0.0, -length});
        camera.setUp({0.0, length, 0.0});
        const KivLineView view(camera, 100.0, 100.0);
        ASSERT_TRUE(view.seesAnything()) << length;
        EXPECT_DOUBLE_EQ(view.toPicture(view.toCamera({0.5, 0.0, 0.0})).x, 75.0) << length;
    }
}

TEST(KivLineView, ACameraThatIsNoneSeesNothing) {
    const auto sees = [](auto change) {
        KivCamera camera = lineCamera(KivCamera::perspective, {0.0, 0.0, 5.0}, 1.0, 1.0, 10.0);
        change(camera);
        return KivLineView(camera, 100.0, 100.0).seesAnything();
    };
    EXPECT_TRUE(sees([](KivCamera&) {}));
    EXPECT_FALSE(sees([](KivCamera& c) { c.setDirection({0.0, 0.0, 0.0}); }));
    EXPECT_FALSE(sees([](KivCamera& c) { c.setFrustumRight(-1.0); }));
    EXPECT_FALSE(sees([](KivCamera& c) { c.setFrustumNear(0.0); }));
    EXPECT_FALSE(sees([](KivCamera& c) { c.setFrustumFar(0.5); }));
    EXPECT_FALSE(sees([](KivCamera& c) { c.setLocation({std::numeric_limits<double>::infinity(), 0.0, 0.0}); }));
    EXPECT_FALSE(sees([](KivCamera& c) { c.setFrustumTop(std::numeric_limits<double>::quiet_NaN()); }));
    EXPECT_FALSE(KivLineView().seesAnything());
}

} // namespace
