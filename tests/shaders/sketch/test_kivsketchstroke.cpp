#include "kivsketchstroke.h"

#include "support/pollcost.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace {

KivSketchPoint pointOf(double x, double y) {
    KivSketchPoint p;
    p.x = x;
    p.y = y;
    p.place = {x, y, 0.0};
    return p;
}

// A polyline, a point every half pixel.
KivSketchLine lineOf(const std::vector<std::array<double, 2>>& corners, bool closed = false) {
    KivSketchLine line;
    line.closed = closed;
    line.startsFree = line.endsFree = !closed;
    for (std::size_t i = 0; i + 1 < corners.size() + (closed ? 1 : 0); ++i) {
        const auto& a = corners[i];
        const auto& b = corners[(i + 1) % corners.size()];
        const int steps = static_cast<int>(std::hypot(b[0] - a[0], b[1] - a[1]) * 2.0);
        for (int k = 0; k < steps; ++k) {
            const double t = static_cast<double>(k) / steps;
            line.points.push_back(pointOf(a[0] + (b[0] - a[0]) * t, a[1] + (b[1] - a[1]) * t));
        }
    }
    if (!closed) {
        line.points.push_back(pointOf(corners.back()[0], corners.back()[1]));
    }
    return line;
}

KivSketchLine circleOf(double radius) {
    KivSketchLine line;
    line.closed = true;
    const int count = static_cast<int>(radius * 12.0);
    for (int i = 0; i < count; ++i) {
        const double a = 2.0 * std::numbers::pi * i / count;
        line.points.push_back(pointOf(200.0 + radius * std::cos(a), 200.0 + radius * std::sin(a)));
    }
    return line;
}

KivSketchHand steadyHand() {
    KivSketchHand hand;
    hand.width = 4.0;
    hand.wobble = 0.0;
    hand.overshoot = 0.0;
    hand.strokes = 1;
    hand.length = 0.0;
    hand.shortest = 4.0;
    hand.pixel = 1.0;
    return hand;
}

LineBudget polls(std::numeric_limits<std::size_t>::max());
const KivSketchNoise noise(1);
const KivSketchMedium pencil = kivSketchMedium(KivSketchTool::pencil);

KivSketchMesh strokesOf(const KivSketchLine& line, const KivSketchHand& hand, const KivSketchMedium& medium = pencil) {
    KivSketchMesh mesh;
    kivSketchStrokes(line, hand, medium, noise, mesh, polls);
    for (const std::uint32_t index : mesh.indices) {
        EXPECT_LT(index, mesh.vertices.size());
    }
    EXPECT_EQ(mesh.indices.size() % 3, 0U);
    for (const KivSketchVertex& v : mesh.vertices) {
        EXPECT_TRUE(std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.along));
    }
    return mesh;
}

double areaOf(const KivSketchMesh& mesh) {
    double area = 0.0;
    for (std::size_t i = 0; i < mesh.indices.size(); i += 3) {
        const KivSketchVertex& a = mesh.vertices[mesh.indices[i]];
        const KivSketchVertex& b = mesh.vertices[mesh.indices[i + 1]];
        const KivSketchVertex& c = mesh.vertices[mesh.indices[i + 2]];
        area += std::abs(static_cast<double>((b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x))) / 2.0;
    }
    return area;
}

struct Box {
    float left = 1e9F;
    float right = -1e9F;
    float bottom = 1e9F;
    float top = -1e9F;
};

Box boxOf(const KivSketchMesh& mesh) {
    Box box;
    for (const KivSketchVertex& v : mesh.vertices) {
        box.left = std::min(box.left, v.x);
        box.right = std::max(box.right, v.x);
        box.bottom = std::min(box.bottom, v.y);
        box.top = std::max(box.top, v.y);
    }
    return box;
}

} // namespace

