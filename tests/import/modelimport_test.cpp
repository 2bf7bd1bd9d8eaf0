#include "import/kivmodelimport.h"

#include "boxmodels.h"
#include "import/objreader.h"
#include "import/reader/assimpreader.h"
#include "import/scenebuilder.h"
#include "importtestfiles.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/scene/kivline.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshnormals.h"
#include "kivrender/scene/kivpolyline.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

KivModel import(const std::vector<std::string>& paths, const KivModelOptions& options = {}) {
    KivModel model;
    std::wstring message;
    std::vector<std::wstring> wide;
    for (const std::string& path : paths) {
        wide.push_back(kivFromUtf8(path));
    }
    EXPECT_TRUE(kivImportModels(wide, options, model, message)) << kivToUtf8(message);
    return model;
}

std::string complaint(const std::string& path, const KivModelOptions& options = {}) {
    KivModel model;
    std::wstring message;
    EXPECT_FALSE(kivImportModels({kivFromUtf8(path)}, options, model, message)) << path;
    return kivToUtf8(message);
}

// The volume inside a mesh, in the units of the file.
double volumeOf(const KivModel& model, const KivMesh& mesh) {
    double volume = 0.0;
    for (unsigned int t = 0; t < mesh.getNumTriangles(); ++t) {
        Kiv3DPoint p[3];
        mesh.getTriangle(p, t);
        volume += (p[0].x * (p[1].y * p[2].z - p[1].z * p[2].y) - p[0].y * (p[1].x * p[2].z - p[1].z * p[2].x) +
                   p[0].z * (p[1].x * p[2].y - p[1].y * p[2].x)) /
                  6.0;
    }
    return volume / std::pow(model.scale, 3.0);
}

// Whether every normal points to the side from which its triangle runs anticlockwise.
void expectNormalsOutwards(const KivMesh& mesh) {
    for (unsigned int t = 0; t < mesh.getNumTriangles(); ++t) {
        Kiv3DPoint p[3];
        Kiv3DVector n[3];
        mesh.getTriangle(p, n, t);
        const Kiv3DVector a(p[1].x - p[0].x, p[1].y - p[0].y, p[1].z - p[0].z);
        const Kiv3DVector b(p[2].x - p[0].x, p[2].y - p[0].y, p[2].z - p[0].z);
        for (const Kiv3DVector& normal : n) {
            EXPECT_GT((a.y * b.z - a.z * b.y) * normal.x + (a.z * b.x - a.x * b.z) * normal.y +
                          (a.x * b.y - a.y * b.x) * normal.z,
                      0.0);
        }
    }
}

} // namespace

TEST(ModelImport, TellsWhereTheNormalsAreFrom) {
    const TestFolder folder;
    const std::string points = "v 0 0 0\nv 1 0 0\nv 0 1 0\n";
    const KivModel given = import({folder.write("given.obj", points + "vn 0 0 1\nf 1//1 2//1 3//1\n")});
    EXPECT_EQ(kivNormalsFrom(*given.scene->getMesh(0)), KivNormalsFrom::file);
    const KivModel made = import({folder.write("made.obj", points + "f 1 2 3\n")});
    EXPECT_EQ(kivNormalsFrom(*made.scene->getMesh(0)), KivNormalsFrom::triangles);
}

TEST(ModelImport, PrimitivesOfOneMaterialAreOneSurface) {
    const TestFolder folder;
    const std::string again = "},{\"attributes\":{\"POSITION\":0},\"indices\":1";
    const std::string materials = "\"materials\":[{\"name\":\"red\"},{\"name\":\"blue\"}],";
    const KivModel one = import({folder.write("one.gltf", boxGltf("{\"mesh\":0,\"name\":\"box\"}", "", again))});
    EXPECT_EQ(one.scene->numMeshes(), 1U);
    EXPECT_EQ(one.meshNames, std::vector<std::wstring>{L"box"});
    EXPECT_EQ(one.files[0].triangles, 24U);
    const KivModel two = import(
        {folder.write("two.gltf", boxGltf("{\"mesh\":0}", materials, ",\"material\":0" + again + ",\"material\":1"))});
    EXPECT_EQ(two.scene->numMeshes(), 2U);
}

// Programs that know of no colours write the word for black on each facet.
TEST(ModelImport, AnStlFileThatIsBlackAllOverHasNoColours) {
    const TestFolder folder;
    const auto colourOf = [&folder](std::uint16_t word) {
        const KivModel model = import({folder.write("box.stl", boxColourStl(word))});
        EXPECT_EQ(model.files.at(0).triangles, 12U);
        return model.scene->getMesh(0)->getMaterial()->getDiffuse();
    };
    const auto usual = import({folder.write("plain.stl", boxStl())}).scene->getMesh(0)->getMaterial()->getDiffuse();
    EXPECT_EQ(colourOf(0x8000), usual);
    EXPECT_EQ(colourOf(0xFC00), 0x0000FFU) << "red in the low byte";
    EXPECT_EQ(colourOf(0x8001), 0x080000U) << "next to black";
}

