#include "kivrender/lines/linejoins.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

// A cross of four lines in one point, and a ring of two.
std::vector<LineEnd> crossAndRing() {
    return {{0, 1, {1, 0, 0}}, {4, 1, {-1, 0, 0}}, {4, 1, {1, 0, 0}}, {1, 1, {-1, 0, 0}},
            {2, 1, {0, 1, 0}}, {4, 1, {0, -1, 0}}, {4, 1, {0, 1, 0}}, {3, 1, {0, -1, 0}},
            {5, 1, {1, 0, 0}}, {6, 1, {1, 0, 0}},  {6, 1, {0, 1, 0}}, {5, 1, {0, 1, 0}}};
}

TEST(LineJoins, JunctionsEndLinesOrLetThemGoOn) {
    const std::vector<LineChain> straight = kivChainsOf(kivJoinedEnds(crossAndRing(), LineJunctions::goOn));
    ASSERT_EQ(straight.size(), 3U);
    EXPECT_EQ(straight[0].lines, (std::vector<std::uint32_t>{0, 1}));
    EXPECT_EQ(straight[1].lines, (std::vector<std::uint32_t>{2, 3}));
    EXPECT_TRUE(straight[2].closed);
    EXPECT_EQ(straight[2].lines, (std::vector<std::uint32_t>{4, 5}));
    const std::vector<LineChain> ended = kivChainsOf(kivJoinedEnds(crossAndRing(), LineJunctions::end));
    ASSERT_EQ(ended.size(), 5U);
    EXPECT_TRUE(ended[4].closed);
}

TEST(LineJoins, GroupsAreNotJoined) {
    std::vector<LineEnd> ends = {{0, 1, {}}, {1, 1, {}}, {1, 2, {}}, {2, 2, {}}};
    EXPECT_EQ(kivChainsOf(kivJoinedEnds(ends, LineJunctions::goOn)).size(), 2U);
    ends[2].group = ends[3].group = 1;
    EXPECT_EQ(kivChainsOf(kivJoinedEnds(ends, LineJunctions::goOn)).size(), 1U) << "two alone, however they turn";
}

} // namespace
