#include "vector/vectortesting.h"

#include "kivrender/vector/parsertobuffer.h"
#include "kivrender/vector/parsertoclasses.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <limits>

using vectortest::describe;
using vectortest::line;
using vectortest::OwnedList;
using vectortest::primitive;
using vectortest::Random;
using vectortest::vertex;

namespace {

// A list read from a buffer that ends exactly where its memory ends, so that a sanitizer sees each step too far.
void read(const std::vector<float>& floats, OwnedList& list) {
    const std::unique_ptr<float[]> exact(new float[floats.size()]);
    std::copy(floats.begin(), floats.end(), exact.get());
    ParserToClasses parser(exact.get(), static_cast<int>(floats.size()));
    EXPECT_EQ(parser.getPrimitives(), nullptr);
    parser.parse();
    const std::unique_ptr<FeedbackPrimitiveList> primitives(parser.getPrimitives());
    ASSERT_NE(primitives, nullptr);
    list.insert(list.end(), primitives->begin(), primitives->end());
}

// The floats that are written; tail more are reserved for nothing.
std::vector<float> write(FeedbackPrimitiveList& list, std::size_t tail = 0) {
    ParserToBuffer parser(&list);
    EXPECT_EQ(parser.getBuffer(), nullptr);
    EXPECT_EQ(parser.getSize(), 0);
    parser.parse();
    std::vector<float> floats(parser.getBuffer(), parser.getBuffer() + parser.getSize());
    std::free(parser.getBuffer());
    EXPECT_GE(floats.size(), tail);
    for (std::size_t i = floats.size() - std::min(tail, floats.size()); i < floats.size(); ++i)
        EXPECT_EQ(floats[i], 0.0F);
    floats.resize(floats.size() - std::min(tail, floats.size()));
    return floats;
}

std::vector<float> operator+(std::vector<float> first, const std::vector<float>& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

std::vector<float> floatsOf(const FeedbackVertex& v) {
    return {v.x, v.y, v.z, v.r, v.g, v.b, v.a};
}

const FeedbackVertex p = vertex(1, 2, 3, 0.1F, 0.2F, 0.3F, 0.4F);
const FeedbackVertex q = vertex(4, 5, 6, 0.5F, 0.6F, 0.7F, 0.8F);
const FeedbackVertex s = vertex(7, 8, 9, 0.9F, 0.8F, 0.7F, 0.6F);

TEST(FeedbackVertex, IsSevenFloats) {
    EXPECT_EQ(sizeof(FeedbackVertex), 7 * sizeof(float));
    EXPECT_EQ(offsetof(FeedbackVertex, z), 2 * sizeof(float));
    EXPECT_EQ(offsetof(FeedbackVertex, r), 3 * sizeof(float));
    EXPECT_EQ(offsetof(FeedbackVertex, a), 6 * sizeof(float));
    const FeedbackVertex fresh;
    EXPECT_EQ(floatsOf(fresh), std::vector<float>(7, 0.0F));
}

TEST(FeedbackVertex, EqualityIsByPosition) {
    EXPECT_TRUE(vertex(1, 2, 3, 1) == vertex(1.0009F, 1.9991F, 3, 0));
    EXPECT_FALSE(vertex(1, 2, 3) == vertex(1.0011F, 2, 3));
    EXPECT_FALSE(vertex(1, 2, 3) == vertex(1, 2.0011F, 3));
    EXPECT_FALSE(vertex(1, 2, 3) == vertex(1, 2, 2.9989F));
    // 0.001 as a float is a little more than 0.001.
    EXPECT_FALSE(vertex(0.001F, 0, 0) == vertex(0, 0, 0));
    EXPECT_TRUE(vertex(std::nextafter(0.001F, 0.0F), 0, 0) == vertex(0, 0, 0));
    EXPECT_FALSE(vertex(std::nanf(""), 0) == vertex(std::nanf(""), 0));
    EXPECT_FALSE(vertex(INFINITY, 0) == vertex(INFINITY, 0));
}

TEST(FeedbackVertex, AssignmentKeepsAnEqualTarget) {
    FeedbackVertex target = vertex(1, 2, 3, 1);
    target = vertex(1.0005F, 2, 3, 0.5F);
    EXPECT_EQ(target.r, 1.0F);
    EXPECT_EQ(target.x, 1.0F);
    target = vertex(1.002F, 2, 3, 0.5F);
    EXPECT_EQ(target.r, 0.5F);
    FeedbackVertex fresh;
    fresh = vertex(0.0005F, -0.0005F, 0, 1, 1, 1, 1);
    EXPECT_EQ(floatsOf(fresh), std::vector<float>(7, 0.0F));
    const std::vector<FeedbackVertex> list = {vertex(0.0005F, 0, 0, 1)};
    EXPECT_EQ(list[0].r, 1.0F);
}

TEST(FeedbackPrimitive, FieldsInTheirOrder) {
    const FeedbackPrimitive fresh;
    EXPECT_EQ(fresh.lineWidth, 1.0F);
    EXPECT_EQ(fresh.pointSize, 1.0F);
    EXPECT_EQ(fresh.type, 0);
    EXPECT_EQ(fresh.vertexCount, 0);
    const auto place = [&fresh](const auto& field) {
        return reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(&fresh);
    };
    const std::vector<std::ptrdiff_t> places = {place(fresh.offset),
                                                place(fresh.boundary),
                                                place(fresh.blend),
                                                place(fresh.stipplePattern),
                                                place(fresh.stippleFactor),
                                                place(fresh.blendSource),
                                                place(fresh.blendDestination),
                                                place(fresh.lineWidth),
                                                place(fresh.pointSize),
                                                place(fresh.type),
                                                place(fresh.vertexCount),
                                                place(fresh.vertices)};
    EXPECT_TRUE(std::is_sorted(places.begin(), places.end()));
    EXPECT_EQ(places.front(), 0);
}

TEST(FeedbackPrimitive, AttributesOfLinesAndPolygons) {
    using Change = void (*)(FeedbackPrimitive&);
    const Change changes[] = {
        [](FeedbackPrimitive& f) { f.offset = true; },       [](FeedbackPrimitive& f) { f.boundary = true; },
        [](FeedbackPrimitive& f) { f.blend = true; },        [](FeedbackPrimitive& f) { f.stipplePattern = 1; },
        [](FeedbackPrimitive& f) { f.stippleFactor = 1; },   [](FeedbackPrimitive& f) { f.blendSource = 1; },
        [](FeedbackPrimitive& f) { f.blendDestination = 1; }};
    const FeedbackPrimitive plain;
    for (const Change change : changes) {
        FeedbackPrimitive changed;
        change(changed);
        EXPECT_FALSE(sameLineAttributes(plain, changed));
        EXPECT_FALSE(samePolygonAttributes(plain, changed));
        FeedbackPrimitive copy;
        copyAttributes(copy, changed);
        EXPECT_TRUE(sameLineAttributes(copy, changed));
    }
    FeedbackPrimitive other;
    other.lineWidth = std::nextafter(1.0F, 2.0F);
    EXPECT_FALSE(sameLineAttributes(plain, other));
    EXPECT_TRUE(samePolygonAttributes(plain, other));
    other.pointSize = 5;
    other.type = 1795;
    other.vertexCount = 9;
    other.vertices.push_back(p);
    other.lineWidth = 1;
    EXPECT_TRUE(sameLineAttributes(plain, other));
    FeedbackPrimitive copy;
    copyAttributes(copy, other);
    EXPECT_EQ(copy.pointSize, 5.0F);
    EXPECT_EQ(copy.type, 1795);
    EXPECT_EQ(copy.vertexCount, 9);
    EXPECT_TRUE(copy.vertices.empty());
}

TEST(ParserToClasses, EveryItem) {
    OwnedList list;
    read(std::vector<float>{1793} + floatsOf(p) + std::vector<float>{1794} + floatsOf(p) + floatsOf(q) +
             std::vector<float>{1799} + floatsOf(q) + floatsOf(s) + std::vector<float>{1795, 3} + floatsOf(p) +
             floatsOf(q) + floatsOf(s),
         list);
    ASSERT_EQ(list.size(), 4U);
    OwnedList expected;
    expected.push_back(primitive(1793, {p}));
    expected.push_back(line(p, q));
    expected.push_back(line(q, s)); // the reset is a plain line
    expected.push_back(primitive(1795, {p, q, s}));
    EXPECT_EQ(describe(list), describe(expected));
}

TEST(ParserToClasses, AnEmptyBuffer) {
    OwnedList list;
    read({}, list);
    EXPECT_TRUE(list.empty());
    ParserToClasses parser(nullptr, 0);
    parser.parse();
    const std::unique_ptr<FeedbackPrimitiveList> none(parser.getPrimitives());
    EXPECT_TRUE(none->empty());
    ParserToClasses negative(nullptr, -5);
    negative.parse();
    const std::unique_ptr<FeedbackPrimitiveList> nothing(negative.getPrimitives());
    EXPECT_TRUE(nothing->empty());
}

TEST(ParserToClasses, StateHoldsUntilItChanges) {
    const std::vector<float> point = std::vector<float>{1793} + floatsOf(p);
    OwnedList list;
    read(std::vector<float>{1792, 1, 1792, 3, 1792, 5, 1792, 43690, 1792, 2, 1792, 7, 1792, 2.5F, 1792, 8, 1792, 0.5F} +
             std::vector<float>{1792, 9, 1792, 11, 1792, 770, 1792, 12, 1792, 771} + point +
             std::vector<float>{1792, 2, 1792, 4, 1792, 6, 1792, 10, 1792, 99} + point,
         list);
    ASSERT_EQ(list.size(), 2U);
    EXPECT_TRUE(list[0]->offset && list[0]->boundary && list[0]->blend);
    EXPECT_EQ(list[0]->stipplePattern, 43690);
    EXPECT_EQ(list[0]->stippleFactor, 2);
    EXPECT_EQ(list[0]->pointSize, 2.5F);
    EXPECT_EQ(list[0]->lineWidth, 0.5F);
    EXPECT_EQ(list[0]->blendSource, 770);
    EXPECT_EQ(list[0]->blendDestination, 771);
    EXPECT_FALSE(list[1]->offset || list[1]->boundary || list[1]->blend || list[1]->isStippled());
    EXPECT_EQ(list[1]->pointSize, 2.5F);
    EXPECT_EQ(list[1]->blendSource, 770);
}

TEST(ParserToClasses, AnOperandIsTakenWhateverStandsBeforeIt) {
    OwnedList list;
    read(std::vector<float>{1792, 8, 5, 4.25F, 1793} + floatsOf(p), list);
    ASSERT_EQ(list.size(), 1U);
    EXPECT_EQ(list[0]->lineWidth, 4.25F);
}

TEST(ParserToClasses, UnknownTokensAreSteppedOverFloatByFloat) {
    OwnedList list;
    // What a bitmap token carries is read as items, and a number in it that happens to be 1795 heads a polygon.
    read(std::vector<float>{1796, 12, 1797, 0.5F, 1798, 1795, 1} + floatsOf(q) + std::vector<float>{0, 1793} +
             floatsOf(p),
         list);
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[0]->type, 1795);
    EXPECT_EQ(list[0]->vertexCount, 1);
    EXPECT_EQ(list[1]->type, 1793);
}

TEST(ParserToClasses, TokensAreTruncated) {
    OwnedList list;
    read(std::vector<float>{1793.9F} + floatsOf(p) + std::vector<float>{1795.5F, 1.9F} + floatsOf(q), list);
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[0]->type, 1793);
    EXPECT_EQ(list[1]->vertexCount, 1);
}

