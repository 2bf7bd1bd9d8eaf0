// Pictures for surfaces as shaders and drawings make them smaller, and as few flat colours in place of many.
#ifndef KIVRENDER_SCENE_KIVSKINIMAGE_H
#define KIVRENDER_SCENE_KIVSKINIMAGE_H

#include "kivrender/platform/kivexport.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

// A picture in memory: red, green, blue and alpha.
struct KivSkinImage {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> pixels;
};

// Red, green and blue of each flat colour; empty: all colours as they are.
using KivPalette = std::vector<std::array<std::uint8_t, 3>>;

// At most so many colours for a picture; what is transparent does not count. Chosen by Heckbert's median cut (1982) and
// moved to the means of what they stand for (Lloyd, 1982).
KIV_API KivPalette kivPalette(const KivSkinImage& image, int numColors);
// The colour of a palette, which is not empty, that is nearest to the three parts of another, and its number.
KIV_API std::size_t kivNearestOf(const KivPalette& palette, const std::uint8_t* color);
KIV_API const std::array<std::uint8_t, 3>& kivNearest(const KivPalette& palette, const std::uint8_t* color);

// Whether the alpha of a picture fades where it passes a threshold (0 to 1), as in a glow or in smoke. That of a leaf
// or a grid is nearly always 0 or 1: there it goes from one to the other within a few pixels, and few are in between.
KIV_API bool kivHasSoftAlpha(const KivSkinImage& image, double threshold);

// Half as large in each direction, at least one pixel, for pictures that are seen from far away. Colours count by their
// alpha.
KIV_API KivSkinImage kivHalved(const KivSkinImage& image);

// From the largest to a single pixel. What is transparent takes the colour that is nearest, as filters look at it where
// it meets what is not.
KIV_API std::vector<KivSkinImage> kivSkinLevels(KivSkinImage image);

#endif
