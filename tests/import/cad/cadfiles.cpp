#include "cadfiles.h"

#include <cmath>
#include <numbers>
#include <stdexcept>

#include <BRepAlgoAPI_Common.hxx>
#include <BRepAlgoAPI_Cut.hxx>
#include <BRepAlgoAPI_Fuse.hxx>
#include <BRepBuilderAPI_MakeEdge.hxx>
#include <BRepBuilderAPI_MakeFace.hxx>
#include <BRepBuilderAPI_MakePolygon.hxx>
#include <BRepBuilderAPI_MakeWire.hxx>
#include <BRepFilletAPI_MakeFillet.hxx>
#include <BRepLib.hxx>
#include <BRepOffsetAPI_ThruSections.hxx>
#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRepPrimAPI_MakePrism.hxx>
#include <BRepPrimAPI_MakeRevol.hxx>
#include <BRepPrimAPI_MakeSphere.hxx>
#include <BRepTools.hxx>
#include <BRep_Tool.hxx>
#include <GCE2d_MakeSegment.hxx>
#include <GC_MakeArcOfCircle.hxx>
#include <Geom2d_Ellipse.hxx>
#include <Geom2d_TrimmedCurve.hxx>
#include <Geom_BezierCurve.hxx>
#include <Geom_CylindricalSurface.hxx>
#include <Geom_TrimmedCurve.hxx>
#include <IGESCAFControl_Writer.hxx>
#include <IGESControl_Controller.hxx>
#include <Interface_Static.hxx>
#include <Message.hxx>
#include <Message_Messenger.hxx>
#include <STEPCAFControl_Controller.hxx>
#include <STEPCAFControl_Writer.hxx>
#include <TColgp_Array1OfPnt.hxx>
#include <TDF_LabelSequence.hxx>
#include <TDataStd_Name.hxx>
#include <TopExp.hxx>
#include <TopExp_Explorer.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Edge.hxx>
#include <TopoDS_Vertex.hxx>
#include <XCAFDoc_ColorTool.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_GraphNode.hxx>
#include <XCAFDoc_LayerTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <gp.hxx>
#include <gp_Ax2.hxx>
#include <gp_Ax2d.hxx>
#include <gp_Ax3.hxx>

namespace {

bool isUpright(const TopoDS_Edge& edge) {
    TopoDS_Vertex begin;
    TopoDS_Vertex end;
    TopExp::Vertices(edge, begin, end);
    const gp_Pnt a = BRep_Tool::Pnt(begin);
    const gp_Pnt b = BRep_Tool::Pnt(end);
    return std::abs(a.Z() - b.Z()) > 1.0;
}

gp_Trsf shift(double x, double y, double z) {
    gp_Trsf placement;
    placement.SetTranslation(gp_Vec(x, y, z));
    return placement;
}

void setName(const TDF_Label& label, const char* name) {
    TDataStd_Name::Set(label, name);
}

Handle(TDocStd_Document) emptyDocument() {
    Handle(TDocStd_Document) document = new TDocStd_Document("BinXCAF");
    XCAFDoc_DocumentTool::Set(document->Main());
    return document;
}

Quantity_Color screenColour(double r, double g, double b) {
    return {r, g, b, Quantity_TOC_sRGB};
}

TopoDS_Shape upperFace(const TopoDS_Shape& box, double height) {
    for (TopExp_Explorer at(box, TopAbs_FACE); at.More(); at.Next()) {
        bool isUpper = true;
        for (TopExp_Explorer vertex(at.Current(), TopAbs_VERTEX); vertex.More(); vertex.Next()) {
            isUpper = isUpper && std::abs(BRep_Tool::Pnt(TopoDS::Vertex(vertex.Current())).Z() - height) < 1e-9;
        }
        if (isUpper) {
            return at.Current();
        }
    }
    throw std::runtime_error("no upper face");
}

} // namespace

TopoDS_Shape filletedBox() {
    const TopoDS_Shape box = BRepPrimAPI_MakeBox(40.0, 30.0, 20.0).Shape();
    BRepFilletAPI_MakeFillet fillets(box);
    TopTools_IndexedMapOfShape edges;
    TopExp::MapShapes(box, TopAbs_EDGE, edges);
    for (int i = 1; i <= edges.Extent(); ++i) {
        const TopoDS_Edge& edge = TopoDS::Edge(edges(i));
        if (isUpright(edge)) {
            fillets.Add(5.0, edge);
        }
    }
    return fillets.Shape();
}

