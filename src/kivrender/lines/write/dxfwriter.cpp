#include "kivrender/lines/write/dxfwriter.h"

#include "kivrender/lines/write/drawingnames.h"
#include "kivrender/lines/write/dxfframe.h"
#include "kivrender/lines/write/pathcircle.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <numbers>
#include <optional>
#include <utility>

namespace {

constexpr double areaTolerance = 0.01; // of polylines in place of curves
// Curves that lie on a circle within this many pixels are a part of it: half of what they deviate from their line.
constexpr double circleTolerance = 0.05;
constexpr int samplesPerPiece = 8;
constexpr double wholeTurn = 2.0 * std::numbers::pi;
constexpr const char* hiddenLayer = "HIDDEN";
constexpr const char* areaLayer = "AREAS";

double angleOf(const PathCircle& circle, const KivPicturePoint& p) {
    return std::atan2(p.y - circle.centre.y, p.x - circle.centre.x);
}

// From 0 to a whole turn.
double turned(double radians) {
    const double rest = std::remainder(radians, wholeTurn);
    return rest < 0.0 ? rest + wholeTurn : rest;
}

double degrees(double radians) {
    return radians * 180.0 / std::numbers::pi;
}

std::string upper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - ('a' - 'A')) : c; });
    return text;
}

void addSamples(KivPicturePoint start, const KivCurvePiece& cubic, std::vector<KivPicturePoint>& samples) {
    for (int i = 1; i <= samplesPerPiece; ++i) {
        samples.push_back(kivPointOn(start, cubic, static_cast<double>(i) / samplesPerPiece));
    }
}

// A path as straight pieces and arcs: the corners, and for each the bulge of what follows, the tangent of a quarter of
// its angle, above 0 counter-clockwise.
struct BulgedLine {
    std::vector<KivPicturePoint> corners;
    std::vector<double> bulges;
};

std::optional<double> bulgeOf(const KivPicturePoint& start, const KivCurvePiece& piece, double tolerance) {
    if (piece.kind == KivCurvePiece::Kind::line) {
        return 0.0;
    }
    std::vector<KivPicturePoint> samples = {start};
    addSamples(start, piece, samples);
    if (!kivCircleThrough(samples, tolerance)) {
        return std::nullopt;
    }
    // By the height of the arc over its chord, at its middle.
    const double chord = std::hypot(piece.end.x - start.x, piece.end.y - start.y);
    const KivPicturePoint& top = samples[samplesPerPiece / 2];
    const double cross = (piece.end.x - start.x) * (top.y - start.y) - (piece.end.y - start.y) * (top.x - start.x);
    const double bulge = -2.0 * cross / (chord * chord);
    return std::isfinite(bulge) ? std::optional(bulge) : std::nullopt;
}

std::optional<BulgedLine> bulgedLine(const KivCurvePath& path, double tolerance) {
    BulgedLine line;
    line.corners = {path.start};
    for (const KivCurvePiece& piece : path.pieces) {
        const std::optional<double> bulge = bulgeOf(line.corners.back(), piece, tolerance);
        if (!bulge) {
            return std::nullopt;
        }
        line.bulges.push_back(*bulge);
        line.corners.push_back(piece.end);
    }
    if (path.closed && line.corners.size() > 1) {
        line.corners.pop_back();
    }
    line.bulges.resize(line.corners.size(), 0.0);
    return line;
}

// The circle that a path is a part of, or the whole.
std::optional<PathCircle> circleOf(const KivCurvePath& path, double tolerance, std::vector<KivPicturePoint>& samples) {
    samples = {path.start};
    for (const KivCurvePiece& piece : path.pieces) {
        if (piece.kind != KivCurvePiece::Kind::cubic) {
            return std::nullopt;
        }
        addSamples(samples.back(), piece, samples);
    }
    return kivCircleThrough(samples, tolerance);
}

// The angle that samples sweep, counter-clockwise above 0.
double sweepOf(const PathCircle& circle, const std::vector<KivPicturePoint>& samples) {
    double sweep = 0.0;
    for (std::size_t i = 1; i < samples.size(); ++i) {
        sweep += std::remainder(angleOf(circle, samples[i]) - angleOf(circle, samples[i - 1]), wholeTurn);
    }
    return sweep;
}

KivEllipseArc arcOf(const PathCircle& circle, const KivCurvePath& path, const std::vector<KivPicturePoint>& samples) {
    const double sweep = sweepOf(circle, samples);
    const bool isWhole = path.closed || std::fabs(sweep) > wholeTurn - 1e-6;
    return {circle.centre,
            circle.radius,
            circle.radius,
            0.0,
            angleOf(circle, path.start),
            isWhole ? std::copysign(wholeTurn, sweep) : sweep};
}

class DxfWriter {
public:
    DxfWriter(const KivVectorDrawing& drawn, const SheetLayout& sheetLayout, DrawingSink& out)
        : drawing(drawn), layout(sheetLayout), text(out),
          tolerance(circleTolerance * sheetLayout.page().millimetresPerPixel) {}

