#include "import/reader/threemfreader.h"

#include "../boxmodels.h"
#include "../importtestfiles.h"
#include "../importtestpictures.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace kivimport;
using testing::ElementsAre;

const std::string core = "http://schemas.microsoft.com/3dmanufacturing/core/2015/02";
const std::string production = "http://schemas.microsoft.com/3dmanufacturing/production/2015/06";
const std::string materials = "http://schemas.microsoft.com/3dmanufacturing/material/2015/02";

std::string modelText(const std::string& unit, const std::string& resources, const std::string& build) {
    return "<?xml version=\"1.0\"?><model unit=\"" + unit + "\" xmlns=\"" + core + "\" xmlns:p=\"" + production +
           "\" xmlns:m=\"" + materials + "\"><resources>" + resources + "</resources><build>" + build +
           "</build></model>";
}

// A tetrahedron with its right angle at the origin. properties: of the object, of each of its triangles.
std::string corner(int id, const std::string& name, const std::string& objectProperties = "",
                   const std::vector<std::string>& triangleProperties = std::vector<std::string>(4)) {
    std::string text = "<object id=\"" + std::to_string(id) + "\" type=\"model\"" +
                       (name.empty() ? "" : " name=\"" + name + "\"") + " " + objectProperties +
                       "><mesh><vertices><vertex x=\"0\" y=\"0\" z=\"0\"/><vertex x=\"1\" y=\"0\" z=\"0\"/>"
                       "<vertex x=\"0\" y=\"2\" z=\"0\"/><vertex x=\"0\" y=\"0\" z=\"3\"/></vertices><triangles>";
    const char* const triangles[] = {R"(v1="0" v2="2" v3="1")", R"(v1="0" v2="1" v3="3")", R"(v1="0" v2="3" v3="2")",
                                     R"(v1="1" v2="2" v3="3")"};
    for (std::size_t i = 0; i < 4; ++i) {
        text += std::string("<triangle ") + triangles[i] + " " + triangleProperties[i] + "/>";
    }
    return text + "</triangles></mesh></object>";
}

std::string component(int id, const std::string& transform = "", const std::string& more = "") {
    return "<component objectid=\"" + std::to_string(id) + "\"" +
           (transform.empty() ? "" : " transform=\"" + transform + "\"") + more + "/>";
}
std::string components(int id, const std::string& name, const std::string& content) {
    return "<object id=\"" + std::to_string(id) + "\" type=\"model\" name=\"" + name + "\"><components>" + content +
           "</components></object>";
}
std::string item(int id, const std::string& transform = "") {
    return "<item objectid=\"" + std::to_string(id) + "\"" +
           (transform.empty() ? "" : " transform=\"" + transform + "\"") + "/>";
}

class ThreeMfReader : public testing::Test {
protected:
    ModelParts read(const std::string& model, const std::vector<ZipEntry>& more = {}, std::uint64_t most = 1000) {
        std::vector<ZipEntry> entries = packageOf3mf(model);
        entries.insert(entries.end(), more.begin(), more.end());
        SilentReport report;
        return readThreeMf(folder.write("model.3mf", zipOf(entries)), {most}, report);
    }

    const TestFolder folder;
};

double volumeOf(const ModelParts& parts, const SurfaceInstance& instance) {
    Surface surface = parts.surfaces.at(instance.surface);
    for (Vec3& position : surface.positions) {
        position = instance.placed(position);
    }
    return signedVolume(surface);
}

TEST_F(ThreeMfReader, UnitsAreBelieved) {
    const struct {
        const char* name;
        double metres;
    } units[] = {{"micron", 1e-6}, {"millimeter", 1e-3}, {"centimeter", 1e-2},
                 {"inch", 0.0254}, {"foot", 0.3048},     {"meter", 1.0}};
    for (const auto& unit : units) {
        const ModelParts parts = read(modelText(unit.name, corner(1, "a"), item(1)));
        EXPECT_EQ(parts.metresPerUnit, unit.metres) << unit.name;
        EXPECT_TRUE(parts.zUp);
        EXPECT_EQ(parts.numTriangles(), 4U);
    }
}

