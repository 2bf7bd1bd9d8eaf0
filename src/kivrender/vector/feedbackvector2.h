// A vector in the plane in which lines are compared.
#ifndef KIVRENDER_VECTOR_FEEDBACKVECTOR2_H
#define KIVRENDER_VECTOR_FEEDBACKVECTOR2_H

#include <cmath>

struct FeedbackVector2 {
    double x = 0;
    double y = 0;

    // Multiplies each component by the vector's own length: the direction stays and the length is squared. That is no
    // unit vector, and it is not meant to be one: two lines are compared by direction and length at once.
    void lengthScaled() {
        const double length = std::sqrt(x * x + y * y);
        x *= length;
        y *= length;
    }
    FeedbackVector2 operator*(double factor) const {
        return {x * factor, y * factor};
    }
    friend bool operator==(const FeedbackVector2& first, const FeedbackVector2& second) {
        return isTiny(first.x - second.x) && isTiny(first.y - second.y);
    }

    // Strictly between -1e-6 and 1e-6; never true of what is not a number.
    static bool isTiny(double value) {
        return value < 1e-6 && value > -1e-6;
    }
};

#endif
