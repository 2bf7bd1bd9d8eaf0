// The colours that surfaces show where no light reaches them, by their places in the picture.
#ifndef KIVRENDER_RENDER_SHADOWTONES_H
#define KIVRENDER_RENDER_SHADOWTONES_H

#include "kivrender/lines/regions/regionfaces.h"
#include "kivrender/render/collectedshadows.h"

#include <cstdint>
#include <optional>
#include <span>

class ShadowTones {
public:
    // False when the user cancelled.
    bool read(const CollectedShadows& shadows, double width, double height);
    // What a place shows where so many of the lights are lost; none where nothing is known. The colours are those that
    // were recorded.
    struct Shade {
        unsigned int lost = 0;
        std::uint32_t withoutAny = 0;
        std::uint32_t own = 0; // light that the surface gives itself
    };
    // In pixels.
    std::optional<Shade> shadeAt(double x, double y, unsigned int lost) const;
    // Of a surface with a lit and a dark colour.
    std::uint32_t colorOf(const Shade& shade, std::uint32_t lit, std::uint32_t dark) const;

private:
    RegionFaces withoutAny; // their looks are colours
    RegionFaces emission;
    unsigned int numLights = 0;
};

#endif
