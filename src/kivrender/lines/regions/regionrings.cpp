#include "kivrender/lines/regions/regionrings.h"

#include "kivrender/lines/curveorder.h"
#include "kivrender/lines/regions/underlap.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

using Pieces = std::vector<KivCurvePiece>;

KivPicturePoint pictureOf(const GridPoint& p) {
    return {offRegionGrid(p.x), offRegionGrid(p.y)};
}

// The part of a region under another one is not seen.
constexpr double underTolerance = 0.2;

// A border between two nodes, or one that closes in itself.
struct Chain {
    KivPicturePoint start;
    Pieces pieces;
};

// The same as the region paints it that another one is painted over; without pieces where it is no other line.
struct UnderChain {
    Chain chain;
    std::uint32_t region = PlanarMap::none;
};

// Appends the chain backwards.
void appendReversed(const Chain& chain, Pieces& pieces) {
    for (std::size_t i = chain.pieces.size(); i-- > 0;) {
        const KivCurvePiece& piece = chain.pieces[i];
        pieces.push_back(
            {piece.kind, {piece.control[1], piece.control[0]}, i > 0 ? chain.pieces[i - 1].end : chain.start});
    }
}

// Appends a chain in one of its two directions, after its start if it is the first.
void appendChain(const Chain& chain, bool forwards, KivCurvePath& ring) {
    if (ring.pieces.empty()) {
        ring.start = forwards ? chain.start : chain.pieces.back().end;
    }
    if (forwards) {
        ring.pieces.insert(ring.pieces.end(), chain.pieces.begin(), chain.pieces.end());
    } else {
        appendReversed(chain, ring.pieces);
    }
}

class RingMaker {
public:
    RingMaker(const PlanarMap& planar, const RegionMerge& merge, const RingRules& ringRules)
        : map(planar), merged(merge), rules(ringRules), chainOf(planar.halfEdges(), PlanarMap::none) {}

    bool run(std::vector<KivVisibleRegion>& regions) {
        findNodes();
        return fitChains() && trace(regions);
    }

private:
    std::uint32_t regionOf(std::uint32_t halfEdge) const {
        return merged.regionOfCell()[map.cellOf(halfEdge)];
    }
    bool isBorder(std::uint32_t halfEdge) const {
        return regionOf(halfEdge) != regionOf(PlanarMap::twin(halfEdge));
    }
    void findNodes() {
        isNode.assign(map.vertices(), false);
        for (std::uint32_t v = 0; v < map.vertices(); ++v) {
            std::uint32_t borders = 0;
            const std::uint32_t first = map.leaving(v);
            std::uint32_t h = first;
            do {
                borders += isBorder(h) ? 1 : 0;
                h = map.nextAround(h);
            } while (h != first);
            isNode[v] = borders != 2;
        }
    }
    // The border that goes on behind a half-edge around the region on its left: the first clockwise from the way back.
    std::uint32_t next(std::uint32_t halfEdge) const {
        // Counterclockwise all around, the last border before the way back.
        const std::uint32_t back = PlanarMap::twin(halfEdge);
        std::uint32_t found = back;
        for (std::uint32_t h = map.nextAround(back); h != back; h = map.nextAround(h)) {
            if (isBorder(h)) {
                found = h;
            }
        }
        return found;
    }

