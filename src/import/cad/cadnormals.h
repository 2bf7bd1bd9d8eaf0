// Normals of exact surfaces.
#ifndef IMPORT_CAD_CADNORMALS_H
#define IMPORT_CAD_CADNORMALS_H

#include "import/modelparts.h"

#include <Geom_Surface.hxx>
#include <TopLoc_Location.hxx>
#include <TopoDS_Face.hxx>
#include <gp_Pnt2d.hxx>
#include <gp_Trsf.hxx>

namespace kivimport {

// The outward normals of one face, in the coordinates of the shape that it is part of.
class CadNormals {
public:
    explicit CadNormals(const TopoDS_Face& face);

    // Unit length; zero where the surface has none, as at the tip of a cone, or where Open CASCADE fails.
    Vec3 at(const gp_Pnt2d& uv) const;

private:
    Handle(Geom_Surface) surface;
    gp_Trsf placement;
    bool isTurned;
};

} // namespace kivimport

#endif
