// The layers of a vector drawing: its objects, its areas and its kinds of lines, each shown or not.
#ifndef APPS_STUDIO_DRAWINGLAYERS_H
#define APPS_STUDIO_DRAWINGLAYERS_H

#include "kivrender/lines/kivvectordrawing.h"

#include <array>
#include <cstddef>
#include <set>
#include <vector>

// The kinds of lines by their numbers, and behind them two more.
inline constexpr int areaLayer = kivStrokeKinds;
inline constexpr int hiddenLayer = kivStrokeKinds + 1; // lines that something stands before
inline constexpr int drawingLayers = kivStrokeKinds + 2;

struct DrawingLayers {
    std::array<bool, drawingLayers> kinds{}; // which are switched off
    std::set<std::uint32_t> objects;         // that are switched off

    bool shows(const KivArea& area) const;
    bool shows(const KivStroke& stroke) const;
};

// What there is in a drawing: how many strokes or areas of each kind and of each object.
struct DrawingContent {
    explicit DrawingContent(const KivVectorDrawing& drawing);

    std::array<std::size_t, drawingLayers> kinds{};
    std::vector<std::size_t> objects;
};

// The drawing with no more in it than its layers show.
KivVectorDrawing shownPart(const KivVectorDrawing& drawing, const DrawingLayers& layers);

#endif
