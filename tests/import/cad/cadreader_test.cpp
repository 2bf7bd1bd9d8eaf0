// Shapes that are known on paper, as they are read: edges, normals, colours, names, units, places.
#include "import/cad/cadreader.h"

#include "../importtestfiles.h"
#include "cadfiles.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <numbers>
#include <set>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <BRepBndLib.hxx>
#include <BRepBuilderAPI_Transform.hxx>
#include <BRepPrimAPI_MakeCone.hxx>
#include <BRepPrimAPI_MakeSphere.hxx>
#include <BRepPrimAPI_MakeTorus.hxx>
#include <BRep_Builder.hxx>
#include <Bnd_Box.hxx>
#include <Quantity_Color.hxx>
#include <TDF_LabelSequence.hxx>
#include <TDataStd_Name.hxx>
#include <TopExp.hxx>
#include <TopExp_Explorer.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS_Compound.hxx>
#include <XCAFDoc_ColorTool.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <gp_Ax1.hxx>

namespace {

using namespace kivimport;
using testing::ElementsAre;
using testing::IsEmpty;
using Kind = SurfaceEdge::Kind;

constexpr double pi = std::numbers::pi;

ReaderRequest requestOf(const std::string& path) {
    ReaderRequest request;
    request.path = path;
    request.limits = {1'000'000};
    request.fineness.picturePixels = 1280.0;
    return request;
}

ModelParts readFile(const ReaderRequest& request) {
    SilentReport report;
    return readCad(request, report);
}

class CadReaderTest : public testing::Test {
protected:
    ModelParts stepOf(const TopoDS_Shape& shape) {
        writeStep(folder.path("part.step"), documentOf(shape, "part"));
        return readFile(requestOf(folder.path("part.step")));
    }

    TestFolder folder;
};

struct EdgeSum {
    int count = 0;
    double length = 0.0;
};

std::map<Kind, EdgeSum> edgesOf(const ModelParts& parts) {
    std::map<Kind, EdgeSum> sums;
    for (const Surface& surface : parts.surfaces) {
        for (const SurfaceEdge& edge : surface.edges) {
            EdgeSum& sum = sums[edge.kind];
            ++sum.count;
            for (std::uint32_t i = 1; i < edge.count; ++i) {
                sum.length += length(surface.positions[surface.edgePoints[edge.first + i]] -
                                     surface.positions[surface.edgePoints[edge.first + i - 1]]);
            }
        }
    }
    return sums;
}

// The sides of triangles that not exactly two of them share.
int openSides(const Surface& surface) {
    std::map<std::pair<std::uint32_t, std::uint32_t>, int> sides;
    for (std::size_t i = 0; i < surface.corners.size(); i += 3) {
        for (std::size_t k = 0; k < 3; ++k) {
            ++sides[std::minmax(surface.corners[i + k], surface.corners[i + (k + 1) % 3])];
        }
    }
    return static_cast<int>(
        std::count_if(sides.begin(), sides.end(), [](const auto& side) { return side.second != 2; }));
}

// Each stretch of each edge is a side of a triangle.
bool edgesRunAlongTriangles(const Surface& surface) {
    std::set<std::pair<std::uint32_t, std::uint32_t>> sides;
    for (std::size_t i = 0; i < surface.corners.size(); i += 3) {
        for (std::size_t k = 0; k < 3; ++k) {
            sides.insert(std::minmax(surface.corners[i + k], surface.corners[i + (k + 1) % 3]));
        }
    }
    for (const SurfaceEdge& edge : surface.edges) {
        for (std::uint32_t i = 1; i < edge.count; ++i) {
            const std::uint32_t a = surface.edgePoints[edge.first + i - 1];
            const std::uint32_t b = surface.edgePoints[edge.first + i];
            if (!sides.contains(std::minmax(a, b))) {
                return false;
            }
        }
    }
    return true;
}

void expectSound(const Surface& surface) {
    EXPECT_EQ(openSides(surface), 0);
    EXPECT_TRUE(edgesRunAlongTriangles(surface));
    EXPECT_GT(signedVolume(surface), 0.0);
}

Colour materialOf(const ModelParts& parts, const Surface& surface, std::size_t triangle) {
    const std::uint32_t material = surface.parts[surface.triangleParts[triangle]].material;
    return material != noIndex ? parts.materials.at(material).diffuse : Colour{-1.0, -1.0, -1.0};
}

// The colour in which an instance is drawn.
Colour colourOf(const ModelParts& parts, const SurfaceInstance& instance) {
    const std::uint32_t own = parts.surfaces.at(instance.surface).parts.at(0).material;
    const std::uint32_t material = own != noIndex ? own : instance.material;
    return material != noIndex ? parts.materials.at(material).diffuse : Colour{-1.0, -1.0, -1.0};
}

TDF_Label firstShape(const Handle(TDocStd_Document) & document) {
    TDF_LabelSequence shapes;
    XCAFDoc_DocumentTool::ShapeTool(document->Main())->GetFreeShapes(shapes);
    return shapes.First();
}

void expectColour(const Colour& colour, double r, double g, double b) {
    EXPECT_NEAR(colour.r, r, 0.004);
    EXPECT_NEAR(colour.g, g, 0.004);
    EXPECT_NEAR(colour.b, b, 0.004);
}

std::string pathOf(const ModelParts& parts, std::uint32_t node) {
    const Node& at = parts.nodes.at(node);
    return at.parent == noIndex ? at.name : pathOf(parts, at.parent) + "/" + at.name;
}

Vec3 lowest(const ModelParts& parts, const SurfaceInstance& instance) {
    const Surface& surface = parts.surfaces.at(instance.surface);
    Vec3 low = instance.placed(surface.positions.front());
    for (const Vec3& each : surface.positions) {
        const Vec3 p = instance.placed(each);
        low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
    }
    return low;
}

} // namespace