TEST(ModelImport, TheSameBoxFromEveryFormat) {
    const TestFolder folder;
    const struct {
        const char* name;
        std::string content;
        bool zUp;
    } cases[] = {
        {"box.obj", boxObj, false},   {"box.stl", boxStl(), true},           {"box.ply", boxPly(), false},
        {"box.off", boxOff(), false}, {"box.dxf", boxDxf(), true},           {"box.dae", boxDae(), false},
        {"box.fbx", boxFbx(), true},  {"box.3ds", box3ds(), true},           {"box.gltf", boxGltf(), false},
        {"box.glb", boxGlb(), false}, {"unaligned.glb", boxGlb(3), false},   {"UPPER.OBJ", boxObj, false},
        {"box.3mf", box3mf(), true},  {"strips.ply", boxPlyStrips(), false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const KivModel model = import({folder.write(c.name, c.content)});
        ASSERT_NE(model.scene, nullptr);
        ASSERT_EQ(model.scene->numMeshes(), 1U);
        const KivMesh& mesh = *model.scene->getMesh(0);
        EXPECT_EQ(mesh.getNumTriangles(), 12U);
        EXPECT_EQ(mesh.getNumVertexs(), 24U) << "sharp edges want three vertices at a corner";
        EXPECT_NEAR(volumeOf(model, mesh), 6.0, 1e-5);
        expectNormalsOutwards(mesh);
        KivBox bounds = model.bounds;
        EXPECT_NEAR(bounds.getXMin(), 0.0, 1e-6);
        EXPECT_NEAR(bounds.getXMax(), 2.0, 1e-6);
        EXPECT_NEAR(bounds.getYMax(), 1.0, 1e-6);
        EXPECT_NEAR(bounds.getZMin(), 0.0, 1e-6);
        EXPECT_NEAR(bounds.getZMax(), 3.0, 1e-6);
        EXPECT_EQ(model.files.at(0).zUp, c.zUp);
        EXPECT_EQ(model.up.z, c.zUp ? 1.0 : 0.0);
        EXPECT_EQ(model.files[0].triangles, 12U);
        EXPECT_EQ(model.files[0].degenerate, 0U);
        EXPECT_FALSE(model.files[0].format.empty());
        EXPECT_NE(model.files[0].format, L"unknown");
        const bool isGltf = std::string(c.name).find(".gl") != std::string::npos;
        const bool is3mf = std::string(c.name).ends_with(".3mf");
        EXPECT_EQ(model.files[0].metresPerUnit, isGltf ? 1.0 : is3mf ? 1e-3 : 0.0);
        EXPECT_TRUE(model.materials.empty())
            << "none is in the file, found " << (model.materials.empty() ? "" : kivToUtf8(model.materials[0].name));
        EXPECT_NE(mesh.getMaterial()->getDiffuse(), 0U) << "what has no material gets a colour";
        EXPECT_TRUE(mesh.isOpaque());
    }
}

TEST(ModelImport, EveryListedFormatIsRead) {
    EXPECT_EQ(kivModelFormats().size(), 16U);
    for (const KivModelFormat& format : kivModelFormats()) {
        EXPECT_GT(std::wcslen(format.name), 2U);
    }
}

TEST(ModelImport, OurObjReaderAgreesWithAssimp) {
    const TestFolder folder;
    const std::string text =
        std::string("vn 0 0 1\nvn 0 1 0\nmtllib m.mtl\no a\nusemtl one\n") + boxObj +
        "o b\nusemtl two\nv 5 5 5\nv 6 5 5\nv 6 6 5\nv 5 6 5\nv 5.5 7 5\nf 9//1 10//1 11//1 13//2 12//1\n"
        "f -5 -4 -1\n";
    folder.write("m.mtl", "newmtl one\nKd 1 0 0\nnewmtl two\nKd 0 1 0\nNs 10\nKs 1 1 1\n");
    const std::string path = folder.write("both.obj", text);
    using namespace kivimport;
    const ModelParts ours = readObj(text, {1000}).parts;
    SilentReport report;
    const ModelParts theirs = readByAssimp(path, {1000}, {}, report);
    // All corners, in order, by position.
    const auto cornersOf = [](const ModelParts& parts) {
        std::vector<std::array<double, 3>> list;
        for (const Surface& surface : parts.surfaces) {
            for (const std::uint32_t c : surface.corners) {
                const Vec3& p = surface.positions[c];
                list.push_back({p.x, p.y, p.z});
            }
        }
        std::sort(list.begin(), list.end());
        return list;
    };
    EXPECT_EQ(ours.numTriangles(), theirs.numTriangles());
    EXPECT_EQ(cornersOf(ours), cornersOf(theirs));
}

TEST(ModelImport, MeshesHaveTheNamesOfTheFile) {
    const TestFolder folder;
    folder.write("two.mtl", "newmtl paint\nKd 1 0 0\n");
    const std::string path = folder.write("two.obj", "mtllib two.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\nf 1 2 3\n"
                                                     "usemtl paint\nf 1 2 4\no Gr\xC3\xBC\xC3\x9F\nf 1 3 4\n");
    const KivModel model = import({path, path});
    const std::vector<std::wstring> once = {L"", L"paint", L"Gr\u00FC\u00DF"};
    ASSERT_EQ(model.scene->numMeshes(), 6U);
    ASSERT_EQ(model.meshNames.size(), 6U);
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_EQ(model.meshNames[i], once[i % 3]) << i;
    }
}

