#include "kivsoftdepth.h"

#include "../shapes.h"
#include "reference/literalsoftdepth.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <ctime>
#include <limits>
#include <random>

namespace {

KivSurface squareAt(double z, double from, double to) {
    KivSurface surface;
    surface.points = {{from, from, z}, {to, from, z}, {to, to, z}, {from, to, z}};
    surface.triangles = {{0, 1, 2}, {0, 2, 3}};
    return surface;
}

int countDrawn(KivSoftDepth& depth, int size) {
    int count = 0;
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            count += depth.at(x, y) < 1.0F ? 1 : 0;
        }
    }
    return count;
}

} // namespace

TEST(KivSoftDepth, IsEmptyAtFirstAndOutside) {
    KivSoftDepth depth(perspectiveView({0, 0, 8}, 0.5, 1.0, 20.0, 32), 0.0, 0.0);
    EXPECT_EQ(countDrawn(depth, 32), 0);
    EXPECT_EQ(depth.at(-1, 3), 1.0F);
    EXPECT_EQ(depth.at(3, 32), 1.0F);
}

TEST(KivSoftDepth, ASquareCoversItsPixelsAtItsDepth) {
    // 64 pixels show 4 units: the square from -1 to 1 covers the middle 32 by 32.
    const KivView view = parallelView({0, 0, 8}, 2.0, 1.0, 20.0, 64);
    KivSoftDepth depth(view, 0.0, 0.0);
    depth.draw(squareAt(0.5, -1.0, 1.0));
    const float expected = static_cast<float>(view.window(view.clip({0.0, 0.0, 0.5})).z);
    for (int y = 0; y < 64; ++y) {
        for (int x = 0; x < 64; ++x) {
            const bool inside = x >= 16 && x < 48 && y >= 16 && y < 48;
            EXPECT_NEAR(depth.at(x, y), inside ? expected : 1.0F, 1e-6F) << x << ", " << y;
        }
    }
}

TEST(KivSoftDepth, TheNearestCountsWhateverTheOrder) {
    const KivView view = perspectiveView({0, 0, 8}, 0.5, 1.0, 20.0, 64);
    for (const bool nearFirst : {true, false}) {
        KivSoftDepth depth(view, 0.0, 0.0);
        depth.draw(squareAt(nearFirst ? 2.0 : -2.0, -1.0, 1.0));
        depth.draw(squareAt(nearFirst ? -2.0 : 2.0, -1.0, 1.0));
        EXPECT_NEAR(depth.at(32, 32), view.window(view.clip({0.0, 0.0, 2.0})).z, 1e-6);
    }
}

// The depth at the middle of each pixel is that at which its ray meets the sphere.
TEST(KivSoftDepth, ASphereHasTheDepthsOfItsRays) {
    constexpr int size = 100;
    const KivView view = parallelView({0, 0, 8}, 1.5, 1.0, 20.0, size);
    KivSoftDepth depth(view, 0.0, 0.0);
    depth.draw(sphereSurface(60, 90));
    int compared = 0;
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            const double px = (x + 0.5 - size / 2.0) * 3.0 / size;
            const double py = (y + 0.5 - size / 2.0) * 3.0 / size;
            const double square = px * px + py * py;
            if (square > 1.01) {
                EXPECT_EQ(depth.at(x, y), 1.0F);
            } else if (square < 0.9) {
                const double z = std::sqrt(1.0 - square);
                EXPECT_NEAR(view.distance(depth.at(x, y)), 8.0 - z, 0.005);
                ++compared;
            }
        }
    }
    EXPECT_GT(compared, 2500);
}

TEST(KivSoftDepth, NeighboursLeaveNoGap) {
    // A fan of thin triangles with sides at all angles.
    KivSurface fan;
    fan.points.push_back({0.013, -0.021, 0.0});
    constexpr int sides = 251;
    for (int i = 0; i < sides; ++i) {
        const double angle = 2.0 * 3.14159265358979 * i / sides;
        fan.points.push_back({std::cos(angle), std::sin(angle), 0.0});
    }
    for (std::uint32_t i = 0; i < sides; ++i) {
        fan.triangles.push_back({0, 1 + i, 1 + (i + 1) % sides});
    }
    constexpr int size = 128;
    KivSoftDepth depth(parallelView({0, 0, 8}, 1.0, 1.0, 20.0, size), 0.0, 0.0);
    depth.draw(fan);
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            const double px = (x + 0.5) * 2.0 / size - 1.0;
            const double py = (y + 0.5) * 2.0 / size - 1.0;
            if (px * px + py * py < 0.99) {
                EXPECT_LT(depth.at(x, y), 1.0F) << x << ", " << y;
            }
        }
    }
}

TEST(KivSoftDepth, SurfacesArePushedBackByTheirSlopeAndBySteps) {
    const KivView view = parallelView({0, 0, 8}, 1.0, 1.0, 21.0, 100);
    KivSurface ramp = squareAt(0.0, -1.0, 1.0);
    ramp.points[1].z = ramp.points[2].z = 1.0; // rises by 1 over 2 units, which are 100 pixels
    KivSoftDepth plain(view, 0.0, 0.0);
    plain.draw(ramp);
    KivSoftDepth pushed(view, 3.0, 0.0);
    pushed.draw(ramp);
    KivSoftDepth stepped(view, 0.0, 1 << 20);
    stepped.draw(ramp);
    EXPECT_NEAR(view.distance(pushed.at(50, 50)) - view.distance(plain.at(50, 50)), 3.0 * 0.01, 1e-4);
    EXPECT_NEAR(stepped.at(50, 50) - plain.at(50, 50), 1.0 / 16.0, 1e-5);
}

