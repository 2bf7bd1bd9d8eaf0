#include "import/offreader.h"

#include "boxmodels.h"
#include "importtestfiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace kivimport;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

ModelParts read(const std::string& text, std::uint64_t most = 1000) {
    return readOff(text, {most});
}

std::string complaint(const std::string& text) {
    try {
        read(text);
    } catch (const ImportError& error) {
        return error.what();
    }
    return "none";
}

Indices cornersOf(const std::string& text) {
    return read(text).surfaces.at(0).corners;
}

const std::string square = "0 0 0\n1 0 0\n1 1 0\n0 1 0\n";

} // namespace

TEST(OffReader, ReadsPolygons) {
    const ModelParts box = read(boxOff());
    ASSERT_EQ(box.surfaces.size(), 1U);
    EXPECT_EQ(box.surfaces[0].positions.size(), 8U);
    EXPECT_EQ(box.numTriangles(), 12U);
    EXPECT_DOUBLE_EQ(signedVolume(box.surfaces[0]), 6.0);
    EXPECT_EQ(box.format, "Object File Format");
    EXPECT_FALSE(box.zUp);
    EXPECT_THAT(box.warnings, ElementsAre());
}

TEST(OffReader, LinesEndWhereTheyLike) {
    const Indices quad{0, 1, 2, 0, 2, 3};
    EXPECT_EQ(cornersOf("OFF\n4 1 0\n" + square + "4 0\n1\n2\n3\n"), quad);
    EXPECT_EQ(cornersOf("OFF 4 1 0\n" + square + "4 0 1 2 3"), quad);
    EXPECT_EQ(cornersOf("OFF\n4\n1\n0\n0 0\n0 1 0 0 1 1 0 0 1\n0\n4\n0 1 2 3\n"), quad);
    EXPECT_EQ(cornersOf("# a square\nOFF # flat\n\n4 1 0\n# its corners\n" + square + "\n4 0 1 # half\n2 3\n"), quad);
    EXPECT_EQ(cornersOf("OFF\r\n4 1 0\r\n0 0 0\r\n1 0 0\r\n1 1 0\r\n0 1 0\r\n4 0 1 2 3\r\n"), quad);
}

TEST(OffReader, TheKeywordAndTheEdgesMayBeLeftOut) {
    const Indices quad{0, 1, 2, 0, 2, 3};
    EXPECT_EQ(cornersOf("4 1 0\n" + square + "4 0 1 2 3\n"), quad);
    EXPECT_EQ(cornersOf("OFF\n4 1\n" + square + "4 0 1 2 3\n"), quad);
}

TEST(OffReader, PositionsKeepTheirPlaces) {
    const Surface surface = read("OFF\n3 1 0\n1.5 -2 3e1\n4 5 6\n7 8 9\n3 2 1 0\n").surfaces.at(0);
    EXPECT_THAT(surface.positions, ElementsAre(Vec3{1.5, -2.0, 30.0}, Vec3{4.0, 5.0, 6.0}, Vec3{7.0, 8.0, 9.0}));
    EXPECT_EQ(surface.corners, (Indices{2, 1, 0}));
    EXPECT_EQ(read("4OFF\n3 1 0\n2 4 6 2\n1 0 0 1\n0 1 0 1\n3 0 1 2\n").surfaces.at(0).positions[0],
              (Vec3{1.0, 2.0, 3.0}));
}

TEST(OffReader, ColoursOfVerticesArePainted) {
    for (const char* lines :
         {"0 0 0 255 0 0 255\n1 0 0 0 255 0 255\n0 1 0 0 0 255 255\n", "0 0 0 1 0 0 1\n1 0 0 0 1 0 1\n0 1 0 0 0 1 1\n",
          "0 0 0 1 0 0\n1 0 0 0 1 0\n0 1 0 0 0 1\n"}) {
        const Surface surface = read(std::string("COFF\n3 1 0\n") + lines + "3 0 1 2\n").surfaces.at(0);
        EXPECT_TRUE(surface.isPaintColour);
        EXPECT_THAT(surface.paint, ElementsAre(Vec3{1.0, 0.0, 0.0}, Vec3{0.0, 1.0, 0.0}, Vec3{0.0, 0.0, 1.0})) << lines;
        EXPECT_EQ(surface.cornerPaint, (Indices{0, 1, 2}));
    }
}

TEST(OffReader, NormalsAndTexturePlacesComeInTheirOrder) {
    const ModelParts parts = read("STCNOFF\n3 1 0\n0 0 0 0 0 1 9 9 9 255 .1 .2\n1 0 0 0 0 2 9 9 9 255 .1 .2\n"
                                  "0 1 0 0 0 3 9 9 9 255 .1 .2\n3 0 1 2\n");
    const Surface& surface = parts.surfaces.at(0);
    EXPECT_THAT(surface.normals, ElementsAre(Vec3{0, 0, 1}, Vec3{0, 0, 2}, Vec3{0, 0, 3}));
    EXPECT_EQ(surface.cornerNormals, surface.corners);
    EXPECT_THAT(surface.positions, ElementsAre(Vec3{0, 0, 0}, Vec3{1, 0, 0}, Vec3{0, 1, 0}));
    EXPECT_DOUBLE_EQ(surface.paint.at(0).x, 9.0 / 255.0);
}

