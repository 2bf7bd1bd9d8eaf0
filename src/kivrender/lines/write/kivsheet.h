// The sheet that a drawing is put on: its paper, its scale and its pens. Lengths are millimetres.
#ifndef KIVRENDER_LINES_WRITE_KIVSHEET_H
#define KIVRENDER_LINES_WRITE_KIVSHEET_H

#include "kivrender/lines/kivvectordrawing.h"
#include "kivrender/platform/kivexport.h"

#include <string_view>

struct KIV_API KivSheet {
    enum class Page {
        picture, // the picture's own frame: a pixel is a pixel in SVG, a point on pages, 1/96 inch elsewhere
        fit,     // as small as what is drawn and the margin allow
        paper,   // width by height, the drawing in its middle
    };
    enum class Hidden { none, thin, dashed };

    Page page = Page::picture;
    double width = 210.0; // of the paper as it lies before the reader
    double height = 297.0;
    double margin = 10.0;
    // A length on the paper by the same length in the model. 0: a paper is filled up to its margins, other pages keep
    // the picture's size.
    double scale = 0.0;
    double modelUnit = 1.0; // millimetres in a unit of the model
    Hidden hidden = Hidden::dashed;
    // The widths of the strokes by their kind; 0: as wide as the drawing has them.
    double pen[kivStrokeKinds] = {};
    double hiddenPen = 0.0; // of hidden strokes of all kinds; 0: half the width of a visible one
    bool paintsBackground = true;
    bool outlinesAreas = false; // formats without areas draw their outlines
};

// What users write. Each takes the whole text or changes nothing and gives false.

// "A4", "letter", "210x297mm", "8.5x11in", "fit", "picture"; without regard to case. Papers stand upright.
KIV_API bool kivReadPage(std::string_view text, KivSheet* sheet);
// "1:2", "2:1", "0.5".
KIV_API bool kivReadScale(std::string_view text, double* scale);
// "0.5mm", "1.4pt", "0.1in"; a number alone is in millimetres. From 0 on.
KIV_API bool kivReadLength(std::string_view text, double* millimetres);
// "mm", "cm", "m", "inch", "in", "ft", "um": millimetres in that unit.
KIV_API bool kivReadUnit(std::string_view text, double* millimetres);
// "contour=0.5mm,crease=0.25mm": kinds by kivNameOf, "hidden", and "all".
KIV_API bool kivReadPens(std::string_view text, KivSheet* sheet);
// A line group of ISO 128-24 by the width of its wide lines, "0.25" to "2": contours and boundaries are wide, all
// else, hidden lines too, has the narrow width of the group.
KIV_API bool kivReadLineGroup(std::string_view text, KivSheet* sheet);

// All the names, with blanks between them, for help and completion.
KIV_API const char* kivPageNames();
KIV_API const char* kivUnitNames();
KIV_API const char* kivLineGroupNames();

#endif