TopoDS_Shape roundedBox() {
    const TopoDS_Shape box = BRepPrimAPI_MakeBox(120.0, 60.0, 30.0).Shape();
    BRepFilletAPI_MakeFillet fillets(box);
    for (TopExp_Explorer at(box, TopAbs_EDGE); at.More(); at.Next()) {
        fillets.Add(6.0, TopoDS::Edge(at.Current()));
    }
    return fillets.Shape();
}

TopoDS_Shape cylinder() {
    return BRepPrimAPI_MakeCylinder(10.0, 30.0).Shape();
}

TopoDS_Shape vase(bool isInTwo) {
    TColgp_Array1OfPnt poles(1, 4);
    const double places[4][2] = {{10.0, 0.0}, {25.0, 12.0}, {2.0, 22.0}, {12.0, 40.0}};
    for (int i = 0; i < 4; ++i) {
        poles.SetValue(i + 1, gp_Pnt(places[i][0], 0.0, places[i][1]));
    }
    const Handle(Geom_BezierCurve) side = new Geom_BezierCurve(poles);
    const double middle = isInTwo ? 0.5 : 1.0;
    const auto line = [](double r, double z, double toR, double toZ) {
        return BRepBuilderAPI_MakeEdge(gp_Pnt(r, 0.0, z), gp_Pnt(toR, 0.0, toZ)).Edge();
    };
    BRepBuilderAPI_MakeWire outline(line(0.0, 0.0, 10.0, 0.0), BRepBuilderAPI_MakeEdge(side, 0.0, middle));
    if (isInTwo) {
        outline.Add(BRepBuilderAPI_MakeEdge(side, middle, 1.0));
    }
    outline.Add(line(12.0, 40.0, 0.0, 40.0));
    outline.Add(line(0.0, 40.0, 0.0, 0.0));
    return BRepPrimAPI_MakeRevol(BRepBuilderAPI_MakeFace(outline.Wire()), gp::OZ()).Shape();
}

TopoDS_Shape bentBar(double degrees) {
    BRepBuilderAPI_MakePolygon outline;
    const double rise = std::tan(degrees * std::numbers::pi / 180.0) * 20.0;
    for (const auto& [x, z] : {std::pair{0.0, 0.0}, {20.0, 0.0}, {40.0, rise}, {40.0, 10.0}, {0.0, 10.0}}) {
        outline.Add(gp_Pnt(x, 0.0, z));
    }
    outline.Close();
    return BRepPrimAPI_MakePrism(BRepBuilderAPI_MakeFace(outline.Wire()), gp_Vec(0.0, 10.0, 0.0)).Shape();
}

TopoDS_Shape cutInHalves(const TopoDS_Shape& body) {
    const TopoDS_Shape front = BRepPrimAPI_MakeBox(gp_Pnt(-100.0, -100.0, -100.0), gp_Pnt(100.0, 0.0, 100.0)).Shape();
    const TopoDS_Shape back = BRepPrimAPI_MakeBox(gp_Pnt(-100.0, 0.0, -100.0), gp_Pnt(100.0, 100.0, 100.0)).Shape();
    return BRepAlgoAPI_Fuse(BRepAlgoAPI_Common(body, front).Shape(), BRepAlgoAPI_Common(body, back).Shape()).Shape();
}

TopoDS_Shape sphereWithHoles() {
    const gp_Ax2 alongX(gp_Pnt(-30.0, 0.0, 0.0), gp_Dir(1.0, 0.0, 0.0));
    const gp_Ax2 alongY(gp_Pnt(0.0, 0.0, 0.0), gp_Dir(0.0, 1.0, 0.0));
    const TopoDS_Shape sphere = BRepPrimAPI_MakeSphere(20.0).Shape();
    const TopoDS_Shape once = BRepAlgoAPI_Cut(sphere, BRepPrimAPI_MakeCylinder(alongX, 5.0, 60.0).Shape()).Shape();
    return BRepAlgoAPI_Cut(once, BRepPrimAPI_MakeCylinder(alongY, 3.0, 30.0).Shape()).Shape();
}

