// Textures and colours at vertices, from files to meshes.
#include "boxmodels.h"
#include "import/kivmodelimport.h"
#include "import/kivmodelobjects.h"
#include "import/normals.h"
#include "importtestfiles.h"
#include "importtestpictures.h"
#include "kivrender/platform/kivimage.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshpaint.h"

#include <algorithm>
#include <array>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using Place = std::array<float, 3>;

KivModel import(const std::string& path, const KivModelOptions& options = {}) {
    KivModel model;
    std::wstring message;
    EXPECT_TRUE(kivImportModels({kivFromUtf8(path)}, options, model, message)) << kivToUtf8(message);
    return model;
}

std::string fourColours() {
    return pngOf(2, 2, {{200, 0, 0, 255}, {0, 200, 0, 255}, {0, 0, 200, 255}, {90, 90, 90, 0}});
}

// Two triangles that share a side; the texture begins anew there if it has a seam.
std::string quadObj(bool hasSeam) {
    return std::string("mtllib m.mtl\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nvt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\nvt 0.5 0.5\n"
                       "usemtl a\nf 1/1 2/2 3/3\n") +
           (hasSeam ? "f 1/5 3/5 4/4\n" : "f 1/1 3/3 4/4\n");
}

std::vector<std::uint8_t> pixelAt(const KivTexture& texture, int x, int y) {
    const auto at = texture.pixels.begin() + 4 * (y * texture.width + x);
    return {at, at + 4};
}

TEST(Textures, WhatStandsTwiceIsPaintedTwice) {
    const TestFolder folder;
    const std::string model =
        R"(<?xml version="1.0"?><model unit="millimeter" xmlns="http://schemas.microsoft.com/3dmanufacturing/core/2015/02" )"
        R"(xmlns:m="http://schemas.microsoft.com/3dmanufacturing/material/2015/02"><resources><m:colorgroup id="5">)"
        R"(<m:color color="#FF0000"/><m:color color="#00FF00"/><m:color color="#0000FF"/></m:colorgroup>)"
        R"(<object id="1" type="model"><mesh><vertices><vertex x="0" y="0" z="0"/><vertex x="1" y="0" z="0"/>)"
        R"(<vertex x="0" y="2" z="0"/><vertex x="0" y="0" z="3"/></vertices><triangles>)"
        R"(<triangle v1="0" v2="2" v3="1" pid="5" p1="0" p2="1" p3="2"/><triangle v1="0" v2="1" v3="3" pid="5" p1="0" p2="1" p3="2"/>)"
        R"(<triangle v1="0" v2="3" v3="2" pid="5" p1="0" p2="1" p3="2"/><triangle v1="1" v2="2" v3="3" pid="5" p1="0" p2="1" p3="2"/>)"
        R"(</triangles></mesh></object></resources><build><item objectid="1"/>)"
        R"(<item objectid="1" transform="1 0 0 0 1 0 0 0 1 10 0 0"/></build></model>)";
    const KivModel read = import(folder.write("twice.3mf", zipOf(packageOf3mf(model))));
    ASSERT_EQ(read.scene->numMeshes(), 2U);
    for (unsigned int i = 0; i < 2; ++i) {
        const KivMesh& mesh = *read.scene->getMesh(i);
        ASSERT_NE(kivMeshPaint(mesh), nullptr) << i;
        EXPECT_EQ(kivMeshPaint(mesh)->coordinates.size(), mesh.getNumVertexs());
    }
}

