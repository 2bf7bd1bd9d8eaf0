#include "kivrender/vector/screenface.h"

#include "kivrender/vector/likeprimitives.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

// The step of a depth buffer of single-precision values in its upper half, where nearly all of a picture lies.
constexpr double depthStep = 0x1p-24;

bool isOnGrid(const FeedbackVertex& vertex) {
    // Comparisons that fail for what is not a number.
    return std::fabs(vertex.x) < ScreenGrid::farthest && std::fabs(vertex.y) < ScreenGrid::farthest &&
           std::fabs(vertex.z) < ScreenGrid::farthest;
}

ScreenPoint onGrid(double x, double y) {
    return {static_cast<std::int32_t>(std::lround(x * ScreenGrid::stepsPerPixel)),
            static_cast<std::int32_t>(std::lround(y * ScreenGrid::stepsPerPixel))};
}

// At a constant depth: whatever has too little extent to have slopes.
ScreenFace rectangle(const ScreenPoint& low, const ScreenPoint& high, float depth) {
    ScreenFace face;
    face.corners[0] = low;
    face.corners[1] = {high.x, low.y};
    face.corners[2] = high;
    face.corners[3] = {low.x, high.y};
    face.count = 4;
    face.depth = face.lowDepth = face.highDepth = depth;
    return face;
}

double offsetOf(const ScreenFace& face, const PolygonShift& shift) {
    const double steepest = std::max(std::fabs(face.slopeX), std::fabs(face.slopeY)) * ScreenGrid::stepsPerPixel;
    return shift.slopes * steepest + shift.steps * depthStep;
}

// A triangle too thin for the grid stands for a place about it that may show a hairline, as near as its nearest corner.
ScreenFace sliver(const ScreenPoint (&places)[3], float nearest) {
    ScreenPoint low = places[0];
    ScreenPoint high = places[0];
    for (const ScreenPoint& place : places) {
        low = {std::min(low.x, place.x), std::min(low.y, place.y)};
        high = {std::max(high.x, place.x), std::max(high.y, place.y)};
    }
    return rectangle({low.x - 1, low.y - 1}, {high.x + 1, high.y + 1}, nearest);
}

ScreenFace triangle(const FeedbackVertex& p0, const FeedbackVertex& p1, const FeedbackVertex& p2) {
    const FeedbackVertex* vertices[3] = {&p0, &p1, &p2};
    ScreenPoint places[3];
    for (int i = 0; i < 3; ++i)
        places[i] = onGrid(vertices[i]->x, vertices[i]->y);
    std::int64_t twiceArea = ScreenLine::through(places[0], places[1]).at(places[2]);
    if (twiceArea == 0)
        return sliver(places, std::min({p0.z, p1.z, p2.z}));
    if (twiceArea < 0) {
        std::swap(places[1], places[2]);
        std::swap(vertices[1], vertices[2]);
        twiceArea = -twiceArea;
    }
    ScreenFace face;
    std::copy_n(places, 3, face.corners);
    face.count = 3;
    face.depth = vertices[0]->z;
    const double rise1 = static_cast<double>(vertices[1]->z) - vertices[0]->z;
    const double rise2 = static_cast<double>(vertices[2]->z) - vertices[0]->z;
    const double x1 = places[1].x - places[0].x;
    const double y1 = places[1].y - places[0].y;
    const double x2 = places[2].x - places[0].x;
    const double y2 = places[2].y - places[0].y;
    face.slopeX = (rise1 * y2 - rise2 * y1) / static_cast<double>(twiceArea);
    face.slopeY = (rise2 * x1 - rise1 * x2) / static_cast<double>(twiceArea);
    face.lowDepth = std::min({p0.z, p1.z, p2.z});
    face.highDepth = std::max({p0.z, p1.z, p2.z});
    return face;
}