TEST(ParserToClasses, APolygonPastTheEnd) {
    OwnedList list;
    read(std::vector<float>{1795, 5} + floatsOf(p) + floatsOf(q), list);
    ASSERT_EQ(list.size(), 1U);
    EXPECT_EQ(list[0]->vertexCount, 5);
    ASSERT_EQ(list[0]->vertices.size(), 2U);
    EXPECT_EQ(floatsOf(list[0]->vertices[1]), floatsOf(q));
}

// A vertex that begins before the end of the buffer counts; numbers that it lacks are 0.
TEST(ParserToClasses, AVertexThatIsCutShort) {
    const std::vector<float> whole = floatsOf(q);
    for (std::size_t left = 1; left < whole.size(); ++left) {
        OwnedList list;
        read(std::vector<float>{1795, 5} + floatsOf(p) +
                 std::vector<float>(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(left)),
             list);
        ASSERT_EQ(list.size(), 1U);
        ASSERT_EQ(list[0]->vertices.size(), 2U) << left;
        std::vector<float> expected(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(left));
        expected.resize(whole.size(), 0.0F);
        EXPECT_EQ(floatsOf(list[0]->vertices[1]), expected) << left;
    }
}

struct CountCase {
    float count;
    std::int32_t declared;
};

TEST(ParserToClasses, AnyCountTakesNoMoreThanThereIs) {
    const CountCase cases[] = {{0, 0},
                               {-3, -3},
                               {3e9F, std::numeric_limits<std::int32_t>::max()},
                               {-3e9F, std::numeric_limits<std::int32_t>::min()},
                               {INFINITY, std::numeric_limits<std::int32_t>::max()},
                               {std::nanf(""), 0},
                               {2147483520.0F, 2147483520}};
    for (const CountCase& each : cases) {
        OwnedList list;
        read(std::vector<float>{1795, each.count} + floatsOf(p) + floatsOf(q), list);
        ASSERT_GE(list.size(), 1U);
        EXPECT_EQ(list[0]->vertexCount, each.declared);
        EXPECT_EQ(list[0]->vertices.size(), each.declared > 0 ? 2U : 0U);
        EXPECT_LE(list[0]->vertices.capacity(), 4U);
    }
}

