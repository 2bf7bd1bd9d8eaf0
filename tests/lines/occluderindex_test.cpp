#include "kivrender/lines/occluderindex.h"

#include "support/pollcost.h"
#include "support/rawrandom.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

std::vector<KivOccluderBounds> randomBounds(RawRandom& random, unsigned int count, double size) {
    std::vector<KivOccluderBounds> bounds;
    for (unsigned int i = 0; i < count; ++i) {
        const double x = random.between(0.0, 1000.0);
        const double y = random.between(0.0, 1000.0);
        bounds.push_back({static_cast<float>(x), static_cast<float>(x + random.between(0.0, size)),
                          static_cast<float>(y), static_cast<float>(y + random.between(0.0, size)),
                          static_cast<float>(random.between(1.0, 9.0))});
    }
    return bounds;
}

using Query = OccluderIndex::Segment;

// Whether a segment meets a rectangle and is somewhere behind the nearest depth there, by cutting it at the four sides.
bool meets(const KivOccluderBounds& box, const Query& q) {
    double from = 0.0;
    double to = 1.0;
    const auto cut = [&](double start, double end, double low, double high) {
        if (start == end) {
            return start >= low && start <= high;
        }
        const double a = (low - start) / (end - start);
        const double b = (high - start) / (end - start);
        from = std::max(from, std::min(a, b));
        to = std::min(to, std::max(a, b));
        return from <= to;
    };
    const auto depth = [&](double part) { return q.depth0 + (q.depth1 - q.depth0) * part; };
    return cut(q.x0, q.x1, box.left, box.right) && cut(q.y0, q.y1, box.bottom, box.top) &&
           box.nearest <= std::max(depth(from), depth(to));
}

// Whoever is visited costs more than a box that is only looked at: the work of a walk tells so.
TEST(OccluderIndex, CountsVisitsAsWork) {
    const std::vector<KivOccluderBounds> stack(1000, {0.0F, 10.0F, 0.0F, 10.0F, 1.0F});
    OccluderIndex index;
    ASSERT_TRUE(index.build(stack));
    const auto all = [](std::uint32_t) { return true; };
    const auto none = [](std::uint32_t) { return false; };
    EXPECT_GT(index.walk(1.0, 1.0, 9.0, 9.0, 2.0, all), 5000U);
    EXPECT_LT(index.walk(1.0, 1.0, 9.0, 9.0, 2.0, none), 100U);
    EXPECT_LT(index.walk(11.0, 1.0, 19.0, 9.0, 2.0, all), 10U);
    EXPECT_GT(index.probe(5.0, 5.0, [](std::uint32_t) { return 2.0; }), 5000U);
}

TEST(OccluderIndex, LeavesOutNothingThatASegmentMeetsAndLittleElse) {
    RawRandom random(3);
    std::size_t visited = 0;
    std::size_t met = 0;
    for (const unsigned int count : {0U, 1U, 2U, 4U, 5U, 9U, 33U, 1000U, 4097U}) {
        const std::vector<KivOccluderBounds> bounds = randomBounds(random, count, count > 100 ? 40.0 : 400.0);
        OccluderIndex index;
        ASSERT_TRUE(index.build(bounds));
        ASSERT_EQ(index.size(), count);
        for (int i = 0; i < 60; ++i) {
            Query q = {random.between(0.0, 1000.0), random.between(0.0, 1000.0),
                       random.between(0.0, 1000.0), random.chance(4) ? 500.0 : random.between(0.0, 1000.0),
                       random.between(0.0, 10.0),   random.between(0.0, 10.0)};
            if (random.chance(8)) {
                q.x1 = q.x0;
                q.y1 = random.chance(2) ? q.y0 : q.y1;
            }
            std::vector<bool> seen(count, false);
            index.walkRest(q, [&](std::uint32_t entry, Query*) {
                EXPECT_FALSE(seen[entry]) << "visited twice";
                seen[entry] = true;
                ++visited;
                return true;
            });
            for (unsigned int entry = 0; entry < count; ++entry) {
                if (meets(bounds[entry], q)) {
                    ++met;
                    EXPECT_TRUE(seen[entry]) << "entry " << entry << " of " << count;
                }
            }
        }
    }
    EXPECT_GT(met, 1000U);
    EXPECT_LT(visited, met * 1.01 + 20);
}

