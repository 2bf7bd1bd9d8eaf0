#include "kivrender/shadow/kivedgesextraction.h"

#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivmesh.h"
#include "reference/literaledges.h"
#include "support/meshsamples.h"
#include "support/pollcost.h"
#include "support/pollcounter.h"
#include "support/rawrandom.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>

namespace {

using edgeInfo = KivEdgesExtraction::edgeInfo;

std::vector<edgeInfo> edgesOf(const KivMesh& mesh, const KivCamera* camera = nullptr,
                              std::vector<unsigned int>* triangles = nullptr) {
    std::vector<edgeInfo> edges;
    KivEdgesExtraction::extractEdges(&mesh, edges, camera, triangles);
    return edges;
}

void expectEdge(const edgeInfo& edge, int vertex0, int vertex1, int triangle0, int triangle1) {
    EXPECT_EQ(edge.vertex0, vertex0);
    EXPECT_EQ(edge.vertex1, vertex1);
    EXPECT_EQ(edge.triangle0, triangle0);
    EXPECT_EQ(edge.triangle1, triangle1);
}

KivMesh vertices(unsigned int count) {
    KivMesh mesh;
    for (unsigned int i = 0; i < count; ++i) {
        mesh.addVertex(Kiv3DPoint(std::cos(i), std::sin(i), i * 0.1));
    }
    return mesh;
}

KivMesh cube() {
    KivMesh mesh;
    for (unsigned int i = 0; i < 8; ++i) {
        mesh.addVertex(Kiv3DPoint(i & 1U, i >> 1U & 1U, i >> 2U));
    }
    mesh.addQuad(0, 2, 3, 1); // down
    mesh.addQuad(4, 5, 7, 6); // up
    mesh.addQuad(0, 1, 5, 4);
    mesh.addQuad(2, 6, 7, 3);
    mesh.addQuad(0, 4, 6, 2);
    mesh.addQuad(1, 3, 7, 5);
    return mesh;
}

KivCamera cameraAt(const Kiv3DPoint& location, const Kiv3DVector& direction, KivCamera::projection projection) {
    KivCamera camera;
    camera.setLocation(location);
    camera.setDirection(direction);
    camera.setProjection(projection);
    return camera;
}

TEST(KivEdgesExtraction, TheRecordHasItsPublishedLayout) {
    EXPECT_EQ(offsetof(edgeInfo, vertex0), 0U);
    EXPECT_EQ(offsetof(edgeInfo, vertex1), 4U);
    EXPECT_EQ(offsetof(edgeInfo, triangle0), 8U);
    EXPECT_EQ(offsetof(edgeInfo, triangle1), 12U);
    EXPECT_EQ(offsetof(edgeInfo, lightened0), 16U);
    EXPECT_EQ(offsetof(edgeInfo, lightened1), 17U);
    EXPECT_EQ(offsetof(edgeInfo, silhouetteFront), 18U);
    EXPECT_EQ(offsetof(edgeInfo, silhouetteBack), 19U);
    EXPECT_EQ(sizeof(edgeInfo), 20U);
}

TEST(KivEdgesExtraction, NoTrianglesNoEdges) {
    EXPECT_TRUE(edgesOf(KivMesh()).empty());
    EXPECT_TRUE(edgesOf(vertices(5)).empty());
    const KivMesh mesh = cube();
    std::vector<unsigned int> none;
    EXPECT_TRUE(edgesOf(mesh, nullptr, &none).empty());
}

TEST(KivEdgesExtraction, ATriangleStandsOnTheSideThatItRunsAlong) {
    KivMesh mesh = vertices(10);
    mesh.addTriangle(5, 2, 9);
    const KivCamera camera = cameraAt(Kiv3DPoint(0, 0, 10), Kiv3DVector(), KivCamera::perspective);
    const auto edges = edgesOf(mesh, &camera);
    ASSERT_EQ(edges.size(), 3U);
    expectEdge(edges[0], 2, 5, -1, 0);
    expectEdge(edges[1], 2, 9, 0, -1);
    expectEdge(edges[2], 5, 9, -1, 0);
    for (const edgeInfo& edge : edges) {
        EXPECT_NE(edge.silhouetteFront, edge.silhouetteBack);
    }
}

TEST(KivEdgesExtraction, AClosedCubeHasEighteenSharedEdges) {
    const auto edges = edgesOf(cube());
    ASSERT_EQ(edges.size(), 18U);
    for (std::size_t i = 0; i < edges.size(); ++i) {
        EXPECT_NE(edges[i].triangle0, -1);
        EXPECT_NE(edges[i].triangle1, -1);
        EXPECT_FALSE(edges[i].silhouetteFront) << "no camera";
        EXPECT_FALSE(edges[i].silhouetteBack);
        EXPECT_LT(edges[i].vertex0, edges[i].vertex1);
        EXPECT_TRUE(i == 0 || edges[i - 1].vertex0 < edges[i].vertex0 ||
                    (edges[i - 1].vertex0 == edges[i].vertex0 && edges[i - 1].vertex1 < edges[i].vertex1));
    }
}

TEST(KivEdgesExtraction, WithoutACameraBordersFaceBack) {
    KivMesh mesh = vertices(3);
    mesh.addTriangle(0, 1, 2);
    for (const edgeInfo& edge : edgesOf(mesh)) {
        EXPECT_FALSE(edge.silhouetteFront);
        EXPECT_TRUE(edge.silhouetteBack);
    }
}

TEST(KivEdgesExtraction, TheSilhouetteOfACubeSeenFromAbove) {
    const KivCamera camera = cameraAt(Kiv3DPoint(0.5, 0.5, 9.0), Kiv3DVector(0, 0, -1), KivCamera::perspective);
    int silhouettes = 0;
    for (const edgeInfo& edge : edgesOf(cube(), &camera)) {
        EXPECT_EQ(edge.silhouetteFront, edge.silhouetteBack);
        if (edge.silhouetteFront) {
            ++silhouettes;
            EXPECT_GE(edge.vertex0, 4) << "the square on top";
        }
    }
    EXPECT_EQ(silhouettes, 4);
}

TEST(KivEdgesExtraction, AParallelViewTakesFrontTheOtherWayRound) {
    KivMesh mesh = vertices(0);
    mesh.addTriangle(Kiv3DPoint(0, 0, 0), Kiv3DPoint(1, 0, 0), Kiv3DPoint(0, 1, 0)); // faces +z
    const Kiv3DVector down(0, 0, -3);
    const auto facesEye = [&](KivCamera::projection projection) {
        const KivCamera camera = cameraAt(Kiv3DPoint(0, 0, 5), down, projection);
        return edgesOf(mesh, &camera)[0].silhouetteFront;
    };
    EXPECT_TRUE(facesEye(KivCamera::perspective));
    EXPECT_FALSE(facesEye(KivCamera::orthographic));
    EXPECT_FALSE(facesEye(static_cast<KivCamera::projection>(5))) << "any other value is a parallel view";
}

TEST(KivEdgesExtraction, ExactlyAcrossIsFrontAndNoNumberIsNot) {
    KivMesh mesh = vertices(0);
    mesh.addTriangle(Kiv3DPoint(0, 0, 0), Kiv3DPoint(3, 0, 0), Kiv3DPoint(0, 3, 0));
    const KivCamera across = cameraAt(Kiv3DPoint(9, 1, 0), Kiv3DVector(), KivCamera::perspective);
    EXPECT_TRUE(edgesOf(mesh, &across)[0].silhouetteFront);
    // Inside the triangle the way to the eye has no length: that counts as the same direction.
    const KivCamera inside = cameraAt(Kiv3DPoint(1, 1, 0), Kiv3DVector(), KivCamera::perspective);
    EXPECT_TRUE(edgesOf(mesh, &inside)[0].silhouetteFront);
    const KivCamera nowhere = cameraAt(Kiv3DPoint(1, std::nan(""), 5), Kiv3DVector(), KivCamera::perspective);
    EXPECT_FALSE(edgesOf(mesh, &nowhere)[0].silhouetteFront);
}

TEST(KivEdgesExtraction, CollapsedTriangles) {
    KivMesh mesh = vertices(3);
    mesh.addTriangle(1, 1, 1);
    EXPECT_TRUE(edgesOf(mesh).empty());
    mesh.addTriangle(2, 2, 0);
    const auto edges = edgesOf(mesh);
    ASSERT_EQ(edges.size(), 1U);
    expectEdge(edges[0], 0, 2, 1, 1);
}

TEST(KivEdgesExtraction, ThreeTrianglesOnOneEdgeAreTwoRecords) {
    KivMesh mesh = vertices(5);
    mesh.addTriangle(0, 1, 2);
    mesh.addTriangle(1, 0, 3);
    mesh.addTriangle(0, 1, 4);
    const auto edges = edgesOf(mesh);
    ASSERT_EQ(edges.size(), 8U);
    expectEdge(edges[0], 0, 1, 2, -1);
    expectEdge(edges[1], 0, 1, 0, 1);
}

TEST(KivEdgesExtraction, ALaterSideFillsTheNewestRecordOnly) {
    KivMesh mesh = vertices(7);
    mesh.addTriangle(0, 1, 2); // a record with triangle0
    mesh.addTriangle(0, 1, 3); // the same way: a second one in front
    mesh.addTriangle(1, 0, 4); // fills the newest
    mesh.addTriangle(1, 0, 5); // the newest is full; the oldest, with its free slot, is not reached
    const auto edges = edgesOf(mesh);
    ASSERT_GE(edges.size(), 3U);
    expectEdge(edges[0], 0, 1, -1, 3);
    expectEdge(edges[1], 0, 1, 1, 2);
    expectEdge(edges[2], 0, 1, 0, -1);
    EXPECT_NE(edges[3].vertex1, 1);
}

TEST(KivEdgesExtraction, NeighboursOfOppositeWindingShareNoRecord) {
    KivMesh mesh = vertices(4);
    mesh.addTriangle(0, 1, 2);
    mesh.addTriangle(0, 1, 3);
    const auto edges = edgesOf(mesh);
    ASSERT_EQ(edges.size(), 6U);
    expectEdge(edges[0], 0, 1, 1, -1);
    expectEdge(edges[1], 0, 1, 0, -1);
}

TEST(KivEdgesExtraction, KeepsWhatTheListHolds) {
    KivMesh mesh = vertices(3);
    mesh.addTriangle(0, 1, 2);
    std::vector<edgeInfo> edges(1, edgeInfo{70, 71, 72, 73, true, true, true, true});
    KivEdgesExtraction::extractEdges(&mesh, edges, nullptr, nullptr);
    ASSERT_EQ(edges.size(), 4U);
    expectEdge(edges[0], 70, 71, 72, 73);
    expectEdge(edges[1], 0, 1, 0, -1);
}

TEST(KivEdgesExtraction, TakesTheListedTrianglesInTheirOrder) {
    const KivMesh mesh = cube();
    std::vector<unsigned int> triangles = {7, 1, 7};
    const auto edges = edgesOf(mesh, nullptr, &triangles);
    std::vector<edgeInfo> expected;
    LiteralEdges::extractEdges(&mesh, expected, nullptr, &triangles);
    ASSERT_EQ(edges.size(), expected.size());
    EXPECT_GT(edges.size(), 6U) << "the triangle that is there twice has records of its own";
}

TEST(KivEdgesExtraction, ACancelAtAnyQueryLeavesTheListAsItCame) {
    RawRandom random(41);
    KivMesh mesh = vertices(300);
    for (int t = 0; t < 1001; ++t) {
        mesh.addTriangle(random.below(300), random.below(300), random.below(300));
    }
    PollCounter counter;
    std::size_t complete = 0;
    {
        const ScopedProgress scope(counter);
        complete = edgesOf(mesh).size();
    }
    EXPECT_GT(complete, 0U);
    ASSERT_EQ(counter.polls, 11) << "triangles 0, 100, ... 1000";
    for (long poll = 1; poll <= counter.polls; ++poll) {
        PollCounter cancel(poll);
        const ScopedProgress scope(cancel);
        std::vector<edgeInfo> edges(2, edgeInfo{1, 2, 3, 4, false, false, false, false});
        KivEdgesExtraction::extractEdges(&mesh, edges, nullptr, nullptr);
        EXPECT_EQ(edges.size(), 2U);
        EXPECT_EQ(cancel.polls, poll);
    }
}

// All triangles around one vertex.
KivMesh fan(unsigned int triangles) {
    KivMesh mesh;
    for (unsigned int i = 0; i < triangles + 2; ++i) {
        mesh.addVertex(Kiv3DPoint(i, i * 0.5, 0.0));
    }
    for (unsigned int t = 0; t < triangles; ++t) {
        mesh.addTriangle(0, (t * 7919U) % triangles + 1, (t * 104729U) % triangles + 1);
    }
    return mesh;
}

TEST(KivEdgesExtraction, ACancelInLaterWorkLeavesTheListAsItCame) {
    const KivMesh around = fan(40000);
    const std::unique_ptr<KivMesh> grid = gridMesh(60000);
    for (const KivMesh* mesh : {&around, static_cast<const KivMesh*>(grid.get())}) {
        PollCounter counter;
        {
            const ScopedProgress scope(counter);
            EXPECT_GT(edgesOf(*mesh).size(), mesh->getNumTriangles());
        }
        const long whileReading = (static_cast<long>(mesh->getNumTriangles()) + 99) / 100;
        EXPECT_GT(counter.polls, whileReading + 3);
        for (long poll = whileReading - 1; poll <= counter.polls; ++poll) {
            PollCounter cancel(poll);
            const ScopedProgress scope(cancel);
            std::vector<edgeInfo> edges(2, edgeInfo{1, 2, 3, 4, false, false, false, false});
            KivEdgesExtraction::extractEdges(mesh, edges, nullptr, nullptr);
            EXPECT_EQ(edges.size(), 2U);
            EXPECT_EQ(cancel.polls, poll);
        }
    }
}

TEST(KivEdgesExtraction, AsksForACancelByCost) {
    const std::unique_ptr<KivMesh> grid = gridMesh(1500000);
    const KivMesh around = fan(700000);
    for (const KivMesh* mesh : {static_cast<const KivMesh*>(grid.get()), &around}) {
        std::vector<edgeInfo> edges; // kept, as giving back its memory is not a work of the call
        PollCost::expectAllowed([&] {
            edges.clear();
            KivEdgesExtraction::extractEdges(mesh, edges, nullptr, nullptr);
        });
    }
}

// Vertices enough for several ranges, and vertices of more sides than are sorted one by one.
TEST(KivEdgesExtraction, EqualsTheLiteralTableOnLargeMeshes) {
    RawRandom random(43);
    std::vector<KivMesh> meshes(3);
    meshes[0].copyMeshCompacted(*triangleSoup(50000));
    meshes[1] = fan(5000);
    meshes[2] = vertices(20000);
    for (int t = 0; t < 40000; ++t) {
        const unsigned int hub = random.chance(4) ? 9000 + random.below(3) : random.below(20000);
        meshes[2].addTriangle(random.below(20000), hub, random.below(20000));
    }
    const KivCamera camera = cameraAt(Kiv3DPoint(2, 3, 40), Kiv3DVector(), KivCamera::perspective);
    for (const KivMesh& mesh : meshes) {
        std::vector<edgeInfo> expected;
        LiteralEdges::extractEdges(&mesh, expected, &camera, nullptr);
        const auto actual = edgesOf(mesh, &camera);
        ASSERT_EQ(actual.size(), expected.size());
        for (std::size_t i = 0; i < actual.size(); ++i) {
            ASSERT_NO_FATAL_FAILURE(expectEdge(actual[i], expected[i].vertex0, expected[i].vertex1,
                                               expected[i].triangle0, expected[i].triangle1));
            ASSERT_EQ(actual[i].silhouetteFront, expected[i].silhouetteFront) << i;
            ASSERT_EQ(actual[i].silhouetteBack, expected[i].silhouetteBack) << i;
        }
    }
}

// Random meshes: few vertices make edges of many triangles, many vertices make borders.
TEST(KivEdgesExtraction, EqualsTheLiteralTable) {
    RawRandom random(42);
    for (int round = 0; round < 4000; ++round) {
        const unsigned int vertexCount = random.chance(40) ? 200 : 1 + random.below(9);
        KivMesh mesh;
        const bool hasNormals = random.chance(3);
        for (unsigned int i = 0; i < vertexCount; ++i) {
            const Kiv3DPoint point(random.below(4), random.below(4),
                                   random.chance(30) ? std::nan("") : random.below(3));
            if (hasNormals) {
                mesh.addVertex(point, Kiv3DVector(random.below(3) - 1.0, random.below(3) - 1.0, random.below(3) - 1.0));
            } else {
                mesh.addVertex(point);
            }
        }
        const unsigned int hub = random.chance(4) ? random.below(vertexCount) : vertexCount;
        const unsigned int count = random.below(random.chance(10) ? 600 : 30);
        for (unsigned int t = 0; t < count; ++t) {
            mesh.addTriangle(hub < vertexCount ? hub : random.below(vertexCount), random.below(vertexCount),
                             random.below(vertexCount));
        }
        std::vector<unsigned int> list;
        for (unsigned int i = 0; count > 0 && i < random.below(40); ++i) {
            list.push_back(random.below(count));
        }
        std::vector<unsigned int>* triangles = random.chance(3) ? &list : nullptr;
        const KivCamera camera =
            cameraAt(Kiv3DPoint(random.below(5), random.below(5), random.below(5)),
                     Kiv3DVector(random.below(3) - 1.0, random.below(3) - 1.0, random.below(3) - 1.0),
                     random.chance(2) ? KivCamera::perspective : KivCamera::orthographic);
        const KivCamera* view = random.chance(4) ? nullptr : &camera;

        std::vector<edgeInfo> expected;
        LiteralEdges::extractEdges(&mesh, expected, view, triangles);
        const auto actual = edgesOf(mesh, view, triangles);
        ASSERT_EQ(actual.size(), expected.size()) << round;
        for (std::size_t i = 0; i < actual.size(); ++i) {
            ASSERT_EQ(actual[i].vertex0, expected[i].vertex0) << round << ' ' << i;
            ASSERT_EQ(actual[i].vertex1, expected[i].vertex1) << round << ' ' << i;
            ASSERT_EQ(actual[i].triangle0, expected[i].triangle0) << round << ' ' << i;
            ASSERT_EQ(actual[i].triangle1, expected[i].triangle1) << round << ' ' << i;
            ASSERT_EQ(actual[i].silhouetteFront, expected[i].silhouetteFront) << round << ' ' << i;
            ASSERT_EQ(actual[i].silhouetteBack, expected[i].silhouetteBack) << round << ' ' << i;
        }
    }
}

} // namespace
