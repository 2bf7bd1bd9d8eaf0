#include "kivrender/scene/kivscene.h"

#include "kivrender/scene/kivcamera.h"
#include "scene/countedpage.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

// A mesh that counts how many of its kind are alive.
class CountedMesh : public KivMesh {
public:
    CountedMesh() {
        ++alive;
    }
    CountedMesh(const CountedMesh&) = delete;
    CountedMesh& operator=(const CountedMesh&) = delete;
    ~CountedMesh() override {
        --alive;
    }

    static inline int alive = 0;
};

KivMesh* triangles(unsigned int count) {
    auto* mesh = new CountedMesh;
    for (const Kiv3DPoint& point : {Kiv3DPoint(0, 0, 0), Kiv3DPoint(1, 0, 0), Kiv3DPoint(0, 1, 0)}) {
        mesh->addVertex(point, Kiv3DVector(0, 0, 1));
    }
    for (unsigned int i = 0; i < count; ++i) {
        mesh->addTriangle(0, 1, 2);
    }
    return mesh;
}

void fill(KivScene& scene) {
    scene.reserveMesh(2);
    scene.reserveLights(1);
    scene.reserveLines(1);
    scene.reservePointCloud(1);
    scene.reservePolylines(1);
    scene.addMesh(triangles(1));
    scene.addMesh(triangles(2));
    KivLight light;
    light.setIntensity(3.0);
    light.setNonCombinableShader(L"Cartoon");
    scene.addLight(light);
    KivLine line(Kiv3DPoint(1, 2, 3), Kiv3DPoint(4, 5, 6));
    line.setNonCombinableShader(L"Cartoon");
    scene.addLine(line);
    Kiv3DPoint point(7, 8, 9);
    scene.addPoint(point);
    auto* polyline = new KivPolyline;
    polyline->addPoint(Kiv3DPoint(1, 1, 1), Kiv3DVector(0, 0, 1));
    polyline->setNonCombinableShader(L"Cartoon");
    scene.addPolyline(polyline);
}

TEST(KivScene, StartsEmpty) {
    const KivScene scene;
    EXPECT_EQ(scene.numMeshes(), 0U);
    EXPECT_EQ(scene.numLights(), 0U);
    EXPECT_EQ(scene.numLines(), 0U);
    EXPECT_EQ(scene.numPoints(), 0U);
    EXPECT_EQ(scene.numPolyline(), 0U);
    EXPECT_EQ(scene.numTriangles(), 0U);
}

TEST(KivScene, OwnsItsMeshesAndEmptyDeletesThem) {
    {
        KivScene scene;
        fill(scene);
        EXPECT_EQ(CountedMesh::alive, 2);
        scene.orderTrianglesVectorial(KivCamera());
        EXPECT_EQ(scene.numTriangles(), 3U);
        scene.empty();
        EXPECT_EQ(CountedMesh::alive, 0);
        EXPECT_EQ(scene.numMeshes() + scene.numLights() + scene.numLines() + scene.numPoints() + scene.numPolyline(),
                  0U);
        EXPECT_EQ(scene.numTriangles(), 0U);
        fill(scene);
        scene.addMesh(nullptr);
        scene.addPolyline(nullptr);
    }
    EXPECT_EQ(CountedMesh::alive, 0);
}

TEST(KivScene, GettersAnswerInPlaceAndNullBeyondTheEnd) {
    KivScene scene;
    fill(scene);
    EXPECT_NE(scene.getMesh(1), nullptr);
    EXPECT_EQ(scene.getMesh(scene.numMeshes()), nullptr);
    EXPECT_EQ(scene.getLight(1), nullptr);
    EXPECT_EQ(scene.getLine(1), nullptr);
    EXPECT_EQ(scene.getPoint(1), nullptr);
    EXPECT_EQ(scene.getPolyline(1), nullptr);
    const KivScene& readOnly = scene;
    readOnly.getLight(0)->setIntensity(9.0);
    EXPECT_EQ(scene.getLightCopy(0).getIntensity(), 9.0);
    readOnly.getLine(0)->hide();
    EXPECT_TRUE(scene.getLineCopy(0).isHidden());
    readOnly.getPoint(0)->set(1, 1, 1);
    EXPECT_TRUE(scene.getPointCopy(0) == Kiv3DPoint(1, 1, 1));
    readOnly.getPolyline(0)->setClosed(true);
    EXPECT_TRUE(scene.getPolylineCopy(0).isClosed());
}

