#include "import/objreader.h"
#include "import/textscanner.h"

#include <algorithm>
#include <optional>

namespace kivimport {
namespace {

// Numbers of a material may be missing or wrong without harm to the shape.
std::optional<double> readNumber(TextScanner& scan) {
    try {
        const double value = scan.number("a number");
        if (std::isfinite(value)) {
            return value;
        }
    } catch (const ImportError&) {
        return std::nullopt;
    }
    return std::nullopt;
}

void readColour(TextScanner& scan, Colour& colour) {
    const std::optional<double> r = readNumber(scan);
    if (!r) {
        return; // "spectral" and "xyz" forms are not understood
    }
    const std::optional<double> g = readNumber(scan);
    const std::optional<double> b = readNumber(scan);
    // One number alone stands for all three.
    colour = {std::clamp(*r, 0.0, 1.0), std::clamp(g.value_or(*r), 0.0, 1.0), std::clamp(b.value_or(*r), 0.0, 1.0)};
}

// Options with their numbers may stand before the name: "-s 2 2 2 -bm 0.5 wood.png". A name may have blanks in it.
std::string readTextureName(TextScanner& scan) {
    std::string_view left = scan.rest();
    while (left.starts_with('-')) {
        const std::size_t blank = left.find_first_of(" \t");
        if (blank == std::string_view::npos) {
            return {};
        }
        left.remove_prefix(blank);
        for (;;) {
            const std::size_t word = std::min(left.find_first_not_of(" \t"), left.size());
            left.remove_prefix(word);
            const std::size_t end = std::min(left.find_first_of(" \t"), left.size());
            const std::string_view argument = left.substr(0, end);
            const bool isArgument =
                argument == "on" || argument == "off" ||
                (!argument.empty() && argument.find_first_not_of("+-.0123456789eE") == std::string_view::npos);
            if (!isArgument || end == left.size()) {
                break;
            }
            left.remove_prefix(end);
        }
    }
    return std::string(left);
}

void readMaterialLine(TextScanner& scan, std::string_view keyword, Material& material) {
    if (keyword == "Kd") {
        readColour(scan, material.diffuse);
    } else if (keyword == "Ka") {
        readColour(scan, material.ambient);
    } else if (keyword == "Ks") {
        readColour(scan, material.specular);
    } else if (keyword == "Ke") {
        readColour(scan, material.emission);
    } else if (keyword == "Ns") {
        material.shininess = std::max(readNumber(scan).value_or(material.shininess), 0.0);
    } else if (keyword == "d") {
        material.opacity = std::clamp(readNumber(scan).value_or(material.opacity), 0.0, 1.0);
    } else if (keyword == "Tr") {
        material.opacity = 1.0 - std::clamp(readNumber(scan).value_or(1.0 - material.opacity), 0.0, 1.0);
    } else if (keyword == "map_Kd") {
        material.texture = readTextureName(scan);
        material.cutOut = usualCutOut;
    }
}

} // namespace

void readMtl(std::string_view text, std::vector<Material>& materials) {
    TextScanner scan(text);
    Material* current = nullptr;
    while (scan.nextLine()) {
        const std::string_view keyword = scan.word();
        if (keyword == "newmtl") {
            const std::string_view name = scan.rest();
            const auto found = std::find_if(materials.begin(), materials.end(),
                                            [name](const Material& material) { return material.name == name; });
            current = found == materials.end() ? nullptr : &*found;
        } else if (current != nullptr) {
            readMaterialLine(scan, keyword, *current);
        }
    }
}

} // namespace kivimport
