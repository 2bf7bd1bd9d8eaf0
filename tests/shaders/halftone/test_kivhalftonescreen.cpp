#include "kivhalftonescreen.h"

#include "halftoneshapes.h"
#include "kivhalftonesettings.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>
#include <utility>

namespace {

constexpr int side = 200;

bool isAny(std::uint32_t) {
    return true;
}

double areaOf(const KivHalftoneShape& shape) {
    if (shape.radius > 0.0) {
        return std::numbers::pi * shape.radius * shape.radius;
    }
    double twice = 0.0;
    for (std::size_t i = 0; i < shape.ring.size(); ++i) {
        const KivPicturePoint& a = shape.ring[i];
        const KivPicturePoint& b = shape.ring[(i + 1) % shape.ring.size()];
        twice += a.x * b.y - a.y * b.x;
    }
    return std::abs(twice) * 0.5;
}

// A sheet of 100 by 100 pixels in the middle of the picture.
class Sheet : public testing::Test {
protected:
    Sheet() {
        EXPECT_TRUE(surface.add(mesh, 1));
    }
    std::vector<KivHalftoneShape> print(const KivHalftoneScreen& screen, double light) const {
        return kivHalftone(screen, surface, isAny, [light](const KivVec&, const KivVec&) { return light; });
    }
    static double coverage(const std::vector<KivHalftoneShape>& shapes) {
        double sum = 0.0;
        for (const KivHalftoneShape& shape : shapes) {
            sum += areaOf(shape);
        }
        return sum / 1e4;
    }
    static KivHalftoneScreen screenOf(KivHalftonePattern pattern) {
        KivHalftoneScreen screen;
        screen.pattern = pattern;
        screen.spacing = pattern == KivHalftonePattern::stipple ? 3.0 : 6.0;
        return screen;
    }

    KivShadedMesh mesh = upright(1.0);
    KivSeenSurface surface{parallelView({0.0, 0.0, 10.0}, 2.0, 1.0, 20.0, side), {0, 0, side, side}};
};

} // namespace

TEST(KivHalftone, InkGrowsAsItGetsDarker) {
    KivHalftoneScreen screen;
    screen.tone = 0.5;
    screen.ink = 0.6;
    EXPECT_EQ(kivHalftoneInk(screen, 1.0), 0.0);
    EXPECT_EQ(kivHalftoneInk(screen, 0.5), 0.0);
    EXPECT_DOUBLE_EQ(kivHalftoneInk(screen, 0.0), 0.6);
    EXPECT_NEAR(kivHalftoneInk(screen, 0.32), 0.3, 1e-12);
    screen.levels = 2;
    EXPECT_DOUBLE_EQ(kivHalftoneInk(screen, 0.49), 0.3);
    EXPECT_DOUBLE_EQ(kivHalftoneInk(screen, 0.33), 0.3);
    EXPECT_DOUBLE_EQ(kivHalftoneInk(screen, 0.31), 0.6);
    EXPECT_EQ(kivHalftoneInk(screen, 0.51), 0.0);
}

TEST(KivHalftone, InkShowsWhatLiesUnderIt) {
    EXPECT_EQ(kivInkOn(0x204080, 0x102030, 0.0), 0x204080U);
    EXPECT_EQ(kivInkOn(0xFF8000, 0x80FF40, 1.0), 0x808000U);
    EXPECT_EQ(kivInkOn(0xFFFFFF, 0x000000, 0.5), 0x808080U);
}

TEST_F(Sheet, CoversSoMuchAsTheToneAsksFor) {
    for (const KivHalftonePattern pattern : {KivHalftonePattern::dots, KivHalftonePattern::lines}) {
        for (const double ink : {0.15, 0.4, 0.7}) {
            for (const double angle : {0.0, 30.0, 45.0}) {
                KivHalftoneScreen screen = screenOf(pattern);
                screen.ink = ink;
                screen.angle = angle;
                EXPECT_NEAR(coverage(print(screen, 0.0)), ink, 0.045) << angle;
            }
        }
    }
    KivHalftoneScreen stipple = screenOf(KivHalftonePattern::stipple);
    stipple.ink = 0.4;
    const double dark = coverage(print(stipple, 0.0));
    const double middle = coverage(print(stipple, stipple.tone * 0.64));
    EXPECT_NEAR(dark, 0.4, 0.06);
    EXPECT_NEAR(middle, 0.2, 0.06);
}

TEST_F(Sheet, NothingIsPrintedInTheLightOrOnOthers) {
    for (int i = 0; i < 4; ++i) {
        const KivHalftoneScreen screen = screenOf(static_cast<KivHalftonePattern>(i));
        EXPECT_TRUE(print(screen, 0.9).empty());
        const auto light = [](const KivVec&, const KivVec&) { return 0.0; };
        EXPECT_TRUE(kivHalftone(
                        screen, surface, [](std::uint32_t body) { return body == 2; }, light)
                        .empty());
    }
}

