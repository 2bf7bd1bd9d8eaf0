#include "kivrender/lines/write/kivsheet.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string>
#include <utility>

namespace {

constexpr double millimetresPerInch = 25.4;

struct Paper {
    std::string_view name;
    double width;
    double height;
};

// ISO 216 and ANSI/ASME Y14.1.
constexpr std::array papers{Paper{"a0", 841, 1189},        Paper{"a1", 594, 841},         Paper{"a2", 420, 594},
                            Paper{"a3", 297, 420},         Paper{"a4", 210, 297},         Paper{"a5", 148, 210},
                            Paper{"a6", 105, 148},         Paper{"letter", 215.9, 279.4}, Paper{"legal", 215.9, 355.6},
                            Paper{"tabloid", 279.4, 431.8}};

struct Unit {
    std::string_view name;
    double millimetres;
};

constexpr std::array units{Unit{"um", 0.001},
                           Unit{"mm", 1.0},
                           Unit{"cm", 10.0},
                           Unit{"dm", 100.0},
                           Unit{"m", 1000.0},
                           Unit{"km", 1e6},
                           Unit{"inch", millimetresPerInch},
                           Unit{"in", millimetresPerInch},
                           Unit{"ft", 12 * millimetresPerInch}};

constexpr double pointLength = millimetresPerInch / 72.0;

struct LineGroup {
    std::string_view name;
    double wide;
    double narrow;
};

// ISO 128-24:2014, table 2.
constexpr std::array lineGroups{LineGroup{"0.25", 0.25, 0.13}, LineGroup{"0.35", 0.35, 0.18},
                                LineGroup{"0.5", 0.5, 0.25},   LineGroup{"0.7", 0.7, 0.35},
                                LineGroup{"1", 1.0, 0.5},      LineGroup{"1.4", 1.4, 0.7},
                                LineGroup{"2", 2.0, 1.0}};

constexpr double longestSide = 20000.0; // of a paper
constexpr double widestPen = 100.0;

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

std::string lowered(std::string_view text) {
    std::string made(text);
    std::transform(made.begin(), made.end(), made.begin(), lower);
    return made;
}

// The number that a text begins with, taken off it.
bool takeNumber(std::string_view& text, double& number) {
    const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), number);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return problem == std::errc{} && std::isfinite(number);
}

bool isWholeNumber(std::string_view text, double& number) {
    return takeNumber(text, number) && text.empty();
}

// The name of a unit of lengths on paper.
bool readPaperUnit(std::string_view name, double& millimetres) {
    if (name == "pt") {
        millimetres = pointLength;
        return true;
    }
    return kivReadUnit(name, &millimetres);
}

// "210x297mm"
bool readSides(std::string_view text, double& width, double& height) {
    double unit = 0.0;
    if (!takeNumber(text, width) || !text.starts_with('x')) {
        return false;
    }
    text.remove_prefix(1);
    if (!takeNumber(text, height) || !readPaperUnit(text.empty() ? "mm" : text, unit)) {
        return false;
    }
    width *= unit;
    height *= unit;
    return width >= 1.0 && height >= 1.0 && width <= longestSide && height <= longestSide;
}

bool isWide(KivStrokeKind kind) {
    return kind == KivStrokeKind::contour || kind == KivStrokeKind::boundary;
}

// One "contour=0.5mm".
bool readPen(std::string_view text, KivSheet& sheet) {
    const std::size_t equals = text.find('=');
    double width = 0.0;
    if (equals == std::string_view::npos || !kivReadLength(text.substr(equals + 1), &width) || width > widestPen) {
        return false;
    }
    const std::string_view name = text.substr(0, equals);
    if (name == "hidden") {
        sheet.hiddenPen = width;
        return true;
    }
    bool isKnown = false;
    for (int kind = 0; kind < kivStrokeKinds; ++kind) {
        if (name == "all" || name == kivNameOf(static_cast<KivStrokeKind>(kind))) {
            sheet.pen[kind] = width;
            isKnown = true;
        }
    }
    return isKnown;
}

template <class Row, std::size_t count> std::string joinedNames(const std::array<Row, count>& rows) {
    std::string names;
    for (const Row& row : rows) {
        names += (names.empty() ? "" : " ") + std::string(row.name);
    }
    return names;
}

} // namespace

bool kivReadPage(std::string_view text, KivSheet* sheet) {
    const std::string name = lowered(text);
    if (name == "fit" || name == "picture") {
        sheet->page = name == "fit" ? KivSheet::Page::fit : KivSheet::Page::picture;
        return true;
    }
    double width = 0.0;
    double height = 0.0;
    const auto* const paper =
        std::find_if(papers.begin(), papers.end(), [&](const Paper& known) { return known.name == name; });
    if (paper != papers.end()) {
        width = paper->width;
        height = paper->height;
    } else if (!readSides(name, width, height)) {
        return false;
    }
    sheet->page = KivSheet::Page::paper;
    sheet->width = width;
    sheet->height = height;
    return true;
}

bool kivReadScale(std::string_view text, double* scale) {
    double paper = 0.0;
    double model = 1.0;
    if (!takeNumber(text, paper)) {
        return false;
    }
    if (!text.empty() && (text.front() != ':' || !isWholeNumber(text.substr(1), model))) {
        return false;
    }
    const double found = paper / model;
    if (!(paper > 0.0) || !(model > 0.0) || !(found >= 1e-9) || !(found <= 1e9)) {
        return false;
    }
    *scale = found;
    return true;
}

bool kivReadLength(std::string_view text, double* millimetres) {
    double number = 0.0;
    double unit = 0.0;
    if (!takeNumber(text, number) || !readPaperUnit(text.empty() ? "mm" : text, unit) || number < 0.0 ||
        !std::isfinite(number * unit)) {
        return false;
    }
    *millimetres = number * unit;
    return true;
}

bool kivReadUnit(std::string_view text, double* millimetres) {
    const auto* const unit =
        std::find_if(units.begin(), units.end(), [&](const Unit& known) { return known.name == text; });
    if (unit == units.end()) {
        return false;
    }
    *millimetres = unit->millimetres;
    return true;
}

bool kivReadPens(std::string_view text, KivSheet* sheet) {
    KivSheet changed = *sheet;
    for (;;) {
        const std::size_t comma = std::min(text.find(','), text.size());
        if (!readPen(text.substr(0, comma), changed)) {
            return false;
        }
        if (comma == text.size()) {
            *sheet = changed;
            return true;
        }
        text.remove_prefix(comma + 1);
    }
}

bool kivReadLineGroup(std::string_view text, KivSheet* sheet) {
    const auto* const group =
        std::find_if(lineGroups.begin(), lineGroups.end(), [&](const LineGroup& known) { return known.name == text; });
    if (group == lineGroups.end()) {
        return false;
    }
    for (int kind = 0; kind < kivStrokeKinds; ++kind) {
        sheet->pen[kind] = isWide(static_cast<KivStrokeKind>(kind)) ? group->wide : group->narrow;
    }
    sheet->hiddenPen = group->narrow;
    return true;
}

const char* kivPageNames() {
    return "A0 A1 A2 A3 A4 A5 A6 letter legal tabloid fit picture";
}

const char* kivUnitNames() {
    static const std::string names = joinedNames(units);
    return names.c_str();
}

const char* kivLineGroupNames() {
    static const std::string names = joinedNames(lineGroups);
    return names.c_str();
}
