// The values of the options that make pictures.
#include "apps/cli/commandline.h"
#include "apps/cli/outputfile.h"
#include "kivrender/platform/kivtext.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace {

bool readNumber(std::string_view text, double& number) {
    if (text.starts_with('+')) {
        text.remove_prefix(1);
    }
    const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), number);
    return problem == std::errc{} && end == text.data() + text.size() && std::isfinite(number);
}

bool readInteger(std::string_view text, std::int32_t& number) {
    const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), number);
    return problem == std::errc{} && end == text.data() + text.size();
}

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> pieces(1);
    for (const char c : text) {
        if (c == separator) {
            pieces.emplace_back();
        } else {
            pieces.back() += c;
        }
    }
    return pieces;
}

bool readNumbers(const std::string& text, std::size_t count, std::vector<double>& numbers) {
    const std::vector<std::string> pieces = split(text, ',');
    numbers.assign(pieces.size(), 0.0);
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        if (!readNumber(pieces[i], numbers[i])) {
            return false;
        }
    }
    return pieces.size() == count;
}

bool readColour(std::string text, std::uint32_t& colour) {
    // A # at the beginning of a word is a comment to some shells, so it may be left out.
    if (text.starts_with('#')) {
        text.erase(0, 1);
    }
    if (text.size() == 3) {
        text = {text[0], text[0], text[1], text[1], text[2], text[2]};
    }
    std::uint32_t rgb = 0;
    const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), rgb, 16);
    if (problem != std::errc{} || end != text.data() + text.size() || text.size() != 6) {
        return false;
    }
    colour = (rgb & 0xFF) << 16 | (rgb & 0xFF00) | rgb >> 16;
    return true;
}

std::string valueOrInitial(const Words& words, std::string_view option) {
    return words.value(option).value_or(std::string(findOption(words.command->options, option)->initial));
}

std::uint32_t colourOption(const Words& words, std::string_view option) {
    const std::string text = valueOrInitial(words, option);
    std::uint32_t colour = 0;
    if (!readColour(text, colour)) {
        refuseValue(option, text, "colour: #rrggbb is expected");
    }
    return colour;
}

std::optional<Triple> tripleOption(const Words& words, std::string_view option) {
    const auto text = words.value(option);
    if (!text) {
        return std::nullopt;
    }
    std::vector<double> n;
    if (!readNumbers(*text, 3, n)) {
        refuseValue(option, *text, "place: X,Y,Z is expected");
    }
    return Triple{n[0], n[1], n[2]};
}

std::optional<double> numberOption(const Words& words, std::string_view option, double least, double most,
                                   const std::string& expected) {
    const auto text = words.value(option);
    if (!text) {
        return std::nullopt;
    }
    double number = 0.0;
    if (!readNumber(*text, number) || number < least || number > most) {
        refuseValue(option, *text, expected);
    }
    return number;
}

template <class Options> void readSize(const Words& words, Options& options) {
    const std::string text = valueOrInitial(words, "size");
    const std::size_t cross = text.find_first_of("xX");
    if (cross == std::string::npos || !readInteger(text.substr(0, cross), options.width) ||
        !readInteger(text.substr(cross + 1), options.height) || options.width < 1 || options.height < 1) {
        refuseValue("size", text, "size: WIDTHxHEIGHT is expected, such as 1280x960");
    }
}

int readAntialias(const Words& words) {
    const std::string level = valueOrInitial(words, "antialias");
    if (level != "0" && level != "1" && level != "2") {
        refuseValue("antialias", level, "level: 0, 1 or 2 is expected");
    }
    return level[0] - '0';
}

bool isZero(const Triple& t) {
    return t.x == 0.0 && t.y == 0.0 && t.z == 0.0;
}