TEST_F(CadReaderTest, ABoxWithRoundedEdgesHasSharpAndTangentOnes) {
    const ModelParts parts = stepOf(filletedBox());
    ASSERT_EQ(parts.surfaces.size(), 1U);
    auto sums = edgesOf(parts);
    const double outline = 2.0 * 30.0 + 2.0 * 20.0 + 2.0 * pi * 5.0;
    EXPECT_EQ(sums[Kind::sharp].count, 16);
    EXPECT_NEAR(sums[Kind::sharp].length, 2.0 * outline, 2.0 * outline * 0.001);
    EXPECT_EQ(sums[Kind::tangent].count, 8);
    EXPECT_NEAR(sums[Kind::tangent].length, 160.0, 1e-6);
    EXPECT_EQ(sums[Kind::seam].count, 0);
    expectSound(parts.surfaces[0]);
}

TEST_F(CadReaderTest, ACylinderHasTwoEdgesAndASeam) {
    const ModelParts parts = stepOf(cylinder());
    auto sums = edgesOf(parts);
    EXPECT_EQ(sums[Kind::sharp].count, 2);
    EXPECT_NEAR(sums[Kind::sharp].length, 40.0 * pi, 40.0 * pi * 0.001);
    EXPECT_EQ(sums[Kind::seam].count, 1);
    EXPECT_NEAR(sums[Kind::seam].length, 30.0, 1e-6);
    EXPECT_EQ(sums[Kind::tangent].count, 0);
    expectSound(parts.surfaces.at(0));
}

// Programs write a round face in two halves, which show nothing where they meet.
TEST_F(CadReaderTest, AFaceThatIsCutInTwoHasNoLineThere) {
    struct Case {
        const char* name;
        TopoDS_Shape body;
        int sharp; // each rim in two halves
    };
    const Case cases[] = {{"cylinder", cylinder(), 4},
                          {"cone", BRepPrimAPI_MakeCone(10.0, 4.0, 20.0).Shape(), 4},
                          {"ball", BRepPrimAPI_MakeSphere(10.0).Shape(), 0},
                          {"ring", BRepPrimAPI_MakeTorus(20.0, 5.0).Shape(), 0},
                          {"vase", vase(false), 4}};
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        const ModelParts parts = stepOf(cutInHalves(each.body));
        std::map<Kind, EdgeSum> sums = edgesOf(parts);
        EXPECT_EQ(sums[Kind::sharp].count, each.sharp);
        EXPECT_EQ(sums[Kind::tangent].count, 0);
        EXPECT_GT(sums[Kind::seam].count, 0);
        expectSound(parts.surfaces.at(0));
    }
    EXPECT_EQ(edgesOf(stepOf(vase(true)))[Kind::tangent].count, 1);
    EXPECT_EQ(edgesOf(stepOf(bentBar(1.0)))[Kind::tangent].count, 1);
    EXPECT_EQ(edgesOf(stepOf(bentBar(0.0)))[Kind::tangent].count, 0);
    EXPECT_EQ(edgesOf(stepOf(filletedBox()))[Kind::tangent].count, 8);
}

