#include "kivrender/lines/kivsurfacecrossings.h"

#include "kivrender/lines/linegrain.h"
#include "kivrender/lines/trianglecrossing.h"
#include "linebodies.h"
#include "support/pollcost.h"
#include "support/rawrandom.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <numbers>
#include <tuple>
#include <vector>

namespace {

using Key = std::tuple<double, double, double>;

std::vector<KivCrossing> crossingsOf(const std::vector<LineBody>& bodies) {
    KivSurfaceCrossings crossings;
    for (const LineBody& body : bodies) {
        EXPECT_TRUE(crossings.add(body.points, body.triangles));
    }
    EXPECT_TRUE(crossings.find());
    return crossings.pieces();
}

double lengthOf(const std::vector<KivCrossing>& pieces) {
    double length = 0.0;
    for (const KivCrossing& piece : pieces) {
        length += kivLength(piece.to - piece.from);
    }
    return length;
}

// The number of places where an odd number of pieces ends: none where all lines close.
int looseEnds(const std::vector<KivCrossing>& pieces) {
    std::map<Key, int> ends;
    for (const KivCrossing& piece : pieces) {
        ++ends[{piece.from.x, piece.from.y, piece.from.z}];
        ++ends[{piece.to.x, piece.to.y, piece.to.z}];
    }
    int loose = 0;
    for (const auto& [place, count] : ends) {
        loose += count % 2;
    }
    return loose;
}

LineBody turned(LineBody body, double angle, const KivVec& by) {
    for (KivVec& p : body.points) {
        const KivVec q = {p.x * std::cos(angle) - p.y * std::sin(angle), p.x * std::sin(angle) + p.y * std::cos(angle),
                          p.z};
        p = KivVec{q.x, q.y * std::cos(0.4) - q.z * std::sin(0.4), q.y * std::sin(0.4) + q.z * std::cos(0.4)} + by;
    }
    return body;
}

TEST(KivSurfaceCrossings, TwoBoxesCrossInOneLine) {
    // The second stands out of the front face of the first: a rectangle of 1 by 2.
    const std::vector<KivCrossing> pieces =
        crossingsOf({boxBody({-2.0, -2.0, -2.0}, {2.0, 2.0, 2.0}), boxBody({-0.5, -1.0, 0.0}, {0.5, 1.0, 4.0})});
    EXPECT_NEAR(lengthOf(pieces), 6.0, 1e-12);
    EXPECT_EQ(looseEnds(pieces), 0);
    for (const KivCrossing& piece : pieces) {
        EXPECT_EQ(piece.bodies[0], 0U);
        EXPECT_EQ(piece.bodies[1], 1U);
        EXPECT_DOUBLE_EQ(piece.from.z, 2.0);
        EXPECT_DOUBLE_EQ(piece.to.z, 2.0);
    }
}

TEST(KivSurfaceCrossings, APlaneCutsASphereInACircle) {
    const LineBody plane = {{{-5.0, -5.0, 0.3}, {5.0, -5.0, 0.3}, {5.0, 5.0, 0.3}, {-5.0, 5.0, 0.3}},
                            {{0, 1, 2}, {2, 3, 0}}};
    const std::vector<KivCrossing> pieces = crossingsOf({sphereBody({0.0, 0.0, 0.0}, 1.0, 203, 100), plane});
    EXPECT_NEAR(lengthOf(pieces), 2.0 * std::numbers::pi * std::sqrt(1.0 - 0.09), 3e-3);
    EXPECT_EQ(looseEnds(pieces), 0);
}

TEST(KivSurfaceCrossings, ABodyCrossesItself) {
    // Two arms of one mesh.
    LineBody body = boxBody({-2.0, -0.5, -0.5}, {2.0, 0.5, 0.5});
    const LineBody other = boxBody({-0.25, -2.0, -0.25}, {0.25, 2.0, 0.25});
    for (const LineBody::Triangle& t : other.triangles) {
        body.triangles.push_back({t[0] + 8, t[1] + 8, t[2] + 8});
    }
    body.points.insert(body.points.end(), other.points.begin(), other.points.end());
    const std::vector<KivCrossing> pieces = crossingsOf({body});
    EXPECT_NEAR(lengthOf(pieces), 4.0, 1e-12); // around the thinner arm on either side
    EXPECT_EQ(looseEnds(pieces), 0);
}

TEST(KivSurfaceCrossings, FacesThatTouchMakeNoLine) {
    const LineBody box = boxBody({0.1, 0.1, 0.1}, {1.1, 1.1, 1.1});
    EXPECT_TRUE(crossingsOf({box}).empty());
    EXPECT_TRUE(crossingsOf({box, box}).empty());                                              // the same twice
    EXPECT_TRUE(crossingsOf({box, boxBody({1.1, 0.3, 0.3}, {2.0, 0.9, 0.9})}).empty());        // face to face
    EXPECT_TRUE(crossingsOf({box, boxBody({0.3, 0.3, 1.1 + 5e-7}, {0.9, 0.9, 2.0})}).empty()); // but for rounding
    EXPECT_TRUE(crossingsOf({ringBody({0.0, 0.0, 0.0}, 1.5, 0.6, 60, 30)}).empty());
    EXPECT_FALSE(crossingsOf({box, boxBody({0.3, 0.3, 1.0}, {0.9, 0.9, 2.0})}).empty());
}

TEST(KivSurfaceCrossings, SurfacesThatCrossAlongTheirEdgesHaveALine) {
    // Two roofs whose ridge lies in the plane of a sheet.
    const LineBody roof = {{{-1.0, 0.0, 0.0}, {1.0, 0.0, 0.0}, {0.0, -1.0, 1.0}, {0.0, 1.0, -1.0}},
                           {{0, 1, 2}, {1, 0, 3}}};
    const LineBody sheet = {{{-3.0, -3.0, 0.0}, {3.0, -3.0, 0.0}, {0.0, 3.0, 0.0}}, {{0, 1, 2}}};
    EXPECT_NEAR(lengthOf(crossingsOf({roof, sheet})), 2.0, 1e-12);
}

std::array<double, 10> numbersOf(const KivCrossing& p) {
    return {double(p.bodies[0]),
            double(p.triangles[0]),
            double(p.bodies[1]),
            double(p.triangles[1]),
            p.from.x,
            p.from.y,
            p.from.z,
            p.to.x,
            p.to.y,
            p.to.z};
}

// The reference implementation.
std::vector<std::array<double, 10>> comparingAllPairs(const std::vector<LineBody>& bodies) {
    struct Face {
        std::uint32_t body;
        std::uint32_t triangle;
        std::array<KivVec, 3> p;
    };
    std::vector<Face> faces;
    std::vector<double> grains;
    for (std::uint32_t b = 0; b < bodies.size(); ++b) {
        grains.push_back(kivGrainOf(bodies[b].points, bodies[b].triangles));
        for (std::uint32_t i = 0; i < bodies[b].triangles.size(); ++i) {
            faces.push_back({b, i, bodies[b].corners(i)});
        }
    }
    struct Along {
        KivTriangleCrossing crossing;
        std::size_t plane;
        KivCrossing piece;
    };
    std::vector<Along> alongEdges;
    std::vector<std::array<double, 10>> pieces;
    for (std::size_t i = 0; i < faces.size(); ++i) {
        for (std::size_t k = i + 1; k < faces.size(); ++k) {
            const auto& p = faces[i].p;
            const auto& q = faces[k].p;
            KivTriangleCrossing crossing;
            if (!kivTrianglesCross({p[0], p[1], p[2]}, {q[0], q[1], q[2]},
                                   std::max(grains[faces[i].body], grains[faces[k].body]), &crossing)) {
                continue;
            }
            const KivCrossing piece = {
                crossing.from, crossing.to, {faces[i].body, faces[k].body}, {faces[i].triangle, faces[k].triangle}};
            if (crossing.isAlongEdge) {
                alongEdges.push_back({crossing, crossing.isEdgeOfFirst ? k : i, piece});
            } else {
                pieces.push_back(numbersOf(piece));
            }
        }
    }
    const auto isSame = [](const KivVec& a, const KivVec& b) { return a.x == b.x && a.y == b.y && a.z == b.z; };
    for (const Along& below : alongEdges) {
        const bool goesOn = std::any_of(alongEdges.begin(), alongEdges.end(), [&](const Along& above) {
            return above.crossing.isAbove && above.plane == below.plane &&
                   isSame(above.crossing.edge[0], below.crossing.edge[0]) &&
                   isSame(above.crossing.edge[1], below.crossing.edge[1]);
        });
        if (!below.crossing.isAbove && goesOn) {
            pieces.push_back(numbersOf(below.piece));
        }
    }
    std::sort(pieces.begin(), pieces.end());
    return pieces;
}

// Triangles in many directions, each with all: every pair that crosses, no other, and equal pieces.
TEST(KivSurfaceCrossings, FindsWhatComparingAllPairsFinds) {
    RawRandom random(21);
    int found = 0;
    for (int round = 0; round < 60; ++round) {
        std::vector<LineBody> bodies(1 + random.below(3));
        const bool isCoarse = random.chance(2);
        for (LineBody& body : bodies) {
            const unsigned int count = random.below(round < 40 ? 30 : 90);
            for (unsigned int i = 0; i < 3 * count; ++i) {
                const auto coordinate = [&] { return isCoarse ? random.below(6) - 2.0 : random.between(-2.0, 3.0); };
                body.points.push_back({coordinate(), coordinate(), coordinate()});
                if (i % 3 == 2) {
                    body.triangles.push_back({i - 2, i - 1, i});
                }
            }
        }
        const std::vector<std::array<double, 10>> expected = comparingAllPairs(bodies);
        std::vector<std::array<double, 10>> pieces;
        for (const KivCrossing& p : crossingsOf(bodies)) {
            pieces.push_back(numbersOf(p));
        }
        std::sort(pieces.begin(), pieces.end());
        ASSERT_EQ(pieces, expected) << "round " << round;
        found += static_cast<int>(pieces.size());
    }
    EXPECT_GT(found, 3000);
}

TEST(KivSurfaceCrossings, LinesOfClosedBodiesCloseInEveryPosition) {
    RawRandom random(22);
    for (int round = 0; round < 40; ++round) {
        const LineBody ring = ringBody({0.0, 0.0, 0.0}, 1.5, 0.6, 30, 16);
        const LineBody other =
            round % 2 == 0 ? sphereBody({0.0, 0.0, 0.0}, 1.2, 24, 12) : boxBody({-1.0, -1.0, -0.4}, {1.0, 1.0, 0.9});
        const KivVec by = {random.between(-1.0, 1.0), random.between(-1.0, 1.0), random.between(-1.0, 1.0)};
        const std::vector<KivCrossing> pieces = crossingsOf({ring, turned(other, random.between(0.0, 6.0), by)});
        ASSERT_GT(pieces.size(), 10U) << "round " << round;
        ASSERT_EQ(looseEnds(pieces), 0) << "round " << round;
    }
}

TEST(KivSurfaceCrossings, LinesOfBodiesOnAGridCloseToo) {
    // Corners, edges and faces of the boxes coincide in every way, but no face lies in another.
    RawRandom random(23);
    int found = 0;
    for (int round = 0; round < 200; ++round) {
        const auto coordinate = [&] { return random.below(4) * 2.0; };
        const KivVec low = {coordinate() + 0.5, coordinate() + 0.5, coordinate() + 0.5};
        const LineBody one = boxBody(low, low + KivVec{3.0, 3.0, 3.0});
        const KivVec start = {coordinate(), coordinate(), coordinate()};
        const LineBody other = boxBody(start, start + KivVec{2.0, 4.0, 6.0});
        const std::vector<KivCrossing> pieces = crossingsOf({one, other});
        found += pieces.empty() ? 0 : 1;
        ASSERT_EQ(looseEnds(pieces), 0) << "round " << round;
    }
    EXPECT_GT(found, 30);
}

TEST(KivSurfaceCrossings, BrokenTrianglesAreLeftOut) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    LineBody body = boxBody({-2.0, -2.0, -2.0}, {2.0, 2.0, 2.0});
    body.points.push_back({nan, 0.0, 0.0});
    body.points.push_back({1e308, -1e308, 1e308});
    body.triangles.insert(body.triangles.end(), {{0, 1, 8}, {0, 1, 4000000000U}, {3, 3, 3}, {9, 9, 9}, {9, 0, 9}});
    const std::vector<KivCrossing> pieces = crossingsOf({body, boxBody({-0.5, -1.0, 0.0}, {0.5, 1.0, 4.0})});
    EXPECT_NEAR(lengthOf(pieces), 6.0, 1e-9);
    EXPECT_TRUE(crossingsOf({}).empty());
    EXPECT_TRUE(crossingsOf({LineBody{}}).empty());
}

