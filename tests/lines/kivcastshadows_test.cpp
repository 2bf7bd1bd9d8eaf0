#include "kivrender/lines/kivcastshadows.h"

#include "kivrender/lines/kivvisibleregions.h"
#include "support/pollcounter.h"
#include "support/rawrandom.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

namespace {

// The picture looks straight down: a unit is a pixel, and what is higher is nearer.
constexpr double size = 100.0;
constexpr KivProjectiveMap fromAbove = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, -0.01, 1, 0, 0, 0, 1};
constexpr std::uint32_t dark = 10; // added to a look for each light that is lost

using Triangle = std::array<KivVec, 3>;

struct World {
    std::vector<std::pair<Triangle, std::uint32_t>> triangles;
    std::vector<KivVec> lights;

    void addSquare(double left, double bottom, double side, double height, std::uint32_t look) {
        const KivVec a = {left, bottom, height};
        const KivVec b = {left + side, bottom, height};
        const KivVec c = {left + side, bottom + side, height};
        const KivVec d = {left, bottom + side, height};
        triangles.push_back({{a, b, c}, look});
        triangles.push_back({{a, c, d}, look});
    }
    std::vector<KivVisibleRegion> regions() const {
        KivCastShadows shadows(fromAbove);
        KivVisibleRegions picture(size, size);
        picture.setTolerance(0.001);
        for (const auto& [corners, look] : triangles) {
            shadows.addCaster(corners);
            std::vector<KivSeenCorner> seen;
            for (const KivVec& p : corners) {
                seen.push_back({p.x, p.y, 1.0 - 0.01 * p.z});
            }
            picture.add(seen, look);
        }
        for (const KivVec& light : lights) {
            shadows.addLight(light);
        }
        picture.setShadows(
            &shadows, [](std::uint32_t look, unsigned int lost, double, double) { return look + dark * lost; }, [] {});
        found = picture.find();
        return picture.regions();
    }
    double areaOf(std::uint32_t look) const {
        double sum = 0.0;
        for (const KivVisibleRegion& region : regions()) {
            sum += region.look == look ? region.area : 0.0;
        }
        EXPECT_TRUE(found);
        return sum;
    }

    mutable bool found = false;
};

World squareOverFloor() {
    World world;
    world.addSquare(0, 0, 100, 0, 1);
    world.addSquare(40, 40, 10, 20, 2);
    return world;
}

TEST(CastShadows, OfASquareIsTwiceAsLargeOnAFloorTwiceAsFarAway) {
    World world = squareOverFloor();
    world.lights = {{20, 45, 40}}; // the shadow lies from 60 to 80 and from 35 to 55
    EXPECT_NEAR(world.areaOf(1 + dark), 400.0, 0.1);
    EXPECT_NEAR(world.areaOf(1), 9500.0, 0.1);
    EXPECT_NEAR(world.areaOf(2), 100.0, 0.1) << "the square itself is lit";
    EXPECT_NEAR(world.areaOf(2 + dark), 0.0, 0.1);
}

TEST(CastShadows, OfALightFarAwayIsAsLargeAsWhatCastsIt) {
    World world = squareOverFloor();
    world.lights = {{45 - 1e5, 45, 1e5 + 10}};
    EXPECT_NEAR(world.areaOf(1 + dark), 100.0, 0.2);
}

TEST(CastShadows, OfTwoLightsAddUp) {
    World world = squareOverFloor();
    world.lights = {{20, 45, 40}, {25, 45, 40}}; // the shadows begin at 60 and at 55
    EXPECT_NEAR(world.areaOf(1 + dark), 200.0, 0.2);
    EXPECT_NEAR(world.areaOf(1 + 2 * dark), 300.0, 0.2);
}

TEST(CastShadows, OfALightAmongThingsFallToAllSides) {
    World world;
    world.addSquare(0, 0, 100, 0, 1);
    for (const double left : {20.0, 70.0}) {
        world.addSquare(left, 45, 10, 5, 2);
    }
    world.lights = {{50, 50, 10}};
    // The left one shades from -10 to 10, of which the floor has a half, the right one from 90 to 110.
    EXPECT_NEAR(world.areaOf(1 + dark), 2.0 * 10 * 20, 0.5);
}

