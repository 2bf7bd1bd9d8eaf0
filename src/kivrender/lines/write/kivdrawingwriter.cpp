#include "kivrender/lines/write/kivdrawingwriter.h"

#include "kivrender/lines/write/drawingsink.h"
#include "kivrender/lines/write/sheetlayout.h"
#include "kivrender/lines/write/svgwriter.h"
#include "kivrender/platform/kivnewfile.h"
#include "kivrender/platform/kivsystemerror.h"

#include <array>
#include <cerrno>
#include <utility>

namespace {

constexpr double millimetresPerInch = 25.4;

constexpr std::array<std::pair<std::string_view, KivDrawingFormat>, 1> endings{{
    {"svg", KivDrawingFormat::svg},
}};

bool isPage(KivDrawingFormat format) {
    return format == KivDrawingFormat::pdf || format == KivDrawingFormat::ai || format == KivDrawingFormat::eps ||
           format == KivDrawingFormat::ps;
}

// A pixel of the picture where the sheet does not say: a point on pages, as their programs count, else that of CSS.
double pixelOf(KivDrawingFormat format) {
    return millimetresPerInch / (isPage(format) ? 72.0 : 96.0);
}

bool writeFormat(const KivVectorDrawing& drawing, const SheetLayout& layout, KivDrawingFormat format,
                 DrawingSink& sink) {
    switch (format) {
    case KivDrawingFormat::svg:
        return kivWriteSvg(drawing, layout, sink);
    default:
        return false;
    }
}

KivDrawingWritten writeTo(const KivVectorDrawing& drawing, const KivSheet& sheet, KivDrawingFormat format,
                          DrawingSink::Put put, const std::function<bool()>& isCancelled) {
    const SheetLayout layout(drawing, sheet, pixelOf(format));
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

KivSheetPlace kivPlaceOnSheet(const KivVectorDrawing& drawing, const KivSheet& sheet, KivDrawingFormat format) {
    return SheetLayout(drawing, sheet, pixelOf(format)).page();
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
