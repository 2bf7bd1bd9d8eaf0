#include "kivrender/scene/kiv3dpoint.h"

#include "kivrender/scene/kiv3dmatrix.h"

#include <cfloat>
#include <limits>

bool Kiv3DPoint::operator<(const Kiv3DPoint& other) const {
    if (x < other.x) {
        return true;
    }
    if (x > other.x) {
        return false;
    }
    if (y < other.y) {
        return true;
    }
    if (y > other.y) {
        return false;
    }
    return z < other.z;
}

bool Kiv3DPoint::operator<=(const Kiv3DPoint& other) const {
    if (x < other.x) {
        return true;
    }
    if (x > other.x) {
        return false;
    }
    if (y < other.y) {
        return true;
    }
    if (y > other.y) {
        return false;
    }
    return z <= other.z;
}

bool Kiv3DPoint::operator>(const Kiv3DPoint& other) const {
    if (x > other.x) {
        return true;
    }
    if (x < other.x) {
        return false;
    }
    if (y > other.y) {
        return true;
    }
    if (y < other.y) {
        return false;
    }
    return z > other.z;
}

bool Kiv3DPoint::operator>=(const Kiv3DPoint& other) const {
    if (x > other.x) {
        return true;
    }
    if (x < other.x) {
        return false;
    }
    if (y > other.y) {
        return true;
    }
    if (y < other.y) {
        return false;
    }
    return z >= other.z;
}

double Kiv3DPoint::distanceTo(const Kiv3DPoint& other) const {
    return (*this - other).norm();
}

Kiv3DPoint& Kiv3DPoint::transformBy(const Kiv3DMatrix& matrix) {
    const auto& m = matrix.elements;
    const auto row = [&](int r) { return m[r][0] * x + m[r][1] * y + m[r][2] * z + m[r][3]; };
    const double w = row(3);
    // A point on or behind the plane of the eye goes to infinity, whichever side it comes from.
    const double factor = w > DBL_MIN ? 1.0 / w : std::numeric_limits<double>::infinity();
    const double newX = row(0) * factor;
    const double newY = row(1) * factor;
    const double newZ = row(2) * factor;
    set(newX, newY, newZ);
    return *this;
}
