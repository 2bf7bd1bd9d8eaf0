#define GL_GLEXT_PROTOTYPES
#include "kivcartoonpainter.h"

#include "kivcartoonareas.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace {

// The widest angle from the mirror direction that the highlight's ramp tells apart, 60 degrees.
constexpr double widestShine = 0.5;

std::uint8_t byteOf(double value) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 1.0) * 255.0));
}

KivRampEntry entryOf(const KivTone& tone, double alpha) {
    return {byteOf(tone[0]), byteOf(tone[1]), byteOf(tone[2]), byteOf(alpha)};
}

KivTone shadowOf(const KivCartoonColors& colors, double level) {
    return kivCartoonCast(colors.diffuse, colors.paint, level, colors.bands.shadeOf(level));
}

KivTone emissionOf(const KivCartoonColors& colors) {
    return kivDuotone(colors.emission, colors.paint, true);
}

KivTone lookOf(const KivCartoonColors& colors, double level) {
    return kivCartoonColor(colors.diffuse, colors.emission, colors.paint, level);
}

// What `lit` of so many lights leave, of a value without any and a value with all of them.
double litBy(double none, double all, int lit, int parts) {
    return none + (all - none) * lit / parts;
}

KivTone dimmedOf(const KivCartoonColors& colors, KivCartoonShare share, double level) {
    const KivTone shadow = shadowOf(colors, level);
    const KivTone emission = emissionOf(colors);
    KivTone tone = lookOf(colors, level);
    for (int c = 0; c < 3; ++c) {
        const double none = std::min(shadow[c] + emission[c], tone[c]);
        tone[c] = litBy(none, tone[c], share.parts - share.part, share.parts);
    }
    return tone;
}

KivTone toneOf(const KivCartoonColors& colors, KivCartoonLayer layer, KivCartoonShare share, double level) {
    switch (layer) {
    case KivCartoonLayer::full:
        return lookOf(colors, level);
    case KivCartoonLayer::shadow:
        return shadowOf(colors, level);
    case KivCartoonLayer::emission:
        return emissionOf(colors);
    case KivCartoonLayer::dimmed:
        return dimmedOf(colors, share, level);
    case KivCartoonLayer::share:
    case KivCartoonLayer::black:
    case KivCartoonLayer::highlight:
        break;
    }
    return {};
}

// The step from one number of lights to the next in bytes, so that the picture's own rounding adds nothing.
KivRampEntry shareEntry(const KivCartoonColors& colors, KivCartoonShare share, double level) {
    const KivTone shadow = shadowOf(colors, level);
    const KivTone emission = emissionOf(colors);
    const KivTone look = lookOf(colors, level);
    KivRampEntry entry{};
    for (std::size_t c = 0; c < 3; ++c) {
        const int none = std::min(255, byteOf(shadow[c]) + byteOf(emission[c]));
        const int all = std::max<int>(byteOf(look[c]), none);
        entry[c] = static_cast<std::uint8_t>(std::lround(litBy(none, all, share.part + 1, share.parts)) -
                                             std::lround(litBy(none, all, share.part, share.parts)));
    }
    entry[3] = byteOf(colors.alpha);
    return entry;
}

