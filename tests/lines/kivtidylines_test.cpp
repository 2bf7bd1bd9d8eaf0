#include "kivrender/lines/kivtidylines.h"

#include "kivrender/scene/kivprogress.h"
#include "linecameras.h"
#include "linejudge.h"
#include "support/pollcost.h"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>
#include <vector>

namespace {

// One pixel is one unit; the middle of the picture is the origin.
const KivLineView view(lineCamera(KivCamera::orthographic, {0.0, 0.0, 20.0}, 100.0, 1.0, 100.0), 200.0, 200.0);

class Drawing {
public:
    explicit Drawing(KivLineView from = view) : seenFrom(std::move(from)) {}

    void add(const std::vector<KivVec>& points, double width, bool hidden, KivStrokeKind kind = KivStrokeKind::edge,
             bool closed = false) {
        KivPennedLine penned;
        penned.width = width;
        penned.mayBeNarrow = true;
        penned.line.kind = kind;
        penned.line.hidden = hidden;
        penned.line.closed = closed;
        penned.line.startsFree = penned.line.endsFree = !closed;
        penned.line.space = points;
        for (const KivVec& p : points) {
            penned.line.picture.push_back(seenFrom.toPicture(seenFrom.toCamera(p)));
        }
        lines.push_back(std::move(penned));
    }
    void tidy() {
        EXPECT_TRUE(kivTidyLines(seenFrom, 1.0, lines));
    }
    std::vector<KivFoundLine> hiddenLines() const {
        std::vector<KivFoundLine> found;
        for (const KivPennedLine& penned : lines) {
            if (penned.line.hidden) {
                found.push_back(penned.line);
            }
        }
        return found;
    }

    std::vector<KivPennedLine> lines;

private:
    KivLineView seenFrom;
};

std::vector<KivVec> level(double from, double to, double y) {
    return {{from, y, 0.0}, {to, y, 0.0}};
}

std::vector<KivVec> arc(double radius, double from, double to) {
    std::vector<KivVec> points;
    for (int i = 0; i <= 90; ++i) {
        const double angle = from + (to - from) * i / 90.0;
        points.push_back({radius * std::cos(angle), radius * std::sin(angle), 0.0});
    }
    return points;
}

constexpr double turn = 6.283185307179586;

} // namespace

TEST(KivTidyLines, AHiddenLineWithinAWidthOfASeenOneIsNotDrawn) {
    for (const double distance : {1.0, 1.9, 2.1, 5.0}) {
        Drawing drawing;
        drawing.add(level(-60.0, 60.0, 0.0), 2.0, false);
        drawing.add(level(-50.0, 50.0, distance), 2.0, true);
        drawing.tidy();
        EXPECT_EQ(drawing.hiddenLines().size(), distance < 2.0 ? 0U : 1U) << distance;
        EXPECT_EQ(drawing.lines[0].width, 2.0);
    }
}

TEST(KivTidyLines, WhatLeavesTheSeenLineIsDrawnFromThere) {
    Drawing drawing;
    drawing.add(level(-60.0, 0.0, 0.0), 2.0, false);
    drawing.add({{-60.0, 1.0, 0.0}, {0.0, 1.0, 0.0}, {60.0, 61.0, 0.0}}, 2.0, true);
    drawing.tidy();
    const std::vector<KivFoundLine> hidden = drawing.hiddenLines();
    ASSERT_EQ(hidden.size(), 1U);
    EXPECT_NEAR(hidden[0].space.front().x, 0.0, 1.5);
    EXPECT_EQ(hidden[0].space.back().x, 60.0);
    EXPECT_FALSE(hidden[0].startsFree);
    EXPECT_TRUE(hidden[0].endsFree);
}

TEST(KivTidyLines, NoRestIsShorterThanADash) {
    for (const double gap : {10.0, 20.0}) {
        Drawing drawing;
        drawing.add(level(-60.0, 0.0, 0.0), 2.0, false);
        drawing.add(level(gap, 60.0, 0.0), 2.0, false);
        drawing.add(level(-60.0, 60.0, 1.0), 2.0, true);
        drawing.tidy();
        EXPECT_EQ(drawing.hiddenLines().size(), gap < 12.0 ? 0U : 1U) << gap;
    }
}

