#include "kivrender/lines/write/pagecontent.h"

#include "kivrender/lines/write/packedpicture.h"

#include <algorithm>
#include <cmath>

namespace {

// The place of a text in a list, which gets it if need be.
std::size_t placeIn(std::vector<std::string>& list, const std::string& text) {
    const auto found = std::find(list.begin(), list.end(), text);
    if (found != list.end()) {
        return static_cast<std::size_t>(found - list.begin());
    }
    list.push_back(text);
    return list.size() - 1;
}

std::string rgbText(double red, double green, double blue) {
    return kivNumberText(red / 255.0) + " " + kivNumberText(green / 255.0) + " " + kivNumberText(blue / 255.0);
}

double part(std::uint32_t color, int number) {
    return color >> (8 * number) & 0xFFU;
}

} // namespace

PageContent::PageContent(const KivVectorDrawing& drawn, const SheetLayout& sheetLayout, Kind pageKind, DrawingSink& out)
    : drawing(drawn), layout(sheetLayout), kind(pageKind), sink(out) {}

bool PageContent::write() {
    sink << "1 J 1 j\n";
    paintBackground();
    if (!paintAreas() || !paintStrokes(true) || !paintStrokes(false)) {
        return false;
    }
    endLayer();
    return true;
}

std::string PageContent::color(std::uint32_t value) const {
    return rgbText(part(value, 0), part(value, 1), part(value, 2));
}

// Over the background.
std::string PageContent::mixed(const KivArea& area) const {
    const auto over = [&](int number) {
        return part(area.color, number) * area.opacity + part(drawing.background, number) * (1.0 - area.opacity);
    };
    return rgbText(over(0), over(1), over(2));
}

void PageContent::beginLayer(const std::string& name) {
    if (kind == Kind::pdf && layer != name) {
        endLayer();
        layer = name;
        sink << "/OC /L" << static_cast<int>(placeIn(layerNames, name)) << " BDC\n";
    }
}

void PageContent::endLayer() {
    if (!layer.empty()) {
        sink << "EMC\n";
        layer.clear();
    }
}

void PageContent::paintBackground() {
    if (!layout.wanted().paintsBackground) {
        return;
    }
    beginLayer("background");
    fillColor = color(drawing.background);
    sink << fillColor << " rg\n0 0 m\n";
    put({layout.page().pageWidth, 0.0});
    sink << " l\n";
    put({layout.page().pageWidth, layout.page().pageHeight});
    sink << " l\n";
    put({0.0, layout.page().pageHeight});
    sink << " l\nf*\n";
}

void PageContent::put(const KivPicturePoint& p) {
    sink << p.x * kivPointsPerMillimetre << ' ' << p.y * kivPointsPerMillimetre;
}

void PageContent::clipToPage() {
    sink << "0 0 m\n";
    put({layout.page().pageWidth, 0.0});
    sink << " l\n";
    put({layout.page().pageWidth, layout.page().pageHeight});
    sink << " l\n";
    put({0.0, layout.page().pageHeight});
    sink << " l\nh W n\n";
}

void PageContent::add(const KivCurvePath& path, const KivArea* area) {
    const auto placed = [&](const KivPicturePoint& p) {
        return area != nullptr ? layout.place(p, *area) : layout.place(p);
    };
    put(placed(path.start));
    sink << " m\n";
    if (path.pieces.empty()) {
        put(placed(path.start)); // a dot, by its round ends
        sink << " l\n";
    }
    for (std::size_t i = 0; i < path.pieces.size(); ++i) {
        const KivCurvePiece& piece = path.pieces[i];
        if (piece.kind == KivCurvePiece::Kind::cubic) {
            put(placed(piece.control[0]));
            sink << ' ';
            put(placed(piece.control[1]));
            sink << ' ';
            put(placed(piece.end));
            sink << " c\n";
        } else if (!path.closed || i + 1 < path.pieces.size()) {
            put(placed(piece.end));
            sink << " l\n";
        }
    }
    sink << (path.closed ? "h\n" : "");
}

bool PageContent::paintAreas() {
    for (const KivArea& area : drawing.areas) {
        if (SheetLayout::isDrawn(area)) {
            beginLayer("areas");
            if (area.picture != nullptr) {
                paintPicture(area);
            } else {
                paint(area);
            }
        }
        if (!sink.goesOn()) {
            return false;
        }
    }
    return true;
}

