#include "kivrender/scene/kivline.h"

#include <utility>

KivLine::KivLine() = default;

KivLine::KivLine(const Kiv3DPoint& from, const Kiv3DPoint& to) : start(from), end(to) {}

// The shader settings belong to the one object that they were set on, so a copy starts without any.
// NOLINTNEXTLINE(bugprone-copy-constructor-init)
KivLine::KivLine(const KivLine& other) : Kiv3DObject(), start(other.start), end(other.end), hidden(other.hidden) {}

KivLine::~KivLine() = default;

void KivLine::setStart(const Kiv3DPoint& point) {
    start = point;
}

void KivLine::setEnd(const Kiv3DPoint& point) {
    end = point;
}

Kiv3DPoint KivLine::getStart() const {
    return start;
}

Kiv3DPoint KivLine::getEnd() const {
    return end;
}

void KivLine::swap() {
    std::swap(start, end);
}

bool KivLine::operator==(const KivLine& other) const {
    // Only the comparison against the other direction looks at the hidden flag; shaders rely on the difference.
    if (start == other.start && end == other.end) {
        return true;
    }
    return start == other.end && end == other.start && hidden == other.hidden;
}

bool KivLine::hasSimilarDirection(const KivLine& other) const {
    constexpr double degreesPerRadian = 57.29577951308232;
    const double degrees = (end - start).angle(other.end - other.start) * degreesPerRadian;
    // No angle between vectors exceeds 180 degrees; the upper bounds cover angles of a full turn all the same.
    return degrees <= 10.0 || (degrees >= 170.0 && degrees <= 190.0) || degrees >= 350.0;
}

bool KivLine::isHidden() const {
    return hidden;
}

void KivLine::hide() {
    hidden = true;
}
