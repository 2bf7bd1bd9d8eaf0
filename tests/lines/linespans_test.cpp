#include "kivrender/lines/linespans.h"

#include "linebodies.h"
#include "linecameras.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

// One pixel is one unit; the middle of the picture is the origin. A box stands before the lines, its upper side at 0.
class Scene {
public:
    explicit Scene(const LineBody& more = {})
        : occluders(
              KivLineView(lineCamera(KivCamera::orthographic, {0.0, 0.0, 50.0}, 100.0, 1.0, 200.0), 200.0, 200.0)) {
        const LineBody box = boxBody({-50.0, -50.0, 5.0}, {50.0, 0.0, 10.0});
        EXPECT_TRUE(occluders.add(box.points, box.triangles));
        EXPECT_TRUE(occluders.add(more.points, more.triangles));
        EXPECT_TRUE(occluders.build());
        segments.about.resize(1);
        segments.about[0].surface.neighboursFrom = {0};
    }

    // A piece of a contour that has its surface below, or an edge.
    void add(const KivVec& a, const KivVec& b, bool isContour, KivStrokeKind other = KivStrokeKind::crease) {
        LineSegment segment;
        segment.a = a;
        segment.b = b;
        segment.kind = isContour ? KivStrokeKind::contour : other;
        if (isContour) {
            SurfaceLines& surface = segments.about[0].surface;
            segment.open = {0.0, 1.0, 0.0};
            segment.isInterpolated = segment.mayBeSlight = true;
            segment.contour = static_cast<std::int32_t>(surface.contours.size());
            ContourPiece piece;
            piece.normals[0] = piece.normals[1] = {0.0, 1.0, 0.0};
            piece.reach = 10.0;
            surface.contours.push_back(piece);
            surface.neighboursFrom.push_back(0);
        }
        segments.all.push_back(segment);
        segments.sources.push_back(0);
    }
    // The length in pixels of what is in that sight, with small gaps closed.
    double length(LineSight sight) {
        LineChain chain;
        for (std::uint32_t i = 0; i < segments.all.size(); ++i) {
            chain.lines.push_back(i);
            chain.reversed.push_back(false);
        }
        LineBudget budget(LineBudget::allowance(1, 1.0));
        LineSpans cutter(occluders, segments, budget);
        std::vector<LineSpan> spans;
        EXPECT_TRUE(cutter.cut(chain, spans));
        cutter.closeGaps(spans);
        cutter.takeOutSlight(spans);
        double sum = 0.0;
        for (const LineSpan& span : spans) {
            sum += span.sight == sight ? span.length : 0.0;
        }
        return sum;
    }

    KivOccluders occluders;
    LineSegments segments;
};

// From above the box's edge down behind it by depth pixels, along it for so many, and up again.
void addDip(Scene& scene, double depth, double along, bool isContour) {
    scene.add({-30.0, 20.0, 0.0}, {-0.5 * along, 0.0, 0.0}, isContour);
    scene.add({-0.5 * along, 0.0, 0.0}, {0.0, -depth, 0.0}, isContour);
    scene.add({0.0, -depth, 0.0}, {0.5 * along, 0.0, 0.0}, isContour);
    scene.add({0.5 * along, 0.0, 0.0}, {30.0, 20.0, 0.0}, isContour);
}

TEST(LineSpans, AContourGoesOnOverSlightDips) {
    struct Case {
        double depth;
        double along;
        bool isContour;
        bool isClosed;
    };
    for (const Case& c : {Case{1.0, 6.0, true, true}, Case{4.0, 6.0, true, false}, Case{1.0, 14.0, true, false},
                          Case{0.7, 1.0, true, true}, Case{1.0, 6.0, false, false}, Case{0.05, 0.2, false, true},
                          Case{0.2, 24.0, false, true}, Case{0.2, 40.0, false, false}, Case{0.4, 24.0, false, false}}) {
        Scene scene;
        addDip(scene, c.depth, c.along, c.isContour);
        EXPECT_EQ(scene.length(LineSight::hidden) == 0.0, c.isClosed) << c.depth << ' ' << c.along;
    }
}