// Neighbours on calm surfaces are not compared; where corners are not shared, nobody knows of neighbours.
TEST(KivSurfaceCrossings, ATubeThroughItselfHasTheSameLinesHoweverItsCornersAreShared) {
    LineBody tube = ringBody({0.0, 0.0, 0.0}, 1.0, 1.3, 60, 45);
    for (KivVec& p : tube.points) {
        const double wave = 1.0 + 0.02 * std::sin(17.0 * p.x) * std::sin(13.0 * p.y) * std::sin(19.0 * p.z);
        p = p * wave;
    }
    LineBody loose;
    for (const LineBody::Triangle& t : tube.triangles) {
        const auto first = static_cast<std::uint32_t>(loose.points.size());
        for (const std::uint32_t corner : t) {
            loose.points.push_back(tube.points[corner]);
        }
        loose.triangles.push_back({first, first + 1, first + 2});
    }
    const std::vector<KivCrossing> shared = crossingsOf({tube});
    const std::vector<KivCrossing> apart = crossingsOf({loose});
    EXPECT_GT(shared.size(), 300U);
    ASSERT_EQ(shared.size(), apart.size());
    for (std::size_t i = 0; i < shared.size(); ++i) {
        EXPECT_EQ(shared[i].triangles[0], apart[i].triangles[0]);
        EXPECT_EQ(shared[i].triangles[1], apart[i].triangles[1]);
        EXPECT_EQ(kivLength(shared[i].from - apart[i].from), 0.0);
        EXPECT_EQ(kivLength(shared[i].to - apart[i].to), 0.0);
    }
}

