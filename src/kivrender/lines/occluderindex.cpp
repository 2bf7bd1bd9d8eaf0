#include "kivrender/lines/occluderindex.h"

#include "kivrender/lines/curveorder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace {

constexpr KivOccluderBounds nothing = {std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity(),
                                       std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity(),
                                       std::numeric_limits<float>::infinity()};

void include(KivOccluderBounds& all, const KivOccluderBounds& one) {
    all.left = std::min(all.left, one.left);
    all.right = std::max(all.right, one.right);
    all.bottom = std::min(all.bottom, one.bottom);
    all.top = std::max(all.top, one.top);
    all.nearest = std::min(all.nearest, one.nearest);
}

float below(double value) {
    const auto narrow = static_cast<float>(value);
    return static_cast<double>(narrow) > value ? std::nextafter(narrow, -std::numeric_limits<float>::infinity())
                                               : narrow;
}

float above(double value) {
    return -below(-value);
}

} // namespace

bool OccluderIndex::build(const std::vector<KivOccluderBounds>& entries) {
    drop();
    KivOccluderBounds all = nothing;
    float farthest = -std::numeric_limits<float>::infinity();
    for (const KivOccluderBounds& entry : entries) {
        include(all, entry);
        farthest = std::max(farthest, entry.nearest);
    }
    std::vector<std::array<float, 3>> places(entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (kivIsCancelledAt(i)) {
            return false;
        }
        const KivOccluderBounds& e = entries[i];
        places[i] = {0.5F * (e.left + e.right), 0.5F * (e.bottom + e.top), e.nearest};
    }
    if (!kivCurveOrder(places, {all.left, all.bottom, all.nearest}, {all.right, all.top, farthest}, order)) {
        return drop();
    }
    boxes.resize(order.size());
    for (std::size_t i = 0; i < order.size(); ++i) {
        if (kivIsCancelledAt(i)) {
            return drop();
        }
        boxes[i] = entries[order[i]];
    }
    return buildLevels();
}

bool OccluderIndex::buildLevels() {
    const std::vector<KivOccluderBounds>* from = &boxes;
    std::size_t together = leafSize;
    while (from->size() > 1 || levels.empty()) {
        if (from->empty()) {
            return true;
        }
        std::vector<KivOccluderBounds> level((from->size() + together - 1) / together, nothing);
        for (std::size_t i = 0; i < from->size(); ++i) {
            if (kivIsCancelledAt(i)) {
                return drop();
            }
            include(level[i / together], (*from)[i]);
        }
        levels.push_back(std::move(level));
        from = &levels.back();
        together = 2;
    }
    return true;
}

bool OccluderIndex::drop() {
    order.clear();
    boxes.clear();
    levels.clear();
    return false;
}

OccluderIndex::Line OccluderIndex::lineOf(const Segment& segment) {
    const auto [x0, y0, x1, y1, depth0, depth1] = segment;
    Line line{};
    line.left = below(std::min(x0, x1));
    line.right = above(std::max(x0, x1));
    line.bottom = below(std::min(y0, y1));
    line.top = above(std::max(y0, y1));
    const double length = std::hypot(x1 - x0, y1 - y0);
    const double a = length > 0.0 ? (y0 - y1) / length : 0.0;
    const double b = length > 0.0 ? (x1 - x0) / length : 0.0;
    line.a = static_cast<float>(a);
    line.b = static_cast<float>(b);
    line.c = static_cast<float>(-(a * x0 + b * y0));
    line.slack = static_cast<float>(1e-6 * (1.0 + std::fabs(x0) + std::fabs(y0) + std::fabs(x1) + std::fabs(y1)));
    const double farthest = std::max(depth0, depth1);
    line.farthest = above(farthest);
    line.isUpright = std::fabs(y1 - y0) > std::fabs(x1 - x0);
    line.from = line.isUpright ? line.bottom : line.left;
    line.to = line.isUpright ? line.top : line.right;
    const double way = line.isUpright ? y1 - y0 : x1 - x0;
    const double rise = way != 0.0 ? (depth1 - depth0) / way : 0.0;
    // Room for what rounding to floats comes to, also of a rise over a segment of next to no length.
    constexpr double roundings = 1e-5;
    const double room = roundings * (std::fabs(depth0) + std::fabs(depth1)) +
                        std::fabs(rise) * roundings * (std::fabs(x0) + std::fabs(y0) + std::fabs(x1) + std::fabs(y1));
    line.rise = static_cast<float>(rise);
    line.depth = above((way > 0.0 ? depth0 : way < 0.0 ? depth1 : farthest) + room);
    if (!std::isfinite(line.rise) || !std::isfinite(line.depth)) {
        line.rise = 0.0F;
        line.depth = line.farthest;
    }
    return line;
}

bool OccluderIndex::meets(const KivOccluderBounds& box, const Line& line) {
    if (box.left > line.right || box.right < line.left || box.bottom > line.top || box.top < line.bottom ||
        box.nearest > line.farthest) {
        return false;
    }
    // The corners of the box on either side of the line.
    const float x = 0.5F * (box.left + box.right);
    const float y = 0.5F * (box.bottom + box.top);
    const float reach =
        0.5F * (std::fabs(line.a) * (box.right - box.left) + std::fabs(line.b) * (box.top - box.bottom));
    if (!(std::fabs(line.a * x + line.b * y + line.c) <= reach * 1.00001F + line.slack * 4.0F)) {
        return false;
    }
    // Where the segment is farthest away above or below the box.
    const float low = std::max(line.from, line.isUpright ? box.bottom : box.left);
    const float high = std::min(line.to, line.isUpright ? box.top : box.right);
    return box.nearest <= line.depth + line.rise * ((line.rise > 0.0F ? high : low) - line.from);
}
