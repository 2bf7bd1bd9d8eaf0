// From how much light a point gets to the tone that a painter would give it: the bands of a cartoon, and the colours
// that a material has in them.
#ifndef SHADERS_CARTOON_KIVCARTOONRAMP_H
#define SHADERS_CARTOON_KIVCARTOONRAMP_H

#include <array>
#include <cstdint>
#include <vector>

// Red, green, blue from 0 to 1.
using KivTone = std::array<double, 3>;

// A colour of the interface, red in the low byte.
KivTone kivToneOf(std::uint32_t color);

// The staircase. Light incidence 0 is darkness, 1 is light straight on the surface.
struct KivCartoonBands {
    int count = 3;         // 1 to 8
    double softness = 0.0; // 0 a sharp edge between bands, 1 no flat part left
    double balance = 0.0;  // -1 mostly shadow, 1 mostly light
    double washEdge = 0.0; // how much more pigment lies where a darker band ends, 0 to 1

    // The incidence at which band number i (1 to count - 1) takes over from the one below it.
    double edge(int i) const;
    // How far the change at edge number i reaches to both sides of it.
    double reach(int i) const;
    // From 0 in the darkest band to 1 in the lightest, growing with the incidence. One band is all light.
    double level(double incidence) const;
    // How far a level lies above the darkest band: 0 in it, 1 from the second band on. With one band always 1.
    double shadeOf(double level) const;

    // How much pigment lies there, 1 and more: a wash of colour dries with a dark rim, since the water that evaporates
    // at its rim takes the pigment there (Curtis, Anderson, Seims, Fleischer and Salesin, Computer-Generated
    // Watercolor, 1997). Colours are raised to that power, as layers of paint are (Bousseau, Kaplan, Thollot and
    // Sillion, Interactive Watercolor Rendering with Temporal Coherence and Abstraction, 2006).
    double pigment(double incidence) const;
    // Over how much of the incidence below edge number i the pigment gathers.
    double rim(int i) const;

    friend bool operator==(const KivCartoonBands&, const KivCartoonBands&) = default;
};

// How tones become colours.
struct KivCartoonPaint {
    double shadow = 0.45;     // what is left of the material's colour in the darkest band
    double saturation = 0.35; // shadows richer in colour than the light, 0 to 1
    double coolness = 0.45;   // shadows turned towards blue, 0 to 1
    KivTone ambient{};        // the ambient light of the scene brightens the shadows
    double warmth = 0.0;      // how far tones run from cool to warm instead of from dark to light, 0 to 1
    double duotone = 0.0;     // how far all tones turn into mixtures of the two below, by their brightness
    KivTone dark{};
    KivTone light = {1.0, 1.0, 1.0};
    // What a cast shadow makes of lit bands: so much of the way, 0 to 1, to the darkest band's tone times this colour.
    double castStrength = 1.0;
    KivTone castColor = {1.0, 1.0, 1.0};

    friend bool operator==(const KivCartoonPaint&, const KivCartoonPaint&) = default;
};

// The colour of a material in the shadow and at a level of light between 0 and 1. Emission is light of the material's
// own and is added everywhere.
KivTone kivCartoonShadow(const KivTone& diffuse, const KivCartoonPaint& paint);
KivTone kivCartoonColor(const KivTone& diffuse, const KivTone& emission, const KivCartoonPaint& paint, double level);

// A colour on its way into the two of the paint. difference: what is added to another colour that was turned already.
KivTone kivDuotone(const KivTone& tone, const KivCartoonPaint& paint, bool difference = false);

// A material's colour, richer or paler (saturation from -1, grey, to 1) and lighter or darker (lightness from -1,
// black, to 1, white).
KivTone kivAdjusted(const KivTone& tone, double saturation, double lightness);

// A dark colour made lighter, as illustrators do with black things, on which ink would not show: black gets the
// brightness of the lift, 0 to 0.5, colours of which a part is twice as bright stay as they are, and what is darker
// than another stays darker. What gives off light of its own is as bright as both together.
KivTone kivLifted(const KivTone& tone, const KivTone& emission, double lift);

// The colour, without emission, where a cast shadow takes all the light from a surface that would be at a level; `lit`
// as KivCartoonBands::shadeOf. It is the level's own colour in the darkest band, whatever the shadow's colour: there
// light ends softly by itself, and the edge of the volumes, which runs along the triangles, is not to be seen. No
// brighter than the level's colour anywhere.
KivTone kivCartoonCast(const KivTone& diffuse, const KivCartoonPaint& paint, double level, double lit);

// The texture coordinate that stands for an incidence, for a table of that many entries: the first entry is incidence
// 0, the last is incidence 1, and a lookup that interpolates between the middles of entries meets both exactly.
double kivRampCoordinate(double incidence, int entries);

#endif
