// A vector in space, as the stages that work on planes and outlines use it.
#ifndef KIVRENDER_VECTOR_FEEDBACKVECTOR_H
#define KIVRENDER_VECTOR_FEEDBACKVECTOR_H

#include <cmath>

struct FeedbackVector {
    double x = 0;
    double y = 0;
    double z = 0;

    FeedbackVector() = default;
    FeedbackVector(double ofX, double ofY, double ofZ) : x(ofX), y(ofY), z(ofZ) {}
    FeedbackVector(const FeedbackVector&) = default;
    // As with vertices: an equal target stays as it is, so that a vector shorter than the tolerance never replaces a
    // zero vector.
    FeedbackVector& operator=(const FeedbackVector& other) {
        if (!(*this == other)) {
            x = other.x;
            y = other.y;
            z = other.z;
        }
        return *this;
    }

    // A vector without length becomes not a number, and nothing compares equal to it.
    void normalise() {
        const double factor = 1.0 / std::sqrt(x * x + y * y + z * z);
        x *= factor;
        y *= factor;
        z *= factor;
    }
    double dot(const FeedbackVector& other) const {
        return x * other.x + y * other.y + z * other.z;
    }
    FeedbackVector cross(const FeedbackVector& other) const {
        return {y * other.z - z * other.y, z * other.x - x * other.z, x * other.y - y * other.x};
    }
    FeedbackVector operator*(double factor) const {
        return {x * factor, y * factor, z * factor};
    }

    static bool closeTogether(double first, double second) {
        return first - second < 0.001 && first - second > -0.001;
    }
    friend bool operator==(const FeedbackVector& first, const FeedbackVector& second) {
        return closeTogether(first.x, second.x) && closeTogether(first.y, second.y) && closeTogether(first.z, second.z);
    }
};

#endif
