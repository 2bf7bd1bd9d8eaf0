#include "kivoutlinelines.h"

#include "../shapes.h"

#include <gtest/gtest.h>

#include <algorithm>

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

KivOutlinePen testPen() {
    KivOutlinePen pen;
    pen.width[0] = pen.width[1] = pen.width[2] = 4.0;
    pen.pixel = 1.0;
    pen.detail = 2.0;
    pen.shortest = 8.0;
    pen.smoothing = 0.0;
    return pen;
}

std::vector<KivOutlineCorner> lineAcross(const KivView& view, double z, int openSide = 0) {
    return {{view.clip({-0.8, 0.0, z}), openSide}, {view.clip({0.8, 0.0, z}), 0}};
}

float lengthOf(const KivOutlinePath& path) {
    float length = 0.0F;
    for (std::size_t i = 1; i < path.points.size(); ++i) {
        length += std::hypot(path.points[i].x - path.points[i - 1].x, path.points[i].y - path.points[i - 1].y);
    }
    return length;
}

} // namespace

TEST(KivDepthImage, HoldsWhatWasAskedForAndIsFarElsewhere) {
    std::mt19937 words(21);
    for (int run = 0; run < 60; ++run) {
        const int width = 1 + static_cast<int>(words() % 700);
        const int height = 1 + static_cast<int>(words() % 500);
        const auto value = [](int x, int y) { return static_cast<float>(x * 1000 + y) / 1e6F; };
        KivDepthImage depth(width, height);
        const auto random = [&words](int size) { return (signedUnit(words) * 0.8 + 0.5) * size; };
        const KivWindowPoint a{random(width), random(height), 0.0};
        const KivWindowPoint b{random(width), random(height), 0.0};
        depth.want(a, b, 10.0);
        for (KivDepthImage::Span& span : depth.spans()) {
            ASSERT_LE(span.left + span.width, width);
            ASSERT_LE(span.bottom + span.height, height);
            ASSERT_EQ(span.values.size(), static_cast<std::size_t>(span.width) * span.height);
            for (int y = 0; y < span.height; ++y) {
                for (int x = 0; x < span.width; ++x) {
                    span.values[static_cast<std::size_t>(y) * span.width + x] = value(span.left + x, span.bottom + y);
                }
            }
        }
        for (int i = 0; i <= 100; ++i) {
            const int x = static_cast<int>(std::floor(a.x + (b.x - a.x) * i / 100 + signedUnit(words) * 7));
            const int y = static_cast<int>(std::floor(a.y + (b.y - a.y) * i / 100 + signedUnit(words) * 7));
            const bool inside = x >= 0 && y >= 0 && x < width && y < height;
            EXPECT_EQ(depth.at(x, y), inside ? value(x, y) : 1.0F);
        }
    }
}

TEST(KivDepthImage, ReadsFarLessThanAllForALine) {
    KivDepthImage depth(4000, 3000);
    depth.want({10.0, 10.0, 0.0}, {3990.0, 2990.0, 0.0}, 10.0);
    std::size_t held = 0;
    for (const KivDepthImage::Span& span : depth.spans()) {
        held += span.values.size();
    }
    EXPECT_LT(held, 4000U * 3000U / 15U);
}

TEST(KivDepthImage, TakesTheFarthestOfTheNeighbours) {
    const KivDepthImage depth = depthOf([](int x, int y) { return x == 51 && y == 49 ? 0.7F : 0.2F; });
    EXPECT_EQ(depth.farthest(50, 50), 0.7F);
    EXPECT_EQ(depth.farthest(52, 50), 0.7F);
    EXPECT_EQ(depth.farthest(53, 50), 0.2F);
    EXPECT_EQ(depth.farthest(0, 50), 1.0F); // outside the picture there is nothing
}

TEST(KivOutlineTracer, DrawsALineInTheOpenFromEndToEnd) {
    const KivView view = flatView();
    const KivDepthImage depth = emptyDepth();
    const KivOutlinePen pen = testPen();
    for (const KivOutlineKind kind : {KivOutlineKind::silhouette, KivOutlineKind::border, KivOutlineKind::crease}) {
        std::vector<KivOutlinePath> paths;
        KivOutlineTracer(view, depth, pen).trace(lineAcross(view, 0.0, 1), false, kind, paths);
        ASSERT_EQ(paths.size(), 1U);
        EXPECT_NEAR(paths[0].points.front().x, 20.0F, 1e-3F);
        EXPECT_NEAR(paths[0].points.back().x, 180.0F, 1e-3F);
        for (const KivOutlinePoint& p : paths[0].points) {
            EXPECT_NEAR(p.y, 100.0F, 1e-3F);
            EXPECT_EQ(p.halfWidth, 2.0F);
        }
    }
}

