#include "kivrender/lines/write/svgclasses.h"

#include "kivrender/lines/write/drawingsink.h"

#include <algorithm>
#include <array>

namespace {

// More looks of one kind, and more colours, are not classes that anyone edits.
constexpr std::size_t mostClasses = 12;
constexpr std::size_t mostTones = 64;

template <class Key> std::vector<Key> byFrequency(const std::map<Key, std::size_t>& counts) {
    std::vector<std::pair<Key, std::size_t>> sorted(counts.begin(), counts.end());
    std::stable_sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) { return a.second > b.second; });
    std::vector<Key> keys;
    for (const auto& [key, count] : sorted) {
        keys.push_back(key);
    }
    return keys;
}

} // namespace

std::string kivSvgColor(std::uint32_t color) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text = "#";
    bool isShort = true;
    for (const int shift : {0, 8, 16}) {
        const std::uint32_t part = color >> shift & 0xFFU;
        text += digits[part >> 4U];
        text += digits[part & 0xFU];
        isShort = isShort && (part >> 4U) == (part & 0xFU);
    }
    return isShort ? std::string{'#', text[1], text[3], text[5]} : text;
}

SvgClasses::SvgClasses(const KivVectorDrawing& drawing, const SheetLayout& sheetLayout, double unitLength,
                       int numberDecimals)
    : layout(sheetLayout), unit(unitLength), decimals(numberDecimals) {
    text = ".object{fill:none;stroke-linecap:round;stroke-linejoin:round}\n";
    addStrokes(drawing);
    addAreas(drawing);
}

bool SvgClasses::isRule(std::string_view name) const {
    return name == "hidden" || text.find("." + std::string(name) + "{") != std::string::npos;
}

std::string SvgClasses::mainClass(KivStrokeKind kind, bool hidden) {
    return std::string(hidden ? "hidden-" : "") + kivNameOf(kind);
}

SvgClasses::Look SvgClasses::lookOf(const KivStroke& stroke) const {
    return {stroke.color & 0xFFFFFFU, kivNumberText(layout.widthOf(stroke) / unit, decimals)};
}

// Round ends make a dash longer by its width, and the gap shorter.
std::string SvgClasses::style(const Look& look, bool dashed, double width) const {
    std::string made = "stroke:" + kivSvgColor(look.color) + ";stroke-width:" + look.width;
    if (dashed) {
        made += ";stroke-dasharray:" + kivNumberText((kivDashLength - 1.0) * width / unit, decimals) + " " +
                kivNumberText((kivDashGap + 1.0) * width / unit, decimals);
    }
    return made;
}

void SvgClasses::addStrokes(const KivVectorDrawing& drawing) {
    std::map<Group, std::map<Look, std::size_t>> counts;
    std::map<std::pair<Group, Look>, const KivStroke*> samples;
    for (const KivStroke& stroke : drawing.strokes) {
        if (layout.isDrawn(stroke)) {
            const Group group(stroke.hidden, stroke.kind);
            const Look look = lookOf(stroke);
            ++counts[group][look];
            samples.try_emplace({group, look}, &stroke);
        }
    }
    for (const auto& [group, looks] : counts) {
        std::vector<Look> sorted = byFrequency(looks);
        sorted.resize(std::min(sorted.size(), mostClasses));
        for (std::size_t i = 0; i < sorted.size(); ++i) {
            const KivStroke& sample = *samples[{group, sorted[i]}];
            const std::string name =
                mainClass(group.second, group.first) + (i > 0 ? "-" + std::to_string(i + 1) : std::string());
            text += "." + name + "{" + style(sorted[i], layout.isDashed(sample), layout.widthOf(sample)) + "}\n";
            names[{group, sorted[i]}] = name;
        }
    }
}

void SvgClasses::addAreas(const KivVectorDrawing& drawing) {
    if (drawing.areas.empty()) {
        return;
    }
    const double rim = layout.rim() / unit;
    text += ".areas{fill-rule:evenodd";
    text += rim > 0.0 ? ";stroke-width:" + kivNumberText(rim, decimals) + ";stroke-linejoin:round}\n" : "}\n";
    std::map<std::uint32_t, std::size_t> counts;
    for (const KivArea& area : drawing.areas) {
        if (area.picture == nullptr) {
            counts[area.color & 0xFFFFFFU] += SheetLayout::isDrawn(area) ? 1 : 0;
        }
    }
    std::vector<std::uint32_t> colors = byFrequency(counts);
    colors.resize(std::min(colors.size(), mostTones));
    for (std::size_t i = 0; i < colors.size(); ++i) {
        const std::string name = "tone-" + std::to_string(i + 1);
        const std::string color = kivSvgColor(colors[i]);
        text += "." + name + "{fill:" + color + (rim > 0.0 ? ";stroke:" + color : std::string()) + "}\n";
        tones[colors[i]] = name;
    }
}

std::string SvgClasses::attributes(const KivStroke& stroke) const {
    const Look look = lookOf(stroke);
    const auto found = names.find({{stroke.hidden, stroke.kind}, look});
    if (found == names.end()) {
        return " style=\"" + style(look, layout.isDashed(stroke), layout.widthOf(stroke)) + "\"";
    }
    const bool isMain = found->second == mainClass(stroke.kind, stroke.hidden);
    return isMain ? std::string() : " class=\"" + found->second + "\"";
}

std::string SvgClasses::attributes(const KivArea& area) const {
    const std::uint32_t color = area.color & 0xFFFFFFU;
    const auto found = tones.find(color);
    std::string made;
    if (found != tones.end()) {
        made = " class=\"" + found->second + "\"";
    } else {
        made = " fill=\"" + kivSvgColor(color) + "\"";
        made += layout.rim() > 0.0 ? " stroke=\"" + kivSvgColor(color) + "\"" : "";
    }
    if (area.opacity < 1.0) {
        // A rim would show.
        made += " style=\"stroke:none;fill-opacity:" + kivNumberText(area.opacity) + "\"";
    }
    return made;
}