TEST(ModelImport, MaterialsOfAnObjFile) {
    const TestFolder folder;
    folder.write("box.mtl", "newmtl paint\nKd 0.2 0.4 0.6\nKs 1 1 1\nNs 64\nnewmtl glass\nKd 1 1 1\nd 0.25\nKs 1 1 1\n"
                            "newmtl tiles\nKd 1 1 1\nmap_Kd ..\\textures\\tiles.bmp\nnewmtl spare\n");
    folder.write("tiles.bmp", redBlueBmp());
    const std::string path =
        folder.write("box.obj", "mtllib box.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\nusemtl paint\nf 1 2 3\n"
                                "usemtl glass\nf 1 2 4\nusemtl tiles\nf 1 3 4\nusemtl lost\nf 2 3 4\n");
    const KivModel model = import({path});
    ASSERT_EQ(model.scene->numMeshes(), 4U);
    const KivMaterial& paint = *model.scene->getMesh(0)->getMaterial();
    EXPECT_EQ(paint.getDiffuse(), 0x996633U); // red in the low byte
    EXPECT_EQ(paint.getAmbient(), paint.getDiffuse()) << "a copied material takes its colour from here";
    EXPECT_EQ(paint.getSpecular(), 0xFFFFFFU);
    EXPECT_NEAR(paint.getShine(), 127.5, 1e-9);
    EXPECT_EQ(paint.getTransparency(), 1.0);
    const KivMaterial& glass = *model.scene->getMesh(1)->getMaterial();
    EXPECT_EQ(glass.getTransparency(), 0.25);
    EXPECT_FALSE(model.scene->getMesh(1)->isOpaque());
    EXPECT_EQ(glass.getSpecular(), 0U) << "no exponent, no highlight";
    EXPECT_EQ(model.scene->getMesh(2)->getMaterial()->getDiffuse(), 0x800080U) << "the mean of red and blue";
    EXPECT_EQ(model.scene->getMesh(3)->getMaterial()->getDiffuse(), 0xCCCCCCU) << "named, but in no library";
    ASSERT_EQ(model.materials.size(), 4U) << "those in use";
    EXPECT_EQ(model.materials[2].texture, L"..\\textures\\tiles.bmp");
}

TEST(ModelImport, AMissingLibraryOrTextureCostsOnlyTheColours) {
    const TestFolder folder;
    folder.write("m.mtl", "newmtl a\nKd 1 0 0\nmap_Kd gone.png\n");
    folder.write("broken.png", "no picture");
    const std::string path =
        folder.write("a.obj", "mtllib gone.mtl\nmtllib m.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl a\nf 1 2 3\n");
    EXPECT_EQ(import({path}).scene->getMesh(0)->getMaterial()->getDiffuse(), 0x0000FFU);
    folder.write("m.mtl", "newmtl a\nKd 1 0 0\nmap_Kd broken.png\n");
    EXPECT_EQ(import({path}).scene->getMesh(0)->getMaterial()->getDiffuse(), 0x0000FFU);
}

TEST(ModelImport, MaterialsOfAGltfFile) {
    const TestFolder folder;
    const std::string extra = "\"materials\":[{\"name\":\"m\",\"alphaMode\":\"BLEND\",\"pbrMetallicRoughness\":{"
                              "\"baseColorFactor\":[0.2158605,0,1,0.5],\"roughnessFactor\":0.25}}],";
    const KivModel model = import({folder.write("m.gltf", boxGltf("{\"mesh\":0}", extra, ",\"material\":0"))});
    const KivMaterial& material = *model.scene->getMesh(0)->getMaterial();
    // Linear light becomes what a screen shows: 0.2158605 is half of the way.
    EXPECT_EQ(material.getDiffuse(), 0xFF0080U);
    EXPECT_NEAR(material.getTransparency(), 0.5, 1e-6);
    EXPECT_GT(material.getShine(), 0.0);
    EXPECT_EQ(model.materials.at(0).name, L"m");
}

