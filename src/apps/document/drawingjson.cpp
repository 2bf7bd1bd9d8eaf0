#include "apps/document/drawingjson.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

namespace {

// In the order of the enumerations.
constexpr std::array areaNames{"regions", "faces", "triangles"};
constexpr std::array textureNames{"areas", "mean", "picture"};
constexpr std::array pageNames{"picture", "fit", "paper"};
constexpr std::array hiddenNames{"none", "thin", "dashed"};

constexpr double smallestPaper = 1.0; // millimetres
constexpr double largestPaper = 1e5;
constexpr double widestPen = 100.0;
constexpr double largestRatio = 1e9; // of a scale, and of a unit to a millimetre

template <class Names> int indexOf(const Names& names, const Json& value, int otherwise) {
    const std::string& text = value.toString();
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (text == names[i]) {
            return static_cast<int>(i);
        }
    }
    return otherwise;
}

double within(const Json& value, double low, double high, double otherwise) {
    const double number = value.toDouble(otherwise);
    return std::isfinite(number) ? std::clamp(number, low, high) : otherwise;
}

} // namespace

DrawingOptions plainDrawingOptions() {
    DrawingOptions options;
    options.sheet.hidden = KivSheet::Hidden::none;
    return options;
}

Json drawingJson(const DrawingOptions& options) {
    const KivSheet& sheet = options.sheet;
    Json json = JsonObject{{"areas", areaNames[static_cast<std::size_t>(options.areas)]},
                           {"page", pageNames[static_cast<std::size_t>(sheet.page)]},
                           {"paper", JsonArray{sheet.width, sheet.height}},
                           {"margin", sheet.margin},
                           {"scale", sheet.scale},
                           {"hidden", hiddenNames[static_cast<std::size_t>(sheet.hidden)]}};
    // Documents without a word of it are those of older programs.
    if (options.textures != KivDrawingCollector::Textures::areas) {
        json["textures"] = textureNames[static_cast<std::size_t>(options.textures)];
    }
    if (options.unitsChosen) {
        json["unit"] = sheet.modelUnit;
    }
    Json pens = Json::Object();
    for (int kind = 0; kind < kivStrokeKinds; ++kind) {
        if (sheet.pen[kind] > 0.0) {
            pens[kivNameOf(static_cast<KivStrokeKind>(kind))] = sheet.pen[kind];
        }
    }
    if (sheet.hiddenPen > 0.0) {
        pens["hidden"] = sheet.hiddenPen;
    }
    json["pens"] = pens;
    return json;
}

DrawingOptions readDrawingOptions(const Json& json) {
    DrawingOptions options = plainDrawingOptions();
    KivSheet& sheet = options.sheet;
    options.areas =
        static_cast<KivDrawingCollector::Areas>(indexOf(areaNames, json["areas"], static_cast<int>(options.areas)));
    options.textures = static_cast<KivDrawingCollector::Textures>(
        indexOf(textureNames, json["textures"], static_cast<int>(options.textures)));
    sheet.page = static_cast<KivSheet::Page>(indexOf(pageNames, json["page"], static_cast<int>(sheet.page)));
    sheet.hidden = static_cast<KivSheet::Hidden>(indexOf(hiddenNames, json["hidden"], static_cast<int>(sheet.hidden)));
    const Json& paper = json["paper"];
    sheet.width = within(paper.at(0), smallestPaper, largestPaper, sheet.width);
    sheet.height = within(paper.at(1), smallestPaper, largestPaper, sheet.height);
    sheet.margin = within(json["margin"], 0.0, largestPaper, sheet.margin);
    sheet.scale = within(json["scale"], 0.0, largestRatio, sheet.scale);
    options.unitsChosen = json["unit"].toDouble() > 0.0;
    if (options.unitsChosen) {
        sheet.modelUnit = within(json["unit"], 1.0 / largestRatio, largestRatio, sheet.modelUnit);
    }
    const Json& pens = json["pens"];
    for (int kind = 0; kind < kivStrokeKinds; ++kind) {
        sheet.pen[kind] = within(pens[kivNameOf(static_cast<KivStrokeKind>(kind))], 0.0, widestPen, 0.0);
    }
    sheet.hiddenPen = within(pens["hidden"], 0.0, widestPen, 0.0);
    return options;
}

bool operator==(const DrawingOptions& a, const DrawingOptions& b) {
    return a.areas == b.areas && a.textures == b.textures && a.unitsChosen == b.unitsChosen &&
           a.sheet.page == b.sheet.page && a.sheet.width == b.sheet.width && a.sheet.height == b.sheet.height &&
           a.sheet.margin == b.sheet.margin && a.sheet.scale == b.sheet.scale &&
           (!a.unitsChosen || a.sheet.modelUnit == b.sheet.modelUnit) && a.sheet.hidden == b.sheet.hidden &&
           std::ranges::equal(a.sheet.pen, b.sheet.pen) && a.sheet.hiddenPen == b.sheet.hiddenPen;
}
