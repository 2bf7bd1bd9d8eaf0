#include "import/objreader.h"

#include "importtestfiles.h"

#include <gtest/gtest.h>

using namespace kivimport;

namespace {

ObjFile read(const std::string& text, std::uint64_t most = 1000) {
    return readObj(text, {most});
}

Indices cornersOf(const std::string& text) {
    return read(text).parts.surfaces.at(0).corners;
}

const std::string square = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\n";

} // namespace

TEST(ObjReader, ReadsTrianglesAndQuads) {
    EXPECT_EQ(cornersOf(square + "f 1 2 3\n"), (Indices{0, 1, 2}));
    EXPECT_EQ(cornersOf(square + "f 1 2 3 4\n"), (Indices{0, 1, 2, 0, 2, 3}));
}

TEST(ObjReader, KeepsTheSharedVerticesOfTheFile) {
    const ObjFile file = read(boxObj);
    EXPECT_EQ(file.parts.surfaces.at(0).positions.size(), 8U);
    EXPECT_EQ(file.parts.numTriangles(), 12U);
    EXPECT_DOUBLE_EQ(signedVolume(file.parts.surfaces[0]), 6.0);
}

TEST(ObjReader, VerticesAloneAreACloudOfPoints) {
    EXPECT_EQ(read(square).parts.points.size(), 4U);
    EXPECT_EQ(read(square).parts.points[2], (Vec3{1.0, 1.0, 0.0}));
    EXPECT_TRUE(read(square + "f 1 2 3\n").parts.points.empty());
    EXPECT_TRUE(read(square + "l 1 2\n").parts.points.empty());
    EXPECT_EQ(read(square + "p 2\n").parts.points.size(), 1U);
    EXPECT_THROW(read(square, 3), ImportError);
}

TEST(ObjReader, ReadsAllFormsOfACorner) {
    const std::string normals = "vt 0 0\nvt 1 0\nvn 0 0 1\nvn 0 0 -1\n";
    for (const char* face : {"f 1//1 2//2 3//1\n", "f 1/1/1 2/2/2 3/1/1\n", "f -4//-2 -3//-1 -2/2/-2\n"}) {
        const Surface surface = read(square + normals + face).parts.surfaces.at(0);
        EXPECT_EQ(surface.corners, (Indices{0, 1, 2})) << face;
        EXPECT_EQ(surface.cornerNormals, (Indices{0, 1, 0})) << face;
    }
    const Surface plain = read(square + "vt 0 0\nf 1/1 2/1 3/1\n").parts.surfaces.at(0);
    EXPECT_EQ(plain.corners, (Indices{0, 1, 2}));
    EXPECT_TRUE(plain.cornerNormals.empty());
}

TEST(ObjReader, MixesFacesWithAndWithoutNormals) {
    const Surface surface = read(square + "vn 0 0 1\nf 1 2 3\nf 1//1 3//1 4//1\n").parts.surfaces.at(0);
    EXPECT_EQ(surface.cornerNormals, (Indices{noIndex, noIndex, noIndex, 0, 0, 0}));
}

TEST(ObjReader, NegativeIndicesCountFromWhereTheyStand) {
    EXPECT_EQ(cornersOf("v 0 0 0\nv 1 0 0\nv 0 1 0\nf -3 -2 -1\nv 0 0 1\nf -3 -2 -1\n"), (Indices{0, 1, 2, 1, 2, 3}));
}

TEST(ObjReader, AFaceMayStandBeforeItsVertices) {
    EXPECT_EQ(cornersOf("f 1 2 3\nv 0 0 0\nv 1 0 0\nv 0 1 0\n"), (Indices{0, 1, 2}));
}

TEST(ObjReader, ReadsNumbersInAllTheirForms) {
    const ObjFile file = read("v +1.5 -.25 3e2 0.5 0.1 0.1\nv 1E-400 2. 007\nv 0 0 0 1\nf 1 2 3\n");
    const Points& positions = file.parts.surfaces.at(0).positions;
    EXPECT_EQ(positions[0], (Vec3{1.5, -0.25, 300.0}));
    EXPECT_EQ(positions[1], (Vec3{0.0, 2.0, 7.0}));
}

TEST(ObjReader, LineEndsContinuationAndComments) {
    const std::string unix = square + "# a comment\n\n  f 1 2 \\\n 3 # behind\n";
    std::string windows;
    std::string macintosh;
    for (const char c : unix) {
        windows += c == '\n' ? std::string("\r\n") : std::string(1, c);
        macintosh += c == '\n' ? '\r' : c;
    }
    for (const std::string& text : {unix, windows, macintosh, unix.substr(0, unix.size() - 1)}) {
        EXPECT_EQ(cornersOf(text), (Indices{0, 1, 2}));
    }
}

