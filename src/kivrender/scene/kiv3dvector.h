// A direction or displacement in space: three doubles, a plain value. Lengths are in the host model's units, angles in
// radians.
//
// The spelling of normalice is that of the interface. A vector has no place: it is what leads from one Kiv3DPoint to
// another. Operations take and give values, and none throws; only those that say "in place" change the vector itself.
#ifndef KIVRENDER_SCENE_KIV3DVECTOR_H
#define KIVRENDER_SCENE_KIV3DVECTOR_H

#include "kivrender/platform/kivexport.h"

class KIV_API Kiv3DVector {
public:
    // The zero vector.
    Kiv3DVector() = default;
    Kiv3DVector(double newX, double newY, double newZ) : x(newX), y(newY), z(newZ) {}

    // The length, guarded against overflow and underflow of the squares: 0.0 where no component exceeds the smallest
    // normal double, the largest component itself where that is not finite.
    double norm() const;
    // Makes this vector unit length. A vector no longer than DBL_EPSILON stays as it is; that is not a failure.
    void normalice();
    // A normaliced copy.
    Kiv3DVector normal() const;
    // Cosine of the angle to the other vector, not clamped. 1.0 if either is shorter than DBL_EPSILON: a vector of no
    // length points the same way as anything.
    double cosAngle(const Kiv3DVector& other) const;
    // The angle to the other vector, 0 to pi.
    double angle(const Kiv3DVector& other) const;
    // Negates all three components in place.
    void reverse() {
        x = -x;
        y = -y;
        z = -z;
    }

    // Component by component.
    Kiv3DVector operator-() const {
        return {-x, -y, -z};
    }
    Kiv3DVector operator+(const Kiv3DVector& other) const {
        return {x + other.x, y + other.y, z + other.z};
    }
    Kiv3DVector operator-(const Kiv3DVector& other) const {
        return {x - other.x, y - other.y, z - other.z};
    }
    // In place.
    void operator+=(const Kiv3DVector& other) {
        x += other.x;
        y += other.y;
        z += other.z;
    }

    // The cross product. Between two vectors * is never the dot product.
    Kiv3DVector operator*(const Kiv3DVector& other) const {
        return crossProduct(other);
    }
    // At right angles to both, by the right hand: x cross y is z. Its length is the area between the two.
    Kiv3DVector crossProduct(const Kiv3DVector& other) const {
        return {y * other.z - z * other.y, z * other.x - x * other.z, x * other.y - y * other.x};
    }
    // The product of both lengths and the cosine of the angle between the two.
    double dotProduct(const Kiv3DVector& other) const {
        return x * other.x + y * other.y + z * other.z;
    }
    // This vector turned a quarter turn about the z axis, its z dropped; not normaliced. A vector along z gives zero.
    Kiv3DVector perpVector() const {
        return {-y, x, 0.0};
    }

    // Scalar forms. Nothing looks for a division by zero: the floating-point result stands.
    Kiv3DVector operator*(double scalar) const {
        return {x * scalar, y * scalar, z * scalar};
    }
    Kiv3DVector operator*(float scalar) const {
        return *this * static_cast<double>(scalar);
    }
    Kiv3DVector operator*(int scalar) const {
        return *this * static_cast<double>(scalar);
    }
    Kiv3DVector operator/(double scalar) const {
        return {x / scalar, y / scalar, z / scalar};
    }
    Kiv3DVector operator/(float scalar) const {
        return *this / static_cast<double>(scalar);
    }
    Kiv3DVector operator/(int scalar) const {
        return *this / static_cast<double>(scalar);
    }
    // In place.
    void operator/=(double scalar) {
        x /= scalar;
        y /= scalar;
        z /= scalar;
    }
    void operator/=(float scalar) {
        *this /= static_cast<double>(scalar);
    }
    void operator/=(int scalar) {
        *this /= static_cast<double>(scalar);
    }

    // Exact, without a tolerance.
    bool operator==(const Kiv3DVector& other) const {
        return x == other.x && y == other.y && z == other.z;
    }

    // The components along the three axes.
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

// The three stand side by side, so that the address of x serves as an array of three.
static_assert(sizeof(Kiv3DVector) == 3 * sizeof(double));

#endif
