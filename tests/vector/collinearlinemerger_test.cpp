#include "reference/literallines.h"
#include "support/pollcost.h"
#include "vector/readylists.h"
#include "vector/vectorprogress.h"
#include "vector/vectortesting.h"

#include "kivrender/vector/collinearlinemerger.h"

#include <algorithm>
#include <cmath>
#include <limits>

using vectortest::describe;
using vectortest::line;
using vectortest::OwnedList;
using vectortest::Random;
using vectortest::vertex;

namespace {

void merge(FeedbackPrimitiveList& lines) {
    CollinearLineMerger().mergeLines(&lines);
}

FeedbackVertex plain(float x, float y) {
    return vertex(x, y, 0, 0.5F, 0.5F, 0.5F);
}

TEST(CollinearLineMerger, IdenticalLinesKeepTheFirst) {
    OwnedList lines;
    lines.push_back(line(vertex(1, 1, 0, 1), vertex(5, 3, 0, 1)));
    lines.push_back(line(vertex(1, 1, 7, 0, 1), vertex(5, 3, 8, 0, 1)));
    FeedbackPrimitive* first = lines[0];
    merge(lines);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0], first);
    EXPECT_EQ(lines[0]->vertices[0].r, 1.0F);
    EXPECT_EQ(lines[0]->vertices[0].z, 0.0F);
}

TEST(CollinearLineMerger, OppositeLinesKeepTheFirst) {
    OwnedList lines;
    lines.push_back(line(plain(1, 1), plain(5, 3)));
    lines.push_back(line(plain(5, 3), plain(1, 1)));
    FeedbackPrimitive* first = lines[0];
    merge(lines);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0], first);
}

struct OverlapCase {
    const char* name;
    float b0;
    float b1;
    float start;
    float end;
};

class CollinearOverlap : public testing::TestWithParam<OverlapCase> {};

TEST_P(CollinearOverlap, GivesOneLongerLine) {
    const OverlapCase& each = GetParam();
    OwnedList lines;
    lines.push_back(line(vertex(2, 4, 1, 1), vertex(4, 8, 2, 1)));
    lines.push_back(line(vertex(each.b0, 2 * each.b0, 3, 0, 1), vertex(each.b1, 2 * each.b1, 4, 0, 1)));
    lines[0]->lineWidth = lines[1]->lineWidth = 2.5F;
    merge(lines);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0]->vertices[0].x, each.start);
    EXPECT_EQ(lines[0]->vertices[1].x, each.end);
    EXPECT_EQ(lines[0]->lineWidth, 2.5F);
    EXPECT_EQ(lines[0]->vertexCount, 2);
    EXPECT_EQ(lines[0]->type, FeedbackToken::line);
    // Depth and colour are those of the ends that survive.
    for (const FeedbackVertex& end : lines[0]->vertices) {
        const bool isOfFirst = end.z < 2.5F;
        EXPECT_EQ(end.r, isOfFirst ? 1.0F : 0.0F);
        EXPECT_EQ(end.g, isOfFirst ? 0.0F : 1.0F);
    }
}

INSTANTIATE_TEST_SUITE_P(Table, CollinearOverlap,
                         testing::Values(OverlapCase{"EndBeyond", 3, 5, 2, 5}, OverlapCase{"EndBefore", 3, 1, 1, 4},
                                         OverlapCase{"StartBefore", 1, 3, 1, 4}, OverlapCase{"StartBeyond", 5, 3, 2, 5},
                                         OverlapCase{"Touching", 4, 6, 2, 6}),
                         [](const auto& each) { return each.param.name; });

TEST(CollinearLineMerger, ALineThatSpansTheOtherStays) {
    // Equal lengths within the tolerance, and yet the second reaches beyond both ends of the first.
    OwnedList lines;
    lines.push_back(line(plain(1, 0.5F), plain(1.25F, 0.5F)));
    lines.push_back(line(plain(0.9999995F, 0.5F), plain(1.2500005F, 0.5F)));
    FeedbackPrimitive* second = lines[1];
    merge(lines);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0], second);
    lines.push_back(line(plain(1.25F, 0.5F), plain(1, 0.5F)));
    std::swap(lines[0], lines[1]);
    merge(lines);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0], second);
}