void PageContent::paint(const KivArea& area) {
    const bool isOpaque = area.opacity >= 1.0;
    // PostScript paints every pixel that a shape touches, so that less of a rim is needed.
    const double rimShare = kind == Kind::pdf ? 1.0 : 0.25;
    const bool isMixed = kind == Kind::postScript && !isOpaque;
    const std::string wanted = isMixed ? mixed(area) : color(area.color);
    const double rim = isOpaque ? layout.rim() * rimShare * kivPointsPerMillimetre : 0.0;
    if (wanted != fillColor) {
        fillColor = wanted;
        sink << wanted << " rg\n";
    }
    if (rim > 0.0 && wanted != strokeColor) {
        strokeColor = wanted;
        sink << wanted << " RG\n";
    }
    if (rim > 0.0 && width != kivNumberText(rim)) {
        width = kivNumberText(rim);
        sink << width << " w\n";
    }
    const bool isSeenThrough = kind == Kind::pdf && !isOpaque;
    if (isSeenThrough) {
        sink << "q /O" << static_cast<int>(placeIn(opacityTexts, kivNumberText(area.opacity))) << " gs\n";
    }
    if (layout.coversSheet(area)) {
        sink << "q\n";
        clipToPage();
    }
    std::for_each(area.paintedRings().begin(), area.paintedRings().end(),
                  [&](const KivCurvePath& ring) { add(ring, &area); });
    sink << (rim > 0.0 ? "B*\n" : "f*\n") << (layout.coversSheet(area) ? "Q\n" : "") << (isSeenThrough ? "Q\n" : "");
}

// Clipped by the area. A picture is drawn over the square from 0 to 1.
void PageContent::paintPicture(const KivArea& area) {
    const KivAreaPicture& picture = *area.picture;
    const KivPicturePoint low = layout.place(picture.low);
    const KivPicturePoint high = layout.place(picture.high);
    sink << "q\n";
    std::for_each(area.paintedRings().begin(), area.paintedRings().end(), [&](const KivCurvePath& ring) { add(ring); });
    sink << "W* n\n"
         << (high.x - low.x) * kivPointsPerMillimetre << " 0 0 " << (high.y - low.y) * kivPointsPerMillimetre << ' ';
    put(low);
    sink << " cm\n";
    if (kind == Kind::pdf) {
        sink << "/I" << static_cast<int>(areaPictures.size()) << " Do\n";
        areaPictures.push_back(&picture);
    } else {
        const PackedPicture packed = kivPack(picture, layout);
        sink << packed.width << ' ' << packed.height << " I\n" << kivAscii85(packed.rows);
    }
    sink << "Q\n";
}

bool PageContent::paintStrokes(bool hidden) {
    for (const KivStroke& stroke : drawing.strokes) {
        if (stroke.hidden == hidden && layout.isDrawn(stroke)) {
            beginLayer(hidden ? "hidden" : kivNameOf(stroke.kind));
            paint(stroke);
        }
        if (!sink.goesOn()) {
            return false;
        }
    }
    return true;
}

void PageContent::setLine(const KivStroke& stroke) {
    const double points = layout.widthOf(stroke) * kivPointsPerMillimetre;
    if (const std::string wanted = kivNumberText(points); wanted != width) {
        width = wanted;
        sink << wanted << " w\n";
    }
    // In PostScript there is one colour for all.
    std::string& current = kind == Kind::pdf ? strokeColor : fillColor;
    if (const std::string wanted = color(stroke.color); wanted != current) {
        strokeColor = wanted;
        current = wanted;
        sink << wanted << " RG\n";
    }
    // Round ends make a dash longer by its width, and the gap shorter.
    const std::string wanted = layout.isDashed(stroke) ? "[" + kivNumberText((kivDashLength - 1.0) * points) + " " +
                                                             kivNumberText((kivDashGap + 1.0) * points) + "]"
                                                       : "[]";
    if (wanted != (dash.empty() ? "[]" : dash)) {
        dash = wanted;
        sink << wanted << " 0 d\n";
    }
}

void PageContent::paint(const KivStroke& stroke) {
    setLine(stroke);
    add(stroke.path);
    sink << "S\n";
}
