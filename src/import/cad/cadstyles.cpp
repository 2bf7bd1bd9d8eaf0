#include "import/cad/cadstyles.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include <TopExp_Explorer.hxx>
#include <TopLoc_Location.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <XCAFPrs.hxx>
#include <XCAFPrs_IndexedDataMapOfShapeStyle.hxx>

namespace kivimport {
namespace {

// Colours are linear light there.
double toScreen(float linear) {
    return std::clamp(static_cast<double>(Quantity_Color::Convert_LinearRGB_To_sRGB(linear)), 0.0, 1.0);
}

std::string nameOf(const Colour& c) {
    const auto byte = [](double v) { return static_cast<unsigned int>(std::lround(v * 255.0)); };
    char text[8];
    std::snprintf(text, sizeof text, "#%02x%02x%02x", byte(c.r), byte(c.g), byte(c.b));
    return text;
}

} // namespace

std::uint32_t CadPalette::materialOf(const Quantity_ColorRGBA& colour) {
    const Quantity_Color& rgb = colour.GetRGB();
    const std::array<float, 4> key{static_cast<float>(rgb.Red()), static_cast<float>(rgb.Green()),
                                   static_cast<float>(rgb.Blue()), colour.Alpha()};
    const auto [place, isNew] = numbers.try_emplace(key, static_cast<std::uint32_t>(materials.size()));
    if (isNew) {
        Material& material = materials.emplace_back();
        material.diffuse = {toScreen(key[0]), toScreen(key[1]), toScreen(key[2])};
        material.opacity = std::clamp(static_cast<double>(key[3]), 0.0, 1.0);
        material.name = nameOf(material.diffuse);
    }
    return place->second;
}

std::uint32_t CadPalette::surfaceOf(const XCAFPrs_Style& style) {
    return style.IsSetColorSurf() ? materialOf(style.GetColorSurfRGBA()) : noIndex;
}

CadStyles::CadStyles(const TDF_Label& part, CadPalette& palette) {
    // The colour of the part as a whole comes with each instance, which may have one of its own.
    const TopoDS_Shape whole = XCAFDoc_ShapeTool::GetShape(part);
    XCAFPrs_IndexedDataMapOfShapeStyle styles;
    XCAFPrs::CollectStyleSettings(part, TopLoc_Location(), styles);
    // The innermost shape decides: a face before its shell, a shell before its solid.
    for (int type = TopAbs_COMPOUND; type <= TopAbs_EDGE; ++type) {
        for (int i = 1; i <= styles.Extent(); ++i) {
            const TopoDS_Shape& shape = styles.FindKey(i);
            const XCAFPrs_Style& style = styles.FindFromIndex(i);
            if (shape.ShapeType() != static_cast<TopAbs_ShapeEnum>(type) || shape.IsSame(whole)) {
                continue;
            }
            const std::uint32_t surface = palette.surfaceOf(style);
            for (TopExp_Explorer at(shape, TopAbs_FACE); surface != noIndex && at.More(); at.Next()) {
                faces.Bind(at.Current(), surface);
            }
            // Programs give the colour of a solid's lines along with that of its surface; only what was said of an edge
            // itself was meant for it.
            if (style.IsSetColorCurv() && type >= TopAbs_WIRE) {
                const std::uint32_t curve = palette.materialOf(Quantity_ColorRGBA(style.GetColorCurv()));
                for (TopExp_Explorer at(shape, TopAbs_EDGE); at.More(); at.Next()) {
                    edges.Bind(at.Current(), curve);
                }
            }
        }
    }
}

std::uint32_t CadStyles::ofFace(const TopoDS_Shape& face) const {
    const std::uint32_t* const found = faces.Seek(face);
    return found != nullptr ? *found : noIndex;
}

std::uint32_t CadStyles::ofEdge(const TopoDS_Shape& edge) const {
    const std::uint32_t* const found = edges.Seek(edge);
    return found != nullptr ? *found : noIndex;
}

void CadStyles::replaceFace(const TopoDS_Shape& face, const TopoDS_Shape& successor) {
    if (const std::uint32_t number = ofFace(face); number != noIndex) {
        faces.Bind(successor, number);
    }
}

} // namespace kivimport
