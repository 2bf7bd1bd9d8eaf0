#include "reference/literaltriangles.h"
#include "support/pollcost.h"
#include "vector/readylists.h"
#include "vector/trianglesource.h"
#include "vector/vectorprogress.h"
#include "vector/vectortesting.h"

#include "kivrender/vector/coplanarsweep.h"
#include "kivrender/vector/coplanartrianglemerger.h"
#include "kivrender/vector/outlinetessellator.h"
#include "kivrender/vector/sweeporder.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

using vectortest::describe;
using vectortest::OwnedList;
using vectortest::Random;
using vectortest::triangle;
using vectortest::TriangleSource;
using vectortest::vertex;

namespace {

FeedbackVertex grey(float x, float y, float z = 0) {
    return vertex(x, y, z, 0.5F, 0.5F, 0.5F);
}

// The unit square at x, y in two triangles.
void addSquare(FeedbackPrimitiveList& list, float x, float y) {
    list.push_back(triangle(grey(x, y), grey(x + 1, y), grey(x + 1, y + 1)));
    list.push_back(triangle(grey(x, y), grey(x + 1, y + 1), grey(x, y + 1)));
}

void merge(FeedbackPrimitiveList& triangles, float xSize = 2, float ySize = 1) {
    CoplanarTriangleMerger().merge(&triangles, 7, xSize, ySize);
}

double areaOf(const FeedbackPrimitiveList& triangles) {
    double area = 0;
    for (const FeedbackPrimitive* each : triangles) {
        const FeedbackVertex* v = each->vertices.data();
        area += std::fabs(static_cast<double>(v[1].x - v[0].x) * (v[2].y - v[0].y) -
                          static_cast<double>(v[2].x - v[0].x) * (v[1].y - v[0].y)) /
                2;
    }
    return area;
}

int numGroups(const std::vector<FeedbackPrimitive*>& triangles) {
    OwnedList list;
    for (FeedbackPrimitive* each : triangles)
        list.push_back(each);
    std::vector<SweepTriangle*> sweep = literal::sweepOf(list, 0);
    CoplanarTriangleMerger().sortTriangles(sweep, &list, 0);
    std::vector<std::unique_ptr<CoplanarGroup>> groups;
    EXPECT_TRUE(CoplanarSweep(sweep, list).run(nullptr, groups));
    EXPECT_EQ(groups.size(), list.size());
    return static_cast<int>(groups.size());
}

FeedbackPrimitive* coloured(FeedbackPrimitive* each, float red) {
    for (FeedbackVertex& v : each->vertices)
        v.r = red;
    return each;
}

TEST(FeedbackPlane, NormalAndPoint) {
    const FeedbackPlane plane(grey(1, 1, 5), grey(3, 1, 5), grey(1, 4, 5));
    EXPECT_DOUBLE_EQ(plane.normal.z, 1.0);
    EXPECT_EQ(plane.normal.x, 0.0);
    EXPECT_EQ(plane.point.y, 4.0F);
    const FeedbackPlane thin(grey(1, 1), grey(1001, 1), grey(1001, 1.0005F));
    EXPECT_TRUE(std::isnan(thin.normal.x));
    const FeedbackPlane atOrigin(grey(1, 1), grey(2, 1), grey(0.0005F, 0));
    EXPECT_EQ(atOrigin.point.x, 0.0F);
    EXPECT_EQ(atOrigin.point.r, 0.0F);
}

TEST(FeedbackPlane, CoplanarInBothSenses) {
    FeedbackPlane plane(grey(1, 1, 5), grey(3, 1, 5), grey(1, 4, 5));
    const auto isCoplanar = [&](FeedbackVertex a, FeedbackVertex b, FeedbackVertex c) {
        const std::unique_ptr<FeedbackPrimitive> primitive(triangle(a, b, c));
        SweepTriangle swept(*primitive);
        return plane.isCoplanar(&swept);
    };
    EXPECT_TRUE(isCoplanar(grey(7, 7, 5), grey(8, 7, 5), grey(7, 8, 5)));
    EXPECT_TRUE(isCoplanar(grey(7, 7, 5), grey(7, 8, 5), grey(8, 7, 5)));
    EXPECT_TRUE(isCoplanar(grey(1, 4, 5), grey(7, 8, 5), grey(8, 7, 5))); // starts in the point of the plane
    EXPECT_FALSE(isCoplanar(grey(7, 7, 6), grey(8, 7, 6), grey(7, 8, 6)));
    EXPECT_FALSE(isCoplanar(grey(7, 7, 5), grey(8, 7, 5), grey(7, 8, 5.1F)));
    EXPECT_FALSE(isCoplanar(grey(7, 7, 5), grey(7, 7, 5), grey(7, 8, 5)));
}

TEST(SweepTriangle, ExtentsAlongAnAxis) {
    const std::unique_ptr<FeedbackPrimitive> primitive(triangle(grey(1, 7, -2), grey(4, 5, 0), grey(-3, 6, 9)));
    const float low[] = {-3, 5, -2};
    const float high[] = {4, 7, 9};
    for (int axis = 0; axis < 3; ++axis) {
        SweepTriangle swept(*primitive);
        swept.axis = axis;
        swept.computeExtents();
        EXPECT_EQ(swept.minExtent, low[axis]);
        EXPECT_EQ(swept.maxExtent, high[axis]);
    }
}

TEST(CoplanarGroup, TwoTrianglesShareASide) {
    OwnedList list;
    addSquare(list, 1, 1);
    auto sweep = literal::sweepOf(list, 0);
    CoplanarGroup group;
    EXPECT_TRUE(group.addTriangle(sweep[0]));
    EXPECT_EQ(group.edges.size(), 3U);
    EXPECT_TRUE(group.addTriangle(sweep[1]));
    EXPECT_EQ(group.edges.size(), 4U);
    EXPECT_EQ(group.sweepTriangles.size(), 2U);
    EXPECT_EQ(group.minExtent, 1.0F);
    EXPECT_EQ(group.maxExtent, 2.0F);
    // The shared side was the last edge; the new sides follow the first two.
    EXPECT_EQ(group.edges[2].from, &sweep[1]->vertices[1]);
    EXPECT_EQ(group.edges[3].from, &sweep[1]->vertices[2]);
}

TEST(CoplanarGroups, WhatMergesAndWhatDoesNot) {
    const auto first = [] { return triangle(grey(1, 1), grey(2, 1), grey(2, 2)); };
    const auto second = [] { return triangle(grey(1, 1), grey(2, 2), grey(1, 2)); };
    EXPECT_EQ(numGroups({first(), second()}), 1);
    EXPECT_EQ(numGroups({first(), triangle(grey(2, 2), grey(1, 1), grey(1, 2))}), 1) << "facing the other way";
    EXPECT_EQ(numGroups({first(), triangle(grey(3, 1), grey(4, 1), grey(4, 2))}), 2) << "apart";
    EXPECT_EQ(numGroups({first(), triangle(grey(2, 2), grey(3, 2), grey(3, 3))}), 2) << "touching in a corner";
    EXPECT_EQ(numGroups({first(), triangle(grey(1, 1), grey(2, 2), grey(1, 2, 1))}), 2) << "another plane";
    EXPECT_EQ(numGroups({first(), coloured(second(), 0.6F)}), 2) << "another colour";
    FeedbackPrimitive* blended = second();
    blended->blend = true;
    EXPECT_EQ(numGroups({first(), blended}), 2);
    FeedbackPrimitive* stippled = second();
    stippled->stippleFactor = 1;
    EXPECT_EQ(numGroups({first(), stippled}), 2);
    FeedbackPrimitive* wide = second();
    wide->lineWidth = 3;
    EXPECT_EQ(numGroups({first(), wide}), 1) << "the line width does not matter to polygons";
    EXPECT_EQ(numGroups({triangle(grey(1, 1), grey(1001, 1), grey(1001, 1.0005F)),
                         triangle(grey(1, 1), grey(1001, 1), grey(1001, 1.0005F))}),
              2)
        << "too thin to have a plane";
}

TEST(CoplanarGroups, ReachOfTheSweep) {
    // Shared sides whose ends differ by nearly the tolerance, so that the second begins beyond the first.
    const auto pair = [](float gap) {
        return std::vector<FeedbackPrimitive*>{triangle(grey(1, 1), grey(2, 1), grey(2, 2)),
                                               triangle(grey(2 + gap, 1), grey(2 + gap, 2), grey(3, 1))};
    };
    EXPECT_EQ(numGroups(pair(0.0009F)), 1);
    EXPECT_EQ(numGroups(pair(0.0011F)), 2);
}

TEST(AverageColour, SmoothTrianglesByTheirMean) {
    const std::unique_ptr<FeedbackPrimitive> flat(triangle(grey(0, 0), grey(1, 0), grey(0, 1)));
    const std::unique_ptr<FeedbackPrimitive> smooth(triangle(grey(0, 0), grey(1, 0), grey(0, 1)));
    smooth->vertices[0].r = 0.25F;
    smooth->vertices[1].r = 0.75F;
    EXPECT_TRUE(sameAverageColour(flat.get(), smooth.get()));
    smooth->vertices[1].r = 0.7501F;
    EXPECT_FALSE(sameAverageColour(flat.get(), smooth.get()));
    smooth->vertices[1].r = std::nanf("");
    EXPECT_FALSE(sameAverageColour(smooth.get(), smooth.get()));
}

// Each tolerance, just within and just beyond.
TEST(FeedbackPlane, TheTolerancesOfPlanes) {
    FeedbackPlane plane(grey(0, 0, 5), grey(1, 0, 5), grey(0, 1, 5));
    const auto isCoplanar = [&](double slope, double place) {
        // Turned by the slope, and then moved so far off the plane, for each unit of distance from its point.
        const auto at = [&](double x, double y) {
            return grey(static_cast<float>(x), static_cast<float>(y),
                        static_cast<float>(5 + slope * (x - 1000) + place * 1000));
        };
        const std::unique_ptr<FeedbackPrimitive> primitive(triangle(at(1000, 1), at(1064, 1), at(1000, 65)));
        SweepTriangle swept(*primitive);
        return plane.isCoplanar(&swept);
    };
    EXPECT_TRUE(isCoplanar(0, 0));
    EXPECT_TRUE(isCoplanar(0.00138, 0)) << "1 - 0.95e-6";
    EXPECT_FALSE(isCoplanar(0.00145, 0)) << "1 - 1.05e-6";
    EXPECT_FALSE(isCoplanar(-0.00145, 0));
    EXPECT_TRUE(isCoplanar(0, 0.00138));
    EXPECT_FALSE(isCoplanar(0, 0.00145));
}

TEST(FeedbackVertex, EqualWithinAThousandth) {
    for (float FeedbackVertex::*component : {&FeedbackVertex::x, &FeedbackVertex::y, &FeedbackVertex::z}) {
        for (const float sense : {1.0F, -1.0F}) {
            FeedbackVertex moved = grey(0, 0);
            moved.*component = sense * 0.00099F;
            EXPECT_TRUE(grey(0, 0) == moved);
            moved.*component = sense * 0.00101F;
            EXPECT_FALSE(grey(0, 0) == moved);
        }
    }
}

TEST(FeedbackVector, EqualWithinAThousandth) {
    for (double FeedbackVector::*component : {&FeedbackVector::x, &FeedbackVector::y, &FeedbackVector::z}) {
        for (const double sense : {1.0, -1.0}) {
            FeedbackVector moved;
            moved.*component = sense * 0.00099;
            EXPECT_TRUE(FeedbackVector() == moved);
            moved.*component = sense * 0.00101;
            EXPECT_FALSE(FeedbackVector() == moved);
        }
    }
}

TEST(AverageColour, EachComponentWithinATenMillionth) {
    for (float FeedbackVertex::*component :
         {&FeedbackVertex::r, &FeedbackVertex::g, &FeedbackVertex::b, &FeedbackVertex::a}) {
        for (const float sense : {1.0F, -1.0F}) {
            const std::unique_ptr<FeedbackPrimitive> first(triangle(grey(0, 0), grey(1, 0), grey(0, 1)));
            const std::unique_ptr<FeedbackPrimitive> second(triangle(grey(0, 0), grey(1, 0), grey(0, 1)));
            for (FeedbackVertex& each : first->vertices)
                each.*component = 0;
            for (FeedbackVertex& each : second->vertices)
                each.*component = sense * 0.9e-7F;
            EXPECT_TRUE(sameAverageColour(first.get(), second.get()));
            for (FeedbackVertex& each : second->vertices)
                each.*component = sense * 1.1e-7F;
            EXPECT_FALSE(sameAverageColour(first.get(), second.get()));
        }
    }
}

TEST(CoplanarGroups, EveryAttributeKeepsTrianglesApart) {
    const auto apart = [](auto change) {
        FeedbackPrimitive* second = triangle(grey(1, 1), grey(2, 2), grey(1, 2));
        change(*second);
        return numGroups({triangle(grey(1, 1), grey(2, 1), grey(2, 2)), second}) == 2;
    };
    EXPECT_TRUE(apart([](FeedbackPrimitive& each) { each.offset = true; }));
    EXPECT_TRUE(apart([](FeedbackPrimitive& each) { each.boundary = true; }));
    EXPECT_TRUE(apart([](FeedbackPrimitive& each) { each.blend = true; }));
    EXPECT_TRUE(apart([](FeedbackPrimitive& each) { each.stipplePattern = 1; }));
    EXPECT_TRUE(apart([](FeedbackPrimitive& each) { each.stippleFactor = 1; }));
    EXPECT_TRUE(apart([](FeedbackPrimitive& each) { each.blendSource = 1; }));
    EXPECT_TRUE(apart([](FeedbackPrimitive& each) { each.blendDestination = 1; }));
    EXPECT_FALSE(apart([](FeedbackPrimitive& each) { each.pointSize = 5; }));
}

TEST(CoplanarTriangleMerger, ASquareOfManyBecomesTwo) {
    OwnedList list;
    for (int i = 0; i < 6; ++i) {
        for (int j = 0; j < 4; ++j)
            addSquare(list, static_cast<float>(1 + i), static_cast<float>(1 + j));
    }
    for (FeedbackPrimitive* each : list)
        each->boundary = true;
    vectortest::ScopedProgress progress;
    merge(list);
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(areaOf(list), 24.0);
    for (const FeedbackPrimitive* each : list) {
        EXPECT_EQ(each->type, FeedbackToken::polygon);
        EXPECT_EQ(each->vertexCount, 3);
        EXPECT_TRUE(each->boundary);
    }
    EXPECT_EQ(progress.units(), 48U + 1U);
    ASSERT_EQ(progress.calls().size(), 8U);
    EXPECT_EQ(progress.calls()[0], L"size 7 48");
    EXPECT_THAT(progress.calls()[1], testing::EndsWith(L" (2) "));
    EXPECT_EQ(progress.calls()[2], L"begin");
    EXPECT_EQ(progress.calls()[3], L"end");
    EXPECT_EQ(progress.calls()[4], L"size 8 1");
    EXPECT_THAT(progress.calls()[5], testing::EndsWith(L" (3) "));
    EXPECT_EQ(progress.calls()[6], L"begin");
    EXPECT_EQ(progress.calls()[7], L"end");
}

TEST(CoplanarTriangleMerger, AHoleStaysOpen) {
    OwnedList list;
    for (int i = 0; i < 5; ++i) {
        for (int j = 0; j < 5; ++j) {
            if (i != 2 || j != 2)
                addSquare(list, static_cast<float>(1 + i), static_cast<float>(1 + j));
        }
    }
    merge(list);
    EXPECT_NEAR(areaOf(list), 24.0, 1e-5);
    EXPECT_LE(list.size(), 8U);
}

TEST(CoplanarTriangleMerger, TheFirstOfTheSweepGivesTheAttributes) {
    OwnedList list;
    addSquare(list, 1, 1);
    list[0]->lineWidth = 2; // x from 1 to 2, as the other, but the pivot goes behind its equals
    list[1]->lineWidth = 3;
    std::vector<SweepTriangle*> sweep = literal::sweepOf(list, 0);
    OwnedList sorted;
    vectortest::clone(list, sorted);
    literal::SweepSort(sweep, sorted).run();
    const float expected = sorted[0]->lineWidth;
    for (SweepTriangle* each : sweep)
        delete each;
    merge(list);
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[0]->lineWidth, expected);
    EXPECT_EQ(list[1]->lineWidth, expected);
}

