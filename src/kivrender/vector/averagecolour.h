// The colour by which triangles are told apart.
#ifndef KIVRENDER_VECTOR_AVERAGECOLOUR_H
#define KIVRENDER_VECTOR_AVERAGECOLOUR_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/vector/feedbackprimitive.h"

#include <array>

// Red, green, blue and alpha over all vertices.
KIV_API std::array<double, 4> averageColour(const FeedbackPrimitive& primitive);

// True if the averages agree within 1e-7. Flat triangles of one colour do; a smooth one agrees only with one of the
// same average.
KIV_API bool sameAverageColour(const std::array<double, 4>& first, const std::array<double, 4>& second);
KIV_API bool sameAverageColour(FeedbackPrimitive* first, FeedbackPrimitive* second);

#endif
