#include "kivrender/vector/feedbackprimitive.h"

#include <algorithm>
#include <functional>

bool FeedbackPrimitive::isStippled() const {
    return stipplePattern != 0 || stippleFactor != 0;
}

void copyAttributes(FeedbackPrimitive& target, const FeedbackPrimitive& source) {
    target.offset = source.offset;
    target.boundary = source.boundary;
    target.blend = source.blend;
    target.stipplePattern = source.stipplePattern;
    target.stippleFactor = source.stippleFactor;
    target.blendSource = source.blendSource;
    target.blendDestination = source.blendDestination;
    target.lineWidth = source.lineWidth;
    target.pointSize = source.pointSize;
    target.type = source.type;
    target.vertexCount = source.vertexCount;
}

bool samePolygonAttributes(const FeedbackPrimitive& first, const FeedbackPrimitive& second) {
    return first.offset == second.offset && first.boundary == second.boundary && first.blend == second.blend &&
           first.stipplePattern == second.stipplePattern && first.stippleFactor == second.stippleFactor &&
           first.blendSource == second.blendSource && first.blendDestination == second.blendDestination;
}

bool sameLineAttributes(const FeedbackPrimitive& first, const FeedbackPrimitive& second) {
    return samePolygonAttributes(first, second) && first.lineWidth == second.lineWidth;
}

void deletePrimitives(FeedbackPrimitiveList& list) {
    for (FeedbackPrimitive* primitive : list)
        delete primitive;
    list.clear();
}

void deleteScatteredPrimitives(FeedbackPrimitiveList& list) {
    std::sort(list.begin(), list.end(), std::less<>());
    deletePrimitives(list);
}
