#include "kivrender/lines/regions/planarmap.h"

#include "kivrender/geometry/disjointsets.h"
#include "kivrender/lines/curveorder.h"
#include "kivrender/lines/regions/polledsort.h"

#include <algorithm>
#include <set>

bool PlanarMap::collect(const std::vector<GridSegment>& segments) {
    for (const GridSegment& s : segments) {
        places.push_back(s.a);
        places.push_back(s.b);
    }
    if (!polledSortUnique(places)) {
        return false;
    }
    const auto numberOf = [&](const GridPoint& p) {
        return static_cast<std::uint32_t>(std::lower_bound(places.begin(), places.end(), p) - places.begin());
    };
    ends.reserve(segments.size());
    for (const GridSegment& s : segments) {
        if (kivIsCancelledAt(ends.size())) {
            return false;
        }
        ends.push_back({numberOf(s.a), numberOf(s.b)});
    }
    return true;
}

// Around each vertex counterclockwise, beginning straight down: first those to the right, which is upwards for what
// stands upright, then those to the left.
bool PlanarMap::sortAround() {
    first.assign(places.size() + 1, 0);
    for (std::uint32_t h = 0; h < halfEdges(); ++h) {
        ++first[origin(h) + 1];
    }
    for (std::size_t i = 0; i < places.size(); ++i) {
        first[i + 1] += first[i];
    }
    star.resize(halfEdges());
    std::vector<std::uint32_t> next(first.begin(), first.end() - 1);
    for (std::uint32_t h = 0; h < halfEdges(); ++h) {
        star[next[origin(h)]++] = h;
    }
    around.resize(halfEdges());
    for (std::uint32_t v = 0; v < places.size(); ++v) {
        if (kivIsCancelledAt(v)) {
            return false;
        }
        const GridPoint& at = places[v];
        const auto begin = star.begin() + first[v];
        const auto end = star.begin() + first[v + 1];
        std::sort(begin, end, [&](std::uint32_t p, std::uint32_t q) {
            const GridPoint& a = places[target(p)];
            const GridPoint& b = places[target(q)];
            const bool aIsRight = at < a;
            const bool bIsRight = at < b;
            return aIsRight != bIsRight ? aIsRight : gridSide(at, a, b) > 0;
        });
        for (auto h = begin; h != end; ++h) {
            around[*h] = h + 1 == end ? *begin : *(h + 1);
        }
    }
    return true;
}

// The next half-edge around a cell leaves where one arrives, the nearest clockwise from the way back.
void PlanarMap::findCycles() {
    std::vector<std::uint32_t> before(halfEdges()); // clockwise
    for (std::uint32_t h = 0; h < halfEdges(); ++h) {
        before[around[h]] = h;
    }
    cellOfHalfEdge.assign(halfEdges(), none);
    std::uint32_t cycles = 1; // 0 is what lies around everything
    for (std::uint32_t h = 0; h < halfEdges(); ++h) {
        if (cellOfHalfEdge[h] != none) {
            continue;
        }
        for (std::uint32_t at = h; cellOfHalfEdge[at] == none; at = before[twin(at)]) {
            cellOfHalfEdge[at] = cycles;
        }
        ++cycles;
    }
    all.assign(cycles, {});
}

// The line of the sweep: the edges that it crosses, from below.
class MapSweep {
public:
    explicit MapSweep(PlanarMap& planar) : map(planar), since(planar.ends.size()), sets(planar.all.size()) {}

    bool run() {
        for (std::uint32_t v = 0; v < map.places.size(); ++v) {
            if (kivIsCancelledAt(v)) {
                return false;
            }
            pass(v);
        }
        return true;
    }
    DisjointSets& cycles() {
        return sets;
    }

private:
    struct Order {
        using is_transparent = void;
        const PlanarMap* map;

        const GridPoint& left(std::uint32_t edge) const {
            return map->places[map->ends[edge][0]];
        }
        const GridPoint& right(std::uint32_t edge) const {
            return map->places[map->ends[edge][1]];
        }
        // Edges do not cross: where both exist one of them is below.
        bool operator()(std::uint32_t p, std::uint32_t q) const {
            if (p == q) {
                return false;
            }
            if (left(p) == left(q)) {
                return gridSide(left(p), right(p), right(q)) > 0;
            }
            if (left(p) < left(q)) {
                const std::int64_t side = gridSide(left(p), right(p), left(q));
                return side != 0 ? side > 0 : gridSide(left(p), right(p), right(q)) > 0;
            }
            const std::int64_t side = gridSide(left(q), right(q), left(p));
            return side != 0 ? side < 0 : gridSide(left(q), right(q), right(p)) < 0;
        }
        bool operator()(std::uint32_t edge, const GridPoint& p) const {
            return gridSide(left(edge), right(edge), p) > 0;
        }
        bool operator()(const GridPoint& p, std::uint32_t edge) const {
            return gridSide(left(edge), right(edge), p) < 0;
        }
    };
    using Status = std::set<std::uint32_t, Order>;

