#define GL_GLEXT_PROTOTYPES
#include "kivcartoonpainter.h"

#include "kivcartoonareas.h"
#include "kivrender/platform/kivglpieces.h"
#include "kivrender/scene/kivprogress.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace {

// The widest angle from the mirror direction that the highlight's ramp tells apart, 60 degrees.
constexpr double widestShine = 0.5;
// The painter cuts and draws so many indices, three for each triangle, between two polls for a cancel.
constexpr std::size_t indicesPerPoll = std::size_t{3} * 16384;

void drawIndices(const std::vector<std::uint32_t>& indices) {
    kivDrawTrianglesInPieces(indices, [] { return !kivIsCancelled(); });
}

void drawAreas(const KivFlatAreas& areas) {
    if (!areas.corners.empty()) {
        glVertexPointer(3, GL_FLOAT, sizeof(KivFlatCorner), areas.corners.data());
        glColorPointer(4, GL_UNSIGNED_BYTE, 0, areas.colors.data());
        glDrawArrays(GL_TRIANGLES, 0, static_cast<GLsizei>(areas.corners.size()));
    }
}

// Nothing below a coordinate, all above it.
std::vector<KivRampEntry> gateRamp(float threshold) {
    std::vector<KivRampEntry> ramp(kivRampEntries);
    for (int i = 0; i < kivRampEntries; ++i) {
        const std::uint8_t open = (static_cast<float>(i) + 0.5F) / kivRampEntries > threshold ? 255 : 0;
        ramp[static_cast<std::size_t>(i)] = {open, open, open, open};
    }
    return ramp;
}

} // namespace

double kivShineOfCosine(double cosine) {
    return std::clamp((cosine - widestShine) / (1.0 - widestShine), 0.0, 1.0);
}

std::vector<KivRampEntry> kivCartoonRamp(const KivCartoonColors& colors, KivCartoonLayer layer, KivCartoonShare share) {
    std::vector<KivRampEntry> ramp(kivRampEntries);
    for (int i = 0; i < kivRampEntries; ++i) {
        const double incidence = static_cast<double>(i) / (kivRampEntries - 1);
        ramp[i] = kivCartoonEntry(colors, layer, share, colors.bands.level(incidence), colors.bands.pigment(incidence));
    }
    return ramp;
}

std::vector<KivRampEntry> kivLevelRamp(const KivCartoonBands& bands) {
    std::vector<KivRampEntry> ramp(kivRampEntries);
    for (int i = 0; i < kivRampEntries; ++i) {
        const double level = bands.level(static_cast<double>(i) / (kivRampEntries - 1));
        const auto byte = static_cast<std::uint8_t>(std::lround(std::clamp(level, 0.0, 1.0) * 255.0));
        ramp[static_cast<std::size_t>(i)] = {byte, byte, byte, 255};
    }
    return ramp;
}

std::vector<KivRampEntry> kivHighlightRamp(const KivCartoonColors& colors) {
    std::vector<KivRampEntry> ramp(kivRampEntries);
    for (int i = 0; i < kivRampEntries; ++i) {
        const double cosine = widestShine + (1.0 - widestShine) * i / (kivRampEntries - 1);
        const double angle = std::acos(std::min(cosine, 1.0)) * 180.0 / std::numbers::pi;
        // Nothing below the first entry: there the angle is not known.
        ramp[i] = kivHighlightEntry(colors, i == 0 ? 180.0 : angle);
    }
    return ramp;
}

KivCartoonPainter::~KivCartoonPainter() {
    if (textures[0] != 0) {
        glDeleteTextures(2, textures);
    }
}

void KivCartoonPainter::forget() {
    textures[0] = textures[1] = 0;
    loaded = false;
}

// Draws front and back with their own polygon offsets.
void KivCartoonPainter::drawBatch(const KivCartoonBatch& batch) const {
    drawIndices(batch.front);
    if (batch.back.empty()) {
        return;
    }
    GLfloat factor = 0.0F;
    GLfloat units = 0.0F;
    glGetFloatv(GL_POLYGON_OFFSET_FACTOR, &factor);
    glGetFloatv(GL_POLYGON_OFFSET_UNITS, &units);
    const auto [slopes, steps] = backOffset.value_or(std::pair(factor, units));
    glPolygonOffset(factor + slopes, units + steps);
    drawIndices(batch.back);
    glPolygonOffset(factor, units);
}