// The rectangle about a line, longer by half its width at both ends, whatever the ends look like, and by a grid step on
// all sides for the rounding of its corners.
ScreenFace stroke(const FeedbackVertex& start, const FeedbackVertex& end, float width) {
    const double half = (width > 0.0F ? std::min(width, 4096.0F) : 0.0F) * 0.5;
    const double margin = half + 1.0 / ScreenGrid::stepsPerPixel;
    const double length = std::hypot(static_cast<double>(end.x) - start.x, static_cast<double>(end.y) - start.y);
    ScreenFace face;
    if (length < 1.0 / ScreenGrid::stepsPerPixel) {
        face = rectangle(onGrid(start.x - margin, start.y - margin), onGrid(start.x + margin, start.y + margin),
                         std::min(start.z, end.z));
    } else {
        const double alongX = (static_cast<double>(end.x) - start.x) / length;
        const double alongY = (static_cast<double>(end.y) - start.y) / length;
        const double x = alongX * margin;
        const double y = alongY * margin;
        face.count = 4;
        face.corners[0] = onGrid(start.x - x + y, start.y - y - x);
        face.corners[1] = onGrid(end.x + x + y, end.y + y - x);
        face.corners[2] = onGrid(end.x + x - y, end.y + y + x);
        face.corners[3] = onGrid(start.x - x - y, start.y - y + x);
        const double rise = (static_cast<double>(end.z) - start.z) / (length * ScreenGrid::stepsPerPixel);
        face.slopeX = rise * alongX;
        face.slopeY = rise * alongY;
        face.lowDepth = std::min(start.z, end.z);
        face.highDepth = std::max(start.z, end.z);
        face.depth = start.z - rise * margin * ScreenGrid::stepsPerPixel;
    }
    face.reach = static_cast<float>((2.0 * half + 1.0) * ScreenGrid::stepsPerPixel);
    return face;
}

} // namespace

ScreenLine ScreenLine::through(const ScreenPoint& from, const ScreenPoint& to) {
    ScreenLine line;
    line.a = from.y - to.y;
    line.b = to.x - from.x;
    line.c = -(static_cast<std::int64_t>(line.a) * from.x + static_cast<std::int64_t>(line.b) * from.y);
    return line;
}

ScreenPoint ScreenFace::low() const {
    ScreenPoint place = corners[0];
    for (int i = 1; i < count; ++i)
        place = {std::min(place.x, corners[i].x), std::min(place.y, corners[i].y)};
    return place;
}

ScreenPoint ScreenFace::high() const {
    ScreenPoint place = corners[0];
    for (int i = 1; i < count; ++i)
        place = {std::max(place.x, corners[i].x), std::max(place.y, corners[i].y)};
    return place;
}

double ScreenFace::depthAt(double x, double y) const {
    const double plane = depth + slopeX * (x - corners[0].x) + slopeY * (y - corners[0].y);
    return std::clamp<double>(plane, lowDepth, highDepth);
}

double ScreenFace::lowestOver(const ScreenPoint& corner, std::int32_t size) const {
    return depthAt(slopeX < 0 ? static_cast<double>(corner.x) + size : corner.x,
                   slopeY < 0 ? static_cast<double>(corner.y) + size : corner.y);
}

double ScreenFace::highestOver(const ScreenPoint& corner, std::int32_t size) const {
    return depthAt(slopeX > 0 ? static_cast<double>(corner.x) + size : corner.x,
                   slopeY > 0 ? static_cast<double>(corner.y) + size : corner.y);
}

bool ScreenFace::contains(const ScreenFace& other) const {
    for (int i = 0; i < count; ++i) {
        const ScreenLine line = side(i);
        for (int k = 0; k < other.count; ++k) {
            if (line.at(other.corners[k]) < 0)
                return false;
        }
    }
    return true;
}

// Two convex shapes are apart when a side of one of them has the other wholly on its right.
bool ScreenFace::isApartFrom(const ScreenFace& other) const {
    const auto hasSideBetween = [](const ScreenFace& first, const ScreenFace& second) {
        for (int i = 0; i < first.count; ++i) {
            const ScreenLine line = first.side(i);
            int onRight = 0;
            while (onRight < second.count && line.at(second.corners[onRight]) <= 0)
                ++onRight;
            if (onRight == second.count)
                return true;
        }
        return false;
    };
    return hasSideBetween(*this, other) || hasSideBetween(other, *this);
}