TEST(KivSoftDepth, WhatLiesBeforeTheNearPlaneIsCutOff) {
    const KivView view = perspectiveView({0, 0, 8}, 0.5, 1.0, 20.0, 64);
    KivSoftDepth behind(view, 0.0, 0.0);
    behind.draw(squareAt(9.0, -1.0, 1.0));
    behind.draw(squareAt(7.5, -1.0, 1.0));
    EXPECT_EQ(countDrawn(behind, 64), 0);
    // A floor that runs from far below the view to behind the eye.
    KivSurface floor;
    floor.points = {{-50, -0.4, -10}, {50, -0.4, -10}, {50, -0.4, 30}, {-50, -0.4, 30}};
    floor.triangles = {{0, 1, 2}, {0, 2, 3}};
    KivSoftDepth depth(view, 0.0, 0.0);
    depth.draw(floor);
    for (int x = 0; x < 64; ++x) {
        EXPECT_LT(depth.at(x, 8), 1.0F);
        EXPECT_GT(depth.at(x, 20), depth.at(x, 8));
        EXPECT_EQ(depth.at(x, 40), 1.0F);
    }
}

TEST(KivSoftDepth, StrayCornersDrawNothing) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    KivSoftDepth depth(perspectiveView({0, 0, 8}, 0.5, 1.0, 20.0, 16), 2.5, 5.0);
    KivSurface odd;
    odd.points = {{nan, 0, 0}, {0, 1, 0}, {1, 0, 0}, {0, 0, 0}, {1e300, 1e300, 1e300}, {0, 0, 8}};
    odd.triangles = {{0, 1, 2}, {1, 1, 1}, {4, 4, 4}, {5, 5, 5}};
    depth.draw(odd);
    EXPECT_EQ(countDrawn(depth, 16), 0);
}

TEST(KivSoftDepth, PartsAreReadAsTheyAre) {
    KivSoftDepth depth(parallelView({0, 0, 8}, 2.0, 1.0, 20.0, 64), 0.0, 0.0);
    depth.draw(squareAt(0.5, -1.0, 1.0));
    KivDepthImage::Span span;
    span.left = 10;
    span.bottom = 14;
    span.width = 20;
    span.height = 5;
    span.values.resize(100);
    depth.read(span);
    for (int y = 0; y < 5; ++y) {
        for (int x = 0; x < 20; ++x) {
            EXPECT_EQ(span.values[static_cast<std::size_t>(y * 20 + x)], depth.at(10 + x, 14 + y));
        }
    }
}

// Triangles large and small, needles, and such as reach far out of the picture.
KivSurface anyTriangles(std::uint32_t seed) {
    std::mt19937 words(seed);
    const auto number = [&words](double range) { return range * (static_cast<double>(words()) / 0x80000000U - 1.0); };
    KivSurface surface;
    const std::uint32_t count = 1 + static_cast<std::uint32_t>(words() % 60);
    for (std::uint32_t i = 0; i < 3 * count; i += 3) {
        const std::uint32_t kind = static_cast<std::uint32_t>(words() % 5);
        const double range = kind == 0 ? 0.1 : kind == 1 ? 1e5 : kind == 2 ? 1e9 : 3.0;
        const KivVec first = {number(3.0), number(3.0), number(3.0)};
        surface.points.push_back(first);
        surface.points.push_back({first.x + number(range), first.y + number(range), number(3.0)});
        surface.points.push_back(kind == 3 ? KivVec{first.x + 1e-7, first.y, number(3.0)}
                                           : KivVec{first.x + number(range), first.y + number(range), number(3.0)});
        surface.triangles.push_back({i, i + 1, i + 2});
    }
    return surface;
}

TEST(KivSoftDepth, IsThatOfTheLiteralForm) {
    std::size_t drawn = 0;
    for (std::uint32_t seed = 0; seed < 300; ++seed) {
        const int size = seed % 3 == 0 ? 150 : 64;
        const KivView view = seed % 2 == 0 ? parallelView({0, 0, 8}, 3.0, 1.0, 20.0, size)
                                           : perspectiveView({0, 0, 8}, 0.5, 1.0, 20.0, size);
        const double slopes = seed % 4 == 0 ? 1.0 : 0.0;
        KivSoftDepth depth(view, slopes, 4.0 * slopes);
        LiteralSoftDepth literal(view, slopes, 4.0 * slopes);
        for (const std::uint32_t part : {0U, 1U}) {
            depth.draw(anyTriangles(2 * seed + part));
            literal.draw(anyTriangles(2 * seed + part));
        }
        for (int y = 0; y < size; ++y) {
            for (int x = 0; x < size; ++x) {
                ASSERT_EQ(depth.at(x, y), literal.at(x, y)) << "seed " << seed << " at " << x << ", " << y;
                drawn += depth.at(x, y) < 1.0F ? 1U : 0U;
            }
        }
    }
    EXPECT_GT(drawn, 300000U);
}

// Hidden triangles are not drawn pixel by pixel, which would take 250 times as long for 500 sheets as for two.
TEST(KivSoftDepth, WhatIsHiddenCostsLittle) {
    const KivView view = parallelView({0, 0, 8}, 1.0, 1.0, 20.0, 1600);
    const auto timeOf = [&view](int sheets) {
        double best = 1e9;
        for (int run = 0; run < 3; ++run) {
            KivSoftDepth depth(view, 0.0, 0.0);
            for (int i = 0; i < sheets; ++i) {
                depth.draw(squareAt(-1.0 + i * 0.001, -0.9, 0.9));
            }
            const std::clock_t begin = std::clock();
            EXPECT_LT(depth.at(800, 800), 1.0F);
            best = std::min(best, static_cast<double>(std::clock() - begin));
        }
        return best;
    };
    EXPECT_LT(timeOf(500), 100.0 * timeOf(2));
}
