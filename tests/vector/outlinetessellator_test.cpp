#include "reference/literaloutline.h"
#include "reference/literaltriangles.h"
#include "vector/trianglesource.h"
#include "vector/vectorprogress.h"
#include "vector/vectortesting.h"

#include "kivrender/vector/coplanarsweep.h"
#include "kivrender/vector/coplanartrianglemerger.h"
#include "kivrender/vector/outlinecontours.h"
#include "kivrender/vector/outlinetessellator.h"

#include <GL/glu.h>

#include <cmath>
#include <deque>

struct KivTestAccess {
    static void feed(OutlineTessellator& tessellator, unsigned int mode, int count) {
        tessellator.onBegin(mode, &tessellator);
        for (std::intptr_t index = 0; index < count; ++index)
            tessellator.onVertex(reinterpret_cast<void*>(index), &tessellator);
        tessellator.onEnd(&tessellator);
    }
    static std::vector<std::int32_t> takeResult(OutlineTessellator& tessellator) {
        EXPECT_TRUE(tessellator.currentIndices.empty());
        return std::move(tessellator.resultIndices);
    }
    static int errorCode(const OutlineTessellator& tessellator) {
        return tessellator.errorCode;
    }
};

using vectortest::describe;
using vectortest::OwnedList;
using vectortest::Random;
using vectortest::TriangleSource;
using vectortest::vertex;