// Two holes that touch at a corner make an outline that touches itself.
TEST(CoplanarTriangleMerger, AnOutlineBeyondTheTessellatorGoesOrStaysAsItWas) {
    const auto fill = [](FeedbackPrimitiveList& list) {
        for (int x = 0; x < 4; ++x)
            for (int y = 0; y < 4; ++y)
                if (!(x == 1 && y == 1) && !(x == 2 && y == 2))
                    addSquare(list, static_cast<float>(x), static_cast<float>(y));
        for (FeedbackPrimitive* each : list)
            each->lineWidth = 3;
    };
    OwnedList gone;
    fill(gone);
    merge(gone);
    EXPECT_LT(areaOf(gone), 13.9);
    OwnedList kept;
    fill(kept);
    CoplanarTriangleMerger(CoplanarTriangleMerger::Failed::staysAsItWas).merge(&kept, 7, 2, 1);
    EXPECT_NEAR(areaOf(kept), 14, 1e-4);
    EXPECT_EQ(kept.size(), 28U);
    for (const FeedbackPrimitive* each : kept) {
        EXPECT_EQ(each->type, FeedbackToken::polygon);
        EXPECT_EQ(each->lineWidth, 3);
    }
}

// What the tessellator does well is the same either way.
TEST(CoplanarTriangleMerger, AGroupThatStaysIsOneThatFailed) {
    OwnedList list;
    for (int x = 0; x < 5; ++x)
        addSquare(list, static_cast<float>(x), 0);
    CoplanarTriangleMerger(CoplanarTriangleMerger::Failed::staysAsItWas).merge(&list, 7, 2, 1);
    EXPECT_EQ(list.size(), 2U);
    EXPECT_NEAR(areaOf(list), 5, 1e-4);
}

