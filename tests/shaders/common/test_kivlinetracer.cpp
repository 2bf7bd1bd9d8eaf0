#include "kivlinetracer.h"

#include "../shapes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

// A parallel view of 200 by 200 pixels over [-1, 1] with depths from 0 (near, z = 1) to 1 (far, z = -1).
KivView flatView() {
    return KivView({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}, {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, -1, 0, 0, 0, 0, 1},
                   200, 200);
}

// A depth image of 200 by 200 pixels, all of it held, with the value of each pixel by its column.
template <class Value> KivDepthImage depthOf(Value value) {
    KivDepthImage depth(200, 200);
    depth.want({0.0, 0.0, 0.0}, {200.0, 200.0, 0.0}, 200.0);
    for (KivDepthImage::Span& span : depth.spans()) {
        for (int y = 0; y < span.height; ++y) {
            for (int x = 0; x < span.width; ++x) {
                span.values[static_cast<std::size_t>(y) * span.width + x] = value(span.left + x, span.bottom + y);
            }
        }
    }
    return depth;
}

KivDepthImage emptyDepth() {
    return depthOf([](int, int) { return 1.0F; });
}

// Nothing but a wall over some columns.
KivDepthImage wallDepth(int x0, int x1, float wall) {
    return depthOf([=](int x, int) { return x >= x0 && x < x1 ? wall : 1.0F; });
}

KivLinePen testPen() {
    KivLinePen pen;
    pen.width[0] = pen.width[1] = pen.width[2] = 4.0;
    pen.pixel = 1.0;
    pen.detail = 2.0;
    pen.shortest = 8.0;
    pen.smoothing = 0.0;
    return pen;
}

std::vector<KivLineCorner> lineAcross(const KivView& view, double z, int openSide = 0) {
    return {{view.clip({-0.8, 0.0, z}), openSide}, {view.clip({0.8, 0.0, z}), 0}};
}

float lengthOf(const KivLinePath& path) {
    float length = 0.0F;
    for (std::size_t i = 1; i < path.points.size(); ++i) {
        length += std::hypot(path.points[i].x - path.points[i - 1].x, path.points[i].y - path.points[i - 1].y);
    }
    return length;
}

} // namespace

TEST(KivLineTracer, DrawsALineInTheOpenFromEndToEnd) {
    const KivView view = flatView();
    const KivDepthImage depth = emptyDepth();
    const KivLinePen pen = testPen();
    for (const KivFeatureKind kind : {KivFeatureKind::silhouette, KivFeatureKind::border, KivFeatureKind::crease}) {
        std::vector<KivLinePath> paths;
        KivLineTracer(view, depth, pen).trace(lineAcross(view, 0.0, 1), false, kind, paths);
        ASSERT_EQ(paths.size(), 1U);
        EXPECT_NEAR(paths[0].points.front().x, 20.0F, 1e-3F);
        EXPECT_NEAR(paths[0].points.back().x, 180.0F, 1e-3F);
        for (const KivLinePoint& p : paths[0].points) {
            EXPECT_NEAR(p.y, 100.0F, 1e-3F);
            EXPECT_EQ(p.halfWidth, 2.0F);
        }
    }
}

TEST(KivLineTracer, EndsALineWhereSomethingStandsInFront) {
    const KivView view = flatView();
    KivDepthImage depth = wallDepth(80, 130, 0.25F); // nearer than the line at 0.5
    const KivLinePen pen = testPen();
    std::vector<KivLinePath> paths;
    KivLineTracer(view, depth, pen).trace(lineAcross(view, 0.0), false, KivFeatureKind::crease, paths);
    ASSERT_EQ(paths.size(), 2U);
    EXPECT_NEAR(paths[0].points.back().x, 80.0F, 3.0F);
    EXPECT_NEAR(paths[1].points.front().x, 130.0F, 3.0F);
    depth = wallDepth(80, 130, 0.75F); // behind the line
    paths.clear();
    KivLineTracer(view, depth, pen).trace(lineAcross(view, 0.0), false, KivFeatureKind::crease, paths);
    EXPECT_EQ(paths.size(), 1U);
}