TEST(Textures, OfAnObjFileComeWithTheirPlaces) {
    const TestFolder folder;
    folder.write("m.mtl", "newmtl a\nKd 1 0.5 1\nmap_Kd t.png\n");
    folder.write("t.png", fourColours());
    const KivModel model = import(folder.write("a.obj", quadObj(false)));
    EXPECT_TRUE(model.warnings.empty());
    const KivMesh& mesh = *model.scene->getMesh(0);
    const auto paint = kivMeshPaint(mesh);
    ASSERT_NE(paint, nullptr);
    ASSERT_EQ(mesh.getNumVertexs(), 4U);
    EXPECT_THAT(paint->coordinates, ElementsAre(Place{0, 1, 0}, Place{1, 1, 0}, Place{1, 0, 0}, Place{0, 0, 0}))
        << "counted from the upper left corner";
    EXPECT_EQ(paint->factor, (std::array<double, 3>{1.0, 0.5, 1.0}));
    ASSERT_NE(paint->texture, nullptr);
    EXPECT_EQ(paint->texture->width, 2);
    EXPECT_THAT(pixelAt(*paint->texture, 1, 0), ElementsAre(0, 200, 0, 255));
    EXPECT_THAT(pixelAt(*paint->texture, 1, 1), ElementsAre(90, 90, 90, 0));
    EXPECT_EQ(paint->texture->cutOut, 0.5) << "as it has transparent pixels";
    EXPECT_EQ(mesh.getMaterial()->getTextureMode(), KivMaterial::bitmapTexture);
}

TEST(Textures, VerticesAreApartAtASeamAlone) {
    const TestFolder folder;
    folder.write("m.mtl", "newmtl a\nmap_Kd t.png\n");
    folder.write("t.png", fourColours());
    const KivModel model = import(folder.write("a.obj", quadObj(true)));
    const KivMesh& mesh = *model.scene->getMesh(0);
    ASSERT_EQ(mesh.getNumVertexs(), 6U);
    const auto paint = kivMeshPaint(mesh);
    ASSERT_NE(paint, nullptr);
    unsigned int corner[3] = {};
    mesh.getTriangle(corner, 1);
    EXPECT_EQ(paint->coordinates[corner[0]], (Place{0.5, 0.5, 0}));
    EXPECT_EQ(paint->coordinates[corner[2]], (Place{0, 0, 0}));
    // Without a picture the places would only cut the mesh up.
    folder.write("m.mtl", "newmtl a\nKd 1 0 0\n");
    const KivModel plain = import(folder.path("a.obj"));
    EXPECT_EQ(plain.scene->getMesh(0)->getNumVertexs(), 4U);
    EXPECT_EQ(kivMeshPaint(*plain.scene->getMesh(0)), nullptr);
}

TEST(Textures, PlacesThatAreNoneCostNothing) {
    const TestFolder folder;
    folder.write("m.mtl", "newmtl a\nmap_Kd t.png\n");
    folder.write("t.png", fourColours());
    const KivModel model =
        import(folder.write("a.obj", "vt 9 9\nmtllib m.mtl\nv 0 0 0\nv 1 0 0\nv 1 1 0\nvt 0 x\nvt 1 0\n"
                                     "vt nan 1\nusemtl a\nf 1/2 2/-2 3/77\n"));
    const auto paint = kivMeshPaint(*model.scene->getMesh(0));
    ASSERT_NE(paint, nullptr);
    EXPECT_THAT(paint->coordinates, ElementsAre(Place{0, 1, 0}, Place{1, 1, 0}, Place{0, 0, 0}));
}

TEST(Textures, ThatCantBeUsedAreToldInALineEach) {
    const TestFolder folder;
    const std::string path = folder.write("a.obj", quadObj(false));
    const auto warningOf = [&](const std::string& mtl) {
        folder.write("m.mtl", mtl);
        const KivModel model = import(path);
        EXPECT_EQ(kivMeshPaint(*model.scene->getMesh(0)), nullptr);
        EXPECT_EQ(model.scene->getMesh(0)->getMaterial()->getDiffuse(), 0x0000FFU) << "in its own colour";
        return model.warnings.size() == 1 ? kivToUtf8(model.warnings[0]) : std::to_string(model.warnings.size());
    };
    EXPECT_THAT(warningOf("newmtl a\nKd 1 0 0\nmap_Kd gone.png\n"),
                EndsWith("\": texture \"gone.png\" is left out: there is no such file"));
    folder.write("b.png", "no picture");
    EXPECT_THAT(warningOf("newmtl a\nKd 1 0 0\nmap_Kd b.png\n"),
                EndsWith("\": texture \"b.png\" is left out: it is no picture that can be read"));
    folder.write("cut.png", fourColours().substr(0, 60));
    EXPECT_THAT(warningOf("newmtl a\nKd 1 0 0\nmap_Kd cut.png\n"),
                EndsWith("\": texture \"cut.png\" is left out: it is no picture that can be read"));
    std::string huge = fourColours();
    huge.replace(16, 8, std::string("\0\0\x75\x30\0\0\x75\x30", 8)); // says that it has 30000 by 30000 pixels
    folder.write("huge.png", huge);
    EXPECT_THAT(warningOf("newmtl a\nKd 1 0 0\nmap_Kd huge.png\n"),
                HasSubstr("\": texture \"huge.png\" is left out: it is"));
}