TEST(ModelImport, NodeTransformsAndMirrors) {
    const TestFolder folder;
    const char* const nodes[] = {
        "{\"mesh\":0,\"scale\":[-1,1,1]}",
        "{\"mesh\":0,\"scale\":[-2,-2,-2]}",
        "{\"children\":[1],\"rotation\":[0,0.7071068,0,0.7071068],\"scale\":[1,-1,1]},{\"mesh\":0,\"scale\":[1,3,1],"
        "\"translation\":[10,0,0]}",
    };
    const double volumes[] = {6.0, 48.0, 18.0};
    for (int i = 0; i < 3; ++i) {
        SCOPED_TRACE(nodes[i]);
        const KivModel model = import({folder.write("n.gltf", boxGltf(nodes[i]))});
        ASSERT_EQ(model.scene->numMeshes(), 1U);
        EXPECT_NEAR(volumeOf(model, *model.scene->getMesh(0)), volumes[i], 1e-4) << "negative: turned inside out";
        expectNormalsOutwards(*model.scene->getMesh(0));
    }
    KivModel model = import({folder.write("n.gltf", boxGltf(nodes[2]))});
    // 10 along x, then a quarter turn about y to -z, then upside down.
    EXPECT_NEAR(model.bounds.getZMin(), -12.0, 1e-5);
    EXPECT_NEAR(model.bounds.getZMax(), -10.0, 1e-5);
    EXPECT_NEAR(model.bounds.getYMin(), -3.0, 1e-5);
    EXPECT_NEAR(model.bounds.getXMax(), 3.0, 1e-5);
}

TEST(ModelImport, AnFbxCameraLooksAtItsTarget) {
    const TestFolder folder;
    const auto insert = [](std::string text, const std::string& before, const std::string& what) {
        return text.insert(text.find(before) + before.size(), what);
    };
    const auto at = [](const char* place) {
        return std::string("  Properties70: {\n   P: \"Lcl Translation\", \"Lcl Translation\", \"\", \"A+\",") + place +
               "\n  }\n";
    };
    const std::string camera =
        " NodeAttribute: 5, \"NodeAttribute::\", \"Camera\" {\n  Properties70: {\n   P: \"FieldOfView\", "
        "\"FieldOfView\", \"\", \"A+\",45\n  }\n  TypeFlags: \"Camera\"\n  GeometryVersion: 124\n }\n"
        " Model: 6, \"Model::Eye\", \"Camera\" {\n  Version: 232\n" +
        at("1,-10,2") + " }\n";
    const std::string target = " Model: 7, \"Model::Eye.Target\", \"Null\" {\n  Version: 232\n" + at("1,0,2") + " }\n";
    const std::string aimed =
        insert(insert(boxFbx(), "Objects: {\n", camera + target), "Connections: {\n",
               " C: \"OO\",6,0\n C: \"OO\",7,0\n C: \"OO\",5,6\n C: \"OP\",7,6, \"LookAtProperty\"\n");
    const KivModel model = import({folder.write("aimed.fbx", aimed)});
    ASSERT_EQ(model.cameras.size(), 1U);
    EXPECT_NEAR(model.cameras[0].direction.x, 0.0, 1e-6);
    EXPECT_NEAR(model.cameras[0].direction.y, 1.0, 1e-6);
    EXPECT_NEAR(model.cameras[0].direction.z, 0.0, 1e-6);
    EXPECT_NEAR(model.cameras[0].up.z, 1.0, 1e-6);
}

