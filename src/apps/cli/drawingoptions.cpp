// The options of vector drawings.
#include "apps/cli/commandline.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

namespace {

constexpr double paperMargin = 10.0;
constexpr double fitMargin = 2.0;

KivDrawingCollector::Areas readAreas(const Words& words) {
    using enum KivDrawingCollector::Areas;
    const std::string text = words.value("areas").value_or(words.has("simplify") ? "faces" : "regions");
    if (text != "regions" && text != "faces" && text != "triangles") {
        refuseValue("areas", text, "kind of areas: regions, faces or triangles is expected");
    }
    if (words.has("shadows") && text != "regions") {
        throw UsageError("--shadows and --areas " + text + " exclude each other: shadows are cut out of regions");
    }
    if (words.has("simplify") && words.has("areas") && text != "faces") {
        throw UsageError("--simplify and --areas " + text + " exclude each other: simplified areas are faces");
    }
    return text == "regions" ? regions : text == "faces" ? faces : triangles;
}

KivDrawingCollector::Textures readTextures(const Words& words) {
    using enum KivDrawingCollector::Textures;
    const std::string text = words.value("textures").value_or("areas");
    if (text != "areas" && text != "picture" && text != "mean") {
        refuseValue("textures", text, "way to draw textures: areas, picture or mean is expected");
    }
    return text == "areas" ? areas : text == "picture" ? pictures : mean;
}

// The paper, and the margin on it.
void readPaper(const Words& words, KivSheet& sheet) {
    // A scale makes a sheet of what would be a picture.
    const std::string page = words.value("page").value_or(words.has("scale") ? "fit" : "picture");
    if (!kivReadPage(page, &sheet)) {
        refuseValue("page", page,
                    "page: A0 to A6, letter, legal, tabloid, WxH with a unit, fit or picture is expected");
    }
    if (words.has("landscape")) {
        if (sheet.page != KivSheet::Page::paper) {
            throw UsageError("--landscape needs a paper: --page A4, for example");
        }
        std::swap(sheet.width, sheet.height);
    }
    sheet.margin = sheet.page == KivSheet::Page::paper ? paperMargin : fitMargin;
    const auto margin = words.value("margin");
    if (margin && sheet.page == KivSheet::Page::picture) {
        throw UsageError("--margin needs a page: --page fit or a paper");
    }
    if (margin && !kivReadLength(*margin, &sheet.margin)) {
        refuseValue("margin", *margin, "length: a number with mm, cm, in or pt is expected");
    }
    if (sheet.page == KivSheet::Page::paper && 2.0 * sheet.margin >= std::min(sheet.width, sheet.height)) {
        throw UsageError("--margin: nothing of the page is left between margins of " + margin.value_or("10mm"));
    }
}

void readHidden(const Words& words, KivSheet& sheet) {
    const std::string text = words.value("hidden").value_or("none");
    if (text != "none" && text != "thin" && text != "dashed") {
        refuseValue("hidden", text, "look of hidden lines: none, thin or dashed is expected");
    }
    using enum KivSheet::Hidden;
    sheet.hidden = text == "none" ? none : text == "thin" ? thin : dashed;
}

// The group first, so that a single pen may differ from it.
void readPens(const Words& words, KivSheet& sheet) {
    if (const auto group = words.value("line-group"); group && !kivReadLineGroup(*group, &sheet)) {
        refuseValue("line-group", *group, std::string("line group: one of ") + kivLineGroupNames() + " is expected");
    }
    for (const std::string& text : words.all("pen")) {
        if (!kivReadPens(text, &sheet)) {
            refuseValue("pen", text, "pen: KIND=WIDTH is expected, such as contour=0.5mm,crease=0.25mm");
        }
    }
}

} // namespace

std::string givenDrawingOption(const Words& words) {
    constexpr std::array names{"areas", "textures", "simplify", "page",       "landscape", "margin",
                               "scale", "units",    "hidden",   "line-group", "pen"};
    const auto* const found =
        std::find_if(names.begin(), names.end(), [&](const char* name) { return words.has(name); });
    return found == names.end() ? std::string() : *found;
}

DrawingOptions parseDrawingOptions(const Words& words) {
    DrawingOptions options;
    options.areas = readAreas(words);
    options.textures = readTextures(words);
    readPaper(words, options.sheet);
    if (const auto scale = words.value("scale"); scale && !kivReadScale(*scale, &options.sheet.scale)) {
        refuseValue("scale", *scale, "scale: 1:2 or 5:1 is expected");
    }
    options.unitsChosen = words.has("units");
    if (const auto unit = words.value("units"); unit && !kivReadUnit(*unit, &options.sheet.modelUnit)) {
        refuseValue("units", *unit, std::string("unit: one of ") + kivUnitNames() + " is expected");
    }
    readHidden(words, options.sheet);
    readPens(words, options.sheet);
    return options;
}
