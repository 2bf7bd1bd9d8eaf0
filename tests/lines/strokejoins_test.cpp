#include "kivrender/lines/strokejoins.h"

#include "linebodies.h"
#include "linecameras.h"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>
#include <vector>

namespace {

// One pixel is one unit; the middle of the picture is the origin.
const KivLineView view(lineCamera(KivCamera::orthographic, {0.0, 0.0, 20.0}, 100.0, 1.0, 100.0), 200.0, 200.0);

class Drawing {
public:
    Drawing() {
        segments.about.resize(1);
    }

    // A chain through these points, out of sight before its first and after its last segment.
    void add(const std::vector<KivVec>& points, KivStrokeKind kind = KivStrokeKind::contour) {
        LineCourse course;
        course.kind = kind;
        for (std::size_t i = 1; i < points.size(); ++i) {
            LineSegment segment;
            segment.a = points[i - 1];
            segment.b = points[i];
            segment.kind = kind;
            const auto number = static_cast<std::uint32_t>(segments.all.size());
            segments.all.push_back(segment);
            segments.sources.push_back(0);
            nodes.push_back(nextNode++);
            nodes.push_back(nextNode);
            course.chain.lines.push_back(number);
            course.chain.reversed.push_back(false);
            // The line is lost from sight a little before its ends.
            const double first = i == 1 ? 1e-9 : 0.0;
            const double last = i + 1 == points.size() ? 1.0 - 1e-9 : 1.0;
            LineSpan span{number, first, last, {}, {}, kivLength(segment.b - segment.a), LineSight::seen};
            span.start = view.toPicture(view.toCamera(segment.at(first)));
            span.end = view.toPicture(view.toCamera(segment.at(last)));
            course.spans.push_back(span);
        }
        ++nextNode;
        courses.push_back(std::move(course));
    }

    // A chain of one segment that is seen from end to end.
    void addWhole(const KivVec& from, const KivVec& to, KivStrokeKind kind) {
        add({from, to}, kind);
        LineSpan& span = courses.back().spans.back();
        span.first = 0.0;
        span.last = 1.0;
    }

    // The last segment of the last chain is a barb.
    void addBarb() {
        courses.back().spans.back().isBarb = true;
    }

    std::vector<KivFoundLine> lines() {
        std::vector<KivFoundLine> found;
        LineBudget budget(LineBudget::allowance(1, 1.0));
        EXPECT_TRUE(occluders.build());
        EXPECT_TRUE(kivJoinCourses(occluders, segments, nodes, budget, courses, found));
        return found;
    }