// A line before the box, one in a corner that the box covers by a fifth of a pixel, and one before it again. From the
// corner, or from so far before it, a ramp rises towards the viewer.
TEST(LineSpans, AnEdgeInACornerGoesOnUnderASliver) {
    struct Case {
        double before;
        KivStrokeKind kind;
        bool isSeen;
    };
    for (const Case& c : {Case{0.0, KivStrokeKind::crease, true}, Case{3.0, KivStrokeKind::crease, false},
                          Case{0.0, KivStrokeKind::intersection, false}, Case{0.0, KivStrokeKind::own, false}}) {
        LineBody ramp;
        ramp.points = {{-40.0, -0.2, c.before}, {40.0, -0.2, c.before}, {0.0, 20.0, c.before + 15.0}};
        ramp.triangles = {{0, 1, 2}};
        Scene scene(ramp);
        const double xs[] = {-30.0, -12.0, -12.0, 12.0, 12.0, 30.0};
        const double zs[] = {20.0, 20.0, 0.0, 0.0, 20.0, 20.0};
        for (int i = 1; i < 6; ++i) {
            scene.add({xs[i - 1], -0.2, zs[i - 1]}, {xs[i], -0.2, zs[i]}, false, c.kind);
        }
        EXPECT_NEAR(scene.length(LineSight::hidden), c.isSeen ? 0.0 : 24.0, 1e-6) << c.before;
        EXPECT_NEAR(scene.length(LineSight::seen), c.isSeen ? 60.0 : 36.0, 1e-6) << c.before;
    }
}

TEST(LineSpans, FoldsThatHideNextToNothingAreSlight) {
    // Before the box, at a depth just before it: the line runs over its face.
    for (const double step : {0.1, 5.0}) {
        Scene scene;
        scene.segments.about[0].detail = 1.0;
        scene.add({-30.0, -20.0, 10.0 + step}, {30.0, -20.0, 10.0 + step}, true);
        EXPECT_EQ(scene.length(LineSight::slight) > 0.0, step < 1.0) << step;
        EXPECT_NEAR(scene.length(LineSight::slight) + scene.length(LineSight::seen), 60.0, 1e-6);
    }
    Scene edge;
    edge.add({-30.0, -20.0, 10.1}, {30.0, -20.0, 10.1}, false);
    EXPECT_NEAR(edge.length(LineSight::seen), 60.0, 1e-9) << "an edge is drawn wherever it is seen";
    Scene all;
    all.segments.about[0].detail = 0.0;
    all.add({-30.0, -20.0, 10.1}, {30.0, -20.0, 10.1}, true);
    EXPECT_NEAR(all.length(LineSight::seen), 60.0, 1e-9);
}

TEST(LineSpans, WeakLinesThatAreShortAreLeftOut) {
    for (const double shortest : {5.0, 50.0}) {
        Scene scene;
        scene.segments.about[0].shortest = shortest;
        scene.segments.about[0].detail = 1.0;
        scene.add({-10.0, -20.0, 10.6}, {10.0, -20.0, 10.6}, true); // twenty pixels of six tenths
        EXPECT_EQ(scene.length(LineSight::seen) > 0.0, shortest < 12.0);
    }
}

TEST(LineSpans, TheTrianglesAroundAContourHideNoneOfItNextToTheirEdge) {
    for (const bool isAround : {false, true}) {
        for (const double below : {0.3, 20.0}) {
            Scene scene;
            scene.add({-30.0, -below, 0.0}, {30.0, -below, 0.0}, true);
            SurfaceLines& surface = scene.segments.about[0].surface;
            for (std::uint32_t i = 0; isAround && i < 12; ++i) {
                surface.neighbours.push_back(i);
            }
            surface.neighboursFrom[1] = surface.neighbours.size();
            EXPECT_NEAR(scene.length(LineSight::hidden), isAround && below < 1.0 ? 0.0 : 60.0, 1e-9) << below;
        }
    }
}

