#include "kivrender/lines/linespans.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace {

// A smooth contour is tested for visibility that many times as far off the mesh as the surface may depart from it.
constexpr double liftOff = 1.5;

// The seen part of a smooth contour is checked every so many pixels, where its lift comes to more than so many.
constexpr double seenStep = 1.0;
constexpr double slightLift = 0.5;
// The mesh beside a contour stands before it by no more than so many sides of its triangles.
constexpr double ownReach = 2.0;
constexpr double onMesh = 0.01; // in pixels: nearer is on it

// Exact lines have gaps only where many triangles meet at a corner and rounding decides.
constexpr double exactGap = 0.25;

// An exact line goes on over so many pixels, too, where a surface that is all but edge-on reaches over it by less than
// so many: that surface has no line of its own there, and both of its sides show what the edge divides.
constexpr double longestSliver = 32.0;
constexpr double thinnest = 0.25;
constexpr double sliverStep = 1.0;
constexpr double onPlane = 0.1; // in pixels

// A contour goes on over so many pixels where it lies by no more than so many behind the edge of what hides it.
constexpr double longestDip = 8.0;
constexpr double slightDip = 1.5;

// How strongly a fold is drawn is found every so many pixels and evened out over so many to both sides; below faint it
// is not drawn.
constexpr double strengthStep = 3.0;
constexpr double strengthReach = 4.5;
constexpr double faint = 0.3;
constexpr double strong = 0.9;

double distance(const KivPicturePoint& a, const KivPicturePoint& b) {
    return std::hypot(b.x - a.x, b.y - a.y);
}

// Of runs of equal sight.
template <class Visit> void forRuns(const std::vector<LineSpan>& spans, Visit visit) {
    for (std::size_t first = 0; first < spans.size();) {
        std::size_t end = first;
        double length = 0.0;
        for (; end < spans.size() && spans[end].sight == spans[first].sight; ++end) {
            length += spans[end].length;
        }
        visit(first, end, length);
        first = end;
    }
}

} // namespace

bool LineSpans::cut(const LineChain& chain, std::vector<LineSpan>& spans) {
    spans.clear();
    findSides(chain);
    constexpr std::size_t unitsPerSpan = 64;
    for (std::size_t i = 0; i < chain.lines.size(); ++i) {
        const std::size_t before = spans.size();
        addSegment(chain.lines[i], chain.reversed[i], sides[i], spans);
        if (!charge((spans.size() - before + 1) * unitsPerSpan)) {
            return false;
        }
    }
    if (chain.closed) {
        kivTurnToGap(spans);
    }
    return true;
}

void kivTurnToGap(std::vector<LineSpan>& spans) {
    // The runs of a ring go on over its end.
    std::size_t begin = 0;
    while (begin < spans.size() && spans[begin].sight == spans[0].sight) {
        ++begin;
    }
    if (begin == spans.size()) {
        return;
    }
    std::rotate(spans.begin(), spans.begin() + static_cast<std::ptrdiff_t>(begin), spans.end());
    std::size_t longest = 0;
    double most = -1.0;
    forRuns(spans, [&](std::size_t first, std::size_t, double length) {
        const double counted =
            spans[first].sight == LineSight::absent ? std::numeric_limits<double>::infinity() : length;
        if (spans[first].sight != LineSight::seen && counted > most) {
            most = counted;
            longest = first;
        }
    });
    std::rotate(spans.begin(), spans.begin() + static_cast<std::ptrdiff_t>(longest), spans.end());
}

// By the majority of the pieces nearby: in a triangle whose normals are nearly even the side is chance.
void LineSpans::findSides(const LineChain& chain) {
    const std::size_t count = chain.lines.size();
    const auto bulge = [&](std::size_t i) {
        const std::uint32_t number = chain.lines[i];
        const LineSegment& segment = segments.all[number];
        if (segment.contour == LineSegment::none) {
            return 0;
        }
        return pieceOf(number).bulges ? 1 : -1;
    };
    sides.assign(count, 0);
    constexpr std::size_t reach = 2;
    for (std::size_t i = 0; i < count; ++i) {
        int sum = bulge(i);
        for (std::size_t k = 1; sum != 0 && k <= reach; ++k) {
            if (i >= k || chain.closed) {
                sum += bulge((i + count - k % count) % count);
            }
            if (i + k < count || chain.closed) {
                sum += bulge((i + k) % count);
            }
        }
        sides[i] = bulge(i) == 0 ? 0 : sum > 0 ? 1 : sum < 0 ? -1 : bulge(i);
    }
}

