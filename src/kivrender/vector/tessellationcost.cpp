#include "kivrender/vector/tessellationcost.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace {

float coordinate(const FeedbackVertex& vertex, int axis) {
    return axis == 0 ? vertex.x : axis == 1 ? vertex.y : vertex.z;
}

// The order in which the sweep comes to vertices.
using Moment = std::pair<float, float>;

// The tessellator looks along the longest axis of the normal and sweeps along the next one, and then along the last.
Moment momentOf(const FeedbackVertex& vertex, const FeedbackVector& normal) {
    const double x = std::fabs(normal.x);
    const double y = std::fabs(normal.y);
    const double z = std::fabs(normal.z);
    const int longest = x >= y && x >= z ? 0 : y >= z ? 1 : 2;
    return {coordinate(vertex, (longest + 1) % 3), coordinate(vertex, (longest + 2) % 3)};
}

// When the edges of an outline begin and end, and where both edges of a vertex begin.
struct SweptEdges {
    std::vector<Moment> begins;
    std::vector<Moment> ends;
    std::vector<Moment> leftVertices;

    void add(const Moment& before, const Moment& at, const Moment& behind) {
        begins.push_back(std::min(at, behind));
        ends.push_back(std::max(at, behind));
        if (at < before && at < behind)
            leftVertices.push_back(at);
    }
    std::size_t numWalked() {
        std::sort(begins.begin(), begins.end());
        std::sort(ends.begin(), ends.end());
        std::size_t walked = 0;
        for (const Moment& left : leftVertices) {
            const auto begun = std::lower_bound(begins.begin(), begins.end(), left) - begins.begin();
            const auto ended = std::upper_bound(ends.begin(), ends.end(), left) - ends.begin();
            walked += static_cast<std::size_t>(std::max<std::ptrdiff_t>(begun - ended, 0));
        }
        return walked;
    }
};

} // namespace

bool TessellationCost::isLow(const std::vector<FeedbackVertex*>& vertices, const std::vector<int>& contourEnds,
                             const FeedbackVector& normal) {
    if (vertices.size() > mostVertices)
        return false;
    SweptEdges edges;
    int start = 0;
    for (const int end : contourEnds) {
        const auto at = [&](int place) {
            const int size = end - start;
            return momentOf(*vertices[static_cast<std::size_t>(start + (place + size) % size)], normal);
        };
        for (int place = 0; place < end - start; ++place)
            edges.add(at(place - 1), at(place), at(place + 1));
        start = end;
    }
    return edges.numWalked() <= mostWalked;
}
