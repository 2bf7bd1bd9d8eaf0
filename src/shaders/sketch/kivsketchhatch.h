// Hatching: where the lines of a hatching run over a surface, and how dark it is along them.
//
// A surface is cut by parallel planes that stand nearly upright on the picture, tilted a little, so that the cuts run
// straight over what is flat and bend with what is round. The planes are those of a fine lattice; of them, every place
// draws those that are nearest to the wanted distance in the picture, and the others fade out, so that a surface that
// turns away does not fill up with ink (after the stroke textures of Winkenbach and Salesin, Computer-Generated
// Pen-and-Ink Illustration, 1994).
#ifndef SHADERS_SKETCH_KIVSKETCHHATCH_H
#define SHADERS_SKETCH_KIVSKETCHHATCH_H

#include "kivshadedmesh.h"
#include "kivview.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

// How light a point is whose normal points to the side that is seen, 0 dark to 1 light.
using KivSketchLight = std::function<double(const KivVec& point, const KivVec& normal)>;

struct KivSketchHatching {
    double spacing = 24.0; // in pixels of the image
    double angle = 52.0;   // degrees, anticlockwise from the right in the picture
    double tone = 0.5;     // what is darker is hatched
    double length = 24.0;  // of a stroke, in spacings, about
    std::uint32_t seed = 1;
};

struct KivSketchHatchPoint {
    KivVec place;
    double weight = 0.0; // 0 nothing, 1 as dark as can be
    // How far along the hatching, in strokes: a whole number is where one stroke ends and the next begins.
    double along = 0.0;
};

struct KivSketchHatchLine {
    std::vector<KivSketchHatchPoint> points;
    bool closed = false;
    std::uint32_t plane = 0; // which plane it lies on, as a word that is another for every plane
};

// Light on each point of a mesh from both of its sides, looked up once.
class KivSketchTones {
public:
    KivSketchTones(const KivShadedMesh& mesh, KivSketchLight light);

    // Of a point of the mesh, seen from the side that its normal points to, or from the other.
    double at(std::uint32_t point, bool outside);

private:
    const KivShadedMesh& mesh;
    KivSketchLight light;
    std::vector<float> tones[2]; // below 0: not asked yet
};

// The lines of one hatching on the side of the surface that is turned to the viewer, whether something hides them or
// not. Every point of a line has weight, but for its ends.
std::vector<KivSketchHatchLine> kivSketchHatch(const KivShadedMesh& mesh, const KivView& view, KivSketchTones& tones,
                                               const KivSketchHatching& hatching);

#endif
