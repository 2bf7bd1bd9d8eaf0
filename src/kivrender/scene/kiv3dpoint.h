// A place in space: three doubles, a plain value, in the host model's units.
//
// Points and vectors do not mix by accident: a point and a vector add up to a point, two points differ by a vector, and
// two points can't be added. Units are those of the host's model; nothing converts them. Copies are cheap, all
// operations but transformBy leave the point alone, and none throws.
#ifndef KIVRENDER_SCENE_KIV3DPOINT_H
#define KIVRENDER_SCENE_KIV3DPOINT_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/scene/kiv3dvector.h"

#include <cmath>

class Kiv3DMatrix;

class KIV_API Kiv3DPoint {
public:
    // The origin.
    Kiv3DPoint() = default;
    Kiv3DPoint(double newX, double newY, double newZ) : x(newX), y(newY), z(newZ) {}

    // All three at once.
    void set(double newX, double newY, double newZ) {
        x = newX;
        y = newY;
        z = newZ;
    }

    // Moved along the vector, or against it.
    Kiv3DPoint operator+(const Kiv3DVector& vector) const {
        return {x + vector.x, y + vector.y, z + vector.z};
    }
    Kiv3DPoint operator-(const Kiv3DVector& vector) const {
        return {x - vector.x, y - vector.y, z - vector.z};
    }
    // The way from the other point to this one.
    Kiv3DVector operator-(const Kiv3DPoint& other) const {
        return {x - other.x, y - other.y, z - other.z};
    }
    // The same three numbers as a vector.
    operator Kiv3DVector() const {
        return {x, y, z};
    }

    // Exact comparisons, without a tolerance; the order is by x, then y, then z.
    bool operator==(const Kiv3DPoint& other) const {
        return x == other.x && y == other.y && z == other.z;
    }
    bool operator!=(const Kiv3DPoint& other) const {
        return x != other.x || y != other.y || z != other.z;
    }
    // An order for maps and sorts; NaN has no place in it.
    bool operator<(const Kiv3DPoint& other) const;
    bool operator<=(const Kiv3DPoint& other) const;
    bool operator>(const Kiv3DPoint& other) const;
    bool operator>=(const Kiv3DPoint& other) const;

    // Comparisons with a dead band of tolerance on each axis, in model units. Neither is transitive. A difference of
    // exactly the tolerance counts as equal, and so does one that is not a number.
    bool isEqual(const Kiv3DPoint& other, double tolerance) const {
        return !(std::fabs(x - other.x) > tolerance) && !(std::fabs(y - other.y) > tolerance) &&
               !(std::fabs(z - other.z) > tolerance);
    }
    // By x, then y, then z, where the axes before are equal within the tolerance.
    bool isGreater(const Kiv3DPoint& other, double tolerance) const {
        if (x > other.x + tolerance) {
            return true;
        }
        if (other.x - tolerance > x) {
            return false;
        }
        if (y > other.y + tolerance) {
            return true;
        }
        if (other.y - tolerance > y) {
            return false;
        }
        return z > other.z + tolerance;
    }

    // The distance, guarded against overflow as Kiv3DVector::norm is.
    double distanceTo(const Kiv3DPoint& other) const;
    // The squared distance, without that guard.
    double squaredDistanceTo(const Kiv3DPoint& other) const {
        const double dx = x - other.x;
        const double dy = y - other.y;
        const double dz = z - other.z;
        return dx * dx + dy * dy + dz * dz;
    }

    // Replaces this point by matrix times point, divided by the fourth coordinate. Where that is not above the smallest
    // normal double, negative values included, the coordinates come out infinite or NaN.
    Kiv3DPoint& transformBy(const Kiv3DMatrix& matrix);

    // In model units.
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

// The three stand side by side, so that the address of x serves as an array of three.
static_assert(sizeof(Kiv3DPoint) == 3 * sizeof(double));

#endif