TEST_F(CadReaderTest, ACutWhereTheColourChangesIsALine) {
    const TopoDS_Shape halves = cutInHalves(cylinder());
    const Handle(TDocStd_Document) document = documentOf(halves, "two colours");
    const Handle(XCAFDoc_ColorTool) colours = XCAFDoc_DocumentTool::ColorTool(document->Main());
    TopTools_IndexedMapOfShape faces;
    TopExp::MapShapes(halves, TopAbs_FACE, faces);
    for (int i = 1; i <= faces.Extent(); ++i) {
        Bnd_Box box;
        BRepBndLib::AddOptimal(faces(i), box);
        const bool isFront = box.CornerMin().Y() + box.CornerMax().Y() < 0.0;
        const TDF_Label label =
            XCAFDoc_DocumentTool::ShapeTool(document->Main())->AddSubShape(firstShape(document), faces(i));
        colours->SetColor(label, Quantity_Color(isFront ? Quantity_NOC_RED : Quantity_NOC_BLUE), XCAFDoc_ColorSurf);
    }
    writeStep(folder.path("two.step"), document);
    const ModelParts parts = readFile(requestOf(folder.path("two.step")));
    ASSERT_EQ(parts.materials.size(), 2);
    std::map<Kind, EdgeSum> sums = edgesOf(parts);
    EXPECT_EQ(sums[Kind::tangent].count, 4); // along two sides, and across two ends
    EXPECT_EQ(sums[Kind::seam].count, 0);
}

TEST_F(CadReaderTest, NormalsAreThoseOfTheSurface) {
    const Surface surface = stepOf(cylinder()).surfaces.at(0);
    int onLids = 0;
    for (std::size_t i = 0; i < surface.corners.size(); ++i) {
        const Vec3& at = surface.positions[surface.corners[i]];
        const Vec3& normal = surface.normals[surface.cornerNormals[i]];
        if (std::fabs(normal.z) > 0.5) {
            ++onLids;
            EXPECT_NEAR(normal.z, at.z > 15.0 ? 1.0 : -1.0, 1e-12);
        } else {
            EXPECT_NEAR(dot(normal, {at.x, at.y, 0.0}), 10.0, 1e-9);
        }
    }
    EXPECT_GT(onLids, 30);
}

TEST_F(CadReaderTest, NormalsAreThoseOfTheSurfaceAtPolesToo) {
    const Surface surface = stepOf(roundedBox()).surfaces.at(0);
    for (std::size_t i = 0; i < surface.corners.size(); ++i) {
        const Vec3& at = surface.positions[surface.corners[i]];
        const auto outside = [](double x, double size) {
            return std::min(x - 6.0, 0.0) + std::max(x - size + 6.0, 0.0);
        };
        const Vec3 away{outside(at.x, 120.0), outside(at.y, 60.0), outside(at.z, 30.0)};
        EXPECT_GT(dot(surface.normals[surface.cornerNormals[i]], unit(away)), 1.0 - 1e-9);
    }
}