TEST(KivSketchPieces, AreCutAtCorners) {
    const std::vector<KivSketchLine> open = kivSketchPieces(lineOf({{10, 10}, {90, 10}, {90, 90}}), 1.0);
    ASSERT_EQ(open.size(), 2U);
    EXPECT_NEAR(open[0].points.back().x, 90.0, 1.01);
    EXPECT_NEAR(open[0].points.back().y, 10.0, 1.01);
    EXPECT_TRUE(open[0].endsFree && open[1].startsFree);
    const std::vector<KivSketchLine> square =
        kivSketchPieces(lineOf({{10, 10}, {90, 10}, {90, 90}, {10, 90}}, true), 1.0);
    ASSERT_EQ(square.size(), 4U);
    for (const KivSketchLine& side : square) {
        EXPECT_FALSE(side.closed);
        EXPECT_TRUE(side.startsFree && side.endsFree);
        const double length =
            std::hypot(side.points.back().x - side.points.front().x, side.points.back().y - side.points.front().y);
        EXPECT_NEAR(length, 80.0, 2.0);
    }
}

TEST(KivSketchPieces, KeepWhatIsRoundOrStraightWhole) {
    const std::vector<KivSketchLine> ring = kivSketchPieces(circleOf(60.0), 1.0);
    ASSERT_EQ(ring.size(), 1U);
    EXPECT_TRUE(ring[0].closed);
    // A zigzag of less than a pixel, as folds of faceted surfaces have it, has no corners.
    KivSketchLine zigzag = lineOf({{10, 50}, {190, 50}});
    for (std::size_t i = 0; i < zigzag.points.size(); ++i) {
        zigzag.points[i].y += (i / 3) % 2 == 0 ? 0.4 : -0.4;
    }
    EXPECT_EQ(kivSketchPieces(zigzag, 1.0).size(), 1U);
    EXPECT_EQ(kivSketchPieces(lineOf({{10, 50}, {100, 50}, {190, 80}}), 1.0).size(), 1U) << "a bend of 18 degrees";
}

TEST(KivSketchPieces, KeepTheEndsThatAreNotFree) {
    KivSketchLine line = lineOf({{10, 10}, {90, 10}, {90, 90}});
    line.startsFree = line.endsFree = false;
    const std::vector<KivSketchLine> pieces = kivSketchPieces(line, 1.0);
    ASSERT_EQ(pieces.size(), 2U);
    EXPECT_FALSE(pieces[0].startsFree);
    EXPECT_TRUE(pieces[0].endsFree && pieces[1].startsFree);
    EXPECT_FALSE(pieces[1].endsFree);
}

TEST(KivSketchStrokes, ASteadyHandStaysOnTheLine) {
    const Box box = boxOf(strokesOf(lineOf({{20, 50}, {180, 50}}), steadyHand()));
    EXPECT_NEAR(box.left, 20.0F, 0.01F);
    EXPECT_NEAR(box.right, 180.0F, 1.01F);
    EXPECT_GE(box.bottom, 48.0F);
    EXPECT_LE(box.top, 52.0F);
    EXPECT_GT(box.top - box.bottom, 2.0F);
}

TEST(KivSketchStrokes, AnUnsteadyHandStraysNoFartherThanItsWobble) {
    KivSketchHand hand = steadyHand();
    hand.wobble = 5.0;
    const Box box = boxOf(strokesOf(lineOf({{20, 50}, {820, 50}}), hand));
    EXPECT_GE(box.bottom, 50.0F - 5.0F * 1.3F - 2.0F);
    EXPECT_LE(box.top, 50.0F + 5.0F * 1.3F + 2.0F);
    EXPECT_GT(box.top - box.bottom, 7.0F);
}