TEST(ParserToClasses, EveryPrefixOfABuffer) {
    const std::vector<float> whole = std::vector<float>{1792, 5, 1792, 255, 1792, 3, 1793} + floatsOf(p) +
                                     std::vector<float>{1792, 8, 1792, 3, 1794} + floatsOf(p) + floatsOf(q) +
                                     std::vector<float>{1795, 3} + floatsOf(p) + floatsOf(q) + floatsOf(s);
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        OwnedList list;
        read({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)}, list);
        EXPECT_EQ(list.size(), (size > 6 ? 1U : 0U) + (size > 18 ? 1U : 0U) + (size > 33 ? 1U : 0U)) << size;
        // Floats beyond the cut read as 0.
        if (size == 20) {
            EXPECT_EQ(floatsOf(list[1]->vertices[0])[0], p.x);
            EXPECT_EQ(floatsOf(list[1]->vertices[0])[1], 0.0F);
            EXPECT_EQ(floatsOf(list[1]->vertices[1]), std::vector<float>(7, 0.0F));
        }
    }
}

TEST(ParserToBuffer, AnEmptyList) {
    OwnedList list;
    ParserToBuffer parser(&list);
    parser.parse();
    EXPECT_EQ(parser.getSize(), 0);
    EXPECT_NE(parser.getBuffer(), nullptr);
    std::free(parser.getBuffer());
}

