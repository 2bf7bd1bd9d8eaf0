#include "apps/studio/coarsemodel.h"
#include "apps/studio/studiomodel.h"

#include "apps/common/sight.h"

#include "kivrender/scene/kivline.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/shader/kivshader.h"
#include "support/meshsamples.h"
#include "support/rawrandom.h"
#include "support/temphome.h"

#include <array>
#include <cmath>
#include <fstream>
#include <functional>
#include <map>
#include <set>

#include <gtest/gtest.h>

namespace {

StudioState stateOf(const TempFolder& folder, const std::string& file) {
    StudioState state = StudioState::fresh();
    state.models = {folder.wide(file)};
    return state;
}

// Two boxes of one unit, side by side along x, as objects of their own.
void writeBoxes(const TempFolder& folder, const std::string& file) {
    std::ofstream out(folder.path() / file);
    for (int box = 0; box < 2; ++box) {
        out << "o box" << box << "\n";
        for (int i = 0; i < 8; ++i) {
            out << "v " << box * 3 + (i & 1) << ' ' << (i >> 1 & 1) << ' ' << (i >> 2 & 1) << '\n';
        }
        const int faces[6][4] = {{1, 3, 4, 2}, {5, 6, 8, 7}, {1, 2, 6, 5}, {3, 7, 8, 4}, {1, 5, 7, 3}, {2, 4, 8, 6}};
        for (const auto& face : faces) {
            out << 'f';
            for (const int corner : face) {
                out << ' ' << corner + box * 8;
            }
            out << '\n';
        }
    }
}

KivScene coarseScene(const KivScene& scene) {
    return CoarseModel(scene).scene(scene, {});
}

double areaOf(const KivMesh& mesh) {
    double area = 0.0;
    for (unsigned int t = 0; t < mesh.getNumTriangles(); ++t) {
        Kiv3DPoint p[3];
        mesh.getTriangle(p, t);
        const Kiv3DVector a(p[1].x - p[0].x, p[1].y - p[0].y, p[1].z - p[0].z);
        const Kiv3DVector b(p[2].x - p[0].x, p[2].y - p[0].y, p[2].z - p[0].z);
        area += Kiv3DVector(a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x).norm() / 2.0;
    }
    return area;
}

// All indices are those of vertices, no triangle is there twice or has a corner twice.
void expectSoundMesh(const KivMesh& mesh) {
    std::set<std::array<unsigned int, 3>> all;
    for (unsigned int t = 0; t < mesh.getNumTriangles(); ++t) {
        std::array<unsigned int, 3> corners{};
        ASSERT_TRUE(mesh.getTriangle(corners.data(), t));
        for (const unsigned int corner : corners) {
            ASSERT_LT(corner, mesh.getNumVertexs());
        }
        ASSERT_NE(corners[0], corners[1]);
        ASSERT_NE(corners[1], corners[2]);
        ASSERT_NE(corners[2], corners[0]);
        // The same turn begun at another corner is the same triangle.
        std::rotate(corners.begin(), std::min_element(corners.begin(), corners.end()), corners.end());
        ASSERT_TRUE(all.insert(corners).second) << "triangle " << t << " is there twice";
    }
    for (unsigned int v = 0; v < mesh.getNumVertexs(); ++v) {
        const Kiv3DPoint p = mesh.getVertex(v);
        ASSERT_TRUE(std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z));
    }
}

// Triangles in rows, each a mesh of its own, and a line.
KivScene manyTriangles(unsigned int count, const std::function<std::uint32_t(unsigned int)>& colour) {
    KivScene scene;
    for (unsigned int i = 0; i < count; ++i) {
        auto* const mesh = new KivMesh; // the scene's
        const double x = i % 500;
        const double y = i / 500; // NOLINT(bugprone-integer-division): the row
        mesh->addVertex(Kiv3DPoint(x, y, 0.0));
        mesh->addVertex(Kiv3DPoint(x + 9.0, y, 0.0));
        mesh->addVertex(Kiv3DPoint(x, y + 9.0, 0.0));
        mesh->addTriangle(0U, 1U, 2U);
        KivMaterial material;
        material.setDiffuse(colour(i));
        mesh->setMaterial(material);
        scene.addMesh(mesh);
    }
    KivLine line(Kiv3DPoint(0.0, 0.0, 0.0), Kiv3DPoint(1.0, 0.0, 0.0));
    scene.addLine(line);
    return scene;
}

} // namespace

