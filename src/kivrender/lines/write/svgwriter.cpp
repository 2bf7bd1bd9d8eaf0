#include "kivrender/lines/write/svgwriter.h"

#include "kivrender/lines/write/drawingnames.h"
#include "kivrender/lines/write/packedpicture.h"
#include "kivrender/lines/write/strokegroups.h"
#include "kivrender/lines/write/svgclasses.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <set>
#include <span>
#include <string>

namespace {

constexpr double millimetresPerPixel = 25.4 / 96.0;
// libxml2, by which many programs read such files, takes no attribute of more than 10 million characters.
constexpr std::size_t mostPictureBytes = 7'000'000;

// Whole steps of the last digit: differences of them have no error that adds up along a path.
struct Steps {
    std::int64_t x = 0;
    std::int64_t y = 0;
};

// One path's data, in steps from point to point.
class PathText {
public:
    PathText(const SheetLayout& sheetLayout, double unit, int numberDecimals)
        : layout(sheetLayout), decimals(numberDecimals), stepsPerUnit(std::pow(10.0, numberDecimals)),
          stepsPerMillimetre(stepsPerUnit / unit) {}

    // area: that the path is a ring of; null for a stroke.
    void add(const KivCurvePath& path, const KivArea* area) {
        owner = area;
        const Steps start = stepsOf(path.start);
        put('M', start, {});
        at = start;
        if (path.pieces.empty()) {
            text += "h0"; // a dot, by its round ends
        }
        for (std::size_t i = 0; i < path.pieces.size(); ++i) {
            const bool isClosing = path.closed && i + 1 == path.pieces.size();
            addPiece(path.pieces[i], isClosing);
        }
        text += path.closed && !path.pieces.empty() ? "z" : "";
        last = 0;
    }
    const std::string& data() const {
        return text;
    }

private:
    void addPiece(const KivCurvePiece& piece, bool isClosing) {
        const Steps end = stepsOf(piece.end);
        if (piece.kind == KivCurvePiece::Kind::cubic) {
            put('c', stepsOf(piece.control[0]), at);
            put('c', stepsOf(piece.control[1]), at);
            put('c', end, at);
        } else if (isClosing) {
            return; // "z" draws it
        } else if (end.y == at.y) {
            put('h');
            number(end.x - at.x);
        } else if (end.x == at.x) {
            put('v');
            number(end.y - at.y);
        } else {
            put('l', end, at);
        }
        at = end;
    }
    Steps stepsOf(const KivPicturePoint& p) const {
        const KivPicturePoint placed = owner != nullptr ? layout.place(p, *owner) : layout.place(p);
        return {std::llround(placed.x * stepsPerMillimetre),
                std::llround((layout.page().pageHeight - placed.y) * stepsPerMillimetre)};
    }
    // A command goes on until another one begins.
    void put(char command) {
        if (command != last) {
            text += command;
        }
        needsGap = command == last;
        last = command;
    }
    void put(char command, const Steps& to, const Steps& from) {
        put(command);
        number(to.x - from.x);
        number(to.y - from.y);
    }
    void number(std::int64_t steps) {
        if (needsGap && steps >= 0) {
            text += ' ';
        }
        kivAppendNumber(text, static_cast<double>(steps) / stepsPerUnit, decimals);
        needsGap = true;
    }

    const SheetLayout& layout;
    const KivArea* owner = nullptr;
    int decimals;
    double stepsPerUnit;
    double stepsPerMillimetre;
    std::string text;
    Steps at;
    char last = 0;
    bool needsGap = false;
};

// A circle, an ellipse or an arc of one as an element: in units of the file, whose y axis points down, so that what
// runs counter-clockwise has angles that fall.
class ArcText {
public:
    ArcText(const SheetLayout& sheetLayout, double fileUnit) : layout(sheetLayout), unit(fileUnit) {}

    // From "<circle" on, with these attributes.
    std::string element(const KivEllipseArc& arc, const std::string& attributes) const {
        const KivEllipseArc placed = layout.placed(arc);
        if (!arc.isWhole()) {
            return "<path" + attributes + " d=\"" + data(placed) + "\"/>\n";
        }
        const KivPicturePoint middle = inFile(placed.centre);
        const std::string centre = " cx=\"" + number(middle.x) + "\" cy=\"" + number(middle.y) + "\"";
        if (arc.isCircle()) {
            return "<circle" + attributes + centre + " r=\"" + number(placed.along / unit) + "\"/>\n";
        }
        const std::string turn = angle(arc);
        return "<ellipse" + attributes + centre + " rx=\"" + number(placed.along / unit) + "\" ry=\"" +
               number(placed.across / unit) +
               (turn == "0"
                    ? "\""
                    : "\" transform=\"rotate(" + turn + ' ' + number(middle.x) + ' ' + number(middle.y) + ")\"") +
               "/>\n";
    }

private:
    // In pieces of at most a quarter: near half an ellipse the digits of its radii would move its middle.
    std::string data(const KivEllipseArc& placed) const {
        const KivPicturePoint start = inFile(placed.at(placed.from));
        std::string text = "M" + number(start.x) + ' ' + number(start.y);
        const int pieces = static_cast<int>(std::ceil(std::fabs(placed.sweep) / (0.5 * std::numbers::pi)));
        const std::string shape = "A" + number(placed.along / unit) + ' ' + number(placed.across / unit) + ' ' +
                                  angle(placed) + (placed.sweep > 0.0 ? " 0 0 " : " 0 1 ");
        for (int i = 1; i <= pieces; ++i) {
            const KivPicturePoint end = inFile(placed.at(placed.from + placed.sweep * i / pieces));
            text += shape + number(end.x) + ' ' + number(end.y);
        }
        return text;
    }
    KivPicturePoint inFile(const KivPicturePoint& placed) const {
        return {placed.x / unit, (layout.page().pageHeight - placed.y) / unit};
    }
    static std::string angle(const KivEllipseArc& arc) {
        return arc.isCircle() ? "0" : kivNumberText(-arc.turn * 180.0 / std::numbers::pi, 4);
    }
    static std::string number(double value) {
        return kivNumberText(value, 4);
    }

