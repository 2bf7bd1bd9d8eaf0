#include "kivrender/vector/hiddenprimitives.h"

#include "reference/literalsight.h"
#include "vector/vectorprogress.h"
#include "vector/vectortesting.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace {

using namespace vectortest;

// Which primitives of the list stay.
std::vector<bool> seenOf(const FeedbackPrimitiveList& list, const HiddenPrimitives& hidden = HiddenPrimitives()) {
    OwnedList copy;
    clone(list, copy);
    const FeedbackPrimitiveList before = copy;
    EXPECT_TRUE(hidden.remove(&copy));
    std::vector<bool> seen;
    std::size_t next = 0;
    for (const FeedbackPrimitive* each : before) {
        const bool stays = next < copy.size() && copy[next] == each;
        seen.push_back(stays);
        next += stays ? 1U : 0U;
    }
    EXPECT_EQ(next, copy.size()) << "what stays keeps its order";
    return seen;
}

FeedbackPrimitive* flat(float depth, std::array<float, 6> places) {
    return triangle(vertex(places[0], places[1], depth), vertex(places[2], places[3], depth),
                    vertex(places[4], places[5], depth));
}

// Two triangles over a square.
void addSquare(FeedbackPrimitiveList& list, float low, float high, float depth) {
    list.push_back(flat(depth, {low, low, high, low, high, high}));
    list.push_back(flat(depth, {low, low, high, high, low, high}));
}

TEST(HiddenPrimitives, TakeWhatSeveralHideTogether) {
    OwnedList list;
    list.push_back(flat(0.9F, {2, 2, 8, 3, 4, 8}));
    addSquare(list, 0, 10, 0.5F);
    EXPECT_EQ(seenOf(list), (std::vector<bool>{false, true, true}));
}

TEST(HiddenPrimitives, LeaveWhatShowsThroughTheSmallestGap) {
    OwnedList list;
    list.push_back(flat(0.9F, {2, 2, 8, 3, 4, 8}));
    list.push_back(flat(0.5F, {0, 0, 10, 0, 10, 10}));
    list.push_back(flat(0.5F, {0, 1.0F / 4096, 10, 10 + 1.0F / 4096, 0, 10 + 1.0F / 4096}));
    EXPECT_EQ(seenOf(list), (std::vector<bool>{true, true, true}));
}

TEST(HiddenPrimitives, HideNothingByWhatIsNotOpaque) {
    for (const int kind : {0, 1, 2, 3}) {
        OwnedList list;
        list.push_back(flat(0.9F, {2, 2, 8, 3, 4, 8}));
        addSquare(list, 0, 10, 0.5F);
        if (kind == 0)
            list[1]->blend = true;
        if (kind == 1)
            list[2]->vertices[1].a = 0.999F;
        if (kind == 2)
            list[2]->vertices[2].a = std::numeric_limits<float>::quiet_NaN();
        EXPECT_EQ(seenOf(list)[0], kind != 3) << kind;
    }
}

TEST(HiddenPrimitives, TakeHiddenGlass) {
    OwnedList list;
    list.push_back(flat(0.9F, {2, 2, 8, 3, 4, 8}));
    list[0]->blend = true;
    list[0]->vertices[0].a = list[0]->vertices[1].a = list[0]->vertices[2].a = 0.5F;
    addSquare(list, 0, 10, 0.5F);
    EXPECT_EQ(seenOf(list), (std::vector<bool>{false, true, true}));
}

TEST(HiddenPrimitives, TakeLinesAndPointsWithAllTheirWidth) {
    const auto isSeen = [](float at, float width, float depth) {
        OwnedList list;
        list.push_back(line(vertex(at, 3, depth), vertex(at, 7, depth)));
        list.back()->lineWidth = width;
        list.push_back(primitive(FeedbackToken::point, {vertex(at, 5, depth)}));
        list.back()->pointSize = width;
        addSquare(list, 0, 10, 0.5F);
        const std::vector<bool> seen = seenOf(list);
        EXPECT_EQ(seen[0], seen[1]);
        EXPECT_TRUE(seen[2] && seen[3]);
        return seen[0];
    };
    EXPECT_FALSE(isSeen(5, 1, 0.9F));
    EXPECT_TRUE(isSeen(5, 1, 0.4F));
    EXPECT_FALSE(isSeen(8, 3, 0.9F));
    EXPECT_TRUE(isSeen(9, 3, 0.9F));
    EXPECT_TRUE(isSeen(5, 1, 0.5F)) << "on the surface";
}