TEST(Textures, ManyThatAreMissingAreToldTogether) {
    const TestFolder folder;
    std::string mtl;
    std::string obj = "mtllib m.mtl\nv 0 0 0\nv 1 0 0\nv 1 1 0\n";
    for (int i = 0; i < 30; ++i) {
        mtl += "newmtl m" + std::to_string(i) + "\nmap_Kd t" + std::to_string(i) + ".png\n";
        obj += "usemtl m" + std::to_string(i) + "\nf 1 2 3\n";
    }
    folder.write("m.mtl", mtl);
    const KivModel model = import(folder.write("a.obj", obj));
    ASSERT_EQ(model.warnings.size(), 9U);
    EXPECT_THAT(kivToUtf8(model.warnings.back()), EndsWith("\": further textures are left out"));
}

TEST(Textures, LargePicturesAreReduced) {
    const TestFolder folder;
    const std::vector<std::array<std::uint8_t, 4>> pixels(5000, {10, 120, 250, 255});
    folder.write("m.mtl", "newmtl a\nmap_Kd t.png\n");
    folder.write("t.png", pngOf(5000, 1, pixels));
    const KivModel model = import(folder.write("a.obj", quadObj(false)));
    const auto paint = kivMeshPaint(*model.scene->getMesh(0));
    ASSERT_NE(paint, nullptr);
    EXPECT_EQ(paint->texture->width, 1667) << "three pixels in one, as 2048 are the most";
    EXPECT_EQ(paint->texture->height, 1);
    EXPECT_THAT(pixelAt(*paint->texture, 1666, 0), ElementsAre(10, 120, 250, 255));
    EXPECT_EQ(paint->texture->cutOut, 0.0);
}

// A square with places in its texture, or with colours.
std::string squareGltf(const std::string& material, const std::string& attribute, const std::vector<float>& values,
                       int each) {
    std::string buffer;
    for (const float v : {0.0F, 0.0F, 0.0F, 1.0F, 0.0F, 0.0F, 1.0F, 1.0F, 0.0F, 0.0F, 1.0F, 0.0F}) {
        append(buffer, &v, sizeof v);
    }
    for (const float v : values) {
        append(buffer, &v, sizeof v);
    }
    for (const std::uint16_t i : {0, 1, 2, 0, 2, 3}) {
        append(buffer, &i, sizeof i);
    }
    const std::string type = each == 2 ? "VEC2" : "VEC3";
    const std::string more = std::to_string(4 * 4 * each);
    return "{\"asset\":{\"version\":\"2.0\"},\"scene\":0,\"scenes\":[{\"nodes\":[0]}],\"nodes\":[{\"mesh\":0}],"
           "\"meshes\":[{\"primitives\":[{\"attributes\":{\"POSITION\":0,\"" +
           attribute + "\":1},\"indices\":2" + (material.empty() ? "" : ",\"material\":0") + "}]}]," + material +
           "\"buffers\":[{\"byteLength\":" + std::to_string(buffer.size()) +
           ",\"uri\":\"data:application/octet-stream;base64," + base64(buffer) +
           "\"}],\"bufferViews\":[{\"buffer\":0,\"byteOffset\":0,\"byteLength\":48},{\"buffer\":0,\"byteOffset\":48,"
           "\"byteLength\":" +
           more + "},{\"buffer\":0,\"byteOffset\":" + std::to_string(48 + 16 * each) +
           ",\"byteLength\":12}],\"accessors\":[{\"bufferView\":0,\"componentType\":5126,\"count\":4,\"type\":\"VEC3\","
           "\"min\":[0,0,0],\"max\":[1,1,0]},{\"bufferView\":1,\"componentType\":5126,\"count\":4,\"type\":\"" +
           type + "\"},{\"bufferView\":2,\"componentType\":5123,\"count\":6,\"type\":\"SCALAR\"}]}";
}