TEST(KivScene, CopiesComeWithoutShaderSettings) {
    KivScene scene;
    fill(scene);
    scene.getMesh(0)->setNonCombinableShader(L"Cartoon");
    EXPECT_FALSE(scene.getMeshCopy(0).hasObjectSettings());
    EXPECT_EQ(scene.getMeshCopy(1).getNumTriangles(), 2U);
    EXPECT_FALSE(scene.getPolylineCopy(0).hasObjectSettings());
    EXPECT_FALSE(scene.getPolylineCopy(0).hasNormals());
    EXPECT_FALSE(scene.getLight(0)->hasObjectSettings()) << "added as a copy";
    EXPECT_FALSE(scene.getLine(0)->hasObjectSettings());
    EXPECT_TRUE(scene.getPolyline(0)->hasObjectSettings()) << "the polyline itself was handed over";
}

TEST(KivScene, LinesWithPolylinesAndPointsAreRemovedAlone) {
    KivScene scene;
    fill(scene);
    const unsigned int meshes = scene.numMeshes();
    const unsigned int lights = scene.numLights();
    ASSERT_GT(scene.numLines(), 0U);
    ASSERT_GT(scene.numPolyline(), 0U);
    ASSERT_GT(scene.numPoints(), 0U);
    scene.removeLines();
    EXPECT_EQ(scene.numLines(), 0U);
    EXPECT_EQ(scene.numPolyline(), 0U);
    EXPECT_GT(scene.numPoints(), 0U);
    scene.removePoints();
    EXPECT_EQ(scene.numPoints(), 0U);
    EXPECT_EQ(scene.numMeshes(), meshes);
    EXPECT_EQ(scene.numLights(), lights);
}

TEST(KivScene, RemoveMeshHandsTheMeshBack) {
    KivScene scene;
    fill(scene);
    const std::unique_ptr<KivMesh> first(scene.getMesh(0));
    const KivMesh* second = scene.getMesh(1);
    scene.removeMesh(2);
    EXPECT_EQ(scene.numMeshes(), 2U);
    scene.removeMesh(0);
    EXPECT_EQ(scene.numMeshes(), 1U);
    EXPECT_EQ(scene.getMesh(0), second);
    EXPECT_EQ(CountedMesh::alive, 2);
    scene.empty();
    EXPECT_EQ(CountedMesh::alive, 1);
    EXPECT_EQ(first->getNumTriangles(), 1U);
}

TEST(KivScene, ReplaceMeshDeletesWhatNoOtherSceneHas) {
    KivScene scene;
    fill(scene);
    const int alive = CountedMesh::alive;
    auto* const replacement = new CountedMesh;
    scene.replaceMesh(0, replacement);
    EXPECT_EQ(scene.getMesh(0), replacement);
    EXPECT_EQ(CountedMesh::alive, alive);
    const KivScene copy(scene);
    auto* const other = new CountedMesh;
    scene.replaceMesh(0, other);
    EXPECT_EQ(scene.getMesh(0), other);
    EXPECT_EQ(copy.getMesh(0), replacement);
    EXPECT_EQ(CountedMesh::alive, alive + 1);
    // Nothing happens out of range.
    CountedMesh own;
    scene.replaceMesh(99, &own);
    scene.replaceMesh(1, nullptr);
    EXPECT_NE(scene.getMesh(1), nullptr);
}

