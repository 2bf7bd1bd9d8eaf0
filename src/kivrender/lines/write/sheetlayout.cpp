#include "kivrender/lines/write/sheetlayout.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace {

// At a scale the width of a line has nothing to do with the size of a pixel: the 2.6 pixels of an outline become the
// half millimetre of the usual line group.
constexpr double scaledPixelWidth = 0.2;
// Coordinates in pixels beyond this are not places of a picture, and would fill a file with digits.
constexpr double farthest = 1e7;
constexpr double largestPage = 1e7; // ten kilometres

bool isPlace(const KivPicturePoint& p) {
    return std::fabs(p.x) < farthest && std::fabs(p.y) < farthest; // false for NaN
}

bool isPlaced(const KivCurvePath& path) {
    return isPlace(path.start) && std::all_of(path.pieces.begin(), path.pieces.end(), [](const KivCurvePiece& piece) {
               return isPlace(piece.end) && (piece.kind != KivCurvePiece::Kind::cubic ||
                                             (isPlace(piece.control[0]) && isPlace(piece.control[1])));
           });
}

bool isPlacedArc(const KivEllipseArc& arc) {
    return isPlace(arc.centre) && arc.across > 0.0 && arc.across <= arc.along && arc.along < farthest &&
           std::isfinite(arc.turn) && std::fabs(arc.from) < farthest && std::fabs(arc.sweep) < farthest;
}

bool isLength(double v) {
    return v > 0.0 && v < largestPage;
}

} // namespace

SheetLayout::SheetLayout(const KivVectorDrawing& drawn, KivSheet wantedSheet, double pixel)
    : drawing(drawn), sheet(std::move(wantedSheet)) {
    if (!isLength(drawing.width) || !isLength(drawing.height)) {
        found.problem = KivSheetProblem::impossible;
        return;
    }
    if (sheet.scale > 0.0 && !(drawing.unitsPerPixel > 0.0)) {
        found.problem = KivSheetProblem::noScale;
        return;
    }
    measure();
    choosePerPixel(pixel);
    if (found.problem == KivSheetProblem::none && (!choosePage() || !isLength(found.pageWidth) ||
                                                   !isLength(found.pageHeight) || !(found.millimetresPerPixel > 0.0))) {
        found.problem = KivSheetProblem::impossible;
    }
}

KivCurvePath SheetLayout::placed(const KivCurvePath& path) const {
    KivCurvePath made = path;
    made.start = place(path.start);
    for (KivCurvePiece& piece : made.pieces) {
        piece.control[0] = place(piece.control[0]);
        piece.control[1] = place(piece.control[1]);
        piece.end = place(piece.end);
    }
    return made;
}

KivEllipseArc SheetLayout::placed(const KivEllipseArc& arc) const {
    KivEllipseArc made = arc;
    made.centre = place(arc.centre);
    made.along *= found.millimetresPerPixel;
    made.across *= found.millimetresPerPixel;
    return made;
}

KivPicturePoint SheetLayout::place(const KivPicturePoint& p, const KivArea& area) const {
    if (!coversSheet(area) || !(drawing.width > 0.0) || !(drawing.height > 0.0)) {
        return place(p);
    }
    const double perPixel = std::max(found.pageWidth / drawing.width, found.pageHeight / drawing.height);
    return {0.5 * found.pageWidth + (p.x - 0.5 * drawing.width) * perPixel,
            0.5 * found.pageHeight + (p.y - 0.5 * drawing.height) * perPixel};
}

bool SheetLayout::isDrawn(const KivStroke& stroke) const {
    return (!stroke.hidden || sheet.hidden != KivSheet::Hidden::none) && stroke.width > 0.0 &&
           stroke.width < farthest && isPlaced(stroke.path) && (!stroke.arc || isPlacedArc(*stroke.arc));
}

bool SheetLayout::isDrawn(const KivArea& area) {
    return area.opacity > 0.0 && !area.rings.empty() && std::all_of(area.rings.begin(), area.rings.end(), isPlaced);
}

// 0 where the drawing says how wide.
double SheetLayout::penOf(const KivStroke& stroke) const {
    const double visible = sheet.pen[static_cast<int>(stroke.kind)];
    return !stroke.hidden ? visible : sheet.hiddenPen > 0.0 ? sheet.hiddenPen : visible / 2.0;
}

