// Iterated snap rounding as its papers have it: each round asks about all pairs of segments and all hot places.
#ifndef TESTS_REFERENCE_LITERALSNAPROUNDING_H
#define TESTS_REFERENCE_LITERALSNAPROUNDING_H

#include "kivrender/lines/regions/regiongrid.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <set>
#include <vector>

class LiteralSnapRounding {
public:
    explicit LiteralSnapRounding(const std::vector<GridSegment>& all) : segments(all.begin(), all.end()) {}

    std::vector<GridSegment> rounded() {
        for (int round = 0; round < 8; ++round) {
            const std::set<GridSegment> next = bent(hotPlaces());
            if (next == segments) {
                break;
            }
            segments = next;
        }
        return {segments.begin(), segments.end()};
    }

private:
    static std::optional<GridPoint> crossing(const GridSegment& p, const GridSegment& q) {
        const std::int64_t a = gridSide(q.a, q.b, p.a);
        const std::int64_t b = gridSide(q.a, q.b, p.b);
        const std::int64_t c = gridSide(p.a, p.b, q.a);
        const std::int64_t d = gridSide(p.a, p.b, q.b);
        const bool areApart = a == 0 || b == 0 || c == 0 || d == 0 || (a > 0) == (b > 0) || (c > 0) == (d > 0);
        if (areApart) {
            return {};
        }
        const double t = static_cast<double>(a) / (static_cast<double>(a) - static_cast<double>(b));
        return GridPoint{p.a.x + static_cast<std::int32_t>(std::lround(t * (static_cast<double>(p.b.x) - p.a.x))),
                         p.a.y + static_cast<std::int32_t>(std::lround(t * (static_cast<double>(p.b.y) - p.a.y)))};
    }
    std::set<GridPoint> hotPlaces() const {
        std::set<GridPoint> hot;
        for (auto p = segments.begin(); p != segments.end(); ++p) {
            hot.insert(p->a);
            hot.insert(p->b);
            for (auto q = std::next(p); q != segments.end(); ++q) {
                if (const std::optional<GridPoint> place = crossing(*p, *q)) {
                    hot.insert(*place);
                }
            }
        }
        return hot;
    }
    // Whether the line passes within half a step, in both directions, of a place in its box.
    static bool passes(const GridSegment& s, const GridPoint& at) {
        const bool isInBox = at.x >= std::min(s.a.x, s.b.x) && at.x <= std::max(s.a.x, s.b.x) &&
                             at.y >= std::min(s.a.y, s.b.y) && at.y <= std::max(s.a.y, s.b.y);
        const std::int64_t reach = std::abs(std::int64_t{s.b.x} - s.a.x) + std::abs(std::int64_t{s.b.y} - s.a.y);
        return isInBox && 2 * std::abs(gridSide(s.a, s.b, at)) <= reach;
    }
    std::set<GridSegment> bent(const std::set<GridPoint>& hot) const {
        std::set<GridSegment> all;
        for (const GridSegment& s : segments) {
            std::vector<GridPoint> way;
            std::copy_if(hot.begin(), hot.end(), std::back_inserter(way),
                         [&](const GridPoint& place) { return passes(s, place); });
            const auto ahead = [&](const GridPoint& p) {
                return (std::int64_t{s.b.x} - s.a.x) * p.x + (std::int64_t{s.b.y} - s.a.y) * p.y;
            };
            std::stable_sort(way.begin(), way.end(),
                             [&](const GridPoint& p, const GridPoint& q) { return ahead(p) < ahead(q); });
            for (std::size_t i = 1; i < way.size(); ++i) {
                all.insert(way[i - 1] < way[i] ? GridSegment{way[i - 1], way[i]} : GridSegment{way[i], way[i - 1]});
            }
        }
        return all;
    }

    std::set<GridSegment> segments;
};

#endif
