#include "vector/vectortesting.h"

#include "kivrender/vector/trianglekinds.h"
#include "support/pollcounter.h"

#include <algorithm>
#include <cmath>

using vectortest::OwnedList;
using vectortest::Random;
using vectortest::triangle;
using vectortest::vertex;

namespace {

// Owns what the kinds look at.
struct Kinds {
    explicit Kinds(OwnedList& painted) {
        for (const FeedbackPrimitive* each : painted) {
            owned.push_back(std::make_unique<SweepTriangle>(*each));
            sweep.push_back(owned.back().get());
        }
        kinds = std::make_unique<TriangleKinds>(sweep, painted);
        WorkPoll poll;
        EXPECT_TRUE(kinds->compute(poll));
    }
    bool isAround(int seed, int other) const {
        std::vector<std::uint64_t> keys;
        kinds->collectKeys(seed, keys);
        return std::find(keys.begin(), keys.end(), kinds->keyOf(other)) != keys.end();
    }
    bool belongs(int other, int seed) const {
        const FeedbackVertex* v = sweep[static_cast<std::size_t>(seed)]->vertices;
        return kinds->belongs(other, seed, FeedbackPlane(v[0], v[1], v[2]));
    }

    std::vector<std::unique_ptr<SweepTriangle>> owned;
    std::vector<SweepTriangle*> sweep;
    std::unique_ptr<TriangleKinds> kinds;
};

// A triangle about the origin and a copy, turned and coloured a little differently.
void addNearlyEqual(FeedbackPrimitiveList& list, Random& random) {
    const auto direction = [&] { return random.chance(4) ? 0.0F : random.chance(4) ? 1.0F : 2 * random.unit() - 1; };
    const auto around = [&](float colour) { return colour + 4e-7F * (random.unit() - 0.5F); };
    const float turn = 0.003F * (random.unit() - 0.5F);
    const FeedbackVertex a = vertex(1, 1, 1);
    const FeedbackVertex b = vertex(1 + direction(), 1 + direction(), 1 + direction());
    const FeedbackVertex c = vertex(1 + direction(), 1 + direction(), 1 + direction());
    const float red = random.unit();
    const float alpha = random.chance(2) ? 1.0F : random.unit();
    for (int copy = 0; copy < 2; ++copy) {
        FeedbackVertex moved = c;
        if (copy == 1)
            moved.z += turn;
        list.push_back(copy == 1 && random.chance(2) ? triangle(a, moved, b) : triangle(a, b, moved));
        for (FeedbackVertex& each : list.back()->vertices) {
            each.r = copy == 0 ? red : around(red);
            each.a = copy == 0 ? alpha : around(alpha);
        }
        list.back()->blend = random.chance(20);
    }
}

TEST(TriangleKinds, WhateverBelongsHasAKeyAround) {
    int belong = 0;
    int apart = 0;
    Random random(8);
    for (int round = 0; round < 20000; ++round) {
        OwnedList list;
        addNearlyEqual(list, random);
        const Kinds kinds(list);
        if (kinds.belongs(1, 0)) {
            ++belong;
            ASSERT_TRUE(kinds.kinds->canMerge(0) && kinds.kinds->canMerge(1)) << round;
            ASSERT_TRUE(kinds.isAround(0, 1)) << round;
        } else {
            ++apart;
        }
    }
    EXPECT_GT(belong, 2000);
    EXPECT_GT(apart, 2000);
}

TEST(TriangleKinds, EachPartOfAKindTellsTrianglesApart) {
    const auto plain = [] { return triangle(vertex(1, 1), vertex(2, 1), vertex(1, 2)); };
    OwnedList list;
    list.push_back(plain());
    list.push_back(plain());
    for (float FeedbackVertex::*component :
         {&FeedbackVertex::r, &FeedbackVertex::g, &FeedbackVertex::b, &FeedbackVertex::a}) {
        list.push_back(plain());
        for (FeedbackVertex& each : list.back()->vertices)
            each.*component = 0.75F;
    }
    list.push_back(plain());
    list.back()->stipplePattern = 7;
    list.push_back(triangle(vertex(1, 1), vertex(2, 1, 0.5F), vertex(1, 2)));
    list.push_back(triangle(vertex(1, 1), vertex(2, 1), vertex(1, 2, 0.5F)));
    const Kinds kinds(list);
    EXPECT_TRUE(kinds.belongs(1, 0));
    EXPECT_TRUE(kinds.isAround(0, 1));
    for (int other = 2; other < static_cast<int>(list.size()); ++other) {
        EXPECT_FALSE(kinds.belongs(other, 0)) << other;
        EXPECT_FALSE(kinds.isAround(0, other)) << other;
    }
}

TEST(TriangleKinds, ATriangleWithoutPlaneOrColourIsAlone) {
    OwnedList list;
    list.push_back(triangle(vertex(1, 1), vertex(1, 1), vertex(2, 2)));
    list.push_back(triangle(vertex(1, 1), vertex(2, 1), vertex(1, std::nanf(""))));
    list.push_back(triangle(vertex(1, 1), vertex(2, 1), vertex(1, 2)));
    list.back()->vertices[1].g = std::nanf("");
    list.push_back(triangle(vertex(1, 1), vertex(2, 1), vertex(1, 2)));
    list.back()->vertices[1].b = HUGE_VALF;
    list.push_back(triangle(vertex(1, 1), vertex(2, 1), vertex(1, 2)));
    const Kinds kinds(list);
    for (int each = 0; each < 4; ++each) {
        EXPECT_FALSE(kinds.kinds->canMerge(each)) << each;
        EXPECT_FALSE(kinds.belongs(each, each)) << each;
    }
    EXPECT_TRUE(kinds.kinds->canMerge(4));
}

// By cost: some milliseconds at most between two polls.
TEST(TriangleKinds, PollsByCostAndEndsAfterACancel) {
    constexpr int count = 50000;
    OwnedList list;
    for (int i = 0; i < count; ++i)
        list.push_back(triangle(vertex(1, 1), vertex(2, 1), vertex(1, 2)));
    std::vector<std::unique_ptr<SweepTriangle>> owned;
    std::vector<SweepTriangle*> sweep;
    for (const FeedbackPrimitive* each : list)
        sweep.push_back(owned.emplace_back(std::make_unique<SweepTriangle>(*each)).get());
    PollCounter never;
    {
        const ScopedProgress scoped(never);
        WorkPoll poll;
        EXPECT_TRUE(TriangleKinds(sweep, list).compute(poll));
    }
    EXPECT_GE(never.polls, count / 10000);
    PollCounter second(2);
    const ScopedProgress scoped(second);
    WorkPoll poll;
    EXPECT_FALSE(TriangleKinds(sweep, list).compute(poll));
    EXPECT_EQ(second.polls, 2) << "nothing is asked after that";
}

} // namespace