TEST(KivSurfaceCrossings, PollsAllTheTime) {
    const LineBody ring = ringBody({0.0, 0.0, 0.0}, 1.5, 0.6, 540, 270);
    const LineBody other = ringBody({1.5, 0.0, 0.0}, 1.5, 0.6, 270, 135);
    PollCost::expectAllowed([&] {
        KivSurfaceCrossings crossings;
        if (crossings.add(ring.points, ring.triangles) && crossings.add(other.points, other.triangles)) {
            crossings.find();
        }
    });
}

// Twice as many for each triangle are taken where nodes of the tree hold parts of several patches.
TEST(KivSurfaceCrossings, ASmoothSurfaceIsHardlyComparedWithItself) {
    const LineBody ring = ringBody({0.0, 0.0, 0.0}, 2.0, 1.0, 200, 100);
    constexpr double comparisonsOfFullEffort = 20e6;
    constexpr double comparisonsPerTriangle = 2.8;
    KivSurfaceCrossings crossings;
    ASSERT_TRUE(crossings.add(ring.points, ring.triangles));
    crossings.setEffort(comparisonsPerTriangle * static_cast<double>(ring.triangles.size()) / comparisonsOfFullEffort);
    EXPECT_TRUE(crossings.find());
    EXPECT_FALSE(crossings.isHeap());
}

