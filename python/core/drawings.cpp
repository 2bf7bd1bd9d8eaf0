#include "core/drawings.h"

#include "core/runtime.h"
#include "kivrender/lines/write/kivdrawingwriter.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtext.h"

#include <chrono>

namespace {

py::array_t<double> arrayOf(const KivCurvePath& path, double tolerance) {
    const std::vector<KivPicturePoint> points = kivFlattenCurve(path, tolerance);
    py::array_t<double> array({static_cast<py::ssize_t>(points.size()), py::ssize_t{2}});
    double* to = array.mutable_data();
    for (const KivPicturePoint& p : points) {
        *to++ = p.x;
        *to++ = p.y;
    }
    return array;
}

py::object arrayOf(const std::vector<KivVec>& space, const Placement& place) {
    if (space.empty()) {
        return py::none();
    }
    py::array_t<double> array({static_cast<py::ssize_t>(space.size()), py::ssize_t{3}});
    double* to = array.mutable_data();
    for (const KivVec& v : space) {
        const Kiv3DPoint p = place.toModel({v.x, v.y, v.z});
        *to++ = p.x;
        *to++ = p.y;
        *to++ = p.z;
    }
    return array;
}

py::str colourText(std::uint32_t colour) {
    char text[8];
    std::snprintf(text, sizeof text, "#%02x%02x%02x", colour & 0xFF, colour >> 8 & 0xFF, colour >> 16 & 0xFF);
    return text;
}

std::string problemText(const KivVectorDrawing& drawing, const KivSheet& sheet, KivDrawingFormat format) {
    switch (kivPlaceOnSheet(drawing, sheet, format).problem) {
    case KivSheetProblem::none:
        break;
    case KivSheetProblem::noScale:
        return "scale: only a parallel view has one";
    case KivSheetProblem::noRoom:
        return "margin: it leaves nothing of the page";
    case KivSheetProblem::tooLarge:
        return "scale: the drawing is larger than the page";
    case KivSheetProblem::impossible:
        return "page, scale: a size beyond all numbers";
    }
    return "the drawing can't be put on this sheet";
}

// Asks for Ctrl-C now and then, without the interpreter's lock between.
class SignalWatch {
public:
    bool operator()() {
        const auto now = std::chrono::steady_clock::now();
        if (now - asked < std::chrono::milliseconds(100)) {
            return isSet;
        }
        asked = now;
        const py::gil_scoped_acquire interpreter;
        isSet = PyErr_CheckSignals() != 0;
        if (isSet) {
            raised.emplace();
        }
        return isSet;
    }
    std::optional<py::error_already_set> raised;

private:
    std::chrono::steady_clock::time_point asked = std::chrono::steady_clock::now();
    bool isSet = false;
};

using Reader = bool (*)(std::string_view, KivSheet*);

void read(const py::dict& words, const char* key, Reader reader, const char* expected, KivSheet& sheet) {
    if (!words.contains(key)) {
        return;
    }
    const auto text = words[key].cast<std::string>();
    if (!reader(text, &sheet)) {
        throw py::value_error(std::string(key) + ": \"" + text + "\" can't be; expected is " + expected);
    }
}

} // namespace

py::str DrawingData::nameOf(std::uint32_t object) const {
    return object < drawing.objects.size() ? kivToUtf8(drawing.objects[object].name) : std::string();
}

py::list DrawingData::strokes(double tolerance) const {
    py::list list;
    for (const KivStroke& stroke : drawing.strokes) {
        list.append(py::make_tuple(kivNameOf(stroke.kind), nameOf(stroke.object), stroke.hidden,
                                   colourText(stroke.color), stroke.width, stroke.path.closed,
                                   arrayOf(stroke.path, tolerance), arrayOf(stroke.space, place)));
    }
    return list;
}

py::list DrawingData::areas(double tolerance) const {
    py::list list;
    for (const KivArea& area : drawing.areas) {
        py::list rings;
        for (const KivCurvePath& ring : area.rings) {
            rings.append(arrayOf(ring, tolerance));
        }
        list.append(py::make_tuple(nameOf(area.object), colourText(area.color), area.opacity, rings));
    }
    return list;
}

py::bytes DrawingData::encode(const std::string& ending, const KivSheet& sheet) const {
    KivDrawingFormat format{};
    if (!kivDrawingFormatOf(ending, &format)) {
        throw py::value_error("\"" + ending +
                              "\" is no ending of a drawing: svg, pdf, eps, ps, ai, dxf, hpgl or plt "
                              "is expected");
    }
    std::string text;
    SignalWatch watch;
    KivDrawingWritten written{};
    {
        const py::gil_scoped_release released;
        written = kivWriteDrawing(drawing, sheet, format, &text, std::ref(watch));
    }
    switch (written) {
    case KivDrawingWritten::done:
        return text;
    case KivDrawingWritten::sheetProblem:
        throw py::value_error(problemText(drawing, sheet, format));
    case KivDrawingWritten::cancelled:
        throw py::error_already_set(std::move(*watch.raised));
    case KivDrawingWritten::failed:
        break;
    }
    throw RenderError("the drawing can't be written: " + kivToUtf8(kivSystemErrorText(kivGetLastError())));
}

KivSheet sheetOf(const py::dict& words) {
    KivSheet sheet;
    read(words, "page", kivReadPage, "a paper such as A4, 210x297mm, picture or fit", sheet);
    read(
        words, "scale", [](std::string_view text, KivSheet* s) { return kivReadScale(text, &s->scale); },
        "one such as 1:2", sheet);
    read(
        words, "margin", [](std::string_view text, KivSheet* s) { return kivReadLength(text, &s->margin); },
        "a length such as 10mm", sheet);
    read(
        words, "unit", [](std::string_view text, KivSheet* s) { return kivReadUnit(text, &s->modelUnit); },
        kivUnitNames(), sheet);
    read(words, "line_group", kivReadLineGroup, kivLineGroupNames(), sheet);
    read(words, "pens", kivReadPens, "widths such as contour=0.5mm,crease=0.25mm", sheet);
    read(
        words, "hidden",
        [](std::string_view text, KivSheet* s) {
            s->hidden = text == "thin"     ? KivSheet::Hidden::thin
                        : text == "dashed" ? KivSheet::Hidden::dashed
                                           : KivSheet::Hidden::none;
            return text == "thin" || text == "dashed" || text == "none";
        },
        "none, thin or dashed", sheet);
    if (words.contains("background")) {
        sheet.paintsBackground = words["background"].cast<bool>();
    }
    return sheet;
}