TEST(StudioModel, StartsWithTheBuiltInScene) {
    const StudioModel model;
    EXPECT_GT(model.numMeshes(), 1);
    EXPECT_GT(model.triangles(), 100U);
    StudioCamera camera;
    model.placeCamera(&camera, 1.5);
    EXPECT_EQ(whyNothingIsSeen(model.points(), camera.toCamera(model.points(), 1.5), 960), "");
}

TEST(StudioModel, AFileThatCantBeReadLeavesTheModelAsItWas) {
    const TempFolder folder;
    StudioModel model;
    const int before = model.numMeshes();
    std::wstring message;
    EXPECT_FALSE(model.load(stateOf(folder, "no.obj"), &message));
    EXPECT_NE(message.find(L"no.obj"), std::wstring::npos);
    EXPECT_EQ(model.numMeshes(), before);
    EXPECT_GT(model.points().size(), 0U);
}

TEST(StudioModel, ARayMeetsTheNearestMesh) {
    const TempFolder folder;
    writeBoxes(folder, "boxes.obj");
    StudioModel model;
    std::wstring message;
    ASSERT_TRUE(model.load(stateOf(folder, "boxes.obj"), &message)) << message.c_str();
    ASSERT_EQ(model.numMeshes(), 2);
    const auto at = [&model](double x) { return model.model().toScene({x, 0.4, 0.3}); };
    EXPECT_EQ(model.pick(at(-5.0), {1, 0, 0}, {}), 0);
    EXPECT_EQ(model.pick(at(9.0), {-1, 0, 0}, {}), 1);
    EXPECT_EQ(model.pick(at(2.0), {1, 0, 0}, {}), 1) << "what is behind the eye does not count";
    EXPECT_EQ(model.pick(at(2.0), {0, 1, 0}, {}), -1);
    EXPECT_EQ(model.pick(at(9.0), {0, 0, 0}, {}), -1);
    ASSERT_EQ(model.corners({1}).size(), 8U);
    for (const Kiv3DPoint& corner : model.corners({1})) {
        EXPECT_GE(corner.x, at(2.99).x);
    }
    EXPECT_TRUE(model.corners({-1}).empty());
    EXPECT_TRUE(model.corners({2}).empty());
}

TEST(StudioModel, EachRenderHasASceneOfItsOwnWithTheSameMeshes) {
    const StudioModel model;
    StudioState state = StudioState::fresh();
    state.hasLights = true;
    state.lights.resize(3);
    for (int i = 0; i < 3; ++i) {
        KivScene scene = model.scene(state, false);
        EXPECT_EQ(scene.numLights(), 3U) << "lights don't pile up";
        EXPECT_EQ(static_cast<int>(scene.numMeshes()), model.numMeshes());
        scene.empty(); // as a render does
    }
    EXPECT_GT(model.numMeshes(), 1);
    state.hasLights = false;
    EXPECT_GT(model.lights(state).size(), 0U);
    EXPECT_EQ(model.ownLights(state).size(), model.lights(state).size());
    state.hasLights = true;
    state.lights.clear();
    EXPECT_EQ(model.scene(state, false).numLights(), 0U) << "a user may want none";
}

TEST(StudioModel, LightsThatBecomeTheUsersOwnShineAsBefore) {
    const StudioModel model;
    StudioState state = StudioState::fresh();
    const std::vector<KivLight> before = model.lights(state);
    state.lights = model.ownLights(state);
    state.hasLights = true;
    const std::vector<KivLight> after = model.lights(state);
    ASSERT_EQ(before.size(), after.size());
    for (std::size_t i = 0; i < before.size(); ++i) {
        EXPECT_EQ(before[i].getStyle(), after[i].getStyle());
        EXPECT_EQ(before[i].getDiffuse(), after[i].getDiffuse());
        const Kiv3DVector a = before[i].getDirection();
        const Kiv3DVector b = after[i].getDirection();
        if (before[i].getStyle() != KivLight::pointLight) {
            EXPECT_NEAR((a.x * b.x + a.y * b.y + a.z * b.z) / (a.norm() * b.norm()), 1.0, 1e-9);
        }
        EXPECT_NEAR(before[i].getSpotAngle(), after[i].getSpotAngle(), 1e-9);
    }
}

