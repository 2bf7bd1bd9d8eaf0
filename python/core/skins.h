// Textures and colours at vertices, from what Python gives to plain data.
#ifndef CORE_SKINS_H
#define CORE_SKINS_H

#include "import/modelparts.h"
#include "kivrender/scene/kivmeshpaint.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <pybind11/numpy.h>

// Places in textures, (N, 3) with the third one 0, or colours from 0 to 1: by vertex, or by corner of the triangles.
struct SkinPlaces {
    std::optional<pybind11::array> places;
    std::string name; // in messages
    bool byCorner = false;
    bool areColours = false;
};

// A picture for surfaces, which all meshes that it lies on share.
struct TextureData {
    std::shared_ptr<const KivTexture> texture;
    kivimport::Colour average;
};

// pixels: (H, W, 4) with the top row first. wrap: "repeat", "clamp" or "mirror". cutOut: what is less opaque is not
// there.
TextureData makeTexture(const pybind11::array_t<std::uint8_t>& pixels, const std::string& wrap, double cutOut);

// Of an image file, opaque. Throws py::value_error for a file that can't be read.
TextureData readTexture(const std::string& file, const std::string& wrap, double cutOut);

// With the number of the material that it belongs to.
using TextureOfMaterial = std::pair<std::uint32_t, std::shared_ptr<TextureData>>;

// The surface has its triangles. Throws py::value_error where the numbers of rows do not fit.
void takeSkin(kivimport::ModelParts& parts, const SkinPlaces& skin, const std::vector<TextureOfMaterial>& textures);

#endif
