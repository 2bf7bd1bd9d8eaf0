// Writes primitives as a feedback buffer, each with its whole drawing state around it.
//
// The size counts a reservation: a point or a line takes one float less than is reserved for it, so the tail of the
// buffer holds no items. It is zeroed, and readers step over it. A polygon that declares more vertices than it has is
// written with those that it has.
#ifndef KIVRENDER_VECTOR_PARSERTOBUFFER_H
#define KIVRENDER_VECTOR_PARSERTOBUFFER_H

#include "kivrender/vector/feedbackprimitive.h"
#include "kivrender/vector/parser.h"

#include <cstdint>

class KIV_API ParserToBuffer : public Parser {
public:
    // The list stays the caller's and has no null slots.
    explicit ParserToBuffer(FeedbackPrimitiveList* list);
    void parse() override;
    // Null before parse, or when there was no memory. From malloc, the caller's to free.
    float* getBuffer();
    // In floats, the reserved tail included. 0 before parse, or when there was no memory. What would go beyond the
    // range of the count is left out, whole primitives from the end.
    int getSize();

private:
    FeedbackPrimitiveList* primitives;
    float* buffer = nullptr;
    std::int32_t size = 0;
};

#endif