TEST(StudioModel, OwnLooksComeForOneRenderAndGoWithoutATrace) {
    const StudioModel model;
    StudioState state = StudioState::fresh();
    KivMemoryDataManager& stream = state.objects.edit()[1].edit();
    stream.setSaving();
    stream.saveString(L"Style:");
    stream.saveString(L"NonCombinableShader:Outline");
    stream.saveString(L"CombinableShader:");
    stream.saveString(L"End Morvane");
    state.objects.edit()[9999] = stream; // a mesh that the model does not have
    const KivMesh& first = *model.model().scene->getMesh(0);
    const KivMesh& second = *model.model().scene->getMesh(1);
    for (int i = 0; i < 5; ++i) {
        {
            const StudioModel::OwnLooks looks(model, state, false);
            EXPECT_FALSE(first.hasObjectSettings());
            EXPECT_TRUE(second.hasObjectSettings());
            EXPECT_TRUE(second.rendersThisShader(L"Outline"));
            EXPECT_EQ(second.getNumCombinableShaders(), 0U);
        }
        EXPECT_FALSE(second.hasObjectSettings());
        EXPECT_EQ(second.getNumPageSettings(), 0);
    }
    EXPECT_EQ(state.objects.at(1).stream().getNumProperties(), 4) << "the state is only read";
}

TEST(StudioModel, PagesOfOwnLooksAreMadeAndDeletedAgain) {
    const StudioModel model;
    StudioState state = StudioState::fresh();
    ASSERT_GT(KivShader::loadShaders(nullptr), 0);
    state.objects.edit()[0].edit().setSaving();
    state.objects.edit()[0].edit().setDefault();
    KivShader::unLoadAll();
    const KivMesh& mesh = *model.model().scene->getMesh(0);
    int pages = 0;
    for (int i = 0; i < 20; ++i) {
        {
            const StudioModel::OwnLooks looks(model, state, false);
            EXPECT_TRUE(mesh.rendersThisShader(L"Cartoon"));
            EXPECT_GT(mesh.getNumPageSettings(), 0);
            EXPECT_TRUE(i == 0 || mesh.getNumPageSettings() == pages) << "pages pile up";
            pages = mesh.getNumPageSettings();
        }
        EXPECT_EQ(mesh.getNumPageSettings(), 0);
        EXPECT_FALSE(mesh.hasObjectSettings());
    }
}

