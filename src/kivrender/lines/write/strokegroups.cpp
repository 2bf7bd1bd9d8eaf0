#include "kivrender/lines/write/strokegroups.h"

#include <algorithm>
#include <map>
#include <tuple>
#include <utility>

namespace {

std::uint32_t knownObject(const KivVectorDrawing& drawing, std::uint32_t object) {
    return object < drawing.objects.size() ? object : 0;
}

} // namespace

std::vector<StrokeGroup> kivStrokeGroups(const KivVectorDrawing& drawing, const SheetLayout& layout) {
    std::map<std::tuple<std::uint32_t, bool, KivStrokeKind>, std::vector<std::size_t>> sorted;
    for (std::size_t i = 0; i < drawing.strokes.size(); ++i) {
        const KivStroke& stroke = drawing.strokes[i];
        if (layout.isDrawn(stroke)) {
            sorted[{knownObject(drawing, stroke.object), !stroke.hidden, stroke.kind}].push_back(i);
        }
    }
    std::vector<StrokeGroup> groups;
    groups.reserve(sorted.size());
    for (auto& [key, strokes] : sorted) {
        groups.push_back({std::get<0>(key), !std::get<1>(key), std::get<2>(key), std::move(strokes)});
    }
    return groups;
}

std::vector<AreaRun> kivAreaRuns(const KivVectorDrawing& drawing) {
    std::vector<AreaRun> runs;
    for (std::size_t i = 0; i < drawing.areas.size(); ++i) {
        const KivArea& area = drawing.areas[i];
        if (!SheetLayout::isDrawn(area)) {
            continue;
        }
        const std::uint32_t object = knownObject(drawing, area.object);
        if (runs.empty() || runs.back().object != object) {
            runs.push_back({object, {}});
        }
        runs.back().areas.push_back(i);
    }
    return runs;
}