TEST(ParserToBuffer, StateStandsAroundEachPrimitive) {
    OwnedList list;
    list.push_back(primitive(1795, {p, q, s}));
    FeedbackPrimitive& each = *list[0];
    each.offset = each.boundary = each.blend = true;
    each.stipplePattern = 255;
    each.stippleFactor = 3;
    each.blendSource = 770;
    each.blendDestination = 771;
    each.lineWidth = 2;
    each.pointSize = 4;
    EXPECT_EQ(write(list),
              (std::vector<float>{1792, 1,  1792, 3,   1792, 5, 1792, 255, 1792, 3, 1792, 9, 1792, 11, 1792, 770,
                                  1792, 12, 1792, 771, 1792, 8, 1792, 2,   1792, 7, 1792, 4, 1795, 3} +
               floatsOf(p) + floatsOf(q) + floatsOf(s) + std::vector<float>{1792, 2, 1792, 4, 1792, 6, 1792, 9}));
}

TEST(ParserToBuffer, PointsAndLinesLeaveATail) {
    const std::vector<float> state = {1792, 8, 1792, 1, 1792, 7, 1792, 1};
    OwnedList list;
    list.push_back(primitive(1793, {p}));
    list.push_back(primitive(1795, {p, q, s}));
    list.push_back(line(p, q));
    const std::vector<float> expected = state + std::vector<float>{1793} + floatsOf(p) + state +
                                        std::vector<float>{1795, 3} + floatsOf(p) + floatsOf(q) + floatsOf(s) + state +
                                        std::vector<float>{1794} + floatsOf(p) + floatsOf(q);
    EXPECT_EQ(write(list, 2), expected);
}

TEST(ParserToBuffer, AResetComesBackAsALine) {
    OwnedList list;
    read(std::vector<float>{1799} + floatsOf(p) + floatsOf(q), list);
    EXPECT_EQ(write(list, 1)[8], 1794.0F);
}