    bool fitChains() {
        // First those that begin at nodes; what is left closes in itself.
        for (const bool fromNodes : {true, false}) {
            for (std::uint32_t h = 0; h < map.halfEdges(); ++h) {
                if (kivIsCancelledAt(h)) {
                    return false;
                }
                if (chainOf[h] == PlanarMap::none && isBorder(h) && (!fromNodes || isNode[map.origin(h)])) {
                    fitChain(h);
                }
            }
        }
        return true;
    }
    void fitChain(std::uint32_t start) {
        const auto number = static_cast<std::uint32_t>(chains.size());
        std::vector<std::uint32_t> way;
        line.assign(1, pictureOf(map.place(map.origin(start))));
        std::uint32_t h = start;
        do {
            way.push_back(h);
            chainOf[h] = 2 * number;
            chainOf[PlanarMap::twin(h)] = 2 * number + 1;
            line.push_back(pictureOf(map.place(map.target(h))));
            if (isNode[map.target(h)]) {
                break;
            }
            h = next(h);
        } while (h != start);
        chains.push_back({line.front(), {}});
        under.emplace_back();
        const bool isClosed = map.origin(start) == map.target(way.back());
        if (!isClosed) {
            fit(0, line.size() - 1, chains.back(), rules.tolerance);
        } else if (isNode[map.origin(start)]) {
            const std::size_t farthest = farthestPoint();
            fit(0, farthest, chains.back(), rules.tolerance);
            fit(farthest, line.size() - 1, chains.back(), rules.tolerance);
        } else {
            line.pop_back();
            fitRing(chains.back(), rules.tolerance);
        }
        if (rules.underlap > 0.0) {
            goUnder(start, way.back(), isClosed && !isNode[map.origin(start)]);
        }
    }
    // Regions that are not painted come first: others lie beside them as beside the paper.
    std::int64_t rankOf(std::uint32_t look) const {
        const std::uint32_t rank = look < rules.ranks->size() ? (*rules.ranks)[look] : KivVisibleRegions::unpainted;
        return rank != KivVisibleRegions::unpainted ? std::int64_t{rank} : -1;
    }
    // The corner of a region between two of its borders. It stays where it is unless both go under.
    KivPicturePoint cornerUnder(std::uint32_t in, std::uint32_t out, std::int64_t rank,
                                const std::function<UnderlapPlace(const KivPicturePoint&)>& at) const {
        const KivPicturePoint corner = pictureOf(map.place(map.target(in)));
        const auto goesUnder = [&](std::uint32_t border) {
            return rankOf(merged.lookOf(regionOf(PlanarMap::twin(border)))) > rank;
        };
        if (!goesUnder(in) || !goesUnder(out)) {
            return corner;
        }
        return moveCornerUnder(pictureOf(map.place(map.origin(in))), corner, pictureOf(map.place(map.target(out))),
                               {rules.underlap, false, at});
    }
    // The chain from its first half-edge to its last.
    void goUnder(std::uint32_t first, std::uint32_t last, bool isRing) {
        const std::uint32_t left = regionOf(first);
        const std::uint32_t right = regionOf(PlanarMap::twin(first));
        const bool onLeft = rankOf(merged.lookOf(left)) > rankOf(merged.lookOf(right));
        const std::uint32_t look = merged.lookOf(onLeft ? right : left);
        const std::int64_t rank = rankOf(look);
        if (rank < 0) {
            return;
        }
        const auto at = [&](const KivPicturePoint& p) {
            const std::uint32_t there = rules.lookAt(p);
            return there == look          ? UnderlapPlace::itself
                   : rankOf(there) > rank ? UnderlapPlace::paintedLater
                                          : UnderlapPlace::other;
        };
        const Chain& own = chains.back();
        UnderlapEnds ends{own.start, own.pieces.back().end};
        if (!isRing) {
            // Around the region itself, which lies on the left of its borders.
            const std::uint32_t in = onLeft ? PlanarMap::twin(first) : last;
            const std::uint32_t out = onLeft ? PlanarMap::twin(last) : first;
            (onLeft ? ends.first : ends.last) = cornerUnder(in, next(in), rank, at);
            (onLeft ? ends.last : ends.first) = cornerUnder(previous(out), out, rank, at);
        }
        line = moveUnder({own.start, own.pieces, isRing}, ends, {rules.underlap, onLeft, at});
        if (line.empty()) {
            return;
        }
        under.back() = {{line.front(), {}}, onLeft ? right : left};
        if (isRing) {
            fitRing(under.back().chain, underTolerance);
        } else {
            const std::size_t middle = line.size() / 2; // the ends may be one place
            fit(0, middle, under.back().chain, underTolerance);
            fit(middle, line.size() - 1, under.back().chain, underTolerance);
        }
    }
    std::size_t farthestPoint() const {
        std::size_t best = line.size() / 2;
        double most = -1.0;
        for (std::size_t i = 1; i + 1 < line.size(); ++i) {
            const double distance = std::hypot(line[i].x - line[0].x, line[i].y - line[0].y);
            if (distance > most) {
                most = distance;
                best = i;
            }
        }
        return best;
    }
    void fit(std::size_t from, std::size_t to, Chain& chain, double tolerance) const {
        const std::span<const KivPicturePoint> part(line.data() + from, to - from + 1);
        const KivCurvePath path = kivFitCurve(part, false, tolerance);
        append(path, line[to], chain);
    }
    void fitRing(Chain& chain, double tolerance) const {
        const KivCurvePath path = kivFitCurve(line, true, tolerance);
        chain.start = path.start; // a closed line begins where it turns most
        append(path, path.start, chain);
    }
    static void append(const KivCurvePath& path, const KivPicturePoint& end, Chain& chain) {
        chain.pieces.insert(chain.pieces.end(), path.pieces.begin(), path.pieces.end());
        if (path.pieces.empty()) {
            chain.pieces.push_back({KivCurvePiece::Kind::line, {}, end});
        }
        chain.pieces.back().end = end;
    }

