#include "import/modelparts.h"

#include <algorithm>

namespace kivimport {

namespace {

// More textures than this that can't be used are told together.
constexpr std::size_t mostTold = 8;

void tellOnce(std::vector<std::string>& warnings, const std::string& line) {
    if (std::find(warnings.begin(), warnings.end(), line) == warnings.end()) {
        warnings.push_back(line);
    }
}

bool isTold(const std::string& line) {
    return line.starts_with("texture \"");
}

// Of a file's name what a line of text can hold.
std::string shownName(std::string name) {
    constexpr std::size_t longest = 80;
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; }, '?');
    return name.size() > longest ? name.substr(0, longest) + "..." : name;
}

} // namespace

void limitPixels(Picture& picture, std::uint64_t& pixels) {
    const std::uint64_t more = picture.pixels.size() / 4;
    if (pixels + more <= maxTexturePixels) {
        pixels += more;
        return;
    }
    picture.width = 0;
    picture.height = 0;
    std::vector<std::uint8_t>().swap(picture.pixels); // an empty list, assigned, would keep the memory
    picture.problem = "the model's textures are too large together";
}

void takePicture(Material& material, std::uint32_t number, const Picture& picture, std::vector<std::string>& warnings) {
    // A picture that was read for its average alone has one all the same.
    material.textureLoaded = !picture.pixels.empty() || picture.average != Colour{1.0, 1.0, 1.0};
    material.textureAverage = picture.average;
    if (!picture.pixels.empty()) {
        material.picture = number;
        material.cutOut = picture.hasAlpha ? material.cutOut : 0.0;
        return;
    }
    if (std::count_if(warnings.begin(), warnings.end(), isTold) < static_cast<std::ptrdiff_t>(mostTold)) {
        tellOnce(warnings, "texture \"" + shownName(material.texture) + "\" is left out: " + picture.problem);
    } else {
        tellOnce(warnings, "further textures are left out");
    }
}

namespace {

bool isTextured(const ModelParts& parts, const Surface& surface) {
    return std::any_of(surface.parts.begin(), surface.parts.end(), [&](const Surface::Part& part) {
        return part.material != noIndex && parts.materials[part.material].picture != noIndex;
    });
}

Vec3 clamped(const Vec3& colour) {
    return {std::clamp(colour.x, 0.0, 1.0), std::clamp(colour.y, 0.0, 1.0), std::clamp(colour.z, 0.0, 1.0)};
}

} // namespace

void dropUnusedPaint(ModelParts& parts) {
    for (Surface& surface : parts.surfaces) {
        if (!surface.isPaintColour && !isTextured(parts, surface)) {
            surface.paint.clear();
            surface.cornerPaint.clear();
        }
    }
}

void paintPositions(ModelParts& parts, Points colours) {
    for (Surface& surface : parts.surfaces) {
        if (surface.positions.size() != colours.size() || isTextured(parts, surface)) {
            continue;
        }
        std::transform(colours.begin(), colours.end(), colours.begin(), clamped);
        Points sums(surface.parts.size());
        std::vector<double> counts(surface.parts.size(), 0.0);
        for (std::size_t c = 0; c < surface.corners.size(); ++c) {
            const std::size_t part = surface.triangleParts.empty() ? 0 : surface.triangleParts[c / 3];
            sums[part] = sums[part] + colours[surface.corners[c]];
            counts[part] += 1.0;
        }
        for (std::size_t i = 0; i < surface.parts.size(); ++i) {
            Material material;
            if (surface.parts[i].material != noIndex) {
                material = parts.materials[surface.parts[i].material];
            }
            const Vec3 mean = sums[i] * (1.0 / std::max(counts[i], 1.0));
            material.diffuse = {mean.x, mean.y, mean.z};
            surface.parts[i].material = static_cast<std::uint32_t>(parts.materials.size());
            parts.materials.push_back(std::move(material));
        }
        surface.paint = colours;
        surface.cornerPaint = surface.corners;
        surface.isPaintColour = true;
    }
}

} // namespace kivimport