TEST_F(CadReaderTest, HolesInASphereHaveSharpEdges) {
    const ModelParts parts = stepOf(sphereWithHoles());
    auto sums = edgesOf(parts);
    // Where the second hole meets the sphere, and where it meets the first hole.
    double inner = 0.0;
    constexpr int steps = 10'000;
    for (int i = 0; i < steps; ++i) {
        const auto at = [](double t) {
            const Vec3 p{3.0 * std::cos(t), 0.0, 3.0 * std::sin(t)};
            return Vec3{p.x, std::sqrt(25.0 - p.z * p.z), p.z};
        };
        inner += length(at(2.0 * pi * (i + 1) / steps) - at(2.0 * pi * i / steps));
    }
    const double sharp = 2.0 * 10.0 * pi + 6.0 * pi + inner;
    EXPECT_NEAR(sums[Kind::sharp].length, sharp, sharp * 0.005);
    EXPECT_EQ(sums[Kind::tangent].count, 0);
    EXPECT_GE(sums[Kind::seam].count, 3);
    expectSound(parts.surfaces.at(0));
}

TEST_F(CadReaderTest, AnAssemblyKeepsItsTreeItsColoursAndItsPlaces) {
    writeStep(folder.path("plate.stp"), boltedPlate(12));
    const ModelParts parts = readFile(requestOf(folder.path("plate.stp")));
    EXPECT_EQ(parts.format, "STEP");
    EXPECT_TRUE(parts.zUp);
    EXPECT_DOUBLE_EQ(parts.metresPerUnit, 1e-3);
    EXPECT_THAT(parts.warnings, IsEmpty());
    ASSERT_EQ(parts.surfaces.size(), 2U) << "the bolts share one";
    ASSERT_EQ(parts.instances.size(), 13U);

    const Surface& plate = parts.surfaces[0];
    EXPECT_EQ(pathOf(parts, plate.parts[0].node), "plate with bolts/base");
    for (std::size_t t = 0; t < plate.corners.size() / 3; ++t) {
        const bool isUpper = std::all_of(plate.corners.begin() + static_cast<std::ptrdiff_t>(t * 3),
                                         plate.corners.begin() + static_cast<std::ptrdiff_t>(t * 3 + 3),
                                         [&plate](std::uint32_t c) { return plate.positions[c].z > 4.99; });
        const Colour colour = materialOf(parts, plate, t);
        expectColour(colour, isUpper ? 0.9 : 0.2, isUpper ? 0.1 : 0.4, isUpper ? 0.1 : 0.8);
    }
    for (std::size_t i = 0; i < 12; ++i) {
        const SurfaceInstance& each = parts.instances[i + 1];
        EXPECT_EQ(pathOf(parts, each.node), "plate with bolts/bolts/bolt " + std::to_string(i + 1));
        EXPECT_EQ(each.surface, 1U);
        const Vec3 low = lowest(parts, each);
        EXPECT_NEAR(low.x, 1.0 + static_cast<double>(i % 10) * 10.0, 0.02); // on the circle of a polygon
        EXPECT_NEAR(low.y, 1.0 + static_cast<double>(i / 10) * 10.0, 0.02);
        EXPECT_NEAR(low.z, 5.0, 1e-9);
        expectColour(colourOf(parts, each), 0.9, 0.8, 0.2);
    }
}

TEST_F(CadReaderTest, AnInstanceMayHaveAColourOfItsOwnAndSoMayOneOccurrence) {
    writeStep(folder.path("pairs.step"), pairsOfParts());
    const ModelParts parts = readFile(requestOf(folder.path("pairs.step")));
    ASSERT_EQ(parts.surfaces.size(), 2U) << "in whatever colour, they share their triangles";
    std::map<std::string, Colour> colours;
    for (const SurfaceInstance& each : parts.instances) {
        colours[pathOf(parts, each.node)] = colourOf(parts, each);
    }
    ASSERT_EQ(colours.size(), 4U);
    expectColour(colours["product/left/upper"], 0.5, 0.5, 0.5);
    expectColour(colours["product/left/lower"], 0.1, 0.8, 0.1);
    expectColour(colours["product/right/upper"], 0.9, 0.1, 0.1);
    expectColour(colours["product/right/lower"], 0.1, 0.8, 0.1);
}

TEST_F(CadReaderTest, LayersComeWithTheTree) {
    writeStep(folder.path("pairs.step"), pairsOfParts());
    const ModelParts parts = readFile(requestOf(folder.path("pairs.step")));
    for (std::uint32_t i = 0; i < parts.nodes.size(); ++i) {
        const std::string path = pathOf(parts, i);
        if (path.ends_with("upper")) {
            EXPECT_THAT(parts.nodes[i].layers, ElementsAre("steel")) << path;
        } else {
            EXPECT_THAT(parts.nodes[i].layers, IsEmpty()) << path;
        }
    }
}