    // The edge right below a vertex after its edges on the left are gone, and the cells that end there are counted.
    void pass(std::uint32_t v) {
        const GridPoint& at = map.places[v];
        const std::uint32_t begin = map.first[v];
        const std::uint32_t end = map.first[v + 1];
        std::uint32_t right = begin; // where those to the left begin
        while (right < end && map.star[right] % 2 == 0) {
            ++right;
        }
        Status::iterator above;
        if (right == end) {
            above = status.lower_bound(at);
            if (above != status.begin()) {
                close(std::prev(above), above, at.x);
            }
            // Nothing on the left: this part lies in the cell above the edge below.
            const std::uint32_t outside =
                above == status.begin() ? 0 : map.cellOfHalfEdge[*std::prev(above) * std::uint32_t{2}];
            sets.join(map.cellOfHalfEdge[map.star[begin] + 1], outside);
        } else {
            above = takeOut(begin, right, end, at.x);
        }
        if (above != status.begin()) {
            since[*std::prev(above)] = at.x;
        }
        for (std::uint32_t i = begin; i < right; ++i) {
            const std::uint32_t edge = map.star[i] / 2;
            const auto inserted = status.insert(above, edge);
            where[edge] = inserted;
            since[edge] = at.x;
        }
    }

    // Removes the edges that end at a vertex. The edge above them.
    Status::iterator takeOut(std::uint32_t, std::uint32_t from, std::uint32_t to, std::int32_t x) {
        // Counterclockwise from above: the highest on the left comes first.
        Status::iterator highest = where[map.star[from] / 2];
        Status::iterator above = std::next(highest);
        for (std::uint32_t i = from; i < to; ++i) {
            const Status::iterator it = where[map.star[i] / 2];
            close(it, std::next(it), x);
            if (i + 1 == to && it != status.begin()) {
                close(std::prev(it), it, x);
            }
        }
        for (std::uint32_t i = from; i < to; ++i) {
            const Status::iterator it = where[map.star[i] / 2];
            if (above == it) {
                ++above;
            }
            status.erase(it);
        }
        return above;
    }

    // A trapezoid of the cell between two neighbours ends.
    void close(Status::iterator below, Status::iterator above, std::int32_t x) {
        if (above == status.end() || since[*below] == x) {
            return;
        }
        const double from = since[*below];
        const double middle = 0.5 * (from + x);
        const double low = heightAt(*below, middle);
        const double high = heightAt(*above, middle);
        PlanarMap::Cell& cell = map.all[map.cellOfHalfEdge[*below * std::uint32_t{2}]];
        cell.area += std::max(0.0, high - low) * (x - from);
        keep(cell, {middle, 0.5 * (low + high), std::min(high - low, x - from)});
    }
    double heightAt(std::uint32_t edge, double x) const {
        const GridPoint& a = map.places[map.ends[edge][0]];
        const GridPoint& b = map.places[map.ends[edge][1]];
        return a.x == b.x ? 0.5 * (static_cast<double>(a.y) + b.y)
                          : a.y + (x - a.x) * (static_cast<double>(b.y) - a.y) / (static_cast<double>(b.x) - a.x);
    }

public:
    static void keep(PlanarMap::Cell& cell, PlanarMap::Sample sample) {
        for (PlanarMap::Sample& kept : cell.samples) {
            if (sample.room > kept.room) {
                std::swap(kept, sample);
            }
        }
    }

private:
    PlanarMap& map;
    std::vector<std::int32_t> since; // where the trapezoid above an edge began
    DisjointSets sets;
    Status status{Order{&map}};
    std::vector<Status::iterator> where = std::vector<Status::iterator>(map.ends.size());
};

bool PlanarMap::joinCycles() {
    MapSweep sweep(*this);
    if (!sweep.run()) {
        return false;
    }
    DisjointSets& sets = sweep.cycles();
    std::vector<std::uint32_t> number(all.size(), none);
    std::vector<Cell> joined;
    for (std::uint32_t i = 0; i < all.size(); ++i) {
        const std::uint32_t root = sets.find(i);
        if (number[root] == none) {
            number[root] = static_cast<std::uint32_t>(joined.size());
            joined.emplace_back();
        }
        Cell& cell = joined[number[root]];
        cell.area += all[i].area;
        for (const Sample& sample : all[i].samples) {
            MapSweep::keep(cell, sample);
        }
        number[i] = number[root];
    }
    for (std::uint32_t& cell : cellOfHalfEdge) {
        cell = number[cell];
    }
    all.swap(joined);
    return true;
}

bool PlanarMap::build(const std::vector<GridSegment>& segments) {
    if (!collect(segments) || !sortAround()) {
        return false;
    }
    findCycles();
    return joinCycles();
}