    KivOccluders occluders{view};

private:
    LineSegments segments;
    std::vector<std::uint32_t> nodes;
    std::vector<LineCourse> courses;
    std::uint32_t nextNode = 0;
};

TEST(StrokeJoins, ContoursThatNearlyMeetAndGoOnAreOneLine) {
    struct Case {
        KivVec from;
        KivVec to;
        KivStrokeKind kind;
        std::size_t lines;
    };
    const Case cases[] = {
        {{3.0, 0.0, 0.0}, {30.0, 0.0, 0.0}, KivStrokeKind::contour, 1},   // three pixels on
        {{3.0, 0.5, 0.0}, {30.0, 2.0, 0.0}, KivStrokeKind::contour, 1},   // a little aside
        {{7.0, 0.0, 0.0}, {30.0, 0.0, 0.0}, KivStrokeKind::contour, 1},   // farther, straight on
        {{9.0, 0.0, 0.0}, {30.0, 0.0, 0.0}, KivStrokeKind::contour, 2},   // too far
        {{5.0, 2.5, 0.0}, {30.0, 2.5, 0.0}, KivStrokeKind::contour, 2},   // too far for what goes on aside
        {{2.0, 0.0, 0.0}, {2.0, 30.0, 0.0}, KivStrokeKind::contour, 2},   // another way
        {{0.0, 3.0, 0.0}, {30.0, 3.0, 0.0}, KivStrokeKind::contour, 2},   // beside it
        {{-3.0, 0.0, 0.0}, {-30.0, 0.0, 0.0}, KivStrokeKind::contour, 2}, // back
        {{3.0, 0.0, 0.0}, {30.0, 0.0, 0.0}, KivStrokeKind::crease, 2},    // exact lines end where they end
    };
    for (const Case& c : cases) {
        Drawing drawing;
        drawing.add({{-30.0, 0.0, 0.0}, {0.0, 0.0, 0.0}}, c.kind);
        drawing.add({c.from, c.to}, c.kind);
        EXPECT_EQ(drawing.lines().size(), c.lines) << c.from.x << ' ' << c.from.y << ' ' << c.to.x << ' ' << c.to.y;
    }
}

// Two contours in one direction, the first with an end that turns aside by 60 degrees.
TEST(StrokeJoins, BarbsGoWhereALineGoesOnWithoutThem) {
    for (const bool isBarb : {false, true}) {
        for (const double gap : {3.0, 10.0}) {
            Drawing drawing;
            drawing.add({{-30.0, 0.0, 0.0}, {0.0, 0.0, 0.0}, {3.0, 5.2, 0.0}});
            if (isBarb) {
                drawing.addBarb();
            }
            drawing.add({{gap, 0.0, 0.0}, {30.0, 0.0, 0.0}});
            const std::vector<KivFoundLine> lines = drawing.lines();
            ASSERT_EQ(lines.size(), isBarb && gap < 4.0 ? 1U : 2U) << gap;
            if (lines.size() == 1) {
                for (const KivPicturePoint& p : lines[0].picture) {
                    EXPECT_NEAR(p.y, 100.0, 0.01);
                }
            } else {
                EXPECT_NEAR(lines[0].picture.back().y, 105.2, 0.01) << "it stays else";
            }
        }
    }
}

// Ends that point at each other along the upper edge of a box before a wall.
TEST(StrokeJoins, ContoursGoOnWhereTheSurfaceFallsAway) {
    struct Case {
        double front; // of the box, in pixels before the wall
        double gap;
        KivStrokeKind kind;
        std::size_t lines;
    };
    for (const Case& c : {Case{16.0, 16.0, KivStrokeKind::contour, 2}, Case{30.0, 16.0, KivStrokeKind::contour, 1},
                          Case{30.0, 26.0, KivStrokeKind::contour, 2}, Case{30.0, 16.0, KivStrokeKind::crease, 2}}) {
        Drawing drawing;
        const LineBody wall = boxBody({-90.0, -90.0, -70.0}, {90.0, 90.0, -30.0});
        const LineBody box = boxBody({-90.0, -90.0, -30.0}, {90.0, 0.0, -30.0 + c.front});
        ASSERT_TRUE(drawing.occluders.add(wall.points, wall.triangles));
        ASSERT_TRUE(drawing.occluders.add(box.points, box.triangles));
        drawing.add({{-40.0, 0.0, 0.0}, {0.0, 0.0, 0.0}}, c.kind);
        drawing.add({{c.gap, 0.0, 0.0}, {60.0, 0.0, 0.0}}, c.kind);
        const std::vector<KivFoundLine> lines = drawing.lines();
        EXPECT_EQ(lines.size(), c.lines) << c.front << ' ' << c.gap;
        if (c.lines == 1) {
            EXPECT_GT(lines[0].space.size(), 15U);
            EXPECT_NEAR(lines[0].space.front().x, -40.0, 1e-6);
            EXPECT_NEAR(lines[0].space.back().x, 60.0, 1e-6);
        }
    }
}

// Half a pixel behind the upper edge of a box, with a zigzag in the middle.
TEST(StrokeJoins, ContoursSettleAndAreFreeOfCurls) {
    for (const KivStrokeKind kind : {KivStrokeKind::contour, KivStrokeKind::crease}) {
        Drawing drawing;
        const LineBody box = boxBody({-90.0, -90.0, 5.0}, {90.0, 0.0, 10.0});
        ASSERT_TRUE(drawing.occluders.add(box.points, box.triangles));
        drawing.add({{-40.0, -0.5, 0.0},
                     {0.0, -0.5, 0.0},
                     {1.0, -0.4, 0.0},
                     {0.2, -0.6, 0.0},
                     {1.2, -0.5, 0.0},
                     {40.0, -0.5, 0.0}},
                    kind);
        const std::vector<KivFoundLine> lines = drawing.lines();
        ASSERT_EQ(lines.size(), 1U);
        bool turnsBack = false;
        for (std::size_t i = 1; i < lines[0].space.size(); ++i) {
            turnsBack = turnsBack || lines[0].space[i].x < lines[0].space[i - 1].x;
        }
        EXPECT_EQ(turnsBack, kind != KivStrokeKind::contour);
        EXPECT_NEAR(lines[0].space.front().y, kind == KivStrokeKind::contour ? -0.1 : -0.5, 0.1);
    }
}

TEST(StrokeJoins, HooksAtCuspsGo) {
    const std::vector<KivVec> line = {
        {-30.0, 0.0, 0.0}, {-10.0, 0.0, 0.0}, {0.0, 0.0, 0.0}, {-1.0, 0.5, 0.0}, {-2.0, 0.9, 0.0}};
    for (const bool backwards : {false, true}) {
        Drawing drawing;
        drawing.add(backwards ? std::vector<KivVec>(line.rbegin(), line.rend()) : line);
        const std::vector<KivFoundLine> lines = drawing.lines();
        ASSERT_EQ(lines.size(), 1U);
        const KivVec& end = backwards ? lines[0].space.front() : lines[0].space.back();
        EXPECT_NEAR(end.x, 0.0, 1e-6);
        EXPECT_EQ(lines[0].space.size(), lines[0].picture.size());
    }
    Drawing creases;
    creases.add(line, KivStrokeKind::crease);
    EXPECT_NEAR(creases.lines()[0].space.back().x, -2.0, 1e-6) << "what an edge does it does";
    Drawing turning;
    turning.add({{-30.0, 0.0, 0.0}, {0.0, 0.0, 0.0}, {-20.0, 10.0, 0.0}});
    EXPECT_NEAR(turning.lines()[0].space.back().x, -20.0, 1e-6) << "a long way back is no hook";
}

TEST(StrokeJoins, SpecksGoAndSmallFacesStay) {
    Drawing specks;
    specks.add({{0.0, 0.0, 0.0}, {1.5, 0.0, 0.0}});
    specks.add({{0.0, 9.0, 0.0}, {1.5, 9.0, 0.0}}, KivStrokeKind::crease);
    EXPECT_TRUE(specks.lines().empty());
    Drawing large;
    large.add({{0.0, 0.0, 0.0}, {2.5, 0.0, 0.0}});
    EXPECT_EQ(large.lines().size(), 1U);
}

} // namespace

// Two meshes may cross for less than anyone sees; the edges of a small face are what it has.
TEST(StrokeJoins, CrossingsAndContoursThatAreSpecksGo) {
    for (const auto& [kind, lines] : {std::pair(KivStrokeKind::contour, 0U), std::pair(KivStrokeKind::intersection, 0U),
                                      std::pair(KivStrokeKind::edge, 1U)}) {
        for (const double length : {1.9, 2.1}) {
            Drawing drawing;
            drawing.addWhole({0.0, 0.0, 0.0}, {length, 0.0, 0.0}, kind);
            EXPECT_EQ(drawing.lines().size(), length < 2.0 ? lines : 1U) << length;
        }
    }
}