// A piece that shows over the edge once it is lifted, behind a box that is part of the same surface or stands far
// before it.
TEST(LineSpans, ALiftedContourStaysBehindWhatIsFarBeforeIt) {
    for (const double reach : {10.0, 1.0}) {
        Scene scene;
        scene.add({-30.0, -0.7, 0.0}, {30.0, -0.7, 0.0}, true);
        ContourPiece& piece = scene.segments.about[0].surface.contours.back();
        piece.rise = 1.0;
        piece.reach = reach;
        EXPECT_NEAR(scene.length(LineSight::hidden), reach > 5.0 ? 0.0 : 60.0, 1e-9);
    }
}

// Pieces a little behind the edge of the box, tested for visibility off the surface: one says that it bulges downwards.
TEST(LineSpans, TheMajorityTellsToWhichSideAContourBulges) {
    for (const int odd : {1, 4}) {
        Scene scene;
        for (int i = 0; i < 5; ++i) {
            scene.add({-30.0 + 12.0 * i, -0.5, 0.0}, {-18.0 + 12.0 * i, -0.5, 0.0}, true);
            ContourPiece& piece = scene.segments.about[0].surface.contours.back();
            piece.rise = 1.0;
            piece.bulges = i != 2 && (odd == 1 || i % 2 != 0 || i == 4);
        }
        EXPECT_EQ(scene.length(LineSight::hidden) == 0.0, odd == 1);
    }
}

// A contour that comes from above the box and goes down behind it, the last pixels within what its triangles excuse.
TEST(LineSpans, TheEndOfAContourBehindItsOwnMeshIsABarb) {
    struct Case {
        double reach;  // 5 or more: the box is the mesh beside it
        double behind; // of what is drawn, in pixels
        bool isContour;
        bool isBarb;
    };
    for (const Case& c : {Case{10.0, 4.0, true, true}, Case{10.0, 12.0, true, false}, Case{1.0, 4.0, true, false},
                          Case{10.0, 4.0, false, false}}) {
        Scene scene;
        scene.add({-30.0, 20.0, 0.0}, {-10.0, 0.0, 0.0}, c.isContour);
        scene.add({-10.0, 0.0, 0.0}, {-10.0 + c.behind, -0.3, 0.0}, c.isContour);
        scene.add({-10.0 + c.behind, -0.3, 0.0}, {30.0, -20.0, 0.0}, c.isContour);
        std::vector<LineSpan> spans(3);
        for (std::uint32_t i = 0; i < 3; ++i) {
            if (c.isContour) {
                scene.segments.about[0].surface.contours[i].reach = c.reach;
            }
            spans[i].segment = i;
            const LineSegment& segment = scene.segments.all[i];
            spans[i].start = {segment.a.x + 100.0, segment.a.y + 100.0};
            spans[i].end = {segment.b.x + 100.0, segment.b.y + 100.0};
            spans[i].length = kivLength(segment.b - segment.a);
            spans[i].sight = i < 2 ? LineSight::seen : LineSight::hidden;
        }
        LineBudget budget(LineBudget::allowance(1, 1.0));
        LineSpans(scene.occluders, scene.segments, budget).markBarbs(spans);
        double barb = 0.0;
        for (const LineSpan& span : spans) {
            barb += span.isBarb ? span.length : 0.0;
        }
        EXPECT_NEAR(barb, c.isBarb ? c.behind : 0.0, 0.1) << c.reach << ' ' << c.behind;
    }
}

TEST(LineSpans, ARingBeginsAtItsLongestGap) {
    Scene scene;
    std::vector<LineSpan> spans(6);
    const LineSight sights[] = {LineSight::seen,   LineSight::hidden, LineSight::seen,
                                LineSight::hidden, LineSight::hidden, LineSight::seen};
    const double lengths[] = {4.0, 3.0, 9.0, 2.0, 2.0, 1.0};
    for (std::uint32_t i = 0; i < 6; ++i) {
        spans[i].segment = i;
        spans[i].sight = sights[i];
        spans[i].length = lengths[i];
    }
    kivTurnToGap(spans);
    EXPECT_EQ(spans[0].segment, 3U);
    EXPECT_EQ(spans.back().segment, 2U);
}

} // namespace
