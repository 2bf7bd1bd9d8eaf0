// How much work a scene is found to be.
#include "kivrender/render/kivscenework.h"
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivscene.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>

namespace {

// Looks down from z = 10 at a field of 2 by 2 in the plane z = 0.
KivCamera fromAbove(KivCamera::projection projection) {
    KivCamera camera;
    camera.setProjection(projection);
    const double side = projection == KivCamera::perspective ? 0.1 : 1.0;
    camera.setFrustumLeft(-side);
    camera.setFrustumRight(side);
    camera.setFrustumBottom(-side);
    camera.setFrustumTop(side);
    camera.setFrustumNear(1.0);
    camera.setFrustumFar(100.0);
    camera.setLocation({0.0, 0.0, 10.0});
    camera.setDirection({0.0, 0.0, -1.0});
    camera.setUp({0.0, 1.0, 0.0});
    return camera;
}

KivMesh* square(double side, double z, int pieces = 1) {
    auto mesh = std::make_unique<KivMesh>();
    const auto corners = static_cast<unsigned int>(pieces) + 1;
    for (unsigned int i = 0; i < corners * corners; ++i) {
        mesh->addVertex(
            Kiv3DPoint(side * (i % corners) / pieces - side / 2, side * (i / corners) / pieces - side / 2, z));
    }
    for (unsigned int i = 0; i + 1 < corners; ++i) {
        for (unsigned int j = 0; j + 1 < corners; ++j) {
            const unsigned int at = i * corners + j;
            mesh->addQuad(at, at + 1, at + corners + 1, at + corners);
        }
    }
    return mesh.release();
}

double areaOf(KivMesh* mesh, const KivCamera& camera) {
    KivScene scene;
    scene.addMesh(mesh);
    return KivSceneWork(scene, camera, {2000, 1000}).meshes.at(0).area;
}

TEST(KivSceneWork, AreaIsThatInThePicture) {
    for (const auto projection : {KivCamera::perspective, KivCamera::orthographic}) {
        const KivCamera camera = fromAbove(projection);
        EXPECT_NEAR(areaOf(square(2.0, 0.0), camera), 2.0, 1e-9) << "the whole picture";
        EXPECT_NEAR(areaOf(square(1.0, 0.0), camera), 0.5, 1e-9);
        EXPECT_NEAR(areaOf(square(1.0, 0.0, 100), camera), 0.5, 0.02) << "of which a part is looked at";
        EXPECT_NEAR(areaOf(square(4.0, 0.0, 20), camera), 2.0, 0.2) << "of which a fourth is seen";
    }
    EXPECT_NEAR(areaOf(square(1.0, 5.0), fromAbove(KivCamera::perspective)), 2.0, 1e-9) << "nearer by half";
    EXPECT_NEAR(areaOf(square(1.0, 5.0), fromAbove(KivCamera::orthographic)), 0.5, 1e-9);
    EXPECT_EQ(areaOf(square(1.0, 20.0), fromAbove(KivCamera::perspective)), 0.0) << "behind the eye";
}

TEST(KivSceneWork, NoSceneGivesAnythingButNumbers) {
    const double bad[] = {std::nan(""), std::numeric_limits<double>::infinity(), 1e308, -1e308, 0.0};
    for (const double value : bad) {
        for (const double far : bad) {
            KivCamera camera = fromAbove(KivCamera::perspective);
            camera.setFrustumLeft(far);
            camera.setFrustumNear(value);
            const double area = areaOf(square(value, far), camera);
            EXPECT_TRUE(area >= 0.0 && area <= 4.0) << value << ' ' << far << ": " << area;
        }
    }
    const KivScene nothing;
    const KivSceneWork work(nothing, KivCamera(), {0, 0});
    EXPECT_TRUE(work.meshes.empty());
    EXPECT_GT(work.pixels, 0.0);
}

TEST(KivSceneWork, KnowsWhatItsMeshesAre) {
    KivScene scene;
    scene.addMesh(square(1.0, 0.0, 10));
    auto* glass = square(1.0, 0.0);
    KivMaterial material;
    material.setTransparency(0.5);
    material.setShine(0.3);
    glass->setMaterial(material);
    scene.addMesh(glass);
    KivLight lamp;
    scene.addLight(lamp);
    const KivSceneWork work(scene, fromAbove(KivCamera::perspective), {1000, 1000});
    ASSERT_EQ(work.meshes.size(), 2U);
    EXPECT_DOUBLE_EQ(work.meshes[0].triangles, 0.2);
    EXPECT_TRUE(work.meshes[0].isOpaque);
    EXPECT_FALSE(work.meshes[0].isShiny);
    EXPECT_FALSE(work.meshes[1].isOpaque);
    EXPECT_TRUE(work.meshes[1].isShiny);
    EXPECT_EQ(work.lights, 1U);
    EXPECT_DOUBLE_EQ(work.pixels, 1.0);
    EXPECT_DOUBLE_EQ(work.side, 1000.0);
}

} // namespace
