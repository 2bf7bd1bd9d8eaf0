// A texture as numbers of the flat colours of a palette, from the full picture to a single pixel.
//
// Each place shows the colour that counts most around it, and how much each counts is a smooth function of the place:
// borders between two colours lie where both count alike, between pixels too.
#ifndef KIVRENDER_LINES_SKINS_TEXTURELABELS_H
#define KIVRENDER_LINES_SKINS_TEXTURELABELS_H

#include "kivrender/scene/kivmeshpaint.h"
#include "kivrender/scene/kivskinimage.h"

#include <array>
#include <cstdint>
#include <vector>

class TextureLabels {
public:
    // At most that many colours in a palette.
    static constexpr std::size_t mostColors = 64;

    // levels: of the texture, as kivSkinLevels makes them. hasSoftEdges: whether pixels of a mixture between two
    // colours are their soft edge; of a picture whose pixels are seen one by one each means what it is. False when the
    // user cancelled.
    bool build(const KivTexture& texture, const std::vector<KivSkinImage>& levels, const KivPalette& palette,
               bool hasSoftEdges = true);

    // At a place as in KivMeshPaint, where a level's pixels are about as large as the place is to be.
    std::uint8_t labelAt(double u, double v, int level) const;
    // How much label p counts there less how much label q does.
    double lead(double u, double v, int level, std::uint8_t p, std::uint8_t q) const;

private:
    // A pixel of one label, or of two: share of it, from 0 to 255, is of the second.
    struct Texel {
        std::uint8_t first = 0;
        std::uint8_t second = 0;
        std::uint8_t share = 0;

        bool isOnly(std::uint8_t label) const {
            return first == label && share == 0;
        }
    };
    struct Level {
        int width = 0;
        int height = 0;
        std::vector<Texel> texels;
    };
    // The nine pixels around a place and their weights.
    struct Patch {
        std::array<Texel, 9> texels;
        std::array<float, 3> across;
        std::array<float, 3> down;
    };

    static Texel mixed(const std::array<std::uint8_t, 25>& labels, const std::uint8_t* color,
                       const KivPalette& palette);
    Patch patchAt(double u, double v, int level) const;

    KivTexture::Wrap wrapU = KivTexture::Wrap::repeat;
    KivTexture::Wrap wrapV = KivTexture::Wrap::repeat;
    std::vector<Level> all;
};

// A coordinate of a texture in pixels; 0 for one that is none.
double kivPixelPlace(double coordinate, int size);
// Where a pixel lies that is asked for beyond the border of a picture.
int kivWrapped(int pixel, int size, KivTexture::Wrap wrap);

#endif