void KivCartoonPainter::draw(const KivCartoonBatch& batch, const KivCartoonColors& colors, KivCartoonLayer layer,
                             KivCartoonShare share, bool vectorial) {
    if (batch.front.empty() && batch.back.empty()) {
        return;
    }
    glDisable(GL_LIGHTING);
    glDisable(GL_CULL_FACE);
    glShadeModel(GL_SMOOTH);
    if (vectorial) {
        drawColored(batch, colors, layer, share);
    } else if (!drawPainted(batch, colors, layer, share)) {
        drawTextured(batch, colors, layer, share);
    }
}

void KivCartoonPainter::load(int texture, const std::vector<KivRampEntry>& entries) {
    if (textures[0] == 0) {
        glGenTextures(2, textures);
    }
    glBindTexture(GL_TEXTURE_1D, textures[texture]);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    glTexImage1D(GL_TEXTURE_1D, 0, GL_RGBA8, static_cast<GLsizei>(entries.size()), 0, GL_RGBA, GL_UNSIGNED_BYTE,
                 entries.data());
    glTexParameteri(GL_TEXTURE_1D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_1D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_1D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
}

// Uses the second texture, with these entries if they are given, on what the units before give.
void KivCartoonPainter::beginUnit(int unit, const std::vector<KivRampEntry>* entries, int environment, int stride,
                                  const float* coordinates) {
    glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(unit));
    if (entries != nullptr) {
        load(1, *entries);
    }
    glBindTexture(GL_TEXTURE_1D, textures[1]);
    glEnable(GL_TEXTURE_1D);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, environment);
    glClientActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(unit));
    glEnableClientState(GL_TEXTURE_COORD_ARRAY);
    glTexCoordPointer(1, GL_FLOAT, stride, coordinates);
}

void KivCartoonPainter::endUnit(int unit) {
    glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(unit));
    glClientActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(unit));
    glDisable(GL_TEXTURE_1D);
    glDisableClientState(GL_TEXTURE_COORD_ARRAY);
    glActiveTexture(GL_TEXTURE0);
    glClientActiveTexture(GL_TEXTURE0);
}

void KivCartoonPainter::drawTextured(const KivCartoonBatch& batch, const KivCartoonColors& colors,
                                     KivCartoonLayer layer, KivCartoonShare share) {
    const bool shines = colors.highlightStrength > 0.0 && layer == KivCartoonLayer::full;
    const bool alone = layer == KivCartoonLayer::highlight;
    glActiveTexture(GL_TEXTURE0);
    if (!loaded || !(loadedColors == colors) || loadedLayer != layer || !(loadedShare == share)) {
        load(0, alone ? kivHighlightRamp(colors) : kivCartoonRamp(colors, layer, share));
        if (shines) {
            load(1, kivHighlightRamp(colors));
        }
        loaded = true;
        loadedColors = colors;
        loadedLayer = layer;
        loadedShare = share;
    }
    glBindTexture(GL_TEXTURE_1D, textures[0]);
    glEnable(GL_TEXTURE_1D);
    glDisable(GL_TEXTURE_2D);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
    constexpr GLsizei stride = sizeof(KivCartoonVertex);
    const KivCartoonVertex* vertices = batch.vertices.data();
    glEnableClientState(GL_VERTEX_ARRAY);
    glDisableClientState(GL_NORMAL_ARRAY);
    glDisableClientState(GL_COLOR_ARRAY);
    glVertexPointer(3, GL_FLOAT, stride, &vertices->x);
    glClientActiveTexture(GL_TEXTURE0);
    glEnableClientState(GL_TEXTURE_COORD_ARRAY);
    glTexCoordPointer(1, GL_FLOAT, stride, alone ? &vertices->shine : &vertices->light);
    const bool isRanked = layer == KivCartoonLayer::share && share.part < batch.ranks;
    if (shines) {
        beginUnit(1, nullptr, GL_DECAL, stride, &vertices->shine);
    } else if (isRanked) {
        const std::vector<KivRampEntry> gate = gateRamp(batch.threshold);
        beginUnit(1, &gate, GL_MODULATE, static_cast<int>(sizeof(float)) * batch.ranks,
                  batch.incidences.data() + share.part);
        loaded = false; // the second texture is another one now
    }
    drawBatch(batch);
    if (shines || isRanked) {
        endUnit(1);
    }
    glDisable(GL_TEXTURE_1D);
    glDisableClientState(GL_TEXTURE_COORD_ARRAY);
    glDisableClientState(GL_VERTEX_ARRAY);
}