TEST_F(CadReaderTest, InstancesAreTurnedInTheUnitsOfTheFile) {
    gp_Trsf turn;
    turn.SetRotation(gp_Ax1(gp_Pnt(), gp_Dir(1.0, 0.0, 0.0)), pi / 2.0);
    writeStep(folder.path("inch.step"), assemblyOf(bolt(), {turn, gp_Trsf()}), "INCH");
    const ModelParts inch = readFile(requestOf(folder.path("inch.step")));
    ASSERT_EQ(inch.surfaces.size(), 1U);
    ASSERT_EQ(inch.instances.size(), 2U);
    // The bolt's axis, z from 0 to 13 mm, lies along -y.
    const Vec3 low = lowest(inch, inch.instances[0]);
    EXPECT_NEAR(low.y * 25.4, -13.0, 1e-6);
    EXPECT_NEAR(low.z * 25.4, -4.0, 0.02);
    EXPECT_NEAR(lowest(inch, inch.instances[1]).z, 0.0, 1e-9);
}

TEST_F(CadReaderTest, CoordinatesAreInTheUnitsOfTheFile) {
    const double wide = 2.0 * 10.0 / 25.4;
    writeStep(folder.path("inch.step"), documentOf(cylinder(), "c"), "INCH");
    writeIges(folder.path("inch.igs"), documentOf(cylinder(), "c"), "INCH");
    for (const char* const name : {"inch.step", "inch.igs"}) {
        const ModelParts parts = readFile(requestOf(folder.path(name)));
        EXPECT_NEAR(parts.metresPerUnit, 0.0254, 1e-12) << name;
        double high = 0.0;
        double low = 0.0;
        for (const Vec3& p : parts.surfaces.at(0).positions) {
            high = std::max(high, p.x);
            low = std::min(low, p.x);
        }
        EXPECT_NEAR(high - low, wide, 1e-3) << name;
    }
    writeBrep(folder.path("none.brep"), cylinder());
    EXPECT_EQ(readFile(requestOf(folder.path("none.brep"))).metresPerUnit, 0.0);
}

TEST_F(CadReaderTest, EverySchemaAndUnitOfStepIsTheSamePart) {
    for (const char* const schema : {"AP203", "AP214IS", "AP242DIS"}) {
        for (const auto& [unit, metres] : {std::pair{"MM", 1e-3}, {"INCH", 0.0254}, {"M", 1.0}}) {
            writeStep(folder.path("b.step"), documentOf(filletedBox(), "box"), unit, schema);
            const ModelParts parts = readFile(requestOf(folder.path("b.step")));
            auto sums = edgesOf(parts);
            EXPECT_DOUBLE_EQ(parts.metresPerUnit, metres) << schema << unit;
            EXPECT_EQ(sums[Kind::sharp].count, 16) << schema << unit;
            EXPECT_NEAR(sums[Kind::tangent].length * metres, 0.160, 1e-6) << schema << unit;
            EXPECT_EQ(parts.nodes.at(0).name, "box");
        }
    }
}

TEST_F(CadReaderTest, NamesComeAsTheyAre) {
    const std::string name = "L'\xC3\xA9"
                             "crou \"M8\" \xE8\x9E\xBA";
    const Handle(TDocStd_Document) document = documentOf(bolt(), "");
    TDF_LabelSequence labels;
    XCAFDoc_DocumentTool::ShapeTool(document->Main())->GetFreeShapes(labels);
    TDataStd_Name::Set(labels.First(), TCollection_ExtendedString(name.c_str(), true));
    writeStep(folder.path("n.step"), document);
    EXPECT_EQ(readFile(requestOf(folder.path("n.step"))).nodes.at(0).name, name);
}

