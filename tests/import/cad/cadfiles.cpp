#include "cadfiles.h"

#include <cmath>
#include <stdexcept>

#include <BRepAlgoAPI_Cut.hxx>
#include <BRepAlgoAPI_Fuse.hxx>
#include <BRepFilletAPI_MakeFillet.hxx>
#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRepPrimAPI_MakeSphere.hxx>
#include <BRepTools.hxx>
#include <BRep_Tool.hxx>
#include <IGESCAFControl_Writer.hxx>
#include <IGESControl_Controller.hxx>
#include <Interface_Static.hxx>
#include <Message.hxx>
#include <Message_Messenger.hxx>
#include <STEPCAFControl_Controller.hxx>
#include <STEPCAFControl_Writer.hxx>
#include <TDataStd_Name.hxx>
#include <TopExp.hxx>
#include <TopExp_Explorer.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Edge.hxx>
#include <TopoDS_Vertex.hxx>
#include <XCAFDoc_ColorTool.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <gp_Ax2.hxx>

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

TopoDS_Shape cylinder() {
    return BRepPrimAPI_MakeCylinder(10.0, 30.0).Shape();
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

Handle(TDocStd_Document) documentOf(const TopoDS_Shape& shape, const char* name) {
    const Handle(TDocStd_Document) document = emptyDocument();
    setName(XCAFDoc_DocumentTool::ShapeTool(document->Main())->AddShape(shape, false), name);
    return document;
}

void writeStep(const std::string& path, const Handle(TDocStd_Document) & document, const char* unit) {
    Message::DefaultMessenger()->ChangePrinters().Clear();
    STEPCAFControl_Controller::Init();
    Interface_Static::SetCVal("write.step.unit", unit);
    STEPCAFControl_Writer writer;
    if (!writer.Transfer(document, STEPControl_AsIs) || writer.Write(path.c_str()) != IFSelect_RetDone) {
        throw std::runtime_error("can't write " + path);
    }
    Interface_Static::SetCVal("write.step.unit", "MM");
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