TEST(ModelImport, CamerasAndLights) {
    const TestFolder folder;
    const std::string nodes =
        "{\"children\":[1,2,3,4,5],\"mesh\":0},{\"camera\":0,\"name\":\"seen "
        "from\",\"translation\":[1,2,30]},{\"camera\":1},"
        "{\"name\":\"sun\",\"rotation\":[-0.7071068,0,0,0.7071068],\"extensions\":{\"KHR_lights_punctual\":{\"light\":"
        "0}}},"
        "{\"name\":\"bulb\",\"translation\":[0,5,0],\"extensions\":{\"KHR_lights_punctual\":{\"light\":1}}},"
        "{\"name\":\"spot\",\"translation\":[0,0,9],\"extensions\":{\"KHR_lights_punctual\":{\"light\":2}}}";
    const std::string extra =
        "\"extensionsUsed\":[\"KHR_lights_punctual\"],\"extensions\":{\"KHR_lights_punctual\":{\"lights\":["
        "{\"type\":\"directional\",\"name\":\"sun\",\"color\":[1,1,1],\"intensity\":3},"
        "{\"type\":\"point\",\"name\":\"bulb\",\"color\":[1,0.5,0],\"intensity\":800},"
        "{\"type\":\"spot\",\"name\":\"spot\",\"spot\":{\"outerConeAngle\":0.5}}]}},"
        "\"cameras\":[{\"type\":\"perspective\",\"perspective\":{\"yfov\":0.6,\"znear\":0.1,\"aspectRatio\":1.5}},"
        "{\"type\":\"orthographic\",\"orthographic\":{\"xmag\":3,\"ymag\":2,\"znear\":0.1,\"zfar\":10}}],";
    const KivModel model = import({folder.write("c.gltf", boxGltf(nodes, extra))});
    ASSERT_EQ(model.cameras.size(), 2U);
    const KivModelCamera& camera = model.cameras[0];
    const Kiv3DPoint expected = model.toScene(Kiv3DPoint(1.0, 2.0, 30.0));
    EXPECT_NEAR(camera.location.x, expected.x, 1e-4);
    EXPECT_NEAR(camera.location.z, expected.z, 1e-4);
    EXPECT_NEAR(camera.direction.z, -1.0, 1e-6);
    EXPECT_NEAR(camera.up.y, 1.0, 1e-6);
    EXPECT_NEAR(camera.verticalFov, 0.6 * 180.0 / 3.14159265358979, 1e-3);
    EXPECT_NEAR(model.cameras[1].orthoHeight, 4.0 * model.scale, 1e-3);
    EXPECT_EQ(model.cameras[1].verticalFov, 0.0);

    ASSERT_EQ(model.lights.size(), 3U);
    const KivLight& sun = model.lights[0];
    EXPECT_EQ(sun.getStyle(), KivLight::directionalLight);
    EXPECT_NEAR(sun.getDirection().y, -1.0, 1e-6);
    EXPECT_EQ(sun.getDiffuse(), 0xFFFFFFU);
    // So far outside the scene, against its direction, that what spreads from there is parallel.
    KivBox box = model.bounds;
    EXPECT_GT(sun.getLocation().y, 5000.0 * box.diagonalDistance() * model.scale);
    EXPECT_EQ(model.lights[1].getStyle(), KivLight::pointLight);
    EXPECT_EQ(model.lights[1].getDiffuse(), 0x0080FFU) << "only the hue counts";
    EXPECT_NEAR(model.lights[1].getLocation().y, model.toScene(Kiv3DPoint(0.0, 5.0, 0.0)).y, 1e-4);
    EXPECT_EQ(model.lights[2].getStyle(), KivLight::spotLight);
    EXPECT_NEAR(model.lights[2].getSpotAngle(), 0.5, 1e-6) << "radians";
    EXPECT_EQ(model.scene->numLights(), 0U);
}

TEST(ModelImport, LinesPointsAndPolylines) {
    const TestFolder folder;
    const std::string vertices = "v 0 0 0\nv 4 0 0\nv 4 4 0\nv 0 4 1\n";
    const KivModel model = import({folder.write("l.obj", vertices + "l 1 2\nl 1 2 3 4 1\np 3\n")});
    ASSERT_EQ(model.scene->numLines(), 1U);
    ASSERT_EQ(model.scene->numPolyline(), 1U);
    ASSERT_EQ(model.scene->numPoints(), 1U);
    EXPECT_TRUE(model.scene->getPolyline(0)->isClosed());
    EXPECT_EQ(model.scene->getPolyline(0)->numPoints(), 4);
    const Kiv3DPoint end = model.toScene(Kiv3DPoint(4.0, 0.0, 0.0));
    EXPECT_EQ(model.scene->getLine(0)->getEnd().x, end.x);

    const std::string cloud =
        folder.write("cloud.ply", "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\n"
                                  "property float y\nproperty float z\nend_header\n0 0 0\n1 0 0\n0 1 0\n");
    EXPECT_EQ(import({cloud}).scene->numPoints(), 3U);
}

TEST(ModelImport, PlacementIsExactAndNearTheOrigin) {
    const TestFolder folder;
    for (const double unit : {1e-12, 0.001, 1.0, 1e6, 1e20}) {
        std::string u = "e";
        u.append(std::to_string(static_cast<int>(std::lround(std::log10(unit)))));
        const std::string path = folder.write("p.obj", "v 1000" + u + " 1000" + u + " 0\nv 1003" + u + " 1000" + u +
                                                           " 0\nv 1000" + u + " 1001" + u + " 0\nf 1 2 3\n");
        const KivModel model = import({path});
        SCOPED_TRACE(unit);
        int exponent = 0;
        EXPECT_EQ(std::frexp(model.scale, &exponent), 0.5) << "a power of two";
        ASSERT_EQ(model.scene->numMeshes(), 1U);
        KivBox box = *model.scene->getMesh(0)->getBoundingBox();
        EXPECT_GE(box.getXSize(), 63.9);
        EXPECT_LE(box.getXSize(), 128.1);
        EXPECT_NEAR(box.getXMin() + box.getXMax(), 0.0, 1e-6);
        EXPECT_NEAR(box.getXSize() / box.getYSize(), 3.0, 1e-6);
    }
}

