#include "kivrender/vector/paintersorder.h"

#include "kivrender/vector/hiddenprimitives.h"
#include "reference/literalpainting.h"
#include "vector/vectorprogress.h"
#include "vector/vectortesting.h"

#include <algorithm>
#include <array>
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
        std::vector<std::uint32_t> origins;
        ASSERT_TRUE(PaintersOrder().sort(&ordered, &origins));
        const std::size_t painted = origins.size();
        std::sort(origins.begin(), origins.end());
        origins.erase(std::unique(origins.begin(), origins.end()), origins.end());
        cut += painted - origins.size();
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
    EXPECT_EQ(wrong, 0U) << "of " << compared;
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
    for (const float alpha : {0.5F, 1.0F}) {
        OwnedList list;
        list.push_back(line(vertex(2, 4, 0.1F, 1, 0, 0), vertex(10, 4, 0.9F, 0, 1, 0)));
        list.back()->lineWidth = 3;
        list.back()->stipplePattern = 0x0F0F;
        list.push_back(triangle(vertex(0, 0, 0.5F, 0, 0, 0, alpha), vertex(20, 0, 0.5F, 0, 0, 0, alpha),
                                vertex(0, 20, 0.5F, 0, 0, 0, alpha)));
        std::vector<std::uint32_t> origins;
        EXPECT_TRUE(PaintersOrder().sort(&list, &origins));
        // An area that is seen through shows the line behind it.
        ASSERT_EQ(list.size(), alpha < 1 ? 3U : 2U);
        EXPECT_EQ(list[list.size() - 2]->type, FeedbackToken::polygon);
        const FeedbackPrimitive& front = *list.back();
        EXPECT_EQ(front.vertices[0].x, 2) << "the near part comes last";
        EXPECT_NEAR(front.vertices[1].x, 6, 0.01);
        EXPECT_NEAR(front.vertices[1].r, 0.5, 0.01) << "colours are interpolated";
        if (alpha < 1) {
            EXPECT_THAT(origins, testing::ElementsAre(0U, 1U, 0U));
            EXPECT_EQ(list[0]->vertices[0].x, front.vertices[1].x) << "the parts touch";
        }
        for (const FeedbackPrimitive* each : list) {
            if (each->type != FeedbackToken::line)
                continue;
            EXPECT_EQ(each->lineWidth, 3);
            EXPECT_EQ(each->stipplePattern, 0x0F0F);
            ASSERT_EQ(each->vertices.size(), 2U);
            EXPECT_EQ(each->vertexCount, 2);
        }
    }
}

