#include "kivrender/render/kivshapedscene.h"

#include "kivrender/render/kivshapesahead.h"
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/shader/kivpicturetile.h"
#include "kivrender/shader/kivshader.h"
#include "support/closedshapes.h"
#include "support/temphome.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

namespace {

// A coarse ball that fills the picture, and the one shader that is asked.
class KivShapedSceneTest : public testing::Test {
protected:
    KivShapedSceneTest() {
        std::filesystem::copy_file(SELVARIN_BIN_DIR "/shaders/cartoon.so", folder.path() / "cartoon.so");
        EXPECT_EQ(KivShader::loadShaders(folder.wide().c_str()), 1U);
        scene.addMesh(closedSphere({0.0, 0.0, 0.0}, 1.0, 16, 8).release());
        camera.setProjection(KivCamera::orthographic);
        camera.setLocation({0.0, 0.0, 5.0});
        camera.setDirection({0.0, 0.0, -1.0});
        camera.setUp({0.0, 1.0, 0.0});
        camera.setFrustumLeft(-1.2);
        camera.setFrustumRight(1.2);
        camera.setFrustumBottom(-1.2);
        camera.setFrustumTop(1.2);
        camera.setFrustumNear(1.0);
        camera.setFrustumFar(10.0);
    }
    ~KivShapedSceneTest() override {
        KivShader::unLoadAll();
    }

    static const KivShader* cartoon(const KivMesh&) {
        return KivShader::getByIndex(0);
    }

    TempFolder folder;
    KivScene scene;
    KivCamera camera;
};

} // namespace

TEST_F(KivShapedSceneTest, TheSceneHasItsOwnMeshesAgain) {
    const KivMesh* const own = scene.getMesh(0);
    const unsigned int triangles = own->getNumTriangles();
    {
        const KivShapedScene shaped(scene, camera, {400, 400}, cartoon);
        EXPECT_TRUE(shaped.isChanged());
        ASSERT_EQ(scene.numMeshes(), 1U);
        EXPECT_GT(scene.getMesh(0)->getNumTriangles(), triangles);
        EXPECT_TRUE(scene.getMesh(0)->hasNormals());
    }
    ASSERT_EQ(scene.getMesh(0), own);
    EXPECT_EQ(own->getNumTriangles(), triangles);
}

TEST_F(KivShapedSceneTest, TheTilesOfAPictureShareTheirShapes) {
    int asked = 0;
    const auto counting = [&](const KivMesh& mesh) {
        ++asked;
        return cartoon(mesh);
    };
    const KivMesh* const own = scene.getMesh(0);
    KivPictureTile tile;
    tile.picture = {400, 400};
    tile.size = {200, 200};
    tile.kept = std::make_shared<KivPictureKept>();
    const KivMesh* first = nullptr;
    for (int i = 0; i < 3; ++i) {
        const KivPictureTileScope current(tile);
        {
            const KivShapedScene shaped(scene, camera, {400, 400}, counting);
            EXPECT_TRUE(shaped.isChanged());
            first = i == 0 ? scene.getMesh(0) : first;
            EXPECT_EQ(scene.getMesh(0), first);
        }
        EXPECT_EQ(scene.getMesh(0), own);
    }
    EXPECT_EQ(asked, 1);
    tile.kept = std::make_shared<KivPictureKept>();
    const KivPictureTileScope another(tile);
    for (int i = 0; i < 2; ++i) {
        const KivShapedScene none(scene, camera, {8, 8}, counting);
        EXPECT_FALSE(none.isChanged());
        EXPECT_EQ(asked, 2);
    }
}

TEST_F(KivShapedSceneTest, NothingIsPutBackIntoASceneThatIsEmptied) {
    {
        KivShapedScene shaped(scene, camera, {400, 400}, cartoon);
        shaped.forget();
        scene.empty();
    }
    EXPECT_EQ(scene.numMeshes(), 0U);
}

TEST_F(KivShapedSceneTest, NoShaderAndASmallPictureLeaveTheTriangles) {
    const KivMesh* const own = scene.getMesh(0);
    const KivShapedScene none(scene, camera, {400, 400}, [](const KivMesh&) { return nullptr; });
    EXPECT_FALSE(none.isChanged());
    const KivShapedScene small(scene, camera, {8, 8}, cartoon);
    EXPECT_FALSE(small.isChanged());
    EXPECT_EQ(scene.getMesh(0), own);
}

TEST_F(KivShapedSceneTest, ShapesMadeAheadAreThoseOfTheRender) {
    const KivScene own = scene;
    std::vector<Kiv3DPoint> expected;
    {
        const KivShapedScene shaped(scene, camera, {400, 400}, cartoon);
        for (unsigned int i = 0; i < scene.getMesh(0)->getNumVertexs(); ++i) {
            expected.push_back(scene.getMesh(0)->getVertex(i));
        }
    }
    const KivShapesAhead ahead(own, camera, {400, 400}, *KivShader::getByIndex(0));
    {
        const KivShapedScene shaped(scene, camera, {400, 400}, cartoon);
        ASSERT_EQ(scene.getMesh(0)->getNumVertexs(), expected.size());
        for (unsigned int i = 0; i < expected.size(); ++i) {
            ASSERT_TRUE(scene.getMesh(0)->getVertex(i) == expected[i]) << i;
        }
    }
    const std::vector<KivShapeRequest> requests{{own.getMesh(0), 45.0}};
    EXPECT_FALSE(KivShapesAhead::take(requests, kivShapeViewOf(camera, {400, 400}))) << "they were taken";
}

TEST_F(KivShapedSceneTest, ShapesMadeAheadAreForTheSameMeshesSeenTheSameWay) {
    const std::vector<KivShapeRequest> requests{{scene.getMesh(0), 45.0}};
    const KivShapeView view = kivShapeViewOf(camera, {400, 400});
    {
        const KivShapesAhead ahead(scene, camera, {400, 400}, *KivShader::getByIndex(0));
        EXPECT_FALSE(KivShapesAhead::take({{scene.getMesh(0), 30.0}}, view));
        EXPECT_FALSE(KivShapesAhead::take({}, view));
        EXPECT_FALSE(KivShapesAhead::take(requests, kivShapeViewOf(camera, {800, 800})));
        camera.setDirection({0.1, 0.0, -1.0});
        EXPECT_FALSE(KivShapesAhead::take(requests, kivShapeViewOf(camera, {400, 400})));
        EXPECT_TRUE(KivShapesAhead::take(requests, view));
    }
    EXPECT_FALSE(KivShapesAhead::take(requests, view)) << "and for as long as they are there";
}
