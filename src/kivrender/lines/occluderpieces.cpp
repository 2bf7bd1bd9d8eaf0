#include "kivrender/lines/occluderpieces.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr float most = std::numeric_limits<float>::max();

float outwards(double value, float towards) {
    return std::nextafter(static_cast<float>(value), towards);
}

} // namespace

OccluderPieces::OccluderPieces(const KivLineView& view, const std::array<KivVec, 3>& triangle)
    : pictureWidth(view.width()), pictureHeight(view.height()), isPerspective(view.isPerspective()) {
    setCorners({view.toPicture(triangle[0]), view.toPicture(triangle[1]), view.toPicture(triangle[2])},
               {triangle[0].z, triangle[1].z, triangle[2].z});
}

OccluderPieces::OccluderPieces(const std::array<KivPicturePoint, 3>& places, const std::array<double, 3>& depths) {
    setCorners(places, depths);
}

void OccluderPieces::setCorners(const std::array<KivPicturePoint, 3>& p, const std::array<double, 3>& depths) {
    const auto [left, right] = std::minmax({p[0].x, p[1].x, p[2].x});
    const auto [bottom, top] = std::minmax({p[0].y, p[1].y, p[2].y});
    box = {outwards(left, -most), outwards(right, most), outwards(bottom, -most), outwards(top, most),
           outwards(std::min({depths[0], depths[1], depths[2]}), -most)};
    isUpright = top - bottom > right - left;
    for (std::size_t i = 0; i < 3; ++i) {
        corners[i] = {isUpright ? p[i].y : p[i].x, isUpright ? p[i].x : p[i].y, depths[i]};
    }
}

OccluderPieces::Slack OccluderPieces::slack() const {
    double farthestOut = 0.0;
    double mostEvenly = 0.0;
    for (const Corner& corner : corners) {
        farthestOut = std::max({farthestOut, std::abs(corner.along), std::abs(corner.across)});
        mostEvenly = std::max(mostEvenly, std::abs(corner.evenly(isPerspective)));
    }
    constexpr double someUlps = 1e-14;
    return {someUlps * farthestOut, someUlps * mostEvenly};
}

std::uint32_t OccluderPieces::wanted() const {
    constexpr double shortest = 8.0; // pixels; a piece gains nothing by being smaller
    const double length = isUpright ? double{box.top} - box.bottom : double{box.right} - box.left;
    const double breadth = isUpright ? double{box.right} - box.left : double{box.top} - box.bottom;
    if (!(breadth > 1.0) || !(length > 2.0 * shortest)) {
        return 1;
    }
    const double twiceArea = std::abs((corners[1].along - corners[0].along) * (corners[2].across - corners[0].across) -
                                      (corners[1].across - corners[0].across) * (corners[2].along - corners[0].along));
    // A piece that is as broad as the sliver is thick has nothing left to gain.
    const double waste = length * breadth / std::max(twiceArea, length);
    const double pieces = std::min({0.5 * waste, length / shortest, double{mostPieces}});
    return pieces > 1.5 ? static_cast<std::uint32_t>(pieces + 0.5) : 1;
}

void OccluderPieces::cut(std::uint32_t count, std::vector<KivOccluderBounds>& boxes, double depthMargin) const {
    const double first = std::min({corners[0].along, corners[1].along, corners[2].along});
    const double last = std::max({corners[0].along, corners[1].along, corners[2].along});
    // What lies outside the picture goes to the pieces at its ends.
    const double begin = std::max(first, std::min(0.0, last));
    const double end = std::min(last, std::max(isUpright ? pictureHeight : pictureWidth, first));
    if (count < 2 || !(end > begin)) {
        boxes.push_back(box);
        return;
    }
    const Slack room = slack();
    double from = first;
    for (std::uint32_t i = 1; i <= count; ++i) {
        const double to = i == count ? last : begin + (end - begin) * i / count;
        boxes.push_back(pieceBetween(from, to, depthMargin, room));
        from = to;
    }
}

// The box of what lies between two lines across the triangle.
KivOccluderBounds OccluderPieces::pieceBetween(double from, double to, double depthMargin, const Slack& room) const {
    double low = std::numeric_limits<double>::infinity();
    double high = -low;
    double nearest = isPerspective ? -low : low;
    const auto include = [&](double across, double evenly) {
        low = std::min(low, across);
        high = std::max(high, across);
        nearest = isPerspective ? std::max(nearest, evenly) : std::min(nearest, evenly);
    };
    for (std::size_t i = 0; i < 3; ++i) {
        const Corner& a = corners[i];
        const Corner& b = corners[(i + 1) % 3];
        const double start = a.evenly(isPerspective);
        const double rise = b.evenly(isPerspective) - start;
        if (from <= a.along && a.along <= to) {
            include(a.across, start);
        }
        for (const double at : {from, to}) {
            if ((a.along < at) != (b.along < at)) {
                const double part = (at - a.along) / (b.along - a.along);
                include(a.across + (b.across - a.across) * part, start + rise * part);
            }
        }
    }
    const double reached = isPerspective ? 1.0 / (nearest + room.evenly) : nearest - room.evenly;
    const float depth = std::max(box.nearest, outwards(reached - depthMargin, -most));
    const float begin = outwards(from - room.place, -most);
    const float end = outwards(to + room.place, most);
    const float under = outwards(low - room.place, -most);
    const float over = outwards(high + room.place, most);
    return isUpright ? KivOccluderBounds{under, over, begin, end, depth}
                     : KivOccluderBounds{begin, end, under, over, depth};
}