const ContourPiece& LineSpans::pieceOf(std::uint32_t number) const {
    const SurfaceLines& surface = segments.about[segments.sources[number]].surface;
    return surface.contours[static_cast<std::size_t>(segments.all[number].contour)];
}

// The triangles around an interpolated piece: it lies off the mesh's own contour, behind one or the other of them.
std::span<const std::uint32_t> LineSpans::exemptOf(std::uint32_t number) {
    const LineSegments::Source& source = segments.about[segments.sources[number]];
    const auto piece = static_cast<std::size_t>(segments.all[number].contour);
    exempt.clear();
    for (std::size_t i = source.surface.neighboursFrom[piece]; i < source.surface.neighboursFrom[piece + 1]; ++i) {
        exempt.push_back(source.firstTriangle + source.surface.neighbours[i]);
    }
    return exempt;
}

// The lift and the exempt triangles let a piece be seen that lies behind its own part of the mesh by no more than this
// departs from the smooth surface. What lies far before it, or before what is farther out, hides it.
void LineSpans::checkSeen(std::uint32_t number, const ContourPiece& piece) {
    checked.clear();
    for (const KivLinePart& part : parts) {
        LineSpan span{number, part.from, part.to, {}, {}, 0.0, LineSight::seen};
        measure(span);
        const double wanted = std::ceil(span.length / seenStep);
        const int steps = wanted > 1.0 ? static_cast<int>(std::min(wanted, 1000.0)) : 1;
        for (int i = 0; i < steps; ++i) {
            span.first = part.from + (part.to - part.from) * i / steps;
            span.last = i + 1 == steps ? part.to : part.from + (part.to - part.from) * (i + 1) / steps;
            if (isSeen(span, piece)) {
                if (checked.empty() || checked.back().to != span.first) {
                    checked.push_back({span.first, span.last});
                }
                checked.back().to = span.last;
            }
        }
    }
    parts.swap(checked);
}
bool LineSpans::isSeen(const LineSpan& step, const ContourPiece& piece) const {
    const double middle = 0.5 * (step.first + step.last);
    const Outside outside = outsideOf(step);
    const double lift = liftOff * piece.rise / outside.pixel;
    if (lift > slightLift && behind(outside, 0.0) < outside.depth - ownReach * piece.reach) {
        return false;
    }
    return std::none_of(excused.begin(), excused.end(),
                        [middle](const KivLinePart& part) { return part.from < middle && middle < part.to; }) ||
           behind(outside, lift + slightLift) >= outside.depth;
}

void LineSpans::addSegment(std::uint32_t number, bool reversed, int side, std::vector<LineSpan>& spans) {
    const LineSegment& segment = segments.all[number];
    KivVec a = segment.a;
    KivVec b = segment.b;
    if (segment.contour == LineSegment::none) {
        occluders.visibleParts(a, b, parts);
    } else {
        const ContourPiece& piece = pieceOf(number);
        const double lift = liftOff * piece.rise * side;
        a = a + piece.normals[0] * lift;
        b = b + piece.normals[1] * lift;
        occluders.visibleParts(a, b, exemptOf(number), parts, excused);
        checkSeen(number, piece);
    }
    KivLinePart inside;
    const KivLineView& view = occluders.view();
    if (!view.clip(view.toCamera(a), view.toCamera(b), &inside.from, &inside.to)) {
        inside = {1.0, 0.0};
    }
    inside = {std::max(inside.from, segment.from), std::min(inside.to, segment.to)};
    const std::size_t before = spans.size();
    if (!(inside.from < inside.to)) {
        addSpan(number, segment.from, segment.to, LineSight::absent, spans);
    } else {
        double done = inside.from;
        addSpan(number, segment.from, inside.from, LineSight::absent, spans);
        for (const KivLinePart& part : parts) {
            const double from = std::max(part.from, done);
            const double to = std::min(part.to, inside.to);
            if (from < to) {
                addSpan(number, done, from, LineSight::hidden, spans);
                addSpan(number, from, to, LineSight::seen, spans);
                done = to;
            }
        }
        addSpan(number, done, inside.to, LineSight::hidden, spans);
        addSpan(number, inside.to, segment.to, LineSight::absent, spans);
    }
    if (reversed) {
        std::reverse(spans.begin() + static_cast<std::ptrdiff_t>(before), spans.end());
        for (std::size_t i = before; i < spans.size(); ++i) {
            std::swap(spans[i].first, spans[i].last);
            std::swap(spans[i].start, spans[i].end);
        }
    }
}

