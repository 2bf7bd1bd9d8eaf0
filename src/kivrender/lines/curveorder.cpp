#include "kivrender/lines/curveorder.h"

#include "kivrender/geometry/mortonorder.h"
#include "kivrender/scene/kivprogress.h"

bool kivIsCancelledAt(std::size_t entry) {
    return entry % (1U << 16U) == 0 && kivIsCancelled();
}

bool kivCurveOrder(const std::vector<std::array<float, 3>>& places, const std::array<float, 3>& low,
                   const std::array<float, 3>& high, std::vector<std::uint32_t>& order) {
    return kivMortonOrder(
        places.size(), [&places](std::size_t i) { return places[i]; }, low, high,
        [](std::size_t entry) { return !kivIsCancelledAt(entry); }, order);
}
