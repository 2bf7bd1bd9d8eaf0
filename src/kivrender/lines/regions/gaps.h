// Ends of borders that hang in the air although something goes on right beside them.
#ifndef KIVRENDER_LINES_REGIONS_GAPS_H
#define KIVRENDER_LINES_REGIONS_GAPS_H

#include "kivrender/lines/regions/regiongrid.h"

#include <vector>

// Where rounding has cut a border off a little before the next one, two regions would run into one. Adds a segment from
// each loose end to the nearest place of another segment within a sixteenth of a pixel; the result must be rounded
// anew. The segments meet in their ends alone and are sorted. False when the user cancelled.
bool closeGaps(std::vector<GridSegment>& segments, bool* changed);

#endif
