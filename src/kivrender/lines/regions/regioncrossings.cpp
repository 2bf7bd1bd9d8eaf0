#include "kivrender/lines/regions/regioncrossings.h"

#include "kivrender/lines/curveorder.h"
#include "kivrender/lines/regions/facepairs.h"
#include "kivrender/lines/regions/polledsort.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace {

// Squares are divided down to a sixteenth of a pixel, or to so few faces.
constexpr std::int32_t smallestSquare = 64;
constexpr std::size_t fewFaces = 24;
// Where more than that meet in the smallest square, as around the tip of a cone, nothing is gained by comparing all.
constexpr std::size_t manyFaces = 48;
// Faces of a square that are in so many of its four parts in the mean gain nothing by its division: twice as many pairs
// would be compared, not half as many.
constexpr std::size_t crowding = 2;
// Over so many faces a large square is divided without a closer look: they are small there, and hardly one fills it.
constexpr std::size_t crowd = 2048;
constexpr std::int32_t largeSquare = 8 * 1024;
constexpr std::size_t unitsPerPair = 32;
constexpr std::size_t unitsPerFace = 16; // of work, in each square that it meets

struct Seen {
    std::uint32_t face;
    double low; // bounds of the depth over the square
    double high;
};

struct FaceBox {
    GridPoint low;
    GridPoint high;
};

struct Square {
    GridPoint corner;
    std::int32_t side;

    GridPoint at(int i) const {
        return {corner.x + (i % 2 != 0 ? side : 0), corner.y + (i / 2 != 0 ? side : 0)};
    }
};

class CrossingSearch {
public:
    explicit CrossingSearch(const RegionFaces& all) : faces(all) {
        boxes.reserve(all.faces().size());
        for (std::uint32_t i = 0; i < all.faces().size(); ++i) {
            boxes.push_back(boxOf(all.faces()[i]));
        }
    }

    // All that may cross in sight, for pictures in which findFacePairs gives up.
    bool findPairs(std::vector<FacePair>& into) {
        pairs = &into;
        Square whole = {{0, 0}, smallestSquare};
        for (const RegionCorner& c : faces.corners()) {
            while (whole.side < std::max(c.place.x, c.place.y)) {
                whole.side *= 2;
            }
        }
        std::vector<Seen> list;
        list.reserve(faces.faces().size());
        for (std::uint32_t i = 0; i < faces.faces().size(); ++i) {
            list.push_back({i, faces.planeOf(i).low, faces.planeOf(i).high});
        }
        return divide(whole, std::move(list));
    }

    enum class Relation { apart, cross, tie };

    // How two faces lie to one another in the part of the picture that both cover, with the line in which they cross.
    Relation relationOf(const FacePair& pair, RegionLine* line) const {
        const std::vector<Place> polygon = commonPart(pair.first, pair.second);
        if (!hasArea(polygon)) {
            return Relation::apart;
        }
        std::vector<double> ahead;
        for (const Place& p : polygon) {
            ahead.push_back(faces.planeOf(pair.first).at(p.x, p.y) - faces.planeOf(pair.second).at(p.x, p.y));
        }
        const double noise = faces.noiseOf(pair.first) + faces.noiseOf(pair.second);
        if (std::none_of(ahead.begin(), ahead.end(), [=](double d) { return std::fabs(d) > noise; })) {
            return Relation::tie;
        }
        RegionCorner ends[2];
        int count = 0;
        for (std::size_t i = 0; i < polygon.size(); ++i) {
            const std::size_t k = i + 1 < polygon.size() ? i + 1 : 0;
            if ((ahead[i] < 0.0) == (ahead[k] < 0.0)) {
                continue;
            }
            if (count == 2) {
                return Relation::apart;
            }
            const double t = ahead[i] / (ahead[i] - ahead[k]);
            const double x = polygon[i].x + t * (polygon[k].x - polygon[i].x);
            const double y = polygon[i].y + t * (polygon[k].y - polygon[i].y);
            ends[count++] = {{static_cast<std::int32_t>(std::lround(x)), static_cast<std::int32_t>(std::lround(y))},
                             std::clamp(faces.planeOf(pair.first).at(x, y), faces.planeOf(pair.first).low,
                                        faces.planeOf(pair.first).high)};
        }
        if (count != 2) {
            return Relation::apart;
        }
        *line = {ends[0], ends[1], noise, std::max(pair.first, pair.second), {}};
        return Relation::cross;
    }

private:
    struct Place {
        double x;
        double y;
    };