std::string embedded(const std::string& picture, const std::string& inMaterial = "", const std::string& sampler = "") {
    return "\"materials\":[{\"name\":\"skin\"," + inMaterial +
           "\"pbrMetallicRoughness\":{\"baseColorTexture\":{\"index\":0}}}],\"textures\":[{\"source\":0" +
           (sampler.empty() ? "" : ",\"sampler\":0") + "}]," +
           (sampler.empty() ? "" : "\"samplers\":[" + sampler + "],") +
           "\"images\":[{\"uri\":\"data:image/png;base64," + base64(picture) + "\"}],";
}

const std::vector<float> corners{0, 1, 1, 1, 1, 0, 0, 0};

TEST(Textures, EmbeddedInAGltfFile) {
    const TestFolder folder;
    const KivModel model =
        import(folder.write("a.gltf", squareGltf(embedded(fourColours(), "", "{\"wrapS\":33071,\"wrapT\":33648}"),
                                                 "TEXCOORD_0", corners, 2)));
    EXPECT_TRUE(model.warnings.empty());
    const auto paint = kivMeshPaint(*model.scene->getMesh(0));
    ASSERT_NE(paint, nullptr);
    ASSERT_NE(paint->texture, nullptr);
    EXPECT_THAT(paint->coordinates, ElementsAre(Place{0, 1, 0}, Place{1, 1, 0}, Place{1, 0, 0}, Place{0, 0, 0}));
    EXPECT_EQ(paint->texture->wrapU, KivTexture::Wrap::clamp);
    EXPECT_EQ(paint->texture->wrapV, KivTexture::Wrap::mirror);
    EXPECT_EQ(paint->texture->cutOut, 0.0) << "an opaque material's alpha means nothing";
    EXPECT_THAT(pixelAt(*paint->texture, 0, 0), ElementsAre(200, 0, 0, 255));
    const KivModel masked = import(
        folder.write("b.gltf", squareGltf(embedded(fourColours(), "\"alphaMode\":\"MASK\",\"alphaCutoff\":0.25,"),
                                          "TEXCOORD_0", corners, 2)));
    EXPECT_EQ(kivMeshPaint(*masked.scene->getMesh(0))->texture->cutOut, 0.25);
}

// From nothing on the left to all on the right, or with a step between the two.
std::string alphaAcross(bool hasStep) {
    std::vector<std::array<std::uint8_t, 4>> row;
    for (int x = 0; x < 32; ++x) {
        row.push_back({200, 0, 0, static_cast<std::uint8_t>(hasStep ? (x < 16 ? 0 : 255) : 8 * x)});
    }
    return pngOf(32, 1, row);
}

TEST(Textures, AnAlphaThatFadesIsSoftUnlessTheFileCutsItOut) {
    const TestFolder folder;
    const auto textureOf = [&folder](const std::string& picture, const std::string& mode) {
        const KivModel model = import(folder.write(
            "a.gltf", squareGltf(embedded(picture, "\"alphaMode\":\"" + mode + "\","), "TEXCOORD_0", corners, 2)));
        return kivMeshPaint(*model.scene->getMesh(0))->texture;
    };
    EXPECT_TRUE(textureOf(alphaAcross(false), "BLEND")->soft);
    EXPECT_EQ(textureOf(alphaAcross(false), "BLEND")->cutOut, 0.5);
    EXPECT_FALSE(textureOf(alphaAcross(true), "BLEND")->soft);
    EXPECT_FALSE(textureOf(alphaAcross(false), "MASK")->soft);
    EXPECT_FALSE(textureOf(alphaAcross(false), "OPAQUE")->soft);
    folder.write("m.mtl", "newmtl a\nmap_Kd t.png\n");
    folder.write("t.png", alphaAcross(false));
    const KivModel model = import(folder.write("a.obj", quadObj(false)));
    EXPECT_TRUE(kivMeshPaint(*model.scene->getMesh(0))->texture->soft) << "OBJ knows no way to say more";
}