// As many crossings as pairs are not lines of a shape, and would take time with the square of the triangles.
TEST(KivSurfaceCrossings, AHeapOfTrianglesHasNone) {
    RawRandom random(7);
    const auto soupOf = [&random](int triangles) {
        LineBody soup;
        for (int i = 0; i < 3 * triangles; ++i) {
            soup.points.push_back({random.between(0.0, 1.0), random.between(0.0, 1.0), random.between(0.0, 1.0)});
        }
        for (std::uint32_t i = 0; i < static_cast<std::uint32_t>(triangles); ++i) {
            soup.triangles.push_back({3 * i, 3 * i + 1, 3 * i + 2});
        }
        return soup;
    };
    const auto find = [](const LineBody& body, KivSurfaceCrossings& crossings) {
        return crossings.add(body.points, body.triangles) && crossings.find();
    };
    KivSurfaceCrossings few;
    ASSERT_TRUE(find(soupOf(100), few));
    EXPECT_FALSE(few.isHeap());
    EXPECT_GT(few.pieces().size(), 100U);
    KivSurfaceCrossings many;
    ASSERT_TRUE(find(soupOf(20000), many));
    EXPECT_TRUE(many.isHeap());
    EXPECT_TRUE(many.pieces().empty());
}

TEST(KivSurfaceCrossings, ACancelIsTold) {
    const LineBody ring = ringBody({0.0, 0.0, 0.0}, 1.5, 0.6, 40, 20);
    KivSurfaceCrossings crossings;
    ASSERT_TRUE(crossings.add(ring.points, ring.triangles));
    PollCounter progress(1);
    const ScopedProgress installed(progress);
    EXPECT_FALSE(crossings.find());
    EXPECT_FALSE(crossings.add(ring.points, ring.triangles));
}

} // namespace
