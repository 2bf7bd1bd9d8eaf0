#include "kivrender/vector/averagecolour.h"

std::array<double, 4> averageColour(const FeedbackPrimitive& primitive) {
    float red = 0;
    float green = 0;
    float blue = 0;
    float alpha = 0;
    for (const FeedbackVertex& vertex : primitive.vertices) {
        red += vertex.r;
        green += vertex.g;
        blue += vertex.b;
        alpha += vertex.a;
    }
    const double share = 1.0 / static_cast<double>(primitive.vertices.size());
    return {red * share, green * share, blue * share, alpha * share};
}

bool sameAverageColour(const std::array<double, 4>& first, const std::array<double, 4>& second) {
    for (std::size_t i = 0; i < first.size(); ++i) {
        const double difference = first[i] - second[i];
        if (!(difference < 1e-7 && difference > -1e-7))
            return false;
    }
    return true;
}

bool sameAverageColour(FeedbackPrimitive* first, FeedbackPrimitive* second) {
    return sameAverageColour(averageColour(*first), averageColour(*second));
}