TEST(KivLineTracer, HidesALineBehindEverything) {
    const KivView view = flatView();
    const KivDepthImage depth = wallDepth(0, 200, 0.4F);
    const KivLinePen pen = testPen();
    std::vector<KivLinePath> paths;
    KivLineTracer(view, depth, pen).trace(lineAcross(view, 0.0, 1), false, KivFeatureKind::silhouette, paths);
    EXPECT_TRUE(paths.empty());
}

TEST(KivLineTracer, BridgesSinglePixels) {
    const KivView view = flatView();
    const KivDepthImage depth = wallDepth(98, 102, 0.25F);
    KivLinePen pen = testPen();
    pen.pixel = 4.0;
    std::vector<KivLinePath> paths;
    KivLineTracer(view, depth, pen).trace(lineAcross(view, 0.0), false, KivFeatureKind::crease, paths);
    EXPECT_EQ(paths.size(), 1U);
}

TEST(KivLineTracer, GoesOnOverSlightDipsOnly) {
    // A fold that dips a pixel deep behind its own surface for a few pixels; a surface far in front; a long dip.
    const KivView view = flatView();
    const KivLinePen pen = testPen();
    const auto count = [&](const KivDepthImage& depth) {
        std::vector<KivLinePath> paths;
        KivLineTracer(view, depth, pen).trace(lineAcross(view, 0.0), false, KivFeatureKind::crease, paths);
        return paths.size();
    };
    EXPECT_EQ(count(wallDepth(95, 102, 0.495F)), 1U);
    EXPECT_EQ(count(wallDepth(95, 102, 0.3F)), 2U);
    EXPECT_EQ(count(wallDepth(80, 110, 0.495F)), 2U);
}

TEST(KivLineTracer, ThinsFoldsThatHideNextToNothing) {
    const KivView view = flatView();
    KivLinePen pen = testPen();
    // The line lies at depth 0.5; a pixel is 0.01 of the scene, a step back of 2 pixels is 0.01 in depth.
    for (const auto& [step, expected] : {std::pair(0.02F, 2.0F), std::pair(0.01F, 2.0F), std::pair(0.005F, 1.0F)}) {
        const KivDepthImage depth = wallDepth(0, 200, 0.5F + step);
        std::vector<KivLinePath> paths;
        KivLineTracer(view, depth, pen).trace(lineAcross(view, 0.0, 1), false, KivFeatureKind::silhouette, paths);
        ASSERT_EQ(paths.size(), 1U);
        EXPECT_NEAR(paths[0].points[paths[0].points.size() / 2].halfWidth, expected, 0.02F);
    }
    const KivDepthImage depth = wallDepth(0, 200, 0.501F);
    std::vector<KivLinePath> paths;
    KivLineTracer(view, depth, pen).trace(lineAcross(view, 0.0, 1), false, KivFeatureKind::silhouette, paths);
    EXPECT_TRUE(paths.empty());
}

TEST(KivLineTracer, KeepsARingClosed) {
    const KivView view = flatView();
    const KivDepthImage depth = emptyDepth();
    const KivLinePen pen = testPen();
    std::vector<KivLineCorner> ring;
    for (int i = 0; i < 40; ++i) {
        ring.push_back({view.clip({0.5 * std::cos(i * 0.15708), 0.5 * std::sin(i * 0.15708), 0.0}), 1});
    }
    std::vector<KivLinePath> paths;
    KivLineTracer(view, depth, pen).trace(ring, true, KivFeatureKind::silhouette, paths);
    ASSERT_EQ(paths.size(), 1U);
    EXPECT_TRUE(paths[0].closed);
    EXPECT_NEAR(lengthOf(paths[0]), 2.0 * 3.14159 * 50.0, 4.0);
}