TEST(OccluderIndex, OfASegmentThatBecomesShorterTheRestCounts) {
    RawRandom random(7);
    std::size_t left = 0;
    for (int i = 0; i < 60; ++i) {
        const std::vector<KivOccluderBounds> bounds = randomBounds(random, 1000, 400.0);
        OccluderIndex index;
        ASSERT_TRUE(index.build(bounds));
        const OccluderIndex::Segment whole = {random.between(0.0, 300.0), random.between(0.0, 1000.0), 900.0, 500.0,
                                              random.between(1.0, 10.0),  random.between(1.0, 10.0)};
        const Query rest = {0.5 * (whole.x0 + whole.x1),
                            0.5 * (whole.y0 + whole.y1),
                            whole.x1,
                            whole.y1,
                            0.5 * (whole.depth0 + whole.depth1),
                            whole.depth1};
        std::vector<bool> seen(bounds.size(), false);
        int visits = 0;
        index.walkRest(whole, [&](std::uint32_t entry, OccluderIndex::Segment* shorter) {
            seen[entry] = true;
            if (++visits == 1) {
                *shorter = rest;
            } else {
                EXPECT_GE(bounds[entry].right, rest.x0 - 0.01) << "beside the rest";
            }
            return true;
        });
        for (std::uint32_t entry = 0; entry < bounds.size(); ++entry) {
            EXPECT_TRUE(seen[entry] || !meets(bounds[entry], rest));
            left += meets(bounds[entry], whole) && !seen[entry];
        }
    }
    EXPECT_GT(left, 500U);
}

TEST(OccluderIndex, StopsWhenTheVisitorHasEnough) {
    RawRandom random(4);
    OccluderIndex index;
    ASSERT_TRUE(index.build(randomBounds(random, 500, 900.0)));
    int visits = 0;
    index.walk(500.0, 500.0, 510.0, 500.0, 10.0, [&](std::uint32_t) { return ++visits < 3; });
    EXPECT_EQ(visits, 3);
}

TEST(OccluderIndex, ComesToNearEntriesFirstOnTheWhole) {
    // A stack of equal rectangles: a walk that is stopped at the first one has gone to the nearest.
    std::vector<KivOccluderBounds> stack;
    for (unsigned int i = 0; i < 4096; ++i) {
        stack.push_back({0.0F, 10.0F, 0.0F, 10.0F, static_cast<float>((i * 2654435761U) % 4096U)});
    }
    OccluderIndex index;
    ASSERT_TRUE(index.build(stack));
    float first = -1.0F;
    index.walk(2.0, 2.0, 8.0, 8.0, 5000.0, [&](std::uint32_t entry) {
        first = stack[entry].nearest;
        return false;
    });
    EXPECT_GE(first, 0.0F);
    EXPECT_LT(first, 4.0F); // the nearest leaf
}

TEST(OccluderIndex, FloatsThatRoundMissNothing) {
    // Far from the corner of the picture a float keeps a part of a pixel only: a segment exactly along a side still
    // meets the rectangle.
    const float edge = 40000.003F;
    OccluderIndex index;
    ASSERT_TRUE(index.build({{30000.0F, edge, 10.0F, 20.0F, 1.0F}}));
    int visits = 0;
    index.walk(double{edge}, 5.0, double{edge}, 25.0, 2.0, [&](std::uint32_t) { return ++visits < 9; });
    EXPECT_EQ(visits, 1);
}

TEST(OccluderIndex, PollsWhileItBuilds) {
    RawRandom random(5);
    const std::vector<KivOccluderBounds> bounds = randomBounds(random, 1000000, 3.0);
    PollCost::expectAllowed([&] { OccluderIndex().build(bounds); });
}

} // namespace
