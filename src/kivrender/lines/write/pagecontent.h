// The content of a page, in the operators of PDF; a page of PostScript defines the same names. In points from the
// lower left corner.
#ifndef KIVRENDER_LINES_WRITE_PAGECONTENT_H
#define KIVRENDER_LINES_WRITE_PAGECONTENT_H

#include "kivrender/lines/write/drawingsink.h"
#include "kivrender/lines/write/sheetlayout.h"

#include <string>
#include <vector>

inline constexpr double kivPointsPerMillimetre = 72.0 / 25.4;

class PageContent {
public:
    // PDF has layers and areas that one sees through; in PostScript such an area has the colour that it would have over
    // the background.
    enum class Kind { pdf, postScript };

    PageContent(const KivVectorDrawing& drawing, const SheetLayout& layout, Kind kind, DrawingSink& sink);

    // False if the sink ended the writing.
    bool write();

    // Of PDF, in the order of painting: the names of the layers, which the content calls /L0, /L1...
    const std::vector<std::string>& layers() const {
        return layerNames;
    }
    // And the opacities, which it calls /O0, /O1...
    const std::vector<std::string>& opacities() const {
        return opacityTexts;
    }
    // And the pictures, which it calls /I0, /I1...; in PostScript the page has them within.
    const std::vector<const KivAreaPicture*>& pictures() const {
        return areaPictures;
    }

private:
    void paintBackground();
    bool paintAreas();
    bool paintStrokes(bool hidden);
    void paint(const KivArea& area);
    void paintPicture(const KivArea& area);
    void paint(const KivStroke& stroke);
    void beginLayer(const std::string& name);
    void endLayer();
    void setLine(const KivStroke& stroke);
    void add(const KivCurvePath& path, const KivArea* area = nullptr);
    void clipToPage();
    void put(const KivPicturePoint& p);
    std::string color(std::uint32_t color) const;
    std::string mixed(const KivArea& area) const;

    const KivVectorDrawing& drawing;
    const SheetLayout& layout;
    Kind kind;
    DrawingSink& sink;
    std::vector<std::string> layerNames;
    std::vector<std::string> opacityTexts;
    std::vector<const KivAreaPicture*> areaPictures;
    std::string layer; // that is open; empty for none
    std::string width; // as the page has them now
    std::string strokeColor;
    std::string fillColor;
    std::string dash;
};

#endif