TEST(Textures, BrokenInAGltfFileIsToldAndDrawnInItsColour) {
    const TestFolder folder;
    const KivModel model = import(folder.write("a.gltf", squareGltf(embedded("no picture"), "TEXCOORD_0", corners, 2)));
    EXPECT_EQ(kivMeshPaint(*model.scene->getMesh(0)), nullptr);
    ASSERT_EQ(model.warnings.size(), 1U);
    EXPECT_THAT(kivToUtf8(model.warnings[0]), HasSubstr("is left out: it is no picture that can be read"));
}

// The reader is confined to the model's folder, wherever names lead.
TEST(Textures, OutsideTheFolderOfAGltfFileAreMissing) {
    const TestFolder folder;
    std::filesystem::create_directory(folder.path("m"));
    folder.write("t.png", fourColours());
    std::string text = squareGltf(embedded("x"), "TEXCOORD_0", corners, 2);
    const std::size_t at = text.find("data:image");
    text.replace(at, text.find('"', at) - at, "../t.png");
    const KivModel model = import(folder.write("m/a.gltf", text));
    EXPECT_EQ(kivMeshPaint(*model.scene->getMesh(0)), nullptr);
    ASSERT_EQ(model.warnings.size(), 1U);
    EXPECT_THAT(kivToUtf8(model.warnings[0]), EndsWith("is left out: there is no such file beside the model"));
}

TEST(Textures, WhatElseAFileHasIsToldOnce) {
    const TestFolder folder;
    const std::string normals = "\"normalTexture\":{\"index\":0},\"emissiveTexture\":{\"index\":0},";
    const KivModel model =
        import(folder.write("a.gltf", squareGltf(embedded(fourColours(), normals), "TEXCOORD_0", corners, 2)));
    ASSERT_EQ(model.warnings.size(), 1U);
    EXPECT_THAT(kivToUtf8(model.warnings[0]),
                EndsWith("\": it has normal maps and textures of light, which are not drawn"));
}

// The factor of a texture of light is no light of the whole surface.
TEST(Textures, ATextureOfLightDoesNotLightTheWholeSurface) {
    const TestFolder folder;
    const auto emissionOf = [&](const std::string& light) {
        const KivModel model =
            import(folder.write("a.gltf", squareGltf(embedded(fourColours(), light), "TEXCOORD_0", corners, 2)));
        return model.scene->getMesh(0)->getMaterial()->getEmission();
    };
    const std::string factor = "\"emissiveFactor\":[1,1,1],";
    EXPECT_EQ(emissionOf(factor), 0xFFFFFFU);
    EXPECT_EQ(emissionOf(factor + "\"emissiveTexture\":{\"index\":0},"), 0U);
}

TEST(VertexColours, OfAGltfFileAreThoseOfAScreen) {
    const TestFolder folder;
    const KivModel model =
        import(folder.write("a.gltf", squareGltf("", "COLOR_0", {0.2158605F, 0, 0, 1, 0, 0, 1, 1, 0, 0, 0, 1}, 3)));
    const auto paint = kivMeshPaint(*model.scene->getMesh(0));
    ASSERT_NE(paint, nullptr);
    EXPECT_EQ(paint->texture, nullptr);
    EXPECT_NEAR(paint->coordinates[0][0], 0.5, 0.003) << "linear light becomes what a screen shows";
    EXPECT_EQ(paint->coordinates[2], (Place{1, 1, 0}));
    EXPECT_EQ(paint->factor, (std::array<double, 3>{1, 1, 1}));
}

