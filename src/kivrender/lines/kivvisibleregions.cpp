#include "kivrender/lines/kivvisibleregions.h"

#include "kivrender/lines/curveorder.h"
#include "kivrender/lines/kivcastshadows.h"
#include "kivrender/lines/regions/gaps.h"
#include "kivrender/lines/regions/planarmap.h"
#include "kivrender/lines/regions/regionborders.h"
#include "kivrender/lines/regions/regionfaces.h"
#include "kivrender/lines/regions/regionmerge.h"
#include "kivrender/lines/regions/regionrings.h"
#include "kivrender/lines/regions/snaprounding.h"
#include "kivrender/scene/kivprogress.h"

#include <functional>
#include <map>
#include <utility>

namespace {

constexpr double squareSteps = RegionGrid::steps * RegionGrid::steps;
constexpr int mostGapRounds = 3;

// The look at a point in grid steps.
using ShownAt = std::function<std::uint32_t(double x, double y)>;

void addSegments(const std::vector<std::vector<KivPicturePoint>>& lines, std::vector<GridSegment>& segments) {
    const auto onGrid = [](const KivPicturePoint& p) { return GridPoint{onRegionGrid(p.x), onRegionGrid(p.y)}; };
    for (const std::vector<KivPicturePoint>& line : lines) {
        for (std::size_t i = 1; i < line.size(); ++i) {
            const GridPoint a = onGrid(line[i - 1]);
            const GridPoint b = onGrid(line[i]);
            if (!(a == b)) {
                segments.push_back(a < b ? GridSegment{a, b} : GridSegment{b, a});
            }
        }
    }
}

// The arrangement of all that may part two looks. borders: those that are known to be seen.
bool arrange(const RegionFaces& faces, const std::vector<RegionLine>& further, std::vector<GridSegment> borders,
             PlanarMap& map) {
    std::vector<GridSegment> whole;
    if (!findRegionBorders(faces, further, borders) || !snapRound(borders, whole, faces.work())) {
        return false;
    }
    bool changed = true;
    for (int round = 0; changed && round < mostGapRounds; ++round) {
        if (!closeGaps(borders, &changed) || (changed && !snapRound(borders, whole, faces.work()))) {
            return false;
        }
    }
    return map.build(borders);
}

// What most of the samples of a cell show, each counted with the room about it.
std::uint32_t lookOf(const ShownAt& shownAt, const PlanarMap::Cell& cell) {
    std::uint32_t best = RegionFaces::noLook;
    double most = 0.0;
    std::map<std::uint32_t, double> room;
    for (const PlanarMap::Sample& sample : cell.samples) {
        if (sample.room > 0.0) {
            const std::uint32_t look = shownAt(sample.x, sample.y);
            const double sum = room[look] += sample.room;
            if (sum > most) {
                most = sum;
                best = look;
            }
        }
    }
    return best;
}

bool findLooks(const ShownAt& shownAt, const PlanarMap& map, LineBudget& budget, std::vector<std::uint32_t>& looks) {
    looks.assign(map.cells().size(), RegionFaces::noLook);
    for (std::size_t i = 1; i < looks.size(); ++i) {
        if (!budget.spend(1)) {
            return false;
        }
        looks[i] = lookOf(shownAt, map.cells()[i]);
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
    if (findAll()) {
        return true;
    }
    found.clear();
    tooMuch = !kivIsCancelled();
    return false;
}

bool KivVisibleRegions::findAll() {
    PlanarMap map;
    std::vector<RegionLine> outlines;
    std::vector<std::uint32_t> looks;
    const auto shownAt = [this](double x, double y) {
        const std::uint32_t face = faces->faceAt(x, y);
        if (face == RegionFaces::noFace) {
            return RegionFaces::noLook;
        }
        const std::uint32_t own = faces->faces()[face].look;
        const std::uint32_t look = paintedLook ? paintedLook(own, offRegionGrid(x), offRegionGrid(y)) : own;
        const unsigned int lost = shadows != nullptr ? shadows->lostAt(*faces, face, x, y) : 0;
        return lost > 0 ? shadedLook(look, lost, offRegionGrid(x), offRegionGrid(y)) : look;
    };
    std::vector<GridSegment> painted;
    if (paintBorders != nullptr) {
        addSegments(*paintBorders, painted);
    }
    if (!faces->build(effort) || (shadows != nullptr && !shadows->findBorders(*faces, outlines)) ||
        !arrange(*faces, outlines, std::move(painted), map) || !findLooks(shownAt, map, faces->work(), looks)) {
        return false;
    }
    if (looksAreListed) {
        looksAreListed();
    }
    RegionMerge merged(map, std::move(looks), {smallestArea * squareSteps, smallestTone * squareSteps, &bodyOfLook});
    const auto lookAt = [&](const KivPicturePoint& p) {
        return shownAt(p.x * RegionGrid::steps, p.y * RegionGrid::steps);
    };
    return merged.run() && makeRegionRings(map, merged, {tolerance, underlap, &rankOfLook, lookAt}, found) &&
           faces->work().goesOn();
}
