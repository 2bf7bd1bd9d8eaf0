#include "import/nearorder.h"

#include "kivrender/geometry/mortonorder.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace kivimport {
namespace {

// In units of WorkWatch, for an entry of a list.
constexpr std::size_t costOfStep = 1;
constexpr std::size_t costOfMove = 3;

struct Box {
    std::array<double, 3> low{maxCoordinate, maxCoordinate, maxCoordinate};
    std::array<double, 3> high{-maxCoordinate, -maxCoordinate, -maxCoordinate};
};

std::array<double, 3> placeOf(const Vec3& p) {
    return {p.x, p.y, p.z};
}

// The positions in the order of the curve.
std::vector<std::uint32_t> orderOf(const Points& positions, WorkWatch& watch) {
    Box box;
    for (const Vec3& p : positions) {
        watch.add(costOfStep);
        const std::array<double, 3> place = placeOf(p);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            box.low[axis] = std::min(box.low[axis], place[axis]);
            box.high[axis] = std::max(box.high[axis], place[axis]);
        }
    }
    std::vector<std::uint32_t> order;
    kivMortonOrder(
        positions.size(), [&positions](std::size_t i) { return placeOf(positions[i]); }, box.low, box.high,
        [&watch](std::size_t) {
            watch.add(costOfStep);
            return true;
        },
        order);
    return order;
}

// list[i] becomes what stood at order[i], of width entries each. An empty list stays so.
template <class List>
void arrange(List& list, const std::vector<std::uint32_t>& order, std::size_t width, WorkWatch& watch) {
    if (list.empty()) {
        return;
    }
    List arranged;
    arranged.reserve(order.size() * width); // new memory comes page by page, between the questions for a cancel
    for (const std::uint32_t entry : order) {
        watch.add(costOfMove);
        const auto first = list.begin() + static_cast<std::ptrdiff_t>(entry * width);
        arranged.insert(arranged.end(), first, first + static_cast<std::ptrdiff_t>(width));
    }
    list.swap(arranged);
}

std::vector<std::uint32_t> inverse(const std::vector<std::uint32_t>& order, WorkWatch& watch) {
    std::vector<std::uint32_t> places(order.size());
    for (std::size_t i = 0; i < order.size(); ++i) {
        watch.add(costOfMove);
        places[order[i]] = static_cast<std::uint32_t>(i);
    }
    return places;
}

// The triangles by the smallest of their corners; equal ones stay in their order (counting sort).
std::vector<std::uint32_t> orderOfTriangles(const Indices& corners, std::size_t positions, WorkWatch& watch) {
    const std::size_t triangles = corners.size() / 3;
    const auto smallest = [&corners](std::size_t t) {
        return std::min({corners[t * 3], corners[t * 3 + 1], corners[t * 3 + 2]});
    };
    std::vector<std::uint32_t> starts(positions + 1, 0);
    for (std::size_t t = 0; t < triangles; ++t) {
        watch.add(costOfStep);
        ++starts[smallest(t) + 1];
    }
    std::partial_sum(starts.begin(), starts.end(), starts.begin());
    std::vector<std::uint32_t> order(triangles);
    for (std::size_t t = 0; t < triangles; ++t) {
        watch.add(costOfMove);
        order[starts[smallest(t)]++] = static_cast<std::uint32_t>(t);
    }
    return order;
}

// The order in which corners first use the entries of a list; those that none uses are left out. Makes the corners tell
// the new places.
std::vector<std::uint32_t> orderOfUse(Indices& corners, std::size_t entries, WorkWatch& watch) {
    std::vector<std::uint32_t> places(entries, noIndex);
    std::vector<std::uint32_t> order;
    order.reserve(entries);
    for (std::uint32_t& corner : corners) {
        watch.add(costOfMove);
        if (corner == noIndex) {
            continue;
        }
        if (places[corner] == noIndex) {
            places[corner] = static_cast<std::uint32_t>(order.size());
            order.push_back(corner);
        }
        corner = places[corner];
    }
    return order;
}

} // namespace

bool jumpsAbout(const Surface& surface, WorkWatch& watch) {
    constexpr std::size_t lineSize = 64;
    constexpr std::size_t lines = (std::size_t{256} << 10) / lineSize;
    std::vector<std::uint32_t> held(lines, noIndex); // which line is in each place (a direct-mapped cache)
    std::size_t missed = 0;
    for (const std::uint32_t corner : surface.corners) {
        watch.add(costOfStep);
        const auto line = static_cast<std::uint32_t>(corner * sizeof(Vec3) / lineSize);
        std::uint32_t& place = held[line % lines];
        missed += place != line ? 1 : 0;
        place = line;
    }
    const std::size_t size = surface.positions.size() * sizeof(Vec3);
    return size > lines * lineSize && missed > surface.corners.size() / 6;
}

bool putNearTogether(Surface& surface, WorkWatch& watch) {
    if (!jumpsAbout(surface, watch)) {
        return false;
    }
    const std::vector<std::uint32_t> order =
        orderOf(surface.restPositions.empty() ? surface.positions : surface.restPositions, watch);
    arrange(surface.positions, order, 1, watch);
    arrange(surface.restPositions, order, 1, watch);
    const std::vector<std::uint32_t> places = inverse(order, watch);
    for (Indices* const list : {&surface.corners, &surface.edgePoints}) {
        for (std::uint32_t& index : *list) {
            watch.add(costOfStep);
            index = places[index];
        }
    }
    const std::vector<std::uint32_t> triangles = orderOfTriangles(surface.corners, order.size(), watch);
    for (Indices* const list : {&surface.corners, &surface.cornerNormals, &surface.cornerPaint}) {
        arrange(*list, triangles, 3, watch);
    }
    arrange(surface.triangleParts, triangles, 1, watch);
    const std::vector<std::uint32_t> normals = orderOfUse(surface.cornerNormals, surface.normals.size(), watch);
    arrange(surface.normals, normals, 1, watch);
    arrange(surface.restNormals, normals, 1, watch);
    arrange(surface.paint, orderOfUse(surface.cornerPaint, surface.paint.size(), watch), 1, watch);
    return true;
}

} // namespace kivimport
