#include "kivrender/vector/trianglecover.h"

#include "kivrender/vector/feedbackvector.h"
#include "kivrender/vector/workpoll.h"

#include <cmath>

namespace {

double areaOf(const FeedbackVertex& a, const FeedbackVertex& b, const FeedbackVertex& c) {
    const FeedbackVector u(static_cast<double>(b.x) - a.x, static_cast<double>(b.y) - a.y,
                           static_cast<double>(b.z) - a.z);
    const FeedbackVector v(static_cast<double>(c.x) - a.x, static_cast<double>(c.y) - a.y,
                           static_cast<double>(c.z) - a.z);
    const FeedbackVector normal = u.cross(v);
    return std::sqrt(normal.dot(normal)) / 2.0;
}

} // namespace

bool TriangleCover::hasSameArea(std::span<SweepTriangle* const> triangles, std::span<FeedbackPrimitive* const> pieces) {
    constexpr double tolerance = 1e-3;
    double before = 0.0;
    for (const SweepTriangle* triangle : triangles)
        before += areaOf(triangle->vertices[0], triangle->vertices[1], triangle->vertices[2]);
    double after = 0.0;
    for (const FeedbackPrimitive* piece : pieces)
        after += areaOf(piece->vertices[0], piece->vertices[1], piece->vertices[2]);
    // A triangle without area has nothing to lose.
    return std::fabs(after - before) <= tolerance * before;
}

bool TriangleCover::appendCopies(std::span<SweepTriangle* const> triangles, FeedbackPrimitiveList& list,
                                 WorkPoll& poll) {
    for (const SweepTriangle* triangle : triangles) {
        auto* const copy = new FeedbackPrimitive;
        list.push_back(copy);
        copy->vertices.assign(triangle->vertices, triangle->vertices + 3);
        copy->vertexCount = 3;
        if (poll.isCancelled(100))
            return false;
    }
    return true;
}