namespace {

// An outline whose vertices live here.
class Outline {
public:
    FeedbackVertex* add(const FeedbackVertex& v) {
        vertices.push_back(v);
        return &vertices.back();
    }
    void edge(const FeedbackVertex& from, const FeedbackVertex& to) {
        FeedbackVertex* first = add(from);
        edges.push_back({first, add(to)});
    }
    void polygon(const std::vector<FeedbackVertex>& corners) {
        for (std::size_t i = 0; i < corners.size(); ++i)
            edge(corners[i], corners[(i + 1) % corners.size()]);
    }
    std::vector<FeedbackEdge> edges;

private:
    std::deque<FeedbackVertex> vertices;
};

struct Pieces : OwnedList {
    bool isNull = true;
};

void tessellate(const Outline& outline, Pieces& pieces) {
    CoplanarGroup group;
    group.edges = outline.edges;
    OutlineTessellator tessellator;
    const std::unique_ptr<FeedbackPrimitiveList> list(tessellator.tessellate(&group));
    pieces.isNull = list == nullptr;
    if (list)
        pieces.insert(pieces.end(), list->begin(), list->end());
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

std::vector<FeedbackVertex> square(float low, float high) {
    return {vertex(low, low), vertex(high, low), vertex(high, high), vertex(low, high)};
}

TEST(OutlineTessellator, ATriangle) {
    Outline outline;
    outline.polygon({vertex(1, 1, 0, 1), vertex(3, 1, 0, 0, 1), vertex(1, 4, 0, 0, 0, 1)});
    Pieces pieces;
    tessellate(outline, pieces);
    ASSERT_EQ(pieces.size(), 1U);
    EXPECT_EQ(pieces[0]->vertexCount, 3);
    EXPECT_EQ(pieces[0]->type, 0) << "the caller gives it its attributes";
    EXPECT_EQ(areaOf(pieces), 3.0);
    float red = 0;
    for (const FeedbackVertex& v : pieces[0]->vertices)
        red += v.r;
    EXPECT_EQ(red, 1.0F) << "vertices keep their colours";
}

TEST(OutlineTessellator, ASquareInUnorderedEdges) {
    Outline outline;
    const auto corners = square(1, 3);
    outline.edge(corners[2], corners[3]);
    outline.edge(corners[0], corners[1]);
    outline.edge(corners[2], corners[1]);
    outline.edge(corners[0], corners[3]);
    Pieces pieces;
    tessellate(outline, pieces);
    EXPECT_EQ(pieces.size(), 2U);
    EXPECT_EQ(areaOf(pieces), 4.0);
}

TEST(OutlineTessellator, MiddleVerticesOfSidesGo) {
    Outline outline;
    outline.polygon({vertex(1, 1), vertex(2, 1), vertex(3, 1), vertex(4, 1), vertex(5, 1), vertex(5, 2), vertex(4, 2),
                     vertex(3, 2), vertex(2, 2), vertex(1, 2)});
    Pieces pieces;
    tessellate(outline, pieces);
    EXPECT_EQ(pieces.size(), 2U);
    EXPECT_EQ(areaOf(pieces), 4.0);
    for (const FeedbackPrimitive* each : pieces) {
        for (const FeedbackVertex& v : each->vertices)
            EXPECT_TRUE(v.x == 1 || v.x == 5);
    }
}

TEST(OutlineTessellator, AHoleIsCutOut) {
    Outline outline;
    outline.polygon(square(2, 3));
    outline.polygon(square(1, 5));
    Pieces pieces;
    tessellate(outline, pieces);
    EXPECT_EQ(pieces.size(), 8U);
    EXPECT_NEAR(areaOf(pieces), 15.0, 1e-6);
}

TEST(OutlineTessellator, AnOpenChainIsAContour) {
    Outline outline;
    const auto corners = square(1, 3);
    for (int i = 0; i < 3; ++i)
        outline.edge(corners[static_cast<std::size_t>(i)], corners[static_cast<std::size_t>(i + 1)]);
    Pieces pieces;
    tessellate(outline, pieces);
    EXPECT_EQ(pieces.size(), 2U);
    EXPECT_EQ(areaOf(pieces), 4.0);
}

TEST(OutlineTessellator, TooLittleForAContour) {
    Outline none;
    Pieces pieces;
    tessellate(none, pieces);
    EXPECT_TRUE(pieces.isNull);
    Outline one;
    one.edge(vertex(1, 1), vertex(2, 1));
    tessellate(one, pieces);
    EXPECT_TRUE(pieces.isNull);
    Outline apart;
    apart.edge(vertex(1, 1), vertex(2, 1));
    apart.edge(vertex(5, 1), vertex(5, 4));
    apart.edge(vertex(8, 1), vertex(9, 4));
    tessellate(apart, pieces);
    EXPECT_TRUE(pieces.isNull);
}

TEST(OutlineTessellator, ACrossingContourGivesWhatTheTessellatorMakes) {
    CoplanarGroup group;
    Outline outline;
    outline.polygon({vertex(1, 1), vertex(3, 3), vertex(3, 1), vertex(1, 3)});
    group.edges = outline.edges;
    OutlineTessellator tessellator;
    const std::unique_ptr<FeedbackPrimitiveList> list(tessellator.tessellate(&group));
    EXPECT_EQ(KivTestAccess::errorCode(tessellator), GLU_TESS_NEED_COMBINE_CALLBACK);
    EXPECT_EQ(list, nullptr);
    // The next outline is not the worse for it.
    outline.edges.clear();
    outline.polygon(square(1, 3));
    group.edges = outline.edges;
    const std::unique_ptr<FeedbackPrimitiveList> next(tessellator.tessellate(&group));
    EXPECT_EQ(KivTestAccess::errorCode(tessellator), 0);
    ASSERT_NE(next, nullptr);
    EXPECT_EQ(next->size(), 2U);
    deletePrimitives(*next);
}

TEST(OutlineTessellator, StripsFansAndTriangles) {
    OutlineTessellator tessellator;
    KivTestAccess::feed(tessellator, GL_TRIANGLE_STRIP, 5);
    // Not alternated.
    EXPECT_EQ(KivTestAccess::takeResult(tessellator), (std::vector<std::int32_t>{0, 1, 2, 1, 2, 3, 2, 3, 4}));
    KivTestAccess::feed(tessellator, GL_TRIANGLE_FAN, 5);
    EXPECT_EQ(KivTestAccess::takeResult(tessellator), (std::vector<std::int32_t>{0, 1, 2, 0, 2, 3, 0, 3, 4}));
    KivTestAccess::feed(tessellator, GL_TRIANGLES, 6);
    EXPECT_EQ(KivTestAccess::takeResult(tessellator), (std::vector<std::int32_t>{0, 1, 2, 3, 4, 5}));
    KivTestAccess::feed(tessellator, GL_LINE_LOOP, 5);
    KivTestAccess::feed(tessellator, GL_TRIANGLE_FAN, 2);
    KivTestAccess::feed(tessellator, GL_TRIANGLE_STRIP, 1);
    EXPECT_TRUE(KivTestAccess::takeResult(tessellator).empty());
}

TEST(OutlineTessellator, BrokenVerticesDoNoHarm) {
    for (const float bad : {std::nanf(""), HUGE_VALF, -HUGE_VALF, 3e38F}) {
        for (std::size_t corner = 0; corner < 5; ++corner) {
            std::vector<FeedbackVertex> corners = square(1, 3);
            corners.push_back(vertex(0.5F, 2));
            corners[corner].y = bad;
            Outline outline;
            outline.polygon(corners);
            outline.polygon(square(10, 12));
            Pieces pieces;
            tessellate(outline, pieces);
            for (const FeedbackPrimitive* each : pieces)
                EXPECT_EQ(each->vertices.size(), 3U);
        }
    }
}

TEST(OutlineTessellator, ACancelGivesNothing) {
    int polls = 0;
    for (int after = 0; after <= polls; ++after) {
        vectortest::ScopedProgress progress;
        if (after < polls || polls == 0)
            progress.cancelAfterPolls(after);
        Outline outline;
        outline.polygon({vertex(1, 1), vertex(2, 1), vertex(3, 1), vertex(3, 3), vertex(1, 3)});
        Pieces pieces;
        tessellate(outline, pieces);
        if (after == 0) {
            // The first round tells that a cancel is heard; how often it is asked for, an undisturbed one.
            EXPECT_TRUE(pieces.isNull);
            vectortest::ScopedProgress undisturbed;
            Pieces all;
            tessellate(outline, all);
            EXPECT_EQ(all.size(), 2U);
            polls = undisturbed.polls();
        } else {
            EXPECT_EQ(pieces.isNull, after < polls) << after;
        }
    }
    EXPECT_GT(polls, 5);
}

std::string edgesAsText(const std::vector<FeedbackEdge>& edges) {
    std::string all;
    char text[64];
    for (const FeedbackEdge& edge : edges) {
        std::snprintf(text, sizeof text, "%p-%p ", static_cast<void*>(edge.from), static_cast<void*>(edge.to));
        all += text;
    }
    return all;
}

// Both forms work on the same vertices, so that pointers compare.
void compareContours(std::vector<FeedbackEdge> edges, std::uint32_t seed) {
    std::vector<FeedbackEdge> expectedEdges = edges;
    OutlineContours contours(edges);
    ASSERT_TRUE(contours.joinCollinearEdges());
    literal::joinCollinearEdges(expectedEdges);
    ASSERT_EQ(edgesAsText(edges), edgesAsText(expectedEdges)) << "seed " << seed;
    std::vector<FeedbackVertex*> vertices;
    std::vector<FeedbackVertex*> expectedVertices;
    std::vector<int> ends;
    std::vector<int> expectedEnds;
    ASSERT_TRUE(contours.chain(vertices, ends));
    literal::chain(expectedEdges, expectedVertices, expectedEnds);
    ASSERT_EQ(vertices, expectedVertices) << "seed " << seed;
    ASSERT_EQ(ends, expectedEnds) << "seed " << seed;
}

TEST(OutlineContours, AgreeWithTheLiteralFormOnGroups) {
    for (std::uint32_t seed = 0; seed < 2500 && !HasFatalFailure(); ++seed) {
        OwnedList list;
        TriangleSource(seed).fill(list, 2 + seed % 9);
        std::vector<SweepTriangle*> sweep = literal::sweepOf(list, 0);
        std::vector<std::unique_ptr<CoplanarGroup>> groups;
        CoplanarTriangleMerger().sortTriangles(sweep, &list, 0);
        ASSERT_TRUE(CoplanarSweep(sweep, list).run(nullptr, groups));
        for (const auto& group : groups)
            compareContours(group->edges, seed);
    }
}

TEST(OutlineContours, AgreeWithTheLiteralFormOnAnyEdges) {
    for (std::uint32_t seed = 0; seed < 6000 && !HasFatalFailure(); ++seed) {
        Random random(seed);
        Outline outline;
        static constexpr float scales[] = {1.0F, 0.01F, 0.0007F, 1e7F, 1e12F};
        const float scale = scales[random.below(std::size(scales))];
        const std::uint32_t places = 2 + random.below(5);
        const auto place = [&] {
            FeedbackVertex v = vertex(scale * static_cast<float>(random.below(places)),
                                      scale * static_cast<float>(random.below(places)));
            if (random.chance(10))
                v.x += 0.0009F;
            if (random.chance(100))
                v.y = std::nanf("");
            return v;
        };
        const std::uint32_t count = random.below(seed % 10 == 0 ? 120 : 40);
        for (std::uint32_t i = 0; i < count; ++i)
            outline.edge(place(), place());
        compareContours(outline.edges, seed);
    }
}

TEST(OutlineContours, AgreeWithTheLiteralFormOnGentleCurves) {
    // Neighbouring sides whose directions differ by about the tolerance: which of them join depends on where a run
    // began.
    for (std::uint32_t seed = 0; seed < 400 && !HasFatalFailure(); ++seed) {
        Random random(seed);
        Outline outline;
        const std::uint32_t count = 20 + random.below(200);
        const float bend = 0.0002F + 0.001F * random.unit();
        std::vector<FeedbackVertex> curve;
        float x = 0;
        float y = 0;
        for (std::uint32_t i = 0; i < count; ++i) {
            curve.push_back(vertex(x, y));
            const float angle = bend * static_cast<float>(i);
            x += std::cos(angle);
            y += std::sin(angle);
        }
        outline.polygon(curve);
        for (FeedbackEdge& edge : outline.edges) {
            std::swap(edge, outline.edges[random.below(count)]);
            if (random.chance(2))
                std::swap(edge.from, edge.to);
        }
        compareContours(outline.edges, seed);
    }
}

} // namespace
