// From a line in the picture to the strokes of a hand along it: cut at corners, drawn over several times, unsteady,
// pressed and lifted, run on beyond its ends; and from strokes to triangles.
#ifndef SHADERS_SKETCH_KIVSKETCHSTROKE_H
#define SHADERS_SKETCH_KIVSKETCHSTROKE_H

#include "kivrender/lines/linebudget.h"
#include "kivsketchmedium.h"
#include "kivsketchnoise.h"
#include "kivvec.h"

#include <array>
#include <cstdint>
#include <vector>

// A point of a line that is to be drawn: its place in the picture, in pixels of the image, and in space.
struct KivSketchPoint {
    double x = 0.0;
    double y = 0.0;
    KivVec place;
    double unit = 1.0;   // the size of a pixel of the image there, in units of the scene
    double weight = 1.0; // how strongly the line is to be drawn, 0 to 1
};

struct KivSketchLine {
    std::vector<KivSketchPoint> points;
    bool closed = false;
    // Here the line ends for itself, and a stroke may run on.
    bool startsFree = false;
    bool endsFree = false;
    // How much an end looks like the other one, 0 to a half: a stroke lands more heavily than it leaves.
    double startShare = 0.0;
    double endShare = 0.0;
};

// The hand. Lengths in pixels of the image.
struct KivSketchHand {
    double width = 8.0;
    double pressure = 0.6;
    double wobble = 4.0;
    double overshoot = 24.0;
    int strokes = 2;
    double length = 880.0; // 0 for no breaks
    double shortest = 16.0;
    double pixel = 4.0;  // one pixel of the finished picture
    double tone = 1.0;   // of the whole line
    double attack = 1.0; // how gently a stroke begins and ends, 1 for a contour
    bool dashed = false;
    bool grows = false; // what is hardly longer than the shortest is hardly seen, so that short strokes come by and by
    std::uint32_t color = 0;   // red in the low byte
    std::uint32_t channel = 0; // lines of different channels stray differently
};

struct KivSketchVertex {
    float x;
    float y;
    float along;                       // in lengths of the medium's profile
    float across;                      // from 0 to 1
    std::array<std::uint8_t, 4> color; // red, green, blue and tone
};

// Triangles that do not overlap within a stroke, so that they can be blended.
struct KivSketchMesh {
    std::vector<KivSketchVertex> vertices;
    std::vector<std::uint32_t> indices;
};

// The line in pieces without corners: a corner is where it turns by more than 40 degrees within a few pixels. Pieces
// begin and end free at corners. A ring without corners stays closed.
std::vector<KivSketchLine> kivSketchPieces(const KivSketchLine& line, double pixel);

// Appends the strokes along a line; some of them once the user cancelled, which the budget then tells.
void kivSketchStrokes(const KivSketchLine& line, const KivSketchHand& hand, const KivSketchMedium& medium,
                      const KivSketchNoise& noise, KivSketchMesh& mesh, LineBudget& polls);

#endif