// The level of light chooses between the tones of the darkest and of the lightest band: between them all layers change
// in a straight line with it, whatever the colour.
void KivCartoonPainter::beginSkin(const KivCartoonBatch& batch, const KivCartoonSkins::Textures& tones) {
    const GLenum target = batch.skin.isTexture() ? GL_TEXTURE_2D : GL_TEXTURE_3D;
    for (int i = 0; i < 2; ++i) {
        const GLenum unit = GL_TEXTURE1 + static_cast<GLenum>(i);
        glActiveTexture(unit);
        glBindTexture(target, i == 0 ? tones.dark : tones.light);
        glDisable(GL_TEXTURE_1D);
        glEnable(target);
        glMatrixMode(GL_TEXTURE);
        glPushMatrix();
        glLoadIdentity();
        glTranslated(tones.shift, tones.shift, tones.shift);
        glScaled(tones.scale, tones.scale, tones.scale);
        glClientActiveTexture(unit);
        glEnableClientState(GL_TEXTURE_COORD_ARRAY);
        glTexCoordPointer(3, GL_FLOAT, 0, batch.paint.data());
        glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, i == 0 ? GL_REPLACE : GL_COMBINE);
    }
    glTexEnvi(GL_TEXTURE_ENV, GL_COMBINE_RGB, GL_INTERPOLATE);
    glTexEnvi(GL_TEXTURE_ENV, GL_SOURCE0_RGB, GL_TEXTURE);
    glTexEnvi(GL_TEXTURE_ENV, GL_SOURCE1_RGB, GL_PREVIOUS);
    glTexEnvi(GL_TEXTURE_ENV, GL_SOURCE2_RGB, GL_TEXTURE0);
    for (const GLenum operand : {GL_OPERAND0_RGB, GL_OPERAND1_RGB, GL_OPERAND2_RGB}) {
        glTexEnvi(GL_TEXTURE_ENV, operand, GL_SRC_COLOR);
    }
    glTexEnvi(GL_TEXTURE_ENV, GL_COMBINE_ALPHA, GL_REPLACE);
    glTexEnvi(GL_TEXTURE_ENV, GL_SOURCE0_ALPHA, GL_TEXTURE);
    glTexEnvi(GL_TEXTURE_ENV, GL_OPERAND0_ALPHA, GL_SRC_ALPHA);
    if (batch.skin.cutOut() > 0.0) {
        glEnable(GL_ALPHA_TEST);
        glAlphaFunc(GL_GEQUAL, static_cast<float>(batch.skin.cutOut()));
    }
}

void KivCartoonPainter::endSkin(const KivCartoonBatch& batch) {
    glDisable(GL_ALPHA_TEST);
    for (const GLenum unit : {GL_TEXTURE2, GL_TEXTURE1}) {
        glActiveTexture(unit);
        glDisable(batch.skin.isTexture() ? GL_TEXTURE_2D : GL_TEXTURE_3D);
        glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
        glMatrixMode(GL_TEXTURE);
        glPopMatrix();
        glClientActiveTexture(unit);
        glDisableClientState(GL_TEXTURE_COORD_ARRAY);
    }
    glMatrixMode(GL_MODELVIEW);
    glActiveTexture(GL_TEXTURE0);
    glClientActiveTexture(GL_TEXTURE0);
}

