#include "apps/common/collecteddrawing.h"

#include "import/kivmodelimport.h"

#include <filesystem>

namespace {

// The names of the models without their folders and endings.
std::wstring titleOf(const KivModel& model) {
    std::wstring title;
    for (const KivModelFileInfo& file : model.files) {
        title += (title.empty() ? L"" : L", ") + std::filesystem::path(file.path).stem().wstring();
    }
    return title;
}

// Millimetres, of the first file that says; most formats leave it open.
double unitOf(const KivModel& model) {
    for (const KivModelFileInfo& file : model.files) {
        if (file.metresPerUnit > 0.0) {
            return file.metresPerUnit * 1000.0;
        }
    }
    return 1.0;
}

} // namespace

bool CollectedDrawing::collect(const KivModel& model, const std::vector<std::wstring>& names,
                               const DrawingOptions& options, const std::function<bool()>& render) {
    drawing.wantsHidden = options.sheet.hidden != KivSheet::Hidden::none;
    KivDrawingCollector collector(drawing);
    collector.setAreas(options.areas);
    collector.setTextures(options.textures);
    collector.setTitle(titleOf(model));
    collector.setObjectNames(names);
    const bool isCollected = render() && collector.hasDrawing();
    // The scene is the model scaled.
    drawing.unitsPerPixel /= model.scale;
    formatUnit = unitOf(model);
    return isCollected;
}

KivSheet CollectedDrawing::sheetFor(const DrawingOptions& options, bool background) const {
    KivSheet sheet = options.sheet;
    sheet.paintsBackground = background || (sheet.page == KivSheet::Page::picture && sheet.scale == 0.0);
    sheet.modelUnit = options.unitsChosen ? sheet.modelUnit : formatUnit;
    return sheet;
}