TEST(KivTidyLines, AHiddenLineThatCrossesStaysWhole) {
    for (const double rise : {5.0, 10.0, 30.0}) {
        Drawing drawing;
        drawing.add(level(-60.0, 60.0, 0.0), 0.5, false);
        drawing.add({{-50.0, -rise, 0.0}, {50.0, rise, 0.0}}, 0.5, true);
        drawing.tidy();
        // Below an angle of 10 degrees it is beside the other line for longer than twelve of its widths.
        EXPECT_EQ(drawing.hiddenLines().size(), rise < 8.0 ? 2U : 1U) << rise;
    }
}

// For nine of its widths: it comes from beside the other line, or leaves it again on the side from which it came.
TEST(KivTidyLines, AHiddenLineThatIsBesideASeenOneForALittleIsNotDrawnThere) {
    Drawing drawing;
    drawing.add(level(-60.0, 60.0, 0.0), 2.0, false);
    drawing.add({{-50.0, 30.0, 0.0}, {-9.0, 1.0, 0.0}, {9.0, 1.0, 0.0}, {50.0, 30.0, 0.0}}, 2.0, true);
    drawing.tidy();
    EXPECT_EQ(drawing.hiddenLines().size(), 2U);
    Drawing crossing;
    crossing.add(level(-60.0, 60.0, 0.0), 2.0, false);
    crossing.add({{-50.0, 9.0, 0.0}, {-9.0, 1.9, 0.0}, {9.0, -1.9, 0.0}, {50.0, -9.0, 0.0}}, 2.0, true);
    crossing.tidy();
    EXPECT_EQ(crossing.hiddenLines().size(), 1U);
}

TEST(KivTidyLines, OfTwoHiddenLinesThatTouchTheMoreTellingOneIsDrawn) {
    for (const double distance : {0.9, 1.1}) {
        Drawing drawing;
        drawing.add(level(-60.0, 60.0, 0.0), 2.0, true, KivStrokeKind::edge);
        drawing.add(level(-50.0, 50.0, distance), 2.0, true, KivStrokeKind::contour);
        drawing.tidy();
        std::vector<KivFoundLine> hidden = drawing.hiddenLines();
        // Ten pixels of the edge are left at each end, less than a dash.
        ASSERT_EQ(hidden.size(), distance < 1.0 ? 1U : 2U);
        EXPECT_EQ(hidden.back().kind, KivStrokeKind::contour);
    }
    Drawing drawing;
    drawing.add(level(-30.0, 60.0, 0.0), 2.0, true);
    drawing.add(level(-60.0, 60.0, 0.5), 2.0, true);
    drawing.tidy();
    ASSERT_EQ(drawing.hiddenLines().size(), 1U);
    EXPECT_EQ(pictureLength(drawing.hiddenLines()[0]), 120.0);
}

TEST(KivTidyLines, TheRestOfARingIsOnePiece) {
    Drawing drawing;
    drawing.add(arc(50.0, 0.25 * turn, 0.75 * turn), 2.0, false);
    std::vector<KivVec> ring = arc(49.0, 0.0, turn);
    ring.pop_back();
    drawing.add(ring, 2.0, true, KivStrokeKind::contour, true);
    drawing.tidy();
    const std::vector<KivFoundLine> hidden = drawing.hiddenLines();
    ASSERT_EQ(hidden.size(), 1U);
    EXPECT_FALSE(hidden[0].closed);
    EXPECT_NEAR(pictureLength(hidden[0]), 49.0 * 0.5 * turn, 3.0);
    EXPECT_EQ(hidden[0].picture.size(), hidden[0].space.size());
    for (const KivVec& p : hidden[0].space) {
        EXPECT_GT(p.x, -3.0);
    }
}

TEST(KivTidyLines, PlacesInSpaceAndInThePictureBelongTogether) {
    const KivLineView perspective(lineCamera(KivCamera::perspective, {0.0, 0.0, 20.0}, 1.0, 1.0, 100.0), 200.0, 200.0);
    Drawing drawing(perspective);
    drawing.add({{-15.0, 0.0, 0.0}, {0.0, 0.0, 0.0}}, 2.0, false);
    drawing.add({{-10.0, 0.1, 0.0}, {8.0, -0.1, -60.0}, {40.0, 30.0, -60.0}}, 2.0, true);
    drawing.tidy();
    const std::vector<KivFoundLine> hidden = drawing.hiddenLines();
    ASSERT_EQ(hidden.size(), 1U);
    EXPECT_GT(hidden[0].space.front().x, -10.0);
    for (std::size_t i = 0; i < hidden[0].space.size(); ++i) {
        const KivPicturePoint place = perspective.toPicture(perspective.toCamera(hidden[0].space[i]));
        EXPECT_NEAR(place.x, hidden[0].picture[i].x, 1e-9);
        EXPECT_NEAR(place.y, hidden[0].picture[i].y, 1e-9);
    }
}

