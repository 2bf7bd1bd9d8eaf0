#include "import/winding.h"

#include "import/normals.h"
#include "import/objreader.h"
#include "importtestfiles.h"

#include <map>
#include <random>

#include <gtest/gtest.h>

using namespace kivimport;

namespace {

Surface surfaceOf(const std::string& obj) {
    Surface surface = readObj(obj, {1'000'000}).parts.surfaces.at(0);
    weldSurface(surface);
    return surface;
}

void turn(Surface& surface, std::size_t triangle) {
    std::swap(surface.corners[triangle * 3 + 1], surface.corners[triangle * 3 + 2]);
}

bool isConsistent(const Surface& surface) {
    std::map<std::pair<std::uint32_t, std::uint32_t>, int> sides;
    for (std::size_t c = 0; c < surface.corners.size(); ++c) {
        ++sides[{surface.corners[c], surface.corners[c % 3 == 2 ? c - 2 : c + 1]}];
    }
    for (const auto& [side, count] : sides) {
        if (count > 1) {
            return false;
        }
    }
    return true;
}

} // namespace

TEST(Winding, RightOnesStay) {
    Surface surface = surfaceOf(boxObj);
    const Indices before = surface.corners;
    EXPECT_EQ(orientSurface(surface), 0U);
    EXPECT_EQ(surface.corners, before);
    Surface empty;
    EXPECT_EQ(orientSurface(empty), 0U);
}

TEST(Winding, AnyMixtureOfAClosedSurfaceTurnsOutwards) {
    std::mt19937 random(5);
    for (int round = 0; round < 300; ++round) {
        Surface surface = surfaceOf(boxObj);
        const Indices right = surface.corners;
        std::uint64_t wrong = 0;
        for (std::size_t t = 0; t < 12; ++t) {
            if (random() % 2 == 0) {
                turn(surface, t);
                ++wrong;
            }
        }
        EXPECT_EQ(orientSurface(surface), wrong);
        EXPECT_TRUE(isConsistent(surface));
        EXPECT_DOUBLE_EQ(signedVolume(surface), 6.0);
        EXPECT_EQ(surface.corners, right);
    }
}

TEST(Winding, EachPieceForItself) {
    // A box, and a second one inside out.
    std::string two = boxObj;
    for (const char* corner : {"9 0 0", "11 0 0", "11 1 0", "9 1 0", "9 0 3", "11 0 3", "11 1 3", "9 1 3"}) {
        two += std::string("v ") + corner + "\n";
    }
    two += "f 9 10 11 12\nf 16 15 14 13\nf 13 14 10 9\nf 15 16 12 11\nf 14 15 11 10\nf 16 13 9 12\n";
    Surface surface = surfaceOf(two);
    EXPECT_EQ(orientSurface(surface), 12U);
    EXPECT_DOUBLE_EQ(signedVolume(surface), 12.0);
}

TEST(Winding, AnOpenPieceFollowsItsMajority) {
    Surface surface = surfaceOf("v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 2 0 0\nv 2 1 0\nf 1 2 3 4\nf 2 5 6 3\n");
    const Indices right = surface.corners;
    turn(surface, 2);
    EXPECT_EQ(orientSurface(surface), 1U);
    EXPECT_EQ(surface.corners, right);
}

TEST(Winding, NormalsOfTheFileHaveTheLastWord) {
    Surface surface = surfaceOf("v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nvn 0 0 1\nf 1//1 2//1 3//1\nf 1//1 4//1 3//1\n");
    const Indices before = surface.corners;
    EXPECT_EQ(orientSurface(surface), 0U);
    EXPECT_EQ(surface.corners, before);
}

TEST(Winding, ThreeAtAnEdgeAreLeftAlone) {
    Surface surface = surfaceOf("v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 -1 0\nv 0 0 1\nf 1 2 3\nf 1 2 4\nf 1 2 5\n");
    const Indices before = surface.corners;
    EXPECT_EQ(orientSurface(surface), 0U);
    EXPECT_EQ(surface.corners, before);
}
