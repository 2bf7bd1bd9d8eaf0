#include "kivrender/scene/kivbox.h"

#include <algorithm>

bool KivBox::isInside(Kiv3DPoint point) const {
    return !(xMin > point.x || point.x > xMax || yMin > point.y || point.y > yMax || zMin > point.z || point.z > zMax);
}

double KivBox::diagonalDistance() const {
    return Kiv3DPoint(xMax, yMax, zMax).distanceTo(Kiv3DPoint(xMin, yMin, zMin));
}

double KivBox::minDistance() const {
    return std::min({getXSize(), getYSize(), getZSize()});
}
