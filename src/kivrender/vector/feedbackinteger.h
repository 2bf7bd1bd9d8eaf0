// Integers travel through a feedback buffer as floats.
#ifndef KIVRENDER_VECTOR_FEEDBACKINTEGER_H
#define KIVRENDER_VECTOR_FEEDBACKINTEGER_H

#include <cstdint>
#include <limits>

// Truncates. What no 32-bit integer can hold becomes the nearest one, and what is not a number 0, where the plain
// conversion would be undefined.
constexpr std::int32_t feedbackInteger(float value) {
    if (value >= 2147483648.0F)
        return std::numeric_limits<std::int32_t>::max();
    if (value <= -2147483648.0F)
        return std::numeric_limits<std::int32_t>::min();
    return value == value ? static_cast<std::int32_t>(value) : 0;
}

#endif