    static bool hasArea(const std::vector<Place>& polygon) {
        double twice = 0.0;
        for (std::size_t i = 2; i < polygon.size(); ++i) {
            twice += (polygon[i - 1].x - polygon[0].x) * (polygon[i].y - polygon[0].y) -
                     (polygon[i - 1].y - polygon[0].y) * (polygon[i].x - polygon[0].x);
        }
        return twice > 1.0;
    }

    bool divide(const Square& square, std::vector<Seen> list) {
        if (!faces.work().spend(unitsPerFace * (list.size() + 1))) {
            return false;
        }
        if (list.size() <= crowd || square.side <= largeSquare) {
            leaveOutHidden(square, list);
            if (!mayCross(list)) {
                return true;
            }
            if (list.size() <= fewFaces || square.side <= smallestSquare) {
                addPairs(square, list);
                return true;
            }
        }
        const std::int32_t half = square.side / 2;
        std::array<std::vector<Seen>, 4> inParts;
        std::size_t inAll = 0;
        for (int i = 0; i < 4; ++i) {
            const Square part = {Square{square.corner, half}.at(i), half};
            for (const Seen& seen : list) {
                if (meets(seen.face, part)) {
                    inParts[i].push_back(seen);
                }
            }
            inAll += inParts[i].size();
        }
        // Faces that are stacked up, as beside the outline of a finely divided tube, are in all parts alike.
        if (list.size() <= manyFaces && inAll > crowding * list.size()) {
            addPairs(square, list);
            return true;
        }
        for (int i = 0; i < 4; ++i) {
            if (!divide({Square{square.corner, half}.at(i), half}, std::move(inParts[i]))) {
                return false;
            }
        }
        return true;
    }

    // How a face lies to a square: apart from it, over a part, or over all of it.
    bool meets(std::uint32_t face, const Square& square) const {
        const auto& [low, high] = boxes[face];
        const GridPoint& corner = square.corner;
        if (high.x < corner.x || high.y < corner.y || low.x > corner.x + square.side ||
            low.y > corner.y + square.side) {
            return false;
        }
        if (low.x >= corner.x && low.y >= corner.y && high.x <= corner.x + square.side &&
            high.y <= corner.y + square.side) {
            return true;
        }
        const RegionFaces::Face& f = faces.faces()[face];
        for (int i = 0; i < 3; ++i) {
            bool isBeside = true;
            for (int k = 0; k < 4 && isBeside; ++k) {
                isBeside = gridSide(place(f, i), place(f, i == 2 ? 0 : i + 1), square.at(k)) < 0;
            }
            if (isBeside) {
                return false;
            }
        }
        return true;
    }
    bool fills(std::uint32_t face, const Square& square) const {
        const auto& [low, high] = boxes[face];
        const GridPoint& corner = square.corner;
        if (low.x > corner.x || low.y > corner.y || high.x < corner.x + square.side ||
            high.y < corner.y + square.side) {
            return false;
        }
        const RegionFaces::Face& f = faces.faces()[face];
        for (int i = 0; i < 3; ++i) {
            for (int k = 0; k < 4; ++k) {
                if (gridSide(place(f, i), place(f, i == 2 ? 0 : i + 1), square.at(k)) < 0) {
                    return false;
                }
            }
        }
        return true;
    }
    FaceBox boxOf(const RegionFaces::Face& f) const {
        FaceBox box = {place(f, 0), place(f, 0)};
        for (int i = 1; i < 3; ++i) {
            const GridPoint& p = place(f, i);
            box.low = {std::min(box.low.x, p.x), std::min(box.low.y, p.y)};
            box.high = {std::max(box.high.x, p.x), std::max(box.high.y, p.y)};
        }
        return box;
    }
    const GridPoint& place(const RegionFaces::Face& face, int i) const {
        return faces.corners()[face.corners[i]].place;
    }