// Lines are joined now from the one end, now from the other, while a camera moves.
TEST(KivSketchStrokes, ALineStraysTheSameWayFromBothEnds) {
    KivSketchHand hand = steadyHand();
    hand.wobble = 5.0;
    KivSketchLine line = lineOf({{20, 50}, {320, 150}});
    const auto middles = [&] {
        std::vector<std::pair<float, float>> points;
        const KivSketchMesh mesh = strokesOf(line, hand);
        for (std::size_t i = 0; i + 1 < mesh.vertices.size(); i += 2) {
            points.emplace_back((mesh.vertices[i].x + mesh.vertices[i + 1].x) / 2.0F,
                                (mesh.vertices[i].y + mesh.vertices[i + 1].y) / 2.0F);
        }
        return points;
    };
    const auto forwards = middles();
    std::reverse(line.points.begin(), line.points.end());
    ASSERT_GT(forwards.size(), 200U);
    double strays = 0.0;
    for (const auto& [x, y] : middles()) {
        float nearest = 1e9F;
        for (const auto& [u, v] : forwards) {
            nearest = std::min(nearest, std::hypot(u - x, v - y));
        }
        EXPECT_LT(nearest, 0.7F) << x; // points lie 1 apart
        strays = std::max(strays, std::abs(y - 50.0 - (x - 20.0) / 3.0));
    }
    EXPECT_GT(strays, 3.0);
}

TEST(KivSketchStrokes, RunOnBeyondFreeEndsOnly) {
    KivSketchHand hand = steadyHand();
    hand.overshoot = 12.0;
    KivSketchLine line = lineOf({{50, 50}, {250, 50}});
    Box box = boxOf(strokesOf(line, hand));
    EXPECT_LT(box.left, 50.0F - 2.0F);
    EXPECT_GE(box.left, 50.0F - 12.0F * 1.11F);
    EXPECT_GT(box.right, 250.0F + 1.0F);
    EXPECT_LE(box.right, 250.0F + 12.0F * 1.11F);
    line.startsFree = false;
    box = boxOf(strokesOf(line, hand));
    EXPECT_NEAR(box.left, 50.0F, 0.01F);
    EXPECT_GT(box.right, 251.0F);
}

TEST(KivSketchStrokes, ARingIsDrawnOverItsBeginning) {
    const KivSketchMesh mesh = strokesOf(circleOf(60.0), steadyHand());
    // Every direction is covered, and some twice.
    std::vector<int> hits(72, 0);
    for (const KivSketchVertex& v : mesh.vertices) {
        const double a = std::atan2(static_cast<double>(v.y) - 200.0, static_cast<double>(v.x) - 200.0);
        ++hits[static_cast<std::size_t>((a + std::numbers::pi) / (2.0 * std::numbers::pi) * 72.0) % 72];
        EXPECT_NEAR(std::hypot(v.x - 200.0, v.y - 200.0), 60.0, 2.5);
    }
    const auto [fewest, most] = std::minmax_element(hits.begin(), hits.end());
    EXPECT_GT(*fewest, 0);
    EXPECT_GE(*most, *fewest * 2 - 4);
}

TEST(KivSketchStrokes, LineIsDrawnAsOftenAsAsked) {
    const KivSketchLine line = lineOf({{20, 50}, {180, 50}});
    KivSketchHand hand = steadyHand();
    const std::size_t once = strokesOf(line, hand).indices.size();
    for (const int strokes : {2, 3, 6}) {
        hand.strokes = strokes;
        EXPECT_EQ(strokesOf(line, hand).indices.size(), once * static_cast<std::size_t>(strokes));
    }
}

TEST(KivSketchStrokes, LongLinesAreBrokenWithOverlap) {
    const KivSketchLine line = lineOf({{0, 50}, {1000, 50}});
    KivSketchHand hand = steadyHand();
    const KivSketchMesh whole = strokesOf(line, hand);
    hand.length = 150.0;
    const KivSketchMesh broken = strokesOf(line, hand);
    // A stroke of n points has n - 1 quads: the difference of points and quads counts the strokes.
    const auto count = [](const KivSketchMesh& mesh) { return mesh.vertices.size() / 2 - mesh.indices.size() / 6; };
    EXPECT_EQ(count(whole), 1U);
    EXPECT_GE(count(broken), 5U);
    EXPECT_LE(count(broken), 10U);
    // No gap: every place is covered.
    std::vector<bool> covered(1000, false);
    for (std::size_t i = 0; i < broken.indices.size(); i += 3) {
        float left = 1e9F;
        float right = -1e9F;
        for (std::size_t k = i; k < i + 3; ++k) {
            left = std::min(left, broken.vertices[broken.indices[k]].x);
            right = std::max(right, broken.vertices[broken.indices[k]].x);
        }
        for (int x = std::max(0, static_cast<int>(left)); x < std::min(1000, static_cast<int>(right) + 1); ++x) {
            covered[static_cast<std::size_t>(x)] = true;
        }
    }
    EXPECT_EQ(std::count(covered.begin(), covered.end(), false), 0);
}

