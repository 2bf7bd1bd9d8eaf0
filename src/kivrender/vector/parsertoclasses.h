// Reads a feedback buffer of vertices with colour (seven floats each) into primitives. Any floats do: what is no known
// item is stepped over one float at a time, nothing outside the buffer is read, and the memory that is used grows with
// the buffer and not with the counts in it. Values that an item lacks at the end of the buffer read as 0.
#ifndef KIVRENDER_VECTOR_PARSERTOCLASSES_H
#define KIVRENDER_VECTOR_PARSERTOCLASSES_H

#include "kivrender/vector/feedbackprimitive.h"
#include "kivrender/vector/parser.h"

#include <cstdint>

class KIV_API ParserToClasses : public Parser {
public:
    // The buffer of size floats stays the caller's and must live until parse returns.
    ParserToClasses(float* feedback, int floats);
    void parse() override;
    // Null before parse. The list and its primitives are the caller's to delete.
    FeedbackPrimitiveList* getPrimitives();

private:
    float valueAt(std::int64_t position) const;
    FeedbackVertex vertexAt(std::int64_t position) const;
    std::int64_t readMarker(std::int64_t position, FeedbackPrimitive& state) const;
    std::int64_t readVertices(std::int64_t position, FeedbackPrimitive& primitive) const;

    float* buffer;
    std::int32_t size;
    FeedbackPrimitiveList* primitives = nullptr;
};

#endif