// A plate of squares with as many holes in each row.
void addPlate(FeedbackPrimitiveList& list, int rows) {
    for (int x = 0; x < 2 * rows + 1; ++x) {
        for (int y = 0; y < 2 * rows + 1; ++y) {
            if (x % 2 == 0 || y % 2 == 0)
                addSquare(list, static_cast<float>(x), static_cast<float>(y));
        }
    }
}

// More holes than the tessellator can take at once without a poll for a cancel.
TEST(CoplanarTriangleMerger, AnOutlineOfThousandsOfHolesIsCoveredInPieces) {
    for (const auto failed : {CoplanarTriangleMerger::Failed::goes, CoplanarTriangleMerger::Failed::staysAsItWas}) {
        OwnedList list;
        addPlate(list, 60);
        const double area = areaOf(list);
        for (FeedbackPrimitive* each : list)
            each->lineWidth = 3;
        CoplanarTriangleMerger(failed).merge(&list, 7, 2, 1);
        EXPECT_NEAR(areaOf(list), area, 1e-3 * area);
        EXPECT_GE(list.size(), 2U + 6 * 3600) << "the fewest triangles there can be";
        EXPECT_LE(list.size(), 1.05 * (2 + 6 * 3600));
        for (const FeedbackPrimitive* each : list) {
            ASSERT_EQ(each->type, FeedbackToken::polygon);
            ASSERT_EQ(each->lineWidth, 3);
        }
    }
}

