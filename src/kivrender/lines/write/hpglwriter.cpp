#include "kivrender/lines/write/hpglwriter.h"

#include "kivrender/lines/write/travelorder.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>
#include <vector>

namespace {

constexpr double unitsPerMillimetre = 40.0;
constexpr double tolerance = 0.0125; // half a unit
// Plotters hold eight pens.
constexpr int areaPen = 7;
constexpr int hiddenPen = 8;
constexpr int pens = hiddenPen;

int penOf(const KivStroke& stroke) {
    // Tangent edges have the pen of other edges.
    const KivStrokeKind kind = stroke.kind == KivStrokeKind::tangent ? KivStrokeKind::edge : stroke.kind;
    return stroke.hidden ? hiddenPen : static_cast<int>(kind) + 1;
}

// Small buffers of old plotters take so many corners of an instruction.
constexpr std::size_t cornersPerInstruction = 64;

using Line = std::vector<KivPicturePoint>;

// A line, or a circle or an arc of one.
struct Mark {
    Line line;
    std::optional<KivEllipseArc> circle;

    // Plotters draw a whole circle around the place of the pen and put it back there.
    PenLine ends() const {
        if (!circle) {
            return {line.front(), line.back()};
        }
        return circle->isWhole() ? PenLine{circle->centre, circle->centre}
                                 : PenLine{circle->at(circle->from), circle->at(circle->from + circle->sweep)};
    }
};

// The dashes of a line, in millimetres from its beginning on.
void addDashes(const Line& line, double dash, double gap, std::vector<Mark>& dashes) {
    bool isDrawn = true;
    double left = dash;
    Line current = {line.front()};
    for (std::size_t i = 1; i < line.size(); ++i) {
        KivPicturePoint from = line[i - 1];
        double length = std::hypot(line[i].x - from.x, line[i].y - from.y);
        while (length > left) {
            const double t = left / length;
            from = {from.x + (line[i].x - from.x) * t, from.y + (line[i].y - from.y) * t};
            length -= left;
            if (isDrawn) {
                current.push_back(from);
                dashes.push_back({current, {}});
            }
            isDrawn = !isDrawn;
            left = isDrawn ? dash : gap;
            current = {from};
        }
        left -= length;
        current.push_back(line[i]);
    }
    if (isDrawn && current.size() > 1) {
        dashes.push_back({current, {}});
    }
}

class HpglWriter {
public:
    HpglWriter(const SheetLayout& sheetLayout, DrawingSink& out) : layout(sheetLayout), sink(out), marks(pens + 1) {}

    void add(const KivStroke& stroke) {
        std::vector<Mark>& own = marks[static_cast<std::size_t>(penOf(stroke))];
        if (stroke.arc && stroke.arc->isCircle() && !layout.isDashed(stroke)) {
            own.push_back({{}, layout.placed(*stroke.arc)});
            return;
        }
        Line line = kivFlattenCurve(layout.placed(stroke.path), tolerance);
        const double width = layout.widthOf(stroke);
        // A pattern that is finer than a tenth of a millimetre can't be plotted.
        const double dash = std::max(kivDashLength * width, 0.4);
        if (layout.isDashed(stroke) && line.size() > 1) {
            addDashes(line, dash, dash * kivDashGap / kivDashLength, own);
        } else {
            own.push_back({std::move(line), {}});
        }
    }
    void add(const KivArea& area) {
        for (const KivCurvePath& ring : area.rings) {
            marks[areaPen].push_back({kivFlattenCurve(layout.placed(ring), tolerance), {}});
        }
    }

    bool write() {
        sink << "IN;\n";
        for (int pen = 1; pen <= pens; ++pen) {
            if (!marks[static_cast<std::size_t>(pen)].empty()) {
                sink << "SP" << pen << ";\n";
                if (!plot(marks[static_cast<std::size_t>(pen)])) {
                    return false;
                }
            }
        }
        sink << "PU;\nSP0;\n";
        return true;
    }

private:
    bool plot(const std::vector<Mark>& own) {
        std::vector<PenLine> ends;
        for (const Mark& mark : own) {
            ends.push_back(mark.ends());
        }
        const std::vector<PenTurn> turns = kivTravelOrder(ends, &at, [this] { return sink.isCancelled(); });
        for (const PenTurn& turn : turns) {
            const Mark& mark = own[turn.line];
            if (mark.circle) {
                plot(*mark.circle, turn.isReversed);
            } else {
                Line line = mark.line;
                if (turn.isReversed) {
                    std::reverse(line.begin(), line.end());
                }
                plot(line);
            }
            if (!sink.goesOn()) {
                return false;
            }
        }
        return turns.size() == own.size();
    }
    // Plotters draw chords, of five degrees unless they are told how many; many take whole degrees alone.
    static int chordOf(const KivEllipseArc& circle) {
        const double angle = 2.0 * std::acos(std::max(1.0 - tolerance / circle.along, -1.0));
        return static_cast<int>(std::clamp(std::floor(degrees(angle)), 1.0, 5.0));
    }
    void plot(const KivEllipseArc& circle, bool isReversed) {
        sink << "PU";
        if (circle.isWhole()) {
            put(circle.centre);
            sink << ";CI" << units(circle.along) << ',' << chordOf(circle) << ";\n";
            return;
        }
        put(circle.at(isReversed ? circle.from + circle.sweep : circle.from));
        sink << ";PD;AA";
        put(circle.centre);
        sink << ',' << degrees(isReversed ? -circle.sweep : circle.sweep) << ',' << chordOf(circle) << ";\n";
    }
    static double degrees(double radians) {
        return radians * 180.0 / std::numbers::pi;
    }

    static int units(double millimetres) {
        return static_cast<int>(std::lround(millimetres * unitsPerMillimetre));
    }
    void put(const KivPicturePoint& p) {
        sink << units(p.x) << ',' << units(p.y);
    }
    void plot(const Line& line) {
        sink << "PU";
        put(line.front());
        sink << ";PD";
        if (line.size() == 1) {
            put(line.front());
        }
        for (std::size_t i = 1; i < line.size(); ++i) {
            if (i % cornersPerInstruction == 0) {
                sink << ";\nPD";
            } else if (i > 1) {
                sink << ',';
            }
            put(line[i]);
        }
        sink << ";\n";
    }

    const SheetLayout& layout;
    DrawingSink& sink;
    std::vector<std::vector<Mark>> marks; // by pen
    KivPicturePoint at;
};

} // namespace

bool kivWriteHpgl(const KivVectorDrawing& drawing, const SheetLayout& layout, DrawingSink& sink) {
    HpglWriter writer(layout, sink);
    if (layout.wanted().outlinesAreas) {
        for (const KivArea& area : drawing.areas) {
            if (SheetLayout::isDrawn(area) && !layout.coversSheet(area)) {
                writer.add(area);
            }
        }
    }
    for (const KivStroke& stroke : drawing.strokes) {
        if (layout.isDrawn(stroke)) {
            writer.add(stroke);
        }
    }
    return writer.write();
}