LightOption readLight(const std::string& text) {
    const std::string expected = "light: directional:X,Y,Z or point:X,Y,Z or spot:X,Y,Z@DX,DY,DZ,ANGLE is expected, a "
                                 "colour may follow as :#rrggbb";
    const std::vector<std::string> pieces = split(text, ':');
    LightOption light;
    if (pieces.size() < 2 || pieces.size() > 3 || (pieces.size() == 3 && !readColour(pieces[2], light.colour))) {
        refuseValue("light", text, expected);
    }
    std::string place = pieces[1];
    std::vector<double> n;
    if (pieces[0] == "spot") {
        light.kind = LightOption::Kind::spot;
        const std::size_t at = place.find('@');
        if (at == std::string::npos || !readNumbers(place.substr(at + 1), 4, n)) {
            refuseValue("light", text, expected);
        }
        light.direction = {n[0], n[1], n[2]};
        light.angle = n[3];
        if (isZero(light.direction) || light.angle <= 0.0 || light.angle > 90.0) {
            refuseValue("light", text, "light: a spot needs a direction and an ANGLE from 0 to 90");
        }
        place.resize(at);
    } else if (pieces[0] == "point" || pieces[0] == "directional") {
        light.kind = pieces[0] == "point" ? LightOption::Kind::point : LightOption::Kind::directional;
    } else {
        refuseValue("light", text, expected);
    }
    if (!readNumbers(place, 3, n)) {
        refuseValue("light", text, expected);
    }
    light.place = {n[0], n[1], n[2]};
    if (light.kind == LightOption::Kind::directional && isZero(light.place)) {
        refuseValue("light", text, "light: a directional light needs a direction");
    }
    return light;
}

SettingOption readSetting(const std::string& text) {
    const std::size_t equals = text.find('=');
    const std::size_t dot = text.find('.');
    if (equals == std::string::npos || dot == std::string::npos || dot == 0 || dot + 1 >= equals) {
        refuseValue("set", text, "setting: TAG.KEY=VALUE is expected, such as Cartoon.Bands=3");
    }
    return {text.substr(0, dot), text.substr(dot + 1, equals - dot - 1), text.substr(equals + 1)};
}

void readLook(const Words& words, LookOptions& options) {
    options.style = words.value("style").value_or("");
    if (words.has("style") && options.style.empty()) {
        throw UsageError("--style: a name is missing");
    }
    options.baseChosen = words.has("base");
    options.base = valueOrInitial(words, "base");
    if (options.base == "none") {
        options.base.clear();
    }
    options.addChosen = words.has("add");
    std::vector<std::string> lists = words.all("add");
    if (!options.addChosen) {
        lists = {valueOrInitial(words, "add")};
    }
    for (const std::string& list : lists) {
        for (const std::string& tag : split(list, ',')) {
            if (!tag.empty() && tag != "none") {
                options.add.push_back(tag);
            }
        }
    }
    for (const std::string& text : words.all("set")) {
        options.settings.push_back(readSetting(text));
    }
}

std::vector<std::wstring> readPatterns(const Words& words, std::string_view option) {
    std::vector<std::wstring> patterns;
    for (const std::string& text : words.all(option)) {
        if (text.empty()) {
            refuseValue(option, text, "name of an object");
        }
        patterns.push_back(kivFromUtf8(text));
    }
    return patterns;
}

void readObjects(const Words& words, KivObjectChoice& objects) {
    objects.only = readPatterns(words, "only");
    objects.hide = readPatterns(words, "hide");
    objects.ghost = readPatterns(words, "ghost");
    for (const std::string& text : words.all("colour")) {
        // A name may hold an equals sign, a colour may not.
        const std::size_t equals = text.rfind('=');
        std::uint32_t colour = 0;
        if (equals == std::string::npos || equals == 0 || !readColour(text.substr(equals + 1), colour)) {
            refuseValue("colour", text, "colour of an object: PATTERN=#RRGGBB is expected, such as bolt*=#c0c0c0");
        }
        objects.colours.emplace_back(kivFromUtf8(text.substr(0, equals)), colour);
    }
}

void readStandardView(const Words& words, RenderOptions& options) {
    const auto name = words.value("view");
    if (!name) {
        return;
    }
    options.view = standardViewOf(*name);
    if (!options.view) {
        refuseValue("view", *name, "view: front, back, left, right, top, bottom, iso or dimetric is expected");
    }
    if (options.eye || options.up) {
        throw UsageError(std::string(options.eye ? "--eye" : "--up") +
                         " and --view exclude each other: a standard view says where the camera stands");
    }
    if (options.fov && isAlwaysParallel(*options.view)) {
        throw UsageError("--fov and --view " + *name + " exclude each other: that view is a parallel projection");
    }
}

