#include "kivrender/vector/paintersorder.h"

#include "kivrender/vector/hiddenprimitives.h"
#include "vector/vectorprogress.h"
#include "vector/vectortesting.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

namespace {

using namespace vectortest;

FeedbackPrimitive* coloured(FeedbackPrimitive* primitive, int colour) {
    for (FeedbackVertex& each : primitive->vertices)
        each.r = static_cast<float>(colour);
    return primitive;
}

FeedbackPrimitive* randomTriangle(Random& random, int colour) {
    FeedbackVertex corners[3];
    const float x = 20 * random.unit();
    const float y = 20 * random.unit();
    const float size = random.chance(4) ? 20.0F : 6.0F;
    for (FeedbackVertex& each : corners)
        each.replaceBy(vertex(x + size * random.unit(), y + size * random.unit(), 0.2F + 0.7F * random.unit()));
    return coloured(triangle(corners[0], corners[1], corners[2]), colour);
}

// What a picture shows at a place: the colour, and how sure that is.
struct Sight {
    int colour = -1;
    double depth = 2;
    bool isClear = true; // no side of a triangle and no second depth is near
};

struct Hit {
    double depth = 0;
    double margin = 0; // distance from the nearest side in pixels, below 0 outside
};

Hit hit(const FeedbackPrimitive& polygon, double x, double y) {
    Hit best;
    best.margin = -1;
    double nearestSide = 1e9;
    const std::vector<FeedbackVertex>& v = polygon.vertices;
    for (std::size_t i = 0; i < v.size(); ++i) {
        const FeedbackVertex& a = v[i];
        const FeedbackVertex& b = v[(i + 1) % v.size()];
        const double dx = static_cast<double>(b.x) - a.x;
        const double dy = static_cast<double>(b.y) - a.y;
        const double t = std::clamp(((x - a.x) * dx + (y - a.y) * dy) / (dx * dx + dy * dy), 0.0, 1.0);
        nearestSide = std::min(nearestSide, std::hypot(a.x + t * dx - x, a.y + t * dy - y));
    }
    for (std::size_t i = 1; i + 1 < v.size(); ++i) {
        const FeedbackVertex* c[3] = {v.data(), &v[i], &v[i + 1]};
        const auto side = [&](const FeedbackVertex& a, const FeedbackVertex& b) {
            return (a.x - x) * (b.y - y) - (b.x - x) * (a.y - y);
        };
        const double shares[3] = {side(*c[1], *c[2]), side(*c[2], *c[0]), side(*c[0], *c[1])};
        const double area = shares[0] + shares[1] + shares[2];
        if (std::fabs(area) > 1e-9 && shares[0] / area >= 0 && shares[1] / area >= 0 && shares[2] / area >= 0) {
            best.margin = nearestSide;
            best.depth = (shares[0] * c[0]->z + shares[1] * c[1]->z + shares[2] * c[2]->z) / area;
            return best;
        }
    }
    best.margin = -nearestSide;
    return best;
}

Sight nearestAt(const FeedbackPrimitiveList& list, double x, double y) {
    Sight sight;
    for (const FeedbackPrimitive* each : list) {
        const Hit found = hit(*each, x, y);
        if (std::fabs(found.margin) < 0.02)
            sight.isClear = false;
        if (found.margin < 0)
            continue;
        if (std::fabs(found.depth - sight.depth) < 1e-4)
            sight.isClear = false;
        if (found.depth < sight.depth) {
            sight.depth = found.depth;
            sight.colour = static_cast<int>(each->vertices[0].r);
        }
    }
    return sight;
}

int lastPaintedAt(const FeedbackPrimitiveList& list, double x, double y) {
    int colour = -1;
    for (const FeedbackPrimitive* each : list) {
        if (hit(*each, x, y).margin >= 0)
            colour = static_cast<int>(each->vertices[0].r);
    }
    return colour;
}

TEST(PaintersOrder, PaintsWhatIsNearest) {
    std::size_t compared = 0;
    std::size_t cut = 0;
    std::size_t wrong = 0;
    for (std::uint32_t seed = 0; seed < 400; ++seed) {
        Random random(seed);
        OwnedList list;
        const int count = 2 + static_cast<int>(random.below(seed % 20 == 0 ? 150 : 12));
        for (int i = 0; i < count; ++i)
            list.push_back(randomTriangle(random, i));
        OwnedList ordered;
        clone(list, ordered);
        if (seed % 2 == 0) {
            ASSERT_TRUE(HiddenPrimitives().remove(&ordered));
        }
        const std::size_t before = ordered.size();
        ASSERT_TRUE(PaintersOrder().sort(&ordered));
        cut += ordered.size() - before;
        for (int i = 0; i < 200; ++i) {
            const double x = 26 * random.unit();
            const double y = 26 * random.unit();
            const Sight sight = nearestAt(list, x, y);
            if (sight.isClear) {
                ++compared;
                wrong += lastPaintedAt(ordered, x, y) != sight.colour ? 1U : 0U;
            }
        }
    }
    EXPECT_GT(compared, 40000U);
    EXPECT_GT(cut, 1000U) << "many run through one another";
    // Circles of areas over one another have no order; they are rare even here.
    EXPECT_LT(static_cast<double>(wrong), 0.002 * static_cast<double>(compared)) << wrong << " of " << compared;
}

TEST(PaintersOrder, PutsTheLaterOfWhatLiesInOnePlaneOnTop) {
    OwnedList list;
    for (int i = 0; i < 6; ++i) {
        const float shift = 0.25F * static_cast<float>((i * 5) % 6);
        list.push_back(coloured(triangle(vertex(shift, 0, 0.5F), vertex(10 + shift, 0, 0.5F), vertex(5, 10, 0.5F)), i));
    }
    const FeedbackPrimitiveList before = list;
    EXPECT_TRUE(PaintersOrder().sort(&list));
    EXPECT_EQ(list, before);
}

TEST(PaintersOrder, PutsLinesAndPointsOverTheirSurface) {
    OwnedList list;
    list.push_back(line(vertex(0, 0, 0.5F), vertex(10, 10, 0.5F)));
    list.push_back(primitive(FeedbackToken::point, {vertex(2, 2, 0.5F)}));
    list.push_back(triangle(vertex(0, 0, 0.5F), vertex(10, 0, 0.4F), vertex(10, 10, 0.5F)));
    list.push_back(triangle(vertex(0, 0, 0.5F), vertex(10, 10, 0.5F), vertex(0, 10, 0.6F)));
    list.push_back(triangle(vertex(0, 0, 0.2F), vertex(4, 0, 0.2F), vertex(0, 4, 0.2F))); // in front of all
    const FeedbackPrimitiveList before = list;
    EXPECT_TRUE(PaintersOrder().sort(&list));
    const auto placeOf = [&](int number) {
        return std::find(list.begin(), list.end(), before[static_cast<std::size_t>(number)]) - list.begin();
    };
    for (const int stroke : {0, 1}) {
        EXPECT_GT(placeOf(stroke), placeOf(2));
        EXPECT_GT(placeOf(stroke), placeOf(3));
        EXPECT_LT(placeOf(stroke), placeOf(4));
    }
}

TEST(PaintersOrder, CutsALineThatRunsThroughAnArea) {
    OwnedList list;
    list.push_back(line(vertex(2, 4, 0.1F, 1, 0, 0), vertex(10, 4, 0.9F, 0, 1, 0)));
    list.back()->lineWidth = 3;
    list.back()->stipplePattern = 0x0F0F;
    list.push_back(triangle(vertex(0, 0, 0.5F), vertex(20, 0, 0.5F), vertex(0, 20, 0.5F)));
    EXPECT_TRUE(PaintersOrder().sort(&list));
    ASSERT_EQ(list.size(), 3U);
    EXPECT_EQ(list[1]->type, FeedbackToken::polygon);
    for (const std::size_t part : {0U, 2U}) {
        EXPECT_EQ(list[part]->type, FeedbackToken::line);
        EXPECT_EQ(list[part]->lineWidth, 3);
        EXPECT_EQ(list[part]->stipplePattern, 0x0F0F);
        ASSERT_EQ(list[part]->vertices.size(), 2U);
        EXPECT_EQ(list[part]->vertexCount, 2);
    }
    const FeedbackVertex& middle = list[0]->vertices[0];
    EXPECT_NEAR(middle.x, 6, 0.01);
    EXPECT_NEAR(middle.r, 0.5, 0.01) << "colours are interpolated";
    EXPECT_EQ(middle.x, list[2]->vertices[1].x) << "the parts touch";
    EXPECT_EQ(list[2]->vertices[0].x, 2) << "the near part comes last";
}

TEST(PaintersOrder, CutsTheSmallerOfTwoThatCross) {
    OwnedList list;
    list.push_back(triangle(vertex(0, 0, 0.5F), vertex(100, 0, 0.5F), vertex(0, 100, 0.5F)));
    list.push_back(triangle(vertex(10, 10, 0.4F), vertex(20, 10, 0.6F), vertex(10, 20, 0.4F)));
    list.back()->blend = true;
    const FeedbackPrimitive* large = list[0];
    EXPECT_TRUE(PaintersOrder().sort(&list));
    ASSERT_EQ(list.size(), 3U);
    EXPECT_EQ(list[1], large);
    EXPECT_TRUE(list[0]->blend && list[2]->blend);
    for (const FeedbackVertex& each : list[0]->vertices)
        EXPECT_GE(each.z, 0.4999F);
    for (const FeedbackVertex& each : list[2]->vertices)
        EXPECT_LE(each.z, 0.5001F);
}

TEST(PaintersOrder, CountsThePolygonOffset) {
    OwnedList list;
    list.push_back(triangle(vertex(0, 0, 0.5F), vertex(10, 0, 0.5F), vertex(0, 10, 0.5F)));
    list.push_back(triangle(vertex(0, 0, 0.49F), vertex(10, 0, 0.49F), vertex(0, 10, 0.49F)));
    list.back()->offset = true;
    const FeedbackPrimitive* pushed = list.back();
    EXPECT_TRUE(PaintersOrder().sort(&list));
    EXPECT_EQ(list[1], pushed);
    EXPECT_TRUE(PaintersOrder(PolygonShift{0, 0.02 / 0x1p-24}).sort(&list));
    EXPECT_EQ(list[0], pushed);
}

TEST(PaintersOrder, EndsWhereAreasLieOverEachOtherInACircle) {
    // Three needles, each over the next.
    OwnedList list;
    for (int i = 0; i < 3; ++i) {
        const double angle = 2 * M_PI * i / 3;
        const auto place = [&](double along, double across, float depth) {
            return vertex(static_cast<float>(50 + along * std::cos(angle) - across * std::sin(angle)),
                          static_cast<float>(50 + along * std::sin(angle) + across * std::cos(angle)), depth);
        };
        list.push_back(coloured(triangle(place(-30, -10, 0.2F), place(30, -12, 0.8F), place(30, -8, 0.8F)), i));
    }
    OwnedList copy;
    clone(list, copy);
    EXPECT_TRUE(PaintersOrder().sort(&list));
    EXPECT_GE(list.size(), 3U);
    OwnedList again;
    clone(copy, again);
    EXPECT_TRUE(PaintersOrder().sort(&again));
    EXPECT_EQ(describe(list), describe(again)) << "the same each time";
}

TEST(PaintersOrder, AnyFloatsAtAll) {
    for (std::uint32_t seed = 0; seed < 300; ++seed) {
        Random random(seed);
        OwnedList list;
        const std::uint32_t count = random.below(60);
        for (std::uint32_t i = 0; i < count; ++i) {
            const std::uint32_t corners = random.below(5);
            std::vector<FeedbackVertex> vertices;
            for (std::uint32_t k = 0; k < corners; ++k) {
                FeedbackVertex made = vertex(10 * random.unit(), 10 * random.unit(), random.unit());
                if (random.chance(10))
                    made.x = std::bit_cast<float>(random.word());
                if (random.chance(10))
                    made.z = std::bit_cast<float>(random.word());
                if (random.chance(6))
                    made.y = static_cast<float>(random.below(4));
                vertices.push_back(made);
            }
            list.push_back(primitive(static_cast<int>(1792 + random.below(5)), vertices));
            list.back()->lineWidth = random.chance(3) ? std::bit_cast<float>(random.word()) : 2;
            list.back()->pointSize = random.chance(3) ? std::bit_cast<float>(random.word()) : 2;
            list.back()->offset = random.chance(3);
        }
        const std::size_t before = list.size();
        const PolygonShift shift{random.chance(2) ? 1.5 : 0, random.chance(3) ? 1e30 : 4};
        ASSERT_TRUE(PaintersOrder(shift).sort(&list));
        ASSERT_GE(list.size(), before);
        ASSERT_TRUE(HiddenPrimitives(shift).remove(&list));
    }
}

TEST(PaintersOrder, StaysWhenTheUserCancels) {
    OwnedList list;
    Random random(5);
    for (int i = 0; i < 3000; ++i)
        list.push_back(randomTriangle(random, i));
    const FeedbackPrimitiveList before = list;
    ScopedProgress progress;
    for (const int after : {0, 1, 2}) {
        progress.cancelAfterPolls(after);
        EXPECT_FALSE(PaintersOrder().sort(&list));
        EXPECT_EQ(list, before);
    }
}

} // namespace
