// A picture taken apart into layers: what it stands on, colours, shadow, highlights and lines.
//
// Each layer is what a further render has that the one before it has not, so that the layers, laid over one another in
// their order, give the picture to 2/255 for each channel, whatever the shaders do. Colours and lines cover as much of
// each pixel as they really do; shadow and highlights cover as little as will do.
//
// Layers of single objects are those layers cut along what each object covers in the picture.
#ifndef APPS_COMMON_LAYEREDPICTURE_H
#define APPS_COMMON_LAYEREDPICTURE_H

#include "apps/common/openraster.h"
#include "kivrender/platform/kivimage.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// What a render shows.
struct LayerContent {
    bool scene = true;
    bool base = true; // the shader that paints surfaces
    bool lines = true;
    bool shadows = true;
    bool highlights = true;
    bool ground = true;                      // backdrop, background image and paper
    bool paper = true;                       // without the rest of the ground
    std::optional<std::uint32_t> background; // a plain colour in place of the ground
    std::optional<std::size_t> object;       // this one of the plan's alone; the others only hide
};

// Null when it failed or was cancelled.
using DrawLayer = std::function<std::unique_ptr<KivImage>(const LayerContent& content)>;

// What the picture has at all.
struct LayerPlan {
    bool ground = true; // else it is transparent
    bool paper = false;
    bool base = true;
    bool lines = true;
    bool shadows = false;
    bool highlights = false;
    std::vector<std::string> objects; // their names, for layers of their own; empty for layers of all together
};

struct LayeredPicture {
    std::vector<PictureLayer> layers; // from the lowest up
    std::unique_ptr<KivImage> merged;
};

// The names of the layers, from the lowest up; those of objects are known when they are drawn.
std::vector<std::string> layerNames(const LayerPlan& plan);

// How many renders it takes.
std::size_t layerRenders(const LayerPlan& plan);

// Nothing where a render gave nothing, or without memory.
std::optional<LayeredPicture> takeApart(const LayerPlan& plan, const DrawLayer& draw);

#endif