void readView(const Words& words, RenderOptions& options) {
    options.eye = tripleOption(words, "eye");
    options.target = tripleOption(words, "target");
    options.up = tripleOption(words, "up");
    options.fov = numberOption(words, "fov", 1.0, 170.0, "field of view: 1 to 170 degrees are expected");
    options.ortho = numberOption(words, "ortho", 0.0, 1e30, "height: a number from 0 is expected");
    if (options.fov && options.ortho) {
        throw UsageError("--fov and --ortho exclude each other: a parallel projection has no field of view");
    }
    readStandardView(words, options);
    if (options.up && isZero(*options.up)) {
        throw UsageError("--up: 0,0,0 is no direction");
    }
}

void readOutputs(const Words& words, RenderOptions& options) {
    options.outputs = words.all("output");
    if (options.outputs.empty() || std::count(options.outputs.begin(), options.outputs.end(), "") != 0) {
        throw UsageError("-o FILE is needed: where the picture goes");
    }
    for (const std::string& name : options.outputs) {
        if (std::count(options.outputs.begin(), options.outputs.end(), name) > 1) {
            throw UsageError("-o " + name + " is given twice");
        }
    }
}

void readBackground(const Words& words, RenderOptions& options) {
    options.noBackground = words.value("background") == "none";
    options.withoutBackdrop = options.noBackground;
    options.backgroundImage = words.value("background-image").value_or("");
    if (!options.noBackground) {
        options.background = colourOption(words, "background");
        options.backgroundChosen = words.has("background");
        return;
    }
    if (!options.backgroundImage.empty()) {
        throw UsageError("--background none and --background-image exclude each other");
    }
    for (const std::string& name : options.outputs) {
        if (name != "-" && !isDrawingName(name) && !keepsTransparency(name)) {
            throw UsageError("--background none: \"" + name +
                             "\" can't be transparent; give -o a name that ends in png, tif, tiff or ora");
        }
    }
}

void readLayers(const Words& words, RenderOptions& options) {
    for (const std::string& text : words.all("layers")) {
        if (text.empty()) {
            throw UsageError("--layers: a folder is missing, or the word objects");
        }
        if (text == "objects") {
            options.objectLayers = true;
        } else if (options.layers.empty()) {
            options.layers = text;
        } else {
            throw UsageError("--layers: there can be one folder, not both \"" + options.layers + "\" and \"" + text +
                             "\"");
        }
    }
    const bool hasLayers =
        !options.layers.empty() || std::any_of(options.outputs.begin(), options.outputs.end(), isLayeredName);
    if (options.objectLayers && !hasLayers) {
        throw UsageError("--layers objects: give -o a name that ends in ora, or a folder by another --layers");
    }
    const bool isPlain = std::any_of(options.outputs.begin(), options.outputs.end(), [](const std::string& name) {
        return !isLayeredName(name) && !isDrawingName(name);
    });
    if ((options.depthImage || options.shadowImage) && !isPlain) {
        throw UsageError(std::string(options.depthImage ? "--depth-image" : "--shadow-image") +
                         " goes beside a plain picture: give -o a name that ends in png, for example, too");
    }
}

// Options that make sense for drawings alone, or for pictures alone.
void checkDrawings(const Words& words, const RenderOptions& options) {
    const auto drawings = std::count_if(options.outputs.begin(), options.outputs.end(), isDrawingName);
    if (const std::string given = givenDrawingOption(words); !given.empty() && drawings == 0) {
        throw UsageError(
            "--" + given +
            " is for vector drawings: give -o a name that ends in svg, pdf, eps, ps, ai, dxf, hpgl or plt");
    }
    if (drawings == 0) {
        return;
    }
    if (drawings == static_cast<std::ptrdiff_t>(options.outputs.size())) {
        for (const auto& [isGiven, name] :
             {std::pair(options.depthImage, "--depth-image"), std::pair(!options.paper.empty(), "--paper"),
              std::pair(!options.backgroundImage.empty(), "--background-image")}) {
            if (isGiven) {
                throw UsageError(std::string(name) + " is for pictures: a vector drawing takes none");
            }
        }
    }
}