TEST(KivScene, ReplaceMeshEmptiesTheOrderedList) {
    KivScene scene;
    scene.addMesh(triangles(3));
    scene.orderTrianglesVectorial(KivCamera());
    ASSERT_EQ(scene.numTriangles(), 3U);
    scene.replaceMesh(0, triangles(2));
    EXPECT_EQ(scene.numTriangles(), 0U);
    scene.orderTrianglesVectorial(KivCamera());
    EXPECT_EQ(scene.numTriangles(), 2U);
}

TEST(KivScene, RemoveMeshOfAMissingOneErasesTheEntry) {
    KivScene scene;
    scene.addMesh(nullptr);
    fill(scene);
    scene.removeMesh(0);
    EXPECT_EQ(scene.numMeshes(), 2U);
    EXPECT_NE(scene.getMesh(0), nullptr);
}

// The numbers of an ordered list do not follow a removal. What they no longer lead to goes at the next ordering.
TEST(KivScene, OrderingAgainAfterARemovalForgetsWhatIsNoLongerThere) {
    KivScene scene;
    scene.addMesh(triangles(3));
    scene.addMesh(triangles(1));
    scene.addMesh(triangles(2));
    const KivCamera camera;
    scene.orderTrianglesVectorial(camera);
    ASSERT_EQ(scene.numTriangles(), 6U);
    const std::unique_ptr<KivMesh> removed(scene.getMesh(0));
    scene.removeMesh(0);
    // Of mesh 0, with one triangle now, 1 is left; of mesh 1, with two now, 1; and all three of now are added.
    scene.orderTrianglesVectorial(camera);
    EXPECT_EQ(scene.numTriangles(), 5U);
    for (unsigned int i = 0; i < scene.numTriangles(); ++i) {
        KivMesh* mesh = nullptr;
        Kiv3DPoint points[3];
        Kiv3DVector normals[3];
        scene.getOrderedTriangle(i, &mesh, points, normals);
        EXPECT_TRUE(mesh == scene.getMesh(0) || mesh == scene.getMesh(1));
    }
    // Nothing to add: the list shrinks all the same.
    const std::unique_ptr<KivMesh> second(scene.getMesh(1));
    const std::unique_ptr<KivMesh> first(scene.getMesh(0));
    scene.removeMesh(1);
    scene.removeMesh(0);
    scene.orderTrianglesVectorial(camera);
    EXPECT_EQ(scene.numTriangles(), 0U);
}

TEST(KivScene, MeshesWithAVertexThatIsNotThereGo) {
    KivScene scene;
    scene.addMesh(nullptr);
    fill(scene);
    const KivMesh* const whole = scene.getMesh(2);
    for (const unsigned int wrong : {3U, 4000000000U, 0xFFFFFFFFU}) {
        for (int corner = 0; corner < 3; ++corner) {
            KivMesh* const broken = triangles(1);
            EXPECT_TRUE(broken->hasAllVertexs());
            unsigned int c[3] = {0, 1, 2};
            c[corner] = wrong;
            broken->addTriangle(c[0], c[1], c[2]);
            EXPECT_FALSE(broken->hasAllVertexs());
            scene.addMesh(broken);
        }
    }
    EXPECT_EQ(scene.removeBrokenMeshes(), 9U);
    EXPECT_EQ(scene.numMeshes(), 3U);
    EXPECT_EQ(scene.getMesh(2), whole) << "the others keep their order";
    EXPECT_EQ(CountedMesh::alive, 2) << "deleted";
    EXPECT_EQ(scene.removeBrokenMeshes(), 0U);
}

// A scene that shares its meshes, as hosts make one for each picture, leaves the other's alone.
TEST(KivScene, ABrokenMeshThatAnotherSceneHasIsNotDeleted) {
    {
        KivScene scene;
        KivMesh* const broken = triangles(1);
        broken->addTriangle(0, 1, 7);
        scene.addMesh(broken);
        {
            KivScene copy(scene);
            EXPECT_EQ(copy.removeBrokenMeshes(), 1U);
        }
        EXPECT_EQ(CountedMesh::alive, 1);
        EXPECT_EQ(scene.getMesh(0), broken);
    }
    EXPECT_EQ(CountedMesh::alive, 0);
}