void LineSpans::addSpan(std::uint32_t number, double first, double last, LineSight sight,
                        std::vector<LineSpan>& spans) const {
    if (!(first < last)) {
        return;
    }
    LineSpan span{number, first, last, {}, {}, 0.0, sight};
    if (sight != LineSight::absent) {
        measure(span);
    }
    spans.push_back(span);
}

void LineSpans::measure(LineSpan& span) const {
    const KivLineView& view = occluders.view();
    span.start = view.toPicture(view.toCamera(segments.all[span.segment].at(span.first)));
    span.end = view.toPicture(view.toCamera(segments.all[span.segment].at(span.last)));
    span.length = distance(span.start, span.end);
}

// The place in the middle of a span, and the way from it in the picture that leads away from the surface.
LineSpans::Outside LineSpans::outsideOf(const LineSpan& span) const {
    const LineSegment& segment = segments.all[span.segment];
    const KivLineView& view = occluders.view();
    const KivVec middle = segment.at(0.5 * (span.first + span.last));
    const KivVec there = view.toCamera(middle);
    Outside outside;
    outside.depth = there.z;
    outside.pixel = view.pixelSize(there.z);
    outside.place = view.toPicture(there);
    const KivPicturePoint aside = view.toPicture(view.toCamera(middle + segment.open * outside.pixel));
    const double way = distance(outside.place, aside);
    if (way > 0.0) {
        outside.way = {(aside.x - outside.place.x) / way, (aside.y - outside.place.y) / way};
    }
    return outside;
}

// The depth of the nearest surface so many pixels along the way; nothing is there once the budget has ended.
double LineSpans::behind(const Outside& outside, double pixels) const {
    if (!budget.goesOn()) {
        return std::numeric_limits<double>::infinity();
    }
    const KivPicturePoint& at = outside.place;
    const double depth = occluders.nearestAt({at.x + outside.way.x * pixels, at.y + outside.way.y * pixels});
    charge(0);
    return depth;
}

// What the occluders have done since, and so many units. False once the budget has ended.
bool LineSpans::charge(std::size_t units) const {
    const std::size_t done = occluders.work();
    units += done - charged;
    charged = done;
    return budget.spend(units);
}

// Whether what is hidden there may be seen as well: too short to be meant; or, of an interpolated contour, a dip behind
// the mesh from which the smooth surface departs.
bool LineSpans::isGap(const std::vector<LineSpan>& spans, std::size_t first, std::size_t end, double length) const {
    if (segments.all[spans[first].segment].contour == LineSegment::none) {
        const KivStrokeKind kind = segments.all[spans[first].segment].kind;
        return length < exactGap ||
               (length <= longestSliver && kind != KivStrokeKind::intersection && kind != KivStrokeKind::own &&
                std::all_of(spans.begin() + static_cast<std::ptrdiff_t>(first),
                            spans.begin() + static_cast<std::ptrdiff_t>(end),
                            [this](const LineSpan& span) { return span.length == 0.0 || isSeenBeside(span); }));
    }
    if (length < lineSpeck) {
        return true;
    }
    if (length > longestDip) {
        return false;
    }
    return std::all_of(spans.begin() + static_cast<std::ptrdiff_t>(first),
                       spans.begin() + static_cast<std::ptrdiff_t>(end), [&](const LineSpan& span) {
                           const Outside outside = outsideOf(span);
                           return behind(outside, slightDip) >= outside.depth;
                       });
}