TEST(ObjReader, PartsByObjectAndMaterial) {
    const ObjFile file =
        read(square + "mtllib a b.mtl\nmtllib c.mtl\no one\nusemtl red\nf 1 2 3\nusemtl blue\nf 1 3 4\n"
                      "o two\nf 1 2 4\no one\nusemtl red\nf 2 3 4\n");
    const Surface& surface = file.parts.surfaces.at(0);
    EXPECT_EQ(file.materialLibraries, (std::vector<std::string>{"a b.mtl", "c.mtl"}));
    ASSERT_EQ(file.parts.materials.size(), 2U);
    EXPECT_EQ(file.parts.materials[1].name, "blue");
    EXPECT_EQ(surface.triangleParts, (Indices{0, 1, 2, 0}));
    ASSERT_EQ(surface.parts.size(), 3U);
    EXPECT_EQ(surface.parts[2].name, "two");
    EXPECT_EQ(surface.parts[2].material, 1U);
}

TEST(ObjReader, LinesAndPoints) {
    const ModelParts parts = read(square + "l 1 2 3\nl 1/1 2/1\nl 1 2 3 1\np 1 -1\nl 4\n").parts;
    ASSERT_EQ(parts.polylines.size(), 3U);
    EXPECT_EQ(parts.polylines[0].points.size(), 3U);
    EXPECT_FALSE(parts.polylines[0].closed);
    EXPECT_EQ(parts.polylines[1].points.size(), 2U);
    EXPECT_TRUE(parts.polylines[2].closed);
    EXPECT_EQ(parts.polylines[2].points.size(), 3U);
    ASSERT_EQ(parts.points.size(), 2U);
    EXPECT_EQ(parts.points[1], (Vec3{0.0, 1.0, 0.0}));
}

TEST(ObjReader, SmallFacesAreLeftOut) {
    EXPECT_EQ(cornersOf(square + "f 1\nf 1 2\nf 1 2 3\n"), (Indices{0, 1, 2}));
}

TEST(ObjReader, TellsWhatIsWrongAndWhere) {
    const struct {
        const char* name;
        std::string text;
        const char* message;
    } cases[] = {
        {"vertex out of range", square + "f 1 2 9\n",
         "line 5: vertex index 9 is out of range, the file has 4 vertices"},
        {"far out of range", square + "f 1 2 4294967296\n",
         "line 5: a vertex index is too large, found \"4294967296\""},
        {"negative out of range", square + "f 1 2 -5\n",
         "line 5: vertex index -5 is out of range, there are 4 before it"},
        {"zero", square + "f 0 1 2\n", "line 5: vertex index 0 is out of range, the first has number 1"},
        {"word for a normal", square + "vn 0 0 1\nf 1//x 2//1 3//1\n",
         "line 6: a normal index is expected, found \"x\""},
        {"not a number", "v 1 nan 0\n", "line 1: a coordinate is not a finite number"},
        {"infinite", "v 1 2 -inf\n", "line 1: a coordinate is not a finite number"},
        {"overflow", "v 1 2 1e999\n", "line 1: a coordinate is too large, found \"1e999\""},
        {"too large", "v 1 2 1e31\n", "line 1: a coordinate is too large"},
        {"word", "v 1 two 3\n", "line 1: a coordinate is expected, found \"two\""},
        {"missing coordinate", "v 1 2\n", "line 1: a coordinate is expected, found the end of the line"},
        {"word in a face", square + "f 1 a 3\n", "line 5: a vertex index is expected, found \"a\""},
        {"torn index", square + "f 1 2x 3\n", "line 5: an index is expected, found \"x\""},
        {"word in a line", square + "l 1 %\n", "line 5: a vertex index is expected, found \"%\""},
        {"too many", square + "f 1 2 3\nf 1 2 3\nf 1 2 3\nf 1 2 3\n",
         "it is too large: more than 3 triangles, lines or points"},
        {"another kind of file", "%PDF-1.4\nstream\n", "this is no Wavefront OBJ file"},
        {"comments alone", "# nothing\n", "this is no Wavefront OBJ file"},
        {"control characters", std::string("v 1 \x01\x02 3\n"), "line 1: a coordinate is expected, found \"??\""},
        {"line numbers with continuation", "v 1 2 \\\n3\nv x\n", "line 3: a coordinate is expected, found \"x\""},
    };
    for (const auto& c : cases) {
        try {
            readObj(c.text, {3});
            ADD_FAILURE() << c.name << ": no complaint";
        } catch (const ImportError& error) {
            EXPECT_STREQ(error.what(), c.message) << c.name;
        }
    }
}

