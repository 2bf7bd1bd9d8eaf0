#include "apps/cli/camerapath.h"
#include "apps/cli/turntable.h"
#include "apps/common/filmpalette.h"
#include "kivrender/platform/kivimage.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace {

TEST(CameraPathTest, GoesThroughItsKeysAndEvenlyAlongALine) {
    const CameraPath path("# a drive\n0 0,0,10 0 0 0\n1  1 0 10   0 0 0 40\n\n3  3 0 10  0 0 0 20 # end\n", "p");
    EXPECT_DOUBLE_EQ(path.begin(), 0.0);
    EXPECT_DOUBLE_EQ(path.end(), 3.0);
    for (const double time : {0.0, 0.3, 1.0, 2.0, 2.9, 3.0}) {
        EXPECT_NEAR(path.at(time).eye.x, time, 1e-12) << time;
        EXPECT_NEAR(path.at(time).eye.z, 10.0, 1e-12);
    }
    EXPECT_DOUBLE_EQ(path.at(-5.0).eye.x, 0.0);
    EXPECT_DOUBLE_EQ(path.at(9.0).eye.x, 3.0);
    EXPECT_DOUBLE_EQ(*path.at(2.0).fov, 30.0);
    EXPECT_DOUBLE_EQ(*path.at(0.5).fov, 40.0) << "the one key of the two that has it";
}

TEST(CameraPathTest, HasNoKinkAtAKey) {
    const CameraPath path("0 0 0 10 0 0 0\n1 2 0 10 0 0 0\n3 1 0 10 0 0 0\n4 5 0 10 0 0 0\n", "p");
    constexpr double h = 1e-5;
    for (const double key : {1.0, 3.0}) {
        const double before = (path.at(key).eye.x - path.at(key - h).eye.x) / h;
        const double after = (path.at(key + h).eye.x - path.at(key).eye.x) / h;
        EXPECT_NEAR(before, after, 1e-3) << key;
    }
}

TEST(CameraPathTest, MistakesAreToldWithTheirLine) {
    for (const auto& [text, message] : std::vector<std::pair<std::string, std::string>>{
             {"0 0 0 1 0 0 0\n0 0 0 1 0 0 0\n", "camera path \"p\", line 2: times have to rise"},
             {"0 0 0 1 0 0\n",
              "camera path \"p\", line 1: a time, the eye's X Y Z and the target's X Y Z are expected, "
              "and perhaps a field of view"},
             {"0 0 0 1 0 0 1\n", "camera path \"p\", line 1: eye and target are the same place"},
             {"\n0 0 0 x 0 0 1\n", "camera path \"p\", line 2: \"x\" is not a number"},
             {"0 0 0 inf 0 0 1\n", "camera path \"p\", line 1: \"inf\" is not a number"},
             {"0 0 0 1 0 0 0 180\n", "camera path \"p\", line 1: a field of view of 1 to 170 degrees is expected"},
             {"0 0 0 1 0 0 0\n", "the camera path \"p\" has fewer than two keys"},
             {"", "the camera path \"p\" has fewer than two keys"}}) {
        try {
            const CameraPath path(text, "p");
            ADD_FAILURE() << text;
        } catch (const UsageError& error) {
            EXPECT_EQ(error.what(), message);
        }
    }
    EXPECT_THROW(CameraPath::fromFile("/"), UsageError);
}

TEST(TurntableTest, WhatIsSweptHoldsThePointsHoweverTheyAreTurned) {
    const std::vector<Kiv3DPoint> points{{1, 2, 3}, {-2, 0, 1}, {0.5, -1, 4}, {3, 3, 0}};
    const Kiv3DVector axis(0, 0, 1);
    const Kiv3DPoint middle = middleOf(points);
    EXPECT_DOUBLE_EQ(middle.x, 0.5);
    const std::vector<Kiv3DPoint> swept = sweptPoints(points, axis);
    ASSERT_FALSE(swept.empty());
    for (const Kiv3DPoint& point : points) {
        const double radius = std::hypot(point.x - middle.x, point.y - middle.y);
        bool isHeld = false;
        for (const Kiv3DPoint& s : swept) {
            isHeld = isHeld || (std::hypot(s.x - middle.x, s.y - middle.y) >= radius - 1e-9 &&
                                std::abs(s.z - point.z) < 4.0 / 64 + 1e-9);
        }
        EXPECT_TRUE(isHeld);
    }
}

TEST(TurntableTest, TurnsAnticlockwise) {
    const Kiv3DVector v = turned({1, 0, 5}, {0, 0, 1}, std::numbers::pi / 2);
    EXPECT_NEAR(v.x, 0.0, 1e-12);
    EXPECT_NEAR(v.y, 1.0, 1e-12);
    EXPECT_NEAR(v.z, 5.0, 1e-12);
}

TEST(FilmPaletteTest, FlatColoursStayToTheBit) {
    const auto picture = KivImage::create({20, 20});
    ASSERT_TRUE(picture);
    for (int y = 0; y < 20; ++y) {
        for (int x = 0; x < 20; ++x) {
            std::uint8_t* pixel = picture->row(y) + 3 * x;
            pixel[0] = x < 10 ? 201 : 17;
            pixel[1] = 98;
            pixel[2] = y < 10 ? 5 : 250;
        }
    }
    FilmPalette palette(*picture);
    std::vector<std::uint8_t> numbers(20 * 24);
    palette.fill(*picture, numbers.data(), 24);
    for (int y = 0; y < 20; ++y) {
        for (int x = 0; x < 20; ++x) {
            EXPECT_EQ(palette.colours()[numbers[static_cast<std::size_t>(y * 24 + x)]] & 0xFFFFFF,
                      static_cast<std::uint32_t>((y < 10 ? 5 : 250) << 16 | 98 << 8 | (x < 10 ? 201 : 17)));
        }
    }
}

} // namespace
