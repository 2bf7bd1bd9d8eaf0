// The lines of a picture that may part two looks, as far as they are visible.
#ifndef KIVRENDER_LINES_REGIONS_REGIONBORDERS_H
#define KIVRENDER_LINES_REGIONS_REGIONBORDERS_H

#include "kivrender/lines/regions/regionfaces.h"

#include <vector>

// Edges whose two sides are not the same look, folds, open edges, and lines where faces of different looks cross. Their
// visible parts are added, on the grid and a little beyond where something begins to hide them, so that they reach it;
// and those of further lines that lie on the faces. False when the user cancelled.
bool findRegionBorders(const RegionFaces& faces, const std::vector<RegionLine>& further,
                       std::vector<GridSegment>& borders);

#endif