TEST_F(ThreeMfReader, WhatStandsTwiceIsReadOnceAndNamedByItsPath) {
    const ModelParts parts = read(modelText(
        "millimeter",
        corner(1, "wheel") + components(2, "axle", component(1) + component(1, "0 1 0 -1 0 0 0 0 1 10 20 30")),
        item(2) + item(2, "2 0 0 0 2 0 0 0 2 0 0 0")));
    ASSERT_EQ(parts.surfaces.size(), 1U);
    ASSERT_EQ(parts.instances.size(), 4U);
    EXPECT_NEAR(volumeOf(parts, parts.instances[0]), 1.0, 1e-9);
    EXPECT_NEAR(volumeOf(parts, parts.instances[3]), 8.0, 1e-6);
    // Rows of the file are where the axes lead: x to y.
    EXPECT_EQ(parts.instances[1].placed({1.0, 0.0, 0.0}), (Vec3{10.0, 21.0, 30.0}));
    EXPECT_EQ(parts.instances[3].placed({1.0, 0.0, 0.0}), (Vec3{20.0, 42.0, 60.0}));
    const Node& wheel = parts.nodes.at(parts.instances[1].node);
    EXPECT_EQ(wheel.name, "wheel");
    EXPECT_EQ(parts.nodes.at(wheel.parent).name, "axle");
}

TEST_F(ThreeMfReader, MirroredAndStretchedPlacesKeepTheOutsideOut) {
    const ModelParts parts = read(modelText("millimeter", corner(1, "a"),
                                            item(1, "-1 0 0 0 1 0 0 0 1 0 0 0") + item(1, "1 0 0 0 1 0 0 0 5 0 0 0")));
    ASSERT_EQ(parts.instances.size(), 2U);
    EXPECT_NEAR(volumeOf(parts, parts.instances[0]), 1.0, 1e-6);
    EXPECT_NEAR(volumeOf(parts, parts.instances[1]), 5.0, 1e-6);
}

TEST_F(ThreeMfReader, PartsOfThePackageAreFollowed) {
    const std::string other = modelText("millimeter", corner(7, "from elsewhere"), "");
    const ModelParts parts =
        read(modelText("millimeter", components(1, "all", component(7, "", " p:path=\"/3D/other.model\"")), item(1)),
             {{"3D/other.model", other},
              {"3D/_rels/3dmodel.model.rels",
               "<?xml version=\"1.0\"?><Relationships "
               "xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\"><Relationship "
               "Target=\"/3D/other.model\" Id=\"rel1\" "
               "Type=\"http://schemas.microsoft.com/3dmanufacturing/2013/01/3dmodel\"/></Relationships>"}});
    EXPECT_EQ(parts.numTriangles(), 4U);
    ASSERT_EQ(parts.instances.size(), 1U);
    EXPECT_EQ(parts.nodes.at(parts.instances[0].node).name, "from elsewhere");
}

std::vector<Colour> coloursOfTriangles(const ModelParts& parts) {
    std::vector<Colour> colours;
    for (const std::uint32_t part : parts.surfaces.at(0).triangleParts) {
        const std::uint32_t material = parts.surfaces[0].parts.at(part).material;
        colours.push_back(material == noIndex ? Colour{-1.0, -1.0, -1.0} : parts.materials.at(material).diffuse);
    }
    return colours;
}

TEST_F(ThreeMfReader, BaseMaterialsOfObjectsAndTriangles) {
    const ModelParts parts = read(modelText(
        "millimeter",
        R"(<basematerials id="5"><base name="red" displaycolor="#FF0000"/><base name="glass" displaycolor="#0000FF80"/></basematerials>)" +
            corner(1, "a", R"(pid="5" pindex="0")", {"", R"(pid="5" p1="1")", "", R"(pid="5" p1="1")"}),
        item(1)));
    const Colour red{1.0, 0.0, 0.0};
    const Colour blue{0.0, 0.0, 1.0};
    EXPECT_THAT(coloursOfTriangles(parts), ElementsAre(red, blue, red, blue));
    ASSERT_EQ(parts.materials.size(), 2U);
    EXPECT_EQ(parts.materials[0].name, "red");
    EXPECT_EQ(parts.materials[1].name, "glass");
    EXPECT_NEAR(parts.materials[1].opacity, 128.0 / 255.0, 1e-9);
    EXPECT_TRUE(parts.surfaces[0].cornerPaint.empty());
}

TEST_F(ThreeMfReader, ColoursThatRunIntoEachOtherAreAPaint) {
    const ModelParts parts = read(modelText(
        "millimeter",
        R"(<m:colorgroup id="5"><m:color color="#FF0000"/><m:color color="#00FF00"/><m:color color="#0000FF"/></m:colorgroup>)" +
            corner(1, "a", R"(pid="5" pindex="1")", {"", R"(pid="5" p1="0" p2="1" p3="2")", "", R"(pid="5" p1="2")"}),
        item(1)));
    const Surface& surface = parts.surfaces.at(0);
    const std::vector<Colour> colours = coloursOfTriangles(parts);
    EXPECT_EQ(colours[0], (Colour{0.0, 1.0, 0.0}));
    EXPECT_EQ(colours[3], (Colour{0.0, 0.0, 1.0}));
    EXPECT_TRUE(surface.isPaintColour);
    ASSERT_EQ(surface.cornerPaint.size(), 12U);
    EXPECT_EQ(surface.cornerPaint[0], noIndex);
    EXPECT_EQ(surface.paint.at(surface.cornerPaint[3]), (Vec3{1.0, 0.0, 0.0}));
    EXPECT_EQ(surface.paint.at(surface.cornerPaint[4]), (Vec3{0.0, 1.0, 0.0}));
    EXPECT_EQ(surface.paint.at(surface.cornerPaint[5]), (Vec3{0.0, 0.0, 1.0}));
}