TEST(KivOutlineTracer, EndsALineWhereSomethingStandsInFront) {
    const KivView view = flatView();
    KivDepthImage depth = wallDepth(80, 130, 0.25F); // nearer than the line at 0.5
    const KivOutlinePen pen = testPen();
    std::vector<KivOutlinePath> paths;
    KivOutlineTracer(view, depth, pen).trace(lineAcross(view, 0.0), false, KivOutlineKind::crease, paths);
    ASSERT_EQ(paths.size(), 2U);
    EXPECT_NEAR(paths[0].points.back().x, 80.0F, 3.0F);
    EXPECT_NEAR(paths[1].points.front().x, 130.0F, 3.0F);
    depth = wallDepth(80, 130, 0.75F); // behind the line
    paths.clear();
    KivOutlineTracer(view, depth, pen).trace(lineAcross(view, 0.0), false, KivOutlineKind::crease, paths);
    EXPECT_EQ(paths.size(), 1U);
}

TEST(KivOutlineTracer, HidesALineBehindEverything) {
    const KivView view = flatView();
    const KivDepthImage depth = wallDepth(0, 200, 0.4F);
    const KivOutlinePen pen = testPen();
    std::vector<KivOutlinePath> paths;
    KivOutlineTracer(view, depth, pen).trace(lineAcross(view, 0.0, 1), false, KivOutlineKind::silhouette, paths);
    EXPECT_TRUE(paths.empty());
}

TEST(KivOutlineTracer, BridgesSinglePixels) {
    const KivView view = flatView();
    const KivDepthImage depth = wallDepth(98, 102, 0.25F);
    KivOutlinePen pen = testPen();
    pen.pixel = 4.0;
    std::vector<KivOutlinePath> paths;
    KivOutlineTracer(view, depth, pen).trace(lineAcross(view, 0.0), false, KivOutlineKind::crease, paths);
    EXPECT_EQ(paths.size(), 1U);
}

TEST(KivOutlineTracer, GoesOnOverSlightDipsOnly) {
    // A fold that dips a pixel deep behind its own surface for a few pixels; a surface far in front; a long dip.
    const KivView view = flatView();
    const KivOutlinePen pen = testPen();
    const auto count = [&](const KivDepthImage& depth) {
        std::vector<KivOutlinePath> paths;
        KivOutlineTracer(view, depth, pen).trace(lineAcross(view, 0.0), false, KivOutlineKind::crease, paths);
        return paths.size();
    };
    EXPECT_EQ(count(wallDepth(95, 102, 0.495F)), 1U);
    EXPECT_EQ(count(wallDepth(95, 102, 0.3F)), 2U);
    EXPECT_EQ(count(wallDepth(80, 110, 0.495F)), 2U);
}

TEST(KivOutlineTracer, ThinsFoldsThatHideNextToNothing) {
    const KivView view = flatView();
    KivOutlinePen pen = testPen();
    // The line lies at depth 0.5; a pixel is 0.01 of the scene, a step back of 2 pixels is 0.01 in depth.
    for (const auto& [step, expected] : {std::pair(0.02F, 2.0F), std::pair(0.01F, 2.0F), std::pair(0.005F, 1.0F)}) {
        const KivDepthImage depth = wallDepth(0, 200, 0.5F + step);
        std::vector<KivOutlinePath> paths;
        KivOutlineTracer(view, depth, pen).trace(lineAcross(view, 0.0, 1), false, KivOutlineKind::silhouette, paths);
        ASSERT_EQ(paths.size(), 1U);
        EXPECT_NEAR(paths[0].points[paths[0].points.size() / 2].halfWidth, expected, 0.02F);
    }
    const KivDepthImage depth = wallDepth(0, 200, 0.501F);
    std::vector<KivOutlinePath> paths;
    KivOutlineTracer(view, depth, pen).trace(lineAcross(view, 0.0, 1), false, KivOutlineKind::silhouette, paths);
    EXPECT_TRUE(paths.empty());
}

