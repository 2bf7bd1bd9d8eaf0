// Cuts a primitive in two along a line in the window.
#ifndef KIVRENDER_VECTOR_PRIMITIVECUT_H
#define KIVRENDER_VECTOR_PRIMITIVECUT_H

#include "kivrender/vector/feedbackprimitive.h"

#include <memory>

// Where a * x + b * y + c is 0, in pixels.
struct WindowLine {
    double a = 0;
    double b = 0;
    double c = 0;

    double at(const FeedbackVertex& vertex) const {
        return a * vertex.x + b * vertex.y + c;
    }
};

// Both parts of a convex polygon or of a line, with all its attributes; where the line passes, place, depth and colour
// are interpolated. Sides that two polygons share are cut at the same places in both. Null, both of them, where the
// line misses the primitive or the primitive can't be cut.
struct PrimitiveParts {
    std::unique_ptr<FeedbackPrimitive> below;
    std::unique_ptr<FeedbackPrimitive> above;
};

PrimitiveParts cutPrimitive(const FeedbackPrimitive& primitive, const WindowLine& line);

#endif