TEST(CoplanarTriangleMerger, PiecesCoverNoPlaceTwice) {
    OwnedList list;
    addPlate(list, 60);
    merge(list);
    // In the middle of each square that was there lies one triangle, and none in the holes.
    std::vector<int> covered(121 * 121, 0);
    for (const FeedbackPrimitive* each : list) {
        const FeedbackVertex* v = each->vertices.data();
        const auto [lowX, highX] = std::minmax({v[0].x, v[1].x, v[2].x});
        const auto [lowY, highY] = std::minmax({v[0].y, v[1].y, v[2].y});
        for (int x = static_cast<int>(lowX); x < static_cast<int>(highX); ++x) {
            for (int y = static_cast<int>(lowY); y < static_cast<int>(highY); ++y) {
                // Off the diagonals.
                const double px = x + 0.51;
                const double py = y + 0.523;
                int inside = 0;
                for (int k = 0; k < 3; ++k) {
                    const FeedbackVertex& a = v[k];
                    const FeedbackVertex& b = v[(k + 1) % 3];
                    inside += (b.x - a.x) * (py - a.y) - (b.y - a.y) * (px - a.x) > 0 ? 1 : -1;
                }
                if (std::abs(inside) == 3)
                    ++covered[static_cast<std::size_t>(121 * x + y)];
            }
        }
    }
    for (int x = 0; x < 121; ++x) {
        for (int y = 0; y < 121; ++y)
            ASSERT_EQ(covered[static_cast<std::size_t>(121 * x + y)], x % 2 == 0 || y % 2 == 0 ? 1 : 0)
                << x << " " << y;
    }
}

