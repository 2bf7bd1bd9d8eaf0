#include "kivrender/lines/doublelines.h"

#include "kivrender/lines/evenpart.h"
#include "kivrender/lines/stretchindex.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace {

constexpr double nearby = 0.05;   // lines that lie nearer, in pixels, are one
constexpr double leastRest = 0.1; // what is left of a line between others, in pixels, is rounding

// A part of a stretch, from 0 at its start to 1 at its end.
using Part = std::pair<double, double>;

// The lines drawn so far.
class Drawn {
public:
    void add(const Stretch& line) {
        lines.add(line);
    }
    // The parts of the line that lie on lines drawn so far, sorted and joined.
    const std::vector<Part>& partsOf(const Stretch& line) {
        found.clear();
        for (const std::uint32_t number : lines.near(line)) {
            take(line, lines[number]);
        }
        join();
        return found;
    }
    // Lines that were looked at, since the last call.
    std::size_t takeWork() {
        return lines.takeWork();
    }

private:
    void take(const Stretch& line, const Stretch& other) {
        const double dx = line.end.x - line.start.x;
        const double dy = line.end.y - line.start.y;
        const double length = std::hypot(dx, dy);
        if (!(length > 0.0)) {
            return;
        }
        const auto along = [&](const KivPicturePoint& p) {
            return ((p.x - line.start.x) * dx + (p.y - line.start.y) * dy) / (length * length);
        };
        const auto aside = [&](const KivPicturePoint& p) {
            return ((p.y - line.start.y) * dx - (p.x - line.start.x) * dy) / length;
        };
        double from = along(other.start);
        double to = along(other.end);
        double fromAside = aside(other.start);
        double toAside = aside(other.end);
        if (from > to) {
            std::swap(from, to);
            std::swap(fromAside, toAside);
        }
        const double first = std::max(from, 0.0);
        const double last = std::min(to, 1.0);
        if (!((last - first) * length > 1e-6)) {
            return;
        }
        const auto asideAt = [&](double t) { return fromAside + (toAside - fromAside) * (t - from) / (to - from); };
        if (std::fabs(asideAt(first)) <= nearby && std::fabs(asideAt(last)) <= nearby) {
            found.emplace_back(first, last);
        }
    }
    void join() {
        std::sort(found.begin(), found.end());
        std::size_t kept = 0;
        for (std::size_t i = 1; i < found.size(); ++i) {
            if (found[i].first <= found[kept].second) {
                found[kept].second = std::max(found[kept].second, found[i].second);
            } else {
                found[++kept] = found[i];
            }
        }
        found.resize(found.empty() ? 0 : kept + 1);
    }

    StretchIndex lines;
    std::vector<Part> found;
};

class Taker {
public:
    Taker(const KivLineView& seenFrom, const LineSegments& known, LineBudget& work)
        : view(seenFrom), segments(known), budget(work) {}

    void take(LineCourse& course, LineSight sight) {
        spans.clear();
        for (const LineSpan& span : course.spans) {
            const bool asked = budget.goesOn() && span.sight == sight && !segments.all[span.segment].isInterpolated;
            if (asked) {
                split(span);
                budget.spend(drawn.takeWork());
            } else {
                spans.push_back(span);
            }
        }
        course.spans.swap(spans);
    }

private:
    void split(const LineSpan& span) {
        const Stretch line = {span.start, span.end};
        const std::vector<Part>& parts = drawn.partsOf(line);
        const std::size_t before = spans.size();
        double done = 0.0;
        for (const auto& [from, to] : parts) {
            if ((from - done) * span.length > leastRest) {
                push(span, done, from, span.sight);
                done = from;
            }
            push(span, done, to, LineSight::doubled);
            done = to;
        }
        if ((1.0 - done) * span.length > leastRest || parts.empty()) {
            push(span, done, 1.0, span.sight);
        } else {
            push(span, done, 1.0, LineSight::doubled);
        }
        for (std::size_t i = before; i < spans.size(); ++i) {
            if (spans[i].sight != LineSight::doubled) {
                drawn.add({spans[i].start, spans[i].end});
            }
        }
    }
    // The part between two places of the span, from 0 to 1 in the picture.
    void push(const LineSpan& span, double from, double to, LineSight sight) {
        if (!(from < to)) {
            return;
        }
        LineSpan part = span;
        part.sight = sight;
        part.length = span.length * (to - from);
        const LineSegment& segment = segments.all[span.segment];
        const double depthFirst = view.toCamera(segment.at(span.first)).z;
        const double depthLast = view.toCamera(segment.at(span.last)).z;
        const auto cut = [&](double at, double* parameter, KivPicturePoint* place) {
            const double even = kivEvenPart(view, depthFirst, depthLast, at);
            *parameter = span.first + (span.last - span.first) * even;
            *place = {span.start.x + (span.end.x - span.start.x) * at, span.start.y + (span.end.y - span.start.y) * at};
        };
        if (from > 0.0) {
            cut(from, &part.first, &part.start);
        }
        if (to < 1.0) {
            cut(to, &part.last, &part.end);
        }
        spans.push_back(part);
    }

    const KivLineView& view;
    const LineSegments& segments;
    LineBudget& budget;
    Drawn drawn;
    std::vector<LineSpan> spans;
};

// What the model says comes before what is found.
int rankOf(KivStrokeKind kind) {
    switch (kind) {
    case KivStrokeKind::contour:
        return 0;
    case KivStrokeKind::edge:
        return 1;
    case KivStrokeKind::boundary:
        return 2;
    case KivStrokeKind::crease:
        return 3;
    case KivStrokeKind::material:
        return 4;
    case KivStrokeKind::tangent:
        return 5;
    case KivStrokeKind::intersection:
    case KivStrokeKind::own:
        break;
    }
    return 6;
}

} // namespace

bool kivTakeOutDoubles(const KivLineView& view, const LineSegments& segments, LineBudget& budget,
                       std::vector<LineCourse>& courses) {
    std::vector<std::uint32_t> order;
    for (std::uint32_t i = 0; i < courses.size(); ++i) {
        if (courses[i].kind != KivStrokeKind::own) {
            order.push_back(i);
        }
    }
    std::stable_sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
        return rankOf(courses[a].kind) < rankOf(courses[b].kind);
    });
    Taker taker(view, segments, budget);
    for (const LineSight sight : {LineSight::seen, LineSight::hidden}) {
        for (const std::uint32_t number : order) {
            if (!budget.spend(courses[number].spans.size() + 1)) {
                return !budget.isCancelled();
            }
            taker.take(courses[number], sight);
        }
    }
    return !budget.isCancelled();
}