TEST(HiddenPrimitives, LeaveLinesOnTheSurfaceThatTheyBelongTo) {
    // Steep: beside the middle of the line the surface is nearer than the line.
    OwnedList list;
    list.push_back(line(vertex(5, 3, 0.55F), vertex(5, 7, 0.55F)));
    list.back()->lineWidth = 2;
    list.push_back(triangle(vertex(0, 0, 0.3F), vertex(10, 0, 0.8F), vertex(10, 10, 0.8F)));
    list.push_back(triangle(vertex(0, 0, 0.3F), vertex(10, 10, 0.8F), vertex(0, 10, 0.3F)));
    EXPECT_TRUE(seenOf(list)[0]);
    for (FeedbackVertex& each : list[0]->vertices)
        each.z = 0.9F;
    EXPECT_FALSE(seenOf(list)[0]) << "far behind it";
}

TEST(HiddenPrimitives, ShowTheLastOfWhatLiesInOnePlace) {
    OwnedList list;
    for (int i = 0; i < 5; ++i)
        list.push_back(flat(0.5F, {0, 0, 10, 0, 5, 10}));
    list.push_back(flat(0.5F, {4, 1, 6, 1, 5, 3}));
    EXPECT_EQ(seenOf(list), (std::vector<bool>{false, false, false, false, true, true}));
    std::swap(list[4], list[5]);
    EXPECT_EQ(seenOf(list), (std::vector<bool>{false, false, false, false, false, true}));
}

// Its tip alone comes through the square, within a part of the page that the square fills.
TEST(HiddenPrimitives, LeaveWhatComesThroughASurface) {
    const auto isSeen = [](bool isUpright, float tip) -> bool {
        OwnedList list;
        const auto at = [isUpright](float x, float y, float depth) {
            return isUpright ? vertex(x, y, depth) : vertex(y, x, depth);
        };
        list.push_back(triangle(at(5.5F, 1, 0.6F), at(8.5F, 1, 0.6F), at(7, 5.4F, tip)));
        addSquare(list, 0, 10, 0.5F);
        for (int i = 0; i < 400; ++i) { // so many that the page is divided
            const float x = 0.5F * static_cast<float>(i % 20);
            const float y = 0.5F * static_cast<float>(i / 20);
            list.push_back(flat(0.1F, {x, y, x + 0.05F, y, x, y + 0.05F}));
        }
        return seenOf(list)[0];
    };
    for (const bool isUpright : {false, true}) {
        EXPECT_TRUE(isSeen(isUpright, 0.49F));
        EXPECT_FALSE(isSeen(isUpright, 0.51F));
    }
}

TEST(HiddenPrimitives, CountThePolygonOffset) {
    OwnedList list;
    list.push_back(flat(0.5F, {2, 2, 8, 3, 4, 8}));
    addSquare(list, 0, 10, 0.49F);
    list[1]->offset = list[2]->offset = true;
    EXPECT_FALSE(seenOf(list)[0]);
    const PolygonShift steps{0, 0.02 / 0x1p-24};
    EXPECT_TRUE(seenOf(list, HiddenPrimitives(steps))[0]) << "what is in front is pushed behind it";
    list[0]->offset = true;
    EXPECT_FALSE(seenOf(list, HiddenPrimitives(steps))[0]) << "all are pushed back";
}

TEST(HiddenPrimitives, TakeTheBackOfAClosedBody) {
    // A pyramid seen from above its top: the base is behind the four sides, which meet in a point.
    OwnedList list;
    const FeedbackVertex top = vertex(5.3F, 4.9F, 0.2F);
    const FeedbackVertex rim[4] = {vertex(0, 0, 0.6F), vertex(10, 0, 0.7F), vertex(10, 10, 0.8F), vertex(0, 10, 0.7F)};
    list.push_back(triangle(rim[0], rim[1], rim[2]));
    list.push_back(triangle(rim[0], rim[2], rim[3]));
    for (int i = 0; i < 4; ++i)
        list.push_back(triangle(rim[i], rim[(i + 1) % 4], top));
    EXPECT_EQ(seenOf(list), (std::vector<bool>{false, false, true, true, true, true}));
}