TEST(CollinearLineMerger, LinesApartStay) {
    CollinearLineMerger merger;
    OwnedList lines;
    lines.push_back(line(plain(2, 4), plain(3, 6)));
    lines.push_back(line(plain(4, 8), plain(5, 10)));
    EXPECT_EQ(merger.mergePair(lines[0], lines[1]), nullptr);
    EXPECT_EQ(merger.mergePair(lines[1], lines[0]), nullptr);
    merge(lines);
    EXPECT_EQ(lines.size(), 2U);
}

TEST(CollinearLineMerger, AShortLineOnALongOneStays) {
    OwnedList lines;
    lines.push_back(line(plain(1, 0.5F), plain(9, 0.5F)));
    lines.push_back(line(plain(3, 0.5F), plain(4, 0.5F)));
    merge(lines);
    EXPECT_EQ(lines.size(), 2U);
}

TEST(CollinearLineMerger, AttributesDecideButColourDoesNot) {
    OwnedList lines;
    lines.push_back(line(vertex(1, 1, 0, 1), vertex(5, 3, 0, 1)));
    lines.push_back(line(vertex(1, 1, 0, 0, 1), vertex(5, 3, 0, 0, 1)));
    lines.push_back(line(vertex(1, 1), vertex(5, 3)));
    lines[2]->lineWidth = 2;
    merge(lines);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0]->lineWidth, 2.0F);
    EXPECT_EQ(lines[1]->vertices[0].r, 1.0F);
}

TEST(CollinearLineMerger, EveryAttributeKeepsLinesApart) {
    const auto apart = [](auto change) {
        OwnedList lines;
        lines.push_back(line(plain(1, 1), plain(5, 3)));
        lines.push_back(line(plain(1, 1), plain(5, 3)));
        change(*lines[1]);
        merge(lines);
        return lines.size() == 2;
    };
    EXPECT_TRUE(apart([](FeedbackPrimitive& each) { each.offset = true; }));
    EXPECT_TRUE(apart([](FeedbackPrimitive& each) { each.boundary = true; }));
    EXPECT_TRUE(apart([](FeedbackPrimitive& each) { each.blend = true; }));
    EXPECT_TRUE(apart([](FeedbackPrimitive& each) { each.stipplePattern = 1; }));
    EXPECT_TRUE(apart([](FeedbackPrimitive& each) { each.stippleFactor = 1; }));
    EXPECT_TRUE(apart([](FeedbackPrimitive& each) { each.blendSource = 1; }));
    EXPECT_TRUE(apart([](FeedbackPrimitive& each) { each.blendDestination = 1; }));
    EXPECT_TRUE(apart([](FeedbackPrimitive& each) { each.lineWidth = 1.0000001F; }));
    EXPECT_FALSE(apart([](FeedbackPrimitive& each) { each.pointSize = 5; }));
}

TEST(CollinearLineMerger, AnyTwoVeryShortLinesHaveOneDirection) {
    // 0.0009 long, at right angles, crossing in the start of both: only the direction test could part them.
    OwnedList lines;
    lines.push_back(line(plain(1, 1), plain(1.0009F, 1)));
    lines.push_back(line(plain(1, 1), plain(1, 1.0009F)));
    merge(lines);
    EXPECT_EQ(lines.size(), 1U);
    OwnedList longer;
    longer.push_back(line(plain(1, 1), plain(1.002F, 1)));
    longer.push_back(line(plain(1, 1), plain(1, 1.002F)));
    merge(longer);
    EXPECT_EQ(longer.size(), 2U);
}

TEST(CollinearLineMerger, APointTakesAShortLineBehindItFromAnywhere) {
    OwnedList lines;
    lines.push_back(line(plain(1, 1), plain(1, 1)));
    lines.push_back(line(plain(50, 70), plain(50.0005F, 70)));
    FeedbackPrimitive* point = lines[0];
    merge(lines);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0], point);
}