std::string colouredPly(const char* second) {
    return std::string("ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\nproperty float z\n"
                       "property uchar red\nproperty uchar green\nproperty uchar blue\nelement face 1\n"
                       "property list uchar int vertex_indices\nend_header\n0 0 0 255 0 0\n1 0 0 ") +
           second + "\n0 1 0 255 0 0\n3 0 1 2\n";
}

TEST(VertexColours, OfAPlyFile) {
    const TestFolder folder;
    const KivModel model = import(folder.write("a.ply", colouredPly("0 0 255")));
    const KivMesh& mesh = *model.scene->getMesh(0);
    const auto paint = kivMeshPaint(mesh);
    ASSERT_NE(paint, nullptr);
    EXPECT_THAT(paint->coordinates, ElementsAre(Place{1, 0, 0}, Place{0, 0, 1}, Place{1, 0, 0}));
    EXPECT_EQ(mesh.getMaterial()->getDiffuse(), 0x5500AAU) << "their mean, for what paints in one colour";
    const KivModel plain = import(folder.write("b.ply", colouredPly("255 0 0")));
    EXPECT_EQ(kivMeshPaint(*plain.scene->getMesh(0)), nullptr) << "one colour needs none";
    EXPECT_EQ(plain.scene->getMesh(0)->getMaterial()->getDiffuse(), 0x0000FFU);
}

TEST(VertexColours, OfAnObjFile) {
    const TestFolder folder;
    const KivModel model = import(folder.write("a.obj", "v 0 0 0 1 0 0\nv 1 0 0 0 0 1\nv 0 1 0 0 1 0\nf 1 2 3\n"));
    const auto paint = kivMeshPaint(*model.scene->getMesh(0));
    ASSERT_NE(paint, nullptr);
    EXPECT_THAT(paint->coordinates, ElementsAre(Place{1, 0, 0}, Place{0, 0, 1}, Place{0, 1, 0}));
    EXPECT_EQ(model.scene->getMesh(0)->getMaterial()->getDiffuse(), 0x555555U);
    // A weight behind the coordinates is none, nor are words.
    for (const char* const text :
         {"v 0 0 0 1\nv 1 0 0 1\nv 0 1 0 1\nf 1 2 3\n", "v 0 0 0 red\nv 1 0 0\nv 0 1 0\nf 1 2 3\n"}) {
        EXPECT_EQ(kivMeshPaint(*import(folder.write("b.obj", text)).scene->getMesh(0)), nullptr);
    }
}

TEST(VertexColours, AnObjectThatGetsAColourHasNoOther) {
    const TestFolder folder;
    KivModel model = import(folder.write("a.ply", colouredPly("0 0 255")));
    KivObjectChoice choice;
    choice.colours.emplace_back(L"*", 0x00FF00U);
    kivChooseObjects(model, choice);
    EXPECT_EQ(kivMeshPaint(*model.scene->getMesh(0)), nullptr);
    EXPECT_EQ(model.scene->getMesh(0)->getMaterial()->getDiffuse(), 0x00FF00U);
}

// Corners of one place and one normal are one vertex if they have one colour, however often the file repeats it.
TEST(VertexColours, EqualOnesAreWelded) {
    kivimport::Surface surface;
    surface.positions = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}};
    surface.corners = {0, 1, 2, 3, 5, 4};
    surface.parts.push_back({"", kivimport::noIndex, kivimport::noIndex});
    surface.isPaintColour = true;
    surface.paint = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 1, 0}, {1, 1, 1}, {0, 0, 0}};
    surface.cornerPaint = surface.corners;
    EXPECT_EQ(kivimport::weldSurface(surface), 0U);
    const kivimport::SurfaceVertices vertices = kivimport::makeVertices(surface, 45.0);
    EXPECT_EQ(vertices.normals.size(), 5U) << "blue and white meet at one place";
    ASSERT_EQ(vertices.paint.size(), 5U);
    EXPECT_EQ(vertices.corners[1], vertices.corners[3]) << "green is green";
    EXPECT_NE(vertices.corners[2], vertices.corners[5]);
}

} // namespace
