// Draws a CAD file by Open CASCADE's own removal of hidden lines, for comparison with drawings of ours:
//
//     cadhiddenlines part.step 500 1,-1,1 0,0,20 > theirs.svg
//     selvarin render part.step --ortho 500 --eye 1000,-1000,1020 --target 0,0,20 --base none -o ours.svg
//
// The picture of 1280 by 960 pixels shows so many millimetres of the model from top to bottom. The first point tells
// where the viewer is, seen from the second one, which is in the middle; z is up. Sharp edges and outlines are black,
// smooth edges grey.
#include "import/cad/caddocument.h"

#include <cstdio>
#include <exception>

#include <BRepAdaptor_Curve.hxx>
#include <BRepLib.hxx>
#include <BRep_Builder.hxx>
#include <GCPnts_TangentialDeflection.hxx>
#include <HLRAlgo_Projector.hxx>
#include <HLRBRep_Algo.hxx>
#include <HLRBRep_HLRToShape.hxx>
#include <Standard_Failure.hxx>
#include <TDF_LabelSequence.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Compound.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <gp_Ax2.hxx>

namespace {

constexpr double width = 1280.0;
constexpr double height = 960.0;

TopoDS_Compound readAll(const char* path) {
    kivimport::CadLosses losses;
    const kivimport::CadDocument file = kivimport::readCadDocument(path, Message_ProgressRange(), losses);
    TDF_LabelSequence labels;
    XCAFDoc_DocumentTool::ShapeTool(file.document->Main())->GetFreeShapes(labels);
    BRep_Builder builder;
    TopoDS_Compound all;
    builder.MakeCompound(all);
    for (const TDF_Label& label : labels) {
        builder.Add(all, XCAFDoc_ShapeTool::GetShape(label));
    }
    return all;
}

class Sheet {
public:
    explicit Sheet(double pixelsPerUnit) : scale(pixelsPerUnit) {
        std::printf("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%g\" height=\"%g\">\n"
                    "<rect width=\"100%%\" height=\"100%%\" fill=\"white\"/>\n",
                    width, height);
    }
    ~Sheet() {
        std::printf("</svg>\n");
    }
    Sheet(const Sheet&) = delete;
    Sheet& operator=(const Sheet&) = delete;

    void draw(TopoDS_Shape lines, const char* colour) const {
        if (lines.IsNull()) {
            return;
        }
        BRepLib::BuildCurves3d(lines);
        for (TopExp_Explorer at(lines, TopAbs_EDGE); at.More(); at.Next()) {
            const BRepAdaptor_Curve curve(TopoDS::Edge(at.Current()));
            const GCPnts_TangentialDeflection points(curve, 0.1, 0.05 / scale);
            std::printf("<polyline fill=\"none\" stroke=\"%s\" points=\"", colour);
            for (int i = 1; i <= points.NbPoints(); ++i) {
                const gp_Pnt p = points.Value(i);
                std::printf("%.3f,%.3f ", width / 2.0 + p.X() * scale, height / 2.0 - p.Y() * scale);
            }
            std::printf("\"/>\n");
        }
    }

private:
    double scale;
};

void draw(const TopoDS_Shape& shape, const HLRAlgo_Projector& projector, double pixelsPerUnit) {
    const Handle(HLRBRep_Algo) algorithm = new HLRBRep_Algo;
    algorithm->Add(shape);
    algorithm->Projector(projector);
    algorithm->Update();
    algorithm->Hide();
    HLRBRep_HLRToShape lines(algorithm);
    const Sheet sheet(pixelsPerUnit);
    sheet.draw(lines.Rg1LineVCompound(), "#999999");
    sheet.draw(lines.VCompound(), "black");
    sheet.draw(lines.OutLineVCompound(), "black");
}

bool readPoint(const char* text, gp_XYZ& point) {
    return std::sscanf(text, "%lf,%lf,%lf", &point.ChangeCoord(1), &point.ChangeCoord(2), &point.ChangeCoord(3)) == 3;
}

} // namespace

int main(int count, char** words) {
    double unitsHigh = 0.0;
    gp_XYZ towards;
    gp_XYZ target;
    if (count != 5 || std::sscanf(words[2], "%lf", &unitsHigh) != 1 || !readPoint(words[3], towards) ||
        !readPoint(words[4], target)) {
        std::fputs("cadhiddenlines FILE HEIGHT X,Y,Z X,Y,Z\n", stderr);
        return 2;
    }
    try {
        const gp_Dir right = gp_Dir(0.0, 0.0, 1.0).Crossed(gp_Dir(towards));
        draw(readAll(words[1]), HLRAlgo_Projector(gp_Ax2(target, towards, right)), height / unitsHigh);
    } catch (const Standard_Failure& failure) {
        std::fprintf(stderr, "%s: %s\n", words[1], failure.GetMessageString());
        return 1;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s: %s\n", words[1], failure.what());
        return 1;
    }
    return 0;
}