TopoDS_Shape bolt() {
    const gp_Ax2 top(gp_Pnt(0.0, 0.0, 10.0), gp_Dir(0.0, 0.0, 1.0));
    return BRepAlgoAPI_Fuse(BRepPrimAPI_MakeCylinder(2.0, 10.0).Shape(),
                            BRepPrimAPI_MakeCylinder(top, 4.0, 3.0).Shape())
        .Shape();
}

TopoDS_Shape bottle() {
    const auto point = [](double r, double z) { return gp_Pnt(r, 0.0, z); };
    BRepBuilderAPI_MakeWire outline;
    const auto line = [&](const gp_Pnt& a, const gp_Pnt& b) { outline.Add(BRepBuilderAPI_MakeEdge(a, b)); };
    // An eighth of a turn says which way round.
    const auto arc = [&](const gp_Pnt& a, const gp_Pnt& centre, double from, double radius, const gp_Pnt& b) {
        const double middle = from + std::numbers::pi / 4.0;
        const gp_Pnt on = point(centre.X() + radius * std::cos(middle), centre.Z() + radius * std::sin(middle));
        outline.Add(BRepBuilderAPI_MakeEdge(GC_MakeArcOfCircle(a, on, b).Value()));
    };
    constexpr double pi = std::numbers::pi;
    line(point(0.0, 0.0), point(17.0, 0.0));
    arc(point(17.0, 0.0), point(17.0, 3.0), -pi / 2.0, 3.0, point(20.0, 3.0));
    line(point(20.0, 3.0), point(20.0, 38.0));
    arc(point(20.0, 38.0), point(12.0, 38.0), 0.0, 8.0, point(12.0, 46.0));
    arc(point(12.0, 46.0), point(12.0, 50.0), -pi, 4.0, point(8.0, 50.0));
    line(point(8.0, 50.0), point(8.0, 64.0));
    line(point(8.0, 64.0), point(7.0, 64.0));
    line(point(7.0, 64.0), point(7.0, 45.0));
    line(point(7.0, 45.0), point(0.0, 45.0));
    line(point(0.0, 45.0), point(0.0, 0.0));
    return BRepPrimAPI_MakeRevol(BRepBuilderAPI_MakeFace(outline.Wire()).Face(), gp::OZ()).Shape();
}

TopoDS_Shape gear() {
    constexpr int teeth = 16;
    BRepBuilderAPI_MakePolygon outline;
    for (int i = 0; i < teeth * 4; ++i) {
        const double turn = 2.0 * std::numbers::pi * (i + (i % 4 == 1 || i % 4 == 3 ? 0.4 : 0.0)) / (teeth * 4);
        const double radius = i % 4 < 2 ? 20.0 : 16.0;
        outline.Add(gp_Pnt(radius * std::cos(turn), radius * std::sin(turn), 0.0));
    }
    outline.Close();
    const TopoDS_Shape wheel =
        BRepPrimAPI_MakePrism(BRepBuilderAPI_MakeFace(outline.Wire()).Face(), gp_Vec(0.0, 0.0, 8.0)).Shape();
    return BRepAlgoAPI_Cut(wheel, BRepPrimAPI_MakeCylinder(6.0, 8.0).Shape()).Shape();
}

