#include "apps/studio/drawinglayers.h"

#include <algorithm>
#include <iterator>

bool DrawingLayers::shows(const KivArea& area) const {
    return !kinds[areaLayer] && !objects.contains(area.object);
}

bool DrawingLayers::shows(const KivStroke& stroke) const {
    return !kinds[static_cast<std::size_t>(stroke.kind)] && !(stroke.hidden && kinds[hiddenLayer]) &&
           !objects.contains(stroke.object);
}

DrawingContent::DrawingContent(const KivVectorDrawing& drawing) : objects(drawing.objects.size()) {
    const auto count = [this](std::uint32_t object) {
        if (object < objects.size()) {
            ++objects[object];
        }
    };
    for (const KivStroke& stroke : drawing.strokes) {
        ++kinds[static_cast<std::size_t>(stroke.kind)];
        kinds[hiddenLayer] += stroke.hidden ? 1 : 0;
        count(stroke.object);
    }
    for (const KivArea& area : drawing.areas) {
        count(area.object);
    }
    kinds[areaLayer] = drawing.areas.size();
}

KivVectorDrawing shownPart(const KivVectorDrawing& drawing, const DrawingLayers& layers) {
    KivVectorDrawing part;
    part.width = drawing.width;
    part.height = drawing.height;
    part.unitsPerPixel = drawing.unitsPerPixel;
    part.background = drawing.background;
    part.areaRim = drawing.areaRim;
    part.wantsHidden = drawing.wantsHidden;
    part.title = drawing.title;
    part.objects = drawing.objects;
    const auto isShown = [&layers](const auto& each) { return layers.shows(each); };
    std::copy_if(drawing.areas.begin(), drawing.areas.end(), std::back_inserter(part.areas), isShown);
    std::copy_if(drawing.strokes.begin(), drawing.strokes.end(), std::back_inserter(part.strokes), isShown);
    return part;
}
