#include "kivrender/lines/linestubs.h"

#include "linecameras.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

// One pixel is one unit; the middle of the picture is the origin.
const KivLineView view(lineCamera(KivCamera::orthographic, {0.0, 0.0, 20.0}, 100.0, 1.0, 100.0), 200.0, 200.0);

KivPennedLine line(const std::vector<KivVec>& points, KivStrokeKind kind = KivStrokeKind::contour,
                   bool hidden = false) {
    KivPennedLine penned;
    penned.width = 2.0;
    penned.line.kind = kind;
    penned.line.hidden = hidden;
    penned.line.space = points;
    for (const KivVec& p : points) {
        penned.line.picture.push_back(view.toPicture(view.toCamera(p)));
    }
    return penned;
}

// Where the first of some lines ends.
double endOf(std::vector<KivPennedLine> lines) {
    LineBudget budget(LineBudget::allowance(10, 1.0));
    kivTrimStubs(view, budget, lines);
    EXPECT_EQ(lines[0].line.space.size(), lines[0].line.picture.size());
    EXPECT_EQ(lines[0].line.space.front().x, -50.0);
    return lines[0].line.space.back().x;
}

const KivPennedLine through = line({{-50.0, 0.0, 0.0}, {5.0, 0.0, 0.0}});

} // namespace

TEST(LineStubs, AContourEndsWhereAnotherLineRunsIntoIt) {
    EXPECT_NEAR(endOf({through, line({{0.0, -1.0, 0.0}, {0.0, -40.0, 0.0}})}), 0.0, 1e-9);
    EXPECT_NEAR(endOf({through, line({{1.0, 40.0, 0.0}, {1.0, 1.0, 0.0}}, KivStrokeKind::edge)}), 1.0, 1e-9);
}

TEST(LineStubs, WhatIsLongerOrHeldStays) {
    EXPECT_EQ(endOf({through, line({{-2.0, 0.0, 0.0}, {-2.0, -40.0, 0.0}})}), 5.0) << "seven pixels";
    EXPECT_EQ(endOf({through, line({{0.0, -3.0, 0.0}, {0.0, -40.0, 0.0}})}), 5.0) << "ends beside it";
    EXPECT_EQ(endOf({through, line({{0.0, 40.0, 0.0}, {0.0, -40.0, 0.0}})}), 5.0) << "crosses it";
    EXPECT_EQ(endOf({through, line({{4.0, 0.0, 0.0}, {4.0, -40.0, 0.0}})}), 5.0) << "meets its end";
    EXPECT_EQ(endOf({through, line({{0.0, 0.0, 0.0}, {0.0, -40.0, 0.0}}), line({{5.5, -9.0, 0.0}, {5.5, 9.0, 0.0}})}),
              5.0)
        << "runs into a third line";
    EXPECT_EQ(endOf({line({{-50.0, 0.0, 0.0}, {5.0, 0.0, 0.0}}, KivStrokeKind::edge),
                     line({{0.0, 0.0, 0.0}, {0.0, -40.0, 0.0}})}),
              5.0)
        << "an edge is as long as it is";
    EXPECT_EQ(endOf({through, line({{0.0, 0.0, 0.0}, {0.0, -40.0, 0.0}}, KivStrokeKind::contour, true)}), 5.0)
        << "hidden";
    KivPennedLine none = line({{0.0, 0.0, 0.0}, {0.0, -40.0, 0.0}});
    none.width = 0.0;
    EXPECT_EQ(endOf({through, none}), 5.0) << "not drawn";
}

TEST(LineStubs, AShortLineIsNoStubOfItself) {
    std::vector<KivPennedLine> lines = {line({{-10.0, 0.0, 0.0}, {5.0, 0.0, 0.0}}),
                                        line({{0.0, 0.0, 0.0}, {0.0, -40.0, 0.0}})};
    LineBudget budget(LineBudget::allowance(10, 1.0));
    kivTrimStubs(view, budget, lines);
    EXPECT_EQ(lines[0].line.space.back().x, 5.0);
}
