#include "kivrender/scene/kivmeshrest.h"

#include "kivrender/scene/kivmesh.h"

#include <gtest/gtest.h>

#include <memory>
#include <utility>

namespace {

void addTriangle(KivMesh& mesh, double z) {
    const auto first = static_cast<unsigned int>(mesh.getNumVertexs());
    mesh.addVertex(Kiv3DPoint(0.0, 0.0, z));
    mesh.addVertex(Kiv3DPoint(1.0, 0.0, z));
    mesh.addVertex(Kiv3DPoint(0.0, 1.0, z));
    mesh.addTriangle(first, first + 1, first + 2);
}

} // namespace

TEST(KivMeshRest, LiesBesideTheMesh) {
    auto rest = std::make_shared<KivMesh>();
    addTriangle(*rest, 1.0);
    KivMesh mesh;
    addTriangle(mesh, 0.0);
    EXPECT_EQ(kivMeshRest(mesh), nullptr);
    kivSetMeshRest(mesh, rest);
    EXPECT_EQ(kivMeshRest(mesh), rest);
    kivSetMeshRest(mesh, nullptr);
    EXPECT_EQ(kivMeshRest(mesh), nullptr);
}

TEST(KivMeshRest, OneOfAnotherSizeCountsAsNone) {
    auto rest = std::make_shared<KivMesh>();
    addTriangle(*rest, 1.0);
    KivMesh mesh;
    addTriangle(mesh, 0.0);
    kivSetMeshRest(mesh, rest);
    addTriangle(mesh, 2.0);
    EXPECT_EQ(kivMeshRest(mesh), nullptr);
}

// Meshes live one after the other at one address, and the one that goes may be the last that holds its rest.
TEST(KivMeshRest, CopiesShareItAndItGoesWithTheMesh) {
    std::weak_ptr<const KivMesh> held;
    KivMesh other;
    addTriangle(other, 0.0);
    {
        KivMesh mesh;
        addTriangle(mesh, 0.0);
        auto rest = std::make_shared<KivMesh>();
        addTriangle(*rest, 1.0);
        held = rest;
        kivSetMeshRest(mesh, std::move(rest));
        const KivMesh copy(mesh);
        EXPECT_EQ(kivMeshRest(copy), held.lock());
        other = mesh;
        EXPECT_EQ(kivMeshRest(other), held.lock());
        kivSetMeshRest(other, nullptr);
        EXPECT_FALSE(held.expired());
    }
    EXPECT_TRUE(held.expired());
    const auto unused = std::make_unique<KivMesh>();
    EXPECT_EQ(kivMeshRest(*unused), nullptr);
}
