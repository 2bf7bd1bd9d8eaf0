#include "kivrender/vector/libraryfeedback.h"

#include "kivrender/shader/kivobjectnumbers.h"
#include "kivrender/vector/feedbackinteger.h"

#include <algorithm>
#include <initializer_list>

namespace {

constexpr std::size_t vertexFloats = 7;
// What OpenGL puts behind the tokens of bitmaps and pixels, 1796 to 1798: one vertex.
constexpr int firstPixelToken = 1796;
constexpr int lastPixelToken = 1798;

// Writes what differs from the state of the primitive before.
class Translator {
public:
    explicit Translator(std::size_t floats) {
        result.reserve(floats);
    }

    void add(const FeedbackItem& item, const FeedbackState& state) {
        toggle(state.offset, written.offset, FeedbackMarker::beginOffset, FeedbackMarker::endOffset);
        toggle(state.boundary, written.boundary, FeedbackMarker::beginBoundary, FeedbackMarker::endBoundary);
        writeStipple(state);
        toggle(state.blend, written.blend, FeedbackMarker::beginBlend, FeedbackMarker::endBlend);
        if (state.blend) {
            change(state.blendSource, written.blendSource, FeedbackMarker::blendSource);
            change(state.blendDestination, written.blendDestination, FeedbackMarker::blendDestination);
        }
        change(state.lineWidth, written.lineWidth, FeedbackMarker::lineWidth);
        change(state.pointSize, written.pointSize, FeedbackMarker::pointSize);
        written = state;
        result.push_back(static_cast<float>(item.token));
        if (item.token == FeedbackToken::polygon) {
            result.push_back(static_cast<float>(item.count));
        }
        result.insert(result.end(), item.vertices, item.vertices + static_cast<std::size_t>(item.count) * vertexFloats);
    }

    std::vector<float> result;

private:
    void pair(float value) {
        result.push_back(static_cast<float>(FeedbackToken::passThrough));
        result.push_back(value);
    }
    void toggle(bool now, bool before, int begin, int end) {
        if (now != before) {
            pair(static_cast<float>(now ? begin : end));
        }
    }
    template <class T> void change(T now, T before, int marker) {
        if (now != before) {
            pair(static_cast<float>(marker));
            pair(static_cast<float>(now));
        }
    }
    void writeStipple(const FeedbackState& state) {
        if (state.stipplePattern == written.stipplePattern && state.stippleFactor == written.stippleFactor) {
            return;
        }
        if (state.stipplePattern == 0 && state.stippleFactor == 0) {
            pair(FeedbackMarker::endStipple);
            return;
        }
        pair(FeedbackMarker::beginStipple);
        pair(state.stipplePattern);
        pair(static_cast<float>(state.stippleFactor));
    }

    FeedbackState written;
};

} // namespace

float LibraryFeedback::value(std::size_t at) const {
    return at < buffer.size() ? buffer[at] : 0.0F;
}

// Stands at the token of the marker and leaves the position behind its last pair.
void LibraryFeedback::readMarker() {
    const auto operand = [this] {
        position += 2;
        return value(position + 1);
    };
    switch (feedbackInteger(value(position + 1))) {
    case LibraryMarker::beginOffset:
        current.offset = true;
        current.offsetFactor = operand();
        current.offsetUnits = operand();
        break;
    case LibraryMarker::endOffset:
        current.offset = false;
        current.offsetFactor = 0.0F;
        current.offsetUnits = 0.0F;
        break;
    case LibraryMarker::beginBoundary:
        current.boundary = true;
        break;
    case LibraryMarker::endBoundary:
        current.boundary = false;
        break;
    case LibraryMarker::beginStipple:
        current.stipplePattern = static_cast<std::uint16_t>(feedbackInteger(operand()));
        current.stippleFactor = feedbackInteger(operand());
        break;
    case LibraryMarker::endStipple:
        current.stipplePattern = 0;
        current.stippleFactor = 0;
        break;
    case LibraryMarker::pointSize:
        current.pointSize = operand();
        break;
    case LibraryMarker::lineCap:
        current.lineCap = feedbackInteger(operand());
        break;
    case LibraryMarker::lineJoin:
        current.lineJoin = feedbackInteger(operand());
        break;
    case LibraryMarker::lineWidth:
        current.lineWidth = operand();
        break;
    case LibraryMarker::beginBlend:
        current.blend = true;
        break;
    case LibraryMarker::endBlend:
        current.blend = false;
        break;
    case LibraryMarker::blendSource:
        current.blendSource = feedbackInteger(operand());
        break;
    case LibraryMarker::blendDestination:
        current.blendDestination = feedbackInteger(operand());
        break;
    case kivObjectMarker:
        current.object = static_cast<std::uint32_t>(std::max(0, feedbackInteger(operand())));
        break;
    default:
        break;
    }
    position += 2;
}

