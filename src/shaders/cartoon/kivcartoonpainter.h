// Draws a batch of the cartoon shader with OpenGL: the ramps as one-dimensional textures, the vertices from arrays.
#ifndef SHADERS_CARTOON_KIVCARTOONPAINTER_H
#define SHADERS_CARTOON_KIVCARTOONPAINTER_H

#include "kivcartoongeometry.h"
#include "kivcartoonramp.h"

#include <array>
#include <cstdint>
#include <vector>

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

// Which of the lights: a share is number `part` of so many parts; of the dimmed look `part` of so many parts are lost.
// The shares below a number, added to the layers shadow and emission as whole bytes, come as near as bytes can to that
// many parts of the light, and all of them to the full look.
struct KivCartoonShare {
    KivCartoonShare(int numParts, int number = 0) : parts(numParts), part(number) {}

    int parts;
    int part;

    friend bool operator==(const KivCartoonShare&, const KivCartoonShare&) = default;
};

// The ramp of a layer: the colour for each incidence, or for the highlight for each shine.
std::vector<KivRampEntry> kivCartoonRamp(const KivCartoonColors& colors, KivCartoonLayer layer, KivCartoonShare share);
std::vector<KivRampEntry> kivHighlightRamp(const KivCartoonColors& colors);

// One entry of each: the colour at a level of light, and at so many degrees from the mirror direction. A highlight
// fades over its reach on both sides of its radius.
KivRampEntry kivCartoonEntry(const KivCartoonColors& colors, KivCartoonLayer layer, KivCartoonShare share,
                             double level);
KivRampEntry kivHighlightEntry(const KivCartoonColors& colors, double angle);
double kivHighlightReach(const KivCartoonColors& colors);

// How far a shine of 1 is from the mirror direction is 0 degrees; a shine of 0 stands for 60 degrees and more.
double kivShineOfCosine(double cosine);

// One at a time for a context; makes its textures there and must end while that context is current.
class KivCartoonPainter {
public:
    KivCartoonPainter() = default;
    KivCartoonPainter(const KivCartoonPainter&) = delete;
    KivCartoonPainter& operator=(const KivCartoonPainter&) = delete;
    ~KivCartoonPainter();

    // The context is gone, and the textures with it.
    void forget();

    // Draws the triangles with the blending, stencil and depth tests as they are set, and leaves textures, arrays and
    // colour changed. Triangles that are seen from behind are drawn with a larger polygon offset if one is enabled: at
    // the outline of a shape its far side must not show through where both are steep. vectorial: no textures, but an
    // area of one colour for each band.
    // Of a share with ranks in the batch nothing is drawn where too few lights fall on the surface from its front.
    void draw(const KivCartoonBatch& batch, const KivCartoonColors& colors, KivCartoonLayer layer,
              KivCartoonShare share, bool vectorial);

private:
    void beginSecondUnit(const std::vector<KivRampEntry>* entries, int environment, int stride,
                         const float* coordinates);
    void drawTextured(const KivCartoonBatch& batch, const KivCartoonColors& colors, KivCartoonLayer layer,
                      KivCartoonShare share);
    void drawColored(const KivCartoonBatch& batch, const KivCartoonColors& colors, KivCartoonLayer layer,
                     KivCartoonShare share);
    void load(int unit, const std::vector<KivRampEntry>& ramp);

    unsigned int textures[2] = {0, 0};
    // What the textures hold.
    bool loaded = false;
    KivCartoonColors loadedColors;
    KivCartoonLayer loadedLayer = KivCartoonLayer::full;
    KivCartoonShare loadedShare = 1;
};

#endif