TEST(PaintersOrder, CutsTheSmallerOfTwoThatCross) {
    for (const float alpha : {0.5F, 1.0F}) {
        OwnedList list;
        list.push_back(triangle(vertex(0, 0, 0.5F, 0, 0, 0, alpha), vertex(100, 0, 0.5F, 0, 0, 0, alpha),
                                vertex(0, 100, 0.5F, 0, 0, 0, alpha)));
        list.push_back(triangle(vertex(10, 10, 0.4F), vertex(20, 10, 0.6F), vertex(10, 20, 0.4F)));
        list.back()->blend = true;
        const FeedbackPrimitive* large = list[0];
        EXPECT_TRUE(PaintersOrder().sort(&list));
        ASSERT_EQ(list.size(), alpha < 1 ? 3U : 2U);
        EXPECT_EQ(list[list.size() - 2], large);
        EXPECT_TRUE(list.back()->blend);
        for (const FeedbackVertex& each : list.back()->vertices)
            EXPECT_LE(each.z, 0.5001F);
        if (alpha < 1) {
            EXPECT_TRUE(list[0]->blend);
            for (const FeedbackVertex& each : list[0]->vertices)
                EXPECT_GE(each.z, 0.4999F);
        }
    }
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

// Three needles, each over the next.
void addCircle(FeedbackPrimitiveList& list, float x, float y, float alpha) {
    for (int i = 0; i < 3; ++i) {
        const double angle = 2 * M_PI * i / 3;
        const auto place = [&](double along, double across, float depth) {
            return vertex(static_cast<float>(x + along * std::cos(angle) - across * std::sin(angle)),
                          static_cast<float>(y + along * std::sin(angle) + across * std::cos(angle)), depth, 0, 0, 0,
                          alpha);
        };
        list.push_back(coloured(triangle(place(-30, -10, 0.2F), place(30, -12, 0.8F), place(30, -8, 0.8F)),
                                static_cast<int>(list.size())));
    }
}

TEST(PaintersOrder, CutsACircleOpen) {
    OwnedList list;
    addCircle(list, 50, 50, 1);
    ASSERT_TRUE(literal::Painting(list, {}).hasCircles());
    OwnedList ordered;
    clone(list, ordered);
    EXPECT_TRUE(PaintersOrder().sort(&ordered));
    EXPECT_EQ(ordered.size(), 4U) << "one cut is enough";
    std::size_t compared = 0;
    for (int y = 0; y < 200; ++y) {
        for (int x = 0; x < 200; ++x) {
            const Sight sight = nearestAt(list, 0.5 * x + 0.11, 0.5 * y + 0.13);
            if (sight.colour >= 0 && sight.isClear) {
                ++compared;
                ASSERT_EQ(lastPaintedAt(ordered, 0.5 * x + 0.11, 0.5 * y + 0.13), sight.colour) << x << " " << y;
            }
        }
    }
    EXPECT_GT(compared, 1000U);
}

// Primitives of a kind that is hard to order.
void addHard(FeedbackPrimitiveList& list, Random& random, int kind, float alpha) {
    const int colour = static_cast<int>(list.size());
    const auto place = [&](float z) { return vertex(20 * random.unit(), 20 * random.unit(), z, 0, 0, 0, alpha); };
    const float steps = 0.25F * static_cast<float>(random.below(4));
    switch (kind) {
    case 0: // in few planes
        list.push_back(triangle(place(steps), place(steps), place(steps)));
        break;
    case 1: { // needles through one another
        FeedbackVertex tip = place(random.unit());
        FeedbackVertex beside = tip;
        beside.x += 0.02F + 0.2F * random.unit();
        list.push_back(triangle(place(random.unit()), tip, beside));
        break;
    }
    case 2: // on a coarse grid, so that sides and corners are shared
        list.push_back(
            triangle(vertex(static_cast<float>(random.below(4)), static_cast<float>(random.below(4)), steps),
                     vertex(static_cast<float>(random.below(4)), static_cast<float>(random.below(4)),
                            0.25F * static_cast<float>(random.below(4))),
                     vertex(static_cast<float>(random.below(4)), static_cast<float>(random.below(4)), 0.5F)));
        for (FeedbackVertex& each : list.back()->vertices)
            each.a = alpha;
        break;
    case 3:
        list.push_back(line(place(random.unit()), place(random.unit())));
        list.back()->lineWidth = 0.5F + random.unit();
        break;
    case 4:
        list.push_back(triangle(place(random.unit()), place(random.unit()), place(random.unit())));
        list.back()->offset = random.chance(2);
        break;
    case 5: { // four corners of a plane
        const FeedbackVertex low = place(0);
        const float rise = 0.05F * (random.unit() - 0.5F);
        std::vector<FeedbackVertex> corners;
        for (const auto& [x, y] : {std::pair{0, 0}, std::pair{4, 0}, std::pair{5, 3}, std::pair{1, 3}}) {
            corners.push_back(vertex(low.x + static_cast<float>(x), low.y + static_cast<float>(y),
                                     0.5F + rise * static_cast<float>(x - y), 0, 0, 0, alpha));
        }
        list.push_back(primitive(FeedbackToken::polygon, corners));
        break;
    }
    default:
        addCircle(list, 5 + 10 * random.unit(), 5 + 10 * random.unit(), alpha);
        return;
    }
    coloured(list.back(), colour);
}

// Where areas are seen through none hides another, and each pair counts.
TEST(PaintersOrder, IsThatOfTheLiteralForm) {
    std::size_t withCircles = 0;
    std::size_t withParts = 0;
    for (std::uint32_t seed = 0; seed < 1000; ++seed) {
        Random random(seed);
        OwnedList list;
        const std::uint32_t count = seed % 250 == 1 ? 220 : 2 + random.below(seed % 10 == 0 ? 70 : 14);
        while (list.size() < count)
            addHard(list, random, static_cast<int>(seed % 8 == 7 ? random.below(7) : seed % 8), 0.5F);
        const PolygonShift shift{random.chance(2) ? 1.0 : 0.0, random.chance(2) ? 4000.0 : 0.0};
        const literal::Painting reference(list, shift);
        withCircles += reference.hasCircles() ? 1U : 0U;
        OwnedList expected;
        std::vector<std::uint32_t> expectedOrigins;
        reference.paint(expected, expectedOrigins);
        withParts += expected.size() > list.size() ? 1U : 0U;
        std::vector<std::uint32_t> origins;
        bool exact = false;
        ASSERT_TRUE(PaintersOrder(shift).sort(&list, &origins, &exact));
        ASSERT_TRUE(exact);
        ASSERT_EQ(origins, expectedOrigins) << "seed " << seed;
        ASSERT_EQ(describe(list), describe(expected)) << "seed " << seed;
    }
    EXPECT_GT(withCircles, 150U);
    EXPECT_GT(withParts, 300U);
}

TEST(PaintersOrder, PaintsHardAreasAsTheyAreSeen) {
    std::size_t compared = 0;
    for (std::uint32_t seed = 0; seed < 400; ++seed) {
        Random random(seed);
        OwnedList list;
        const std::uint32_t count = 2 + random.below(40);
        while (list.size() < count)
            addHard(list, random, static_cast<int>(std::array{0, 1, 2, 6}[seed % 4]), 1);
        OwnedList ordered;
        clone(list, ordered);
        ASSERT_TRUE(PaintersOrder().sort(&ordered));
        for (int i = 0; i < 100; ++i) {
            const double x = 20 * random.unit();
            const double y = 20 * random.unit();
            const Sight sight = nearestAt(list, x, y);
            if (sight.isClear && sight.colour >= 0) {
                ++compared;
                ASSERT_EQ(lastPaintedAt(ordered, x, y), sight.colour) << "seed " << seed << " at " << x << " " << y;
            }
        }
    }
    EXPECT_GT(compared, 8000U);
}

// All that is seen at a place, the nearest last; empty where two are too close to tell.
std::vector<int> layersAt(const FeedbackPrimitiveList& list, double x, double y) {
    std::vector<std::pair<double, int>> layers;
    for (const FeedbackPrimitive* each : list) {
        const Hit found = hit(*each, x, y);
        if (std::fabs(found.margin) < 0.02)
            return {};
        if (found.margin >= 0)
            layers.emplace_back(-found.depth, static_cast<int>(each->vertices[0].r));
    }
    std::sort(layers.begin(), layers.end());
    std::vector<int> colours;
    for (std::size_t i = 0; i < layers.size(); ++i) {
        if (i > 0 && layers[i].first - layers[i - 1].first < 1e-4)
            return {};
        colours.push_back(layers[i].second);
    }
    return colours;
}

TEST(PaintersOrder, PaintsEachLayerOfWhatIsSeenThrough) {
    std::size_t compared = 0;
    std::size_t wrong = 0;
    for (std::uint32_t seed = 0; seed < 200; ++seed) {
        Random random(seed);
        OwnedList list;
        const std::uint32_t count = 2 + random.below(12);
        while (list.size() < count)
            addHard(list, random, static_cast<int>(std::array{1, 4, 6}[seed % 3]), 0.5F);
        for (FeedbackPrimitive* each : list)
            each->offset = false;
        OwnedList ordered;
        clone(list, ordered);
        ASSERT_TRUE(PaintersOrder().sort(&ordered));
        for (int i = 0; i < 300; ++i) {
            const double x = 20 * random.unit();
            const double y = 20 * random.unit();
            const std::vector<int> expected = layersAt(list, x, y);
            if (expected.size() < 2)
                continue;
            std::vector<int> painted;
            for (const FeedbackPrimitive* each : ordered) {
                if (hit(*each, x, y).margin >= 0)
                    painted.push_back(static_cast<int>(each->vertices[0].r));
            }
            ++compared;
            wrong += painted != expected ? 1U : 0U;
        }
    }
    EXPECT_GT(compared, 3000U);
    // Parts of several that come before the same place are told apart by their mean depths.
    EXPECT_LT(static_cast<double>(wrong), 0.01 * static_cast<double>(compared)) << wrong << " of " << compared;
}

TEST(PaintersOrder, KeepsCopiesInTheOrderOfDrawing) {
    OwnedList list;
    const auto add = [&list](float z, int colour) {
        list.push_back(coloured(triangle(vertex(0, 0, z), vertex(10, 0, z), vertex(0, 10, z)), colour));
    };
    const auto addOther = [&list](int colour) {
        list.push_back(coloured(triangle(vertex(1, 1, 0.5F), vertex(12, 1, 0.5F), vertex(1, 12, 0.5F)), colour));
    };
    // Two shapes in one plane, drawn in turn, and one that runs behind both.
    add(0.5F, 0);
    add(0.6F, 1);
    addOther(2);
    add(0.5F, 3);
    add(0.5F, 4);
    addOther(5);
    add(0.5F, 6);
    add(0.6F, 7);
    EXPECT_TRUE(PaintersOrder().sort(&list));
    std::vector<int> colours;
    for (const FeedbackPrimitive* each : list)
        colours.push_back(static_cast<int>(each->vertices[0].r));
    EXPECT_THAT(colours, testing::ElementsAre(1, 7, 0, 2, 3, 4, 5, 6));
}

TEST(PaintersOrder, CutsEveryCopyAlike) {
    OwnedList list;
    for (int copy = 0; copy < 5; ++copy) {
        list.push_back(triangle(vertex(10, 10, 0.4F), vertex(20, 10, 0.6F), vertex(10, 20, 0.4F)));
        list.push_back(triangle(vertex(0, 0, 0.5F, 0, 0, 0, 0.5F), vertex(100, 0, 0.5F, 0, 0, 0, 0.5F),
                                vertex(0, 100, 0.5F, 0, 0, 0, 0.5F)));
    }
    std::vector<std::uint32_t> origins;
    EXPECT_TRUE(PaintersOrder().sort(&list, &origins));
    // All parts behind the plane, the copies of the plane, all parts in front.
    EXPECT_THAT(origins, testing::ElementsAre(0U, 2U, 4U, 6U, 8U, 1U, 3U, 5U, 7U, 9U, 0U, 2U, 4U, 6U, 8U));
}

// Where the work does not do, what was not compared comes by its depth.
TEST(PaintersOrder, TellsWhereTheWorkWasCutShort) {
    OwnedList list;
    for (int i = 0; i < 1500; ++i) {
        const float shift = 0.001F * static_cast<float>((i * 7) % 1500);
        const float depth = 0.9F - 0.0005F * static_cast<float>(i);
        list.push_back(coloured(triangle(vertex(shift, 0, depth, 0, 0, 0, 0.5F), vertex(9, shift, depth, 0, 0, 0, 0.5F),
                                         vertex(0, 9, depth, 0, 0, 0, 0.5F)),
                                i));
    }
    std::reverse(list.begin(), list.end());
    for (const std::size_t work : {std::size_t(0), PaintersOrder::usualWork}) {
        OwnedList ordered;
        clone(list, ordered);
        bool exact = work == 0;
        PaintersOrder order;
        order.setWork(work);
        EXPECT_TRUE(order.sort(&ordered, nullptr, &exact));
        EXPECT_EQ(exact, work > 0);
        ASSERT_EQ(ordered.size(), list.size());
        for (std::size_t i = 0; i < ordered.size(); ++i)
            ASSERT_EQ(ordered[i]->vertices[0].r, static_cast<float>(i));
    }
}

// The first runs through the second and would be cut.
TEST(PaintersOrder, DepthsAloneCutNothing) {
    OwnedList list;
    list.push_back(triangle(vertex(10, 10, 0.4F), vertex(20, 10, 0.6F), vertex(10, 20, 0.4F)));
    list.push_back(triangle(vertex(0, 0, 0.5F, 0, 0, 0, 0.5F), vertex(100, 0, 0.5F, 0, 0, 0, 0.5F),
                            vertex(0, 100, 0.5F, 0, 0, 0, 0.5F)));
    list.push_back(triangle(vertex(0, 0, 0.9F), vertex(10, 0, 0.1F), vertex(0, 10, 0.44F)));
    OwnedList whole;
    clone(list, whole);
    std::vector<std::uint32_t> origins;
    EXPECT_TRUE(PaintersOrder().sortByDepth(&list, &origins));
    EXPECT_THAT(origins, testing::ElementsAre(1U, 2U, 0U));
    EXPECT_EQ(list.size(), 3U);
    EXPECT_TRUE(PaintersOrder().sort(&whole));
    EXPECT_GT(whole.size(), 3U);
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
        const PolygonShift shift{random.chance(2) ? 1.5 : 0, random.chance(3) ? 1e30 : 4};
        std::vector<std::uint32_t> origins;
        ASSERT_TRUE(PaintersOrder(shift).sort(&list, &origins));
        ASSERT_EQ(list.size(), origins.size());
        ASSERT_TRUE(HiddenPrimitives(shift).remove(&list));
    }
}

TEST(PaintersOrder, StaysWhenTheUserCancels) {
    OwnedList list;
    Random random(5);
    for (int i = 0; i < 600; ++i)
        list.push_back(randomTriangle(random, i));
    const FeedbackPrimitiveList before = list;
    ScopedProgress progress;
    OwnedList other;
    clone(list, other);
    EXPECT_TRUE(PaintersOrder().sort(&other));
    const int polls = progress.polls();
    EXPECT_GT(polls, 5);
    for (int after = 0; after < polls; after += 1 + polls / 16) {
        progress.cancelAfterPolls(after);
        EXPECT_FALSE(PaintersOrder().sort(&list)) << after;
        EXPECT_EQ(list, before) << after;
    }
}

} // namespace