TEST_F(CadReaderTest, AShellIsASurfaceWithBordersAndAWireIsALine) {
    const TopoDS_Shape face = TopExp_Explorer(cylinder(), TopAbs_FACE).Current();
    const ModelParts open = stepOf(face);
    ASSERT_EQ(open.surfaces.size(), 1U);
    auto sums = edgesOf(open);
    EXPECT_EQ(sums[Kind::sharp].count, 2);
    EXPECT_EQ(sums[Kind::seam].count, 1);
    const ModelParts line = stepOf(TopExp_Explorer(face, TopAbs_WIRE).Current());
    EXPECT_TRUE(line.surfaces.empty());
    double whole = 0.0;
    for (const Polyline& each : line.polylines) {
        for (std::size_t i = 1; i < each.points.size(); ++i) {
            whole += length(each.points[i] - each.points[i - 1]);
        }
    }
    EXPECT_NEAR(whole, 40.0 * pi + 30.0, 0.2);
}

TEST_F(CadReaderTest, HugeAndTinyPartsAreAsFine) {
    for (const double size : {1e-3, 1e6}) {
        gp_Trsf scale;
        scale.SetScaleFactor(size);
        const ModelParts parts = stepOf(BRepBuilderAPI_Transform(cylinder(), scale, true).Shape());
        ASSERT_EQ(parts.surfaces.size(), 1U) << size;
        auto sums = edgesOf(parts);
        EXPECT_NEAR(sums[Kind::sharp].length / size, 40.0 * pi, 40.0 * pi * 0.002) << size;
        EXPECT_EQ(openSides(parts.surfaces[0]), 0) << size;
    }
}

TEST_F(CadReaderTest, NothingToDrawIsNoFault) {
    BRep_Builder builder;
    TopoDS_Compound empty;
    builder.MakeCompound(empty);
    writeBrep(folder.path("empty.brep"), empty);
    const ModelParts parts = readFile(requestOf(folder.path("empty.brep")));
    EXPECT_EQ(parts.numTriangles(), 0U);
    EXPECT_TRUE(parts.polylines.empty());
}

TEST_F(CadReaderTest, EveryFormatKnowsTheSameEdges) {
    writeBrep(folder.path("box.brep"), filletedBox());
    writeIges(folder.path("box.igs"), documentOf(filletedBox(), "box"));
    writeStep(folder.path("box.step"), documentOf(filletedBox(), "box"));
    for (const char* const name : {"box.brep", "box.igs", "box.step"}) {
        const ModelParts parts = readFile(requestOf(folder.path(name)));
        auto sums = edgesOf(parts);
        EXPECT_EQ(sums[Kind::sharp].count, 16) << name;
        EXPECT_EQ(sums[Kind::tangent].count, 8) << name;
        EXPECT_EQ(parts.surfaces.size(), 1U) << name;
        EXPECT_EQ(openSides(parts.surfaces.at(0)), 0) << name;
    }
}

