#include "kivrender/lines/regions/snaprounding.h"

#include "kivrender/lines/curveorder.h"
#include "kivrender/lines/occluderindex.h"
#include "kivrender/lines/regions/polledsort.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr int mostRounds = 8;
constexpr std::size_t unitsPerCrossing = 100; // of work: each is sorted, rounded and swept

float outwards(double value, float towards) {
    return std::nextafter(static_cast<float>(value), towards);
}

KivOccluderBounds boundsOf(const GridPoint& a, const GridPoint& b) {
    constexpr float most = std::numeric_limits<float>::max();
    constexpr double half = 0.5;
    return {outwards(offRegionGrid(std::min(a.x, b.x) - half), -most),
            outwards(offRegionGrid(std::max(a.x, b.x) + half), most),
            outwards(offRegionGrid(std::min(a.y, b.y) - half), -most),
            outwards(offRegionGrid(std::max(a.y, b.y) + half), most), 0.0F};
}

template <class Visit> std::size_t walkAlong(const OccluderIndex& index, const GridSegment& segment, Visit visit) {
    return index.walk(offRegionGrid(segment.a.x), offRegionGrid(segment.a.y), offRegionGrid(segment.b.x),
                      offRegionGrid(segment.b.y), 1.0, visit);
}

int signOf(std::int64_t value) {
    return value > 0 ? 1 : value < 0 ? -1 : 0;
}

// The rounded place where two segments cross that have no end in common; false if they do not. Places where one ends
// on the other are hot already.
bool crossing(const GridSegment& p, const GridSegment& q, GridPoint* place) {
    const std::int64_t a = gridSide(q.a, q.b, p.a);
    const std::int64_t b = gridSide(q.a, q.b, p.b);
    if (signOf(a) * signOf(b) >= 0 || signOf(gridSide(p.a, p.b, q.a)) * signOf(gridSide(p.a, p.b, q.b)) >= 0) {
        return false;
    }
    const double t = static_cast<double>(a) / (static_cast<double>(a) - static_cast<double>(b));
    *place = {p.a.x + static_cast<std::int32_t>(std::lround(t * (static_cast<double>(p.b.x) - p.a.x))),
              p.a.y + static_cast<std::int32_t>(std::lround(t * (static_cast<double>(p.b.y) - p.a.y)))};
    return true;
}

// Whether a segment passes through the square about a place, its sides taken as in it: the place lies no farther from
// the line than the square reaches in that direction, and within the box of the segment.
bool passesThrough(const GridSegment& s, const GridPoint& place) {
    if (place.x < std::min(s.a.x, s.b.x) || place.x > std::max(s.a.x, s.b.x) || place.y < std::min(s.a.y, s.b.y) ||
        place.y > std::max(s.a.y, s.b.y)) {
        return false;
    }
    const std::int64_t reach = std::abs(std::int64_t{s.b.x} - s.a.x) + std::abs(std::int64_t{s.b.y} - s.a.y);
    return 2 * std::abs(gridSide(s.a, s.b, place)) <= reach;
}

// One round over all segments. Of those that an earlier round left whole none crosses another or passes through the end
// of one: the place would have been hot, and one of the two bent. Only what is new is asked about, and bent.
class Round {
public:
    // whole: of the segments those that a round left whole, in order. Replaced by those that this one does.
    Round(std::vector<GridSegment>& all, std::vector<GridSegment>& leftWhole, LineBudget& work)
        : segments(all), whole(leftWhole), budget(work) {}

