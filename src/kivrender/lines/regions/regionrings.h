// The borders of regions as drawn: between two places where three regions meet each border is fitted once, and both
// sides use it.
#ifndef KIVRENDER_LINES_REGIONS_REGIONRINGS_H
#define KIVRENDER_LINES_REGIONS_REGIONRINGS_H

#include "kivrender/lines/kivvisibleregions.h"
#include "kivrender/lines/regions/planarmap.h"
#include "kivrender/lines/regions/regionmerge.h"

#include <cstdint>
#include <functional>
#include <vector>

struct RingRules {
    double tolerance = 0.1; // in pixels
    double underlap = 0.0;  // as KivVisibleRegions::setUnderlap
    const std::vector<std::uint32_t>* ranks = nullptr;
    std::function<std::uint32_t(const KivPicturePoint&)> lookAt;
};

// The regions that have a look, in the order of their looks. False when the user cancelled.
bool makeRegionRings(const PlanarMap& map, const RegionMerge& merged, const RingRules& rules,
                     std::vector<KivVisibleRegion>& regions);

#endif