TEST(CollinearLineMerger, AnEndAtTheOriginLosesItsColour) {
    OwnedList lines;
    lines.push_back(line(vertex(0.0005F, 0, 0, 1), vertex(2, 2, 0, 1)));
    lines.push_back(line(vertex(1, 1, 0, 1), vertex(3, 3, 0, 1)));
    merge(lines);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0]->vertices[0].x, 0.0F);
    EXPECT_EQ(lines[0]->vertices[0].r, 0.0F);
    EXPECT_EQ(lines[0]->vertices[0].a, 0.0F);
    EXPECT_EQ(lines[0]->vertices[1].r, 1.0F);
}

TEST(CollinearLineMerger, ThePlacesOfSurvivors) {
    // The first pair is (1, 3). The last line but one moves into slot 3, the last into slot 1, the result to the end.
    OwnedList lines;
    for (const float y : {1.0F, 2.0F, 3.0F, 2.0F, 4.0F, 5.0F})
        lines.push_back(line(plain(1, y), plain(4, y)));
    merge(lines);
    std::vector<float> heights;
    for (const FeedbackPrimitive* each : lines)
        heights.push_back(each->vertices[0].y);
    EXPECT_EQ(heights, (std::vector<float>{1, 5, 3, 4, 2}));
}

TEST(CollinearLineMerger, APairAtTheEndLeavesWhole) {
    OwnedList lines;
    for (const float y : {2.0F, 1.0F, 3.0F, 2.0F})
        lines.push_back(line(plain(1, y), plain(4, y)));
    merge(lines);
    std::vector<float> heights;
    for (const FeedbackPrimitive* each : lines)
        heights.push_back(each->vertices[0].y);
    EXPECT_EQ(heights, (std::vector<float>{3, 1, 2}));
}

TEST(CollinearLineMerger, ProgressCountsMergesAndTheEnd) {
    for (const int copies : {0, 1, 5}) {
        vectortest::ScopedProgress progress;
        OwnedList lines;
        for (int i = 0; i < copies; ++i)
            lines.push_back(line(plain(1, 1), plain(4, 1)));
        merge(lines);
        EXPECT_EQ(lines.size(), copies > 0 ? 1U : 0U);
        EXPECT_EQ(progress.units(), static_cast<unsigned>(copies > 0 ? copies : 1));
    }
}

TEST(CollinearLineMerger, ACancelLeavesAWholeList) {
    for (int polls = 0; polls < 40; ++polls) {
        vectortest::ScopedProgress progress;
        progress.cancelAfterPolls(polls);
        OwnedList lines;
        for (int i = 0; i < 12; ++i)
            lines.push_back(line(plain(1, static_cast<float>(i % 3)), plain(4, static_cast<float>(i % 3))));
        merge(lines);
        EXPECT_GE(lines.size(), 3U);
        // The merge before a cancel may have missed its advance.
        EXPECT_LE(lines.size(), 12U - std::min(progress.units(), 9U));
        EXPECT_GE(lines.size(), 11U - std::min(progress.units(), 9U));
    }
}

// Lines in which much merges: few directions, few places, copies and near copies of what is already there.
class LineSource {
public:
    explicit LineSource(std::uint32_t seed) : random(seed) {
        static constexpr float scales[] = {1.0F, 100.0F, 0.01F, 0.001F, 0.0003F, 1e-5F, 3e-7F, 1e5F};
        scale = scales[random.below(std::size(scales))];
        if (random.chance(3))
            origin = random.chance(2) ? 7.5F : 1000.0F;
    }

