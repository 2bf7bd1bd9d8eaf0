// Reads the feedback buffer that gl2ps collects. Its stream of tokens is that of FeedbackToken, but its pass-through
// markers are gl2ps's own: more of them, and with other numbers than FeedbackMarker, which is what the stages of
// simplification exchange.
#ifndef KIVRENDER_VECTOR_LIBRARYFEEDBACK_H
#define KIVRENDER_VECTOR_LIBRARYFEEDBACK_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/vector/feedbackprimitive.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

// The markers of gl2ps 1.4.
namespace LibraryMarker {
inline constexpr int beginOffset = 1; // two further pairs: factor and units
inline constexpr int endOffset = 2;
inline constexpr int beginBoundary = 3;
inline constexpr int endBoundary = 4;
inline constexpr int beginStipple = 5; // two further pairs: the pattern, the factor
inline constexpr int endStipple = 6;
inline constexpr int pointSize = 7; // this and the next three: one further pair
inline constexpr int lineCap = 8;
inline constexpr int lineJoin = 9;
inline constexpr int lineWidth = 10;
inline constexpr int beginBlend = 11;
inline constexpr int endBlend = 12;
inline constexpr int blendSource = 13;      // one further pair
inline constexpr int blendDestination = 14; // one further pair
} // namespace LibraryMarker

// What holds for the primitives that follow in the stream.
struct FeedbackState {
    bool offset = false;
    float offsetFactor = 0.0F;
    float offsetUnits = 0.0F;
    bool boundary = false;
    std::uint16_t stipplePattern = 0;
    std::int32_t stippleFactor = 0;
    float pointSize = 1.0F;
    std::int32_t lineCap = 0;
    std::int32_t lineJoin = 0;
    float lineWidth = 1.0F;
    bool blend = false;
    std::int32_t blendSource = 0;
    std::int32_t blendDestination = 0;
    std::uint32_t object = 0; // as KivDrawing::beginObject names it
};

// One item: a point, line or polygon of count vertices of seven floats each, in the buffer.
struct FeedbackItem {
    int token = 0; // of FeedbackToken; a line reset is a line
    const float* vertices = nullptr;
    int count = 0;
};

class KIV_API LibraryFeedback {
public:
    // The buffer stays the caller's and must outlive the object. Any floats do: what is no known item is stepped over,
    // and an item that the end cuts off has the vertices that are left of it, none at all for a point or a line.
    explicit LibraryFeedback(std::span<const float> feedback) : buffer(feedback) {}

    // The next point, line or polygon; false at the end.
    bool next(FeedbackItem& item);
    // As the last item was drawn.
    const FeedbackState& state() const {
        return current;
    }

private:
    float value(std::size_t position) const;
    void readMarker();

    std::span<const float> buffer;
    std::size_t position = 0;
    FeedbackState current;
};

// One item with what of the state a primitive tells.
KIV_API std::unique_ptr<FeedbackPrimitive> kivPrimitiveOf(const FeedbackItem& item, const FeedbackState& state);

// The same drawing with the markers that the stages of simplification know. What they have no marker for is told by
// attributes: the offset's factor and units, cap and join of lines, as the last primitive had them.
KIV_API std::vector<float> kivTranslateFeedback(std::span<const float> library, FeedbackState& attributes);

// The number of points, lines and polygons.
KIV_API int kivCountFeedback(std::span<const float> library);

#endif
