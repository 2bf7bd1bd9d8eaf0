#include "kivrender/lines/calmpatches.h"

#include "kivrender/geometry/kivarccosine.h"
#include "kivrender/lines/curveorder.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>
#include <utility>

namespace {

constexpr double widest = 1.2; // half of the widest cone, in radians: well below a right angle
constexpr double wild = std::numbers::pi;

double angleBetween(const KivVec& a, const KivVec& b) {
    return kivArcCosine(kivDot(a, b));
}

} // namespace

// The triangles of a run while they are joined to patches.
struct CalmPatches::Run {
    static constexpr std::size_t slots = 512;
    struct Slot {
        std::uint64_t edge = 0;
        std::uint32_t stamp = 0;
        std::uint8_t triangle = 0;
        std::uint8_t count = 0;
        bool forwards = false;
    };

    std::array<Slot, slots> table;
    std::uint32_t stamp = 0;
    std::array<std::uint8_t, runSize> parent{};
    std::array<bool, runSize> isWild{};
    std::array<KivVec, runSize> normals;
    std::vector<std::uint32_t> used; // slots

    std::uint8_t find(std::uint8_t i) {
        while (parent[i] != i) {
            parent[i] = parent[parent[i]];
            i = parent[i];
        }
        return i;
    }
    void add(std::uint8_t triangle, std::uint32_t from, std::uint32_t to) {
        const auto [low, high] = std::minmax(from, to);
        const std::uint64_t edge = static_cast<std::uint64_t>(low) << 32U | high;
        std::size_t at = (edge * 0x9E3779B97F4A7C15ULL) >> 55U;
        while (table[at].stamp == stamp && table[at].edge != edge) {
            at = (at + 1) % slots;
        }
        Slot& slot = table[at];
        const bool forwards = from == low;
        if (slot.stamp != stamp) {
            slot = {edge, stamp, triangle, 1, forwards};
            used.push_back(static_cast<std::uint32_t>(at));
            return;
        }
        ++slot.count;
        if (slot.count > 2 || slot.forwards == forwards) {
            isWild[triangle] = isWild[slot.triangle] = true;
        }
        const std::uint8_t a = find(triangle);
        const std::uint8_t b = find(slot.triangle);
        parent[std::max(a, b)] = std::min(a, b);
    }
};

bool CalmPatches::find(const std::vector<KivVec>& points, const std::vector<Corners>& triangles) {
    patches.resize(triangles.size());
    Run run;
    for (std::size_t first = 0; first < triangles.size(); first += runSize) {
        if (kivIsCancelledAt(first)) {
            return false;
        }
        addRun(points, triangles, first, std::min(first + runSize, triangles.size()), run);
    }
    return findNeighbours(points.size());
}

void CalmPatches::addRun(const std::vector<KivVec>& points, const std::vector<Corners>& triangles, std::size_t first,
                         std::size_t end, Run& run) {
    const auto count = static_cast<std::uint8_t>(end - first);
    ++run.stamp;
    run.used.clear();
    for (std::uint8_t i = 0; i < count; ++i) {
        run.parent[i] = i;
        run.isWild[i] = false;
    }
    for (std::uint8_t i = 0; i < count; ++i) {
        const Corners& t = triangles[first + i];
        run.normals[i] = kivUnit(kivCross(points[t[1]] - points[t[0]], points[t[2]] - points[t[0]]));
        run.isWild[i] = run.isWild[i] || kivDot(run.normals[i], run.normals[i]) == 0.0;
        run.add(i, t[0], t[1]);
        run.add(i, t[1], t[2]);
        run.add(i, t[2], t[0]);
    }
    const auto firstPatch = static_cast<std::uint32_t>(cones.size());
    std::array<std::uint32_t, runSize> numbers{};
    for (std::uint8_t i = 0; i < count; ++i) {
        const std::uint8_t root = run.find(i);
        if (root == i) {
            numbers[i] = static_cast<std::uint32_t>(cones.size());
            cones.push_back({});
        }
        patches[first + i] = numbers[root];
        Cone& cone = cones[numbers[root]];
        cone.axis = cone.axis + run.normals[i];
        cone.angle = run.isWild[i] ? wild : cone.angle;
    }
    for (std::size_t patch = firstPatch; patch < cones.size(); ++patch) {
        cones[patch].axis = kivUnit(cones[patch].axis);
    }
    std::array<double, runSize> cosines{}; // of each patch, the smallest: one arc cosine is cheaper than many
    cosines.fill(1.0);
    for (std::uint8_t i = 0; i < count; ++i) {
        const std::uint32_t patch = patches[first + i];
        double& cosine = cosines[patch - firstPatch];
        cosine = std::min(cosine, kivDot(cones[patch].axis, run.normals[i]));
    }
    for (std::size_t patch = firstPatch; patch < cones.size(); ++patch) {
        cones[patch].angle = std::max(cones[patch].angle, kivArcCosine(cosines[patch - firstPatch]));
    }
    for (const std::uint32_t slot : run.used) {
        const Run::Slot& side = run.table[slot];
        if (side.count == 1) {
            sides.push_back({static_cast<std::uint32_t>(side.edge >> 32U), static_cast<std::uint32_t>(side.edge),
                             patches[first + side.triangle], side.forwards});
        }
    }
}

