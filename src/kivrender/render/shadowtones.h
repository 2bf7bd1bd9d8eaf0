// The colours that surfaces show where no light reaches them, by their places in the picture.
#ifndef KIVRENDER_RENDER_SHADOWTONES_H
#define KIVRENDER_RENDER_SHADOWTONES_H

#include "kivrender/lines/regions/regionfaces.h"
#include "kivrender/render/collectedshadows.h"

#include <cstdint>
#include <functional>
#include <span>

class ShadowTones {
public:
    // False when the user cancelled.
    bool read(const CollectedShadows& shadows, double width, double height);
    // Of a surface of a lit colour, in pixels, where so many of the lights are lost. The lit one where nothing is
    // known. darkOf: from the colour that was recorded without any light to the one that the surface has.
    std::uint32_t colorAt(std::uint32_t lit, double x, double y, unsigned int lost,
                          const std::function<std::uint32_t(std::uint32_t)>& darkOf) const;

private:
    RegionFaces withoutAny; // their looks are colours
    RegionFaces emission;
    unsigned int numLights = 0;
};

#endif