TEST(KivLineTracer, TurnsARingThatIsHiddenInPart) {
    const KivView view = flatView();
    const KivDepthImage depth = wallDepth(0, 100, 0.1F); // the left half is hidden, the ring starts at the right
    const KivLinePen pen = testPen();
    std::vector<KivLineCorner> ring;
    for (int i = 0; i < 40; ++i) {
        ring.push_back({view.clip({0.5 * std::cos(i * 0.15708), 0.5 * std::sin(i * 0.15708), 0.0}), 1});
    }
    std::vector<KivLinePath> paths;
    KivLineTracer(view, depth, pen).trace(ring, true, KivFeatureKind::silhouette, paths);
    ASSERT_EQ(paths.size(), 1U) << "one half circle, not two quarters";
    EXPECT_FALSE(paths[0].closed);
    EXPECT_NEAR(lengthOf(paths[0]), 3.14159 * 50.0, 8.0);
}

TEST(KivLineTracer, CutsAtTheEdgesOfTheView) {
    const KivView view = flatView();
    const KivDepthImage depth = emptyDepth();
    const KivLinePen pen = testPen();
    std::vector<KivLineCorner> corners = {{view.clip({-3.0, 0.0, 0.0}), 0},
                                          {view.clip({3.0, 0.0, 0.0}), 0},
                                          {view.clip({3.0, 0.5, 0.0}), 0},
                                          {view.clip({-3.0, 0.5, 0.0}), 0}};
    std::vector<KivLinePath> paths;
    KivLineTracer(view, depth, pen).trace(corners, false, KivFeatureKind::crease, paths);
    ASSERT_EQ(paths.size(), 2U);
    for (const KivLinePath& path : paths) {
        EXPECT_NEAR(lengthOf(path), 200.0, 0.1);
    }
}

TEST(KivLineTracer, SurvivesLinesThatPassThroughTheEye) {
    const KivView view = perspectiveView({0.0, 0.0, 5.0}, 0.5, 1.0, 20.0, 200);
    const KivDepthImage depth = emptyDepth();
    const KivLinePen pen = testPen();
    std::vector<KivLinePath> paths;
    KivLineTracer(view, depth, pen)
        .trace({{view.clip({0.0, 0.0, 0.0}), 1}, {view.clip({0.0, 0.1, 9.0}), 1}, {view.clip({0.0, 0.0, 5.0}), 0}},
               false, KivFeatureKind::silhouette, paths);
    for (const KivLinePath& path : paths) {
        for (const KivLinePoint& p : path.points) {
            EXPECT_TRUE(std::isfinite(p.x) && std::isfinite(p.y));
        }
    }
}

TEST(KivLineTracer, GivesWhatIsHiddenWhenAsked) {
    const KivView view = flatView();
    const KivDepthImage depth = wallDepth(80, 130, 0.25F);
    KivLinePen pen = testPen();
    pen.hidden = true;
    KivLineTracer tracer(view, depth, pen);
    std::vector<KivLinePath> paths;
    tracer.trace(lineAcross(view, 0.0), false, KivFeatureKind::border, paths);
    ASSERT_EQ(paths.size(), 3U);
    EXPECT_FALSE(paths[0].hidden);
    EXPECT_TRUE(paths[1].hidden);
    EXPECT_FALSE(paths[2].hidden);
    EXPECT_NEAR(lengthOf(paths[1]), 50.0F, 5.0F);
    EXPECT_EQ(paths[1].points[3].halfWidth, 2.0F);
    // Where the line itself ends, and where it is only lost from sight.
    EXPECT_TRUE(paths[0].startsFree);
    EXPECT_FALSE(paths[0].endsFree);
    EXPECT_FALSE(paths[1].startsFree || paths[1].endsFree);
    EXPECT_FALSE(paths[2].startsFree);
    EXPECT_TRUE(paths[2].endsFree);
}