TEST(OffReader, ColoursOfFacesAreMaterials) {
    const ModelParts parts =
        read("OFF\n4 4 0\n" + square + "3 0 1 2 255 0 0\n3 0 2 3 0 0 255 128\n3 1 2 3 255 0 0\n3 0 1 3 7\n");
    ASSERT_EQ(parts.surfaces.size(), 1U);
    EXPECT_EQ(parts.surfaces[0].triangleParts, (Indices{0, 1, 0, 2}));
    ASSERT_EQ(parts.materials.size(), 2U);
    EXPECT_EQ(parts.materials[0].diffuse, (Colour{1.0, 0.0, 0.0}));
    EXPECT_EQ(parts.materials[1].diffuse, (Colour{0.0, 0.0, 1.0}));
    EXPECT_EQ(parts.materials[0].name, "#ff0000");
    EXPECT_EQ(parts.surfaces[0].parts[2].material, noIndex) << "an index of a colour map is no colour";
    const ModelParts fractions = read("OFF\n4 1 0\n" + square + "4 0 1 2 3 0.25 1 0\n");
    EXPECT_EQ(fractions.materials.at(0).diffuse, (Colour{0.25, 1.0, 0.0}));
    EXPECT_EQ(fractions.surfaces[0].triangleParts, (Indices{0, 0}));
}

TEST(OffReader, FacesInVeryManyColoursArePainted) {
    std::string text = "OFF\n4 300 0\n" + square;
    for (int i = 0; i < 300; ++i) {
        text += "3 0 1 2 " + std::to_string(i % 256) + " 10 " + std::to_string(i / 256) + "\n";
    }
    const ModelParts parts = read(text);
    const Surface& surface = parts.surfaces.at(0);
    EXPECT_EQ(surface.parts.size(), 1U);
    EXPECT_TRUE(surface.isPaintColour);
    ASSERT_EQ(surface.cornerPaint.size(), 900U);
    EXPECT_DOUBLE_EQ(surface.paint[surface.cornerPaint[3 * 255 + 1]].x, 1.0);
}

TEST(OffReader, SmallFacesAreLinesAndPoints) {
    const ModelParts parts = read("OFF\n4 4 0\n" + square + "2 0 1 255 0 0\n1 2\n0\n3 0 1 2\n");
    ASSERT_EQ(parts.polylines.size(), 1U);
    EXPECT_THAT(parts.polylines[0].points, ElementsAre(Vec3{0, 0, 0}, Vec3{1, 0, 0}));
    EXPECT_EQ(parts.materials.at(parts.polylines[0].material).diffuse, (Colour{1.0, 0.0, 0.0}));
    EXPECT_THAT(parts.points, ElementsAre(Vec3{1, 1, 0}));
    EXPECT_EQ(parts.numTriangles(), 1U);
}

TEST(OffReader, VerticesAloneAreACloudOfPoints) {
    EXPECT_EQ(read("OFF\n4 0 0\n" + square).points.size(), 4U);
    EXPECT_TRUE(read("OFF\n4 1 0\n" + square + "3 0 1 2\n").points.empty());
}

TEST(OffReader, ACutFileGivesWhatItHas) {
    const ModelParts parts = read("OFF\n4 3 0\n" + square + "3 0 1 2\n");
    EXPECT_EQ(parts.numTriangles(), 1U);
    EXPECT_THAT(parts.warnings, ElementsAre("the file is cut off: of 3 faces it has 1"));
    EXPECT_EQ(complaint("OFF\n5 1 0\n" + square), "the file is cut off: of 5 vertices it has 4");
    EXPECT_EQ(complaint("OFF\n4 1 0\n" + square + "4 0 1"), "the file ends within a face");
}

TEST(OffReader, WrongFilesAreToldByTheirLine) {
    EXPECT_EQ(complaint("hello\n"), "this is no OFF file");
    EXPECT_EQ(complaint("\n \n"), "this is no OFF file");
    EXPECT_EQ(complaint("OFF\n"), "the file ends before the number of its vertices");
    EXPECT_EQ(complaint("OFF BINARY\n\1\2"), "OFF files in binary can't be read; save it as text");
    EXPECT_EQ(complaint("nOFF\n4\n1 1 1\n"), "OFF files of other than three dimensions can't be read");
    EXPECT_THAT(complaint("OFF\n-4 1 0\n"), HasSubstr("line 2: the number of vertices is negative"));
    EXPECT_THAT(complaint("OFF\n4 1 0\n" + square + "3 0 1 4\n"),
                HasSubstr("line 7: vertex index 4 is out of range, the file has 4 vertices"));
    EXPECT_THAT(complaint("OFF\n4 1 0\n" + square + "3 0 1 -1\n"), HasSubstr("vertex index -1 is out of range"));
    EXPECT_THAT(complaint("OFF\n4 1 0\n" + square + "-3 0 1 2\n"), HasSubstr("line 7"));
    EXPECT_THAT(complaint("OFF\n4 1 0\n" + square + "20000 0 1 2\n"), HasSubstr("more than 10000 corners"));
    EXPECT_THAT(complaint("OFF\n1 0 0\n1 nan 0\n"), HasSubstr("line 3: a coordinate is not a finite number"));
    EXPECT_THAT(complaint("OFF\n1 0 0\n1 1e200 0\n"), HasSubstr("line 3: a coordinate is too large"));
    EXPECT_THAT(complaint("4OFF\n1 0 0\n1 1 1 0\n"), HasSubstr("not a finite number"));
    EXPECT_THAT(complaint("OFF\n4000000000 4000000000 0\n0 0 0\n"), HasSubstr("of 4000000000 vertices it has 1"));
}

TEST(OffReader, KeepsToTheLimitAndAsksOnTheWay) {
    EXPECT_THROW(read("OFF\n4 2 0\n" + square + "3 0 1 2\n3 0 2 3\n", 1), ImportError);
    EXPECT_THROW(read("OFF\n4 0 0\n" + square, 3), ImportError);
    ImportProgress refusal([](double) { return false; });
    EXPECT_THROW(readOff("OFF\n4 1 0\n" + square + "3 0 1 2\n", {1000}, &refusal), ImportCancelled);
}
