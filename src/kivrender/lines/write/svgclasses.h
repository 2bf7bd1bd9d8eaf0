// The classes of an SVG's stylesheet: one for each look that strokes have, and one for each colour of areas.
#ifndef KIVRENDER_LINES_WRITE_SVGCLASSES_H
#define KIVRENDER_LINES_WRITE_SVGCLASSES_H

#include "kivrender/lines/write/sheetlayout.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// "#rrggbb", or "#rgb" where that says the same.
std::string kivSvgColor(std::uint32_t color);

class SvgClasses {
public:
    // unit: millimetres of a unit of the file; decimals: of its numbers.
    SvgClasses(const KivVectorDrawing& drawing, const SheetLayout& layout, double unit, int decimals);

    // The rules, a line each.
    const std::string& rules() const {
        return text;
    }
    // Whether a class of that name means something.
    bool isRule(std::string_view name) const;
    // The class that most strokes of a group have: "contour", "hidden-contour".
    static std::string mainClass(KivStrokeKind kind, bool hidden);
    // What tells a stroke's look apart from its group's: nothing, a class, or a style.
    std::string attributes(const KivStroke& stroke) const;
    // The class of an area's colour, or the colour.
    std::string attributes(const KivArea& area) const;

private:
    struct Look {
        std::uint32_t color = 0;
        std::string width;
        auto operator<=>(const Look&) const = default;
    };
    using Group = std::pair<bool, KivStrokeKind>; // hidden, kind

    Look lookOf(const KivStroke& stroke) const;
    std::string style(const Look& look, bool dashed, double width) const;
    void addStrokes(const KivVectorDrawing& drawing);
    void addAreas(const KivVectorDrawing& drawing);

    const SheetLayout& layout;
    double unit;
    int decimals;
    std::string text;
    std::map<std::pair<Group, Look>, std::string> names;
    std::map<std::uint32_t, std::string> tones;
};

#endif