TEST(KivOutlineTracer, KeepsARingClosed) {
    const KivView view = flatView();
    const KivDepthImage depth = emptyDepth();
    const KivOutlinePen pen = testPen();
    std::vector<KivOutlineCorner> ring;
    for (int i = 0; i < 40; ++i) {
        ring.push_back({view.clip({0.5 * std::cos(i * 0.15708), 0.5 * std::sin(i * 0.15708), 0.0}), 1});
    }
    std::vector<KivOutlinePath> paths;
    KivOutlineTracer(view, depth, pen).trace(ring, true, KivOutlineKind::silhouette, paths);
    ASSERT_EQ(paths.size(), 1U);
    EXPECT_TRUE(paths[0].closed);
    EXPECT_NEAR(lengthOf(paths[0]), 2.0 * 3.14159 * 50.0, 4.0);
}

TEST(KivOutlineTracer, TurnsARingThatIsHiddenInPart) {
    const KivView view = flatView();
    const KivDepthImage depth = wallDepth(0, 100, 0.1F); // the left half is hidden, the ring starts at the right
    const KivOutlinePen pen = testPen();
    std::vector<KivOutlineCorner> ring;
    for (int i = 0; i < 40; ++i) {
        ring.push_back({view.clip({0.5 * std::cos(i * 0.15708), 0.5 * std::sin(i * 0.15708), 0.0}), 1});
    }
    std::vector<KivOutlinePath> paths;
    KivOutlineTracer(view, depth, pen).trace(ring, true, KivOutlineKind::silhouette, paths);
    ASSERT_EQ(paths.size(), 1U) << "one half circle, not two quarters";
    EXPECT_FALSE(paths[0].closed);
    EXPECT_NEAR(lengthOf(paths[0]), 3.14159 * 50.0, 8.0);
}

TEST(KivOutlineTracer, CutsAtTheEdgesOfTheView) {
    const KivView view = flatView();
    const KivDepthImage depth = emptyDepth();
    const KivOutlinePen pen = testPen();
    std::vector<KivOutlineCorner> corners = {{view.clip({-3.0, 0.0, 0.0}), 0},
                                             {view.clip({3.0, 0.0, 0.0}), 0},
                                             {view.clip({3.0, 0.5, 0.0}), 0},
                                             {view.clip({-3.0, 0.5, 0.0}), 0}};
    std::vector<KivOutlinePath> paths;
    KivOutlineTracer(view, depth, pen).trace(corners, false, KivOutlineKind::crease, paths);
    ASSERT_EQ(paths.size(), 2U);
    for (const KivOutlinePath& path : paths) {
        EXPECT_NEAR(lengthOf(path), 200.0, 0.1);
    }
}

TEST(KivOutlineTracer, SurvivesLinesThatPassThroughTheEye) {
    const KivView view = perspectiveView({0.0, 0.0, 5.0}, 0.5, 1.0, 20.0, 200);
    const KivDepthImage depth = emptyDepth();
    const KivOutlinePen pen = testPen();
    std::vector<KivOutlinePath> paths;
    KivOutlineTracer(view, depth, pen)
        .trace({{view.clip({0.0, 0.0, 0.0}), 1}, {view.clip({0.0, 0.1, 9.0}), 1}, {view.clip({0.0, 0.0, 5.0}), 0}},
               false, KivOutlineKind::silhouette, paths);
    for (const KivOutlinePath& path : paths) {
        for (const KivOutlinePoint& p : path.points) {
            EXPECT_TRUE(std::isfinite(p.x) && std::isfinite(p.y));
        }
    }
}

TEST(KivOutlineTracer, SeesSinglePoints) {
    const KivView view = flatView();
    const KivDepthImage depth = wallDepth(0, 100, 0.25F);
    const KivOutlinePen pen = testPen();
    const KivOutlineTracer tracer(view, depth, pen);
    KivOutlinePoint place;
    EXPECT_FALSE(tracer.sees(view.clip({-0.5, 0.0, 0.0}), &place));
    EXPECT_TRUE(tracer.sees(view.clip({0.5, 0.25, 0.0}), &place));
    EXPECT_NEAR(place.x, 150.0F, 1e-4F);
    EXPECT_NEAR(place.y, 125.0F, 1e-4F);
    EXPECT_FALSE(tracer.sees(view.clip({1.5, 0.0, 0.0}), &place));
}