    // False when the user cancelled or the budget ended.
    bool run(bool* changed) {
        isAsked.resize(segments.size());
        std::size_t next = 0;
        for (std::size_t i = 0; i < segments.size(); ++i) {
            while (next < whole.size() && whole[next] < segments[i]) {
                ++next;
            }
            isAsked[i] = next == whole.size() || !(whole[next] == segments[i]);
        }
        if (std::find(isAsked.begin(), isAsked.end(), true) == isAsked.end()) {
            *changed = false;
            return true;
        }
        return findHotPlaces() && bend(changed);
    }

private:
    bool findHotPlaces() {
        std::vector<KivOccluderBounds> bounds;
        bounds.reserve(segments.size());
        for (const GridSegment& s : segments) {
            bounds.push_back(boundsOf(s.a, s.b));
            hot.push_back(s.a);
            hot.push_back(s.b);
        }
        OccluderIndex index;
        if (!index.build(bounds)) {
            return false;
        }
        const std::vector<bool> isNew = isAsked;
        for (std::uint32_t i = 0; i < segments.size(); ++i) {
            if (isNew[i] && !findCrossings(index, isNew, i)) {
                return false;
            }
        }
        return polledSortUnique(hot);
    }
    bool findCrossings(const OccluderIndex& index, const std::vector<bool>& isNew, std::uint32_t i) {
        const std::size_t before = hot.size();
        std::size_t boxes = walkAlong(index, segments[i], [&](std::uint32_t other) {
            GridPoint place;
            if ((other > i || !isNew[other]) &&
                crossing(segments[std::min(i, other)], segments[std::max(i, other)], &place)) {
                hot.push_back(place);
            }
            return true;
        });
        if (!whole.empty()) {
            boxes += askAround(index, segments[i].a) + askAround(index, segments[i].b);
            for (std::size_t k = before; k < hot.size(); ++k) {
                boxes += askAround(index, hot[k]);
            }
        }
        return budget.spend(boxes + (hot.size() - before) * unitsPerCrossing) && makeRoom();
    }
    // Whole segments that pass through a place are asked about as new ones are.
    std::size_t askAround(const OccluderIndex& index, const GridPoint& place) {
        return walkAlong(index, {place, place}, [&](std::uint32_t i) {
            if (!isAsked[i] && passesThrough(segments[i], place)) {
                isAsked[i] = true;
            }
            return true;
        });
    }
    // Many segments may cross in one place.
    bool makeRoom() {
        if (hot.size() <= 2 * segments.size() + 2 * sorted) {
            return true;
        }
        const bool isSorted = polledSortUnique(hot);
        sorted = hot.size();
        return isSorted;
    }

    bool bend(bool* changed) {
        std::vector<KivOccluderBounds> bounds;
        bounds.reserve(hot.size());
        for (const GridPoint& place : hot) {
            bounds.push_back(boundsOf(place, place));
        }
        OccluderIndex index;
        if (!index.build(bounds)) {
            return false;
        }
        std::vector<GridSegment> bent;
        bent.reserve(segments.size());
        whole.clear();
        for (std::size_t i = 0; i < segments.size(); ++i) {
            way.assign({segments[i].a, segments[i].b});
            if (!budget.spend(isAsked[i] ? findWay(index, segments[i]) : 1)) {
                return false;
            }
            for (std::size_t k = 0; k + 1 < way.size(); ++k) {
                bent.push_back(way[k] < way[k + 1] ? GridSegment{way[k], way[k + 1]} : GridSegment{way[k + 1], way[k]});
            }
            if (way.size() == 2 && bent.back() == segments[i]) {
                whole.push_back(segments[i]);
            }
        }
        if (!polledSortUnique(bent)) {
            return false;
        }
        *changed = bent != segments;
        segments.swap(bent);
        return true;
    }
    // The hot places that a segment passes through. The work.
    std::size_t findWay(const OccluderIndex& index, const GridSegment& s) {
        way.clear();
        const std::size_t boxes = walkAlong(index, s, [&](std::uint32_t place) {
            if (passesThrough(s, hot[place])) {
                way.push_back(hot[place]);
            }
            return true;
        });
        sortAlong(s, way);
        return boxes + way.size() * unitsPerCrossing;
    }
    // Along the segment; beside it as the plane is sorted, so that two segments through the same places agree.
    static void sortAlong(const GridSegment& s, std::vector<GridPoint>& way) {
        const std::int64_t x = std::int64_t{s.b.x} - s.a.x;
        const std::int64_t y = std::int64_t{s.b.y} - s.a.y;
        std::sort(way.begin(), way.end(), [&](const GridPoint& p, const GridPoint& q) {
            const std::int64_t ahead = x * (std::int64_t{p.x} - q.x) + y * (std::int64_t{p.y} - q.y);
            return ahead != 0 ? ahead < 0 : p < q;
        });
    }

    std::vector<GridSegment>& segments;
    std::vector<GridSegment>& whole;
    LineBudget& budget;
    std::vector<bool> isAsked; // of the segments: new, or in the way of something new
    std::vector<GridPoint> hot;
    std::vector<GridPoint> way;
    std::size_t sorted = 0; // hot places at the last count
};

} // namespace

bool snapRound(std::vector<GridSegment>& segments, LineBudget& budget) {
    std::vector<GridSegment> whole;
    return snapRound(segments, whole, budget);
}

bool snapRound(std::vector<GridSegment>& segments, std::vector<GridSegment>& whole, LineBudget& budget) {
    if (!polledSortUnique(segments)) {
        return false;
    }
    bool changed = true;
    for (int round = 0; changed && round < mostRounds; ++round) {
        if (!Round(segments, whole, budget).run(&changed)) {
            return false;
        }
    }
    return true;
}