TEST_F(ThreeMfReader, TexturesComeWithTheirPlaces) {
    const std::string picture = pngOf(2, 2, {{200, 0, 0, 255}, {0, 200, 0, 255}, {0, 0, 200, 255}, {90, 90, 90, 255}});
    const std::string model = modelText(
        "millimeter",
        R"(<m:texture2d id="4" path="/3D/Textures/t.png" contenttype="image/png" tilestyleu="mirror" tilestylev="clamp"/>)"
        R"(<m:texture2dgroup id="5" texid="4"><m:tex2coord u="0.25" v="0"/><m:tex2coord u="1" v="0"/><m:tex2coord u="0" v="0.75"/></m:texture2dgroup>)" +
            corner(1, "a", "", {R"(pid="5" p1="0" p2="1" p3="2")", "", "", ""}),
        item(1));
    const ModelParts parts =
        read(model, {{"3D/Textures/t.png", picture},
                     {"3D/_rels/3dmodel.model.rels",
                      "<?xml version=\"1.0\"?><Relationships "
                      "xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\"><Relationship "
                      "Target=\"/3D/Textures/t.png\" Id=\"rel1\" "
                      "Type=\"http://schemas.microsoft.com/3dmanufacturing/2013/01/3dtexture\"/></Relationships>"}});
    const Surface& surface = parts.surfaces.at(0);
    const Material& material = parts.materials.at(surface.parts.at(surface.triangleParts[0]).material);
    ASSERT_NE(material.picture, noIndex);
    EXPECT_EQ(parts.pictures.at(material.picture).pixels,
              (std::vector<std::uint8_t>{200, 0, 0, 255, 0, 200, 0, 255, 0, 0, 200, 255, 90, 90, 90, 255}));
    EXPECT_EQ(material.wrapU, Wrap::mirror);
    EXPECT_EQ(material.wrapV, Wrap::clamp);
    EXPECT_FALSE(surface.isPaintColour);
    EXPECT_EQ(surface.paint.at(surface.cornerPaint.at(0)), (Vec3{0.25, 1.0, 0.0}));
    EXPECT_EQ(surface.paint.at(surface.cornerPaint.at(2)), (Vec3{0.0, 0.25, 0.0}));
    EXPECT_EQ(surface.cornerPaint.at(3), noIndex);
}

TEST_F(ThreeMfReader, ObjectsThatNoItemPlacesAreNotDrawn) {
    EXPECT_EQ(read(modelText("millimeter", corner(1, "a") + corner(2, "b"), item(2))).numTriangles(), 4U);
}

TEST_F(ThreeMfReader, HostileFilesEndWithALine) {
    // Each object is the one before it twice. lib3mf itself takes time by the number of places, which the reader's
    // process limits.
    const auto doubled = [](const std::string& first, int times) {
        std::string objects = first;
        for (int id = 2; id < 2 + times; ++id) {
            objects += components(id, "", component(id - 1) + component(id - 1));
        }
        return modelText("millimeter", objects, item(1 + times));
    };
    EXPECT_EQ(read(doubled(corner(1, "a"), 7)).instances.size(), 128U);
    EXPECT_THROW(read(doubled(corner(1, "a"), 8)), ImportError) << "1024 triangles, 1000 are allowed";
    const std::string empty = "<object id=\"1\" type=\"model\"><mesh><vertices/><triangles/></mesh></object>";
    EXPECT_TRUE(read(doubled(empty, 4)).surfaces.at(0).corners.empty());
    EXPECT_THROW(read(doubled(empty, 20)), ImportError);
    EXPECT_THROW(read(modelText("millimeter", corner(1, "a"), item(1)), {}, 3), ImportError);
    EXPECT_THROW(read(modelText("millimeter", corner(1, "a"), item(1, "1e38 0 0 0 1 0 0 0 1 1e38 0 0"))), ImportError);
    EXPECT_THROW(read("this is no model"), ImportError);
    SilentReport report;
    EXPECT_THROW(readThreeMf(folder.write("text.3mf", "no package"), {1000}, report), ImportError);
    EXPECT_THROW(readThreeMf(folder.path("gone.3mf"), {1000}, report), ImportError);
}

} // namespace