// False for what is of one colour: the batch, or this layer of it.
bool KivCartoonPainter::drawPainted(const KivCartoonBatch& batch, const KivCartoonColors& colors, KivCartoonLayer layer,
                                    KivCartoonShare share) {
    if (skins == nullptr || batch.paint.empty()) {
        return false;
    }
    const bool isFlat = layer == KivCartoonLayer::black || layer == KivCartoonLayer::emission;
    if (layer == KivCartoonLayer::highlight || (isFlat && batch.skin.cutOut() <= 0.0)) {
        return false;
    }
    const KivCartoonSkins::Textures tones = skins->of(batch.skin, colors, layer, share);
    const bool shines = colors.highlightStrength > 0.0 && layer == KivCartoonLayer::full;
    const bool isRanked = layer == KivCartoonLayer::share && share.part < batch.ranks;
    constexpr GLsizei stride = sizeof(KivCartoonVertex);
    const KivCartoonVertex* vertices = batch.vertices.data();
    glActiveTexture(GL_TEXTURE0);
    load(0, kivLevelRamp(colors.bands));
    loaded = false;
    glEnable(GL_TEXTURE_1D);
    glDisable(GL_TEXTURE_2D);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
    glEnableClientState(GL_VERTEX_ARRAY);
    glDisableClientState(GL_NORMAL_ARRAY);
    glDisableClientState(GL_COLOR_ARRAY);
    glVertexPointer(3, GL_FLOAT, stride, &vertices->x);
    glClientActiveTexture(GL_TEXTURE0);
    glEnableClientState(GL_TEXTURE_COORD_ARRAY);
    glTexCoordPointer(1, GL_FLOAT, stride, &vertices->light);
    beginSkin(batch, tones);
    if (shines || isRanked) {
        const std::vector<KivRampEntry> entries = shines ? kivHighlightRamp(colors) : gateRamp(batch.threshold);
        beginUnit(3, &entries, shines ? GL_DECAL : GL_MODULATE,
                  shines ? stride : static_cast<int>(sizeof(float)) * batch.ranks,
                  shines ? &vertices->shine : batch.incidences.data() + share.part);
    }
    drawBatch(batch);
    if (shines || isRanked) {
        endUnit(3);
    }
    endSkin(batch);
    endUnit(0);
    glDisableClientState(GL_VERTEX_ARRAY);
    return true;
}

void KivCartoonPainter::drawColored(const KivCartoonBatch& batch, const KivCartoonColors& colors, KivCartoonLayer layer,
                                    KivCartoonShare share) {
    const bool alone = layer == KivCartoonLayer::highlight;
    const bool shines = colors.highlightStrength > 0.0 && layer == KivCartoonLayer::full;
    const KivCartoonSteps light = kivCartoonSteps(colors, layer, share);
    const KivCartoonSteps shine = alone || shines ? kivHighlightSteps(colors) : KivCartoonSteps();
    KivAreaCutter cutter(light, shine);
    KivFlatAreas areas;
    // Drivers add the offset to the depths that a page records, a slope of the surface for each pixel: thin areas that
    // are seen from the side would fall behind all others. On a page lines win without it.
    const bool wasOffset = glIsEnabled(GL_POLYGON_OFFSET_FILL) == GL_TRUE;
    glDisable(GL_POLYGON_OFFSET_FILL);
    glDisable(GL_TEXTURE_1D);
    glDisable(GL_TEXTURE_2D);
    glEnableClientState(GL_VERTEX_ARRAY);
    glEnableClientState(GL_COLOR_ARRAY);
    glDisableClientState(GL_NORMAL_ARRAY);
    glDisableClientState(GL_TEXTURE_COORD_ARRAY);
    for (const std::vector<std::uint32_t>* indices : {&batch.front, &batch.back}) {
        for (std::size_t from = 0; from < indices->size() && !kivIsCancelled(); from += indicesPerPoll) {
            areas.clear();
            const std::size_t end = std::min(indices->size(), from + indicesPerPoll);
            for (std::size_t i = from; i + 2 < end; i += 3) {
                const KivCartoonVertex* corners[3] = {&batch.vertices[(*indices)[i]],
                                                      &batch.vertices[(*indices)[i + 1]],
                                                      &batch.vertices[(*indices)[i + 2]]};
                if (alone) {
                    cutter.cutHighlight(corners, areas);
                } else {
                    cutter.cutFull(corners, areas);
                }
            }
            drawAreas(areas);
        }
    }
    if (wasOffset) {
        glEnable(GL_POLYGON_OFFSET_FILL);
    }
    glDisableClientState(GL_COLOR_ARRAY);
    glDisableClientState(GL_VERTEX_ARRAY);
}
