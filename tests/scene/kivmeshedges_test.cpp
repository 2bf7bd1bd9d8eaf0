#include "kivrender/scene/kivmeshedges.h"

#include "kivrender/scene/kivmesh.h"

#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

std::shared_ptr<const KivMeshEdges> oneEdge() {
    auto edges = std::make_shared<KivMeshEdges>();
    edges->vertices = {0, 1};
    edges->edges.push_back({KivMeshEdge::Kind::tangent, false, 0, 0, 2});
    return edges;
}

void addTriangle(KivMesh& mesh) {
    mesh.addTriangle(Kiv3DPoint(0, 0, 0), Kiv3DPoint(1, 0, 0), Kiv3DPoint(0, 1, 0));
}

} // namespace

TEST(KivMeshEdges, AMeshIsPlainUntilItGetsSome) {
    KivMesh mesh;
    EXPECT_EQ(kivMeshEdges(mesh), nullptr);
    const auto edges = oneEdge();
    kivSetMeshEdges(mesh, edges);
    EXPECT_EQ(kivMeshEdges(mesh), edges);
    kivSetMeshEdges(mesh, nullptr);
    EXPECT_EQ(kivMeshEdges(mesh), nullptr);
}

TEST(KivMeshEdges, CopiesShareThemAndAssignmentReplacesThem) {
    KivMesh mesh;
    addTriangle(mesh);
    const auto edges = oneEdge();
    kivSetMeshEdges(mesh, edges);
    KivMesh copy(mesh);
    EXPECT_EQ(kivMeshEdges(copy), edges);
    KivMesh plain;
    copy = plain;
    EXPECT_EQ(kivMeshEdges(copy), nullptr);
    copy = mesh;
    EXPECT_EQ(kivMeshEdges(copy), edges);
}

// A weld gives the vertices other places.
TEST(KivMeshEdges, AWeldForgetsThem) {
    KivMesh mesh;
    addTriangle(mesh);
    KivMesh welded;
    kivSetMeshEdges(welded, oneEdge());
    welded.copyMeshCompacted(mesh);
    EXPECT_EQ(kivMeshEdges(welded), nullptr);
}

// The next mesh may come to lie where one was.
TEST(KivMeshEdges, TheyGoWithTheirMesh) {
    const auto edges = oneEdge();
    alignas(KivMesh) unsigned char place[sizeof(KivMesh)];
    auto* mesh = new (place) KivMesh;
    kivSetMeshEdges(*mesh, edges);
    mesh->~KivMesh();
    EXPECT_EQ(edges.use_count(), 1);
    mesh = new (place) KivMesh;
    EXPECT_EQ(kivMeshEdges(*mesh), nullptr);
    mesh->~KivMesh();
}

TEST(KivMeshEdges, ThreadsMayWorkOnMeshesOfTheirOwn) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([] {
            for (int i = 0; i < 1000; ++i) {
                KivMesh mesh;
                const auto edges = oneEdge();
                kivSetMeshEdges(mesh, edges);
                EXPECT_EQ(kivMeshEdges(mesh), edges);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}
