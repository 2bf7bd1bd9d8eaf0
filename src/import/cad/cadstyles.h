// The colours that a document gives to the faces and edges of a part.
#ifndef IMPORT_CAD_CADSTYLES_H
#define IMPORT_CAD_CADSTYLES_H

#include "import/modelparts.h"

#include <array>
#include <cstdint>
#include <map>
#include <vector>

#include <NCollection_DataMap.hxx>
#include <Quantity_ColorRGBA.hxx>
#include <TDF_Label.hxx>
#include <TopTools_ShapeMapHasher.hxx>
#include <TopoDS_Shape.hxx>
#include <XCAFPrs_Style.hxx>

namespace kivimport {

// Materials of a model, one for each colour.
class CadPalette {
public:
    explicit CadPalette(std::vector<Material>& modelMaterials) : materials(modelMaterials) {}

    std::uint32_t materialOf(const Quantity_ColorRGBA& colour);
    // noIndex for a style that says nothing of surfaces.
    std::uint32_t surfaceOf(const XCAFPrs_Style& style);

private:
    std::vector<Material>& materials;
    std::map<std::array<float, 4>, std::uint32_t> numbers;
};

class CadStyles {
public:
    // Of the part that the label holds.
    CadStyles(const TDF_Label& part, CadPalette& palette);

    // noIndex for a face or an edge without a colour of its own.
    std::uint32_t ofFace(const TopoDS_Shape& face) const;
    std::uint32_t ofEdge(const TopoDS_Shape& edge) const;
    // A face that takes the place of another one.
    void replaceFace(const TopoDS_Shape& face, const TopoDS_Shape& successor);

private:
    using Numbers = NCollection_DataMap<TopoDS_Shape, std::uint32_t, TopTools_ShapeMapHasher>;

    Numbers faces;
    Numbers edges;
};

} // namespace kivimport

#endif
