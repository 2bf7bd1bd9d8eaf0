#include "kivrender/scene/kivplacedmesh.h"

#include "kivrender/scene/kivmeshedges.h"
#include "kivrender/scene/kivscene.h"

#include <memory>

#include <gtest/gtest.h>

namespace {

// A tetrahedron at the origin, wound outwards, with a normal for each vertex.
std::shared_ptr<KivMesh> tetrahedron() {
    auto mesh = std::make_shared<KivMesh>();
    mesh->addVertex({0, 0, 0}, {-1, 0, 0});
    mesh->addVertex({1, 0, 0}, {1, 0, 0});
    mesh->addVertex({0, 2, 0}, {0, 1, 0});
    mesh->addVertex({0, 0, 3}, {0, 0, 1});
    mesh->addTriangle(0, 2, 1);
    mesh->addTriangle(0, 1, 3);
    mesh->addTriangle(0, 3, 2);
    mesh->addTriangle(1, 2, 3);
    return mesh;
}

// A quarter turn around z, twice the size, then away.
KivMeshPlacement turned() {
    return {{0, 2, 0}, {-2, 0, 0}, {0, 0, 2}, {10, 20, 30}};
}

KivMeshPlacement mirrored() {
    return {{-1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {5, 0, 0}};
}

double volume(const KivMesh& mesh) {
    double sum = 0.0;
    for (unsigned int t = 0; t < mesh.getNumTriangles(); ++t) {
        Kiv3DPoint p[3];
        EXPECT_TRUE(mesh.getTriangle(p, t));
        const Kiv3DVector a(p[0].x, p[0].y, p[0].z);
        sum += a.dotProduct(Kiv3DVector(p[1].x, p[1].y, p[1].z).crossProduct({p[2].x, p[2].y, p[2].z})) / 6.0;
    }
    return sum;
}

void expectPoint(const Kiv3DPoint& p, double x, double y, double z) {
    EXPECT_EQ(p.x, x);
    EXPECT_EQ(p.y, y);
    EXPECT_EQ(p.z, z);
}

// Whether three ways to a triangle lead to the same corners.
void expectOneTriangle(const KivMesh& mesh, unsigned int t) {
    unsigned int indices[3] = {};
    Kiv3DPoint points[3];
    Kiv3DPoint same[3];
    Kiv3DVector normals[3];
    ASSERT_TRUE(mesh.getTriangle(indices, t));
    ASSERT_TRUE(mesh.getTriangle(points, t));
    ASSERT_TRUE(mesh.getTriangle(same, normals, t));
    for (int i = 0; i < 3; ++i) {
        const Kiv3DPoint p = mesh.getVertex(indices[i]);
        expectPoint(points[i], p.x, p.y, p.z);
        expectPoint(same[i], p.x, p.y, p.z);
        EXPECT_TRUE(normals[i] == mesh.getNormal(indices[i]));
    }
}

} // namespace

TEST(KivPlacedMesh, VerticesAndNormalsAreMoved) {
    const KivPlacedMesh mesh(tetrahedron(), turned());
    EXPECT_EQ(mesh.getNumVertexs(), 4U);
    EXPECT_EQ(mesh.getNumTriangles(), 4U);
    EXPECT_TRUE(mesh.hasNormals());
    expectPoint(mesh.getVertex(1), 10, 22, 30);
    expectPoint(mesh.getVertex(2), 6, 20, 30);
    expectPoint(mesh.getVertex(3), 10, 20, 36);
    EXPECT_TRUE(mesh.getNormal(1) == Kiv3DVector(0, 1, 0)) << "unit length, whatever the size";
    EXPECT_TRUE(mesh.getNormal(2) == Kiv3DVector(-1, 0, 0));
    EXPECT_NEAR(volume(mesh), 8.0, 1e-9);
    for (unsigned int t = 0; t < 4; ++t) {
        expectOneTriangle(mesh, t);
    }
    Kiv3DPoint points[3];
    EXPECT_FALSE(mesh.getTriangle(points, 5));
}

TEST(KivPlacedMesh, AMirroredOneIsWoundOutwards) {
    const KivPlacedMesh mesh(tetrahedron(), mirrored());
    EXPECT_NEAR(volume(mesh), 1.0, 1e-12);
    EXPECT_TRUE(mesh.getNormal(1) == Kiv3DVector(-1, 0, 0));
    unsigned int indices[3] = {};
    mesh.getTriangle(indices, 1);
    EXPECT_EQ(indices[0], 0U) << "the first corner stays the first";
    for (unsigned int t = 0; t < 4; ++t) {
        expectOneTriangle(mesh, t);
    }
}

TEST(KivPlacedMesh, AlgorithmsOfAMeshWorkOnIt) {
    KivPlacedMesh mesh(tetrahedron(), turned());
    EXPECT_EQ(mesh.getBoundingBox()->getXMin(), 6.0);
    EXPECT_EQ(mesh.getBoundingBox()->getZMax(), 36.0);
    EXPECT_EQ(mesh.searchVertex({10, 22, 30}), 1);
    EXPECT_TRUE(mesh.hasAllVertexs());
    KivMesh welded;
    welded.copyMeshCompacted(mesh);
    EXPECT_NEAR(volume(welded), 8.0, 1e-9);
    KivScene scene;
    scene.addMesh(new KivPlacedMesh(tetrahedron(), turned()));
    EXPECT_EQ(scene.removeBrokenMeshes(), 0U);
}

TEST(KivPlacedMesh, CopiesArePlainAndWhole) {
    KivPlacedMesh mesh(tetrahedron(), turned());
    auto edges = std::make_shared<KivMeshEdges>();
    edges->vertices = {0, 1};
    edges->beyond = {{0, 0, 1}, {}};
    KivMeshEdge edge;
    edge.count = 2;
    edge.hasBeyond = true;
    edges->edges = {edge};
    kivSetMeshEdges(mesh, edges);
    const KivMesh copy(mesh);
    KivMesh assigned;
    assigned.addVertex({1, 1, 1});
    assigned = mesh;
    for (const KivMesh* const each : {&copy, static_cast<const KivMesh*>(&assigned)}) {
        EXPECT_EQ(each->getNumVertexs(), 4U);
        EXPECT_NEAR(volume(*each), 8.0, 1e-9);
        EXPECT_TRUE(each->getNormal(1) == Kiv3DVector(0, 1, 0));
        ASSERT_NE(kivMeshEdges(*each), nullptr);
        expectPoint(kivMeshEdges(*each)->beyond[0], 10, 20, 32);
    }
    // The mesh itself shares them as they are; what reads them asks for their places.
    EXPECT_EQ(kivMeshEdges(mesh), edges);
    expectPoint(kivPlacedMeshEdges(mesh)->beyond[0], 10, 20, 32);
    EXPECT_EQ(kivPlacedMeshEdges(copy), kivMeshEdges(copy));
}

TEST(KivPlacedMesh, EdgesWithoutPlacesAreSharedByCopies) {
    KivPlacedMesh mesh(tetrahedron(), turned());
    const auto edges = std::make_shared<KivMeshEdges>();
    kivSetMeshEdges(mesh, edges);
    EXPECT_EQ(kivPlacedMeshEdges(mesh), edges);
    EXPECT_EQ(kivMeshEdges(KivMesh(mesh)), edges);
    kivSetMeshEdges(mesh, nullptr);
    EXPECT_EQ(kivPlacedMeshEdges(mesh), nullptr);
}

TEST(KivPlacedMesh, NewNormalsAreItsOwn) {
    const auto shape = tetrahedron();
    KivPlacedMesh mesh(shape, turned());
    const KivPlacedMesh other(shape, mirrored());
    KivMesh plain(mesh);
    plain.rebuildNormals();
    mesh.rebuildNormals();
    for (unsigned int i = 0; i < 4; ++i) {
        EXPECT_TRUE(mesh.getNormal(i) == plain.getNormal(i));
    }
    expectPoint(mesh.getVertex(2), 6, 20, 30);
    EXPECT_TRUE(other.getNormal(2) == Kiv3DVector(0, 1, 0));
    EXPECT_NE(mesh.getShape(), shape);
}

TEST(KivPlacedMesh, TheShapeGoesWithTheLastThatSharesIt) {
    std::weak_ptr<const KivMesh> shape;
    {
        const auto one = std::make_unique<KivPlacedMesh>(tetrahedron(), turned());
        shape = one->getShape();
        auto two = std::make_unique<KivPlacedMesh>(one->getShape(), mirrored());
        two.reset();
        EXPECT_FALSE(shape.expired());
        EXPECT_NEAR(volume(*one), 8.0, 1e-9);
    }
    EXPECT_TRUE(shape.expired());
}
