// From segments on the grid to segments on the grid that meet in their ends alone: snap rounding (Hobby, 1999). Every
// end and every crossing, rounded, is a hot place; a segment that passes through the square of one is bent to it.
#ifndef KIVRENDER_LINES_REGIONS_SNAPROUNDING_H
#define KIVRENDER_LINES_REGIONS_SNAPROUNDING_H

#include "kivrender/lines/linebudget.h"
#include "kivrender/lines/regions/regiongrid.h"

#include <vector>

// The segments with their smaller ends first, each once, in order. Bent segments may meet anew, so that it is done
// until nothing changes (after Halperin and Packer, Iterated snap rounding, 2002), which hardly ever takes a third
// round. False when the user cancelled or the budget ended.
bool snapRound(std::vector<GridSegment>& segments, LineBudget& budget);

// The same, where some of the segments come from an earlier call: whole, as that call left it, saves looking at them
// again. Empty for a first call.
bool snapRound(std::vector<GridSegment>& segments, std::vector<GridSegment>& whole, LineBudget& budget);

#endif