// Whether rays a hair to one side of a span reach it all along, or the surface that rises from it towards the viewer.
bool LineSpans::isSeenBeside(const LineSpan& span) const {
    const KivLineView& view = occluders.view();
    const int steps = static_cast<int>(std::ceil(span.length / sliverStep));
    for (int i = 0; i < steps; ++i) {
        const KivVec there =
            view.toCamera(segments.all[span.segment].at(span.first + (span.last - span.first) * (i + 0.5) / steps));
        Outside outside;
        outside.place = view.toPicture(there);
        outside.way = {(span.start.y - span.end.y) / span.length, (span.end.x - span.start.x) / span.length};
        const double pixel = view.pixelSize(there.z);
        const auto isFree = [&](double aside) {
            const double beside = behind(outside, aside);
            return beside >= there.z - onMesh * pixel ||
                   std::fabs(2.0 * beside - behind(outside, 2.0 * aside) - there.z) < onPlane * pixel;
        };
        if (!isFree(thinnest) && !isFree(-thinnest)) {
            return false;
        }
    }
    return true;
}

void LineSpans::closeGaps(std::vector<LineSpan>& spans) const {
    std::vector<std::pair<std::size_t, std::size_t>> gaps;
    forRuns(spans, [&](std::size_t first, std::size_t end, double length) {
        if (spans[first].sight != LineSight::hidden) {
            return;
        }
        // A ring begins with its longest gap.
        const LineSpan& before = first > 0 ? spans[first - 1] : spans.back();
        const bool goesOn = before.end.x == spans[first].start.x && before.end.y == spans[first].start.y;
        if (before.sight == LineSight::seen && goesOn && end < spans.size() && spans[end].sight == LineSight::seen &&
            isGap(spans, first, end, length)) {
            gaps.emplace_back(first, end);
        }
    });
    for (const auto& [first, end] : gaps) {
        for (std::size_t i = first; i < end; ++i) {
            spans[i].sight = LineSight::seen;
        }
    }
}

// Spans of folds that may be slight, in steps.
std::vector<LineSpan> LineSpans::inSteps(const std::vector<LineSpan>& spans) const {
    std::vector<LineSpan> steps;
    for (const LineSpan& span : spans) {
        const LineSegment& segment = segments.all[span.segment];
        const int count = span.sight == LineSight::seen && segment.mayBeSlight
                              ? static_cast<int>(std::clamp(std::ceil(span.length / strengthStep), 1.0, 10000.0))
                              : 1;
        if (count == 1) {
            steps.push_back(span);
            continue;
        }
        const KivLineView& view = occluders.view();
        LineSpan step = span;
        for (int i = 1; i <= count; ++i) {
            step.last = i == count ? span.last : span.first + (span.last - span.first) * i / count;
            step.end = i == count ? span.end : view.toPicture(view.toCamera(segment.at(step.last)));
            step.length = distance(step.start, step.end);
            steps.push_back(step);
            step.first = step.last;
            step.start = step.end;
        }
    }
    return steps;
}

// Whether the mesh beside the contour itself stands before the middle of the span.
bool LineSpans::isBehindItself(const LineSpan& span) const {
    const LineSegment& segment = segments.all[span.segment];
    if (segment.contour == LineSegment::none || span.sight == LineSight::absent) {
        return false;
    }
    const ContourPiece& piece = pieceOf(span.segment);
    const Outside outside = outsideOf(span);
    const double before = outside.depth - behind(outside, 0.0);
    return before > onMesh * outside.pixel && before <= ownReach * piece.reach;
}

// A contour that goes out of sight at a cusp passes a little way behind the mesh before it counts as hidden; drawn,
// that would be a barb.
void LineSpans::markBarbs(std::vector<LineSpan>& spans) const {
    if (!mayBeSlight(spans)) {
        return;
    }
    spans = inSteps(spans);
    const auto count = static_cast<std::ptrdiff_t>(spans.size());
    const auto trim = [&](std::ptrdiff_t from, std::ptrdiff_t step) {
        double length = 0.0;
        std::ptrdiff_t end = from;
        const auto at = [&](std::ptrdiff_t i) -> LineSpan& { return spans[static_cast<std::size_t>(i)]; };
        while (end >= 0 && end < count && at(end).sight == LineSight::seen && length < longestDip &&
               isBehindItself(at(end))) {
            length += at(end).length;
            end += step;
        }
        for (std::ptrdiff_t i = from; length < longestDip && i != end; i += step) {
            at(i).isBarb = true;
        }
    };
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        if (spans[static_cast<std::size_t>(i)].sight == LineSight::hidden &&
            isBehindItself(spans[static_cast<std::size_t>(i)])) {
            trim(i + 1, 1);
            trim(i - 1, -1);
        }
    }
}

