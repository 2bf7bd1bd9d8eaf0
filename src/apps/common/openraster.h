// Pictures with layers as OpenRaster files, which painting programs open (OpenRaster 0.0.5, "Open Raster file format").
#ifndef APPS_COMMON_OPENRASTER_H
#define APPS_COMMON_OPENRASTER_H

#include "kivrender/platform/kivimage.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct PictureLayer {
    std::string name; // UTF-8
    std::unique_ptr<KivImage> image;
    std::string group; // layers of one group that follow each other lie in a layer of that name; empty for none
};

// Layers from the lowest up, all of the size of the merged picture, which programs show that know nothing of layers.
// Empty where memory or the format has no room for it.
std::vector<std::uint8_t> openRasterFile(const std::vector<PictureLayer>& layers, const KivImage& merged);

#endif
