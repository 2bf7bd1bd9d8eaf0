#include "kivrender/scene/kivmeshnormals.h"

#include "kivrender/scene/kivmesh.h"

#include <gtest/gtest.h>

TEST(KivMeshNormals, AreTheHostsOwnUntilTheyAreMarked) {
    KivMesh mesh;
    EXPECT_FALSE(kivHasNormalsFromTriangles(mesh));
    kivSetNormalsFromTriangles(mesh, true);
    EXPECT_TRUE(kivHasNormalsFromTriangles(mesh));
    kivSetNormalsFromTriangles(mesh, false);
    EXPECT_FALSE(kivHasNormalsFromTriangles(mesh));
}

TEST(KivMeshNormals, CopiesHaveTheMarkAndAssignmentReplacesIt) {
    KivMesh mesh;
    kivSetNormalsFromTriangles(mesh, true);
    KivMesh copy(mesh);
    EXPECT_TRUE(kivHasNormalsFromTriangles(copy));
    copy = KivMesh();
    EXPECT_FALSE(kivHasNormalsFromTriangles(copy));
    copy = mesh;
    EXPECT_TRUE(kivHasNormalsFromTriangles(copy));
    kivSetNormalsFrom(mesh, KivNormalsFrom::file);
    EXPECT_FALSE(kivHasNormalsFromTriangles(mesh));
    EXPECT_EQ(kivNormalsFrom(KivMesh(mesh)), KivNormalsFrom::file);
}

TEST(KivMeshNormals, CopiesHaveTheNoiseAndAssignmentReplacesIt) {
    KivMesh mesh;
    kivSetMeshNoise(mesh, {0.5, 3.0});
    EXPECT_EQ(kivMeshNoise(mesh), (KivMeshNoise{0.5, 3.0}));
    KivMesh copy(mesh);
    EXPECT_EQ(kivMeshNoise(copy), (KivMeshNoise{0.5, 3.0}));
    copy = KivMesh();
    EXPECT_EQ(kivMeshNoise(copy), KivMeshNoise());
    copy = mesh;
    EXPECT_EQ(kivMeshNoise(copy), (KivMeshNoise{0.5, 3.0}));
}

// A weld drops the normals; the next mesh may come to lie where one was.
TEST(KivMeshNormals, AWeldAndTheEndOfTheMeshForgetIt) {
    KivMesh mesh;
    mesh.addTriangle(Kiv3DPoint(0, 0, 0), Kiv3DPoint(1, 0, 0), Kiv3DPoint(0, 1, 0));
    KivMesh welded;
    kivSetNormalsFromTriangles(welded, true);
    welded.copyMeshCompacted(mesh);
    EXPECT_FALSE(kivHasNormalsFromTriangles(welded));
    alignas(KivMesh) unsigned char place[sizeof(KivMesh)];
    auto* const first = new (place) KivMesh;
    kivSetNormalsFromTriangles(*first, true);
    first->~KivMesh();
    auto* const second = new (place) KivMesh;
    EXPECT_FALSE(kivHasNormalsFromTriangles(*second));
    second->~KivMesh();
}
