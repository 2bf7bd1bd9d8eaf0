#include "kivrender/lines/kivvisibleregions.h"

#include "kivrender/lines/curveorder.h"
#include "kivrender/lines/regions/gaps.h"
#include "kivrender/lines/regions/planarmap.h"
#include "kivrender/lines/regions/regionborders.h"
#include "kivrender/lines/regions/regionfaces.h"
#include "kivrender/lines/regions/regionmerge.h"
#include "kivrender/lines/regions/regionrings.h"
#include "kivrender/lines/regions/snaprounding.h"

#include <map>
#include <utility>

namespace {

constexpr double squareSteps = RegionGrid::steps * RegionGrid::steps;
constexpr int mostGapRounds = 3;

// The arrangement of all that may part two looks.
bool arrange(const RegionFaces& faces, PlanarMap& map) {
    std::vector<GridSegment> borders;
    if (!findRegionBorders(faces, borders) || !snapRound(borders)) {
        return false;
    }
    bool changed = true;
    for (int round = 0; changed && round < mostGapRounds; ++round) {
        if (!closeGaps(borders, &changed) || (changed && !snapRound(borders))) {
            return false;
        }
    }
    return map.build(borders);
}

// What most of the samples of a cell show, each counted with the room about it.
std::uint32_t lookOf(const RegionFaces& faces, const PlanarMap::Cell& cell) {
    std::uint32_t best = RegionFaces::noLook;
    double most = 0.0;
    std::map<std::uint32_t, double> room;
    for (const PlanarMap::Sample& sample : cell.samples) {
        if (sample.room > 0.0) {
            const std::uint32_t look = faces.lookAt(sample.x, sample.y);
            const double sum = room[look] += sample.room;
            if (sum > most) {
                most = sum;
                best = look;
            }
        }
    }
    return best;
}

bool findLooks(const RegionFaces& faces, const PlanarMap& map, std::vector<std::uint32_t>& looks) {
    looks.assign(map.cells().size(), RegionFaces::noLook);
    for (std::size_t i = 1; i < looks.size(); ++i) {
        if (kivIsCancelledAt(i * 16)) {
            return false;
        }
        looks[i] = lookOf(faces, map.cells()[i]);
    }
    return true;
}

} // namespace

KivVisibleRegions::KivVisibleRegions(double pictureWidth, double pictureHeight)
    : width(pictureWidth), height(pictureHeight), faces(std::make_unique<RegionFaces>()) {}

KivVisibleRegions::~KivVisibleRegions() = default;

void KivVisibleRegions::add(std::span<const KivSeenCorner> corners, std::uint32_t look) {
    faces->add(corners, look, width, height);
}

bool KivVisibleRegions::find() {
    found.clear();
    PlanarMap map;
    std::vector<std::uint32_t> looks;
    if (!faces->build() || !arrange(*faces, map) || !findLooks(*faces, map, looks)) {
        return false;
    }
    RegionMerge merged(map, std::move(looks), {smallestArea * squareSteps, smallestTone * squareSteps, &bodyOfLook});
    const auto lookAt = [this](const KivPicturePoint& p) {
        return faces->lookAt(p.x * RegionGrid::steps, p.y * RegionGrid::steps);
    };
    if (merged.run() && makeRegionRings(map, merged, {tolerance, underlap, &rankOfLook, lookAt}, found)) {
        return true;
    }
    found.clear();
    return false;
}
