// The step that would take hidden meshes out of a scene, which is switched off.
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivocclusion.h"
#include "kivrender/scene/kivscene.h"

#include "render/renderfixture.h"

#include <gtest/gtest.h>

namespace {

KivMesh* triangle(double size, double z) {
    auto* mesh = new KivMesh;
    mesh->addTriangle(Kiv3DPoint(-size, -size, z), Kiv3DPoint(size, -size, z), Kiv3DPoint(0.0, size, z));
    return mesh;
}

TEST(KivRendererOptimize, AHiddenMeshStaysInTheScene) {
    KivCamera camera;
    camera.setLocation(Kiv3DPoint(0.0, 0.0, 10.0));
    camera.setDirection(Kiv3DVector(0.0, 0.0, -1.0));
    camera.setUp(Kiv3DVector(0.0, 1.0, 0.0));
    KivScene scene;
    scene.addMesh(triangle(1.0, 0.0));
    scene.addMesh(triangle(4.0, 5.0));
    const KivMesh* hidden = scene.getMesh(0);

    KivRenderer renderer;
    KivTestAccess::optimizeScene(renderer, scene, camera);
    EXPECT_EQ(scene.numMeshes(), 2U);
    EXPECT_EQ(scene.getMesh(0), hidden);

    // The test behind the switch would have found it.
    const std::vector<KivMesh*> removed = KivOcclusion::removeHiddenMeshes(scene, camera);
    ASSERT_EQ(removed.size(), 1U);
    EXPECT_EQ(removed[0], hidden);
    delete removed[0];
}

} // namespace
