#include "kivrender/lines/kivvectordrawing.h"

#include <utility>

namespace {

thread_local KivVectorDrawing* collected = nullptr;

} // namespace

const char* kivNameOf(KivStrokeKind kind) {
    static constexpr const char* names[kivStrokeKinds] = {"contour",  "boundary",     "crease", "edge",
                                                          "material", "intersection", "line",   "tangent"};
    return names[static_cast<int>(kind)];
}

KivVectorDrawing* kivCollectedDrawing() {
    return collected;
}

KivVectorDrawing* kivCollectDrawing(KivVectorDrawing* drawing) {
    return std::exchange(collected, drawing);
}
