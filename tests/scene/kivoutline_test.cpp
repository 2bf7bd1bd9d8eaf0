#include "kivrender/scene/kivoutline.h"

#include "scene/scenetestaccess.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using Points = std::vector<Kiv3DPoint>;

Points square(double x, double y, double size) {
    return {{x, y, 0.0}, {x + size, y, 0.0}, {x + size, y + size, 0.0}, {x, y + size, 0.0}};
}

std::size_t activeEdges(const KivOutline& outline) {
    const auto edges = KivTestAccess::edges(outline);
    return static_cast<std::size_t>(
        std::ranges::count_if(edges, [](const KivOutlineEdge& edge) { return edge.active; }));
}

Kiv3DPoint hitOf(const Points& p, bool asSegments) {
    Kiv3DPoint hit(-99.0, -99.0, -99.0);
    EXPECT_TRUE(KivOutline::segmentsIntersect(p[0], p[1], p[2], p[3], asSegments, &hit));
    return hit;
}

bool meet(const Points& p, bool asSegments) {
    Kiv3DPoint hit(-99.0, -99.0, -99.0);
    const bool found = KivOutline::segmentsIntersect(p[0], p[1], p[2], p[3], asSegments, &hit);
    EXPECT_TRUE(found || hit == Kiv3DPoint(-99.0, -99.0, -99.0)) << "a miss leaves the place as it was";
    return found;
}

TEST(KivOutline, APolygonIsClosedOnce) {
    KivOutline open;
    EXPECT_TRUE(open.addPolygon(square(0.0, 0.0, 1.0)));
    EXPECT_EQ(KivTestAccess::edges(open).size(), 4U);
    Points closed = square(0.0, 0.0, 1.0);
    closed.push_back(closed.front());
    KivOutline other(closed);
    EXPECT_EQ(KivTestAccess::edges(other).size(), 4U);
    EXPECT_FALSE(other.addPolygon(square(0.0, 0.0, 1.0))) << "all edges are there";
    EXPECT_FALSE(other.addPolygon({}));
    EXPECT_FALSE(other.addPolygon({Kiv3DPoint(5.0, 5.0, 0.0)}));
    EXPECT_EQ(KivTestAccess::edges(other).size(), 4U);
}

TEST(KivOutline, AnEdgeIsFoundInEitherDirectionAndWokenUp) {
    KivOutline outline;
    EXPECT_TRUE(KivTestAccess::addEdge(outline, Kiv3DPoint(0.0, 0.0, 0.0), Kiv3DPoint(1.0, 0.0, 0.0)));
    EXPECT_FALSE(KivTestAccess::addEdge(outline, Kiv3DPoint(0.0, 5e-7, 0.0), Kiv3DPoint(1.0, 0.0, 0.0)));
    KivTestAccess::deactivate(outline, 0);
    EXPECT_FALSE(KivTestAccess::addEdge(outline, Kiv3DPoint(1.0, 0.0, 0.0), Kiv3DPoint(0.0, 0.0, 0.0)));
    EXPECT_TRUE(KivTestAccess::edges(outline)[0].active);
    EXPECT_TRUE(KivTestAccess::addEdge(outline, Kiv3DPoint(0.0, 2e-6, 0.0), Kiv3DPoint(1.0, 0.0, 0.0)));
}

TEST(KivOutline, CopiesTakeActiveEdgesOnly) {
    KivOutline outline(square(0.0, 0.0, 1.0));
    KivTestAccess::deactivate(outline, 2);
    const KivOutline copy(outline);
    EXPECT_EQ(KivTestAccess::edges(copy).size(), 3U);
    KivOutline target;
    EXPECT_TRUE(target.addOutline(outline));
    EXPECT_EQ(activeEdges(target), 3U);
    EXPECT_FALSE(target.addOutline(outline));
}

TEST(KivOutline, SegmentsMeetInThePlane) {
    // Crossing, with depths that play no part.
    EXPECT_TRUE(hitOf({{0, 0, 7}, {2, 2, -7}, {0, 2, 3}, {2, 0, 9}}, true).isEqual({1, 1, 0}, 1e-12));
    // Either one vertical.
    EXPECT_TRUE(hitOf({{0, 0, 0}, {2, 2, 0}, {1, -5, 0}, {1, 5, 0}}, true).isEqual({1, 1, 0}, 1e-12));
    EXPECT_TRUE(hitOf({{1, -5, 0}, {1, 5, 0}, {0, 0, 0}, {2, 2, 0}}, true).isEqual({1, 1, 0}, 1e-12));
    // Parallel lines, slanting and vertical.
    EXPECT_FALSE(meet({{0, 0, 0}, {2, 2, 0}, {0, 1, 0}, {2, 3, 0}}, false));
    EXPECT_FALSE(meet({{0, 0, 0}, {0, 2, 0}, {1, 0, 0}, {1, 2, 0}}, false));
    // A segment does not cross itself, whichever way it runs.
    EXPECT_FALSE(meet({{0, 0, 0}, {2, 2, 0}, {0, 0, 4}, {2, 2, 4}}, true));
    EXPECT_FALSE(meet({{0, 0, 0}, {2, 2, 0}, {2, 2, 0}, {0, 0, 0}}, true));
}