// Draws front and back with their own polygon offsets.
template <class Draw> void withOffsets(const KivCartoonBatch& batch, Draw drawIndices) {
    drawIndices(batch.front);
    if (batch.back.empty()) {
        return;
    }
    GLfloat factor = 0.0F;
    GLfloat units = 0.0F;
    glGetFloatv(GL_POLYGON_OFFSET_FACTOR, &factor);
    glGetFloatv(GL_POLYGON_OFFSET_UNITS, &units);
    glPolygonOffset(factor * 2.0F, units * 2.0F);
    drawIndices(batch.back);
    glPolygonOffset(factor, units);
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

KivRampEntry kivCartoonEntry(const KivCartoonColors& colors, KivCartoonLayer layer, KivCartoonShare share,
                             double level) {
    return layer == KivCartoonLayer::share ? shareEntry(colors, share, level)
                                           : entryOf(toneOf(colors, layer, share, level), colors.alpha);
}

double kivHighlightReach(const KivCartoonColors& colors) {
    return std::clamp(colors.bands.softness, 0.0, 1.0) * 0.5 * colors.highlightSize;
}

KivRampEntry kivHighlightEntry(const KivCartoonColors& colors, double angle) {
    const double radius = colors.highlightSize;
    const double reach = kivHighlightReach(colors);
    double strength = angle <= radius ? 1.0 : 0.0;
    if (reach > 0.0) {
        const double t = std::clamp((radius + reach - angle) / (2.0 * reach), 0.0, 1.0);
        strength = t * t * (3.0 - 2.0 * t);
    }
    return entryOf(colors.highlightColor, strength * colors.highlightStrength);
}

std::vector<KivRampEntry> kivCartoonRamp(const KivCartoonColors& colors, KivCartoonLayer layer, KivCartoonShare share) {
    std::vector<KivRampEntry> ramp(kivRampEntries);
    for (int i = 0; i < kivRampEntries; ++i) {
        const double level = colors.bands.level(static_cast<double>(i) / (kivRampEntries - 1));
        ramp[i] = kivCartoonEntry(colors, layer, share, level);
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
    } else {
        drawTextured(batch, colors, layer, share);
    }
}

void KivCartoonPainter::load(int unit, const std::vector<KivRampEntry>& entries) {
    if (textures[0] == 0) {
        glGenTextures(2, textures);
    }
    glBindTexture(GL_TEXTURE_1D, textures[unit]);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    glTexImage1D(GL_TEXTURE_1D, 0, GL_RGBA8, static_cast<GLsizei>(entries.size()), 0, GL_RGBA, GL_UNSIGNED_BYTE,
                 entries.data());
    glTexParameteri(GL_TEXTURE_1D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_1D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_1D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
}

// Uses the second texture, with these entries if they are given, on what the first one gives.
void KivCartoonPainter::beginSecondUnit(const std::vector<KivRampEntry>* entries, int environment, int stride,
                                        const float* coordinates) {
    glActiveTexture(GL_TEXTURE1);
    if (entries != nullptr) {
        load(1, *entries);
    }
    glBindTexture(GL_TEXTURE_1D, textures[1]);
    glEnable(GL_TEXTURE_1D);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, environment);
    glClientActiveTexture(GL_TEXTURE1);
    glEnableClientState(GL_TEXTURE_COORD_ARRAY);
    glTexCoordPointer(1, GL_FLOAT, stride, coordinates);
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
        beginSecondUnit(nullptr, GL_DECAL, stride, &vertices->shine);
    } else if (isRanked) {
        const std::vector<KivRampEntry> gate = gateRamp(batch.threshold);
        beginSecondUnit(&gate, GL_MODULATE, static_cast<int>(sizeof(float)) * batch.ranks,
                        batch.incidences.data() + share.part);
        loaded = false; // the second texture is another one now
    }
    withOffsets(batch, [](const std::vector<std::uint32_t>& indices) {
        if (!indices.empty()) {
            glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(indices.size()), GL_UNSIGNED_INT, indices.data());
        }
    });
    if (shines || isRanked) {
        glDisable(GL_TEXTURE_1D);
        glActiveTexture(GL_TEXTURE0);
        glDisableClientState(GL_TEXTURE_COORD_ARRAY);
        glClientActiveTexture(GL_TEXTURE0);
    }
    glDisable(GL_TEXTURE_1D);
    glDisableClientState(GL_TEXTURE_COORD_ARRAY);
    glDisableClientState(GL_VERTEX_ARRAY);
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
        areas.clear();
        for (std::size_t i = 0; i + 2 < indices->size(); i += 3) {
            const KivCartoonVertex* corners[3] = {&batch.vertices[(*indices)[i]], &batch.vertices[(*indices)[i + 1]],
                                                  &batch.vertices[(*indices)[i + 2]]};
            if (alone) {
                cutter.cutHighlight(corners, areas);
            } else {
                cutter.cutFull(corners, areas);
            }
        }
        if (!areas.corners.empty()) {
            glVertexPointer(3, GL_FLOAT, sizeof(KivFlatCorner), areas.corners.data());
            glColorPointer(4, GL_UNSIGNED_BYTE, 0, areas.colors.data());
            glDrawArrays(GL_TRIANGLES, 0, static_cast<GLsizei>(areas.corners.size()));
        }
    }
    if (wasOffset) {
        glEnable(GL_POLYGON_OFFSET_FILL);
    }
    glDisableClientState(GL_COLOR_ARRAY);
    glDisableClientState(GL_VERTEX_ARRAY);
}
