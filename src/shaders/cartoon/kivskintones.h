// From the colours of a skin to their tones at one level of light; flat colours in place of many.
#ifndef SHADERS_CARTOON_KIVSKINTONES_H
#define SHADERS_CARTOON_KIVSKINTONES_H

#include "kivcartoonskin.h"

#include <array>
#include <cstdint>
#include <vector>

// Whether both have the same tones for every colour, however shiny, and whatever the material's own colour.
bool kivAreSameTones(const KivCartoonColors& a, const KivCartoonColors& b);

// Tones at places 1/32 apart in each of red, green and blue, and in between by their eight neighbours.
class KivToneTable {
public:
    KivToneTable(const KivCartoonSkin& skin, const KivCartoonColors& colors, KivCartoonLayer layer,
                 KivCartoonShare share, double level);

    // The same picture in tones, with its alpha.
    KivSkinImage toned(const KivSkinImage& image) const;
    // For so many values of red, then of green, then of blue, the first 0 and the last 1, the tone of that colour, or
    // of the one of a palette that is nearest to it.
    std::vector<std::uint8_t> cube(int side, const KivPalette& palette) const;

private:
    static constexpr int steps = 32;

    void toneOf(const std::uint8_t* color, std::uint8_t* out) const;

    std::vector<std::array<float, 3>> entries;
};

#endif