TEST(KivLineTracer, TellsWhereInSpaceAPointLies) {
    // A line that runs away from the eye: even steps in the picture are uneven ones in space.
    const KivView view = perspectiveView({0.0, 0.0, 5.0}, 0.3, 1.0, 40.0, 200);
    const KivDepthImage depth = emptyDepth();
    const KivVec corners[3] = {{-0.8, -0.5, 1.0}, {0.3, 0.4, -6.0}, {1.4, 0.9, -8.0}};
    std::vector<KivLineCorner> line;
    for (const KivVec& corner : corners) {
        line.push_back({view.clip(corner), 0, corner});
    }
    const KivLinePen pen = testPen();
    KivLineTracer tracer(view, depth, pen);
    std::vector<KivLinePath> paths;
    tracer.trace(line, false, KivFeatureKind::border, paths);
    ASSERT_EQ(paths.size(), 1U);
    ASSERT_EQ(paths[0].stations.size(), paths[0].points.size());
    for (std::size_t i = 0; i < paths[0].points.size(); ++i) {
        const KivLineStation& station = paths[0].stations[i];
        ASSERT_LT(station.corner, 2U);
        const KivVec& from = corners[station.corner];
        const KivVec place = from + (corners[station.corner + 1] - from) * static_cast<double>(station.part);
        const KivWindowPoint at = view.window(view.clip(place));
        EXPECT_NEAR(at.x, paths[0].points[i].x, 1e-3);
        EXPECT_NEAR(at.y, paths[0].points[i].y, 1e-3);
    }
}

TEST(KivLineTracer, SeesSinglePoints) {
    const KivView view = flatView();
    const KivDepthImage depth = wallDepth(0, 100, 0.25F);
    const KivLinePen pen = testPen();
    const KivLineTracer tracer(view, depth, pen);
    KivLinePoint place;
    EXPECT_FALSE(tracer.sees(view.clip({-0.5, 0.0, 0.0}), &place));
    EXPECT_TRUE(tracer.sees(view.clip({0.5, 0.25, 0.0}), &place));
    EXPECT_NEAR(place.x, 150.0F, 1e-4F);
    EXPECT_NEAR(place.y, 125.0F, 1e-4F);
    EXPECT_FALSE(tracer.sees(view.clip({1.5, 0.0, 0.0}), &place));
}

TEST(KivLineTracer, TellsOutlinesFromFoldsInside) {
    const KivView view = flatView();
    const KivLinePen pen = testPen();
    for (const bool hasBehind : {false, true}) {
        const KivDepthImage depth = wallDepth(0, 200, hasBehind ? 0.9F : 1.0F);
        std::vector<KivLinePath> paths;
        KivLineTracer(view, depth, pen).trace(lineAcross(view, 0.0, 1), false, KivFeatureKind::silhouette, paths);
        ASSERT_EQ(paths.size(), 1U);
        EXPECT_EQ(paths[0].isOutline, !hasBehind);
        EXPECT_EQ(paths[0].points[50].halfWidth, 2.0F);
    }
}

// A contour that goes to and fro by a pixel, and a corner of 90 degrees.
TEST(KivLineTracer, EvensZigzagsAndKeepsCorners) {
    const KivView view = flatView();
    const KivDepthImage depth = emptyDepth();
    KivLinePen pen = testPen();
    std::vector<KivLineCorner> corners;
    for (int i = 0; i < 40; ++i) {
        corners.push_back({view.clip({-0.8 + 0.03 * i, i % 2 == 0 ? 0.003 : -0.003, 0.0}), 1});
    }
    corners.push_back({view.clip({0.4, 0.0, 0.0}), 1});
    corners.push_back({view.clip({0.4, 0.8, 0.0}), 1});
    const auto wander = [&] {
        std::vector<KivLinePath> paths;
        KivLineTracer(view, depth, pen).trace(corners, false, KivFeatureKind::silhouette, paths);
        EXPECT_EQ(paths.size(), 1U);
        float most = 0.0F;
        float nearest = 100.0F;
        for (const KivLinePoint& p : paths[0].points) {
            most = p.x > 30.0F && p.x < 130.0F ? std::max(most, std::abs(p.y - 100.0F)) : most;
            nearest = std::min(nearest, std::hypot(p.x - 140.0F, p.y - 100.0F));
        }
        EXPECT_LT(nearest, 1.0F);
        return most;
    };
    EXPECT_GT(wander(), 0.2F);
    pen.smoothing = 0.1;
    EXPECT_LT(wander(), 0.12F);
}
