#include "kivrender/scene/kivocclusion.h"

#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivoutline.h"
#include "kivrender/scene/kivscene.h"
#include "scene/scenetestaccess.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

// A camera at (0, 0, 10) that looks down the z axis: depth is 10 - z.
KivCamera camera() {
    KivCamera result;
    result.setLocation(Kiv3DPoint(0.0, 0.0, 10.0));
    result.setDirection(Kiv3DVector(0.0, 0.0, -2.0));
    result.setUp(Kiv3DVector(0.0, 3.0, 0.0));
    return result;
}

KivMesh* triangle(double size, double z) {
    auto* mesh = new KivMesh;
    mesh->addTriangle(Kiv3DPoint(-size, -size, z), Kiv3DPoint(size, -size, z), Kiv3DPoint(0.0, size, z));
    return mesh;
}

TEST(KivOcclusion, TheCameraFrameLooksAlongZ) {
    const Kiv3DMatrix matrix = KivOcclusion::cameraFromWorld(camera());
    Kiv3DPoint p(0.0, 3.0, 4.0);
    EXPECT_TRUE(p.transformBy(matrix).isEqual(Kiv3DPoint(0.0, 3.0, 6.0), 1e-12));
}

TEST(KivOcclusion, SortsByMeanDepthNearestFirst) {
    KivScene scene;
    scene.addMesh(triangle(1.0, 0.0));
    scene.addMesh(triangle(1.0, 5.0));
    scene.addMesh(new KivMesh);
    scene.addMesh(triangle(1.0, 12.0));
    const auto list = KivOcclusion::sortMeshesByDepth(scene, KivOcclusion::cameraFromWorld(camera()));
    ASSERT_EQ(list.size(), 4U);
    EXPECT_EQ(list[0], scene.getMesh(3)) << "behind the camera";
    EXPECT_EQ(list[1], scene.getMesh(2)) << "no vertices count as depth 0";
    EXPECT_EQ(list[2], scene.getMesh(1));
    EXPECT_EQ(list[3], scene.getMesh(0));
}

TEST(KivOcclusion, OutlineOfAMesh) {
    const Kiv3DMatrix matrix = KivOcclusion::cameraFromWorld(camera());
    EXPECT_EQ(KivOcclusion::getMeshOutline(KivMesh(), matrix), nullptr);
    const std::unique_ptr<KivMesh> mesh(triangle(2.0, 0.0));
    const auto outline = KivOcclusion::getMeshOutline(*mesh, matrix);
    ASSERT_NE(outline, nullptr);
    EXPECT_EQ(KivTestAccess::edges(*outline).size(), 3U);
    EXPECT_TRUE(outline->isPointInside(Kiv3DPoint(0.0, 0.0, 0.0), true, false));
    EXPECT_FALSE(outline->isPointInside(Kiv3DPoint(0.0, 2.5, 0.0), true, true));
}

TEST(KivOcclusion, TrianglesThatAMeshDoesNotGiveAreNoPartOfItsOutline) {
    class Withholding : public KivMesh {
    public:
        using KivMesh::getTriangle;
        bool getTriangle(Kiv3DPoint* points, unsigned int number) const override {
            return number == 1 && KivMesh::getTriangle(points, number);
        }
    };
    Withholding mesh;
    mesh.addTriangle(Kiv3DPoint(5, 0, 0), Kiv3DPoint(6, 0, 0), Kiv3DPoint(5, 1, 0));
    mesh.addTriangle(Kiv3DPoint(-1, -1, 0), Kiv3DPoint(1, -1, 0), Kiv3DPoint(0, 1, 0));
    const auto outline = KivOcclusion::getMeshOutline(mesh, KivOcclusion::cameraFromWorld(camera()));
    ASSERT_NE(outline, nullptr);
    EXPECT_EQ(KivTestAccess::edges(*outline).size(), 3U);
    EXPECT_TRUE(outline->isPointInside(Kiv3DPoint(0.0, 0.0, 0.0), true, false));
}

// All of its vertices, which are none, lie behind the other and within it.
TEST(KivOcclusion, AMeshWithoutVerticesIsHiddenByAny) {
    const Kiv3DMatrix matrix = KivOcclusion::cameraFromWorld(camera());
    const std::unique_ptr<KivMesh> front(triangle(1.0, 5.0));
    KivMesh empty;
    EXPECT_FALSE(KivOcclusion::isMeshVisible({front.get(), &empty}, 1, matrix));
    EXPECT_TRUE(KivOcclusion::isMeshVisible({&empty, front.get()}, 1, matrix)) << "it hides nothing";
}

TEST(KivOcclusion, AMeshBehindALargerOneIsHidden) {
    KivScene scene;
    scene.addMesh(triangle(1.0, 0.0)); // hidden
    scene.addMesh(triangle(4.0, 5.0)); // in front of it
    scene.addMesh(triangle(8.0, 1.0)); // larger than what is in front
    KivMesh* small = scene.getMesh(0);
    KivMesh* front = scene.getMesh(1);
    KivMesh* large = scene.getMesh(2);
    const Kiv3DMatrix matrix = KivOcclusion::cameraFromWorld(camera());
    const std::vector<KivMesh*> list = {front, large, small};
    EXPECT_TRUE(KivOcclusion::isMeshVisible(list, 0, matrix));
    EXPECT_TRUE(KivOcclusion::isMeshVisible(list, 1, matrix));
    EXPECT_FALSE(KivOcclusion::isMeshVisible(list, 2, matrix));

    const auto hidden = KivOcclusion::removeHiddenMeshes(scene, camera());
    ASSERT_EQ(hidden.size(), 1U);
    EXPECT_EQ(hidden[0], small);
    delete hidden[0];
    ASSERT_EQ(scene.numMeshes(), 2U);
    EXPECT_EQ(scene.getMesh(0), front);
    EXPECT_EQ(scene.getMesh(1), large);
}

TEST(KivOcclusion, AMeshThatReachesBehindAnotherDoesNotHideIt) {
    KivScene scene;
    auto* slanting = new KivMesh;
    slanting->addTriangle(Kiv3DPoint(-40.0, -40.0, 9.0), Kiv3DPoint(40.0, -40.0, 9.0), Kiv3DPoint(0.0, 40.0, -1.0));
    scene.addMesh(slanting);
    scene.addMesh(triangle(1.0, 0.0));
    EXPECT_TRUE(KivOcclusion::removeHiddenMeshes(scene, camera()).empty());
    EXPECT_EQ(scene.numMeshes(), 2U);
}

} // namespace
