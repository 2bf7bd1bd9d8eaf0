// What a line is when lines are merged: its two ends, the vector between them in x and y, and how two such lines lie to
// each other.
#ifndef KIVRENDER_VECTOR_LINESHAPE_H
#define KIVRENDER_VECTOR_LINESHAPE_H

#include "kivrender/vector/feedbackprimitive.h"
#include "kivrender/vector/feedbackvector2.h"

#include <utility>

// What becomes of two lines a and b. Where the ends of a new line are named, s and e stand for start and end.
enum class LineFate {
    Separate, // both stay
    KeepA,    // b lies within a
    KeepB,    // a lies within b
    NewAsBe,
    NewBeAe,
    NewBsAe,
    NewAsBs,
};

struct LineShape {
    FeedbackVertex start;
    FeedbackVertex end;
    FeedbackVector2 along;  // from start to end
    FeedbackVector2 scaled; // along, scaled by its own length

    LineShape() = default;
    // The line has two vertices.
    explicit LineShape(const FeedbackPrimitive& line);
    LineShape(const LineShape&) = default;
    LineShape& operator=(const LineShape& other);

    bool isPoint() const {
        return FeedbackVector2::isTiny(along.x) && FeedbackVector2::isTiny(along.y);
    }

    // Depends on the order: positions are measured along a.
    static LineFate compare(const LineShape& a, const LineShape& b);
    // The ends of the new line that fate names.
    static std::pair<const FeedbackVertex*, const FeedbackVertex*> newEnds(LineFate fate, const LineShape& a,
                                                                           const LineShape& b);
};

#endif