    const SheetLayout& layout;
    double unit;
};

class SvgWriter {
public:
    SvgWriter(const KivVectorDrawing& drawn, const SheetLayout& sheetLayout, DrawingSink& out)
        : drawing(drawn), layout(sheetLayout), sink(out), isInPixels(inPixels(sheetLayout)),
          unit(isInPixels ? millimetresPerPixel : 1.0), decimals(isInPixels ? 2 : 3),
          classes(drawn, sheetLayout, unit, decimals), groups(kivStrokeGroups(drawn, sheetLayout)),
          runs(kivAreaRuns(drawn)) {}

    bool write() {
        writeHead();
        std::set<std::uint32_t> painted;
        for (const AreaRun& run : runs) {
            painted.insert(run.object);
        }
        if (painted.size() > 1 && !writeAreasOfAll()) {
            return false;
        }
        std::set<std::uint32_t> objects;
        for (const StrokeGroup& group : groups) {
            objects.insert(group.object);
        }
        // The only one that is painted has its areas with it and comes first: they would cover what others have drawn.
        if (painted.size() == 1) {
            objects.erase(*painted.begin());
            if (!writeObject(*painted.begin(), true)) {
                return false;
            }
        }
        for (const std::uint32_t object : objects) {
            if (!writeObject(object, false)) {
                return false;
            }
        }
        sink << "</svg>\n";
        return true;
    }

private:
    // The picture's own frame is counted in pixels, sheets in millimetres.
    static bool inPixels(const SheetLayout& layout) {
        return layout.wanted().page == KivSheet::Page::picture && layout.wanted().scale == 0.0;
    }
    std::string number(double millimetres) const {
        return kivNumberText(millimetres / unit, decimals);
    }

    void writeHead() {
        const std::string width = number(layout.page().pageWidth);
        const std::string height = number(layout.page().pageHeight);
        const char* const name = isInPixels ? "px" : "mm";
        sink << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\" "
                "xmlns:inkscape=\"http://www.inkscape.org/namespaces/inkscape\" "
             << (hasPictures() ? "xmlns:xlink=\"http://www.w3.org/1999/xlink\" " : "") << "version=\"1.1\" width=\""
             << width << name << "\" height=\"" << height << name << "\" viewBox=\"0 0 " << width << ' ' << height
             << "\">\n";
        if (!drawing.title.empty()) {
            sink << "<title>" << kivXmlText(drawing.title) << "</title>\n";
        }
        sink << "<style>\n" << classes.rules() << "</style>\n";
        if (layout.wanted().paintsBackground) {
            sink << "<rect id=\"" << ids.give("background") << "\" width=\"" << width << "\" height=\"" << height
                 << "\" fill=\"" << kivSvgColor(drawing.background) << "\"/>\n";
        }
    }

    // The beginning of a group that Inkscape shows as a layer.
    void openLayer(const std::string& id, const std::string& classNames, const std::string& label) {
        sink << "<g id=\"" << ids.give(id) << "\" class=\"" << classNames
             << "\" inkscape:groupmode=\"layer\" inkscape:label=\"" << label << "\">\n";
    }

    std::string idOf(std::uint32_t object) const {
        const std::string name =
            object < drawing.objects.size() ? kivXmlName(drawing.objects[object].name) : std::string();
        return !name.empty() ? name : object == 0 ? "other" : "object-" + std::to_string(object);
    }

    // A name that no rule of the stylesheet has.
    std::string classOf(std::uint32_t object) const {
        const std::string name = idOf(object);
        return classes.isRule(name) ? "object-" + name : name;
    }

    bool writeAreasOfAll() {
        openLayer("areas", "object areas", "areas");
        for (const AreaRun& run : runs) {
            sink << "<g class=\"" << classOf(run.object) << "\">\n";
            if (!writeAreas(run)) {
                return false;
            }
            sink << "</g>\n";
        }
        sink << "</g>\n";
        return true;
    }

