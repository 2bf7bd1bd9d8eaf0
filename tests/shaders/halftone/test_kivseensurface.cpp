#include "kivseensurface.h"

#include "halftoneshapes.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

constexpr int side = 200;

// From -2 to 2, so that a unit has 50 pixels.
KivView front() {
    return parallelView({0.0, 0.0, 10.0}, 2.0, 1.0, 20.0, side);
}

} // namespace

TEST(KivSeenSurface, SeesABallAsItIs) {
    const KivShadedMesh ball = shadedMesh(sphereSurface(40, 60), true);
    for (const KivView& view : {front(), perspectiveView({0.0, 0.0, 10.0}, 0.2, 1.0, 20.0, side)}) {
        KivSeenSurface surface(view, {0, 0, side, side});
        ASSERT_TRUE(surface.add(ball, 3));
        int covered = 0;
        for (int y = 0; y < side; ++y) {
            for (int x = 0; x < side; ++x) {
                const auto point = surface.at(x + 0.5, y + 0.5);
                EXPECT_EQ(surface.bodyAt(x + 0.5, y + 0.5), point ? 3U : 0U);
                if (!point) {
                    continue;
                }
                ++covered;
                EXPECT_NEAR(kivLength(point->place), 1.0, 5e-3);
                EXPECT_NEAR(kivDot(point->normal, kivUnit(point->place)), 1.0, 1e-3);
                const KivWindowPoint back = view.window(view.clip(point->place));
                EXPECT_NEAR(back.x, x + 0.5, 1e-3);
                EXPECT_NEAR(back.y, y + 0.5, 1e-3);
                EXPECT_GT(kivDot(point->normal, view.toViewer(point->place)), -0.05) << "the near side";
            }
        }
        EXPECT_NEAR(covered, 3.14159 * 50.0 * 50.0, 120.0);
    }
}

TEST(KivSeenSurface, NothingFallsBetweenNeighbours) {
    const KivShadedMesh ball = shadedMesh(sphereSurface(60, 90), true);
    KivSeenSurface surface(front(), {0, 0, side, side});
    ASSERT_TRUE(surface.add(ball, 1));
    for (int y = 66; y < 134; ++y) {
        for (int x = 66; x < 134; ++x) {
            EXPECT_EQ(surface.bodyAt(x, y), 1U);
        }
    }
}

TEST(KivSeenSurface, TheNearerHidesTheFarther) {
    const KivShadedMesh far = upright(1.0, -1.0);
    const KivShadedMesh near = upright(0.5, 1.0);
    for (const bool isFarFirst : {true, false}) {
        KivSeenSurface surface(front(), {0, 0, side, side});
        ASSERT_TRUE(surface.add(isFarFirst ? far : near, isFarFirst ? 1 : 2));
        ASSERT_TRUE(surface.add(isFarFirst ? near : far, isFarFirst ? 2 : 1));
        EXPECT_EQ(surface.bodyAt(100.0, 100.0), 2U);
        EXPECT_EQ(surface.bodyAt(60.0, 100.0), 1U);
        EXPECT_EQ(surface.bodyAt(40.0, 100.0), 0U);
        EXPECT_EQ(surface.bodyAt(-5.0, 100.0), 0U);
        EXPECT_EQ(surface.bodyAt(100.0, 900.0), 0U);
    }
}

TEST(KivSeenSurface, TheFarSideOfASheetIsLitFromThere) {
    const KivShadedMesh sheet = upright(1.0);
    KivSeenSurface surface(parallelView({0.0, 0.0, -10.0}, 2.0, 1.0, 20.0, side), {0, 0, side, side});
    ASSERT_TRUE(surface.add(sheet, 1));
    const auto point = surface.at(100.0, 100.0);
    ASSERT_TRUE(point);
    EXPECT_NEAR(point->normal.z, -1.0, 1e-12);
}