    void fill(FeedbackPrimitiveList& lines, int count) {
        for (int i = 0; i < count; ++i) {
            FeedbackPrimitive* made = !lines.empty() && !random.chance(3)
                                          ? variant(*lines[random.below(static_cast<std::uint32_t>(lines.size()))])
                                          : fresh();
            if (random.chance(5))
                made->lineWidth = 2;
            if (random.chance(40))
                made->blend = true;
            if (random.chance(150))
                made->vertices[random.below(2)].x = std::numeric_limits<float>::quiet_NaN();
            if (random.chance(150))
                made->vertices[random.below(2)].y = std::numeric_limits<float>::infinity();
            if (random.chance(200))
                made->lineWidth = std::numeric_limits<float>::quiet_NaN();
            lines.push_back(made);
        }
    }

private:
    float place() {
        return origin + scale * static_cast<float>(random.below(5));
    }
    FeedbackVertex point(float x, float y) {
        return vertex(x, y, random.unit(), random.unit(), random.unit(), random.unit(), random.unit());
    }
    FeedbackPrimitive* fresh() {
        const float x = place();
        const float y = place();
        if (random.chance(12))
            return line(point(x, y), point(x, y));
        if (random.chance(8)) // Anywhere in the plane, at any scale.
            return line(point(x * random.unit(), y * random.unit()),
                        point(x + scale * random.unit(), y + scale * random.unit()));
        const float dx = scale * static_cast<float>(random.below(3));
        const float dy = scale * static_cast<float>(random.below(3));
        return line(point(x, y), point(x + dx, y - dy));
    }
    float nudge() {
        switch (random.below(8)) {
        case 0:
            return scale * 1e-6F;
        case 1:
            return scale * -0.9e-6F;
        case 2:
            return 1e-6F * random.unit();
        case 3:
            return scale * 1.2e-7F;
        default:
            return 0;
        }
    }
    FeedbackPrimitive* variant(const FeedbackPrimitive& model) {
        const FeedbackVertex& start = model.vertices[0];
        const FeedbackVertex& end = model.vertices[1];
        static constexpr float shifts[] = {0.0F, 0.0F, 0.5F, -0.5F, 0.25F, 1.0F, -1.0F, 0.999999F, 1.000001F, 2.0F};
        const float shift = shifts[random.below(std::size(shifts))];
        const float dx = (end.x - start.x) * shift;
        const float dy = (end.y - start.y) * shift;
        const float aside = random.chance(6) ? scale * 1e-5F * random.unit() : 0;
        FeedbackVertex first = point(start.x + dx + nudge(), start.y + dy + nudge() + aside);
        FeedbackVertex second = point(end.x + dx + nudge(), end.y + dy + nudge() + aside);
        return random.chance(2) ? line(first, second) : line(second, first);
    }

    Random random;
    float scale;
    float origin = 0;
};

void compareWithLiteral(std::uint32_t seed, int count) {
    OwnedList lines;
    LineSource(seed).fill(lines, count);
    OwnedList expected;
    vectortest::clone(lines, expected);
    vectortest::ScopedProgress progress;
    merge(lines);
    const int merges = literal::mergeLines(expected);
    ASSERT_EQ(describe(lines), describe(expected)) << "seed " << seed;
    ASSERT_EQ(progress.units(), static_cast<unsigned>(merges + 1)) << "seed " << seed;
}

TEST(CollinearLineMerger, AgreesWithTheLiteralForm) {
    for (std::uint32_t seed = 0; seed < 12000 && !HasFatalFailure(); ++seed)
        compareWithLiteral(seed, 2 + static_cast<int>(seed % 40));
}

TEST(CollinearLineMerger, AgreesWithTheLiteralFormOnLongerLists) {
    for (std::uint32_t seed = 50000; seed < 50060 && !HasFatalFailure(); ++seed)
        compareWithLiteral(seed, 300);
}

// Lines so far out, for their length, that they have no place in the cells of the index.
TEST(CollinearLineMerger, LinesFarOutMergeAsOthers) {
    const auto far = [](float x, float y, float dx) { return line(plain(x, y), plain(x + dx, y)); };
    OwnedList lines;
    lines.push_back(far(5e12F, 3, 0x1p21F));
    lines.push_back(far(1, 1, 2));
    lines.push_back(far(-5e12F, 3, 0x1p21F));
    lines.push_back(far(5e12F, 3, 0x1p21F));
    lines.push_back(far(1, 1, 2));
    lines.push_back(far(5e12F + 0x1p20F, 3, 0x1p21F));
    lines.push_back(line(plain(2e10F, 2), plain(2e10F, 2.004F)));
    lines.push_back(line(plain(2e10F, 2), plain(2e10F, 2.004F)));
    lines.push_back(line(plain(2e10F, 4), plain(2e10F, 4.004F)));
    merge(lines);
    ASSERT_EQ(lines.size(), 5U);
    std::vector<float> starts;
    for (const FeedbackPrimitive* each : lines)
        starts.push_back(std::min(each->vertices[0].x, each->vertices[1].x));
    std::sort(starts.begin(), starts.end());
    EXPECT_EQ(starts, (std::vector<float>{-5e12F, 1, 2e10F, 2e10F, 5e12F}));
}