TEST(CoplanarTriangleMerger, WithEqualSizesTheSweepRunsAlongY) {
    const auto merged = [](float xSize, float ySize) {
        OwnedList list;
        list.push_back(triangle(grey(1, 5), grey(2, 5), grey(2, 6)));
        list.push_back(triangle(grey(3, 1), grey(4, 1), grey(4, 2)));
        merge(list, xSize, ySize);
        return list.empty() ? 0.0F : list[0]->vertices[0].y;
    };
    EXPECT_GE(merged(2, 1), 5.0F) << "the left one first";
    EXPECT_LE(merged(1, 2), 2.0F) << "the lower one first";
    EXPECT_LE(merged(1, 1), 2.0F);
}

void expectPollsByCost(const FeedbackPrimitiveList& model) {
    vectortest::ReadyLists lists(model);
    PollCost::expectAllowed(
        [&] { CoplanarTriangleMerger(CoplanarTriangleMerger::Failed::staysAsItWas).merge(&lists.take(), 7, 2, 1); });
}

TEST(CoplanarTriangleMerger, PollsByCostAmongTrianglesThatStay) {
    OwnedList list;
    for (int i = 0; i < 40000; ++i) {
        const float x = static_cast<float>(i % 200);
        const float y = static_cast<float>(i / 200);
        list.push_back(triangle(grey(x, y), grey(x + 1, y, 0.1F * x), grey(x, y + 1, 0.1F * y)));
    }
    expectPollsByCost(list);
}

