// What the colours of a mesh come from, and the colour of each layer of its look at a level of light.
#ifndef SHADERS_CARTOON_KIVCARTOONTONES_H
#define SHADERS_CARTOON_KIVCARTOONTONES_H

#include "kivcartoonramp.h"

#include <array>
#include <cstdint>

// The number of entries of the ramps.
inline constexpr int kivRampEntries = 1024;

// What the colours of a mesh come from.
struct KivCartoonColors {
    KivCartoonBands bands;
    KivCartoonPaint paint;
    KivTone diffuse{};
    KivTone emission{};
    double alpha = 1.0;
    // No highlight with a strength of 0.
    double highlightStrength = 0.0;
    double highlightSize = 12.0; // degrees
    KivTone highlightColor = {1.0, 1.0, 1.0};

    friend bool operator==(const KivCartoonColors&, const KivCartoonColors&) = default;
};

// Red, green, blue, alpha.
using KivRampEntry = std::array<std::uint8_t, 4>;

// What a draw call puts into the picture.
enum class KivCartoonLayer {
    full,      // the look as it is
    black,     // depth, and black in place of what was there
    shadow,    // the tone where a cast shadow takes all lights, without the material's own light
    emission,  // the material's own light
    share,     // a part of what light adds to the two layers above
    dimmed,    // the look where some of the lights are lost
    highlight, // the highlight alone
};

// Chooses one of the lights: a share is number `part` of so many parts; of the dimmed look `part` of so many parts are
// lost. The shares below a number, added to the layers shadow and emission as whole bytes, come as near as bytes can to
// that many parts of the light, and all of them to the full look.
struct KivCartoonShare {
    KivCartoonShare(int numParts, int number = 0) : parts(numParts), part(number) {}

    int parts;
    int part;

    friend bool operator==(const KivCartoonShare&, const KivCartoonShare&) = default;
};

// One entry of each: the colour at a level of light, and at so many degrees from the mirror direction. A highlight
// fades over its reach on both sides of its radius.
// pigment: as KivCartoonBands has it; of a wash in the light, not of what a thrown shadow leaves of it.
KivRampEntry kivCartoonEntry(const KivCartoonColors& colors, KivCartoonLayer layer, KivCartoonShare share, double level,
                             double pigment = 1.0);
KivRampEntry kivHighlightEntry(const KivCartoonColors& colors, double angle);
double kivHighlightReach(const KivCartoonColors& colors);

#endif
