#include "kivrender/vector/parsertobuffer.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace {

// The vertices that are written: those that the type calls for, but of a polygon never more than there are.
std::int64_t writtenVertices(const FeedbackPrimitive& primitive) {
    switch (primitive.type) {
    case FeedbackToken::point:
        return 1;
    case FeedbackToken::line:
        return 2;
    default:
        return std::clamp<std::int64_t>(primitive.vertexCount, 0, static_cast<std::int64_t>(primitive.vertices.size()));
    }
}

std::int64_t reservedFloats(const FeedbackPrimitive& primitive) {
    std::int64_t floats = writtenVertices(primitive) * 7 + 2;
    if (primitive.offset)
        floats += 4;
    if (primitive.boundary)
        floats += 4;
    if (primitive.isStippled())
        floats += 8;
    if (primitive.blend)
        floats += 12;
    return floats + 8;
}

// Appends items to a buffer that is known to be large enough.
class FeedbackWriter {
public:
    explicit FeedbackWriter(float* begin) : next(begin) {}

    void write(const FeedbackPrimitive& primitive) {
        writeOpeningState(primitive);
        const std::int64_t count = writtenVertices(primitive);
        switch (primitive.type) {
        case FeedbackToken::polygon:
            put(FeedbackToken::polygon);
            put(static_cast<float>(count));
            break;
        case FeedbackToken::point:
        case FeedbackToken::line:
            put(primitive.type);
            break;
        default:
            writeClosingState(primitive);
            return;
        }
        for (std::int64_t i = 0; i < count; ++i)
            putVertex(i < static_cast<std::int64_t>(primitive.vertices.size())
                          ? primitive.vertices[static_cast<std::size_t>(i)]
                          : FeedbackVertex());
        writeClosingState(primitive);
    }

    float* position() const {
        return next;
    }

private:
    void put(float value) {
        *next++ = value;
    }
    void put(int value) {
        put(static_cast<float>(value));
    }
    template <class Value> void putPair(Value value) {
        put(FeedbackToken::passThrough);
        put(static_cast<float>(value));
    }
    void putVertex(const FeedbackVertex& vertex) {
        for (const float value : {vertex.x, vertex.y, vertex.z, vertex.r, vertex.g, vertex.b, vertex.a})
            put(value);
    }

    void writeOpeningState(const FeedbackPrimitive& primitive) {
        if (primitive.offset)
            putPair(FeedbackMarker::beginOffset);
        if (primitive.boundary)
            putPair(FeedbackMarker::beginBoundary);
        if (primitive.isStippled()) {
            putPair(FeedbackMarker::beginStipple);
            putPair(primitive.stipplePattern);
            putPair(primitive.stippleFactor);
        }
        if (primitive.blend) {
            putPair(FeedbackMarker::beginBlend);
            putPair(FeedbackMarker::blendSource);
            putPair(primitive.blendSource);
            putPair(FeedbackMarker::blendDestination);
            putPair(primitive.blendDestination);
        }
        putPair(FeedbackMarker::lineWidth);
        putPair(primitive.lineWidth);
        putPair(FeedbackMarker::pointSize);
        putPair(primitive.pointSize);
    }

    void writeClosingState(const FeedbackPrimitive& primitive) {
        if (primitive.offset)
            putPair(FeedbackMarker::endOffset);
        if (primitive.boundary)
            putPair(FeedbackMarker::endBoundary);
        if (primitive.isStippled())
            putPair(FeedbackMarker::endStipple);
        // Blending is opened once more and not closed: readers of these drawings rely on it staying on.
        if (primitive.blend)
            putPair(FeedbackMarker::beginBlend);
    }

    float* next;
};

} // namespace

ParserToBuffer::ParserToBuffer(FeedbackPrimitiveList* list) : primitives(list) {}

float* ParserToBuffer::getBuffer() {
    return buffer;
}

int ParserToBuffer::getSize() {
    return size;
}

void ParserToBuffer::parse() {
    std::int64_t reserved = 0;
    std::size_t fitting = 0;
    for (; fitting < primitives->size(); ++fitting) {
        const std::int64_t grown = reserved + reservedFloats(*(*primitives)[fitting]);
        if (grown > std::numeric_limits<std::int32_t>::max())
            break;
        reserved = grown;
    }
    // Some systems give null for nothing, which would read as a page that was cancelled.
    buffer =
        static_cast<float*>(std::malloc(std::max<std::size_t>(static_cast<std::size_t>(reserved), 1) * sizeof(float)));
    if (!buffer)
        return;
    size = static_cast<std::int32_t>(reserved);
    FeedbackWriter writer(buffer);
    for (std::size_t i = 0; i < fitting; ++i)
        writer.write(*(*primitives)[i]);
    std::fill(writer.position(), buffer + size, 0.0F);
}