TopoDS_Shape threadedRod() {
    // On a cylinder a straight line of its parameters is a helix. Two closed ones, on cylinders of their own, with a
    // solid between them: a ridge that begins and ends in a point.
    constexpr double height = 20.0;
    const gp_Ax3 axes(gp_Pnt(0.0, 0.0, 5.0), gp_Dir(0.0, 0.0, 1.0));
    const double steep = std::atan2(height, 4.0 * std::numbers::pi);
    const double half = std::hypot(height, 4.0 * std::numbers::pi) / 2.0;
    const gp_Ax2d along(gp_Pnt2d(2.0 * std::numbers::pi, height / 2.0), gp_Dir2d(std::cos(steep), std::sin(steep)));
    BRepOffsetAPI_ThruSections ridge(true);
    ridge.CheckCompatibility(false);
    for (const bool isOuter : {false, true}) {
        const Handle(Geom_CylindricalSurface) surface = new Geom_CylindricalSurface(axes, isOuter ? 9.0 : 7.8);
        const Handle(Geom2d_Ellipse) ellipse = new Geom2d_Ellipse(along, half, isOuter ? 0.4 : 1.2);
        const Handle(Geom2d_TrimmedCurve) arc = new Geom2d_TrimmedCurve(ellipse, 0.0, std::numbers::pi);
        const gp_Pnt2d begin = ellipse->Value(0.0);
        const gp_Pnt2d end = ellipse->Value(std::numbers::pi);
        const Handle(Geom2d_TrimmedCurve) back = GCE2d_MakeSegment(end, begin).Value();
        const TopoDS_Wire wire =
            BRepBuilderAPI_MakeWire(BRepBuilderAPI_MakeEdge(arc, surface), BRepBuilderAPI_MakeEdge(back, surface))
                .Wire();
        BRepLib::BuildCurves3d(wire);
        ridge.AddWire(wire);
    }
    return BRepAlgoAPI_Fuse(BRepPrimAPI_MakeCylinder(8.0, 30.0).Shape(), ridge.Shape()).Shape();
}

Handle(TDocStd_Document) boltedPlate(int count) {
    const Handle(TDocStd_Document) document = emptyDocument();
    const Handle(XCAFDoc_ShapeTool) shapes = XCAFDoc_DocumentTool::ShapeTool(document->Main());
    const Handle(XCAFDoc_ColorTool) colours = XCAFDoc_DocumentTool::ColorTool(document->Main());
    const TDF_Label all = shapes->NewShape();
    setName(all, "plate with bolts");
    const TopoDS_Shape plate = BRepPrimAPI_MakeBox(100.0, 100.0, 5.0).Shape();
    const TDF_Label plateLabel = shapes->AddShape(plate, false);
    setName(plateLabel, "base");
    colours->SetColor(plateLabel, screenColour(0.2, 0.4, 0.8), XCAFDoc_ColorSurf);
    colours->SetColor(shapes->AddSubShape(plateLabel, upperFace(plate, 5.0)), screenColour(0.9, 0.1, 0.1),
                      XCAFDoc_ColorSurf);
    setName(shapes->AddComponent(all, plateLabel, TopLoc_Location()), "base");
    const TDF_Label boltLabel = shapes->AddShape(bolt(), false);
    setName(boltLabel, "bolt");
    colours->SetColor(boltLabel, screenColour(0.9, 0.8, 0.2), XCAFDoc_ColorSurf);
    const TDF_Label group = shapes->NewShape();
    setName(group, "bolts");
    for (int i = 0; i < count; ++i) {
        const TDF_Label instance =
            shapes->AddComponent(group, boltLabel, shift(5.0 + i % 10 * 10.0, 5.0 + i / 10 * 10.0, 5.0));
        setName(instance, ("bolt " + std::to_string(i + 1)).c_str());
    }
    setName(shapes->AddComponent(all, group, TopLoc_Location()), "bolts");
    shapes->UpdateAssemblies();
    return document;
}

Handle(TDocStd_Document) assemblyOf(const TopoDS_Shape& part, const std::vector<gp_Trsf>& places) {
    const Handle(TDocStd_Document) document = emptyDocument();
    const Handle(XCAFDoc_ShapeTool) shapes = XCAFDoc_DocumentTool::ShapeTool(document->Main());
    const TDF_Label all = shapes->NewShape();
    setName(all, "all");
    const TDF_Label label = shapes->AddShape(part, false);
    setName(label, "part");
    for (std::size_t i = 0; i < places.size(); ++i) {
        setName(shapes->AddComponent(all, label, places[i]), ("part " + std::to_string(i + 1)).c_str());
    }
    shapes->UpdateAssemblies();
    return document;
}

