// A drawing as data: its strokes and areas with the objects that they belong to, free of any page format. Renders give
// it (kivdrawingcollector.h), shaders add to it, writers make files of it, hosts read it.
//
// The picture's pixels from its lower left corner are the unit of every place and width; colours have red in the low
// byte, then green, then blue.
//
// Paths are curves of lines and cubic pieces (curvefit.h). Every number is finite, every index in range, in what the
// library makes; writers rely on it, and a host that adds strokes of its own keeps to it. A drawing is a plain value:
// copies are independent.
#ifndef KIVRENDER_LINES_KIVVECTORDRAWING_H
#define KIVRENDER_LINES_KIVVECTORDRAWING_H

#include "kivrender/geometry/kivvec.h"
#include "kivrender/lines/curvefit.h"
#include "kivrender/lines/kivellipsearc.h"
#include "kivrender/platform/kivexport.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// Why a line is there.
enum class KivStrokeKind : std::uint8_t {
    contour,      // the surface turns away from the viewer (silhouette)
    boundary,     // an open surface ends
    crease,       // the surface bends sharply
    edge,         // an edge that the model itself names, as CAD files do
    material,     // two materials meet
    intersection, // surfaces run into each other without a common edge
    own,          // a line, polyline or point of the scene, or one that a shader drew without a word about it
    tangent,      // an edge that the model names, over which one face runs into the next without a bend
};
inline constexpr int kivStrokeKinds = 8;

// The name of a kind in files: "contour", "boundary", "crease", "edge", "material", "intersection", "line", "tangent".
KIV_API const char* kivNameOf(KivStrokeKind kind);

// One line, drawn from its start to its end with a pen.
struct KivStroke {
    std::uint32_t object = 0; // number in KivVectorDrawing::objects
    KivStrokeKind kind = KivStrokeKind::contour;
    bool hidden = false; // something stands before it
    // Of the pen, and its width in pixels.
    std::uint32_t color = 0;
    double width = 1.0;
    KivCurvePath path;                // a start without pieces is a dot
    std::vector<KivVec> space;        // the same line as a polyline in the model's units; empty where it is not known
    std::optional<KivEllipseArc> arc; // what the whole path is, where it is a circle, an ellipse or an arc of one
};

// Colours that change over an area: red, green and blue, a byte each, rows from the top down without padding, spread
// evenly over a rectangle of the drawing that reaches beyond the area on all sides.
struct KivAreaPicture {
    int width = 0; // above 0, as the height
    int height = 0;
    std::vector<std::uint8_t> pixels;
    KivPicturePoint low; // corners of the rectangle
    KivPicturePoint high;
};

// One look of one object that hangs together. Rings by the even-odd rule, the outer one first; the rings of areas of
// opacity 1 do not overlap where they were made as regions, but for backdrops, and are painted in their order else.
struct KivArea {
    std::uint32_t object = 0;
    std::uint32_t color = 0;
    double opacity = 1.0;
    std::vector<KivCurvePath> rings;
    // What to paint in place of the rings, where that is not the same: areas that are painted later cover what is more,
    // and nothing shines through between them and this one in viewers that smooth each area by itself.
    std::vector<KivCurvePath> painted;
    // Lies behind everything, in whole, and covers the sheet that the drawing is put on, in the picture's proportions.
    bool isBackdrop = false;
    // What to paint in place of the colour, which is then the mean of it; null for none. Areas with a picture are
    // opaque.
    std::shared_ptr<const KivAreaPicture> picture = nullptr;

    const std::vector<KivCurvePath>& paintedRings() const {
        return painted.empty() ? rings : painted;
    }
};

// What strokes and areas belong to, so that files can group them.
struct KivDrawnObject {
    std::wstring name; // as the model has it; may be empty, repeated and hold any character
};

// The whole of it; empty at first.
struct KivVectorDrawing {
    // Of the picture, in pixels; above 0 in a drawing that was rendered.
    double width = 0.0;
    double height = 0.0;
    double unitsPerPixel = 0.0; // the model's units in parallel views; 0 where no such number exists
    // The colour behind everything, which a writer paints if its sheet wants it.
    std::uint32_t background = 0xFFFFFF;
    // Opaque areas are painted with a rim of this width in their own colour: what lies behind two neighbours shines
    // through between them in viewers that smooth each edge by itself. 0 for none.
    double areaRim = 0.0;
    // Set before the render: shaders add hidden strokes too.
    bool wantsHidden = false;
    // Set before the render: how much work lines and areas may take before they are cut short, as a part of what is
    // promised (docs/vector.md).
    double effort = 1.0;
    bool linesAreCutShort = false; // for who finds the lines: some are missing
    // What the file calls itself; may be empty.
    std::wstring title;
    std::vector<KivDrawnObject> objects; // number 0 stands for what belongs to no object
    std::vector<KivArea> areas;          // in the order of painting, below all strokes
    std::vector<KivStroke> strokes;      // in the order of painting
    std::vector<std::wstring> messages;  // one line each, if something could not be drawn as it was to be
};

// The drawing that the render under way is to fill, or null: shaders that know lines add them here and draw none. For
// the thread that renders.
KIV_API KivVectorDrawing* kivCollectedDrawing();
// Names that drawing, null for none. Returns the former one.
KIV_API KivVectorDrawing* kivCollectDrawing(KivVectorDrawing* drawing);

#endif