    bool write() {
        chooseLayers();
        // Each stroke and each ring is one entity, and each object at most one group.
        const std::size_t most = countEntities() + drawing.objects.size() + 1;
        dxfframe::writeBeginning(text, page(), layers, dxfframe::firstFree + static_cast<DxfHandle>(most));
        if (!writeAreas() || !writeStrokes()) {
            return false;
        }
        dxfframe::writeEnd(text, groups(), handle);
        return text.out().goesOn();
    }

private:
    std::string layerOf(const KivStroke& stroke) const {
        return stroke.hidden ? hiddenLayer : upper(kivNameOf(stroke.kind));
    }

    std::size_t countEntities() const {
        std::size_t count = 0;
        for (const KivStroke& stroke : drawing.strokes) {
            count += layout.isDrawn(stroke) ? 1 : 0;
        }
        for (const KivArea& area : drawing.areas) {
            count += isOutlined(area) ? area.rings.size() : 0;
        }
        return count;
    }

    // The weight and colour that most strokes of a layer have are those of the layer.
    void chooseLayers() {
        std::map<std::string, std::map<std::pair<int, int>, std::size_t>> looks;
        for (const KivStroke& stroke : drawing.strokes) {
            if (layout.isDrawn(stroke)) {
                ++looks[layerOf(stroke)][{kivDxfWeight(layout.widthOf(stroke)), kivDxfColor(stroke.color)}];
                dashWidth = layout.isDashed(stroke) ? std::max(dashWidth, layout.widthOf(stroke)) : dashWidth;
            }
        }
        layers = {{"0"}};
        for (const auto& [name, counts] : looks) {
            const auto most = std::max_element(counts.begin(), counts.end(),
                                               [](const auto& a, const auto& b) { return a.second < b.second; });
            const bool isDashed = name == hiddenLayer && layout.wanted().hidden == KivSheet::Hidden::dashed;
            layers.push_back({name, most->first.second, isDashed, true, most->first.first});
        }
        if (std::any_of(drawing.areas.begin(), drawing.areas.end(),
                        [](const KivArea& area) { return SheetLayout::isDrawn(area); })) {
            layers.push_back({areaLayer, 7, false, layout.wanted().outlinesAreas, 0});
        }
    }

    dxfframe::Page page() const {
        dxfframe::Page made;
        made.width = layout.page().pageWidth;
        made.height = layout.page().pageHeight;
        if (dashWidth > 0.0) {
            made.dash = kivDashLength * dashWidth;
            made.gap = kivDashGap * dashWidth;
        }
        return made;
    }

    // An entity of a layer, up to its own subclass. What the layer says as well is left out.
    DxfText& begin(std::string_view name, const std::string& layerName, int color, int weight, std::uint32_t object) {
        members[object < drawing.objects.size() ? object : 0].push_back(handle);
        text.begin(name, handle++, dxfframe::modelSpace, "AcDbEntity").add(8, layerName);
        const auto layer =
            std::find_if(layers.begin(), layers.end(), [&](const DxfLayer& l) { return l.name == layerName; });
        if (layer->color != color) {
            text.add(62, color);
        }
        if (layer->weight != weight) {
            text.add(370, weight);
        }
        return text;
    }

    DxfText& begin(std::string_view name, const KivStroke& stroke) {
        return begin(name, layerOf(stroke), kivDxfColor(stroke.color), kivDxfWeight(layout.widthOf(stroke)),
                     stroke.object);
    }

    // What covers a sheet has no outline on it.
    bool isOutlined(const KivArea& area) const {
        return SheetLayout::isDrawn(area) && !layout.coversSheet(area);
    }
    bool writeAreas() {
        for (const KivArea& area : drawing.areas) {
            if (!isOutlined(area)) {
                continue;
            }
            for (const KivCurvePath& ring : area.rings) {
                BulgedLine line{kivFlattenCurve(layout.placed(ring), areaTolerance), {}};
                if (line.corners.size() > 1) {
                    line.corners.pop_back();
                }
                begin("LWPOLYLINE", areaLayer, kivDxfColor(area.color), 0, area.object);
                writePolyline(line, true);
            }
            if (!text.out().goesOn()) {
                return false;
            }
        }
        return true;
    }

    bool writeStrokes() {
        for (const KivStroke& stroke : drawing.strokes) {
            if (layout.isDrawn(stroke)) {
                writeStroke(stroke);
            }
            if (!text.out().goesOn()) {
                return false;
            }
        }
        return true;
    }