TEST(KivSeenSurface, WhatBeginsBehindTheEyeIsSeenInFrontOfIt) {
    KivSurface floor;
    floor.points = {{-50.0, -1.0, -50.0}, {50.0, -1.0, -50.0}, {50.0, -1.0, 50.0}, {-50.0, -1.0, 50.0}};
    floor.triangles = {{0, 2, 1}, {0, 3, 2}};
    const KivShadedMesh mesh = shadedMesh(floor, false);
    const KivView view = perspectiveView({0.0, 0.0, 10.0}, 0.5, 1.0, 200.0, side);
    KivSeenSurface surface(view, {0, 0, side, side});
    ASSERT_TRUE(surface.add(mesh, 1));
    const auto point = surface.at(100.5, 10.5);
    ASSERT_TRUE(point);
    EXPECT_NEAR(point->place.y, -1.0, 1e-9);
    EXPECT_LT(point->place.z, 10.0);
    EXPECT_EQ(surface.bodyAt(100.5, 150.5), 0U) << "above the horizon";
}

TEST(KivSeenSurface, GoesAsFarAsTheSurfaceReaches) {
    const KivShadedMesh sheet = upright(1.0);
    KivSeenSurface surface(front(), {0, 0, side, side});
    ASSERT_TRUE(surface.add(sheet, 1));
    EXPECT_DOUBLE_EQ(surface.reach(100.0, 100.0, 1.0, 0.0, 20.0), 20.0);
    EXPECT_NEAR(surface.reach(140.0, 100.0, 1.0, 0.0, 20.0), 10.0, 1.0);
    EXPECT_NEAR(surface.reach(100.0, 60.0, 0.0, -1.0, 20.0), 10.0, 1.0);
    EXPECT_NEAR(surface.reach(140.0, 140.0, std::sqrt(0.5), std::sqrt(0.5), 90.0), 10.0 * std::sqrt(2.0), 1.5);
}

// A step behind another body, a step of its own and a sharp bend all end a surface; a round one goes on to its rim.
TEST(KivSeenSurface, EndsWhereSomethingIsInBetween) {
    const KivShadedMesh far = upright(1.0, -1.0);
    const KivShadedMesh near = upright(0.5, 1.0);
    for (const std::uint32_t body : {1U, 2U}) {
        KivSeenSurface surface(front(), {0, 0, side, side});
        ASSERT_TRUE(surface.add(far, 1));
        ASSERT_TRUE(surface.add(near, body));
        EXPECT_NEAR(surface.reach(115.0, 100.0, 1.0, 0.0, 40.0), 10.0, 1.0) << body;
        EXPECT_NEAR(surface.reach(140.0, 100.0, -1.0, 0.0, 40.0), 15.0, 1.0) << body;
    }
    const KivShadedMesh cube = shadedMesh(cubeSurface(0.7), false);
    KivSeenSurface corner(parallelView({10.0, 0.0, 10.0}, 2.0, 1.0, 40.0, side), {0, 0, side, side});
    ASSERT_TRUE(corner.add(cube, 1));
    EXPECT_NEAR(corner.reach(110.0, 100.0, -1.0, 0.0, 40.0), 10.0, 1.0) << "the edge between two sides";
    const KivShadedMesh ball = shadedMesh(sphereSurface(60, 90), true);
    KivSeenSurface round(front(), {0, 0, side, side});
    ASSERT_TRUE(round.add(ball, 1));
    EXPECT_NEAR(round.reach(100.0, 100.0, 1.0, 0.0, 90.0), 50.0, 3.5);
}

// A part of a picture is seen as in the whole.
TEST(KivSeenSurface, APartIsThatOfTheWhole) {
    const KivShadedMesh ball = shadedMesh(sphereSurface(30, 40), true);
    KivSeenSurface whole(front(), {0, 0, side, side});
    KivSeenSurface part(front(), {70, 90, 50, 40});
    ASSERT_TRUE(whole.add(ball, 1) && part.add(ball, 1));
    for (int y = 90; y < 130; ++y) {
        for (int x = 70; x < 120; ++x) {
            const auto a = whole.at(x + 0.3, y + 0.6);
            const auto b = part.at(x + 0.3, y + 0.6);
            ASSERT_TRUE(a && b);
            EXPECT_EQ(a->place.x, b->place.x);
            EXPECT_EQ(a->normal.y, b->normal.y);
        }
    }
}