    bool writeObject(std::uint32_t object, bool withAreas) {
        const std::string id = ids.give(idOf(object));
        const std::string label = kivXmlText(kivLabelOf(drawing, object));
        sink << "<g id=\"" << id << "\" class=\"object " << classOf(object)
             << "\" inkscape:groupmode=\"layer\" inkscape:label=\"" << label << "\">\n<title>" << label << "</title>\n";
        if (withAreas) {
            openLayer(id + "-areas", "areas", "areas");
            for (const AreaRun& run : runs) {
                if (!writeAreas(run)) {
                    return false;
                }
            }
            sink << "</g>\n";
        }
        if (!writeHidden(object, id) || !writeVisible(object, id)) {
            return false;
        }
        sink << "</g>\n";
        return true;
    }

    bool writeHidden(std::uint32_t object, const std::string& id) {
        bool isOpen = false;
        for (const StrokeGroup& group : groupsOf(object)) {
            if (!group.hidden) {
                continue;
            }
            if (!isOpen) {
                openLayer(id + "-hidden", "hidden", "hidden");
                isOpen = true;
            }
            const std::string name = SvgClasses::mainClass(group.kind, true);
            openLayer(id + "-" + name, name, std::string("hidden ") + kivNameOf(group.kind));
            if (!writeStrokes(group)) {
                return false;
            }
        }
        sink << (isOpen ? "</g>\n" : "");
        return true;
    }

    bool writeVisible(std::uint32_t object, const std::string& id) {
        for (const StrokeGroup& group : groupsOf(object)) {
            if (group.hidden) {
                continue;
            }
            const std::string name = kivNameOf(group.kind);
            openLayer(id + "-" + name, name, name);
            if (!writeStrokes(group)) {
                return false;
            }
        }
        return true;
    }

    // The strokes of a group, and its end.
    bool writeStrokes(const StrokeGroup& group) {
        for (const std::size_t number : group.strokes) {
            write(drawing.strokes[number]);
            if (!sink.goesOn()) {
                return false;
            }
        }
        sink << "</g>\n";
        return true;
    }

    void write(const KivStroke& stroke) {
        if (stroke.arc) {
            sink << ArcText(layout, unit).element(*stroke.arc, classes.attributes(stroke));
            return;
        }
        PathText path(layout, unit, decimals);
        path.add(stroke.path, nullptr);
        sink << "<path" << classes.attributes(stroke) << " d=\"" << path.data() << "\"/>\n";
    }

    bool hasPictures() const {
        return std::any_of(drawing.areas.begin(), drawing.areas.end(),
                           [](const KivArea& area) { return area.picture != nullptr; });
    }

    // The older name of the link is the one that all programs know.
    void writePicture(const KivArea& area, const std::string& path) {
        const KivAreaPicture& picture = *area.picture;
        const KivPicturePoint low = layout.place(picture.low);
        const KivPicturePoint high = layout.place(picture.high);
        const std::string id = ids.give("texture");
        sink << "<clipPath id=\"" << id << "\"><path clip-rule=\"evenodd\" d=\"" << path
             << "\"/></clipPath>\n<image clip-path=\"url(#" << id << ")\" x=\"" << number(low.x) << "\" y=\""
             << number(layout.page().pageHeight - high.y) << "\" width=\"" << number(high.x - low.x) << "\" height=\""
             << number(high.y - low.y) << "\" preserveAspectRatio=\"none\" xlink:href=\"data:image/png;base64,"
             << kivBase64(kivPngFor(picture, layout, mostPictureBytes)) << "\"/>\n";
    }

    bool writeAreas(const AreaRun& run) {
        for (const std::size_t number : run.areas) {
            const KivArea& area = drawing.areas[number];
            PathText path(layout, unit, decimals);
            for (const KivCurvePath& ring : area.paintedRings()) {
                path.add(ring, &area);
            }
            if (area.picture != nullptr) {
                writePicture(area, path.data());
            } else {
                sink << "<path" << classes.attributes(area) << " d=\"" << path.data() << "\"/>\n";
            }
            if (!sink.goesOn()) {
                return false;
            }
        }
        return true;
    }

    // Those of one object stand together.
    std::span<const StrokeGroup> groupsOf(std::uint32_t object) const {
        const auto found = std::ranges::equal_range(groups, object, {}, &StrokeGroup::object);
        return {found.begin(), found.end()};
    }

    const KivVectorDrawing& drawing;
    const SheetLayout& layout;
    DrawingSink& sink;
    bool isInPixels;
    double unit; // millimetres of a unit of the file
    int decimals;
    SvgClasses classes;
    std::vector<StrokeGroup> groups;
    std::vector<AreaRun> runs;
    UniqueNames ids;
};

} // namespace

bool kivWriteSvg(const KivVectorDrawing& drawing, const SheetLayout& layout, DrawingSink& sink) {
    return SvgWriter(drawing, layout, sink).write();
}