// What covers the picture covers the sheet, too, where both have the same proportions. The pixels are as many as else.
void matchSheet(const Words& words, RenderOptions& options) {
    const KivSheet& sheet = options.drawing.sheet;
    if (words.has("size") || sheet.page != KivSheet::Page::paper ||
        !std::all_of(options.outputs.begin(), options.outputs.end(), isDrawingName)) {
        return;
    }
    const double pixels = static_cast<double>(options.width) * options.height;
    options.width = std::max(1, static_cast<std::int32_t>(std::lround(std::sqrt(pixels * sheet.width / sheet.height))));
    options.height = std::max(1, static_cast<std::int32_t>(std::lround(pixels / options.width)));
}

PreviewOptions readPreview(const Words& words) {
    PreviewOptions options;
    readSize(words, options);
    options.antialias = readAntialias(words);
    options.background = colourOption(words, "background");
    options.ambient = colourOption(words, "ambient");
    options.quiet = words.has("quiet");
    return options;
}

} // namespace

void refuseValue(std::string_view option, const std::string& value, const std::string& expected) {
    throw UsageError("--" + std::string(option) + ": \"" + value + "\" is no " + expected);
}

LookOptions parseLookOptions(const Words& words) {
    LookOptions options;
    readLook(words, options);
    return options;
}

PreviewOptions parsePreviewOptions(const Words& words) {
    PreviewOptions options = readPreview(words);
    readLook(words, options);
    options.output = words.value("output").value_or("");
    if (options.output.empty()) {
        throw UsageError("-o FILE is needed: where the picture goes");
    }
    return options;
}

PreviewOptions parseStylesOptions(const Words& words) {
    PreviewOptions options = readPreview(words);
    options.output = words.value("preview").value_or("");
    if (words.has("preview") && options.output.empty()) {
        throw UsageError("--preview: a folder is missing");
    }
    return options;
}

char parseUpAxis(const Words& words) {
    const auto text = words.value("up-axis");
    if (text && *text != "y" && *text != "z") {
        refuseValue("up-axis", *text, "axis: y or z is expected");
    }
    return text ? text->front() : '\0';
}

RenderOptions parseRenderOptions(const Words& words) {
    RenderOptions options;
    options.models = words.arguments;
    options.demo = words.has("demo");
    if (options.demo != options.models.empty()) {
        throw UsageError(options.demo ? "--demo renders the built-in scene; leave either it or the model out"
                                      : "a MODEL is needed, or --demo for the built-in scene");
    }
    readOutputs(words, options);
    readSize(words, options);
    options.antialias = readAntialias(words);
    readBackground(words, options);
    options.ambient = colourOption(words, "ambient");
    options.paper = words.value("paper").value_or("");
    options.depthImage = words.has("depth-image");
    options.shadowImage = words.has("shadow-image");
    options.shadows = words.has("shadows");
    options.transparency = words.has("transparency");
    if (options.shadowImage && !options.shadows) {
        throw UsageError("--shadow-image needs --shadows");
    }
    options.drawing = parseDrawingOptions(words);
    checkDrawings(words, options);
    matchSheet(words, options);
    readLayers(words, options);
    options.upAxis = parseUpAxis(words);
    readObjects(words, options.objects);
    options.deflection =
        numberOption(words, "deflection", 1e-9, 1e9, "length: a number above 0 is expected").value_or(0.0);
    readLook(words, options);
    readView(words, options);
    for (const std::string& text : words.all("light")) {
        options.lights.push_back(readLight(text));
    }
    options.offset = numberOption(words, "offset", -1e6, 1e6, "number of units").value_or(5.0);
    options.tile = static_cast<std::int32_t>(
        numberOption(words, "tile", 32, 4000, "number of pixels: 32 to 4000 is expected").value_or(0.0));
    options.memoryFolder = words.value("memory-folder").value_or("");
    options.timings = words.has("timings");
    options.quiet = words.has("quiet");
    return options;
}
