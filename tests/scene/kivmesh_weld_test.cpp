#include "kivrender/scene/kivmesh.h"

#include "reference/literalweld.h"
#include "scene/scenetestaccess.h"
#include "support/meshsamples.h"
#include "support/pollcost.h"
#include "support/pollcounter.h"
#include "support/rawrandom.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>

namespace {

KivMesh meshOf(const std::vector<Kiv3DPoint>& corners) {
    KivMesh mesh;
    for (const Kiv3DPoint& corner : corners) {
        mesh.addVertex(corner);
    }
    for (unsigned int i = 0; i + 2 < corners.size(); i += 3) {
        mesh.addTriangle(i, i + 1, i + 2);
    }
    return mesh;
}

std::vector<unsigned int> indicesOf(const KivMesh& mesh) {
    std::vector<unsigned int> all;
    for (unsigned int t = 0; t < mesh.getNumTriangles(); ++t) {
        unsigned int indices[3];
        mesh.getTriangle(indices, t);
        all.insert(all.end(), indices, indices + 3);
    }
    return all;
}

void expectEqual(const KivMesh& mesh, const LiteralWeld& expected) {
    ASSERT_EQ(mesh.getNumVertexs(), expected.vertices.size());
    for (unsigned int i = 0; i < mesh.getNumVertexs(); ++i) {
        ASSERT_TRUE(LiteralWeld::samePlace(mesh.getVertex(i), expected.vertices[i])) << i;
    }
    ASSERT_EQ(indicesOf(mesh), expected.indices);
}

// What holds of every weld: each corner is within the tolerance of its vertex, and one place is one vertex.
void expectGuarantees(const KivMesh& source, const KivMesh& welded) {
    const auto corners = LiteralWeld::cornersOf(source);
    const auto indices = indicesOf(welded);
    ASSERT_EQ(indices.size(), corners.size());
    for (std::size_t i = 0; i < corners.size(); ++i) {
        ASSERT_LT(indices[i], welded.getNumVertexs());
        ASSERT_TRUE(welded.getVertex(indices[i]).isEqual(corners[i].vertex, LiteralWeld::tolerance)) << i;
        for (std::size_t j = 0; j < i; ++j) {
            ASSERT_TRUE(!LiteralWeld::samePlace(corners[i].vertex, corners[j].vertex) || indices[i] == indices[j]);
        }
    }
}

using Generator = std::function<double(RawRandom&)>;

// Welds many random meshes and compares each; counts those whose corners the comparison orders.
int compareMany(std::uint32_t seed, int rounds, const Generator& coordinate) {
    RawRandom random(seed);
    int ordered = 0;
    for (int round = 0; round < rounds && !testing::Test::HasFatalFailure(); ++round) {
        std::vector<Kiv3DPoint> corners(3 * std::size_t{1 + random.below(9)});
        for (Kiv3DPoint& corner : corners) {
            corner.set(coordinate(random), coordinate(random), coordinate(random));
        }
        const KivMesh source = meshOf(corners);
        KivMesh welded;
        welded.copyMeshCompacted(source);
        const auto all = LiteralWeld::cornersOf(source);
        expectEqual(welded, LiteralWeld(LiteralWeld::sortedByPlace(all)));
        if (LiteralWeld::isOrdered(all)) {
            ++ordered;
            expectEqual(welded, LiteralWeld(LiteralWeld::sorted(all)));
        }
        if (coordinate(random) == coordinate(random) || round % 16 == 0) {
            expectGuarantees(source, welded);
        }
    }
    return ordered;
}

TEST(KivMeshWeld, TwoIdenticalTrianglesShareTheirVertices) {
    const Kiv3DPoint a(0.0, 0.0, 0.0);
    const Kiv3DPoint b(1.0, 0.0, 0.0);
    const Kiv3DPoint c(0.0, 1.0, 0.0);
    KivMesh welded;
    welded.copyMeshCompacted(meshOf({a, b, c, a, b, c}));
    EXPECT_EQ(welded.getNumVertexs(), 3U);
    EXPECT_EQ(welded.getNumTriangles(), 2U);
    EXPECT_EQ(indicesOf(welded), (std::vector<unsigned int>{0, 2, 1, 0, 2, 1})) << "vertices in sorted order";
    EXPECT_FALSE(KivTestAccess::hasScratch(welded));
}

TEST(KivMeshWeld, AnEmptySourceGivesItsMaterial) {
    KivMesh source;
    KivMaterial material;
    material.setAmbient(1);
    material.setDiffuse(2);
    source.setMaterial(material);
    KivMesh welded = meshOf({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
    welded.copyMeshCompacted(source);
    EXPECT_EQ(welded.getNumVertexs(), 0U);
    EXPECT_EQ(welded.getNumTriangles(), 0U);
    EXPECT_EQ(welded.getMaterial()->getDiffuse(), 2U);
}

TEST(KivMeshWeld, NormalsAndShadersAreNotTakenOverAndTheBoxStays) {
    KivMesh source;
    const Kiv3DVector up(0.0, 0.0, 1.0);
    source.addTriangle({0, 0, 0}, up, {5, 0, 0}, up, {0, 5, 0}, up);
    source.setNonCombinableShader(L"Cartoon");
    KivMesh welded;
    const Kiv3DVector side(1.0, 0.0, 0.0);
    welded.addTriangle({0, 0, 0}, side, {1, 0, 0}, side, {0, 1, 0}, side);
    welded.addCombinableShader(L"Outline");
    welded.getBoundingBox();
    welded.copyMeshCompacted(source);
    EXPECT_FALSE(welded.hasNormals()) << "neither the source's nor its own of before";
    EXPECT_FALSE(welded.rendersThisShader(L"Cartoon"));
    EXPECT_TRUE(welded.rendersThisShader(L"Outline"));
    EXPECT_EQ(welded.getBoundingBox()->getXMax(), 1.0);
}

TEST(KivMeshWeld, TheSurvivorOfARunIsTheFirstOne) {
    KivMesh welded;
    welded.copyMeshCompacted(meshOf({{0.00005, 0, 0}, {5, 0, 0}, {0, 5, 0}, {0, 0, 0}, {5, 0, 0}, {0, 5, 0}}));
    ASSERT_EQ(welded.getNumVertexs(), 3U);
    EXPECT_TRUE(welded.getVertex(0) == Kiv3DPoint(0.00005, 0.0, 0.0));
}

TEST(KivMeshWeld, AChainDoesNotWeldWithoutLimit) {
    std::vector<Kiv3DPoint> corners;
    for (int i = 0; i < 30; ++i) {
        corners.emplace_back(i * 0.00009, 0.0, 0.0);
    }
    const KivMesh source = meshOf(corners);
    KivMesh welded;
    welded.copyMeshCompacted(source);
    expectGuarantees(source, welded);
    EXPECT_EQ(welded.getNumVertexs(), 15U) << "pairs";
    expectEqual(welded, LiteralWeld(LiteralWeld::sorted(LiteralWeld::cornersOf(source))));
}

TEST(KivMeshWeld, EqualsTheLiteralFormOnClusters) {
    // Places far apart, each with corners that are near to each other.
    const int ordered = compareMany(
        11, 3000, [](RawRandom& r) { return r.below(3) * 1.0 + (r.chance(2) ? r.between(0.0, 0.00009) : 0.0); });
    EXPECT_EQ(ordered, 3000);
}

TEST(KivMeshWeld, EqualsTheLiteralFormAtTheVeryTolerance) {
    const int ordered = compareMany(12, 3000, [](RawRandom& r) { return r.below(3) * 0.0001; });
    EXPECT_LT(ordered, 3000) << "the comparison runs in circles in some";
}

TEST(KivMeshWeld, EqualsTheLiteralFormOnChainsOfNearPoints) {
    const int ordered = compareMany(13, 3000, [](RawRandom& r) { return r.below(6) * 0.00004; });
    EXPECT_LT(ordered, 2500);
}

TEST(KivMeshWeld, EqualsTheLiteralFormOnCrowdedPoints) {
    compareMany(14, 2000, [](RawRandom& r) { return r.between(0.0, 0.001); });
}

TEST(KivMeshWeld, EqualsTheLiteralFormOnDegenerateNumbers) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const double odd[] = {0.0, -0.0, infinity, -infinity, std::numeric_limits<double>::quiet_NaN(), 1e308, -1e308, 1.0};
    RawRandom random(15);
    for (int round = 0; round < 2000; ++round) {
        std::vector<Kiv3DPoint> corners(3 * std::size_t{1 + random.below(6)});
        for (Kiv3DPoint& corner : corners) {
            corner.set(odd[random.below(8)], odd[random.below(8)], random.chance(2) ? odd[random.below(8)] : 0.0);
        }
        const KivMesh source = meshOf(corners);
        KivMesh welded;
        welded.copyMeshCompacted(source);
        ASSERT_NO_FATAL_FAILURE(
            expectEqual(welded, LiteralWeld(LiteralWeld::sortedByPlace(LiteralWeld::cornersOf(source)))));
    }
}

TEST(KivMeshWeld, PollsForACancelBetweenTheUnitsOfWork) {
    RawRandom random(16);
    std::vector<Kiv3DPoint> corners(12);
    for (Kiv3DPoint& corner : corners) {
        corner.set(random.below(3), random.below(3), 0.0);
    }
    KivMesh source = meshOf(corners);
    KivMaterial material;
    material.setDiffuse(3);
    source.setMaterial(material);
    KivMesh complete;
    complete.copyMeshCompacted(source);

    PollCounter counter;
    {
        const ScopedProgress scope(counter);
        KivMesh welded;
        welded.copyMeshCompacted(source);
    }
    // Once for each triangle, once behind them, once behind the sort, once for each corner but the first.
    ASSERT_EQ(counter.polls, 4 + 1 + 1 + 11);

    for (long poll = 1; poll <= counter.polls; ++poll) {
        PollCounter cancel(poll);
        const ScopedProgress scope(cancel);
        KivMesh welded = meshOf({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
        welded.copyMeshCompacted(source);
        EXPECT_FALSE(KivTestAccess::hasScratch(welded));
        EXPECT_EQ(cancel.polls, poll) << "nothing is asked once it was cancelled";
        if (poll <= 6) {
            EXPECT_EQ(welded.getNumVertexs(), 0U);
            EXPECT_EQ(welded.getNumTriangles(), 0U);
            EXPECT_EQ(welded.getMaterial()->getDiffuse(), 0U);
            continue;
        }
        // Cancelled while building: the corners not reached keep -1, and the material is taken.
        EXPECT_EQ(welded.getNumTriangles(), 4U);
        EXPECT_EQ(welded.getMaterial()->getDiffuse(), 3U);
        long missing = 0;
        const auto reached = indicesOf(welded);
        const auto expected = indicesOf(complete);
        for (std::size_t i = 0; i < reached.size(); ++i) {
            missing += reached[i] == 0xFFFFFFFFU ? 1 : 0;
            EXPECT_TRUE(reached[i] == 0xFFFFFFFFU || reached[i] == expected[i]);
        }
        EXPECT_EQ(missing, counter.polls - poll + 1);
    }
}

// In a mesh of some size the last polls come while the indices are written: what is behind stays at -1.
TEST(KivMeshWeld, ACancelWhileIndicesAreWrittenEndsIt) {
    const std::unique_ptr<KivMesh> soup = triangleSoup(20000);
    PollCounter counter;
    KivMesh complete;
    {
        const ScopedProgress scope(counter);
        complete.copyMeshCompacted(*soup);
    }
    PollCounter cancel(counter.polls);
    const ScopedProgress scope(cancel);
    KivMesh welded;
    welded.copyMeshCompacted(*soup);
    EXPECT_EQ(welded.getNumVertexs(), complete.getNumVertexs());
    const auto indices = indicesOf(welded);
    const auto expected = indicesOf(complete);
    ASSERT_EQ(indices.size(), expected.size());
    const auto firstMissing = std::ranges::find(indices, 0xFFFFFFFFU);
    const auto reached = static_cast<std::size_t>(firstMissing - indices.begin());
    EXPECT_GT(reached, 0U);
    EXPECT_LT(reached + 1000, indices.size());
    EXPECT_TRUE(std::equal(indices.begin(), firstMissing, expected.begin()));
    EXPECT_EQ(static_cast<std::size_t>(std::ranges::count(indices, 0xFFFFFFFFU)), indices.size() - reached);
}

TEST(KivMeshWeld, AsksForACancelByCost) {
    const std::unique_ptr<KivMesh> ball = bumpyBall(1000000);
    PollCost::expectAllowed([&] {
        KivMesh welded;
        welded.copyMeshCompacted(*ball);
    });
}

// Long enough for merges that go on behind a poll.
TEST(KivMeshWeld, ALargeSoupEqualsTheLiteralSort) {
    RawRandom random(17);
    std::vector<Kiv3DPoint> corners(3 * std::size_t{14000});
    for (Kiv3DPoint& corner : corners) {
        corner.set(random.below(400) * 0.00009, random.below(90), random.between(0.0, 1.0));
    }
    const KivMesh source = meshOf(corners);
    KivMesh welded;
    welded.copyMeshCompacted(source);
    // No two corners are at one place, so that the plain sort of all corners is the sort by place.
    expectEqual(welded, LiteralWeld(LiteralWeld::sorted(LiteralWeld::cornersOf(source))));
}

// So crowded on every axis that each part of the comparison decides in merges of each size.
TEST(KivMeshWeld, ALargeCrowdEqualsTheLiteralSort) {
    RawRandom random(19);
    std::vector<Kiv3DPoint> corners(3 * std::size_t{12000});
    for (Kiv3DPoint& corner : corners) {
        corner.set(random.between(0.0, 0.01), random.between(0.0, 0.01), random.between(0.0, 0.01));
    }
    const KivMesh source = meshOf(corners);
    KivMesh welded;
    welded.copyMeshCompacted(source);
    expectEqual(welded, LiteralWeld(LiteralWeld::sorted(LiteralWeld::cornersOf(source))));
}

// A mesh of shared vertices, and the same through accessors of a class of its own.
TEST(KivMeshWeld, PlainMeshesWeldAsThoseWithAccessorsOfTheirOwn) {
    class Hidden : public KivMesh {
    public:
        using KivMesh::KivMesh;
    };
    RawRandom random(18);
    for (int round = 0; round < 300; ++round) {
        KivMesh plain;
        const unsigned int vertices = 1 + random.below(30);
        for (unsigned int i = 0; i < vertices; ++i) {
            plain.addVertex(Kiv3DPoint(random.below(3), random.below(3) * 0.00006, random.below(2)));
        }
        const unsigned int count = random.below(120);
        for (unsigned int t = 0; t < count; ++t) {
            plain.addTriangle(random.below(vertices), random.below(vertices), random.below(vertices));
        }
        Hidden hidden;
        static_cast<KivMesh&>(hidden) = plain;
        KivMesh one;
        one.copyMeshCompacted(plain);
        KivMesh other;
        other.copyMeshCompacted(hidden);
        ASSERT_EQ(indicesOf(one), indicesOf(other));
        ASSERT_NO_FATAL_FAILURE(
            expectEqual(one, LiteralWeld(LiteralWeld::sortedByPlace(LiteralWeld::cornersOf(plain)))));
    }
}

TEST(KivMeshWeld, DicotomicSearchFindsThePlaceInSortedCorners) {
    KivMesh mesh;
    EXPECT_EQ(KivTestAccess::dicotomicSearch(mesh, {0, 0, 0}, 0), 0);
    KivTestAccess::setCorners(mesh, {{1, 0, 0}, {2, 0, 0}, {3, 0, 0}, {4, 0, 0}});
    EXPECT_EQ(KivTestAccess::dicotomicSearch(mesh, {0, 0, 0}, 1), 0);
    EXPECT_EQ(KivTestAccess::dicotomicSearch(mesh, {1.00005, 0, 0}, 1), 0);
    EXPECT_EQ(KivTestAccess::dicotomicSearch(mesh, {1.5, 0, 0}, 1), 1);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(KivTestAccess::dicotomicSearch(mesh, {i + 1.00005, 0, 0}, 4), i);
        EXPECT_EQ(KivTestAccess::dicotomicSearch(mesh, {i + 0.5, 0, 0}, 4), i);
    }
    EXPECT_EQ(KivTestAccess::dicotomicSearch(mesh, {9, 0, 0}, 4), 4);
}

} // namespace
