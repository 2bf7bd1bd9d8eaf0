#include "core/skins.h"

#include "core/meshdata.h"
#include "kivrender/platform/kivimage.h"
#include "kivrender/platform/kivtext.h"

#include <memory>
#include <numeric>
#include <utility>

namespace py = pybind11;

namespace {

using kivimport::Colour;

Colour meanOf(const kivimport::Points& colours) {
    kivimport::Vec3 sum;
    for (const kivimport::Vec3& colour : colours) {
        sum = sum + colour;
    }
    const double share = colours.empty() ? 0.0 : 1.0 / static_cast<double>(colours.size());
    return {sum.x * share, sum.y * share, sum.z * share};
}

// Pixels that are cut out have no part in the mean.
Colour meanOf(const std::vector<std::uint8_t>& pixels, double cutOut) {
    double sum[3] = {};
    double count = 0.0;
    for (std::size_t i = 0; i < pixels.size(); i += 4) {
        if (pixels[i + 3] >= cutOut * 255.0) {
            count += 255.0;
            for (std::size_t c = 0; c < 3; ++c) {
                sum[c] += pixels[i + c];
            }
        }
    }
    return count > 0.0 ? Colour{sum[0] / count, sum[1] / count, sum[2] / count} : Colour{1.0, 1.0, 1.0};
}

KivTexture::Wrap wrapOf(const std::string& name) {
    return name == "clamp"    ? KivTexture::Wrap::clamp
           : name == "mirror" ? KivTexture::Wrap::mirror
                              : KivTexture::Wrap::repeat;
}

TextureData finished(std::shared_ptr<KivTexture> texture, const std::string& wrap, double cutOut) {
    texture->wrapU = texture->wrapV = wrapOf(wrap);
    texture->cutOut = cutOut;
    const Colour average = meanOf(texture->pixels, cutOut);
    return {std::move(texture), average};
}

} // namespace

void takeSkin(kivimport::ModelParts& parts, const SkinPlaces& skin, const std::vector<TextureOfMaterial>& textures) {
    if (!skin.places) {
        return;
    }
    kivimport::Surface& surface = parts.surfaces.front();
    surface.paint = readPoints(*skin.places, skin.name);
    const std::size_t expected = skin.byCorner ? surface.corners.size() : surface.positions.size();
    if (surface.paint.size() != expected) {
        throw py::value_error(skin.name + " has " + std::to_string(surface.paint.size()) + " rows, but there are " +
                              std::to_string(expected) + (skin.byCorner ? " corners" : " vertices"));
    }
    surface.cornerPaint = surface.corners;
    if (skin.byCorner) {
        std::iota(surface.cornerPaint.begin(), surface.cornerPaint.end(), 0U);
    }
    surface.isPaintColour = skin.areColours;
    if (skin.areColours) {
        for (kivimport::Material& material : parts.materials) {
            material.diffuse = meanOf(surface.paint);
        }
        return;
    }
    for (const auto& [number, data] : textures) {
        kivimport::Material& material = parts.materials.at(number);
        material.picture = static_cast<std::uint32_t>(parts.pictures.size());
        material.textureLoaded = true;
        material.textureAverage = data->average;
        kivimport::Picture& picture = parts.pictures.emplace_back();
        picture.average = data->average;
        picture.made = data->texture;
    }
}

TextureData makeTexture(const py::array_t<std::uint8_t>& pixels, const std::string& wrap, double cutOut) {
    auto texture = std::make_shared<KivTexture>();
    texture->width = static_cast<std::int32_t>(pixels.shape(1));
    texture->height = static_cast<std::int32_t>(pixels.shape(0));
    texture->pixels.assign(pixels.data(), pixels.data() + pixels.size());
    return finished(std::move(texture), wrap, cutOut);
}

TextureData readTexture(const std::string& file, const std::string& wrap, double cutOut) {
    const std::unique_ptr<KivImage> image = KivImage::load(kivFromUtf8(file), kivimport::maxTexturePixels);
    if (image == nullptr) {
        throw py::value_error("texture: \"" + file +
                              "\" is no picture that can be read: png, jpeg, bmp, gif or tiff, of at most " +
                              std::to_string(kivimport::maxTexturePixels >> 20) + " million pixels");
    }
    auto texture = std::make_shared<KivTexture>();
    texture->width = image->width();
    texture->height = image->height();
    const auto width = static_cast<std::size_t>(image->width());
    texture->pixels.reserve(4 * width * static_cast<std::size_t>(image->height()));
    std::vector<std::uint8_t> row(3 * width);
    for (std::int32_t y = 0; y < image->height(); ++y) {
        image->copyRowRgb(y, row.data());
        for (std::size_t x = 0; x < width; ++x) {
            texture->pixels.insert(texture->pixels.end(), {row[3 * x], row[3 * x + 1], row[3 * x + 2], 255});
        }
    }
    return finished(std::move(texture), wrap, cutOut);
}