// How much deeper is what the fold hides?
double LineSpans::stepAt(const LineSpan& span) const {
    const Outside outside = outsideOf(span);
    if (outside.way.x == 0.0 && outside.way.y == 0.0) {
        return endlessStep;
    }
    const double farther = std::max(behind(outside, 1.0), behind(outside, 2.0));
    return std::min((farther - outside.depth) / outside.pixel, endlessStep);
}

// The small folds of a rough or faceted surface hide next to nothing; drawn in full they would be hairs.
double LineSpans::strengthOf(const LineSpan& span) const {
    const double detail = segments.about[segments.sources[span.segment]].detail;
    return span.step < endlessStep ? std::clamp(span.step / detail, 0.02, 1.0) : 1.0;
}

bool LineSpans::mayBeSlight(const std::vector<LineSpan>& spans) const {
    return std::any_of(spans.begin(), spans.end(),
                       [&](const LineSpan& span) { return segments.all[span.segment].mayBeSlight; });
}

void LineSpans::takeOutSlight(std::vector<LineSpan>& spans) const {
    const bool mayBeSlight = std::any_of(spans.begin(), spans.end(),
                                         [&](const LineSpan& span) { return segments.all[span.segment].mayBeSlight; });
    if (!mayBeSlight) {
        return;
    }
    spans = inSteps(spans);
    std::vector<double> strengths(spans.size(), 1.0);
    for (std::size_t i = 0; i < spans.size(); ++i) {
        const bool isWeighed = spans[i].sight == LineSight::seen && segments.all[spans[i].segment].mayBeSlight &&
                               segments.about[segments.sources[spans[i].segment]].detail > 0.0;
        spans[i].step = isWeighed ? stepAt(spans[i]) : endlessStep;
        strengths[i] = strengthOf(spans[i]);
    }
    std::vector<LineSight> sights(spans.size());
    const auto even = [&](std::size_t i, std::size_t first, std::size_t end) {
        double sum = strengths[i] * spans[i].length;
        double all = spans[i].length;
        double reach = 0.0;
        constexpr std::size_t most = 256; // pieces without length reach nowhere
        for (std::size_t k = i; k > first && i - k < most && reach < strengthReach; --k) {
            sum += strengths[k - 1] * spans[k - 1].length;
            all += spans[k - 1].length;
            reach += spans[k - 1].length;
        }
        reach = 0.0;
        for (std::size_t k = i + 1; k < end && k - i < most && reach < strengthReach; ++k) {
            sum += strengths[k] * spans[k].length;
            all += spans[k].length;
            reach += spans[k].length;
        }
        return all > 0.0 ? sum / all : strengths[i];
    };
    forRuns(spans, [&](std::size_t first, std::size_t end, double) {
        for (std::size_t i = first; i < end; ++i) {
            const bool isSlight = spans[i].sight == LineSight::seen && even(i, first, end) < faint;
            sights[i] = isSlight ? LineSight::slight : spans[i].sight;
        }
    });
    for (std::size_t i = 0; i < spans.size(); ++i) {
        spans[i].sight = sights[i];
    }
    // A short piece of full strength closes an outline and stays; a short weak one is a hair.
    forRuns(spans, [&](std::size_t first, std::size_t end, double length) {
        double strength = 0.0;
        for (std::size_t i = first; i < end; ++i) {
            strength += strengths[i] * spans[i].length;
        }
        const double shortest = segments.about[segments.sources[spans[first].segment]].shortest;
        if (spans[first].sight == LineSight::seen && strength < strong * length && strength < shortest) {
            std::fill(sights.begin() + static_cast<std::ptrdiff_t>(first),
                      sights.begin() + static_cast<std::ptrdiff_t>(end), LineSight::slight);
        }
    });
    for (std::size_t i = 0; i < spans.size(); ++i) {
        spans[i].sight = sights[i];
    }
}
