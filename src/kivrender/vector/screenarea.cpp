#include "kivrender/vector/screenarea.h"

#include <algorithm>

namespace {

// Grid places have 28 bits, so the constants of lines have 57 and the products below 115.
__extension__ using Wide = __int128;

// The point in which two lines meet is (x / w, y / w). For two sides of an area, one behind the other, w is above 0.
struct Meeting {
    Wide x;
    Wide y;
    std::int64_t w;

    Meeting(const ScreenLine& first, const ScreenLine& second)
        : x(static_cast<Wide>(first.b) * second.c - static_cast<Wide>(second.b) * first.c),
          y(static_cast<Wide>(second.a) * first.c - static_cast<Wide>(first.a) * second.c),
          w(static_cast<std::int64_t>(first.a) * second.b - static_cast<std::int64_t>(second.a) * first.b) {}
};

} // namespace

ScreenArea::ScreenArea(const ScreenFace& face) : count(face.count) {
    for (int i = 0; i < count; ++i)
        sides[i] = face.side(i);
}

ScreenArea::Place ScreenArea::corner(int number) const {
    const Meeting meeting(sides[number], sides[number + 1 < count ? number + 1 : 0]);
    const double w = static_cast<double>(meeting.w);
    return {static_cast<double>(meeting.x) / w, static_cast<double>(meeting.y) / w};
}

double ScreenArea::thickness() const {
    if (isEmpty())
        return 0;
    const Place origin = corner(0);
    Place low = origin;
    Place high = origin;
    double twiceArea = 0;
    Place before = origin;
    for (int i = 1; i < count; ++i) {
        const Place here = corner(i);
        low = {std::min(low.x, here.x), std::min(low.y, here.y)};
        high = {std::max(high.x, here.x), std::max(high.y, here.y)};
        twiceArea += (before.x - origin.x) * (here.y - origin.y) - (here.x - origin.x) * (before.y - origin.y);
        before = here;
    }
    const double longer = std::max(high.x - low.x, high.y - low.y);
    return longer > 0 ? 0.5 * twiceArea / longer : 0;
}

ScreenArea::Sides ScreenArea::sidesOfCorners(const ScreenLine& line) const {
    Sides corners;
    for (int i = 0; i < count; ++i) {
        const Meeting meeting(sides[i], sides[i + 1 < count ? i + 1 : 0]);
        const Wide value = meeting.x * line.a + meeting.y * line.b + static_cast<Wide>(line.c) * meeting.w;
        corners.of[i] = static_cast<std::int8_t>(value > 0 ? 1 : value < 0 ? -1 : 0);
        corners.anyLeft = corners.anyLeft || value > 0;
        corners.anyRight = corners.anyRight || value < 0;
    }
    return corners;
}

// Leaves what lies where the corners have that sign. The line has it on its left.
bool ScreenArea::keep(const Sides& corners, int sign, const ScreenLine& line) {
    // Side i runs from corner i - 1 to corner i. The sides with a part to keep stand together, and the line follows the
    // last of them.
    ScreenLine kept[mostSides + 1];
    int numKept = 0;
    for (int i = 0; i < count; ++i) {
        const bool before = corners.of[i > 0 ? i - 1 : count - 1] == sign;
        const bool here = corners.of[i] == sign;
        if (before || here) {
            kept[numKept++] = sides[i];
            if (!here)
                kept[numKept++] = line;
        }
    }
    if (numKept > mostSides)
        return false;
    std::copy_n(kept, numKept, sides);
    count = numKept;
    return true;
}

bool ScreenArea::clip(const ScreenLine& line) {
    const Sides corners = sidesOfCorners(line);
    if (!corners.anyLeft)
        count = 0;
    return !corners.anyLeft || !corners.anyRight || keep(corners, 1, line);
}

bool ScreenArea::split(const ScreenLine& line, ScreenArea& onRight) {
    const Sides corners = sidesOfCorners(line);
    if (!corners.anyRight || !corners.anyLeft) {
        onRight.count = 0;
        if (!corners.anyLeft)
            std::swap(onRight, *this);
        return true;
    }
    onRight = *this;
    return onRight.keep(corners, -1, line.reversed()) && keep(corners, 1, line);
}

bool ScreenArea::clip(const ScreenPoint& corner, std::int32_t size) {
    const std::int64_t x = corner.x;
    const std::int64_t y = corner.y;
    return clip(ScreenLine{1, 0, -x}) && clip(ScreenLine{-1, 0, x + size}) && clip(ScreenLine{0, 1, -y}) &&
           clip(ScreenLine{0, -1, y + size});
}

ScreenOrder ScreenDistance::order() const {
    if (least < -noise)
        return most > noise ? ScreenOrder::Crossed : ScreenOrder::Front;
    return most > noise ? ScreenOrder::Behind : ScreenOrder::Level;
}

ScreenDistance distanceOver(const ScreenArea& area, const ScreenFace& first, const ScreenFace& second) {
    ScreenDistance distance;
    distance.noise = first.noise + second.noise;
    const double lead = strokeLead(first, second) - strokeLead(second, first) + offsetBetween(first, second);
    for (int i = 0; i < area.numCorners(); ++i) {
        const ScreenArea::Place place = area.corner(i);
        const double here = first.depthAt(place.x, place.y) - second.depthAt(place.x, place.y) + lead;
        distance.least = i == 0 ? here : std::min(distance.least, here);
        distance.most = i == 0 ? here : std::max(distance.most, here);
    }
    return distance;
}
