#include "vector/vectortesting.h"

#include "kivrender/vector/trianglecover.h"
#include "kivrender/vector/workpoll.h"

using vectortest::OwnedList;
using vectortest::triangle;
using vectortest::vertex;

namespace {

bool hasSameArea(const FeedbackPrimitiveList& triangles, const FeedbackPrimitiveList& pieces) {
    std::vector<std::unique_ptr<SweepTriangle>> owned;
    std::vector<SweepTriangle*> swept;
    for (const FeedbackPrimitive* each : triangles) {
        owned.push_back(std::make_unique<SweepTriangle>(*each));
        swept.push_back(owned.back().get());
    }
    return TriangleCover::hasSameArea(swept, pieces);
}

TEST(TriangleCover, AreasAgreeWithinAThousandth) {
    OwnedList square;
    square.push_back(triangle(vertex(0, 0, 0), vertex(0, 2, 0), vertex(0, 2, 2)));
    square.push_back(triangle(vertex(0, 0, 0), vertex(0, 2, 2), vertex(0, 0, 2)));
    const auto covers = [&](float height) {
        OwnedList pieces;
        pieces.push_back(triangle(vertex(0, 0, 0), vertex(0, 4, 0), vertex(0, 0, height)));
        return hasSameArea(square, pieces);
    };
    EXPECT_TRUE(covers(2));
    EXPECT_TRUE(covers(2 * 1.0009F));
    EXPECT_TRUE(covers(2 * 0.9991F));
    EXPECT_FALSE(covers(2 * 1.0011F));
    EXPECT_FALSE(covers(2 * 0.9989F));
    EXPECT_FALSE(hasSameArea(square, {}));
    OwnedList flat;
    flat.push_back(triangle(vertex(1, 1), vertex(1, 1), vertex(2, 2)));
    EXPECT_TRUE(hasSameArea(flat, {})) << "a triangle without area has nothing to lose";
}

TEST(TriangleCover, CopiesAreThoseOfTheTriangles) {
    OwnedList list;
    list.push_back(triangle(vertex(1, 1, 0, 0.25F), vertex(4, 1), vertex(1, 5)));
    SweepTriangle swept(*list[0]);
    SweepTriangle* const all[] = {&swept};
    OwnedList copies;
    WorkPoll poll;
    EXPECT_TRUE(TriangleCover::appendCopies(all, copies, poll));
    ASSERT_EQ(copies.size(), 1U);
    EXPECT_EQ(copies[0]->vertexCount, 3);
    ASSERT_EQ(copies[0]->vertices.size(), 3U);
    EXPECT_EQ(copies[0]->vertices[0].r, 0.25F);
    EXPECT_EQ(copies[0]->vertices[2].y, 5.0F);
}

} // namespace
