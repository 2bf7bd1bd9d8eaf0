#include "kivrender/lines/regions/snaprounding.h"

#include "reference/literalsnaprounding.h"
#include "support/rawrandom.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

std::vector<GridSegment> randomSegments(RawRandom& random, std::size_t count, std::uint32_t side) {
    std::vector<GridSegment> segments;
    while (segments.size() < count) {
        const GridPoint a = {static_cast<std::int32_t>(random.below(side)),
                             static_cast<std::int32_t>(random.below(side))};
        const GridPoint b = {static_cast<std::int32_t>(random.below(side)),
                             static_cast<std::int32_t>(random.below(side))};
        if (!(a == b)) {
            segments.push_back(a < b ? GridSegment{a, b} : GridSegment{b, a});
        }
    }
    return segments;
}

LineBudget enough() {
    return LineBudget(100000000);
}

TEST(SnapRounding, EqualsTheLiteralForm) {
    RawRandom random(7);
    for (int round = 0; round < 120; ++round) {
        const std::vector<GridSegment> segments = randomSegments(random, 4 + random.below(40),
                                                                 round % 3 == 0   ? 12
                                                                 : round % 3 == 1 ? 60
                                                                                  : 4000);
        std::vector<GridSegment> rounded = segments;
        LineBudget budget = enough();
        ASSERT_TRUE(snapRound(rounded, budget));
        EXPECT_EQ(rounded, LiteralSnapRounding(segments).rounded()) << round;
    }
}

TEST(SnapRounding, GoesOnWithWhatAnEarlierCallLeftWhole) {
    RawRandom random(8);
    for (int round = 0; round < 120; ++round) {
        const std::uint32_t side = round % 2 == 0 ? 40 : 3000;
        std::vector<GridSegment> segments = randomSegments(random, 20, side);
        std::vector<GridSegment> whole;
        LineBudget budget = enough();
        ASSERT_TRUE(snapRound(segments, whole, budget));
        for (const GridSegment& more : randomSegments(random, 1 + random.below(4), side)) {
            segments.push_back(more);
        }
        // A segment that is gone does not matter.
        segments.erase(segments.begin() + static_cast<std::ptrdiff_t>(random.below(10)));
        const std::vector<GridSegment> expected = LiteralSnapRounding(segments).rounded();
        ASSERT_TRUE(snapRound(segments, whole, budget));
        EXPECT_EQ(segments, expected) << round;
    }
}

TEST(SnapRounding, WhatIsWholeIsNotLookedAtAgain) {
    RawRandom random(9);
    std::vector<GridSegment> segments = randomSegments(random, 200, 5000);
    std::vector<GridSegment> whole;
    LineBudget budget = enough();
    ASSERT_TRUE(snapRound(segments, whole, budget));
    LineBudget none(0);
    EXPECT_TRUE(snapRound(segments, whole, none));
    EXPECT_FALSE(none.isSpent());
    EXPECT_FALSE(snapRound(segments, none)) << "but where nothing is known";
}

} // namespace