TEST(CoplanarTriangleMerger, PollsByCostInOneLargeFace) {
    OwnedList list;
    for (int i = 0; i < 30000; ++i)
        addSquare(list, static_cast<float>(i % 150), static_cast<float>(i / 150));
    expectPollsByCost(list);
}

TEST(CoplanarTriangleMerger, PollsByCostAmongCopies) {
    OwnedList list;
    for (int i = 0; i < 60000; ++i)
        list.push_back(triangle(grey(1, 1), grey(2, 1), grey(2, 2)));
    expectPollsByCost(list);
}

TEST(CoplanarTriangleMerger, PollsByCostAroundManyHoles) {
    OwnedList list;
    addPlate(list, 60);
    expectPollsByCost(list);
}

// A star, all of whose points begin on edges that the sweep crosses.
TEST(CoplanarTriangleMerger, PollsByCostAroundManyPoints) {
    OwnedList list;
    constexpr int points = 20000;
    const auto at = [](int i) {
        const double angle = 6.283185307179586 * (i % (2 * points)) / (2 * points);
        const double radius = i % 2 == 0 ? 100 : 90;
        return grey(static_cast<float>(radius * std::cos(angle)), static_cast<float>(radius * std::sin(angle)));
    };
    for (int i = 0; i < 2 * points; ++i)
        list.push_back(triangle(grey(0, 0), at(i), at(i + 1)));
    expectPollsByCost(list);
}

