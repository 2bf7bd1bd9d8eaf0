#include "vector/vectorprogress.h"
#include "vector/vectortesting.h"

#include "kivrender/vector/kivvectorprogress.h"
#include "kivrender/vector/parsertobuffer.h"
#include "kivrender/vector/parsertoclasses.h"
#include "kivrender/vector/vectorsimplifier.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>

using vectortest::describe;
using vectortest::line;
using vectortest::OwnedList;
using vectortest::primitive;
using vectortest::triangle;
using vectortest::vertex;

namespace {

// Object space is the window, but for half a pixel of depth range: x and y from -1 to 1 over 200 pixels.
FeedbackView plainView() {
    FeedbackView view = {};
    for (const int i : {0, 5, 10, 15})
        view.modelView[i] = view.projection[i] = 1;
    view.viewport[2] = view.viewport[3] = 200;
    return view;
}

FeedbackVertex grey(float x, float y) {
    return vertex(x, y, 0.5F, 0.5F, 0.5F, 0.5F);
}

struct FreeBuffer {
    void operator()(float* floats) const {
        std::free(floats);
    }
};
using Buffer = std::unique_ptr<float, FreeBuffer>;

// Writes the list, simplifies it and reads the outcome. False if nothing came back.
bool simplify(FeedbackPrimitiveList& list, OwnedList& outcome, const FeedbackView& view = plainView()) {
    ParserToBuffer writer(&list);
    writer.parse();
    const Buffer written(writer.getBuffer());
    const std::vector<float> before(written.get(), written.get() + writer.getSize());
    int used = writer.getSize();
    const Buffer simplified(VectorSimplifier(view).simplify(written.get(), &used));
    EXPECT_EQ(std::vector<float>(written.get(), written.get() + writer.getSize()), before);
    if (!simplified) {
        EXPECT_EQ(used, 0);
        return false;
    }
    ParserToClasses reader(simplified.get(), used);
    reader.parse();
    const std::unique_ptr<FeedbackPrimitiveList> read(reader.getPrimitives());
    outcome.insert(outcome.end(), read->begin(), read->end());
    return true;
}

void fillScene(FeedbackPrimitiveList& list) {
    list.push_back(primitive(1795, {grey(10, 10), grey(20, 10), grey(20, 20), grey(10, 20)}));
    list.push_back(triangle(grey(50, 50), grey(90, 50), grey(90, 90)));
    list.push_back(line(grey(50, 50), grey(90, 50)));
    list.push_back(primitive(1793, {grey(7, 7)}));
    list.push_back(triangle(grey(50, 50), grey(90, 90), grey(50, 90)));
    list.push_back(line(grey(90, 50), grey(50, 50)));
    list.push_back(triangle(grey(90, 50), grey(130, 50), grey(90, 90)));
    list.push_back(triangle(grey(130, 50), grey(130, 90), grey(90, 90)));
}

TEST(VectorSimplifier, LinesThenTrianglesThenTheRest) {
    OwnedList list;
    fillScene(list);
    OwnedList outcome;
    ASSERT_TRUE(simplify(list, outcome));
    ASSERT_EQ(outcome.size(), 5U);
    EXPECT_EQ(outcome[0]->type, 1794);
    for (const std::size_t i : {1U, 2U}) {
        EXPECT_EQ(outcome[i]->type, 1795);
        EXPECT_EQ(outcome[i]->vertexCount, 3);
        for (const FeedbackVertex& v : outcome[i]->vertices) {
            EXPECT_TRUE(std::abs(v.x - 50) < 1e-3F || std::abs(v.x - 130) < 1e-3F) << v.x;
            EXPECT_NEAR(v.z, 0.5F, 1e-6F);
            EXPECT_EQ(v.r, 0.5F);
        }
    }
    EXPECT_EQ(outcome[3]->vertexCount, 4) << "larger polygons pass untouched, behind the triangles";
    EXPECT_NEAR(outcome[3]->vertices[2].x, 20, 1e-4);
    EXPECT_EQ(outcome[4]->type, 1793);
}

double areaOf(const FeedbackPrimitiveList& list) {
    double area = 0;
    for (const FeedbackPrimitive* each : list) {
        const FeedbackVertex* v = each->vertices.data();
        area += std::abs((v[1].x - v[0].x) * (v[2].y - v[0].y) - (v[2].x - v[0].x) * (v[1].y - v[0].y)) / 2.0;
    }
    return area;
}

// A plate with two holes that touch at a corner: no tessellator without combined vertices covers it.
TEST(VectorSimplifier, AFaceThatCannotBeCoveredKeepsItsTriangles) {
    OwnedList list;
    for (int x = 0; x < 4; ++x) {
        for (int y = 0; y < 4; ++y) {
            if ((x == 1 && y == 1) || (x == 2 && y == 2))
                continue;
            const auto at = [&](int i, int j) {
                return grey(20 + 40 * static_cast<float>(x + i), 20 + 40 * static_cast<float>(y + j));
            };
            list.push_back(triangle(at(0, 0), at(1, 0), at(1, 1)));
            list.push_back(triangle(at(0, 0), at(1, 1), at(0, 1)));
        }
    }
    OwnedList outcome;
    ASSERT_TRUE(simplify(list, outcome));
    EXPECT_EQ(outcome.size(), 28U);
    EXPECT_NEAR(areaOf(outcome), 14 * 40 * 40, 1);
}

// The sweep runs along the longer side of the last triangle, in x or y, and so decides the order of the output.
TEST(VectorSimplifier, TheLastTriangleDecidesTheDirectionOfTheSweep) {
    const auto firstX = [](float width, float height) {
        OwnedList list;
        list.push_back(triangle(grey(50, 150), grey(60, 150), grey(60, 160)));
        list.push_back(triangle(grey(100, 20), grey(100 + width, 20), grey(100, 20 + height)));
        OwnedList outcome;
        EXPECT_TRUE(simplify(list, outcome));
        return outcome.empty() ? 0.0F : outcome[0]->vertices[0].x;
    };
    EXPECT_LT(firstX(20, 10), 61.0F);
    EXPECT_GT(firstX(10, 20), 99.0F);
    EXPECT_GT(firstX(16, 16), 99.0F) << "equal sizes: along y";
}

TEST(VectorSimplifier, AnEmptyPageAndOneOfPoints) {
    OwnedList list;
    OwnedList outcome;
    ASSERT_TRUE(simplify(list, outcome));
    EXPECT_TRUE(outcome.empty());
    list.push_back(primitive(1793, {grey(7, 7)}));
    list.push_back(primitive(1793, {grey(8, 8)}));
    list[1]->pointSize = 3;
    list[1]->lineWidth = 2;
    ASSERT_TRUE(simplify(list, outcome));
    ASSERT_EQ(outcome.size(), 2U);
    EXPECT_EQ(outcome[0]->pointSize, 1.0F);
    EXPECT_EQ(outcome[1]->pointSize, 3.0F);
    EXPECT_EQ(outcome[1]->lineWidth, 2.0F);
}

TEST(VectorSimplifier, LinesAreComparedInObjectSpace) {
    // Two lines that are one in the window: in object space, turned about the y axis, they differ in x.
    FeedbackView view = plainView();
    view.modelView[0] = view.modelView[10] = 0.8;
    view.modelView[2] = -0.6;
    view.modelView[8] = 0.6;
    for (const float depth : {0.5F, 0.25F}) {
        OwnedList list;
        list.push_back(line(grey(50, 50), grey(90, 70)));
        list.push_back(line(grey(50, 50), grey(90, 70)));
        for (FeedbackVertex& v : list[1]->vertices)
            v.z = depth;
        OwnedList outcome;
        ASSERT_TRUE(simplify(list, outcome, view));
        EXPECT_EQ(outcome.size(), depth == 0.5F ? 1U : 2U);
        EXPECT_NEAR(outcome[0]->vertices[0].x, 50, 1e-3) << "and printed in window space";
    }
}

TEST(VectorSimplifier, AMatrixWithoutInverseLeavesPlaces) {
    FeedbackView view = plainView();
    view.modelView[0] = 0;
    OwnedList list;
    fillScene(list);
    OwnedList outcome;
    EXPECT_TRUE(simplify(list, outcome, view));
}

TEST(VectorSimplifier, TheStepsOfTheBar) {
    KivVectorProgress::vectorLineStep = 4;
    KivVectorProgress::vectorStep = 5;
    vectortest::ScopedProgress progress;
    OwnedList list;
    fillScene(list);
    OwnedList outcome;
    ASSERT_TRUE(simplify(list, outcome));
    std::vector<std::wstring> sizes;
    std::vector<std::wstring> stages;
    for (const std::wstring& call : progress.calls()) {
        if (call.starts_with(L"size"))
            sizes.push_back(call);
        if (call.starts_with(L"text"))
            stages.push_back(call.substr(call.size() - 5));
    }
    EXPECT_EQ(sizes, (std::vector<std::wstring>{L"size 4 2", L"size 5 4", L"size 6 1", L"size 7 10"}));
    EXPECT_EQ(stages, (std::vector<std::wstring>{L" (1) ", L" (2) ", L" (3) ", L" (4) "}));
    EXPECT_EQ(progress.calls().back(), L"begin") << "whoever prints ends the last step";
    EXPECT_EQ(std::count(progress.calls().begin(), progress.calls().end(), L"end"), 3);
    EXPECT_EQ(progress.units(), 2U + 4U + 1U);
    KivVectorProgress::vectorLineStep = KivVectorProgress::vectorStep = 0;
}

TEST(VectorSimplifier, ACancelAtAnyPollGivesNothing) {
    int polls = 0;
    {
        vectortest::ScopedProgress progress;
        OwnedList list;
        fillScene(list);
        OwnedList outcome;
        ASSERT_TRUE(simplify(list, outcome));
        polls = progress.polls();
    }
    EXPECT_GT(polls, 40);
    for (int after = 0; after <= polls; ++after) {
        vectortest::ScopedProgress progress;
        progress.cancelAfterPolls(after);
        OwnedList list;
        fillScene(list);
        OwnedList outcome;
        EXPECT_EQ(simplify(list, outcome), after == polls) << after;
    }
}

TEST(VectorSimplifier, AnyFloatsAtAll) {
    for (std::uint32_t seed = 0; seed < 1500; ++seed) {
        vectortest::Random random(seed);
        std::vector<float> floats(random.below(200));
        for (float& each : floats) {
            const std::uint32_t kind = random.below(7);
            each = kind < 2    ? static_cast<float>(1792 + random.below(5))
                   : kind == 2 ? 3.0F
                   : kind == 3 ? std::bit_cast<float>(random.word())
                               : 200 * random.unit();
        }
        int used = static_cast<int>(floats.size());
        const Buffer simplified(VectorSimplifier(plainView()).simplify(floats.data(), &used));
        ASSERT_NE(simplified, nullptr);
        ASSERT_GE(used, 0);
    }
}

} // namespace
