// A tree over rectangles of the picture with the nearest depth of what each holds: which triangles may stand before a
// segment. The leaves follow a space-filling curve (Morton, 1966) and the tree over them is an implicit binary one,
// built from the bottom (after Lauterbach et al., Fast BVH Construction on GPUs, 2009): n log n for any input, also for
// a million equal rectangles, and nothing is allocated for a single entry.
#ifndef KIVRENDER_LINES_OCCLUDERINDEX_H
#define KIVRENDER_LINES_OCCLUDERINDEX_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

// In pixels; nearest in the units of camera space. Rounded outwards, so that floats are enough.
struct KivOccluderBounds {
    float left = 0.0F;
    float right = -1.0F; // below left: empty
    float bottom = 0.0F;
    float top = 0.0F;
    float nearest = 0.0F;
};

class OccluderIndex {
public:
    // The entries are known by their place in the list. False, with an empty index, when the user cancelled.
    bool build(const std::vector<KivOccluderBounds>& entries);
    std::size_t size() const {
        return order.size();
    }

    // From (x0, y0) to (x1, y1). depth0 and depth1 are those at its ends; between them it lies no farther away than if
    // its depth ran evenly over the picture, as the depths of a straight line in space do.
    struct Segment {
        double x0 = 0.0;
        double y0 = 0.0;
        double x1 = 0.0;
        double y1 = 0.0;
        double depth0 = 0.0;
        double depth1 = 0.0;
    };
    // Calls visit(entry) for every entry whose rectangle the segment from (x0, y0) to (x1, y1) may meet and that
    // reaches nearer than farthest; entries that lie nearer come earlier on the whole. Stops when visit answers false.
    // The work, in boxes that were looked at.
    template <class Visit>
    std::size_t walk(double x0, double y0, double x1, double y1, double farthest, Visit visit) const {
        return walkRest({x0, y0, x1, y1, farthest, farthest},
                        [&](std::uint32_t entry, Segment*) { return visit(entry); });
    }
    // The same, but that entries count which reach nearer than the segment does within their rectangle, and that
    // visit(entry, &rest) may answer with a shorter segment: from then on only that one counts. A rest whose depth0
    // stays 0 is no answer.
    template <class Visit> std::size_t walkRest(const Segment& segment, Visit visit) const;

    // Calls visit(entry) for every entry whose rectangle may hold the point and that reaches nearer than what visit
    // answered last, nearer ones first on the whole. The work, as above.
    template <class Visit> std::size_t probe(double x, double y, Visit visit) const;

private:
    static constexpr std::size_t leafSize = 4;
    // A visitor fetches a triangle from anywhere in memory and compares it: in a hostile arrangement of a million, half
    // of whose boxes meet every line, that is most of the time.
    static constexpr std::size_t looksOfVisit = 8;

    struct Line {
        float left, right, bottom, top; // the box of the segment
        float a, b, c;                  // a * x + b * y + c is 0 on it
        float slack;                    // what the rounding of the line's own value comes to
        float farthest;
        bool isUpright;    // the depth is told along y, else along x
        float from, to;    // along it
        float depth, rise; // at `from`, and on from there
    };
    bool buildLevels();
    bool drop(); // empties the index; always false
    static Line lineOf(const Segment& segment);
    static bool meets(const KivOccluderBounds& box, const Line& line);

    std::vector<std::uint32_t> order;                   // entries along the curve
    std::vector<KivOccluderBounds> boxes;               // of the entries, in that order
    std::vector<std::vector<KivOccluderBounds>> levels; // leaves first, the root's level last
};

template <class Visit> std::size_t OccluderIndex::walkRest(const Segment& segment, Visit visit) const {
    std::size_t looks = 0;
    if (levels.empty()) {
        return looks;
    }
    Line line = lineOf(segment);
    Segment rest;
    bool isShorter = false;
    struct Place {
        std::uint32_t level;
        std::uint32_t node;
    };
    Place open[80]; // two for each of at most 32 levels
    int count = 0;
    if (meets(levels.back()[0], line)) {
        open[count++] = {static_cast<std::uint32_t>(levels.size() - 1), 0};
    }
    while (count > 0) {
        const Place place = open[--count];
        ++looks;
        if (isShorter && !meets(levels[place.level][place.node], line)) {
            continue;
        }
        if (place.level > 0) {
            const std::vector<KivOccluderBounds>& below = levels[place.level - 1];
            const std::uint32_t first = place.node * 2;
            const bool meetsFirst = meets(below[first], line);
            const bool meetsSecond = first + 1 < below.size() && meets(below[first + 1], line);
            const bool secondIsNearer = meetsSecond && below[first + 1].nearest < below[first].nearest;
            // The nearer one on top of the stack.
            if (meetsFirst && secondIsNearer) {
                open[count++] = {place.level - 1, first};
            }
            if (meetsSecond) {
                open[count++] = {place.level - 1, first + 1};
            }
            if (meetsFirst && !secondIsNearer) {
                open[count++] = {place.level - 1, first};
            }
            continue;
        }
        const std::size_t end = std::min<std::size_t>(order.size(), (std::size_t{place.node} + 1) * leafSize);
        for (std::size_t i = std::size_t{place.node} * leafSize; i < end; ++i) {
            ++looks;
            if (!meets(boxes[i], line)) {
                continue;
            }
            looks += looksOfVisit;
            if (!visit(order[i], &rest)) {
                return looks;
            }
            if (rest.depth0 != 0.0) {
                line = lineOf(rest);
                isShorter = true;
                rest.depth0 = 0.0;
            }
        }
    }
    return looks;
}

template <class Visit> std::size_t OccluderIndex::probe(double x, double y, Visit visit) const {
    std::size_t looks = 0;
    double reach = std::numeric_limits<double>::infinity();
    const auto isMet = [&](const KivOccluderBounds& box) {
        return box.left <= x && x <= box.right && box.bottom <= y && y <= box.top && box.nearest <= reach;
    };
    struct Place {
        std::uint32_t level;
        std::uint32_t node;
    };
    Place open[80]; // two for each of at most 32 levels
    int count = 0;
    if (!levels.empty()) {
        open[count++] = {static_cast<std::uint32_t>(levels.size() - 1), 0};
    }
    while (count > 0) {
        const Place place = open[--count];
        ++looks;
        if (!isMet(levels[place.level][place.node])) {
            continue;
        }
        if (place.level > 0) {
            const std::vector<KivOccluderBounds>& below = levels[place.level - 1];
            const std::uint32_t first = place.node * 2;
            const bool hasSecond = first + 1 < below.size();
            const std::uint32_t nearer = hasSecond && below[first + 1].nearest < below[first].nearest ? 1 : 0;
            if (hasSecond) {
                open[count++] = {place.level - 1, first + 1 - nearer};
            }
            open[count++] = {place.level - 1, first + nearer};
            continue;
        }
        const std::size_t end = std::min<std::size_t>(order.size(), (std::size_t{place.node} + 1) * leafSize);
        for (std::size_t i = std::size_t{place.node} * leafSize; i < end; ++i) {
            ++looks;
            if (isMet(boxes[i])) {
                looks += looksOfVisit;
                reach = visit(order[i]);
            }
        }
    }
    return looks;
}

#endif
