// Short strokes that stand alone on a surface: the bumps of a scan turn away from the viewer too, but say nothing of
// its shape.
#ifndef KIVRENDER_LINES_LONEHAIRS_H
#define KIVRENDER_LINES_LONEHAIRS_H

#include "kivrender/lines/kivlineengine.h"

#include <vector>

struct DrawnStroke {
    const KivFoundLine* line = nullptr;
    double length = 0.0;   // in pixels
    double step = 0.0;     // by how much the surface steps back beside a contour in the mean, in pixels
    double shortest = 5.0; // of weak lines, in pixels
};

// Those that are short, step back by little, and neither run into a stroke that stays nor go on in another.
std::vector<bool> kivLoneHairs(const std::vector<DrawnStroke>& strokes);

#endif
