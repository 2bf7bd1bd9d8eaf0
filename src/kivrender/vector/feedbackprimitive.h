// One point, line or polygon of a feedback buffer, with the drawing state that held when it was read.
#ifndef KIVRENDER_VECTOR_FEEDBACKPRIMITIVE_H
#define KIVRENDER_VECTOR_FEEDBACKPRIMITIVE_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/vector/feedbackvertex.h"

#include <cstdint>
#include <vector>

// The tokens of OpenGL's feedback that head an item.
namespace FeedbackToken {
inline constexpr int passThrough = 1792; // one value
inline constexpr int point = 1793;       // one vertex
inline constexpr int line = 1794;        // two vertices
inline constexpr int polygon = 1795;     // a count and as many vertices
inline constexpr int lineReset = 1799;   // two vertices
} // namespace FeedbackToken

// The drawing state that gl2ps puts into the stream as pass-through values.
namespace FeedbackMarker {
inline constexpr int beginOffset = 1;
inline constexpr int endOffset = 2;
inline constexpr int beginBoundary = 3;
inline constexpr int endBoundary = 4;
inline constexpr int beginStipple = 5; // two further pairs: the pattern, the factor
inline constexpr int endStipple = 6;
inline constexpr int pointSize = 7; // one further pair
inline constexpr int lineWidth = 8; // one further pair
inline constexpr int beginBlend = 9;
inline constexpr int endBlend = 10;
inline constexpr int blendSource = 11;      // one further pair
inline constexpr int blendDestination = 12; // one further pair
} // namespace FeedbackMarker

struct KIV_API FeedbackPrimitive {
    bool offset = false;
    bool boundary = false;
    bool blend = false;
    std::uint16_t stipplePattern = 0;
    std::int32_t stippleFactor = 0;
    std::int32_t blendSource = 0;
    std::int32_t blendDestination = 0;
    float lineWidth = 1.0F;
    float pointSize = 1.0F;
    std::int16_t type = 0; // FeedbackToken point, line or polygon
    // What the primitive declares. A polygon cut off by the end of its buffer declares more than it has.
    std::int32_t vertexCount = 0;
    std::vector<FeedbackVertex> vertices;

    bool isStippled() const;
};

// The list owns nothing: whoever holds it says who deletes the primitives. A slot may be null while a stage runs.
using FeedbackPrimitiveList = std::vector<FeedbackPrimitive*>;

// Every field but the vertices.
KIV_API void copyAttributes(FeedbackPrimitive& target, const FeedbackPrimitive& source);

// Offset, boundary, blending, stipple and blend factors are the same; for lines the width too, exactly.
KIV_API bool samePolygonAttributes(const FeedbackPrimitive& first, const FeedbackPrimitive& second);
KIV_API bool sameLineAttributes(const FeedbackPrimitive& first, const FeedbackPrimitive& second);

// Deletes the primitives and empties the list. Null slots are allowed.
KIV_API void deletePrimitives(FeedbackPrimitiveList& list);
// The same for a list whose order has nothing to do with the order in which its primitives were made: in the order of
// their addresses they go faster, as the memory of one joins that of the one before it.
KIV_API void deleteScatteredPrimitives(FeedbackPrimitiveList& list);

#endif
