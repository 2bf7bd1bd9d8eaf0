#include "kivrender/lines/write/travelorder.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <numeric>

namespace {

// The ends that are left, as a balanced k-d tree over a range of them: the middle one of a range is its root, and what
// lies before and behind it are its branches.
class EndTree {
public:
    explicit EndTree(std::span<const PenLine> penLines)
        : lines(penLines), order(2 * penLines.size()), placeOf(order.size()), left(order.size(), 0) {
        std::iota(order.begin(), order.end(), 0U);
        build(0, order.size(), 0);
        for (std::size_t place = 0; place < order.size(); ++place) {
            placeOf[order[place]] = place;
        }
    }

    // The number of the nearest end: twice that of its line, plus 1 for the line's end.
    std::size_t nearest(const KivPicturePoint& from) const {
        Best best;
        search(from, 0, order.size(), 0, best);
        return best.end;
    }
    void remove(std::size_t line) {
        removeEnd(2 * line);
        removeEnd(2 * line + 1);
    }

private:
    struct Best {
        double square = std::numeric_limits<double>::infinity();
        std::size_t end = 0;
    };

    KivPicturePoint pointOf(std::size_t end) const {
        return end % 2 == 0 ? lines[end / 2].start : lines[end / 2].end;
    }
    static double along(const KivPicturePoint& p, int axis) {
        return axis == 0 ? p.x : p.y;
    }

    // left of a root: how many of its range are left. Equal coordinates lie in the order of their numbers, so that the
    // same lines give the same tree.
    void build(std::size_t from, std::size_t to, int axis) {
        if (from == to) {
            return;
        }
        const std::size_t middle = from + (to - from) / 2;
        const auto at = [this](std::size_t place) { return order.begin() + static_cast<std::ptrdiff_t>(place); };
        std::nth_element(at(from), at(middle), at(to), [&](std::uint32_t a, std::uint32_t b) {
            const double x = along(pointOf(a), axis);
            const double y = along(pointOf(b), axis);
            return x != y ? x < y : a < b;
        });
        left[middle] = to - from;
        isThere.resize(order.size(), true);
        build(from, middle, 1 - axis);
        build(middle + 1, to, 1 - axis);
    }

    void search(const KivPicturePoint& from, std::size_t first, std::size_t behind, int axis, Best& best) const {
        const std::size_t middle = first + (behind - first) / 2;
        if (first == behind || left[middle] == 0) {
            return;
        }
        const KivPicturePoint p = pointOf(order[middle]);
        if (isThere[middle]) {
            const double dx = p.x - from.x;
            const double dy = p.y - from.y;
            if (dx * dx + dy * dy < best.square) {
                best = {dx * dx + dy * dy, order[middle]};
            }
        }
        const double across = along(from, axis) - along(p, axis);
        const bool isBefore = across < 0.0;
        const auto before = [&] { search(from, first, middle, 1 - axis, best); };
        const auto after = [&] { search(from, middle + 1, behind, 1 - axis, best); };
        isBefore ? before() : after();
        if (across * across < best.square) {
            isBefore ? after() : before();
        }
    }

    void removeEnd(std::size_t end) {
        const std::size_t place = placeOf[end];
        isThere[place] = false;
        std::size_t first = 0;
        std::size_t behind = order.size();
        for (;;) {
            const std::size_t middle = first + (behind - first) / 2;
            --left[middle];
            if (middle == place) {
                return;
            }
            (place < middle ? behind : first) = place < middle ? middle : middle + 1;
        }
    }

    std::span<const PenLine> lines;
    std::vector<std::uint32_t> order;
    std::vector<std::size_t> placeOf; // in order, of each end
    std::vector<std::size_t> left;
    std::vector<bool> isThere;
};

} // namespace

std::vector<PenTurn> kivTravelOrder(std::span<const PenLine> lines, KivPicturePoint* at,
                                    const std::function<bool()>& isCancelled) {
    constexpr std::size_t linesBetweenPolls = 256;
    EndTree tree(lines);
    std::vector<PenTurn> turns;
    turns.reserve(lines.size());
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (i % linesBetweenPolls == 0 && isCancelled && isCancelled()) {
            return turns;
        }
        const std::size_t end = tree.nearest(*at);
        const PenLine& line = lines[end / 2];
        turns.push_back({end / 2, end % 2 != 0});
        *at = end % 2 == 0 ? line.end : line.start;
        tree.remove(end / 2);
    }
    return turns;
}
