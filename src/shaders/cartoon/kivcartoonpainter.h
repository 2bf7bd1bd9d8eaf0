// Draws a batch of the cartoon shader with OpenGL: the ramps as one-dimensional textures (Lake, Marshall, Harris and
// Blackstein, Stylized Rendering Techniques for Scalable Real-Time 3D Animation, 2000), the vertices from arrays.
#ifndef SHADERS_CARTOON_KIVCARTOONPAINTER_H
#define SHADERS_CARTOON_KIVCARTOONPAINTER_H

#include "kivcartoongeometry.h"
#include "kivcartoontones.h"

#include <optional>
#include <utility>
#include <vector>

// The ramp of a layer: the colour for each incidence, or for the highlight for each shine.
std::vector<KivRampEntry> kivCartoonRamp(const KivCartoonColors& colors, KivCartoonLayer layer, KivCartoonShare share);
std::vector<KivRampEntry> kivHighlightRamp(const KivCartoonColors& colors);
// How far each incidence lies between the darkest band and the lightest.
std::vector<KivRampEntry> kivLevelRamp(const KivCartoonBands& bands);

// Of the cosine between the normal and the half vector (Blinn, Models of Light Reflection for Computer Synthesized
// Pictures, 1977): a shine of 1 is the mirror direction itself, 0 stands for 60 degrees and more from it.
double kivShineOfCosine(double cosine);

// One at a time for a context; makes its textures there and must end while that context is current.
class KivCartoonPainter {
public:
    // Without skins painted batches come in their one colour.
    explicit KivCartoonPainter(KivCartoonSkins* ofContext = nullptr) : skins(ofContext) {}
    KivCartoonPainter(const KivCartoonPainter&) = delete;
    KivCartoonPainter& operator=(const KivCartoonPainter&) = delete;
    ~KivCartoonPainter();

    // The context is gone, and the textures with it.
    void forget();

    // By how much the polygon offset of triangles that are seen from behind is larger, in slopes and in steps of the
    // depth buffer: at the outline of a shape its far side must not show through where both are steep. Unless told it
    // is twice as large.
    void setBackOffset(float slopes, float steps) {
        backOffset = {slopes, steps};
    }

    // Draws the triangles with the blending, stencil and depth tests as they are set, and leaves textures, arrays and
    // colour changed. vectorial: no textures, but an area of one colour for each band.
    // Of a share with ranks in the batch nothing is drawn where too few lights fall on the surface from its front.
    void draw(const KivCartoonBatch& batch, const KivCartoonColors& colors, KivCartoonLayer layer,
              KivCartoonShare share, bool vectorial);

private:
    void drawBatch(const KivCartoonBatch& batch) const;
    void beginUnit(int unit, const std::vector<KivRampEntry>* entries, int environment, int stride,
                   const float* coordinates);
    void endUnit(int unit);
    void beginSkin(const KivCartoonBatch& batch, const KivCartoonSkins::Textures& tones);
    void endSkin(const KivCartoonBatch& batch);
    bool drawPainted(const KivCartoonBatch& batch, const KivCartoonColors& colors, KivCartoonLayer layer,
                     KivCartoonShare share);
    void drawTextured(const KivCartoonBatch& batch, const KivCartoonColors& colors, KivCartoonLayer layer,
                      KivCartoonShare share);
    void drawColored(const KivCartoonBatch& batch, const KivCartoonColors& colors, KivCartoonLayer layer,
                     KivCartoonShare share);
    void load(int texture, const std::vector<KivRampEntry>& ramp);

    KivCartoonSkins* skins;
    std::optional<std::pair<float, float>> backOffset;
    unsigned int textures[2] = {0, 0};
    // What the textures hold.
    bool loaded = false;
    KivCartoonColors loadedColors;
    KivCartoonLayer loadedLayer = KivCartoonLayer::full;
    KivCartoonShare loadedShare = 1;
};

#endif