TEST(KivOutline, LinesMeetBeyondTheirSegments) {
    const Points lines = {{0, 0, 0}, {1, 1, 0}, {4, 0, 0}, {3, 1, 0}};
    EXPECT_FALSE(meet(lines, true));
    EXPECT_TRUE(hitOf(lines, false).isEqual({2, 2, 0}, 1e-12));
}

TEST(KivOutline, OverlappingSegmentsGiveAnEnd) {
    Kiv3DPoint hit;
    // In this order: each end strictly within the other segment, then common ends.
    EXPECT_TRUE(KivOutline::overlapPoint({1, 0, 5}, {9, 0, 0}, {0, 0, 0}, {4, 0, 0}, &hit));
    EXPECT_TRUE(hit == Kiv3DPoint(1, 0, 0));
    EXPECT_TRUE(KivOutline::overlapPoint({9, 0, 0}, {1, 0, 0}, {0, 0, 0}, {4, 0, 0}, &hit));
    EXPECT_TRUE(hit == Kiv3DPoint(1, 0, 0));
    EXPECT_TRUE(KivOutline::overlapPoint({0, 0, 0}, {9, 0, 0}, {2, 0, 0}, {4, 0, 0}, &hit));
    EXPECT_TRUE(hit == Kiv3DPoint(2, 0, 0));
    EXPECT_TRUE(KivOutline::overlapPoint({0, 0, 0}, {3, 0, 0}, {0, 0, 0}, {2, 0, 0}, &hit));
    EXPECT_TRUE(hit == Kiv3DPoint(2, 0, 0)) << "a common end does not lie strictly within";
    EXPECT_TRUE(KivOutline::overlapPoint({0, 0, 0}, {3, 0, 0}, {-2, 0, 0}, {0, 0, 0}, &hit));
    EXPECT_TRUE(hit == Kiv3DPoint(0, 0, 0));
    EXPECT_TRUE(KivOutline::overlapPoint({3, 0, 0}, {0, 0, 0}, {-2, 0, 0}, {0, 0, 0}, &hit));
    EXPECT_TRUE(hit == Kiv3DPoint(0, 0, 0));
    EXPECT_FALSE(KivOutline::overlapPoint({0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {3, 0, 0}, &hit));
    // The same through the general operation, slanting and vertical.
    EXPECT_TRUE(hitOf({{0, 0, 0}, {4, 4, 0}, {1, 1, 0}, {2, 2, 0}}, true) == Kiv3DPoint(1, 1, 0));
    EXPECT_TRUE(hitOf({{0, 0, 0}, {0, 4, 0}, {0, 1, 0}, {0, 2, 0}}, true) == Kiv3DPoint(0, 1, 0));
    EXPECT_TRUE(hitOf({{1, 1, 0}, {2, 2, 0}, {0, 0, 0}, {4, 4, 0}}, true) == Kiv3DPoint(1, 1, 0)) << "its start first";
    EXPECT_TRUE(hitOf({{0, 1, 0}, {0, 2, 0}, {0, 0, 0}, {0, 4, 0}}, true) == Kiv3DPoint(0, 1, 0));
    EXPECT_FALSE(meet({{0, 0, 0}, {0, 1, 0}, {0, 2, 0}, {0, 3, 0}}, true));
}

TEST(KivOutline, PointsLieInsideOutsideOrOnIt) {
    const KivOutline outline(square(0.0, 0.0, 2.0));
    for (int round = 0; round < 200; ++round) {
        const double along = 0.01 + round * 0.0098;
        EXPECT_TRUE(outline.isPointInside({along, 1.0, 0.0}, true, false));
        EXPECT_TRUE(outline.isPointInside({along, 1.0, 55.0}, true, false)) << "flattened";
        EXPECT_FALSE(outline.isPointInside({along, 2.5, 0.0}, true, true));
        EXPECT_FALSE(outline.isPointInside({-along, 1.0, 0.0}, true, true));
        EXPECT_TRUE(outline.isPointOnOutline({along, 0.0, 0.0}, true));
        EXPECT_FALSE(outline.isPointOnOutline({along, 0.001, 0.0}, true));
        EXPECT_TRUE(outline.isPointInside({along, 2.0, 0.0}, true, true));
        EXPECT_FALSE(outline.isPointInside({along, 2.0, 0.0}, true, false));
    }
    EXPECT_FALSE(outline.isPointOnOutline({1.0, 0.0, 3.0}, false)) << "the depth counts when not flattened";
}

TEST(KivOutline, InactiveEdgesDoNotCount) {
    KivOutline outline(square(0.0, 0.0, 2.0));
    EXPECT_TRUE(outline.isPointOnOutline({1.0, 0.0, 0.0}, true));
    KivTestAccess::deactivate(outline, 0);
    EXPECT_FALSE(outline.isPointOnOutline({1.0, 0.0, 0.0}, true));
}

TEST(KivOutline, AnOutlineLargerThanARayIsMissed) {
    const KivOutline outline(square(-5000.0, -5000.0, 10000.0));
    EXPECT_FALSE(outline.isPointInside({0.0, 0.0, 0.0}, true, true));
}

TEST(KivOutline, EqualOutlinesAnswerTheSame) {
    const KivOutline a(square(0.0, 0.0, 2.0));
    const KivOutline b(square(0.0, 0.0, 2.0));
    for (int i = 0; i < 500; ++i) {
        const Kiv3DPoint corner(i % 2 * 2.0, i / 2 % 2 * 2.0, 0.0);
        EXPECT_EQ(a.isPointInside(corner, true, false), b.isPointInside(corner, true, false)) << i;
    }
}

TEST(KivOutline, ContainsAsksForItsOwnEdges) {
    const KivOutline large(square(0.0, 0.0, 10.0));
    const KivOutline far(square(50.0, 50.0, 1.0));
    EXPECT_TRUE(large.containsOutline(far, true, true)) << "its own ends lie on it, wherever the other is";
    EXPECT_FALSE(large.containsOutline(far, true, false));
    EXPECT_TRUE(large.containsOutline(KivOutline(), true, false));
    EXPECT_TRUE(KivOutline().containsOutline(large, true, false)) << "the shorter one ends the walk";
}

TEST(KivOutline, ClippingDropsWhatLiesInside) {
    KivOutline outline(square(0.0, 0.0, 2.0));
    const KivOutline other(square(1.0, 1.0, 2.0));
    KivTestAccess::clipAgainst(outline, other, true);
    // Two edges are cut in two, and the halves around the corner (2, 2) lie inside the other.
    const auto edges = KivTestAccess::edges(outline);
    ASSERT_EQ(edges.size(), 6U);
    for (const KivOutlineEdge& edge : edges) {
        const Kiv3DPoint middle = edge.start + (edge.end - edge.start) / 2.0;
        EXPECT_EQ(edge.active, !(middle.x > 1.0 && middle.y > 1.0)) << middle.x << ' ' << middle.y;
    }
}

TEST(KivOutline, ClippingKeepsWhatLiesInsideWhenNothingIsToBeRemoved) {
    KivOutline outline(square(0.5, 0.5, 1.0));
    KivTestAccess::clipAgainst(outline, KivOutline(square(0.0, 0.0, 2.0)), false);
    EXPECT_EQ(activeEdges(outline), 4U);
    KivTestAccess::clipAgainst(outline, KivOutline(square(0.0, 0.0, 2.0)), true);
    EXPECT_EQ(activeEdges(outline), 0U);
}

TEST(KivOutline, ACommonEdgeStaysWhenBothLieOnTheSameSide) {
    KivOutline same(square(0.0, 0.0, 2.0));
    KivTestAccess::clipAgainst(same, KivOutline(Points{{0, 0, 0}, {2, 0, 0}, {1, 1, 0}}), true);
    EXPECT_TRUE(KivTestAccess::edges(same)[0].active);
    KivOutline opposite(square(0.0, 0.0, 2.0));
    KivTestAccess::clipAgainst(opposite, KivOutline(Points{{0, 0, 0}, {2, 0, 0}, {1, -1, 0}}), true);
    EXPECT_FALSE(KivTestAccess::edges(opposite)[0].active);
}

TEST(KivOutline, MergeOfAContainedOneChangesNothing) {
    KivOutline outline(square(0.0, 0.0, 2.0));
    EXPECT_FALSE(outline.merge(KivOutline(square(0.5, 0.5, 1.0))));
    EXPECT_EQ(KivTestAccess::edges(outline).size(), 4U);
}

} // namespace