TEST(KivSketchStrokes, PressureNarrowsAndPalesTheEnds) {
    KivSketchHand hand = steadyHand();
    hand.pressure = 1.0;
    const KivSketchMesh mesh = strokesOf(lineOf({{20, 50}, {220, 50}}), hand);
    const std::size_t middle = mesh.vertices.size() / 4 * 2;
    const std::size_t last = mesh.vertices.size() - 2;
    const auto width = [&mesh](std::size_t i) { return std::abs(mesh.vertices[i].y - mesh.vertices[i + 1].y); };
    EXPECT_GT(width(middle), width(last) * 1.3F);
    EXPECT_GT(mesh.vertices[middle].color[3], mesh.vertices[last].color[3] * 1.3);
    hand.pressure = 0.0;
    const KivSketchMesh even = strokesOf(lineOf({{20, 50}, {220, 50}}), hand);
    for (const KivSketchVertex& v : even.vertices) {
        EXPECT_EQ(v.color[3], even.vertices[0].color[3]);
    }
}

TEST(KivSketchStrokes, DashesCoverSevenOfElevenPixels) {
    KivSketchHand hand = steadyHand();
    const KivSketchLine line = lineOf({{0, 50}, {880, 50}});
    hand.pressure = 0.0;
    const double whole = areaOf(strokesOf(line, hand));
    hand.dashed = true;
    EXPECT_NEAR(areaOf(strokesOf(line, hand)) / whole, 7.0 / 11.0, 0.1);
}

TEST(KivSketchStrokes, LeaveOutWhatIsShort) {
    KivSketchHand hand = steadyHand();
    hand.shortest = 30.0;
    EXPECT_TRUE(strokesOf(lineOf({{20, 50}, {45, 50}}), hand).indices.empty());
    EXPECT_FALSE(strokesOf(lineOf({{20, 50}, {55, 50}}), hand).indices.empty());
}

TEST(KivSketchStrokes, AStepOfTheCameraMovesThemByAStep) {
    // The same line in space, seen from a little to the side and a little nearer.
    KivSketchHand hand = steadyHand();
    hand.wobble = 3.0;
    hand.overshoot = 8.0;
    hand.strokes = 3;
    hand.length = 200.0;
    const KivSketchLine before = lineOf({{50, 50}, {400, 120}, {420, 400}});
    KivSketchLine after = before;
    for (KivSketchPoint& p : after.points) {
        p.x = (p.x - 200.0) * 1.004 + 201.5;
        p.y = (p.y - 200.0) * 1.004 + 199.0;
        p.unit = 1.0 / 1.004;
    }
    const KivSketchMesh a = strokesOf(before, hand);
    const KivSketchMesh b = strokesOf(after, hand);
    double worst = 0.0;
    int far = 0;
    for (const KivSketchVertex& v : a.vertices) {
        double nearest = 1e9;
        for (const KivSketchVertex& w : b.vertices) {
            nearest = std::min(nearest, static_cast<double>(std::hypot(v.x - w.x, v.y - w.y)));
        }
        worst = std::max(worst, nearest);
        far += nearest > 4.0;
    }
    EXPECT_LT(worst, 12.0);
    EXPECT_LT(far, static_cast<int>(a.vertices.size() / 50));
}