TEST(KivTidyLines, SmallDetailsAreDrawnWithTheNarrowPen) {
    Drawing drawing;
    for (const double y : {0.0, 2.0, 4.0}) { // a letter's strokes
        drawing.add(level(0.0, 20.0, y), 2.0, false, KivStrokeKind::contour);
    }
    drawing.add(level(0.0, 20.0, 30.0), 2.0, false, KivStrokeKind::contour); // alone
    drawing.add(level(-90.0, -10.0, -30.0), 2.0, false);                     // long
    drawing.add(level(-90.0, -10.0, -32.0), 2.0, false);
    drawing.add(level(0.0, 20.0, 5.0), 1.0, false, KivStrokeKind::tangent);
    drawing.add(level(0.0, 20.0, 6.0), 2.0, false);
    drawing.lines.back().mayBeNarrow = false;
    drawing.tidy();
    ASSERT_EQ(drawing.lines.size(), 8U);
    const std::vector<double> widths = {1.0, 1.0, 1.0, 2.0, 2.0, 2.0, 1.0, 2.0};
    for (std::size_t i = 0; i < widths.size(); ++i) {
        EXPECT_EQ(drawing.lines[i].width, widths[i]) << i;
    }
}

// Equal holes of a part in perspective: some would be just below the limit, and some just above.
TEST(KivTidyLines, TheLikeOfANarrowDetailIsNarrow) {
    struct Pair {
        double y;
        double gap;
        double length;
        std::uint32_t object;
        double width;
    };
    const std::vector<Pair> pairs = {
        {0.0, 2.0, 20.0, 1, 1.0},   // run together
        {20.0, 4.0, 28.0, 1, 1.0},  // nearly
        {40.0, 4.0, 32.0, 1, 2.0},  // nearly, but longer by more than a half
        {60.0, 5.0, 20.0, 1, 2.0},  // apart
        {-20.0, 4.0, 20.0, 2, 2.0}, // nearly, and nothing of this object runs together
    };
    Drawing drawing;
    for (const Pair& pair : pairs) {
        for (const double y : {pair.y, pair.y + pair.gap}) {
            drawing.add(level(0.0, pair.length, y), 2.0, false);
            drawing.lines.back().line.object = pair.object;
        }
    }
    drawing.tidy();
    ASSERT_EQ(drawing.lines.size(), 2 * pairs.size());
    for (std::size_t i = 0; i < drawing.lines.size(); ++i) {
        EXPECT_EQ(drawing.lines[i].width, pairs[i / 2].width) << i;
    }
}

TEST(KivTidyLines, LinesThatAreNotDrawnCountForNothing) {
    Drawing drawing;
    drawing.add(level(-60.0, 60.0, 0.0), 0.0, false);
    drawing.add(level(-50.0, 50.0, 0.5), 2.0, true);
    drawing.tidy();
    EXPECT_EQ(drawing.hiddenLines().size(), 1U);
}

namespace {

// Wavy lines across the picture, every other one hidden.
std::vector<KivPennedLine> manyLines(int count) {
    Drawing drawing;
    for (int i = 0; i < count; ++i) {
        std::vector<KivVec> points;
        for (int k = 0; k <= 200; ++k) {
            const double x = k - 100.0;
            points.push_back({x, -90.0 + 180.0 * i / count + 3.0 * std::sin(0.3 * x), 0.0});
        }
        drawing.add(points, 1.5, i % 2 == 1);
    }
    return drawing.lines;
}

} // namespace

TEST(KivTidyLines, PollsByCost) {
    const std::vector<KivPennedLine> lines = manyLines(120);
    PollCost::expectAllowed([&] {
        std::vector<KivPennedLine> tidied = lines;
        kivTidyLines(view, 1.0, tidied);
    });
}

TEST(KivTidyLines, ACancelEndsIt) {
    std::vector<KivPennedLine> lines = manyLines(120);
    PollCounter progress(1);
    const ScopedProgress installed(progress);
    EXPECT_FALSE(kivTidyLines(view, 1.0, lines));
}

TEST(KivTidyLines, WhereTheWorkEndsTheRestStaysAsItIs) {
    std::vector<KivPennedLine> lines = manyLines(150);
    EXPECT_TRUE(kivTidyLines(view, 1e-6, lines));
    EXPECT_EQ(lines.size(), 150U);
    EXPECT_TRUE(kivTidyLines(view, 1.0, lines));
    EXPECT_LT(lines.size(), 150U);
}