TEST(KivScene, CopiedScenesReferToTheSameMeshesAndTheLastOneDeletesThem) {
    {
        KivScene copy;
        {
            KivScene scene;
            fill(scene);
            scene.orderTrianglesVectorial(KivCamera());
            const KivScene constructed(scene);
            EXPECT_EQ(constructed.getMesh(1), scene.getMesh(1));
            EXPECT_EQ(constructed.getPolyline(0), scene.getPolyline(0));
            EXPECT_NE(constructed.getLight(0), scene.getLight(0));
            EXPECT_EQ(constructed.numTriangles(), 3U);
            EXPECT_EQ(constructed.numLines(), 1U);
            EXPECT_EQ(constructed.numPoints(), 1U);
            copy = constructed;
            scene.empty();
        }
        EXPECT_EQ(CountedMesh::alive, 2);
        EXPECT_EQ(copy.getMesh(1)->getNumTriangles(), 2U);
        EXPECT_EQ(copy.numTriangles(), 3U);
    }
    EXPECT_EQ(CountedMesh::alive, 0);
}

TEST(KivScene, AMeshRemovedFromACopyStillBelongsToTheOther) {
    {
        KivScene scene;
        fill(scene);
        KivScene copy(scene);
        copy.removeMesh(0);
        copy.removeMesh(0);
    }
    EXPECT_EQ(CountedMesh::alive, 0);
}

TEST(KivScene, OneMeshAddedTwiceIsDeletedOnce) {
    {
        KivScene scene;
        KivMesh* mesh = triangles(1);
        scene.addMesh(mesh);
        scene.addMesh(mesh);
        EXPECT_EQ(scene.numMeshes(), 2U);
    }
    EXPECT_EQ(CountedMesh::alive, 0);
}

TEST(KivScene, ALightKeepsItsShadersWhenTheListGrows) {
    KivScene scene;
    fill(scene);
    scene.getLight(0)->setNonCombinableShader(L"Cartoon");
    for (int i = 0; i < 50; ++i) {
        KivLight light;
        scene.addLight(light);
    }
    EXPECT_TRUE(scene.getLight(0)->hasObjectSettings());
}

TEST(KivScene, SettingsForAllMeshesStayTheGivers) {
    CountedPage page(L"Sketch");
    {
        KivScene scene;
        fill(scene);
        scene.addMesh(nullptr);
        scene.addSettingsToAllMeshes(L"Sketch", false, &page);
        scene.addSettingsToAllMeshes(L"Outline", true, &page);
        for (unsigned int i = 0; i < 2; ++i) {
            const KivMesh* mesh = scene.getMesh(i);
            EXPECT_TRUE(mesh->hasNonCombinable(false));
            EXPECT_TRUE(mesh->rendersThisShader(L"Sketch"));
            EXPECT_TRUE(mesh->rendersThisShader(L"Outline"));
            EXPECT_EQ(mesh->getNumCombinableShaders(), 1U);
            EXPECT_EQ(mesh->getNumPageSettings(), 2);
            EXPECT_EQ(mesh->getPageSettings(L"Sketch"), &page);
        }
        // Here the meshes go with the page still on them.
    }
    EXPECT_EQ(CountedPage::alive, 1);
}

TEST(KivScene, DeleteSettingsToAllMeshesDeletesNoPage) {
    KivScene scene;
    fill(scene);
    const auto page = std::make_unique<CountedPage>();
    scene.addSettingsToAllMeshes(L"Sketch", false, page.get());
    scene.addMesh(nullptr);
    scene.deleteSettingsToAllMeshes();
    EXPECT_EQ(CountedPage::alive, 1);
    EXPECT_FALSE(scene.getMesh(0)->hasObjectSettings());
    EXPECT_EQ(scene.getMesh(1)->getNumPageSettings(), 0);
}

} // namespace