TEST(ModelImport, ObjectsWithoutMaterialGetDifferentColours) {
    const TestFolder folder;
    const std::string text = "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\no a\nf 1 2 3\no b\nf 1 2 4\n";
    const KivModel model = import({folder.write("o.obj", text)});
    ASSERT_EQ(model.scene->numMeshes(), 2U);
    EXPECT_NE(model.scene->getMesh(0)->getMaterial()->getDiffuse(),
              model.scene->getMesh(1)->getMaterial()->getDiffuse());
}

TEST(ModelImport, SeveralFilesMakeOneScene) {
    const TestFolder folder;
    const std::string a = folder.write("a.obj", boxObj);
    const std::string b = folder.write("b.stl", boxStl());
    const KivModel model = import({a, b});
    EXPECT_EQ(model.scene->numMeshes(), 2U);
    ASSERT_EQ(model.files.size(), 2U);
    EXPECT_EQ(model.files[1].triangles, 12U);
    EXPECT_EQ(model.up.y, 1.0) << "the first file tells what is up";
}

TEST(ModelImport, UpAxisCanBeChosen) {
    const TestFolder folder;
    KivModelOptions options;
    options.upAxis = KivModelOptions::Axis::z;
    EXPECT_EQ(import({folder.write("a.obj", boxObj)}, options).up.z, 1.0);
    options.upAxis = KivModelOptions::Axis::y;
    EXPECT_EQ(import({folder.write("a.stl", boxStl())}, options).up.y, 1.0);
}

TEST(ModelImport, DegenerateTrianglesAreCounted) {
    const TestFolder folder;
    const KivModel model =
        import({folder.write("d.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 2 0 0\nf 1 2 3\nf 1 2 4\nf 1 1 3\n")});
    EXPECT_EQ(model.files.at(0).triangles, 1U);
    EXPECT_EQ(model.files[0].degenerate, 2U);
}

TEST(ModelImport, NamesBeyondAscii) {
    const TestFolder folder;
    const KivModel model = import({folder.write("caf\xC3\xA9 \xE2\x98\x95.obj", boxObj)});
    EXPECT_EQ(model.scene->numMeshes(), 1U);
}

TEST(ModelImport, TellsWhatIsWrongWithAFile) {
    const TestFolder folder;
    std::filesystem::create_directory(folder.path("folder.obj"));
    std::string truncated = boxGlb();
    truncated.resize(truncated.size() / 2);
    std::string badIndex = boxGltf();
    const std::string plyHead =
        "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\nproperty float z\n"
        "element face 1\nproperty list uchar int vertex_indices\nend_header\n";
    const struct {
        const char* name;
        const char* file;
        std::string content; // "-": is not written
        const char* message; // behind: can't use "path":
    } cases[] = {
        {"missing", "gone.obj", "-", "there is no such file"},
        {"missing, unsupported", "gone.xyz", "-", "there is no such file"},
        {"folder", "folder.obj", "-", "it is a folder"},
        {"empty", "empty.obj", "", "the file is empty"},
        {"unsupported", "scene.xyz", "x",
         "files that end in .xyz can't be read; try one of obj, gltf, glb, stl, ply, fbx, 3ds, dae, off, dxf, "
         "3mf, step, stp, iges, igs, brep"},
        {"no ending", "scene", "x",
         "a name without an ending does not tell what it is; try one of obj, gltf, glb, stl, ply, fbx, 3ds, dae, off, "
         "dxf, 3mf, step, stp, iges, igs, brep"},
        {"nothing drawn", "normals.obj", "vn 0 0 1\nvn 1 0 0\n", "it has nothing to draw: no faces, lines or points"},
        {"no area", "flat.obj", "v 0 0 0\nv 1 0 0\nv 2 0 0\nf 1 2 3\nf 1 1 1\n",
         "it has nothing to draw: none of its faces has an area"},
        {"index", "index.obj", "v 0 0 0\nf 1 2 3\n", "line 2: vertex index 3 is out of range, the file has 1 vertices"},
        {"not a number", "nan.obj", "v 0 nan 0\n", "line 1: a coordinate is not a finite number"},
        {"not a number, ply", "nan.ply", plyHead + "0 0 nan\n1 0 0\n0 1 0\n3 0 1 2\n",
         "mesh \"\": a coordinate is not a finite number"},
        {"too large, ply", "large.ply", plyHead + "0 0 1e36\n1 0 0\n0 1 0\n3 0 1 2\n",
         "mesh \"\": a coordinate is too large"},
        {"index, ply", "index.ply", plyHead + "0 0 0\n1 0 0\n0 1 0\n3 0 1 7\n",
         "mesh \"\": vertex index 7 is out of range, it has 3 vertices"},
        {"another kind", "text.obj", "Dear reader,\n", "this is no Wavefront OBJ file"},
    };
    for (const auto& c : cases) {
        if (c.content != "-") {
            folder.write(c.file, c.content);
        }
        EXPECT_EQ(complaint(folder.path(c.file)), "can't use \"" + folder.path(c.file) + "\": " + c.message) << c.name;
    }
    // What Assimp finds is told in its own words, in one line.
    for (const auto& [file, content] :
         std::vector<std::pair<std::string, std::string>>{{"cut.glb", truncated},
                                                          {"noise.stl", std::string(200, '\x7F')},
                                                          {"noise.fbx", "Kaydara"},
                                                          {"noise.dae", "<COLLADA"},
                                                          {"noise.3ds", "MMxxxxxx"},
                                                          {"noise.gltf", "{\"asset\":"}}) {
        const std::string text = complaint(folder.write(file, content));
        EXPECT_EQ(text.find("can't use \"" + folder.path(file) + "\": it "), 0U) << text;
        EXPECT_EQ(text.find('\n'), std::string::npos) << text;
    }
}