bool ScreenFace::meets(const ScreenPoint& corner, std::int32_t size) const {
    const ScreenPoint lowest = low();
    const ScreenPoint highest = high();
    if (highest.x <= corner.x || highest.y <= corner.y || lowest.x >= corner.x + size || lowest.y >= corner.y + size)
        return false;
    for (int i = 0; i < count; ++i) {
        if (side(i).highestOver(corner, size) <= 0)
            return false;
    }
    return true;
}

bool ScreenFace::fills(const ScreenPoint& corner, std::int32_t size) const {
    for (int i = 0; i < count; ++i) {
        if (side(i).lowestOver(corner, size) < 0)
            return false;
    }
    return true;
}

bool addScreenFaces(const FeedbackPrimitive& primitive, std::uint32_t owner, const PolygonShift& shift,
                    std::vector<ScreenFace>& faces) {
    const std::vector<FeedbackVertex>& vertices = primitive.vertices;
    const std::size_t first = faces.size();
    if (!std::all_of(vertices.begin(), vertices.end(), isOnGrid))
        return false;
    if (primitive.type == FeedbackToken::point && !vertices.empty()) {
        faces.push_back(stroke(vertices[0], vertices[0], primitive.pointSize));
    } else if (primitive.type == FeedbackToken::line && vertices.size() >= 2) {
        faces.push_back(stroke(vertices[0], vertices[1], primitive.lineWidth));
    } else if (primitive.type == FeedbackToken::polygon && vertices.size() >= 3) {
        const bool opaque = isOpaque(primitive);
        for (std::size_t i = 1; i + 1 < vertices.size(); ++i) {
            ScreenFace face = triangle(vertices[0], vertices[i], vertices[i + 1]);
            face.covers = opaque && face.count == 3;
            if (primitive.offset) {
                face.isOffset = true;
                face.offset = offsetOf(face, shift);
            }
            faces.push_back(face);
        }
    }
    for (std::size_t i = first; i < faces.size(); ++i) {
        ScreenFace& face = faces[i];
        face.owner = owner;
        face.noise = 0.5 * ScreenGrid::depthNoise + (std::fabs(face.slopeX) + std::fabs(face.slopeY)) * 0x1p-20;
    }
    return faces.size() > first;
}

PlaneDistance planeDistance(const ScreenFace& first, const ScreenFace& second, const ScreenPoint& low,
                            const ScreenPoint& high) {
    const double slopeX = first.slopeX - second.slopeX;
    const double slopeY = first.slopeY - second.slopeY;
    const auto planeAtLow = [&low](const ScreenFace& face) {
        return face.depth + face.slopeX * (static_cast<double>(low.x) - face.corners[0].x) +
               face.slopeY * (static_cast<double>(low.y) - face.corners[0].y);
    };
    const double atLow = planeAtLow(first) - planeAtLow(second) + offsetBetween(first, second);
    const double alongX = slopeX * (static_cast<double>(high.x) - low.x);
    const double alongY = slopeY * (static_cast<double>(high.y) - low.y);
    return {atLow + std::min(alongX, 0.0) + std::min(alongY, 0.0),
            atLow + std::max(alongX, 0.0) + std::max(alongY, 0.0)};
}

double offsetBetween(const ScreenFace& first, const ScreenFace& second) {
    return first.isOffset == second.isOffset ? 0.0 : first.offset - second.offset;
}

double strokeLead(const ScreenFace& front, const ScreenFace& behind) {
    return behind.reach > 0.0F ? behind.reach * std::hypot(front.slopeX, front.slopeY) + ScreenGrid::depthNoise * 16.0
                               : 0.0;
}

double handicap(const ScreenFace& front, const ScreenFace& behind) {
    return strokeLead(front, behind) + offsetBetween(front, behind);
}
