#include "apps/common/sight.h"

#include "apps/common/framing.h"

#include <gtest/gtest.h>

namespace {

const std::vector<Kiv3DPoint> cube{{-1, -1, -1}, {1, -1, -1}, {1, 1, -1}, {-1, 1, -1},
                                   {-1, -1, 1},  {1, -1, 1},  {1, 1, 1},  {-1, 1, 1}};

std::string from(const Kiv3DPoint& eye, const Kiv3DVector& forward, double orthoHeight = 0.0) {
    Lens lens;
    lens.orthoHeight = orthoHeight;
    const ViewAxes axes = viewAxes(forward, Kiv3DVector(0, 1, 0));
    return whyNothingIsSeen(cube, makeCamera(cube, eye, axes, lens), 960);
}

} // namespace

TEST(Sight, AModelInThePictureIsSeen) {
    EXPECT_EQ(from({0, 0, 10}, {0, 0, -1}), "");
    EXPECT_EQ(from({0, 0, 10}, {0, 0, -1}, 3.0), "");
    EXPECT_EQ(from({0, 0, 0}, {0, 0, -1}), "") << "from within";
    EXPECT_EQ(from({0, 0, 1.2}, {0, 0, -1}), "") << "so near that all corners lie beyond the sides";
    EXPECT_EQ(from({0, 0, 10}, {0, 0, -1}, 0.01), "") << "a small part of one side";
    EXPECT_EQ(from({0, 0, 5000}, {0, 0, -1}), "") << "a single pixel";
}

TEST(Sight, AModelBehindOrBesideThePictureIsNot) {
    EXPECT_EQ(from({0, 0, -10}, {0, 0, -1}), "the whole model is behind it");
    EXPECT_EQ(from({50, 0, 10}, {0, 0, -1}), "the whole model is beside its picture");
    EXPECT_EQ(from({0, -50, 10}, {0, 0, -1}), "the whole model is beside its picture");
    EXPECT_EQ(from({0, 0, 10}, {1, 0, -0.2}), "the whole model is beside its picture");
    EXPECT_EQ(from({0, 50, 10}, {0, 0, -1}, 3.0), "the whole model is beside its picture");
}

TEST(Sight, NorIsWhatIsTooSmallOrTooFarForNumbers) {
    const char* const small = "the whole model is far smaller than a pixel";
    const char* const numbers = "it is too far away, or its picture too small, for the numbers of OpenGL";
    EXPECT_EQ(from({0, 0, 1e6}, {0, 0, -1}), small);
    EXPECT_EQ(from({0, 0, 10}, {0, 0, -1}, 1e6), small);
    EXPECT_EQ(from({1e30, 0, 0}, {-1, 0, 0}), numbers);
    EXPECT_EQ(from({1e300, 0, 0}, {-1, 0, 0}), numbers);
    EXPECT_EQ(from({0, 0, 10}, {0, 0, -1}, 1e-300), numbers);
}

TEST(Sight, OnePointInThePictureIsEnoughWhereverItStands) {
    std::vector<Kiv3DPoint> points(10000, Kiv3DPoint(0, 0, 20));
    const KivCamera camera = makeCamera(cube, {0, 0, 10}, viewAxes({0, 0, -1}, {0, 1, 0}), Lens());
    EXPECT_EQ(whyNothingIsSeen(points, camera, 960), "the whole model is behind it");
    for (const std::size_t place : {0U, 4095U, 4096U, 9999U}) {
        std::vector<Kiv3DPoint> seen = points;
        seen[place] = Kiv3DPoint(0.1, 0, 0);
        EXPECT_EQ(whyNothingIsSeen(seen, camera, 960), "") << place;
    }
}

TEST(Sight, WithoutAPointThereIsNothingToSay) {
    EXPECT_EQ(whyNothingIsSeen({}, KivCamera(), 960), "");
}