TEST(ModelImport, AnIndexFarBeyondAllVerticesIsTold) {
    const TestFolder folder;
    const std::string ply = "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\n"
                            "property float z\nelement face 1\nproperty list uchar uint vertex_indices\nend_header\n"
                            "0 0 0\n1 0 0\n0 1 0\n";
    EXPECT_THAT(complaint(folder.write("far.ply", ply + "3 0 1 4000000000\n")),
                HasSubstr("vertex index 4000000000 is out of range, it has 3 vertices"));
    const std::string obj = "v 0 0 0\nv 1 0 0\nv 0 1 0\n";
    EXPECT_THAT(complaint(folder.write("far.obj", obj + "f 1 2 4000000000\n")),
                HasSubstr("line 4: vertex index 4000000000 is out of range, the file has 3 vertices"));
    EXPECT_THAT(complaint(folder.write("near.obj", obj + "f 1 2 -4000000000\n")),
                HasSubstr("line 4: vertex index -4000000000 is out of range"));
    EXPECT_THAT(complaint(folder.write("wrap.obj", obj + "f 1 2 18446744073709551617\n")), HasSubstr("line 4: "));
    KivModel model;
    std::wstring message;
    ASSERT_TRUE(kivImportModels({kivFromUtf8(folder.write("normal.obj", obj + "f 1//1 2//1 3//4000000000\n"))},
                                KivModelOptions(), model, message));
    ASSERT_EQ(model.warnings.size(), 1U);
    EXPECT_THAT(kivToUtf8(model.warnings[0]),
                HasSubstr("line 4: normal index 4000000000 is out of range, the file has 0; left out are 3"));
    EXPECT_THAT(complaint(folder.write("line.obj", obj + "l 1 4000000000\n")), HasSubstr("is out of range"));
}

// Assimp reads on for ever in the first, and in the second makes one vertex of each number between 0 and a NaN.
TEST(ModelImport, WhatAssimpDoesNotSurviveIsOneLine) {
    const TestFolder folder;
    EXPECT_THAT(complaint(folder.write("cut.ply", "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\n")),
                EndsWith("\": it is cut off within its header, which has no end_header"));
    std::string dae = boxDae();
    const std::size_t index = dae.find("<p>") + 5;
    dae.replace(index, 1, "nan");
    KivModelOptions options;
    options.maxReaderMemory = std::uint64_t{300} << 20;
    EXPECT_THAT(complaint(folder.write("nan.dae", dae), options), EndsWith("\": it needs more memory than 315 MB"));
}

