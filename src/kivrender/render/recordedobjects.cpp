#include "kivrender/render/recordedobjects.h"

#include "kivrender/scene/kivprogress.h"
#include "kivrender/vector/libraryfeedback.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr std::size_t vertexFloats = 7;
constexpr std::size_t itemsPerPoll = 4096;
// In pixels: what is joined has its corners moved a little.
constexpr float margin = 0.01F;

} // namespace

bool RecordedObjects::read(std::span<const float> recorded) {
    LibraryFeedback feedback(recorded);
    FeedbackItem item;
    std::vector<KivOccluderBounds> bounds;
    for (std::size_t i = 0; feedback.next(item); ++i) {
        if (i % itemsPerPoll == 0 && kivIsCancelled()) {
            return false;
        }
        if (item.token != FeedbackToken::polygon || item.count < 3) {
            continue;
        }
        polygons.push_back({item.vertices, item.count, feedback.state().object});
        KivOccluderBounds box = {item.vertices[0], item.vertices[0], item.vertices[1], item.vertices[1], 0.0F};
        for (int k = 1; k < item.count; ++k) {
            const float* const v = item.vertices + vertexFloats * static_cast<std::size_t>(k);
            box = {std::min(box.left, v[0]), std::max(box.right, v[0]), std::min(box.bottom, v[1]),
                   std::max(box.top, v[1]), 0.0F};
        }
        bounds.push_back({box.left - margin, box.right + margin, box.bottom - margin, box.top + margin, 0.0F});
    }
    return index.build(bounds);
}

// By the triangles about the first corner.
bool RecordedObjects::depthAt(const Polygon& polygon, double x, double y, double* depth) {
    const float* const a = polygon.vertices;
    for (int i = 2; i < polygon.count; ++i) {
        const float* const b = a + vertexFloats * static_cast<std::size_t>(i - 1);
        const float* const c = a + vertexFloats * static_cast<std::size_t>(i);
        const double x1 = static_cast<double>(b[0]) - a[0];
        const double y1 = static_cast<double>(b[1]) - a[1];
        const double x2 = static_cast<double>(c[0]) - a[0];
        const double y2 = static_cast<double>(c[1]) - a[1];
        const double area = x1 * y2 - x2 * y1;
        const double u = ((x - a[0]) * y2 - (y - a[1]) * x2) / area;
        const double v = (x1 * (y - a[1]) - y1 * (x - a[0])) / area;
        const double slack =
            margin * (std::fabs(x1) + std::fabs(y1) + std::fabs(x2) + std::fabs(y2)) / std::max(std::fabs(area), 1e-12);
        if (u >= -slack && v >= -slack && u + v <= 1.0 + slack) {
            *depth = a[2] + u * (static_cast<double>(b[2]) - a[2]) + v * (static_cast<double>(c[2]) - a[2]);
            return true;
        }
    }
    return false;
}

std::uint32_t RecordedObjects::objectOf(const FeedbackPrimitive& face) const {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    for (const FeedbackVertex& v : face.vertices) {
        x += v.x;
        y += v.y;
        z += v.z;
    }
    const auto corners = static_cast<double>(face.vertices.size());
    double least = std::numeric_limits<double>::infinity();
    std::uint32_t best = 0;
    std::uint32_t object = 0;
    index.probe(x / corners, y / corners, [&](std::uint32_t number) {
        double depth = 0.0;
        if (depthAt(polygons[number], x / corners, y / corners, &depth)) {
            const double distance = std::fabs(depth - z / corners);
            if (distance < least || (distance == least && number < best)) {
                least = distance;
                best = number;
                object = polygons[number].object;
            }
        }
        return std::numeric_limits<double>::infinity();
    });
    return object;
}