    // Behind the nearest face that fills the square, or in the plane of the last one that does.
    void leaveOutHidden(const Square& square, std::vector<Seen>& list) const {
        double horizon = std::numeric_limits<double>::infinity();
        std::uint32_t last = 0;
        bool isFilled = false;
        for (Seen& seen : list) {
            const RegionPlane& plane = faces.planeOf(seen.face);
            seen.low = plane.high;
            seen.high = plane.low;
            for (int k = 0; k < 4; ++k) {
                const GridPoint corner = square.at(k);
                const double depth = std::clamp(plane.at(corner.x, corner.y), plane.low, plane.high);
                seen.low = std::min(seen.low, depth);
                seen.high = std::max(seen.high, depth);
            }
            if (fills(seen.face, square)) {
                horizon = std::min(horizon, seen.high + 2.0 * faces.noiseOf(seen.face));
                last = isFilled ? std::max(last, seen.face) : seen.face;
                isFilled = true;
            }
        }
        horizon = std::min(horizon, horizonOfPairs(square, list, horizon));
        if (horizon == std::numeric_limits<double>::infinity()) {
            return;
        }
        std::erase_if(list, [&](const Seen& seen) {
            return (seen.low > horizon && seen.low - 2.0 * faces.noiseOf(seen.face) > horizon) ||
                   (isFilled && seen.face < last && isNowhereBefore(seen.face, last, square));
        });
    }
    // How far two neighbours reach that fill the square together, where that is nearer than horizon. Squares along the
    // edges of a shell would never be filled, and all that it holds would be compared there.
    double horizonOfPairs(const Square& square, const std::vector<Seen>& list, double horizon) const {
        constexpr std::size_t mostHalves = 32;
        if (list.size() <= fewFaces) {
            return horizon;
        }
        std::array<Half, mostHalves> halves;
        std::size_t count = 0;
        for (const Seen& seen : list) {
            const double reach = seen.high + 2.0 * faces.noiseOf(seen.face);
            Half half;
            if (reach >= horizon || !fillsButOneSide(seen.face, square, &half)) {
                continue;
            }
            half.reach = reach;
            for (std::size_t i = 0; i < count; ++i) {
                if (halves[i].from == half.to && halves[i].to == half.from) {
                    horizon = std::min(horizon, std::max(halves[i].reach, half.reach));
                }
            }
            if (count < mostHalves) {
                halves[count++] = half;
            }
        }
        return horizon;
    }
    // The side of a face that runs across a square.
    struct Half {
        GridPoint from;
        GridPoint to;
        double reach = 0.0;
    };
    // Whether a face covers all of a square that lies on its side of one of its edges, which crosses the whole square.
    bool fillsButOneSide(std::uint32_t face, const Square& square, Half* half) const {
        const RegionFaces::Face& f = faces.faces()[face];
        int across = -1;
        for (int i = 0; i < 3; ++i) {
            int inside = 0;
            for (int k = 0; k < 4; ++k) {
                inside += gridSide(place(f, i), place(f, i == 2 ? 0 : i + 1), square.at(k)) >= 0 ? 1 : 0;
            }
            if (inside == 0 || (inside < 4 && across >= 0)) {
                return false;
            }
            across = inside < 4 ? i : across;
        }
        if (across < 0) {
            return false;
        }
        *half = {place(f, across), place(f, across == 2 ? 0 : across + 1)};
        for (int k = 0; k < 4; ++k) {
            if (!isAlong(half->from, half->to, square.at(k)) || !isAlong(half->to, half->from, square.at(k))) {
                return false;
            }
        }
        return true;
    }
    // Whether a place lies on that side of `from` where `to` is.
    static bool isAlong(const GridPoint& from, const GridPoint& to, const GridPoint& place) {
        return (std::int64_t{to.x} - from.x) * (std::int64_t{place.x} - from.x) +
                   (std::int64_t{to.y} - from.y) * (std::int64_t{place.y} - from.y) >=
               0;
    }
    bool isNowhereBefore(std::uint32_t face, std::uint32_t other, const Square& square) const {
        const double noise = 0.5 * (faces.noiseOf(face) + faces.noiseOf(other));
        for (int k = 0; k < 4; ++k) {
            const GridPoint corner = square.at(k);
            if (faces.planeOf(other).at(corner.x, corner.y) - faces.planeOf(face).at(corner.x, corner.y) > noise) {
                return false;
            }
        }
        return true;
    }

    // Whether two looks lie in the same range of depths.
    bool mayCross(const std::vector<Seen>& list) {
        constexpr std::size_t mostRanges = 16;
        ranges.clear();
        for (const Seen& seen : list) {
            const std::uint32_t look = faces.faces()[seen.face].look;
            const auto range =
                std::find_if(ranges.begin(), ranges.end(), [=](const Range& r) { return r.look == look; });
            if (range != ranges.end()) {
                range->low = std::min(range->low, seen.low);
                range->high = std::max(range->high, seen.high);
            } else if (ranges.size() == mostRanges) {
                return true;
            } else {
                ranges.push_back({look, seen.low, seen.high});
            }
        }
        std::sort(ranges.begin(), ranges.end(), [](const Range& p, const Range& q) { return p.low < q.low; });
        for (std::size_t i = 1; i < ranges.size(); ++i) {
            if (ranges[i].low <= ranges[i - 1].high) {
                return true;
            }
        }
        return false;
    }