TEST_F(CadReaderTest, TrianglesFollowThePictureUnlessTheDeflectionIsGiven) {
    writeStep(folder.path("c.step"), documentOf(cylinder(), "c"));
    ReaderRequest request = requestOf(folder.path("c.step"));
    const double size = std::sqrt(20.0 * 20.0 + 20.0 * 20.0 + 30.0 * 30.0);
    // How far the middle of a stretch of a circle lies within it.
    const auto worst = [&request] {
        double most = 0.0;
        const Surface surface = readFile(request).surfaces.at(0);
        for (const SurfaceEdge& edge : surface.edges) {
            for (std::uint32_t i = 1; edge.kind == Kind::sharp && i < edge.count; ++i) {
                const Vec3 middle = (surface.positions[surface.edgePoints[edge.first + i]] +
                                     surface.positions[surface.edgePoints[edge.first + i - 1]]) *
                                    0.5;
                most = std::max(most, 10.0 - std::hypot(middle.x, middle.y));
            }
        }
        return most;
    };
    request.fineness.picturePixels = 4096.0;
    EXPECT_LT(worst(), 0.5 * size / 4096.0);
    request.fineness.picturePixels = 400.0;
    const double coarse = worst();
    EXPECT_LT(coarse, 0.5 * size / 400.0);
    EXPECT_GT(coarse, 0.5 * size / 4096.0);
    request.fineness.unitsPerPixel = size / 40'000.0; // a small part of it is looked at
    EXPECT_LT(worst(), 0.5 * size / 40'000.0);
    request.fineness.deflection = 0.1;
    EXPECT_LT(worst(), 0.1);
    EXPECT_GT(worst(), 0.01);
}

TEST_F(CadReaderTest, FacesOfTheirOwnAreSewn) {
    // Written face by face: each has edges of its own.
    writeIges(folder.path("c.igs"), documentOf(cylinder(), "c"));
    auto sums = edgesOf(readFile(requestOf(folder.path("c.igs"))));
    EXPECT_EQ(sums[Kind::sharp].count, 2);
    EXPECT_EQ(sums[Kind::seam].count, 1);
}

TEST_F(CadReaderTest, AnAssemblyMayBeOfSeveralFiles) {
    const auto numbersOf = [](const ModelParts& parts) {
        return std::pair(parts.instances.size(), parts.numTriangles());
    };
    writeStep(folder.path("whole.step"), boltedPlate(3));
    const auto whole = numbersOf(readFile(requestOf(folder.path("whole.step"))));
    writeStepOfFiles(folder.path("parts.step"), boltedPlate(3));
    std::vector<std::filesystem::path> pieces;
    for (const auto& each : std::filesystem::directory_iterator(folder.path(""))) {
        if (each.path().filename().string().starts_with("part ")) {
            pieces.push_back(each.path());
        }
    }
    ASSERT_GE(pieces.size(), 2);
    EXPECT_EQ(numbersOf(readFile(requestOf(folder.path("parts.step")))), whole);

    EXPECT_EQ(numbersOf(readFile(requestOf(std::filesystem::relative(folder.path("parts.step")).string()))), whole);

    const std::string lost = pieces.front().filename().string();
    std::filesystem::remove(pieces.front());
    const ModelParts rest = readFile(requestOf(folder.path("parts.step")));
    EXPECT_LT(rest.instances.size(), whole.first);
    EXPECT_THAT(rest.warnings,
                ElementsAre(testing::HasSubstr("1 file that it refers to can't be read (" + lost + ")")));
    std::for_each(pieces.begin() + 1, pieces.end(), [](const auto& path) { std::filesystem::remove(path); });
    EXPECT_THROW(readFile(requestOf(folder.path("parts.step"))), ImportError);
}

TEST_F(CadReaderTest, SaysWhyAFileCanNotBeUsed) {
    const auto failure = [this](const std::string& name, const std::string& content) -> std::string {
        try {
            readFile(requestOf(folder.write(name, content)));
        } catch (const ImportError& error) {
            return error.what();
        }
        return "read";
    };
    EXPECT_EQ(failure("no.step", "nothing of the kind"), "it is broken, or no STEP file");
    EXPECT_EQ(failure("no.igs", "nothing of the kind"), "it is broken, or no IGES file");
    EXPECT_EQ(failure("no.brep", "nothing of the kind"), "it is broken, or no BREP file");
    const std::string tessellated =
        "ISO-10303-21;\nHEADER;\nFILE_DESCRIPTION((''),'2;1');\nFILE_NAME('','',(''),(''),'','','');\n"
        "FILE_SCHEMA(('AP242_MANAGED_MODEL_BASED_3D_ENGINEERING_MIM_LF'));\nENDSEC;\nDATA;\n"
        "#1=COORDINATES_LIST('',3,((0.,0.,0.),(1.,0.,0.),(0.,1.,0.)));\n"
        "#2=TRIANGULATED_FACE('',#1,3,((0.,0.,1.)),$,(1,2,3),((1,2,3)));\n#3=TESSELLATED_SOLID('',(#2),$);\n"
        "ENDSEC;\nEND-ISO-10303-21;\n";
    EXPECT_EQ(failure("mesh.stp", tessellated),
              "it holds only triangles (an AP242 tessellation) and no exact surfaces; export it with its surfaces "
              "(B-rep), or as a mesh");
    writeStep(folder.path("c.step"), documentOf(cylinder(), "c"));
    ReaderRequest few = requestOf(folder.path("c.step"));
    few.limits = {10};
    EXPECT_THROW(readFile(few), ImportError);
}