    bool trace(std::vector<KivVisibleRegion>& regions) {
        std::vector<std::uint32_t> number(map.cells().size(), PlanarMap::none);
        std::vector<bool> done(map.halfEdges(), false);
        std::vector<bool> goesUnder;
        for (std::uint32_t h = 0; h < map.halfEdges(); ++h) {
            if (kivIsCancelledAt(h)) {
                return false;
            }
            const std::uint32_t region = regionOf(h);
            if (done[h] || !isBorder(h) || merged.lookOf(region) == RegionMerge::noLook) {
                continue;
            }
            if (number[region] == PlanarMap::none) {
                number[region] = static_cast<std::uint32_t>(regions.size());
                regions.push_back(
                    {merged.lookOf(region), merged.areaOf(region) / (RegionGrid::steps * RegionGrid::steps), {}, {}});
                goesUnder.push_back(false);
            }
            if (addRing(h, done, regions[number[region]])) {
                goesUnder[number[region]] = true;
            }
        }
        for (std::size_t i = 0; i < regions.size(); ++i) {
            if (!goesUnder[i]) {
                regions[i].painted.clear();
            }
        }
        std::stable_sort(regions.begin(), regions.end(),
                         [](const KivVisibleRegion& p, const KivVisibleRegion& q) { return p.look < q.look; });
        return true;
    }
    // True if the ring goes on under another region.
    bool addRing(std::uint32_t start, std::vector<bool>& done, KivVisibleRegion& region) const {
        const std::uint32_t own = regionOf(start);
        KivCurvePath ring;
        KivCurvePath painted;
        ring.closed = painted.closed = true;
        bool isUnder = false;
        double area = 0.0;
        std::uint32_t last = PlanarMap::none;
        // A ring begins with a chain.
        std::uint32_t h = start;
        for (std::uint32_t before = start; !isNode[map.origin(h)];) {
            h = previous(h);
            if (h == before) {
                break;
            }
        }
        const std::uint32_t first = h;
        do {
            done[h] = true;
            const GridPoint& a = map.place(map.origin(h));
            const GridPoint& b = map.place(map.target(h));
            area += static_cast<double>(a.x) * b.y - static_cast<double>(a.y) * b.x;
            if (chainOf[h] != last || isNode[map.origin(h)]) {
                last = chainOf[h];
                const Chain& chain = chains[last / 2];
                const UnderChain& below = under[last / 2];
                appendChain(chain, last % 2 == 0, ring);
                appendChain(below.region == own ? below.chain : chain, last % 2 == 0, painted);
                isUnder = isUnder || below.region == own;
            }
            h = next(h);
        } while (h != first);
        // The outer ring alone runs counterclockwise.
        region.rings.insert(area > 0.0 ? region.rings.begin() : region.rings.end(), std::move(ring));
        if (rules.underlap > 0.0) {
            region.painted.insert(area > 0.0 ? region.painted.begin() : region.painted.end(), std::move(painted));
        }
        return isUnder;
    }
    // The border before a half-edge around the same region.
    std::uint32_t previous(std::uint32_t halfEdge) const {
        for (std::uint32_t h = map.nextAround(halfEdge); h != halfEdge; h = map.nextAround(h)) {
            if (isBorder(h)) {
                return PlanarMap::twin(h);
            }
        }
        return PlanarMap::twin(halfEdge);
    }

    const PlanarMap& map;
    const RegionMerge& merged;
    const RingRules& rules;
    std::vector<bool> isNode;
    std::vector<std::uint32_t> chainOf; // of each half-edge: twice the chain's number, and one more against its way
    std::vector<Chain> chains;
    std::vector<UnderChain> under; // of each chain
    std::vector<KivPicturePoint> line;
};

} // namespace

bool makeRegionRings(const PlanarMap& map, const RegionMerge& merged, const RingRules& rules,
                     std::vector<KivVisibleRegion>& regions) {
    return RingMaker(map, merged, rules).run(regions);
}
