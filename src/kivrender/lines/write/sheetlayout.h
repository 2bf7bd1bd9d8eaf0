// A drawing as it lies on its sheet: places and widths in millimetres from the lower left corner of the page, and only
// what is drawn.
#ifndef KIVRENDER_LINES_WRITE_SHEETLAYOUT_H
#define KIVRENDER_LINES_WRITE_SHEETLAYOUT_H

#include "kivrender/lines/write/kivdrawingwriter.h"
#include "kivrender/platform/kivexport.h"

// The pattern of a dashed line of width d: ISO 128-20, line 02, has dashes of 12 d and gaps of 3 d.
inline constexpr double kivDashLength = 12.0;
inline constexpr double kivDashGap = 3.0;

class KIV_API SheetLayout {
public:
    // pixel: the millimetres of a pixel where the sheet does not say. The drawing is kept by reference and outlives the
    // layout.
    SheetLayout(const KivVectorDrawing& drawing, KivSheet sheet, double pixel);
    SheetLayout(KivVectorDrawing&& drawing, KivSheet sheet, double pixel) = delete;

    const KivSheetPlace& page() const {
        return found;
    }
    const KivSheet& wanted() const {
        return sheet;
    }
    KivPicturePoint place(const KivPicturePoint& p) const {
        return {left + p.x * found.millimetresPerPixel, bottom + p.y * found.millimetresPerPixel};
    }
    KivCurvePath placed(const KivCurvePath& path) const;
    KivEllipseArc placed(const KivEllipseArc& arc) const;
    // Of an area: backdrops cover a sheet, what is more than it included.
    KivPicturePoint place(const KivPicturePoint& p, const KivArea& area) const;
    bool coversSheet(const KivArea& area) const {
        return area.isBackdrop && (sheet.page != KivSheet::Page::picture || sheet.scale > 0.0);
    }

    // Whether it belongs on the sheet: wanted, of a width, and finite.
    bool isDrawn(const KivStroke& stroke) const;
    static bool isDrawn(const KivArea& area);
    bool isDashed(const KivStroke& stroke) const {
        return stroke.hidden && sheet.hidden == KivSheet::Hidden::dashed;
    }
    double widthOf(const KivStroke& stroke) const;
    // Of opaque areas; 0 for none.
    double rim() const {
        return drawing.areaRim * found.millimetresPerPixel;
    }

private:
    // A measure of so many pixels and so many millimetres.
    struct Extent {
        double pixels = 0.0;
        double millimetres = 0.0;
    };

    double penOf(const KivStroke& stroke) const;
    void measure();
    void include(const KivCurvePath& path);
    void keepInPicture();
    void choosePerPixel(double pixel);
    bool choosePage();

    const KivVectorDrawing& drawing;
    KivSheet sheet;
    KivSheetPlace found;
    KivPicturePoint low; // what is drawn, in pixels, its lines without width
    KivPicturePoint high;
    Extent widest;           // of the strokes
    double widthPixel = 1.0; // millimetres of a pixel of a stroke's width
    double left = 0.0;
    double bottom = 0.0;
};

#endif