double SheetLayout::widthOf(const KivStroke& stroke) const {
    const double pen = penOf(stroke);
    return pen > 0.0 ? pen : stroke.width * widthPixel * (stroke.hidden ? 0.5 : 1.0);
}

void SheetLayout::include(const KivCurvePath& path) {
    const auto add = [this](const KivPicturePoint& p) {
        low = {std::min(low.x, p.x), std::min(low.y, p.y)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y)};
    };
    add(path.start);
    for (const KivCurvePiece& piece : path.pieces) {
        add(piece.end);
        if (piece.kind == KivCurvePiece::Kind::cubic) {
            add(piece.control[0]);
            add(piece.control[1]);
        }
    }
}

void SheetLayout::measure() {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    low = {infinity, infinity};
    high = {-infinity, -infinity};
    for (const KivStroke& stroke : drawing.strokes) {
        if (!isDrawn(stroke)) {
            continue;
        }
        include(stroke.path);
        const double pen = penOf(stroke);
        widest.millimetres = std::max(widest.millimetres, pen);
        if (pen == 0.0) {
            widest.pixels = std::max(widest.pixels, stroke.width);
        }
    }
    for (const KivArea& area : drawing.areas) {
        if (isDrawn(area) && !coversSheet(area)) {
            std::for_each(area.rings.begin(), area.rings.end(), [this](const KivCurvePath& ring) { include(ring); });
        }
    }
    keepInPicture();
}

// Anything beyond the picture does not show, and a picture in which nothing is drawn counts as a whole.
void SheetLayout::keepInPicture() {
    low = {std::max(low.x, 0.0), std::max(low.y, 0.0)};
    high = {std::min(high.x, drawing.width), std::min(high.y, drawing.height)};
    if (low.x > high.x || low.y > high.y) {
        low = {0.0, 0.0};
        high = {drawing.width, drawing.height};
    }
}

void SheetLayout::choosePerPixel(double pixel) {
    const bool isScaled = sheet.scale > 0.0;
    found.millimetresPerPixel = isScaled ? drawing.unitsPerPixel * sheet.modelUnit * sheet.scale : pixel;
    widthPixel = isScaled ? scaledPixelWidth : pixel;
    if (sheet.page != KivSheet::Page::paper) {
        return;
    }
    const double roomAcross = sheet.width - 2.0 * sheet.margin;
    const double roomAlong = sheet.height - 2.0 * sheet.margin;
    if (isScaled) {
        found.problem = roomAcross > 0.0 && roomAlong > 0.0 ? KivSheetProblem::none : KivSheetProblem::noRoom;
        return;
    }
    // Lines without a pen of their own grow with the drawing.
    const double across = (roomAcross - widest.millimetres) / (high.x - low.x + widest.pixels);
    const double along = (roomAlong - widest.millimetres) / (high.y - low.y + widest.pixels);
    found.millimetresPerPixel = std::min(across, along);
    widthPixel = found.millimetresPerPixel;
    if (!(found.millimetresPerPixel > 0.0)) {
        found.problem = KivSheetProblem::noRoom;
    } else if (!std::isfinite(found.millimetresPerPixel)) {
        found.millimetresPerPixel = widthPixel = pixel; // a dot without extent
    }
}

// False for a size that is none.
bool SheetLayout::choosePage() {
    const double perPixel = found.millimetresPerPixel;
    const double widestLine = std::max(widest.millimetres, widest.pixels * widthPixel);
    found.drawnWidth = (high.x - low.x) * perPixel + widestLine;
    found.drawnHeight = (high.y - low.y) * perPixel + widestLine;
    if (sheet.page == KivSheet::Page::picture) {
        found.pageWidth = drawing.width * perPixel;
        found.pageHeight = drawing.height * perPixel;
        return true;
    }
    const bool isPaper = sheet.page == KivSheet::Page::paper;
    found.pageWidth = isPaper ? sheet.width : found.drawnWidth + 2.0 * sheet.margin;
    found.pageHeight = isPaper ? sheet.height : found.drawnHeight + 2.0 * sheet.margin;
    left = (found.pageWidth - (low.x + high.x) * perPixel) / 2.0;
    bottom = (found.pageHeight - (low.y + high.y) * perPixel) / 2.0;
    constexpr double slack = 1e-6;
    if (isPaper && (found.drawnWidth > sheet.width - 2.0 * sheet.margin + slack ||
                    found.drawnHeight > sheet.height - 2.0 * sheet.margin + slack)) {
        found.problem = KivSheetProblem::tooLarge;
    }
    return true;
}
