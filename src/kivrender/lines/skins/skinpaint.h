// The colours that a skin has at the samples of a picture, as shaders show them there: filtered to the size of a
// sample, and not reduced to flat ones unless the skin asks for that.
#ifndef KIVRENDER_LINES_SKINS_SKINPAINT_H
#define KIVRENDER_LINES_SKINS_SKINPAINT_H

#include "kivrender/lines/kivdrawnskins.h"
#include "kivrender/lines/skins/skinraster.h"
#include "kivrender/lines/skins/texturelabels.h"
#include "kivrender/scene/kivskinimage.h"

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

// Whether a texture has the pixels that it says it has.
bool kivIsUsable(const KivTexture& texture);
// A texture as a picture; opaque where its alpha means nothing.
KivSkinImage kivSkinImageOf(const KivTexture& texture);
// Colours of parts from 0 to 1, as those at vertices are.
std::array<std::uint8_t, 3> kivSkinColor(const std::array<double, 3>& parts);

class SkinPaint {
public:
    using Color = std::array<std::uint8_t, 3>;

    // texture: usable, or null for colours at vertices. False when the user cancelled.
    bool build(std::shared_ptr<const KivTexture> texture, const KivMeshPaint& paint, int numColors);

    // samples: along each side of what the colour is for.
    Color at(const SkinRaster& raster, int x, int y, int samples) const;

private:
    using Sum = std::array<double, 3>;

    void addLinear(double u, double v, std::size_t level, double weight, Sum& sum) const;
    void addTrilinear(double u, double v, double level, double weight, Sum& sum) const;
    Color filtered(const SkinRaster::Place& place) const;

    std::shared_ptr<const KivTexture> picture;
    std::vector<KivSkinImage> levels;
    KivPalette palette; // empty: all colours as they are
    TextureLabels labels;
};

#endif