Handle(TDocStd_Document) pairsOfParts() {
    const Handle(TDocStd_Document) document = emptyDocument();
    const Handle(XCAFDoc_ShapeTool) shapes = XCAFDoc_DocumentTool::ShapeTool(document->Main());
    const Handle(XCAFDoc_ColorTool) colours = XCAFDoc_DocumentTool::ColorTool(document->Main());
    const Handle(XCAFDoc_LayerTool) layers = XCAFDoc_DocumentTool::LayerTool(document->Main());
    const TDF_Label boltLabel = shapes->AddShape(bolt(), false);
    setName(boltLabel, "bolt");
    colours->SetColor(boltLabel, screenColour(0.5, 0.5, 0.5), XCAFDoc_ColorSurf);
    layers->SetLayer(boltLabel, "steel");
    const TDF_Label pair = shapes->NewShape();
    setName(pair, "pair");
    const TDF_Label upper = shapes->AddComponent(pair, boltLabel, shift(0.0, 0.0, 20.0));
    setName(upper, "upper");
    const TDF_Label pinLabel = shapes->AddShape(BRepPrimAPI_MakeCylinder(2.0, 15.0).Shape(), false);
    setName(pinLabel, "pin");
    colours->SetColor(pinLabel, screenColour(0.5, 0.5, 0.5), XCAFDoc_ColorSurf);
    const TDF_Label lower = shapes->AddComponent(pair, pinLabel, TopLoc_Location());
    setName(lower, "lower");
    colours->SetColor(lower, screenColour(0.1, 0.8, 0.1), XCAFDoc_ColorSurf);
    const TDF_Label product = shapes->NewShape();
    setName(product, "product");
    setName(shapes->AddComponent(product, pair, TopLoc_Location()), "left");
    const TDF_Label right = shapes->AddComponent(product, pair, shift(20.0, 0.0, 0.0));
    setName(right, "right");
    shapes->UpdateAssemblies();
    TDF_LabelSequence chain;
    chain.Append(right);
    chain.Append(upper);
    Handle(XCAFDoc_GraphNode) usage;
    if (!shapes->SetSHUO(chain, usage)) {
        throw std::runtime_error("no usage of the upper bolt");
    }
    colours->SetColor(usage->Label(), screenColour(0.9, 0.1, 0.1), XCAFDoc_ColorSurf);
    return document;
}

Handle(TDocStd_Document) documentOf(const TopoDS_Shape& shape, const char* name) {
    const Handle(TDocStd_Document) document = emptyDocument();
    setName(XCAFDoc_DocumentTool::ShapeTool(document->Main())->AddShape(shape, false), name);
    return document;
}

void writeStep(const std::string& path, const Handle(TDocStd_Document) & document, const char* unit,
               const char* schema) {
    Message::DefaultMessenger()->ChangePrinters().Clear();
    STEPCAFControl_Controller::Init();
    Interface_Static::SetCVal("write.step.unit", unit);
    Interface_Static::SetCVal("write.step.schema", schema);
    STEPCAFControl_Writer writer;
    writer.SetSHUOMode(true);
    if (!writer.Transfer(document, STEPControl_AsIs) || writer.Write(path.c_str()) != IFSelect_RetDone) {
        throw std::runtime_error("can't write " + path);
    }
    Interface_Static::SetCVal("write.step.unit", "MM");
}

void writeStepOfFiles(const std::string& path, const Handle(TDocStd_Document) & document) {
    Message::DefaultMessenger()->ChangePrinters().Clear();
    STEPCAFControl_Controller::Init();
    STEPCAFControl_Writer writer;
    if (!writer.Transfer(document, STEPControl_AsIs, "part ") || writer.Write(path.c_str()) != IFSelect_RetDone) {
        throw std::runtime_error("can't write " + path);
    }
}

void writeIges(const std::string& path, const Handle(TDocStd_Document) & document, const char* unit) {
    Message::DefaultMessenger()->ChangePrinters().Clear();
    IGESControl_Controller::Init();
    Interface_Static::SetCVal("write.iges.unit", unit);
    IGESCAFControl_Writer writer;
    if (!writer.Transfer(document) || !writer.Write(path.c_str())) {
        throw std::runtime_error("can't write " + path);
    }
    Interface_Static::SetCVal("write.iges.unit", "MM");
}

void writeBrep(const std::string& path, const TopoDS_Shape& shape) {
    if (!BRepTools::Write(shape, path.c_str())) {
        throw std::runtime_error("can't write " + path);
    }
}
