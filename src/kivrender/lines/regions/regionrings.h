// The borders of regions as drawn: between two places where three regions meet each border is fitted once, and both
// sides use it.
#ifndef KIVRENDER_LINES_REGIONS_REGIONRINGS_H
#define KIVRENDER_LINES_REGIONS_REGIONRINGS_H

#include "kivrender/lines/kivvisibleregions.h"
#include "kivrender/lines/regions/planarmap.h"
#include "kivrender/lines/regions/regionmerge.h"

#include <vector>

// The regions that have a look, in the order of their looks. False when the user cancelled.
bool makeRegionRings(const PlanarMap& map, const RegionMerge& merged, double tolerance,
                     std::vector<KivVisibleRegion>& regions);

#endif
