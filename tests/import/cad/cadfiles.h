// Files of CAD programs, written by Open CASCADE from shapes whose edges and surfaces are known on paper. Millimetres.
#ifndef TESTS_IMPORT_CAD_CADFILES_H
#define TESTS_IMPORT_CAD_CADFILES_H

#include <string>
#include <vector>

#include <TDocStd_Document.hxx>
#include <TopoDS_Shape.hxx>
#include <gp_Trsf.hxx>

// 40 by 30 by 20 from the origin, its upright edges rounded by 5.
TopoDS_Shape filletedBox();
// 120 by 60 by 30 from the origin, all its edges and corners rounded by 6.
TopoDS_Shape roundedBox();
// Radius 10, 30 high, upright on the origin.
TopoDS_Shape cylinder();
// A body of revolution whose side is a free curve; 40 high, upright on the origin. In two: half the curve for each of
// two faces, one above the other.
TopoDS_Shape vase(bool isInTwo);
// A bar of 40 by 10 by 10 along x whose under side bends in the middle.
TopoDS_Shape bentBar(double degrees);
// The halves of a body around the z axis, one on each side of the plane y = 0, in one solid whose faces stay cut there.
TopoDS_Shape cutInHalves(const TopoDS_Shape& body);
// Radius 20 around the origin; a hole of radius 5 along x, and one of radius 3 along y that ends in it.
TopoDS_Shape sphereWithHoles();
// A shank of radius 2, 10 long, with a head of radius 4, 3 high.
TopoDS_Shape bolt();
// A body of revolution with a round shoulder and a neck that is open above; every face runs smoothly into the next on
// the way from the foot to the lip. 40 wide, 64 high, upright on the origin.
TopoDS_Shape bottle();
// 16 teeth between the radii 16 and 20, 8 high, with a bore of radius 6. Upright on the origin.
TopoDS_Shape gear();
// A cylinder of radius 8, 30 high, with a ridge that winds round it twice. Upright on the origin.
TopoDS_Shape threadedRod();

// An assembly "plate with bolts": a blue plate "base" of 100 by 100 by 5, with a red upper side, and `count` bolts
// named "bolt 1" and so on, ten in a row, in a group "bolts". They are yellow.
Handle(TDocStd_Document) boltedPlate(int count);
// An assembly "all" of one part at several places, named "part 1" and so on.
Handle(TDocStd_Document) assemblyOf(const TopoDS_Shape& part, const std::vector<gp_Trsf>& places);
// "product" holds "left" and "right", two of one assembly of a bolt "upper" and a pin "lower", both grey. In the
// assembly the pin is green, and in the right one of the two the bolt is red. The bolt is on the layer "steel".
Handle(TDocStd_Document) pairsOfParts();
Handle(TDocStd_Document) documentOf(const TopoDS_Shape& shape, const char* name);

// unit: as Open CASCADE's writers name it, "MM" or "INCH". Throws if the file can't be written.
// schema: "AP203", "AP214IS" or "AP242DIS".
void writeStep(const std::string& path, const Handle(TDocStd_Document) & document, const char* unit = "MM",
               const char* schema = "AP214IS");
// Each part in a file of its own beside the file, which refers to them.
void writeStepOfFiles(const std::string& path, const Handle(TDocStd_Document) & document);
void writeIges(const std::string& path, const Handle(TDocStd_Document) & document, const char* unit = "MM");
void writeBrep(const std::string& path, const TopoDS_Shape& shape);

#endif