    void writeStroke(const KivStroke& stroke) {
        if (stroke.arc) {
            writeArc(stroke, layout.placed(*stroke.arc));
            return;
        }
        const KivCurvePath path = layout.placed(stroke.path);
        std::vector<KivPicturePoint> samples;
        if (path.pieces.empty()) {
            begin("POINT", stroke).add(100, "AcDbPoint").addPoint(10, path.start);
        } else if (path.pieces.size() == 1 && path.pieces[0].kind == KivCurvePiece::Kind::line) {
            begin("LINE", stroke).add(100, "AcDbLine").addPoint(10, path.start).addPoint(11, path.pieces[0].end);
        } else if (const std::optional<PathCircle> circle = circleOf(path, tolerance, samples)) {
            writeArc(stroke, arcOf(*circle, path, samples));
        } else if (const std::optional<BulgedLine> line = bulgedLine(path, tolerance)) {
            begin("LWPOLYLINE", stroke);
            writePolyline(*line, path.closed);
        } else {
            begin("SPLINE", stroke);
            writeSpline(path);
        }
    }

    void writeArc(const KivStroke& stroke, const KivEllipseArc& arc) {
        const double first = arc.sweep > 0.0 ? arc.from : arc.from + arc.sweep;
        const double last = first + std::fabs(arc.sweep);
        if (!arc.isCircle()) {
            const KivPicturePoint end = arc.at(0.0);
            begin("ELLIPSE", stroke).add(100, "AcDbEllipse").addPoint(10, arc.centre);
            text.addPoint(11, {end.x - arc.centre.x, end.y - arc.centre.y}).add(210, 0.0).add(220, 0.0).add(230, 1.0);
            text.add(40, arc.across / arc.along);
            text.add(41, arc.isWhole() ? 0.0 : turned(first))
                .add(42, arc.isWhole() ? wholeTurn : turned(first) + last - first);
            return;
        }
        begin(arc.isWhole() ? "CIRCLE" : "ARC", stroke).add(100, "AcDbCircle").addPoint(10, arc.centre);
        text.add(40, arc.along);
        if (!arc.isWhole()) {
            text.add(100, "AcDbArc").add(50, degrees(turned(first))).add(51, degrees(turned(last)));
        }
    }

    void writePolyline(const BulgedLine& line, bool closed) {
        text.add(100, "AcDbPolyline").add(90, static_cast<int>(line.corners.size())).add(70, closed ? 1 : 0);
        for (std::size_t i = 0; i < line.corners.size(); ++i) {
            text.addPoint(10, line.corners[i], false);
            if (!line.bulges.empty() && line.bulges[i] != 0.0) {
                text.add(42, line.bulges[i]);
            }
        }
    }

    // Bézier pieces are a spline whose knots are threefold where they meet.
    void writeSpline(const KivCurvePath& path) {
        const auto pieces = static_cast<int>(path.pieces.size());
        constexpr int planar = 8;
        text.add(100, "AcDbSpline").add(210, 0.0).add(220, 0.0).add(230, 1.0).add(70, planar).add(71, 3);
        text.add(72, 3 * pieces + 5).add(73, 3 * pieces + 1).add(74, 0).add(42, 1e-6).add(43, 1e-6);
        for (int knot = 0; knot <= pieces; ++knot) {
            const int times = knot == 0 || knot == pieces ? 4 : 3;
            for (int i = 0; i < times; ++i) {
                text.add(40, static_cast<double>(knot));
            }
        }
        KivPicturePoint at = path.start;
        text.addPoint(10, at);
        for (const KivCurvePiece& piece : path.pieces) {
            const auto between = [&](double t) {
                return KivPicturePoint{at.x + (piece.end.x - at.x) * t, at.y + (piece.end.y - at.y) * t};
            };
            const bool isCubic = piece.kind == KivCurvePiece::Kind::cubic;
            text.addPoint(10, isCubic ? piece.control[0] : between(1.0 / 3.0));
            text.addPoint(10, isCubic ? piece.control[1] : between(2.0 / 3.0));
            text.addPoint(10, piece.end);
            at = piece.end;
        }
    }

    // Of the objects that have a name.
    std::vector<DxfGroup> groups() {
        UniqueNames names;
        std::vector<DxfGroup> made;
        for (auto& [object, entities] : members) {
            if (object < drawing.objects.size() && !drawing.objects[object].name.empty()) {
                const std::string name = kivPlainName(drawing.objects[object].name);
                made.push_back(
                    {names.give(name.empty() ? "OBJECT-" + std::to_string(object) : upper(name)), std::move(entities)});
            }
        }
        return made;
    }

    const KivVectorDrawing& drawing;
    const SheetLayout& layout;
    DxfText text;
    double tolerance;
    double dashWidth = 0.0; // the widest dashed line
    std::vector<DxfLayer> layers;
    std::map<std::uint32_t, std::vector<DxfHandle>> members; // by object
    DxfHandle handle = dxfframe::firstFree;
};

} // namespace

bool kivWriteDxf(const KivVectorDrawing& drawing, const SheetLayout& layout, DrawingSink& sink) {
    return DxfWriter(drawing, layout, sink).write();
}
