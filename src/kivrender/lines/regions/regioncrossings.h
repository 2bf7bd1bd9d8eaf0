// Where faces of different looks run through one another in sight.
//
// The picture is divided like a quadtree, and a face that lies wholly behind another one that fills its square is left
// out there (Warnock, A hidden surface algorithm for computer generated halftone pictures, 1969): of thousands of faces
// in a heap the few that can be seen are compared.
#ifndef KIVRENDER_LINES_REGIONS_REGIONCROSSINGS_H
#define KIVRENDER_LINES_REGIONS_REGIONCROSSINGS_H

#include "kivrender/lines/regions/regionfaces.h"

#include <vector>

struct RegionCrossings {
    std::vector<RegionLine> lines; // in the order of their faces; parts of them may be hidden
    // Of each face: whether it lies in one plane with another look somewhere, so that the order of drawing decides.
    std::vector<bool> ties;
};

// False when the user cancelled.
bool findRegionCrossings(const RegionFaces& faces, RegionCrossings& crossings);

#endif