    // Whether one face is not before the other, or behind it, all over a square.
    bool changesPlaces(std::uint32_t first, std::uint32_t second, const Square& square) const {
        const double noise = faces.noiseOf(first) + faces.noiseOf(second);
        bool isBefore = false;
        bool isBehind = false;
        for (int k = 0; k < 4; ++k) {
            const GridPoint corner = square.at(k);
            const double ahead =
                faces.planeOf(first).at(corner.x, corner.y) - faces.planeOf(second).at(corner.x, corner.y);
            isBefore = isBefore || ahead < noise;
            isBehind = isBehind || ahead > -noise;
        }
        return isBefore && isBehind;
    }

    void addPairs(const Square& square, const std::vector<Seen>& list) {
        if (list.size() > manyFaces) {
            return;
        }
        for (std::size_t i = 0; i < list.size(); ++i) {
            for (std::size_t k = i + 1; k < list.size(); ++k) {
                const bool differ = faces.faces()[list[i].face].look != faces.faces()[list[k].face].look;
                if (differ && boxesMeet(list[i].face, list[k].face) && list[i].low <= list[k].high &&
                    list[k].low <= list[i].high && changesPlaces(list[i].face, list[k].face, square) &&
                    !areFacesApart(faces, list[i].face, list[k].face)) {
                    pairs->emplace_back(std::min(list[i].face, list[k].face), std::max(list[i].face, list[k].face));
                    faces.work().spend(unitsPerPair);
                }
            }
        }
    }

    bool boxesMeet(std::uint32_t first, std::uint32_t second) const {
        const FaceBox& p = boxes[first];
        const FaceBox& q = boxes[second];
        return p.low.x <= q.high.x && q.low.x <= p.high.x && p.low.y <= q.high.y && q.low.y <= p.high.y;
    }
    std::vector<Place> commonPart(std::uint32_t first, std::uint32_t second) const {
        std::vector<Place> polygon;
        for (int i = 0; i < 3; ++i) {
            const GridPoint& p = place(faces.faces()[first], i);
            polygon.push_back({static_cast<double>(p.x), static_cast<double>(p.y)});
        }
        std::vector<Place> rest;
        for (int side = 0; side < 3 && polygon.size() >= 3; ++side) {
            const GridPoint& a = place(faces.faces()[second], side);
            const GridPoint& b = place(faces.faces()[second], side == 2 ? 0 : side + 1);
            const auto value = [&](const Place& p) {
                return (static_cast<double>(b.x) - a.x) * (p.y - a.y) - (static_cast<double>(b.y) - a.y) * (p.x - a.x);
            };
            rest.clear();
            for (std::size_t i = 0; i < polygon.size(); ++i) {
                const Place& p = polygon[i];
                const Place& q = polygon[i + 1 < polygon.size() ? i + 1 : 0];
                const double vp = value(p);
                const double vq = value(q);
                if (vp >= 0.0) {
                    rest.push_back(p);
                }
                if ((vp >= 0.0) != (vq >= 0.0)) {
                    const double t = vp / (vp - vq);
                    rest.push_back({p.x + t * (q.x - p.x), p.y + t * (q.y - p.y)});
                }
            }
            polygon.swap(rest);
        }
        return polygon;
    }

    struct Range {
        std::uint32_t look;
        double low;
        double high;
    };

    const RegionFaces& faces;
    std::vector<FaceBox> boxes;
    std::vector<FacePair>* pairs = nullptr;
    std::vector<Range> ranges;
};

} // namespace

bool findRegionCrossings(const RegionFaces& faces, RegionCrossings& crossings) {
    crossings.ties.assign(faces.faces().size(), false);
    if (faces.faces().empty()) {
        return true;
    }
    std::vector<FacePair> pairs;
    CrossingSearch search(faces);
    bool tooMany = false;
    if (!findFacePairs(faces, pairs, &tooMany) || (tooMany && !search.findPairs(pairs)) || !polledSortUnique(pairs)) {
        return false;
    }
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        if (kivIsCancelledAt(i * 8)) {
            return false;
        }
        RegionLine line;
        switch (search.relationOf(pairs[i], &line)) {
        case CrossingSearch::Relation::cross:
            crossings.lines.push_back(line);
            break;
        case CrossingSearch::Relation::tie:
            crossings.ties[pairs[i].first] = true;
            crossings.ties[pairs[i].second] = true;
            break;
        case CrossingSearch::Relation::apart:
            break;
        }
    }
    return true;
}
