// Lines and points of a recorded page as strokes: segments that follow one another become one line, and what opaque
// polygons hide of it goes, exactly and not by a depth buffer.
#include "kivrender/lines/kivoccluders.h"
#include "kivrender/lines/kivvectordrawing.h"
#include "kivrender/lines/windowview.h"
#include "kivrender/render/recordedpage.h"
#include "kivrender/scene/kivprogress.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr std::size_t vertexFloats = 7;
// In pixels, between what was drawn and the stroke.
constexpr double strokeTolerance = 0.05;
constexpr std::size_t itemsPerPoll = 4096;

struct RecordedLine {
    RecordedPaint paint;
    double width = 1.0;
    std::uint32_t object = 0;
    std::vector<KivVec> points; // places of the window's scene; one for a dot
};

KivVec placeOf(const float* vertex) {
    return kivWindowPlace(vertex[0], vertex[1], vertex[2]);
}

bool isSame(const KivVec& a, const KivVec& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

bool isFinite(const FeedbackItem& item) {
    for (std::size_t i = 0; i < static_cast<std::size_t>(item.count); ++i) {
        const float* const v = item.vertices + i * vertexFloats;
        if (!std::isfinite(v[0]) || !std::isfinite(v[1]) || !std::isfinite(v[2])) {
            return false;
        }
    }
    return true;
}

// A segment that goes on where the one before ended, in the same look, makes that one longer.
std::vector<RecordedLine> linesOf(std::span<const float> library) {
    std::vector<RecordedLine> lines;
    LibraryFeedback feedback(library);
    FeedbackItem item;
    while (feedback.next(item)) {
        const bool isPoint = item.token == FeedbackToken::point && item.count == 1;
        if ((!isPoint && (item.token != FeedbackToken::line || item.count != 2)) || !isFinite(item)) {
            continue;
        }
        const RecordedPaint paint = kivPaintOf(item, feedback.state());
        const double width = isPoint ? feedback.state().pointSize : feedback.state().lineWidth;
        const std::uint32_t object = feedback.state().object;
        const KivVec from = placeOf(item.vertices);
        if (isPoint) {
            lines.push_back({paint, width, object, {from}});
            continue;
        }
        const KivVec to = placeOf(item.vertices + vertexFloats);
        RecordedLine* const last = lines.empty() ? nullptr : &lines.back();
        if (last != nullptr && last->points.size() > 1 && isSame(last->points.back(), from) && last->paint == paint &&
            last->width == width && last->object == object) {
            last->points.push_back(to);
        } else {
            lines.push_back({paint, width, object, {from, to}});
        }
    }
    return lines;
}

// The slope of a triangle's depth per pixel, as polygon offset takes it, times what a slope is worth.
double behindOf(const KivVec& a, const KivVec& b, const KivVec& c, const PolygonShift& shift) {
    constexpr double depthStep = 0x1p-24;
    const KivVec normal = kivCross(b - a, c - a);
    const double steepest =
        normal.z != 0.0 ? std::max(std::fabs(normal.x), std::fabs(normal.y)) / std::fabs(normal.z) : 0.0;
    return shift.slopes * steepest + shift.steps * depthStep * kivWindowDepth;
}

// What hides lines: the triangles of opaque polygons, each as far behind itself as it was drawn.
class Hiding {
public:
    explicit Hiding(const KivVectorDrawing& drawing) : occluders(kivWindowView(drawing.width, drawing.height)) {}

    bool build(std::span<const float> library) {
        LibraryFeedback feedback(library);
        FeedbackItem item;
        for (std::size_t i = 0; feedback.next(item); ++i) {
            if (i % itemsPerPoll == 0 && kivIsCancelled()) {
                return false;
            }
            const FeedbackState& state = feedback.state();
            if (item.token == FeedbackToken::polygon && isFinite(item) && kivPaintOf(item, state).opacity >= 1.0) {
                addFan(item, state.offset ? PolygonShift{state.offsetFactor, state.offsetUnits} : PolygonShift{});
            }
        }
        return occluders.add(points, triangles) && occluders.build();
    }
    void visibleParts(const KivVec& a, const KivVec& b, std::vector<KivLinePart>& parts) const {
        occluders.visibleParts(a, b, parts);
    }

private:
    void addFan(const FeedbackItem& item, const PolygonShift& shift) {
        for (int i = 2; i < item.count; ++i) {
            const auto first = static_cast<std::uint32_t>(points.size());
            KivVec corners[3] = {placeOf(item.vertices), placeOf(item.vertices + vertexFloats * (i - 1)),
                                 placeOf(item.vertices + vertexFloats * i)};
            const double behind = behindOf(corners[0], corners[1], corners[2], shift);
            for (KivVec& corner : corners) {
                corner.z -= behind;
                points.push_back(corner);
            }
            triangles.push_back({first, first + 1, first + 2});
        }
    }

    KivOccluders occluders;
    std::vector<KivVec> points;
    std::vector<KivOccluders::Triangle> triangles;
};

KivPicturePoint pictureOf(const KivVec& place) {
    return {place.x, place.y};
}

// Collects the visible parts of one line and adds them as strokes.
class StrokeMaker {
public:
    StrokeMaker(const Hiding& hides, KivVectorDrawing& into) : hiding(hides), drawing(into) {}

    void add(const RecordedLine& line) {
        if (line.points.size() == 1) {
            addDot(line);
            return;
        }
        const bool closed = line.points.size() > 3 && isSame(line.points.front(), line.points.back());
        runs.clear();
        bool goesOn = false;
        for (std::size_t i = 0; i + 1 < line.points.size(); ++i) {
            goesOn = addSegment(line.points[i], line.points[i + 1], goesOn);
        }
        joinEnds(closed, line);
        for (const std::vector<KivPicturePoint>& run : runs) {
            addStroke(line, run, false);
        }
    }

private:
    void addDot(const RecordedLine& line) {
        // A point is seen where the shortest line from it is.
        const KivVec& at = line.points[0];
        hiding.visibleParts(at, {at.x + 1e-3, at.y, at.z}, parts);
        if (!parts.empty() && parts[0].from <= 0.0) {
            addStroke(line, {pictureOf(at)}, false);
        }
    }
    // Whether the run that it leaves is open at its end.
    bool addSegment(const KivVec& a, const KivVec& b, bool goesOn) {
        hiding.visibleParts(a, b, parts);
        bool reachesEnd = false;
        for (const KivLinePart& part : parts) {
            if (part.from > 0.0 || !goesOn || runs.empty()) {
                runs.push_back({pictureOf(a + (b - a) * part.from)});
            }
            runs.back().push_back(pictureOf(part.to < 1.0 ? a + (b - a) * part.to : b));
            reachesEnd = part.to >= 1.0;
        }
        return reachesEnd;
    }
    // The last run of a closed line goes on with the first.
    void joinEnds(bool closed, const RecordedLine& line) {
        if (!closed || runs.empty()) {
            return;
        }
        const KivPicturePoint start = pictureOf(line.points.front());
        const auto isStart = [&](const KivPicturePoint& p) { return p.x == start.x && p.y == start.y; };
        if (!isStart(runs.front().front()) || !isStart(runs.back().back())) {
            return;
        }
        if (runs.size() == 1) {
            runs[0].pop_back();
            addStroke(line, runs[0], true);
        } else {
            runs.back().insert(runs.back().end(), runs.front().begin() + 1, runs.front().end());
            runs.front().swap(runs.back());
            runs.pop_back();
            return;
        }
        runs.clear();
    }
    void addStroke(const RecordedLine& line, const std::vector<KivPicturePoint>& run, bool closed) {
        KivStroke stroke;
        stroke.kind = KivStrokeKind::own;
        stroke.object = line.object < drawing.objects.size() ? line.object : 0;
        stroke.color = line.paint.color;
        stroke.width = line.width;
        stroke.path = kivFitCurve(run, closed, strokeTolerance);
        drawing.strokes.push_back(std::move(stroke));
    }

    const Hiding& hiding;
    KivVectorDrawing& drawing;
    std::vector<std::vector<KivPicturePoint>> runs;
    std::vector<KivLinePart> parts;
};

} // namespace

bool RecordedPage::addStrokes(KivVectorDrawing& drawing) const {
    const std::vector<RecordedLine> lines = linesOf(library);
    if (lines.empty()) {
        return true;
    }
    Hiding hiding(drawing);
    if (!hiding.build(library)) {
        return false;
    }
    StrokeMaker maker(hiding, drawing);
    std::size_t segments = 0;
    for (const RecordedLine& line : lines) {
        segments += line.points.size();
        if (segments >= itemsPerPoll) {
            segments = 0;
            if (kivIsCancelled()) {
                return false;
            }
        }
        maker.add(line);
    }
    return true;
}
