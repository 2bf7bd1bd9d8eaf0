// The order of boxes along a space-filling curve (Morton, 1966): what lies near in space lies near in the list, so that
// an implicit binary tree over the list is a good one.
#ifndef KIVRENDER_LINES_CURVEORDER_H
#define KIVRENDER_LINES_CURVEORDER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

// Replaces order by the numbers of the places in the order of the curve through the box from low to high; places on one
// point of its grid, 65536 steps to a side, stay in their order. False, with order undefined, when the user cancelled.
bool kivCurveOrder(const std::vector<std::array<float, 3>>& places, const std::array<float, 3>& low,
                   const std::array<float, 3>& high, std::vector<std::uint32_t>& order);

// Long loops ask this for each entry: true when the user has cancelled. Asks only every so many entries, a few
// milliseconds of work apart.
bool kivIsCancelledAt(std::size_t entry);

#endif
