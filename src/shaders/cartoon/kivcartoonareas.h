// The cartoon as flat areas, for drawings that have no textures: where light crosses the edge of a band a triangle is
// cut in two, so that each piece has one colour and the edges of bands run as true lines across neighbouring triangles.
#ifndef SHADERS_CARTOON_KIVCARTOONAREAS_H
#define SHADERS_CARTOON_KIVCARTOONAREAS_H

#include "kivcartoongeometry.h"
#include "kivcartoonpainter.h"

#include <cstdint>
#include <map>
#include <vector>

// A staircase over a texture coordinate: tones[i] holds from edges[i - 1] on and below edges[i]. Edges ascend, and
// there is one tone more than edges.
struct KivCartoonSteps {
    std::vector<float> edges;
    std::vector<KivRampEntry> tones = {KivRampEntry{}};
    // The ramp that the steps stand for, or nothing: what is evenly lit needs no steps and has the very tone of a
    // picture, also where that lies between two bands.
    std::vector<KivRampEntry> ramp;

    // The number of the tone at a coordinate.
    int stepOf(float coordinate) const;
};

// The steps of kivCartoonRamp over light and of kivHighlightRamp over shine. A soft edge becomes a few narrow steps,
// and neighbouring steps of one tone are one.
KivCartoonSteps kivCartoonSteps(const KivCartoonColors& colors, KivCartoonLayer layer, KivCartoonShare share);
KivCartoonSteps kivHighlightSteps(const KivCartoonColors& colors);

// For each colour of areas in a layer, red in the low byte, the colour that the same place has on a material of another
// diffuse colour.
class KivAreaTones {
public:
    KivAreaTones(const KivCartoonColors& meanColors, KivCartoonLayer ofLayer);

    std::uint32_t of(std::uint32_t recorded, const KivTone& diffuse) const;

private:
    struct Place {
        double incidence;
        KivRampEntry gloss;
    };

    KivRampEntry entryOf(const KivCartoonColors& of, double incidence) const;
    void add(double incidence, const std::vector<KivRampEntry>& glosses);

    KivCartoonColors colors;
    KivCartoonLayer layer;
    std::map<std::uint32_t, Place> places;
};

struct KivFlatCorner {
    float x;
    float y;
    float z;
};

// Triangles of one colour each: colors holds one entry for each corner, equal for the three of a triangle.
struct KivFlatAreas {
    std::vector<KivFlatCorner> corners;
    std::vector<KivRampEntry> colors;

    void clear();
};

// Cuts triangles along the edges of the steps. The light on a side says where it is cut, whichever of its two
// triangles asks, so that neighbours that share a side's values share its cuts to the last bit. Pieces keep their
// triangle's winding and lie where it lay in the list.
class KivAreaCutter {
public:
    // Both staircases must outlive the object.
    KivAreaCutter(const KivCartoonSteps& lightSteps, const KivCartoonSteps& shineSteps);

    // The colour of a piece is the light's, with the highlight's laid over it by the highlight's alpha.
    void cutFull(const KivCartoonVertex* const corners[3], KivFlatAreas& out);
    // The highlight alone; what it leaves clear is left out.
    void cutHighlight(const KivCartoonVertex* const corners[3], KivFlatAreas& out);

private:
    using Polygon = std::vector<KivCartoonVertex>;
    using Value = float KivCartoonVertex::*;

    bool isEvenlyLit() const;
    template <class Emit> void cut(Polygon& polygon, Value value, const KivCartoonSteps& steps, Emit emit);
    static void split(const Polygon& polygon, Value value, float edge, Polygon& below, Polygon& above);
    static void addFan(const Polygon& polygon, const KivRampEntry& color, KivFlatAreas& out);

    const KivCartoonSteps& light;
    const KivCartoonSteps& shine;
    Polygon whole;
    Polygon byLight;
    Polygon lower[2]; // of light and of shine
    Polygon upper[2];
};

#endif