TEST(ObjReader, AWrongNormalCostsTheNormalAlone) {
    const struct {
        const char* face;
        const char* normals; // after the face
        Indices left;
        const char* warning;
    } cases[] = {
        {"f 1//1 2//2 3//1\n",
         "",
         {0, noIndex, 0},
         "line 6: normal index 2 is out of range, the file has 1; left out are 1"},
        {"f 1//1 2//7 3//9\n",
         "vn 0 1 0\n",
         {0, noIndex, noIndex},
         "line 6: normal index 9 is out of range, the file has 2; left out are 2"},
        {"f 1//1 2//-1 3//-2\n",
         "vn 0 1 0\n",
         {0, 0, noIndex},
         "line 6: normal index -2 is out of range, the file has 2; left out are 1"},
        {"f 1//0 2//0 3//0\n", "", {}, "line 6: normal index 0 is out of range, the file has 1; left out are 3"},
        {"f 1//4294967295 2//2 3//1\n",
         "vn 0 1 0\n",
         {noIndex, 1, 0},
         "line 6: normal index 4294967295 is out of range, the file has 2; left out are 1"},
    };
    for (const auto& c : cases) {
        const ModelParts parts = read(square + "vn 0 0 1\n" + c.face + c.normals).parts;
        ASSERT_EQ(parts.surfaces.size(), 1U) << c.face;
        EXPECT_EQ(parts.surfaces[0].corners, (Indices{0, 1, 2})) << c.face;
        EXPECT_EQ(parts.surfaces[0].cornerNormals, c.left) << c.face;
        EXPECT_EQ(parts.warnings, std::vector<std::string>{c.warning}) << c.face;
    }
    const ModelParts fine = read(square + "f 1//1 2//2 3//2\nvn 0 0 1\nvn 0 1 0\n").parts;
    EXPECT_EQ(fine.surfaces[0].cornerNormals, (Indices{0, 1, 1})) << "normals may come later";
    EXPECT_TRUE(fine.warnings.empty());
}

TEST(ObjReader, AFaceHasALargestSize) {
    std::string text = square + "f";
    for (int i = 0; i < 10'001; ++i) {
        text += " 1";
    }
    EXPECT_THROW(read(text), ImportError);
}

TEST(MtlReader, ReadsWhatItKnows) {
    std::vector<Material> materials(3);
    materials[0].name = "red paint";
    materials[1].name = "glass";
    materials[2].name = "untouched";
    readMtl("newmtl red paint\nKd 0.8 0.1 .2\nKs 0.5\nKa 0.1 0.1 0.1\nKe 0 0 1\nNs 96.5\nillum 2\n"
            "map_Kd -s 2 2 2 -clamp on my wood.png\n"
            "newmtl other\nKd 1 1 1\n"
            "newmtl glass\nTr 0.75\nKd spectral x.rfl\nNs none\n",
            materials);
    EXPECT_EQ(materials[0].diffuse, (Colour{0.8, 0.1, 0.2}));
    EXPECT_EQ(materials[0].specular, (Colour{0.5, 0.5, 0.5}));
    EXPECT_EQ(materials[0].emission, (Colour{0.0, 0.0, 1.0}));
    EXPECT_EQ(materials[0].shininess, 96.5);
    EXPECT_EQ(materials[0].texture, "my wood.png");
    EXPECT_EQ(materials[1].opacity, 0.25);
    EXPECT_EQ(materials[1].diffuse, Material().diffuse);
    EXPECT_EQ(materials[1].shininess, 0.0);
    EXPECT_EQ(materials[2].diffuse, Material().diffuse);
}

TEST(MtlReader, BringsNumbersIntoRange) {
    std::vector<Material> materials(1);
    materials[0].name = "m";
    readMtl("newmtl m\nKd 2 -1 nan\nd 7\nNs -5\nmap_Kd -bm\n", materials);
    EXPECT_EQ(materials[0].diffuse, (Colour{1.0, 0.0, 1.0}));
    EXPECT_EQ(materials[0].opacity, 1.0);
    EXPECT_EQ(materials[0].shininess, 0.0);
    EXPECT_EQ(materials[0].texture, "");
}