TEST(CoplanarTriangleMerger, ASingleTriangleComesThrough) {
    OwnedList list;
    list.push_back(triangle(grey(1, 1), grey(4, 1), grey(1, 3)));
    merge(list);
    ASSERT_EQ(list.size(), 1U);
    EXPECT_EQ(areaOf(list), 3.0);
}

TEST(CoplanarTriangleMerger, AGroupWithoutAreaIsDropped) {
    OwnedList list;
    list.push_back(triangle(grey(1, 1), grey(1, 1), grey(1, 1)));
    merge(list);
    EXPECT_TRUE(list.empty());
    merge(list);
    EXPECT_TRUE(list.empty());
}

TEST(CoplanarTriangleMerger, ACancelAtAnyPollLosesNothingTwice) {
    int polls = 1;
    std::size_t lastSize = 0;
    for (int after = 0; after < polls; ++after) {
        vectortest::ScopedProgress progress;
        progress.cancelAfterPolls(after);
        OwnedList list;
        for (int i = 0; i < 3; ++i) {
            addSquare(list, static_cast<float>(1 + i), 1);
            addSquare(list, static_cast<float>(1 + i), 5);
        }
        merge(list);
        polls = std::max(polls, std::min(progress.polls(), 400) + 1);
        for (const FeedbackPrimitive* each : list)
            EXPECT_EQ(each->vertices.size(), 3U);
        lastSize = list.size();
    }
    EXPECT_GT(polls, 20);
    EXPECT_EQ(lastSize, 4U);
}

TEST(CoplanarTriangleMerger, AgreesWithTheLiteralFormToTheEnd) {
    for (std::uint32_t seed = 0; seed < 1500 && !HasFatalFailure(); ++seed) {
        OwnedList list;
        TriangleSource(seed).fill(list, 2 + seed % 7);
        OwnedList seeds;
        vectortest::clone(list, seeds);
        merge(list, static_cast<float>(seed % 2), 0.5F);

        const int axis = seed % 2 == 1 ? 0 : 1;
        std::vector<SweepTriangle*> sweep = literal::sweepOf(seeds, axis);
        literal::SweepSort(sweep, seeds).run();
        const auto groups = literal::group(sweep, seeds);
        OutlineTessellator tessellator;
        OwnedList expected;
        for (std::size_t k = 0; k < groups.size(); ++k) {
            const std::unique_ptr<FeedbackPrimitiveList> pieces(tessellator.tessellate(groups[k].get()));
            for (std::size_t i = 0; pieces && i < pieces->size(); ++i) {
                copyAttributes(*(*pieces)[i], *seeds[k]);
                expected.push_back((*pieces)[i]);
            }
        }
        ASSERT_EQ(describe(list), describe(expected)) << "seed " << seed;
    }
}