bool CalmPatches::areCalm(const Cone& one, const Cone& other) const {
    if (one.angle > widest || other.angle > widest) {
        return false;
    }
    const KivVec axis = kivUnit(one.axis + other.axis);
    return angleBetween(axis, one.axis) + one.angle < widest && angleBetween(axis, other.axis) + other.angle < widest;
}

// Brings equal edges together: lays the sides out by their higher point, then by their lower one (counting sort; Knuth,
// The Art of Computer Programming, volume 3, 1973, section 5.2).
bool CalmPatches::sortSides(std::size_t numPoints) {
    std::vector<Side> sorted(sides.size());
    std::vector<std::uint32_t> next;
    for (std::uint32_t Side::*const end : {&Side::high, &Side::low}) {
        next.assign(numPoints + 1, 0);
        for (const Side& side : sides) {
            ++next[side.*end + 1];
        }
        std::partial_sum(next.begin(), next.end(), next.begin());
        for (std::size_t i = 0; i < sides.size(); ++i) {
            if (kivIsCancelledAt(i)) {
                return false;
            }
            sorted[next[sides[i].*end]++] = sides[i];
        }
        sides.swap(sorted);
    }
    return true;
}

// Patches that meet along an edge.
bool CalmPatches::findNeighbours(std::size_t numPoints) {
    if (kivIsCancelledAt(0)) {
        return false;
    }
    if (!sortSides(numPoints)) {
        return false;
    }
    std::vector<std::pair<std::uint32_t, std::uint32_t>> pairs;
    for (std::size_t first = 0; first < sides.size();) {
        std::size_t end = first + 1;
        while (end < sides.size() && sides[end].low == sides[first].low && sides[end].high == sides[first].high) {
            ++end;
        }
        if (end - first == 2 && sides[first].forwards != sides[first + 1].forwards) {
            pairs.emplace_back(std::minmax(sides[first].patch, sides[first + 1].patch));
        } else if (end - first > 1) {
            for (std::size_t i = first; i < end; ++i) {
                cones[sides[i].patch].angle = wild;
            }
        }
        first = end;
    }
    std::vector<Side>().swap(sides); // an empty list, assigned, would keep the memory
    if (kivIsCancelledAt(0)) {
        return false;
    }
    std::sort(pairs.begin(), pairs.end());
    pairs.erase(std::unique(pairs.begin(), pairs.end()), pairs.end());
    starts.assign(cones.size() + 1, 0);
    for (const auto& [one, other] : pairs) {
        if (one != other && areCalm(cones[one], cones[other])) {
            neighbours.push_back(other);
            ++starts[one + 1];
        }
    }
    for (std::size_t i = 1; i < starts.size(); ++i) {
        starts[i] += starts[i - 1];
    }
    return true;
}

bool CalmPatches::keepApart(std::uint32_t one, std::uint32_t other) const {
    if (one == other) {
        return cones[one].angle <= widest;
    }
    const auto [low, high] = std::minmax(one, other);
    const auto begin = neighbours.begin() + static_cast<std::ptrdiff_t>(starts[low]);
    const auto end = neighbours.begin() + static_cast<std::ptrdiff_t>(starts[low + 1]);
    return std::find(begin, end, high) != end;
}
