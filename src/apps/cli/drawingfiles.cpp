#include "apps/cli/drawingfiles.h"

#include "apps/cli/outputfile.h"
#include "apps/cli/progressbar.h"
#include "import/kivmodelimport.h"
#include "kivrender/platform/kivtext.h"

#include <cmath>
#include <stdexcept>
#include <string>

namespace {

std::string lengthText(double millimetres) {
    std::string text = std::to_string(std::lround(millimetres * 10.0));
    text.insert(0, text.size() < 2 ? 2 - text.size() : 0, '0');
    const bool isWhole = text.back() == '0';
    return text.substr(0, text.size() - 1) + (isWhole ? std::string() : "." + text.substr(text.size() - 1));
}

std::string sizeText(double width, double height) {
    return lengthText(width) + " x " + lengthText(height) + " mm";
}

std::string problemText(const KivSheetPlace& place, const KivSheet& sheet) {
    switch (place.problem) {
    case KivSheetProblem::noScale:
        return "--scale needs a parallel view; add --ortho 0 or --view";
    case KivSheetProblem::noRoom:
        return "the margins leave no room for the drawing; use a smaller --margin or a larger --page";
    case KivSheetProblem::tooLarge:
        return "the drawing measures " + sizeText(place.drawnWidth, place.drawnHeight) +
               " at that scale, and the page has room for " +
               sizeText(sheet.width - 2.0 * sheet.margin, sheet.height - 2.0 * sheet.margin) +
               "; use a smaller --scale or a larger --page";
    case KivSheetProblem::impossible:
    case KivSheetProblem::none:
        break;
    }
    return "no page is that large or that small; use another --scale or --units";
}

} // namespace

bool DrawingFiles::collect(KivDrawingFormat format, const KivModel& model, const std::function<bool()>& render) {
    Drawn& into = lacksPictures(format) ? withoutPictures : drawn;
    DrawingOptions wanted = options;
    if (lacksPictures(format)) {
        wanted.textures = KivDrawingCollector::Textures::areas;
    }
    into.isFilled = into.collected.collect(model, model.meshNames, wanted, render);
    return into.isFilled;
}

bool DrawingFiles::write(const OutputFile& output, bool background) const {
    const KivDrawingFormat format = output.drawingFormat();
    const CollectedDrawing& collected = drawingFor(format).collected;
    const KivSheet sheet = collected.sheetFor(options, background);
    const KivDrawingWritten written =
        kivWriteDrawing(collected.drawing, sheet, format, kivFromUtf8(output.workName()), isInterrupted);
    if (written == KivDrawingWritten::sheetProblem) {
        throw std::runtime_error("can't write \"" + output.finalName() +
                                 "\": " + problemText(kivPlaceOnSheet(collected.drawing, sheet, format), sheet));
    }
    return written == KivDrawingWritten::done;
}