// The plain quicksort on keys alone.
std::vector<int> literalOrder(const std::vector<float>& keys) {
    std::vector<SweepTriangle*> sweep;
    const std::unique_ptr<FeedbackPrimitive> primitive(triangle(grey(0, 0), grey(0, 0), grey(0, 0)));
    for (std::size_t i = 0; i < keys.size(); ++i) {
        sweep.push_back(new SweepTriangle(*primitive));
        sweep.back()->minExtent = keys[i];
        sweep.back()->axis = static_cast<int>(i);
    }
    FeedbackPrimitiveList alongside(keys.size(), nullptr);
    literal::SweepSort(sweep, alongside).run();
    std::vector<int> order;
    for (SweepTriangle* each : sweep) {
        order.push_back(each->axis);
        delete each;
    }
    return order;
}

std::vector<float> keysOfKind(std::uint32_t kind, std::size_t count, Random& random) {
    std::vector<float> keys(count);
    for (std::size_t i = 0; i < count; ++i) {
        const float place = static_cast<float>(i);
        const float last = static_cast<float>(count - i);
        switch (kind) {
        case 0:
            keys[i] = place;
            break;
        case 1:
            keys[i] = last;
            break;
        case 2:
            keys[i] = 3;
            break;
        case 3:
            keys[i] = static_cast<float>(random.below(3));
            break;
        case 4:
            keys[i] = std::floor(place / 37);
            break;
        case 5:
            keys[i] = std::min(place, last); // up and down
            break;
        case 6:
            keys[i] = random.chance(20) ? static_cast<float>(random.below(1000)) : place;
            break;
        case 7:
            keys[i] = random.chance(9) ? std::nanf("") : static_cast<float>(random.below(40)) - 20.0F;
            break;
        case 8:
            keys[i] = random.chance(2) ? -0.0F : random.chance(2) ? 0.0F : -place;
            break;
        case 9:
            keys[i] = i % 2 == 0 ? place : -place;
            break;
        case 10:
            keys[i] = random.chance(3)   ? std::numeric_limits<float>::infinity()
                      : random.chance(3) ? std::nanf("")
                                         : last;
            break;
        case 11: // down and up, such that each pivot leaves one key behind it and moves all others
            keys[i] = i == 0 ? 2 * last : i <= count / 2 ? 2 * last + 3 : 2 * place;
            break;
        default:
            keys[i] = random.unit();
            break;
        }
    }
    return keys;
}

TEST(SweepOrder, AgreesWithTheLiteralQuicksort) {
    Random random(4);
    for (std::uint32_t round = 0; round < 1200; ++round) {
        const std::uint32_t kind = round % 13;
        const std::size_t count = round < 240 ? random.below(60) : 60 + random.below(round % 40 == 7 ? 4000 : 700);
        const std::vector<float> keys = keysOfKind(kind, count, random);
        ASSERT_EQ(sweepOrder(keys), literalOrder(keys)) << "kind " << kind << " count " << count;
    }
}

TEST(SweepOrder, SortedKeysCostNoMoreThanOthers) {
    // So many entries that divide badly: by the square of their number this would take minutes.
    Random random(5);
    for (const std::uint32_t kind : {0U, 1U, 2U, 4U, 11U}) {
        const std::vector<float> keys = keysOfKind(kind, 200000, random);
        const std::vector<int> order = sweepOrder(keys);
        ASSERT_EQ(order.size(), keys.size());
        for (std::size_t i = 1; i < order.size(); ++i)
            ASSERT_LE(keys[static_cast<std::size_t>(order[i - 1])], keys[static_cast<std::size_t>(order[i])]);
    }
}

} // namespace
