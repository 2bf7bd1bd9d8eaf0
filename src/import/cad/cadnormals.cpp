#include "import/cad/cadnormals.h"

#include <BRep_Tool.hxx>
#include <GeomLib.hxx>
#include <Precision.hxx>
#include <Standard_Failure.hxx>
#include <gp_Dir.hxx>
#include <gp_Vec.hxx>

namespace kivimport {

CadNormals::CadNormals(const TopoDS_Face& face) {
    TopLoc_Location location;
    surface = BRep_Tool::Surface(face, location);
    placement = location.Transformation();
    isTurned = face.Orientation() == TopAbs_REVERSED;
}

Vec3 CadNormals::at(const gp_Pnt2d& uv) const {
    if (surface.IsNull()) {
        return {};
    }
    gp_Pnt point;
    gp_Vec alongU;
    gp_Vec alongV;
    gp_Vec normal;
    try {
        surface->D1(uv.X(), uv.Y(), point, alongU, alongV);
        normal = alongU.Crossed(alongV);
        // One of the derivatives is gone at a pole: the neighbourhood tells more.
        if (normal.SquareMagnitude() <= 1e-20 * alongU.SquareMagnitude() * alongV.SquareMagnitude() ||
            normal.Magnitude() < gp::Resolution()) {
            gp_Dir estimate;
            if (GeomLib::NormEstim(surface, uv, Precision::Confusion(), estimate) > 1) {
                return {};
            }
            normal = gp_Vec(estimate);
        }
    } catch (const Standard_Failure&) {
        return {};
    }
    normal.Transform(placement);
    if (isTurned) {
        normal.Reverse();
    }
    return unit({normal.X(), normal.Y(), normal.Z()});
}

} // namespace kivimport
