#include "kivrender/lines/regions/gaps.h"

#include "kivrender/lines/curveorder.h"
#include "kivrender/lines/occluderindex.h"
#include "kivrender/lines/regions/polledsort.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr double widest = 64.0;
// A loose end this near to where its line met the last other one has merely gone a little too far.
constexpr double tail = 8.0;

struct Incidence {
    GridPoint place;
    std::uint32_t segment;

    friend bool operator<(const Incidence& p, const Incidence& q) {
        return std::tie(p.place, p.segment) < std::tie(q.place, q.segment);
    }
};

double distance(const GridPoint& p, const GridPoint& q) {
    return std::hypot(static_cast<double>(p.x) - q.x, static_cast<double>(p.y) - q.y);
}

GridPoint nearestOn(const GridSegment& s, const GridPoint& p) {
    const double x = static_cast<double>(s.b.x) - s.a.x;
    const double y = static_cast<double>(s.b.y) - s.a.y;
    const double along =
        ((static_cast<double>(p.x) - s.a.x) * x + (static_cast<double>(p.y) - s.a.y) * y) / (x * x + y * y);
    const double t = std::clamp(along, 0.0, 1.0);
    return {s.a.x + static_cast<std::int32_t>(std::lround(t * x)),
            s.a.y + static_cast<std::int32_t>(std::lround(t * y))};
}

class GapCloser {
public:
    explicit GapCloser(const std::vector<GridSegment>& all) : segments(all) {}

    bool find(std::vector<GridSegment>& links) {
        for (std::uint32_t i = 0; i < segments.size(); ++i) {
            at.push_back({segments[i].a, i});
            at.push_back({segments[i].b, i});
        }
        if (!polledSort(at, std::less<Incidence>())) {
            return false;
        }
        if (!std::any_of(at.begin(), at.end(), [&](const Incidence& i) { return count(i.place) == 1; })) {
            return true;
        }
        if (!buildIndex()) {
            return false;
        }
        for (std::size_t i = 0; i < at.size(); ++i) {
            if (kivIsCancelledAt(i * 4)) {
                return false;
            }
            if (count(at[i].place) == 1) {
                link(at[i], links);
            }
        }
        return true;
    }

private:
    std::pair<std::vector<Incidence>::const_iterator, std::vector<Incidence>::const_iterator>
    allAt(const GridPoint& place) const {
        return std::equal_range(at.begin(), at.end(), Incidence{place, 0},
                                [](const Incidence& p, const Incidence& q) { return p.place < q.place; });
    }
    std::size_t count(const GridPoint& place) const {
        const auto [from, to] = allAt(place);
        return static_cast<std::size_t>(to - from);
    }
    bool buildIndex() {
        std::vector<KivOccluderBounds> bounds;
        bounds.reserve(segments.size());
        for (const GridSegment& s : segments) {
            const auto narrow = [](double steps) { return static_cast<float>(offRegionGrid(steps)); };
            constexpr double margin = 2.0 * widest;
            bounds.push_back({narrow(std::min(s.a.x, s.b.x) - margin), narrow(std::max(s.a.x, s.b.x) + margin),
                              narrow(std::min(s.a.y, s.b.y) - margin), narrow(std::max(s.a.y, s.b.y) + margin), 0.0F});
        }
        return index.build(bounds);
    }
    // The line that ends there, back to where it meets others, or as far as a gap may reach.
    double walkBack(const Incidence& end, std::vector<std::uint32_t>& way) const {
        way.assign(1, end.segment);
        double length = 0.0;
        GridPoint from = end.place;
        for (;;) {
            const GridSegment& s = segments[way.back()];
            const GridPoint next = s.a == from ? s.b : s.a;
            length += distance(from, next);
            const auto [first, last] = allAt(next);
            if (length > 2.0 * widest || last - first != 2) {
                return length;
            }
            way.push_back(first->segment == way.back() ? (first + 1)->segment : first->segment);
            from = next;
        }
    }
    void link(const Incidence& end, std::vector<GridSegment>& links) {
        if (walkBack(end, own) < tail) {
            return;
        }
        double least = widest;
        GridPoint best = end.place;
        index.probe(offRegionGrid(end.place.x), offRegionGrid(end.place.y), [&](std::uint32_t other) {
            if (std::find(own.begin(), own.end(), other) == own.end()) {
                const GridPoint place = nearestOn(segments[other], end.place);
                if (distance(place, end.place) < least) {
                    least = distance(place, end.place);
                    best = place;
                }
            }
            return std::numeric_limits<double>::infinity();
        });
        if (!(best == end.place)) {
            links.push_back(best < end.place ? GridSegment{best, end.place} : GridSegment{end.place, best});
        }
    }

    const std::vector<GridSegment>& segments;
    std::vector<Incidence> at;
    std::vector<std::uint32_t> own;
    OccluderIndex index;
};

} // namespace

bool closeGaps(std::vector<GridSegment>& segments, bool* changed) {
    std::vector<GridSegment> links;
    if (!GapCloser(segments).find(links)) {
        return false;
    }
    *changed = !links.empty();
    segments.insert(segments.end(), links.begin(), links.end());
    return true;
}
