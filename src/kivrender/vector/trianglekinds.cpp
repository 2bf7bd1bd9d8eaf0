#include "kivrender/vector/trianglekinds.h"

#include "kivrender/vector/averagecolour.h"
#include "kivrender/vector/prefetch.h"
#include "kivrender/vector/vertexcells.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>

namespace {

// Numbers the sets of attributes that polygons have.
class AttributeSets {
public:
    int numberOf(const FeedbackPrimitive& each) {
        // Most triangles have the attributes of the one before.
        if (last != nullptr && samePolygonAttributes(*last, each))
            return lastNumber;
        const auto key = std::tuple(each.offset, each.boundary, each.blend, each.stipplePattern, each.stippleFactor,
                                    each.blendSource, each.blendDestination);
        last = &each;
        lastNumber = known.try_emplace(key, static_cast<int>(known.size())).first->second;
        return lastNumber;
    }

private:
    std::map<std::tuple<bool, bool, bool, std::uint16_t, std::int32_t, std::int32_t, std::int32_t>, int> known;
    const FeedbackPrimitive* last = nullptr;
    int lastNumber = 0;
};

// Cells are wider than twice the reach, so that a value has at most two around it, and mostly one.
struct CellSize {
    double width;
    double reach;
};
constexpr CellSize colourCells{1e-5, 1.01e-7};
// Unit vectors whose product is within 1e-6 of 1 are no more than 0.0014143 apart.
constexpr CellSize normalCells{0.03, 0.00142};

double cellOf(double value, double width) {
    // Moves round values, such as the components of an axis, off the borders of cells.
    constexpr double shift = 0.3819660112501051;
    return std::floor(value / width + shift);
}

void appendCell(std::vector<std::uint64_t>& keys, double value, CellSize size, bool around) {
    const double reach = around ? size.reach : 0.0;
    const double low = cellOf(value - reach, size.width);
    const double high = cellOf(value + reach, size.width);
    const std::size_t count = keys.size();
    for (std::size_t i = 0; i < count; ++i) {
        if (high != low)
            keys.push_back(VertexCells::keyWith(keys[i], high));
        keys[i] = VertexCells::keyWith(keys[i], low);
    }
}

// With around, the keys of all kinds within the tolerances.
void collect(int attributes, const std::array<double, 4>& colour, const FeedbackVector& normal, bool around,
             std::vector<std::uint64_t>& keys) {
    keys.assign(1, VertexCells::keyWith(0, attributes));
    for (const double component : colour)
        appendCell(keys, component, colourCells, around);
    // Both senses of a normal are one plane.
    for (const double component : {normal.x, normal.y, normal.z})
        appendCell(keys, std::fabs(component), normalCells, around);
}

} // namespace

TriangleKinds::TriangleKinds(const std::vector<SweepTriangle*>& sweep, const FeedbackPrimitiveList& primitives)
    : triangles(sweep), painted(primitives) {}

bool TriangleKinds::compute(WorkPoll& poll) {
    AttributeSets sets;
    std::vector<std::uint64_t> own;
    kinds.reserve(triangles.size());
    keys.reserve(triangles.size());
    for (std::size_t i = 0; i < triangles.size(); ++i) {
        prefetchAhead(painted, i, 32);
        if (i + 16 < painted.size())
            prefetch(painted[i + 16]->vertices.data());
        const FeedbackVertex* vertices = triangles[i]->vertices;
        kinds.push_back({averageColour(*painted[i]), FeedbackPlane(vertices[0], vertices[1], vertices[2]).normal,
                         sets.numberOf(*painted[i])});
        const Kind& kind = kinds.back();
        collect(kind.attributes, kind.colour, kind.normal, false, own);
        const bool isFinite = VertexCells::isFinite(kind.normal) &&
                              std::all_of(kind.colour.begin(), kind.colour.end(),
                                          [](double component) { return std::isfinite(component); });
        keys.push_back(!isFinite ? alone : own.front() == alone ? alone + 1 : own.front());
        if (poll.isCancelled(300))
            return false;
    }
    return true;
}

void TriangleKinds::collectKeys(int triangle, std::vector<std::uint64_t>& around) const {
    const Kind& kind = kinds[static_cast<std::size_t>(triangle)];
    collect(kind.attributes, kind.colour, kind.normal, true, around);
    std::replace(around.begin(), around.end(), alone, alone + 1);
}

bool TriangleKinds::belongs(int triangle, int seed, const FeedbackPlane& plane) const {
    const Kind& kind = kinds[static_cast<std::size_t>(triangle)];
    const Kind& wanted = kinds[static_cast<std::size_t>(seed)];
    return kind.attributes == wanted.attributes && sameAverageColour(wanted.colour, kind.colour) &&
           plane.isCoplanar(*triangles[static_cast<std::size_t>(triangle)], kind.normal);
}