TEST(HiddenPrimitives, ReadPolygonsAsFans) {
    OwnedList list;
    list.push_back(primitive(FeedbackToken::polygon, {vertex(2, 2, 0.9F), vertex(8, 2, 0.9F), vertex(8, 8, 0.9F),
                                                      vertex(5, 9, 0.9F), vertex(2, 8, 0.9F)}));
    list.push_back(primitive(FeedbackToken::polygon,
                             {vertex(0, 0, 0.5F), vertex(10, 0, 0.5F), vertex(10, 10, 0.5F), vertex(0, 10, 0.5F)}));
    EXPECT_EQ(seenOf(list), (std::vector<bool>{false, true}));
    list[1]->vertices[2] = vertex(8, 8, 0.5F);
    EXPECT_EQ(seenOf(list), (std::vector<bool>{true, true})) << "one corner of it shows";
}

TEST(HiddenPrimitives, LeaveWhatHasNoPlace) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    for (const float bad : {nan, infinity, -infinity, 1e30F, 40000.0F}) {
        for (const int where : {0, 1, 2}) {
            OwnedList list;
            list.push_back(flat(0.9F, {2, 2, 8, 3, 4, 8}));
            list.push_back(flat(0.9F, {2, 2, 8, 3, 4, 8}));
            FeedbackVertex& broken = list[0]->vertices[1];
            (where == 0 ? broken.x : where == 1 ? broken.y : broken.z) = bad;
            addSquare(list, 0, 10, 0.5F);
            list.push_back(new FeedbackPrimitive(*list[0]));
            list.push_back(primitive(FeedbackToken::polygon, {vertex(1, 1)}));
            list.back()->vertexCount = 3;
            list.push_back(primitive(7, {}));
            EXPECT_EQ(seenOf(list), (std::vector<bool>{true, false, true, true, true, true, true})) << bad << where;
        }
    }
}

TEST(HiddenPrimitives, TakeHiddenSlivers) {
    OwnedList list;
    list.push_back(flat(0.9F, {2, 2, 8, 8, 5, 5}));           // no area
    list.push_back(flat(0.9F, {2, 2, 2, 2, 2, 2}));           // a point
    list.push_back(flat(0.9F, {2, 2, 8, 8, 5.0F, 5.00005F})); // an area below the grid
    list.push_back(flat(0.9F, {2, 2, 12, 8, 7.0F, 5.0F}));    // no area, looks out at one end
    addSquare(list, 0, 10, 0.5F);
    EXPECT_EQ(seenOf(list), (std::vector<bool>{false, false, false, true, true, true}));
}

TEST(HiddenPrimitives, AnEmptyPageStaysEmpty) {
    OwnedList list;
    EXPECT_TRUE(HiddenPrimitives().remove(&list));
    EXPECT_TRUE(list.empty());
}

TEST(HiddenPrimitives, StayWhenTheUserCancels) {
    OwnedList list;
    Random random(5);
    for (int i = 0; i < 20000; ++i) {
        const float x = 600 * random.unit();
        const float y = 600 * random.unit();
        list.push_back(flat(random.unit(), {x, y, x + 5, y, x, y + 5}));
    }
    const FeedbackPrimitiveList before = list;
    ScopedProgress progress;
    OwnedList whole;
    clone(list, whole);
    EXPECT_TRUE(HiddenPrimitives().remove(&whole));
    EXPECT_LT(whole.size(), list.size());
    const int polls = progress.polls();
    EXPECT_GT(polls, 5);
    for (const int after : {0, 1, polls / 2, polls - 1}) {
        progress.cancelAfterPolls(after);
        EXPECT_FALSE(HiddenPrimitives().remove(&list));
        EXPECT_EQ(list, before);
    }
}