TEST(CastShadows, TheSideThatIsTurnedAwayIsInShadow) {
    World world;
    world.addSquare(10, 10, 50, 0, 1);
    world.lights = {{30, 30, -40}};
    EXPECT_NEAR(world.areaOf(1 + dark), 2500.0, 0.1);
}

TEST(CastShadows, ALightOrATriangleWithoutNumbersDoesNotCount) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    KivCastShadows shadows(fromAbove);
    shadows.addCaster({KivVec{0, 0, nan}, KivVec{1, 0, 0}, KivVec{0, 1, 0}});
    shadows.addLight({0, 0, 10});
    EXPECT_EQ(shadows.numLights(), 0U) << "nothing casts a shadow";
    shadows.addCaster({KivVec{0, 0, 0}, KivVec{1, 0, 0}, KivVec{0, 1, 0}});
    shadows.addLight({0, nan, 10});
    EXPECT_EQ(shadows.numLights(), 0U);
    shadows.addLight({0, 0, 10});
    EXPECT_EQ(shadows.numLights(), 1U);
}

// Where a straight line from a place to the light meets none of the triangles (Moeller and Trumbore, 1997).
bool isReached(const World& world, const KivVec& place, const KivVec& light) {
    const KivVec way = light - place;
    for (const auto& [t, look] : world.triangles) {
        const KivVec first = t[1] - t[0];
        const KivVec second = t[2] - t[0];
        const KivVec across = kivCross(way, second);
        const double scale = kivDot(first, across);
        const KivVec from = place - t[0];
        const double u = kivDot(from, across) / scale;
        const KivVec upright = kivCross(from, first);
        const double v = kivDot(way, upright) / scale;
        const double at = kivDot(second, upright) / scale;
        if (u >= 0.0 && v >= 0.0 && u + v <= 1.0 && at > 1e-6 && at < 1.0) {
            return false;
        }
    }
    return true;
}

class ShadowSoup : public testing::TestWithParam<int> {};

TEST_P(ShadowSoup, IsAsRaysHaveIt) {
    RawRandom random(static_cast<std::uint32_t>(GetParam()) + 77);
    World world;
    world.addSquare(0, 0, 100, 0, 1);
    for (std::uint32_t i = 0; i < 12; ++i) {
        Triangle corners;
        for (KivVec& corner : corners) {
            corner = {random.between(10, 60), random.between(20, 80), random.between(5, 30)};
        }
        world.triangles.push_back({corners, 2});
    }
    world.lights = {{random.between(-20, 0), random.between(20, 80), 60}};
    double lit = 0.0;
    for (const KivVisibleRegion& region : world.regions()) {
        lit += region.look == 1 ? region.area : 0.0;
    }
    int reached = 0;
    constexpr int across = 250;
    for (int i = 0; i < across * across; ++i) {
        const KivVec place = {(i % across + 0.5) * size / across, (i / across + 0.5) * size / across, 0};
        // The floor alone, as far as it is seen from above.
        reached += isReached(world, place, {place.x, place.y, 1000}) && isReached(world, place, world.lights[0]);
    }
    EXPECT_NEAR(lit, reached * size * size / (across * across), 20.0) << "of 10000 square pixels";
    EXPECT_LT(lit, 9500.0);
}

INSTANTIATE_TEST_SUITE_P(Seeds, ShadowSoup, testing::Range(0, 12));

TEST(CastShadows, ACancelAtAnyPollGivesNothing) {
    World world = squareOverFloor();
    world.lights = {{20, 45, 40}};
    PollCounter all;
    {
        const ScopedProgress shown(all);
        world.regions();
    }
    ASSERT_TRUE(world.found);
    ASSERT_GT(all.polls, 10);
    for (long poll = 1; poll <= all.polls; ++poll) {
        PollCounter counter(poll);
        const ScopedProgress shown(counter);
        EXPECT_THAT(world.regions(), testing::IsEmpty());
        EXPECT_FALSE(world.found);
    }
}

} // namespace
