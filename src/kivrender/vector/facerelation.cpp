#include "kivrender/vector/facerelation.h"

#include <algorithm>
#include <cmath>

namespace {

// Where two faces run through one another by less than this many times the noise, nothing is to be gained by a cut: the
// file does not hold places that exactly.
constexpr double leastCrossing = 16.0;

// How near to its middle line a stroke is compared with an area that this line runs over, in grid steps. A line lies
// on the sides of the areas that it belongs to, or, where those were divided, very nearly.
constexpr double middleReach = 0.35 * ScreenGrid::stepsPerPixel;

ScreenArea commonArea(const ScreenFace& first, const ScreenFace& second) {
    ScreenArea common(first);
    for (int i = 0; i < second.count; ++i)
        common.clip(second.side(i));
    return common;
}

// A stroke without its width, two steps across, and without what its ends add.
ScreenFace middleOf(const ScreenFace& stroke) {
    const ScreenPoint* c = stroke.corners;
    const double acrossX = static_cast<double>(c[3].x) - c[0].x;
    const double acrossY = static_cast<double>(c[3].y) - c[0].y;
    const double width = std::hypot(acrossX, acrossY);
    const double x = acrossX / width;
    const double y = acrossY / width;
    const double inX = 0.5 * width * y;
    const double inY = -0.5 * width * x;
    const auto place = [&](const ScreenPoint& low, const ScreenPoint& high, double in, double across) {
        return ScreenPoint{static_cast<std::int32_t>(std::lround(0.5 * (low.x + high.x) + in * inX + across * x)),
                           static_cast<std::int32_t>(std::lround(0.5 * (low.y + high.y) + in * inY + across * y))};
    };
    ScreenFace middle = stroke;
    // The depth stays that of the stroke, which is a plane through its first corner.
    const ScreenPoint first = place(c[0], c[3], 1, -1);
    middle.depth += middle.slopeX * (first.x - c[0].x) + middle.slopeY * (first.y - c[0].y);
    middle.corners[0] = first;
    middle.corners[1] = place(c[1], c[2], -1, -1);
    middle.corners[2] = place(c[1], c[2], -1, 1);
    middle.corners[3] = place(c[0], c[3], 1, 1);
    middle.reach = static_cast<float>(middleReach);
    return middle;
}

// How much farther an area lies than a stroke. What the middle line does not run over is never crossed: it hides the
// stroke's side or it does not.
bool findStrokeDistance(const ScreenFace& area, const ScreenFace& stroke, ScreenDistance* distance) {
    const ScreenFace middle = middleOf(stroke);
    const ScreenArea along = commonArea(area, middle);
    if (!along.isEmpty() && along.thickness() > 0.75) {
        *distance = distanceOver(along, area, middle);
        return true;
    }
    const ScreenArea beside = commonArea(area, stroke);
    if (beside.isEmpty())
        return false;
    *distance = distanceOver(beside, area, stroke);
    if (distance->order() == ScreenOrder::Crossed)
        distance->least = 0;
    return true;
}

// The depths of two planes differ least and most at corners of the rectangle about what both faces share. Where already
// that says which is nearer, nobody has to know what they share.
FaceRelation relationOfPlanes(const ScreenFace& first, const ScreenFace& second) {
    ScreenPoint low = first.low();
    ScreenPoint high = first.high();
    const ScreenPoint otherLow = second.low();
    const ScreenPoint otherHigh = second.high();
    low = {std::max(low.x, otherLow.x), std::max(low.y, otherLow.y)};
    high = {std::min(high.x, otherHigh.x), std::min(high.y, otherHigh.y)};
    const auto [least, most] = planeDistance(first, second, low, high);
    const double noise = first.noise + second.noise;
    return least > noise ? FaceRelation::Under : most < -noise ? FaceRelation::Over : FaceRelation::Crossed;
}

} // namespace

bool findFaceDistance(const ScreenFace& first, const ScreenFace& second, ScreenDistance* distance) {
    if (first.isApartFrom(second))
        return false;
    if (first.reach == 0.0F && second.reach > 0.0F)
        return findStrokeDistance(first, second, distance);
    if (first.reach > 0.0F && second.reach == 0.0F) {
        if (!findStrokeDistance(second, first, distance))
            return false;
        const double least = distance->least;
        distance->least = -distance->most;
        distance->most = -least;
        return true;
    }
    const ScreenArea common = commonArea(first, second);
    if (common.isEmpty())
        return false;
    *distance = distanceOver(common, first, second);
    return true;
}

FaceRelation relationFromDistance(const ScreenDistance& distance, const ScreenFace& first, const ScreenFace& second) {
    switch (distance.order()) {
    case ScreenOrder::Front:
        return FaceRelation::Over;
    case ScreenOrder::Behind:
        return FaceRelation::Under;
    case ScreenOrder::Level:
        return FaceRelation::Level;
    case ScreenOrder::Crossed:
        break;
    }
    double least = leastCrossing * distance.noise;
    // A crossing that reaches no farther beside its line than a cut can be told is none.
    if (first.reach == 0.0F && second.reach == 0.0F)
        least = std::max(least, faceCutNoise * std::hypot(first.slopeX - second.slopeX, first.slopeY - second.slopeY));
    if (std::min(-distance.least, distance.most) > least)
        return FaceRelation::Crossed;
    return -distance.least > distance.most ? FaceRelation::Over : FaceRelation::Under;
}

FaceRelation relationOfDepths(const ScreenFace& first, const ScreenFace& second) {
    const double noise = first.noise + second.noise;
    if (first.highDepth + noise + handicap(first, second) < second.lowDepth)
        return FaceRelation::Over;
    if (second.highDepth + noise + handicap(second, first) < first.lowDepth)
        return FaceRelation::Under;
    return first.reach == 0.0F && second.reach == 0.0F ? relationOfPlanes(first, second) : FaceRelation::Crossed;
}

FaceRelation faceRelation(const ScreenFace& first, const ScreenFace& second) {
    const FaceRelation relation = relationOfDepths(first, second);
    if (relation != FaceRelation::Crossed)
        return first.isApartFrom(second) ? FaceRelation::Free : relation;
    ScreenDistance distance;
    return findFaceDistance(first, second, &distance) ? relationFromDistance(distance, first, second)
                                                      : FaceRelation::Free;
}

WindowLine meetingLine(const ScreenFace& first, const ScreenFace& second) {
    // Lines are cut where their middle meets the area.
    const double slope =
        first.reach > 0.0F ? std::hypot(second.slopeX, second.slopeY) : std::hypot(first.slopeX, first.slopeY);
    const double lead = first.reach > 0.0F ? -middleReach * slope : second.reach > 0.0F ? middleReach * slope : 0.0;
    const auto depthAtOrigin = [](const ScreenFace& face) {
        return face.depth - face.slopeX * face.corners[0].x - face.slopeY * face.corners[0].y;
    };
    return {(first.slopeX - second.slopeX) * ScreenGrid::stepsPerPixel,
            (first.slopeY - second.slopeY) * ScreenGrid::stepsPerPixel,
            depthAtOrigin(first) - depthAtOrigin(second) + lead + offsetBetween(first, second)};
}
