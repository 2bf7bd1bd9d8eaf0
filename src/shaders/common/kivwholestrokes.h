// From the pieces of lines that are seen to whole strokes, as somebody who inks a drawing decides on them: what goes on
// into each other is one stroke, what is neither long nor a part of anything is left out.
#ifndef SHADERS_COMMON_KIVWHOLESTROKES_H
#define SHADERS_COMMON_KIVWHOLESTROKES_H

#include "kivlinetracer.h"

#include <cstdint>
#include <vector>

struct KivStrokePiece {
    const KivLinePath* path = nullptr;
    std::uint32_t group = 0; // pieces of one group may become one stroke
    double shortest = 0.0;   // what is shorter and hangs on nothing goes, in pixels of the image; 0 for none
};

struct KivWholeStroke {
    std::vector<std::uint32_t> pieces; // in order
    std::vector<bool> reversed;        // for each whether it is walked from its end
    bool closed = false;
    // The stroke begins or ends in the open, not at another one nor at the edge of the picture.
    bool startsLoose = false;
    bool endsLoose = false;
};

// Adds a piece behind what a path has, without those of its points that lie beside the path's end and not beyond it;
// the corners of its stations count from so many on. Whether the line itself ends there is told by the outer ends.
void kivAppendPath(const KivLinePath& piece, bool reversed, std::uint32_t firstCorner, KivLinePath& path);

// pixel: one of the finished picture, in pixels of the image; width and height those of the image. Strokes come in the
// order of their first pieces. Of strokes that hang on nothing at both ends those go that are shorter than three times
// their shortest length, of barbs on others those below it; outlines before nothing stay. Takes time and memory in
// proportion to the points, but for crowds of ends in one place. False, with no strokes, when the user cancelled.
bool kivWholeStrokes(const std::vector<KivStrokePiece>& pieces, double pixel, int width, int height,
                     std::vector<KivWholeStroke>& strokes);

#endif