TEST(CollinearLineMerger, AgreesWithTheLiteralFormFarOut) {
    int merges = 0;
    for (std::uint32_t seed = 0; seed < 1500; ++seed) {
        Random random(seed);
        static constexpr float distances[] = {1e9F, 3e10F, 1e12F, 1e15F, 1e20F, 0x1p40F};
        const float away = distances[seed % std::size(distances)];
        OwnedList lines;
        for (std::uint32_t i = 0; i < 4 + seed % 20; ++i) {
            const float x = random.chance(4) ? 1.0F : random.chance(3) ? -away : away;
            const float y = static_cast<float>(random.below(3));
            const float length = random.chance(2) ? 0.004F : 0.0625F;
            const float step = random.chance(3) ? std::nextafter(x, 2 * x) - x : 0.0F;
            const float up = random.chance(2) ? 0.25F * length : 0.0F;
            lines.push_back(random.chance(2) ? line(plain(x, y + up), plain(x + step, y + up + length))
                                             : line(plain(x, y + length), plain(x, y)));
        }
        OwnedList expected;
        vectortest::clone(lines, expected);
        merge(lines);
        merges += literal::mergeLines(expected);
        ASSERT_EQ(describe(lines), describe(expected)) << "seed " << seed;
    }
    EXPECT_GT(merges, 3000);
}

// Each tolerance, just within and just beyond.
TEST(CollinearLineMerger, TheTolerancesOfLines) {
    const auto mergesWith = [](float x0, float y0, float x1, float y1) {
        OwnedList lines;
        lines.push_back(line(plain(0, 0.5F), plain(1, 0.5F)));
        lines.push_back(line(plain(x0, y0), plain(x1, y1)));
        merge(lines);
        return lines.size() == 1;
    };
    // The direction, scaled by its own length, agrees within a millionth on each axis.
    EXPECT_TRUE(mergesWith(0, 0.5F, 1 + 4e-7F, 0.5F));
    EXPECT_FALSE(mergesWith(0, 0.5F, 1 + 8e-7F, 0.5F));
    // A line along x takes one with exactly its height, or such a one that starts and ends within its own start.
    EXPECT_FALSE(mergesWith(0.25F, 0.5F + 0x1p-23F, 1.25F, 0.5F + 0x1p-23F));
    // Places by x and by y agree within a millionth of the length.
    const auto slopedMerges = [](float aside) {
        OwnedList lines;
        lines.push_back(line(plain(0, 0.01F), plain(1, 1.01F)));
        lines.push_back(line(plain(0.25F, 0.26F + aside), plain(1.25F, 1.26F + aside)));
        merge(lines);
        return lines.size() == 1;
    };
    EXPECT_TRUE(slopedMerges(6e-7F));
    EXPECT_FALSE(slopedMerges(2e-6F));
}

TEST(CollinearLineMerger, PollsForACancelByCost) {
    for (const bool areEqual : {false, true}) {
        OwnedList model;
        for (int i = 0; i < 70000; ++i) {
            const float x = areEqual ? 0.0F : static_cast<float>(i / 2 % 200);
            const float y = areEqual ? 0.0F : static_cast<float>(i / 400);
            model.push_back(line(plain(x, y), plain(x + 1, y + 0.5F)));
        }
        vectortest::ReadyLists lists(model);
        PollCost::expectAllowed([&] { merge(lists.take()); });
    }
}

TEST(CollinearLineMerger, TheRandomListsMergeAndKeep) {
    int before = 0;
    int after = 0;
    for (std::uint32_t seed = 0; seed < 400; ++seed) {
        OwnedList lines;
        LineSource(seed).fill(lines, 40);
        before += static_cast<int>(lines.size());
        merge(lines);
        after += static_cast<int>(lines.size());
    }
    EXPECT_LT(after, before * 3 / 4);
    EXPECT_GT(after, before / 10);
}

} // namespace
