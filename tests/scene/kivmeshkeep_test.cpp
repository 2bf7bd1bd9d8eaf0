#include "kivrender/scene/kivmeshkeep.h"

#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshedges.h"

#include <gtest/gtest.h>

namespace {

struct OwnMesh : KivMesh {};

KivMesh triangle() {
    KivMesh mesh;
    mesh.addVertex({0.0, 0.0, 0.0});
    mesh.addVertex({1.0, 0.0, 0.0});
    mesh.addVertex({0.0, 1.0, 0.0});
    mesh.addTriangle(0, 1, 2);
    return mesh;
}

std::shared_ptr<const void> keepSomething(const KivMesh& mesh) {
    auto thing = std::make_shared<int>(7);
    kivKeepWithMesh(mesh, thing);
    return thing;
}

} // namespace

TEST(KivMeshKeep, AMeshKeepsWhatItIsGivenUntilItGoes) {
    std::weak_ptr<const void> kept;
    {
        const KivMesh mesh = triangle();
        EXPECT_EQ(kivKeptWithMesh(mesh), nullptr);
        kept = keepSomething(mesh);
        EXPECT_EQ(kivKeptWithMesh(mesh), kept.lock());
        const KivMesh copy(mesh);
        EXPECT_EQ(kivKeptWithMesh(copy), nullptr);
    }
    EXPECT_TRUE(kept.expired());
}

TEST(KivMeshKeep, EveryChangeThatNumbersDoNotTellForgets) {
    KivMesh mesh = triangle();
    const KivMesh other = triangle();
    keepSomething(mesh);
    mesh.addNormal({0.0, 0.0, 1.0});
    EXPECT_EQ(kivKeptWithMesh(mesh), nullptr);
    keepSomething(mesh);
    mesh.rebuildNormals();
    EXPECT_EQ(kivKeptWithMesh(mesh), nullptr);
    keepSomething(mesh);
    mesh = other;
    EXPECT_EQ(kivKeptWithMesh(mesh), nullptr);
    keepSomething(mesh);
    mesh.copyMeshCompacted(other);
    EXPECT_EQ(kivKeptWithMesh(mesh), nullptr);
    keepSomething(mesh);
    kivSetMeshEdges(mesh, std::make_shared<KivMeshEdges>());
    EXPECT_EQ(kivKeptWithMesh(mesh), nullptr);
}

TEST(KivMeshKeep, NothingIsToBeKeptOfAMeshWithAStorageOfItsOwn) {
    EXPECT_TRUE(kivCanKeepWithMesh(KivMesh()));
    EXPECT_FALSE(kivCanKeepWithMesh(OwnMesh()));
}