TEST(ParserToBuffer, StippleByEitherValue) {
    for (const bool byPattern : {true, false}) {
        OwnedList list;
        list.push_back(primitive(1793, {p}));
        if (byPattern)
            list[0]->stipplePattern = 7;
        else
            list[0]->stippleFactor = 7;
        const std::vector<float> floats = write(list, 1);
        EXPECT_EQ(floats.size(), 6U + 8U + 8U + 2U);
        EXPECT_EQ(floats[1], 5.0F);
        EXPECT_EQ(floats.back(), 6.0F);
    }
}

TEST(ParserToBuffer, OtherTypesWriteTheirStateAlone) {
    OwnedList list;
    list.push_back(primitive(0, {}));
    EXPECT_EQ(write(list, 2), (std::vector<float>{1792, 8, 1792, 1, 1792, 7, 1792, 1}));
}

TEST(ParserToBuffer, NeverMoreVerticesThanThereAre) {
    for (const std::int32_t declared : {5, std::numeric_limits<std::int32_t>::max(), -4}) {
        OwnedList list;
        list.push_back(primitive(1795, {p, q}));
        list[0]->vertexCount = declared;
        const std::vector<float> floats = write(list);
        EXPECT_EQ(floats.size(), declared > 0 ? 8U + 2U + 14U : 10U);
        EXPECT_EQ(floats[9], declared > 0 ? 2.0F : 0.0F);
    }
    OwnedList list;
    list.push_back(primitive(1794, {p})); // made by hand: a line lacks an end
    const std::vector<float> floats = write(list, 1);
    EXPECT_EQ(floats.size(), 8U + 15U);
}

TEST(Parsers, BlendingStaysOnBehindABlendedPrimitive) {
    OwnedList list;
    list.push_back(primitive(1795, {p, q, s}));
    list.push_back(primitive(1795, {p, q, s}));
    list[0]->blend = true;
    OwnedList again;
    read(write(list), again);
    ASSERT_EQ(again.size(), 2U);
    EXPECT_TRUE(again[0]->blend);
    EXPECT_TRUE(again[1]->blend);
}

TEST(Parsers, RandomListsComeBack) {
    for (std::uint32_t seed = 0; seed < 500; ++seed) {
        Random random(seed);
        OwnedList list;
        const std::uint32_t count = random.below(20);
        std::size_t tail = 0;
        for (std::uint32_t i = 0; i < count; ++i) {
            const std::uint32_t type = 1793 + random.below(3);
            std::vector<FeedbackVertex> vertices(type == 1795 ? random.below(6) : type - 1792);
            for (FeedbackVertex& v : vertices)
                v.replaceBy(vertex(random.unit(), random.unit(), random.unit(), random.unit(), random.unit()));
            list.push_back(primitive(static_cast<int>(type), vertices));
            tail += type == 1795 ? 0 : 1;
            FeedbackPrimitive& each = *list.back();
            each.offset = random.chance(3);
            each.boundary = random.chance(3);
            each.blend = i > 0 && list[i - 1]->blend ? true : random.chance(9); // once on it stays on
            each.stipplePattern = static_cast<std::uint16_t>(random.chance(2) ? random.below(65536) : 0);
            each.stippleFactor = random.chance(2) ? static_cast<std::int32_t>(random.below(256)) : 0;
            each.blendSource = each.blend ? 770 : i > 0 ? list[i - 1]->blendSource : 0;
            each.blendDestination = each.blend ? 771 : i > 0 ? list[i - 1]->blendDestination : 0;
            each.lineWidth = random.unit();
            each.pointSize = random.unit();
        }
        OwnedList again;
        read(write(list, tail), again);
        ASSERT_EQ(describe(again), describe(list)) << seed;
    }
}

TEST(Parsers, AnyFloatsAtAll) {
    for (std::uint32_t seed = 0; seed < 3000; ++seed) {
        Random random(seed);
        std::vector<float> floats(random.below(120));
        for (float& each : floats) {
            const std::uint32_t kind = random.below(6);
            each = kind == 0   ? static_cast<float>(1792 + random.below(9))
                   : kind == 1 ? static_cast<float>(random.below(14))
                   : kind == 2 ? std::bit_cast<float>(random.word())
                               : random.unit();
        }
        OwnedList list;
        read(floats, list);
        std::size_t vertices = 0;
        for (const FeedbackPrimitive* each : list)
            vertices += each->vertices.size();
        ASSERT_LE(list.size(), floats.size());
        ASSERT_LE(vertices, floats.size() + 14);
        OwnedList again;
        read(write(list), again);
        ASSERT_EQ(again.size(), list.size());
    }
}

} // namespace
