// Drawings as files that other programs work on: whole strokes and areas, with the objects and kinds that they belong
// to. The same drawing and sheet give the same bytes, whatever the locale.
//
// SVG: a group for each object, in it one for its areas and one for each kind of line; a stylesheet; Inkscape layers.
// PDF and AI: a layer that viewers can switch for the areas, for each kind and for what is hidden. EPS, PS: curves.
// DXF (R2000): layers by kind, objects as groups, true arcs. HPGL: a pen for each kind, in an order of little travel.
#ifndef KIVRENDER_LINES_WRITE_KIVDRAWINGWRITER_H
#define KIVRENDER_LINES_WRITE_KIVDRAWINGWRITER_H

#include "kivrender/lines/kivvectordrawing.h"
#include "kivrender/lines/write/kivsheet.h"
#include "kivrender/platform/kivexport.h"

#include <functional>
#include <string>
#include <string_view>

enum class KivDrawingFormat { svg, pdf, ai, eps, ps, dxf, hpgl };

// By a file's ending in lower case without its dot: those of the formats, and "plt". False for others.
KIV_API bool kivDrawingFormatOf(std::string_view ending, KivDrawingFormat* format);
// Whether files of the format show the pictures of areas. All others have the colours of these areas.
KIV_API bool kivHoldsPictures(KivDrawingFormat format);

// Why a drawing can't be put on its sheet.
enum class KivSheetProblem {
    none,
    noScale,    // a scale for a view that is not parallel
    noRoom,     // the margins leave nothing of the paper
    tooLarge,   // at this scale it does not fit between the margins
    impossible, // a size or scale beyond all numbers
};

// How it lies on its sheet in that format, in millimetres.
struct KivSheetPlace {
    KivSheetProblem problem = KivSheetProblem::none;
    double pageWidth = 0.0;
    double pageHeight = 0.0;
    double drawnWidth = 0.0; // what the strokes and areas take
    double drawnHeight = 0.0;
    double millimetresPerPixel = 0.0;
};
KIV_API KivSheetPlace kivPlaceOnSheet(const KivVectorDrawing& drawing, const KivSheet& sheet, KivDrawingFormat format);

enum class KivDrawingWritten {
    done,
    sheetProblem, // kivPlaceOnSheet says which
    failed,       // the last error says why
    cancelled,
};

// Only a success leaves a file. isCancelled, which may be empty, is asked again and again.
KIV_API KivDrawingWritten kivWriteDrawing(const KivVectorDrawing& drawing, const KivSheet& sheet,
                                          KivDrawingFormat format, const std::wstring& path,
                                          const std::function<bool()>& isCancelled);
// The same, added to a text.
KIV_API KivDrawingWritten kivWriteDrawing(const KivVectorDrawing& drawing, const KivSheet& sheet,
                                          KivDrawingFormat format, std::string* out,
                                          const std::function<bool()>& isCancelled);

#endif