bool LibraryFeedback::next(FeedbackItem& item) {
    const auto take = [&](int token, std::size_t head, std::size_t count) {
        const std::size_t start = std::min(position + head, buffer.size());
        const std::size_t there = std::min(count, (buffer.size() - start) / vertexFloats);
        item = {token, buffer.data() + start, static_cast<int>(there)};
        position = there < count ? buffer.size() : start + count * vertexFloats;
        return token == FeedbackToken::polygon || there == count;
    };
    while (position < buffer.size()) {
        const int token = feedbackInteger(buffer[position]);
        if (token == FeedbackToken::passThrough) {
            readMarker();
        } else if (token == FeedbackToken::point) {
            if (take(token, 1, 1)) {
                return true;
            }
        } else if (token == FeedbackToken::line || token == FeedbackToken::lineReset) {
            if (take(FeedbackToken::line, 1, 2)) {
                return true;
            }
        } else if (token == FeedbackToken::polygon) {
            take(token, 2, static_cast<std::size_t>(std::max(0, feedbackInteger(value(position + 1)))));
            return true;
        } else if (token >= firstPixelToken && token <= lastPixelToken) {
            position += 1 + vertexFloats;
        } else {
            ++position;
        }
    }
    return false;
}

std::unique_ptr<FeedbackPrimitive> kivPrimitiveOf(const FeedbackItem& item, const FeedbackState& state) {
    auto primitive = std::make_unique<FeedbackPrimitive>();
    primitive->type = static_cast<std::int16_t>(item.token);
    primitive->vertexCount = item.count;
    primitive->offset = state.offset;
    primitive->blend = state.blend;
    primitive->lineWidth = state.lineWidth;
    primitive->pointSize = state.pointSize;
    primitive->vertices.resize(static_cast<std::size_t>(item.count));
    for (std::size_t i = 0; i < primitive->vertices.size(); ++i) {
        const float* const from = item.vertices + vertexFloats * i;
        FeedbackVertex& vertex = primitive->vertices[i];
        vertex.x = from[0];
        vertex.y = from[1];
        vertex.z = from[2];
        vertex.r = from[3];
        vertex.g = from[4];
        vertex.b = from[5];
        vertex.a = from[6];
    }
    return primitive;
}

std::vector<float> kivTranslateFeedback(std::span<const float> library, FeedbackState& attributes) {
    LibraryFeedback feedback(library);
    Translator translator(library.size());
    FeedbackItem item;
    while (feedback.next(item)) {
        translator.add(item, feedback.state());
        const FeedbackState& state = feedback.state();
        if (state.offset) {
            attributes.offsetFactor = state.offsetFactor;
            attributes.offsetUnits = state.offsetUnits;
        }
        if (item.token == FeedbackToken::line) {
            attributes.lineCap = state.lineCap;
            attributes.lineJoin = state.lineJoin;
        }
    }
    return std::move(translator.result);
}

int kivCountFeedback(std::span<const float> library) {
    LibraryFeedback feedback(library);
    FeedbackItem item;
    int count = 0;
    while (feedback.next(item)) {
        ++count;
    }
    return count;
}
