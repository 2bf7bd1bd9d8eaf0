// Files of CAD programs, written by Open CASCADE from shapes whose edges and surfaces are known on paper. Millimetres.
#ifndef TESTS_IMPORT_CAD_CADFILES_H
#define TESTS_IMPORT_CAD_CADFILES_H

#include <string>

#include <TDocStd_Document.hxx>
#include <TopoDS_Shape.hxx>

// 40 by 30 by 20 from the origin, its upright edges rounded by 5.
TopoDS_Shape filletedBox();
// Radius 10, 30 high, upright on the origin.
TopoDS_Shape cylinder();
// Radius 20 around the origin; a hole of radius 5 along x, and one of radius 3 along y that ends in it.
TopoDS_Shape sphereWithHoles();
// A shank of radius 2, 10 long, with a head of radius 4, 3 high.
TopoDS_Shape bolt();

// An assembly "plate with bolts": a blue plate "base" of 100 by 100 by 5, with a red upper side, and `count` bolts
// named "bolt 1" and so on, ten in a row, in a group "bolts". They are yellow.
Handle(TDocStd_Document) boltedPlate(int count);
Handle(TDocStd_Document) documentOf(const TopoDS_Shape& shape, const char* name);

// unit: as Open CASCADE's writers name it, "MM" or "INCH". Throws if the file can't be written.
void writeStep(const std::string& path, const Handle(TDocStd_Document) & document, const char* unit = "MM");
void writeIges(const std::string& path, const Handle(TDocStd_Document) & document, const char* unit = "MM");
void writeBrep(const std::string& path, const TopoDS_Shape& shape);

#endif