TEST(KivSketchStrokes, SurviveWhatIsNoLine) {
    KivSketchHand hand = steadyHand();
    hand.wobble = 2.0;
    hand.overshoot = 5.0;
    hand.shortest = 0.0;
    EXPECT_TRUE(strokesOf({}, hand).vertices.empty());
    KivSketchLine dot;
    dot.points.assign(40, pointOf(7.0, 7.0));
    EXPECT_TRUE(strokesOf(dot, hand).indices.empty());
    dot.closed = true;
    EXPECT_TRUE(strokesOf(dot, hand).indices.empty());
    KivSketchLine two = lineOf({{1, 1}, {4, 1}});
    two.points.resize(2);
    strokesOf(two, hand);
    KivSketchLine lost = lineOf({{1, 1}, {90, 1}});
    for (KivSketchPoint& p : lost.points) {
        p.place = {std::numeric_limits<double>::quiet_NaN(), 0.0, 0.0};
        p.unit = 0.0;
    }
    EXPECT_FALSE(strokesOf(lost, hand).indices.empty());
}

// The ends of a contour wander over the surface while the camera moves, and with them the noise that tells where a
// stroke begins.
TEST(KivSketchStrokes, TheirEndsDoNotSwapAtOnce) {
    constexpr double step = 0.25;
    const KivSketchHand hand = steadyHand();
    KivSketchLine line = lineOf({{100.0, 100.0}, {220.0, 100.0}});
    line.startsFree = line.endsFree = false;
    int swaps = 0;
    double before = -1.0;
    bool beganAtLeft = false;
    for (double z = 0.0; z < 1500.0; z += step) {
        for (KivSketchPoint& p : line.points) {
            p.place.z = z;
        }
        const KivSketchMesh mesh = strokesOf(line, hand);
        const bool beginsAtLeft = mesh.vertices.front().x < 160.0F;
        const KivSketchVertex& left = beginsAtLeft ? mesh.vertices.front() : mesh.vertices.back();
        const double tone = left.color[3];
        swaps += before >= 0.0 && beginsAtLeft != beganAtLeft ? 1 : 0;
        if (before >= 0.0) {
            EXPECT_NEAR(tone, before, 3.0) << z;
        }
        before = tone;
        beganAtLeft = beginsAtLeft;
    }
    EXPECT_GT(swaps, 2);
}

TEST(KivSketchStrokes, ShortOnesGrowWhereWanted) {
    KivSketchHand hand = steadyHand();
    const auto areaOfLength = [&hand](double length, KivSketchTool tool) {
        const KivSketchLine line = lineOf({{100.0, 100.0}, {100.0 + length, 100.0}});
        const KivSketchMesh mesh = strokesOf(line, hand, kivSketchMedium(tool));
        int tones = 0;
        for (const KivSketchVertex& v : mesh.vertices) {
            tones = std::max(tones, static_cast<int>(v.color[3]));
        }
        return areaOf(mesh) / length * tones;
    };
    for (const KivSketchTool tool : {KivSketchTool::ink, KivSketchTool::pencil}) {
        hand.grows = false;
        const double plain = areaOfLength(4.5, tool);
        const double plainLong = areaOfLength(12.5, tool);
        hand.grows = true;
        EXPECT_LT(areaOfLength(4.5, tool), 0.1 * plain);
        EXPECT_DOUBLE_EQ(areaOfLength(12.5, tool), plainLong);
    }
}

TEST(KivSketchStrokes, PollByCostAlongALongLine) {
    const KivSketchLine line = lineOf({{0, 0}, {30000, 0}});
    for (const double length : {0.0, 200.0}) {
        KivSketchHand hand = steadyHand();
        hand.wobble = 2.0;
        hand.length = length;
        hand.strokes = 3;
        PollCost::expectAllowed([&] {
            KivSketchMesh mesh;
            LineBudget ownPolls(std::numeric_limits<std::size_t>::max());
            kivSketchStrokes(line, hand, pencil, noise, mesh, ownPolls);
        });
    }
}