// Many slivers about one point: that takes no longer than others, and all stay.
TEST(HiddenPrimitives, CostLittleWhereMuchMeets) {
    OwnedList list;
    const int count = 20000;
    for (int i = 0; i < count; ++i) {
        const double angle = 2 * M_PI * i / count;
        const double next = 2 * M_PI * (i + 1) / count;
        list.push_back(triangle(vertex(500, 500, 0.5F),
                                vertex(500 + 400 * static_cast<float>(std::cos(angle)),
                                       500 + 400 * static_cast<float>(std::sin(angle)), 0.6F),
                                vertex(500 + 400 * static_cast<float>(std::cos(next)),
                                       500 + 400 * static_cast<float>(std::sin(next)), 0.6F)));
    }
    for (int i = 0; i < 2000; ++i)
        list.push_back(flat(0.9F, {300, 300, 700, 350, 450, 700}));
    const std::vector<bool> seen = seenOf(list);
    EXPECT_EQ(std::count(seen.begin(), seen.begin() + count, true), count);
}

// Depths from few values, places from a small grid: much touches, much lies in one plane, much is a sliver.
void fillRandomly(Random& random, FeedbackPrimitiveList& list, bool sloped, std::uint32_t most = 10) {
    const std::uint32_t count = 2 + random.below(most - 1);
    const std::uint32_t grid = 3 + random.below(6);
    const std::uint32_t depths = 1 + random.below(4);
    const auto place = [&] { return static_cast<float>(random.below(grid)); };
    for (std::uint32_t i = 0; i < count; ++i) {
        float depth[3];
        for (float& each : depth)
            each = 0.25F + 0.125F * static_cast<float>(random.below(depths));
        if (!sloped)
            depth[1] = depth[2] = depth[0];
        if (random.chance(3)) { // a large one
            const float far = static_cast<float>(2 * grid);
            list.push_back(triangle(vertex(0, 0, depth[0]), vertex(far, 0, depth[1]), vertex(0, far, depth[2])));
        } else {
            FeedbackVertex corners[3];
            for (int k = 0; k < 3; ++k)
                corners[k].replaceBy(vertex(place(), place(), depth[k]));
            list.push_back(triangle(corners[0], corners[1], corners[2]));
        }
        list.back()->blend = random.chance(8);
    }
}

std::vector<bool> literallySeen(const FeedbackPrimitiveList& list) {
    std::vector<literal::SightTriangle> all;
    for (const FeedbackPrimitive* each : list)
        all.emplace_back(*each);
    std::vector<bool> seen;
    for (std::size_t i = 0; i < all.size(); ++i)
        seen.push_back(literal::isSeen(all, i));
    return seen;
}

bool hasArea(const FeedbackPrimitive& primitive) {
    return literal::SightTriangle(primitive).twiceArea() != 0;
}

TEST(HiddenPrimitives, AreExactlyThoseThatShowNowhere) {
    Random random(20260);
    std::size_t hidden = 0;
    for (int round = 0; round < 3000; ++round) {
        OwnedList list;
        // Now and then so many that the window is divided.
        fillRandomly(random, list, false, round % 250 == 0 ? 50 : 10);
        const std::vector<bool> expected = literallySeen(list);
        const std::vector<bool> seen = seenOf(list);
        for (std::size_t i = 0; i < list.size(); ++i) {
            if (!hasArea(*list[i]))
                continue;
            ASSERT_EQ(seen[i], expected[i]) << "round " << round << ", " << i << " of " << describe(*list[i]);
            hidden += expected[i] ? 0U : 1U;
        }
    }
    EXPECT_GT(hidden, 3000U) << "the comparison means something";
}

TEST(HiddenPrimitives, AreNeverThoseThatShowSomewhere) {
    Random random(4711);
    std::size_t hidden = 0;
    std::size_t taken = 0;
    for (int round = 0; round < 3000; ++round) {
        OwnedList list;
        fillRandomly(random, list, true);
        const std::vector<bool> expected = literallySeen(list);
        const std::vector<bool> seen = seenOf(list);
        for (std::size_t i = 0; i < list.size(); ++i) {
            if (!hasArea(*list[i]))
                continue;
            ASSERT_TRUE(seen[i] || !expected[i]) << "round " << round << ", " << i << " of " << describe(*list[i]);
            hidden += expected[i] ? 0U : 1U;
            taken += seen[i] ? 0U : 1U;
        }
    }
    // What areas hide that run through one another may stay.
    EXPECT_GT(taken * 10, hidden * 7);
}

} // namespace
