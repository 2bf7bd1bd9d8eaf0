#include "kivrender/vector/parsertoclasses.h"

#include "kivrender/vector/feedbackinteger.h"

#include <algorithm>
#include <memory>

namespace {

constexpr std::int64_t vertexFloats = 7;
constexpr std::int64_t pairFloats = 2;

} // namespace

ParserToClasses::ParserToClasses(float* feedback, int floats) : buffer(feedback), size(floats) {}

FeedbackPrimitiveList* ParserToClasses::getPrimitives() {
    return primitives;
}

float ParserToClasses::valueAt(std::int64_t position) const {
    return position < size ? buffer[position] : 0.0F;
}

FeedbackVertex ParserToClasses::vertexAt(std::int64_t position) const {
    FeedbackVertex vertex;
    vertex.x = valueAt(position);
    vertex.y = valueAt(position + 1);
    vertex.z = valueAt(position + 2);
    vertex.r = valueAt(position + 3);
    vertex.g = valueAt(position + 4);
    vertex.b = valueAt(position + 5);
    vertex.a = valueAt(position + 6);
    return vertex;
}

// position stands on a pass-through token; the position after the marker and its operands comes back. An operand is
// taken from its place in the stream without a look at the token before it.
std::int64_t ParserToClasses::readMarker(std::int64_t position, FeedbackPrimitive& state) const {
    const auto operand = [&] {
        position += pairFloats;
        return valueAt(position + 1);
    };
    switch (feedbackInteger(valueAt(position + 1))) {
    case FeedbackMarker::beginOffset:
        state.offset = true;
        break;
    case FeedbackMarker::endOffset:
        state.offset = false;
        break;
    case FeedbackMarker::beginBoundary:
        state.boundary = true;
        break;
    case FeedbackMarker::endBoundary:
        state.boundary = false;
        break;
    case FeedbackMarker::beginStipple:
        state.stipplePattern = static_cast<std::uint16_t>(feedbackInteger(operand()));
        state.stippleFactor = feedbackInteger(operand());
        break;
    case FeedbackMarker::endStipple:
        state.stipplePattern = 0;
        state.stippleFactor = 0;
        break;
    case FeedbackMarker::pointSize:
        state.pointSize = operand();
        break;
    case FeedbackMarker::lineWidth:
        state.lineWidth = operand();
        break;
    case FeedbackMarker::beginBlend:
        state.blend = true;
        break;
    case FeedbackMarker::endBlend:
        state.blend = false;
        break;
    case FeedbackMarker::blendSource:
        state.blendSource = feedbackInteger(operand());
        break;
    case FeedbackMarker::blendDestination:
        state.blendDestination = feedbackInteger(operand());
        break;
    default:
        break;
    }
    return position + pairFloats;
}

// Reads the vertices that primitive declares. A point and a line always get theirs; a polygon gets as many as begin
// before the end of the buffer, since its count is only as good as the stream.
std::int64_t ParserToClasses::readVertices(std::int64_t position, FeedbackPrimitive& primitive) const {
    std::int64_t count = primitive.vertexCount;
    if (primitive.type == FeedbackToken::polygon) {
        const std::int64_t left = std::max<std::int64_t>(size - position, 0);
        count = std::clamp<std::int64_t>(count, 0, (left + vertexFloats - 1) / vertexFloats);
    }
    primitive.vertices.reserve(static_cast<std::size_t>(count));
    for (std::int64_t read = 0; read < count; ++read) {
        primitive.vertices.push_back(vertexAt(position));
        position += vertexFloats;
    }
    return position;
}

void ParserToClasses::parse() {
    auto list = std::make_unique<FeedbackPrimitiveList>();
    FeedbackPrimitive state;
    for (std::int64_t position = 0; position < size;) {
        const int token = feedbackInteger(buffer[position]);
        if (token == FeedbackToken::passThrough) {
            position = readMarker(position, state);
            continue;
        }
        ++position;
        switch (token) {
        case FeedbackToken::point:
            state.vertexCount = 1;
            break;
        case FeedbackToken::line:
        case FeedbackToken::lineReset:
            state.vertexCount = 2;
            break;
        case FeedbackToken::polygon:
            state.vertexCount = feedbackInteger(valueAt(position));
            ++position;
            break;
        default:
            continue;
        }
        // A reset tells the stipple to start anew, which nothing here keeps: it is a line like any other.
        state.type = static_cast<std::int16_t>(token == FeedbackToken::lineReset ? FeedbackToken::line : token);
        auto primitive = std::make_unique<FeedbackPrimitive>(state);
        position = readVertices(position, *primitive);
        list->push_back(primitive.release());
    }
    primitives = list.release();
}
