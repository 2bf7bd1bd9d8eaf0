#include "kivrender/scene/kiv3dvector.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

double Kiv3DVector::norm() const {
    // The largest component is taken out of the root, so that no square overflows or vanishes.
    double largest = std::fabs(x);
    double a = y;
    double b = z;
    if (std::fabs(y) > largest) {
        largest = std::fabs(y);
        a = z;
        b = x;
    }
    if (std::fabs(z) > largest) {
        largest = std::fabs(z);
        a = x;
        b = y;
    }
    if (!(largest > DBL_MIN)) {
        return 0.0;
    }
    if (!std::isfinite(largest)) {
        return largest;
    }
    a /= largest;
    b /= largest;
    return largest * std::sqrt(1.0 + (a * a + b * b));
}

void Kiv3DVector::normalice() {
    const double length = norm();
    if (length > DBL_EPSILON) {
        const double factor = 1.0 / length;
        x *= factor;
        y *= factor;
        z *= factor;
    }
}

Kiv3DVector Kiv3DVector::normal() const {
    Kiv3DVector copy(*this);
    copy.normalice();
    return copy;
}

double Kiv3DVector::cosAngle(const Kiv3DVector& other) const {
    const double a = norm();
    const double b = other.norm();
    if (a < DBL_EPSILON || b < DBL_EPSILON) {
        return 1.0;
    }
    return dotProduct(other) / (a * b);
}

double Kiv3DVector::angle(const Kiv3DVector& other) const {
    return std::acos(std::clamp(cosAngle(other), -1.0, 1.0));
}
