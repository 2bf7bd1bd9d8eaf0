#include "kivrender/vector/primitivecut.h"

#include <tuple>

namespace {

// Takes the ends in an order of its own, so that the place is the same whichever polygon asks.
FeedbackVertex crossing(const FeedbackVertex& first, const FeedbackVertex& second, const WindowLine& line) {
    const auto placeOf = [](const FeedbackVertex& vertex) { return std::tie(vertex.x, vertex.y, vertex.z); };
    const bool inOrder = placeOf(first) < placeOf(second);
    const FeedbackVertex& from = inOrder ? first : second;
    const FeedbackVertex& to = inOrder ? second : first;
    const double share = line.at(from) / (line.at(from) - line.at(to));
    const auto mix = [share](float a, float b) { return static_cast<float>(a + share * (static_cast<double>(b) - a)); };
    FeedbackVertex vertex;
    vertex.x = mix(from.x, to.x);
    vertex.y = mix(from.y, to.y);
    vertex.z = mix(from.z, to.z);
    vertex.r = mix(from.r, to.r);
    vertex.g = mix(from.g, to.g);
    vertex.b = mix(from.b, to.b);
    vertex.a = mix(from.a, to.a);
    return vertex;
}

std::unique_ptr<FeedbackPrimitive> partOf(const FeedbackPrimitive& whole, std::vector<FeedbackVertex>&& vertices) {
    auto part = std::make_unique<FeedbackPrimitive>();
    copyAttributes(*part, whole);
    part->vertexCount = static_cast<std::int32_t>(vertices.size());
    part->vertices = std::move(vertices);
    return part;
}

} // namespace

PrimitiveParts cutPrimitive(const FeedbackPrimitive& primitive, const WindowLine& line) {
    const std::vector<FeedbackVertex>& vertices = primitive.vertices;
    const std::size_t count = vertices.size();
    const std::size_t least = primitive.type == FeedbackToken::line ? 2 : 3;
    if (primitive.type == FeedbackToken::point || count < least)
        return {};
    std::vector<FeedbackVertex> below;
    std::vector<FeedbackVertex> above;
    for (std::size_t i = 0; i < count; ++i) {
        const FeedbackVertex& here = vertices[i];
        const double value = line.at(here);
        if (value <= 0)
            below.push_back(here);
        if (value >= 0)
            above.push_back(here);
        if (least == 2 && i + 1 == count)
            break;
        const FeedbackVertex& next = vertices[i + 1 < count ? i + 1 : 0];
        const double nextValue = line.at(next);
        if ((value < 0 && nextValue > 0) || (value > 0 && nextValue < 0)) {
            const FeedbackVertex cut = crossing(here, next, line);
            below.push_back(cut);
            above.push_back(cut);
        }
    }
    if (below.size() < least || above.size() < least)
        return {};
    return {partOf(primitive, std::move(below)), partOf(primitive, std::move(above))};
}