TEST(ModelImport, ATextThatIsCutOffIsToldAndShown) {
    const TestFolder folder;
    const std::string whole = boxPly();
    EXPECT_TRUE(import({folder.write("whole.ply", whole)}).warnings.empty());
    const auto warningOf = [&folder](const std::string& text) {
        const std::string path = folder.write("cut.ply", text);
        const KivModel model = import({path});
        const std::string head = "\"" + path + "\": ";
        EXPECT_EQ(model.warnings.size(), 1U);
        const std::string line = model.warnings.empty() ? "" : kivToUtf8(model.warnings.front());
        EXPECT_THAT(line, StartsWith(head));
        return line.substr(std::min(line.size(), head.size()));
    };
    const std::size_t lastLine = whole.rfind('\n', whole.size() - 2) + 1;
    EXPECT_EQ(warningOf(whole.substr(0, lastLine)), "the file is cut off: of 6 elements \"face\" it has 5");
    EXPECT_EQ(warningOf(whole.substr(0, lastLine) + "4 3 0"), "the file is cut off: of 6 elements \"face\" it has 5");
    // Blank lines are none, and what comes behind the last element does no harm.
    std::string spaced = whole;
    for (std::size_t at = spaced.find("end_header"); (at = spaced.find('\n', at)) != std::string::npos; at += 3) {
        spaced.replace(at, 1, "\n \n");
    }
    EXPECT_TRUE(import({folder.write("spaced.ply", spaced + "more\n")}).warnings.empty());
}

TEST(ModelImport, TexturesOfAnObjFileAreReadElsewhere) {
    const TestFolder folder;
    folder.write("m.mtl", "newmtl a\nKd 1 1 1\nmap_Kd ../t/tiles.bmp\n");
    std::filesystem::create_directory(folder.path("m"));
    std::filesystem::create_directory(folder.path("t"));
    folder.write("t/tiles.bmp", redBlueBmp());
    std::filesystem::rename(folder.path("m.mtl"), folder.path("m/m.mtl"));
    const std::string path = folder.write("m/a.obj", "mtllib m.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl a\nf 1 2 3\n");
    EXPECT_EQ(import({path}).scene->getMesh(0)->getMaterial()->getDiffuse(), 0x800080U);
    // Without the program that reads pictures the model still comes.
    KivModelOptions options;
    options.readerProgram = L"/gone/selvarin-reader";
    const KivModel model = import({path}, options);
    EXPECT_EQ(model.scene->getMesh(0)->getMaterial()->getDiffuse(), 0xFFFFFFU);
    ASSERT_EQ(model.warnings.size(), 1U);
    EXPECT_THAT(kivToUtf8(model.warnings[0]),
                EndsWith("\": its textures are left out: the program that reads such files is missing: "
                         "/gone/selvarin-reader"));
}

TEST(ModelImport, CanBeCancelledWhileTextIsReadAndScenesAreBuilt) {
    const TestFolder folder;
    std::string text;
    for (int i = 0; i < 200'000; ++i) {
        text += "v " + std::to_string(i % 450) + " " + std::to_string(i / 450) + " 0\n";
    }
    for (int i = 1; i + 451 < 200'000; ++i) {
        text += "f " + std::to_string(i) + " " + std::to_string(i + 1) + " " + std::to_string(i + 450) + "\n";
    }
    const std::string path = folder.write("large.obj", text);
    KivModelOptions options;
    std::vector<double> seen;
    options.progress = [&seen](double done) {
        seen.push_back(done);
        return true;
    };
    import({path}, options);
    ASSERT_GE(seen.size(), 3U);
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
    EXPECT_GT(seen.back(), 0.8) << "the scene is built";
    EXPECT_LE(seen.back(), 1.0);
    for (const double end : {0.0, 0.8}) {
        options.progress = [end](double done) { return done <= end; };
        KivModel model;
        std::wstring message = L"of another import";
        EXPECT_FALSE(kivImportModels({kivFromUtf8(path)}, options, model, message));
        EXPECT_EQ(message, L"");
        EXPECT_EQ(model.scene, nullptr);
    }
}

TEST(ModelImport, BoundsOfFileAndElements) {
    const TestFolder folder;
    KivModelOptions options;
    options.maxFileSize = 50;
    const std::string path = folder.write("b.obj", boxObj);
    const std::string size = std::to_string(std::strlen(boxObj));
    EXPECT_EQ(complaint(path, options),
              "can't use \"" + path + "\": it is too large: " + size + " bytes, at most 50 are read");
    options = {};
    options.maxElements = 11;
    const std::string reason = "\": it is too large: more than 11 triangles, lines or points";
    EXPECT_EQ(complaint(path, options), "can't use \"" + path + reason);
    const std::string stl = folder.write("b.stl", boxStl());
    EXPECT_EQ(complaint(stl, options), "can't use \"" + stl + reason);
    options.maxElements = 12;
    EXPECT_EQ(import({path}, options).files.at(0).triangles, 12U);
    // The bound holds for all files together.
    KivModel model;
    std::wstring message;
    EXPECT_FALSE(kivImportModels({kivFromUtf8(path), kivFromUtf8(stl)}, options, model, message));
}

TEST(ModelImport, NoFileAtAll) {
    KivModel model;
    std::wstring message;
    EXPECT_FALSE(kivImportModels({}, {}, model, message));
    EXPECT_EQ(message, L"there is no model to read");
}
