#include "kivrender/lines/write/kivdrawingwriter.h"

#include "kivrender/lines/write/drawingsink.h"
#include "kivrender/lines/write/dxfwriter.h"
#include "kivrender/lines/write/hpglwriter.h"
#include "kivrender/lines/write/pdfwriter.h"
#include "kivrender/lines/write/postscriptwriter.h"
#include "kivrender/lines/write/sheetlayout.h"
#include "kivrender/lines/write/svgwriter.h"
#include "kivrender/platform/kivnewfile.h"
#include "kivrender/platform/kivsystemerror.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

namespace {

constexpr double millimetresPerInch = 25.4;

constexpr std::array<std::pair<std::string_view, KivDrawingFormat>, 8> endings{{
    {"svg", KivDrawingFormat::svg},
    {"pdf", KivDrawingFormat::pdf},
    {"ai", KivDrawingFormat::ai},
    {"eps", KivDrawingFormat::eps},
    {"ps", KivDrawingFormat::ps},
    {"dxf", KivDrawingFormat::dxf},
    {"hpgl", KivDrawingFormat::hpgl},
    {"plt", KivDrawingFormat::hpgl},
}};

bool isPage(KivDrawingFormat format) {
    return format == KivDrawingFormat::pdf || format == KivDrawingFormat::ai || format == KivDrawingFormat::eps ||
           format == KivDrawingFormat::ps;
}

// A pixel of the picture where the sheet does not say: a point on pages, as their programs count, else that of CSS.
double pixelOf(KivDrawingFormat format) {
    return millimetresPerInch / (isPage(format) ? 72.0 : 96.0);
}

// DXF is drawn as large as the model itself where nothing else is asked for, as programs measure in it.
KivSheet sheetFor(KivDrawingFormat format, const KivVectorDrawing& drawing, const KivSheet& sheet) {
    constexpr double longest = 1e7;
    const double length = std::max(drawing.width, drawing.height) * drawing.unitsPerPixel * sheet.modelUnit;
    KivSheet made = sheet;
    if (format == KivDrawingFormat::dxf && sheet.page == KivSheet::Page::picture && sheet.scale == 0.0 &&
        length > 0.0 && length < longest) {
        made.scale = 1.0;
    }
    return made;
}

bool writeFormat(const KivVectorDrawing& drawing, const SheetLayout& layout, KivDrawingFormat format,
                 DrawingSink& sink) {
    switch (format) {
    case KivDrawingFormat::svg:
        return kivWriteSvg(drawing, layout, sink);
    case KivDrawingFormat::pdf:
    case KivDrawingFormat::ai:
        return kivWritePdf(drawing, layout, sink);
    case KivDrawingFormat::eps:
    case KivDrawingFormat::ps:
        return kivWritePostScript(drawing, layout, format == KivDrawingFormat::eps, sink);
    case KivDrawingFormat::dxf:
        return kivWriteDxf(drawing, layout, sink);
    case KivDrawingFormat::hpgl:
        return kivWriteHpgl(drawing, layout, sink);
    }
    return false;
}

KivDrawingWritten writeTo(const KivVectorDrawing& drawing, const KivSheet& sheet, KivDrawingFormat format,
                          DrawingSink::Put put, const std::function<bool()>& isCancelled) {
    const KivSheet chosen = sheetFor(format, drawing, sheet);
    const SheetLayout layout(drawing, chosen, pixelOf(format));
    if (layout.page().problem != KivSheetProblem::none) {
        return KivDrawingWritten::sheetProblem;
    }
    DrawingSink sink(std::move(put), isCancelled);
    if (writeFormat(drawing, layout, format, sink) && sink.finish()) {
        return KivDrawingWritten::done;
    }
    return sink.wasCancelled() ? KivDrawingWritten::cancelled : KivDrawingWritten::failed;
}

} // namespace

bool kivDrawingFormatOf(std::string_view ending, KivDrawingFormat* format) {
    for (const auto& [name, known] : endings) {
        if (name == ending) {
            *format = known;
            return true;
        }
    }
    return false;
}

bool kivHoldsPictures(KivDrawingFormat format) {
    return format != KivDrawingFormat::dxf && format != KivDrawingFormat::hpgl;
}

KivSheetPlace kivPlaceOnSheet(const KivVectorDrawing& drawing, const KivSheet& sheet, KivDrawingFormat format) {
    const KivSheet chosen = sheetFor(format, drawing, sheet);
    return SheetLayout(drawing, chosen, pixelOf(format)).page();
}

KivDrawingWritten kivWriteDrawing(const KivVectorDrawing& drawing, const KivSheet& sheet, KivDrawingFormat format,
                                  const std::wstring& path, const std::function<bool()>& isCancelled) {
    KivNewFile file(path);
    int problem = file.open() ? 0 : errno;
    const auto put = [&](std::string_view block) {
        problem = problem == 0 && !kivWriteAll(file.descriptor(), block.data(), block.size()) ? errno : problem;
        return problem == 0;
    };
    KivDrawingWritten written =
        problem == 0 ? writeTo(drawing, sheet, format, put, isCancelled) : KivDrawingWritten::failed;
    if (written == KivDrawingWritten::done && !file.finish()) {
        problem = errno;
        written = KivDrawingWritten::failed;
    }
    if (written == KivDrawingWritten::failed) {
        kivSetLastError(kivErrorFromErrno(problem));
    }
    return written;
}

KivDrawingWritten kivWriteDrawing(const KivVectorDrawing& drawing, const KivSheet& sheet, KivDrawingFormat format,
                                  std::string* out, const std::function<bool()>& isCancelled) {
    const auto put = [out](std::string_view block) {
        out->append(block);
        return true;
    };
    return writeTo(drawing, sheet, format, put, isCancelled);
}