TEST(StudioModel, ALargeModelHasACoarseCopyForMotion) {
    const TempFolder folder;
    const auto mesh = gridMesh(180'000);
    std::ofstream out(folder.path() / "large.obj");
    for (unsigned int v = 0; v < mesh->getNumVertexs(); ++v) {
        const Kiv3DPoint p = mesh->getVertex(v);
        out << "v " << p.x << ' ' << p.y << ' ' << p.z << '\n';
    }
    for (unsigned int t = 0; t < mesh->getNumTriangles(); ++t) {
        unsigned int c[3];
        mesh->getTriangle(c, t);
        out << "f " << c[0] + 1 << ' ' << c[1] + 1 << ' ' << c[2] + 1 << '\n';
    }
    out.close();
    StudioModel model;
    std::wstring message;
    ASSERT_TRUE(model.load(stateOf(folder, "large.obj"), &message)) << message.c_str();
    const KivScene whole = model.scene(StudioState::fresh(), false);
    const KivScene coarse = model.scene(StudioState::fresh(), true);
    EXPECT_GT(whole.getMesh(0)->getNumTriangles(), 170'000U);
    EXPECT_LT(coarse.getMesh(0)->getNumTriangles(), 65'000U);
    EXPECT_GT(coarse.getMesh(0)->getNumTriangles(), 5'000U);
    EXPECT_EQ(coarse.numMeshes(), whole.numMeshes());
}

TEST(CoarseScene, ManySmallMeshesOfOneColourBecomeOne) {
    const KivScene scene = manyTriangles(5000, [](unsigned int i) { return i % 3 == 0 ? 0x0000FFU : 0x00FF00U; });
    const KivScene coarse = coarseScene(scene);
    ASSERT_EQ(coarse.numMeshes(), 2U);
    std::map<std::uint32_t, unsigned int> triangles;
    for (unsigned int i = 0; i < 2; ++i) {
        const KivMesh& mesh = *coarse.getMesh(i);
        triangles[mesh.getMaterial()->getDiffuse()] = mesh.getNumTriangles();
        expectSoundMesh(mesh);
    }
    EXPECT_EQ(triangles[0x0000FF], 1667U);
    EXPECT_EQ(triangles[0x00FF00], 3333U);
    EXPECT_EQ(coarse.numLines(), 1U) << "lines stay in sight";
    EXPECT_EQ(coarseScene(manyTriangles(200, [](unsigned int) { return 0U; })).numMeshes(), 200U)
        << "light enough as it is";
}

TEST(CoarseScene, MeshesAndTrianglesAreBoundedWhateverTheColours) {
    RawRandom random(5);
    const KivScene scene = manyTriangles(200'000, [&](unsigned int) { return random.below(1U << 24); });
    const KivScene coarse = coarseScene(scene);
    EXPECT_LE(coarse.numMeshes(), 200U);
    EXPECT_GT(coarse.numMeshes(), 10U) << "the colours are still told apart";
    std::uint64_t triangles = 0;
    for (unsigned int i = 0; i < coarse.numMeshes(); ++i) {
        triangles += coarse.getMesh(i)->getNumTriangles();
    }
    EXPECT_LE(triangles, 100'000U);
    EXPECT_GT(triangles, 1'000U);
}

TEST(CoarseMesh, ASurfaceKeepsItsPlaceItsAreaAndItsNormals) {
    const auto mesh = gridMesh(200'000);
    KivMesh smooth;
    for (unsigned int v = 0; v < mesh->getNumVertexs(); ++v) {
        smooth.addVertex(mesh->getVertex(v), Kiv3DVector(0.0, 0.6, 0.8));
    }
    for (unsigned int t = 0; t < mesh->getNumTriangles(); ++t) {
        unsigned int c[3];
        mesh->getTriangle(c, t);
        smooth.addTriangle(c[0], c[1], c[2]);
    }
    const auto coarse = coarseMesh(smooth, 40'000);
    expectSoundMesh(*coarse);
    EXPECT_LE(coarse->getNumTriangles(), 40'000U);
    EXPECT_GT(coarse->getNumTriangles(), 4'000U);
    EXPECT_NEAR(areaOf(*coarse) / areaOf(smooth), 1.0, 0.05);
    KivBox& a = *smooth.getBoundingBox();
    KivBox& b = *coarse->getBoundingBox();
    const double cell = (a.getXMax() - a.getXMin()) / 40.0;
    EXPECT_NEAR(a.getXMin(), b.getXMin(), cell);
    EXPECT_NEAR(a.getXMax(), b.getXMax(), cell);
    EXPECT_NEAR(a.getYMin(), b.getYMin(), cell);
    EXPECT_NEAR(a.getZMax(), b.getZMax(), cell);
    ASSERT_TRUE(coarse->hasNormals());
    for (unsigned int v = 0; v < coarse->getNumVertexs(); ++v) {
        ASSERT_NEAR(coarse->getNormal(v).z, 0.8, 1e-9);
    }
}

TEST(CoarseMesh, TheNumberOfTrianglesIsBoundedWhateverTheShape) {
    // Triangles that fill a cube, each across a large part of it: far more than its cells have sides.
    RawRandom random(41);
    KivMesh cloud;
    constexpr unsigned int count = 60'000;
    const auto next = [&random] { return random.between(-1.0, 1.0); };
    for (unsigned int t = 0; t < count; ++t) {
        for (int i = 0; i < 3; ++i) {
            cloud.addVertex(Kiv3DPoint(next(), next(), next()));
        }
        cloud.addTriangle(3 * t, 3 * t + 1, 3 * t + 2);
    }
    const auto coarse = coarseMesh(cloud, 10'000);
    expectSoundMesh(*coarse);
    EXPECT_LE(coarse->getNumTriangles(), 10'000U);
    EXPECT_GT(coarse->getNumTriangles(), 0U);
}

TEST(CoarseMesh, WhatIsSmallEnoughStaysAndOddShapesDoNoHarm) {
    const auto mesh = gridMesh(200);
    EXPECT_EQ(coarseMesh(*mesh, 200)->getNumTriangles(), mesh->getNumTriangles());
    const KivMesh nothing;
    EXPECT_EQ(coarseMesh(nothing, 10)->getNumTriangles(), 0U);
    KivMesh point; // all in one place
    point.addVertex(Kiv3DPoint(1e6, 1e6, 1e6));
    for (int i = 0; i < 50; ++i) {
        point.addTriangle(0U, 0U, 0U);
    }
    EXPECT_EQ(coarseMesh(point, 10)->getNumTriangles(), 0U);
}
