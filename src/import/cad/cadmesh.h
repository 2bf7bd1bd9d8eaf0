// A part that Open CASCADE has cut into triangles, as a surface: with the normals of the exact surfaces, and each edge
// as a polyline through vertices that the faces beside it share.
#ifndef IMPORT_CAD_CADMESH_H
#define IMPORT_CAD_CADMESH_H

#include "import/cad/caddocument.h"
#include "import/cad/cadstyles.h"
#include "import/modelparts.h"

#include <vector>

#include <TopoDS_Shape.hxx>

namespace kivimport {

struct CadPart {
    Surface surface; // its parts have no name; those without a colour no material
    std::vector<Polyline> wires;
};

// The shape must have been meshed. Faces without triangles are counted.
CadPart takeMesh(const TopoDS_Shape& shape, const CadStyles& styles, double deflection, CadLosses& losses);

// Joins the faces of a shape that meet without sharing their edges; the styles follow. Costs a search for neighbours.
TopoDS_Shape sewn(const TopoDS_Shape& shape, CadStyles& styles);

} // namespace kivimport

#endif