// The sheet spans 50 to 150; shapes may go half a pixel beyond, and one for where a pixel ends.
TEST_F(Sheet, ShapesEndWhereTheSurfaceDoes) {
    for (int i = 0; i < 4; ++i) {
        const KivHalftoneScreen screen = screenOf(static_cast<KivHalftonePattern>(i));
        const std::vector<KivHalftoneShape> shapes = print(screen, 0.0);
        ASSERT_GT(shapes.size(), 10U);
        for (const KivHalftoneShape& shape : shapes) {
            EXPECT_EQ(shape.body, 1U);
            std::vector<KivPicturePoint> points = shape.ring;
            if (shape.radius > 0.0) {
                points = {{shape.middle.x - shape.radius, shape.middle.y - shape.radius},
                          {shape.middle.x + shape.radius, shape.middle.y + shape.radius}};
            }
            for (const KivPicturePoint& p : points) {
                EXPECT_TRUE(p.x > 48.4 && p.x < 151.6 && p.y > 48.4 && p.y < 151.6) << i << ": " << p.x << ' ' << p.y;
            }
        }
    }
}

TEST_F(Sheet, TheDarkestIsCrossed) {
    KivHalftoneScreen screen = screenOf(KivHalftonePattern::crossed);
    const auto isCrossing = [](const KivHalftoneShape& shape) { return shape.isCrossing; };
    const std::vector<KivHalftoneShape> dark = print(screen, 0.0);
    EXPECT_GT(std::count_if(dark.begin(), dark.end(), isCrossing), 10);
    const std::vector<KivHalftoneShape> lighter = print(screen, 0.5);
    EXPECT_EQ(std::count_if(lighter.begin(), lighter.end(), isCrossing), 0);
    EXPECT_FALSE(lighter.empty());
}

TEST_F(Sheet, DotsOfAPenLieApart) {
    KivHalftoneScreen screen = screenOf(KivHalftonePattern::stipple);
    screen.ink = 0.7;
    const std::vector<KivHalftoneShape> shapes = print(screen, 0.0);
    for (std::size_t i = 0; i < shapes.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            if (shapes[i].radius > 0.0 && shapes[j].radius > 0.0) {
                EXPECT_GT(std::hypot(shapes[i].middle.x - shapes[j].middle.x, shapes[i].middle.y - shapes[j].middle.y),
                          shapes[i].radius + shapes[j].radius);
            }
        }
    }
}

// What moves, moves under a screen that stays, and a darker tone has the dots of a lighter one.
TEST_F(Sheet, TheScreenIsThatOfThePaper) {
    const KivShadedMesh moved = upright(0.8);
    KivSeenSurface other(parallelView({0.0, 0.0, 10.0}, 2.0, 1.0, 20.0, side), {0, 0, side, side});
    ASSERT_TRUE(other.add(moved, 1));
    for (const KivHalftonePattern pattern : {KivHalftonePattern::dots, KivHalftonePattern::stipple}) {
        KivHalftoneScreen screen = screenOf(pattern);
        screen.ink = 0.3;
        const std::vector<KivHalftoneShape> all = print(screen, 0.0);
        const auto light = [](const KivVec&, const KivVec&) { return 0.2; };
        for (const KivHalftoneShape& shape : kivHalftone(screen, other, isAny, light)) {
            const bool isThere = std::any_of(all.begin(), all.end(), [&shape](const KivHalftoneShape& in) {
                return std::hypot(in.middle.x - shape.middle.x, in.middle.y - shape.middle.y) < 1e-9;
            });
            EXPECT_TRUE(isThere);
        }
    }
}

// In a film the light on a surface changes a little from frame to frame.
TEST_F(Sheet, DotsOfAPenGrow) {
    const KivHalftoneScreen screen = screenOf(KivHalftonePattern::stipple);
    std::map<std::pair<double, double>, double> before;
    double largest = 0.0;
    constexpr int steps = 100;
    for (int step = 0; step <= steps; ++step) {
        std::map<std::pair<double, double>, double> radii;
        for (const KivHalftoneShape& shape : print(screen, screen.tone * (0.7 - 0.1 * step / steps))) {
            radii[{shape.middle.x, shape.middle.y}] = shape.radius;
            largest = std::max(largest, shape.radius);
        }
        for (const auto& [middle, radius] : radii) {
            const auto found = before.find(middle);
            const double grown = radius - (found != before.end() ? found->second : 0.0);
            EXPECT_TRUE(step == 0 || grown < 0.65) << step << ": " << grown; // a dot begins at 0.4 pixels
        }
        before = std::move(radii);
    }
    EXPECT_GT(largest, 0.9);
}
