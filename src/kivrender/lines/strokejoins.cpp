#include "kivrender/lines/strokejoins.h"

#include "kivrender/lines/contourcurls.h"
#include "kivrender/lines/contoursettle.h"
#include "kivrender/lines/curveorder.h"
#include "kivrender/lines/lonehairs.h"
#include "kivrender/lines/roundline.h"
#include "kivrender/lines/steepbridges.h"
#include "kivrender/scene/kivprogress.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>
#include <tuple>
#include <utility>

namespace {

// How far into a line its direction is told, in pixels.
constexpr double directionReach = 4.0;

// Hooks at cusps, and gaps between ends of contours, in pixels.
constexpr double longestHook = 4.0;
constexpr double widestGap = 8.0; // of ends that go on straight
constexpr double bentGap = 4.0;
constexpr double smallGap = 0.5;
constexpr double straightCosine = 0.95;
constexpr double bentCosine = 0.7;
constexpr std::size_t mostEnds = 64; // in one place: more are not line to follow

struct Piece {
    KivFoundLine line;
    std::uint32_t nodes[2] = {0, 0}; // of its ends; ends that are lost from sight have one of their own
    double barbs[2] = {0.0, 0.0};    // so much of the ends, in pixels, is a barb if the line goes on without it
    double length = 0.0;             // in pixels
    double steps = 0.0;              // by how much the surface steps back, times the length
};

// An end of a piece as it may be joined to another: with its barb or without.
struct JoinEnd {
    std::uint32_t end = 0;
    bool isCut = false;
    KivPicturePoint place;
    KivVec inward;
};

class Joiner {
public:
    Joiner(const KivOccluders& inTheWay, const LineSegments& known, const std::vector<std::uint32_t>& ofEnds,
           LineBudget& work, std::vector<KivFoundLine>& result)
        : occluders(inTheWay), view(inTheWay.view()), segments(known), nodes(ofEnds), budget(work), found(result) {
        for (const std::uint32_t node : nodes) {
            nextNode = std::max(nextNode, node + 1);
        }
    }

    // The runs of a chain that are in sight or hidden.
    void addPieces(LineCourse& course) {
        std::vector<LineSpan>& spans = course.spans;
        if (course.chain.closed) {
            kivTurnToGap(spans);
        }
        for (std::size_t first = 0; first < spans.size();) {
            std::size_t end = first;
            while (end < spans.size() && spans[end].sight == spans[first].sight) {
                ++end;
            }
            if (spans[first].sight == LineSight::seen || spans[first].sight == LineSight::hidden) {
                addPiece(course, first, end);
            }
            first = end;
        }
    }

    // False when the user cancelled.
    bool join() {
        std::vector<LineEnd> ends;
        ends.reserve(pieces.size() * 2);
        for (const Piece& piece : pieces) {
            ends.push_back({piece.nodes[0], groupOf(piece.line), inwardOf(piece.line.picture, false)});
            ends.push_back({piece.nodes[1], groupOf(piece.line), inwardOf(piece.line.picture, true)});
        }
        joinEnds(kivJoinedEnds(ends, LineJunctions::goOn));
        for (Piece& piece : pieces) {
            trimHooks(piece);
        }
        if (kivIsCancelled()) {
            return false;
        }
        joinEnds(nearEnds());
        if (kivIsCancelled()) {
            return false;
        }
        joinEnds(endsOverSteepGaps());
        if (kivIsCancelled()) {
            return false;
        }
        const std::vector<bool> hairs = loneHairs();
        for (std::size_t i = 0; i < pieces.size(); ++i) {
            if (!hairs[i] && !isSpeck(pieces[i].line)) {
                if (pieces[i].line.kind == KivStrokeKind::contour && !pieces[i].line.hidden) {
                    kivTakeOutCurls(pieces[i].line);
                    kivSettleContour(occluders, budget, pieces[i].line);
                }
                found.push_back(std::move(pieces[i].line));
            }
        }
        return !kivIsCancelled();
    }

private:
    void addPiece(const LineCourse& course, std::size_t first, std::size_t end) {
        const std::vector<LineSpan>& spans = course.spans;
        Piece piece;
        KivFoundLine& line = piece.line;
        line.source = course.source;
        line.kind = course.kind;
        line.hidden = spans[first].sight == LineSight::hidden;
        line.closed = course.chain.closed && first == 0 && end == spans.size();
        std::vector<bool> isRound;
        std::vector<KivVec> normals;
        for (std::size_t i = first; i < end; ++i) {
            const LineSegment& segment = segments.all[spans[i].segment];
            piece.length += spans[i].length;
            piece.steps += spans[i].step * spans[i].length;
            if (i == first || spans[i].segment != spans[i - 1].segment) {
                line.space.push_back(segment.at(spans[i].first));
                isRound.push_back(segment.isInterpolated);
                normals.push_back(normalAt(course, segment, spans[i].first));
            }
        }
        if (!line.closed) {
            line.space.push_back(segments.all[spans[end - 1].segment].at(spans[end - 1].last));
            isRound.push_back(false);
            normals.push_back({});
        }
        kivRoundLine(view, isRound, normals, line.closed, line.space);
        for (const KivVec& point : line.space) {
            line.picture.push_back(view.toPicture(view.toCamera(point)));
        }
        line.startsFree = nodeAt(spans[first], false, &piece.nodes[0]);
        line.endsFree = nodeAt(spans[end - 1], true, &piece.nodes[1]);
        if (line.closed) {
            // A ring goes on into itself.
            piece.nodes[0] = piece.nodes[1] = nextNode++;
            line.startsFree = line.endsFree = false;
        } else {
            findBarbs(spans, first, end, piece);
        }
        pieces.push_back(std::move(piece));
    }
    // Of the smooth surface under a contour.
    KivVec normalAt(const LineCourse& course, const LineSegment& segment, double t) const {
        if (!segment.isInterpolated) {
            return {};
        }
        const ContourPiece& piece =
            segments.about[course.source].surface.contours[static_cast<std::size_t>(segment.contour)];
        return kivUnit(piece.normals[0] * (1.0 - t) + piece.normals[1] * t);
    }
    static void findBarbs(const std::vector<LineSpan>& spans, std::size_t first, std::size_t end, Piece& piece) {
        for (std::size_t i = first; i < end && spans[i].isBarb; ++i) {
            piece.barbs[0] += spans[i].length;
        }
        for (std::size_t i = end; i > first && spans[i - 1].isBarb; --i) {
            piece.barbs[1] += spans[i - 1].length;
        }
    }
    // True if the span ends at an end of its segment.
    bool nodeAt(const LineSpan& span, bool atEnd, std::uint32_t* node) {
        const LineSegment& segment = segments.all[span.segment];
        const double t = atEnd ? span.last : span.first;
        if (t == segment.from || t == segment.to) {
            *node = nodes[2 * span.segment + (t == segment.from ? 0 : 1)];
            return true;
        }
        *node = nextNode++;
        return false;
    }

    static KivVec inwardOf(const std::vector<KivPicturePoint>& points, bool fromEnd) {
        const std::size_t count = points.size();
        const KivPicturePoint& end = points[fromEnd ? count - 1 : 0];
        KivVec way;
        for (std::size_t i = 1; i < count; ++i) {
            const KivPicturePoint& p = points[fromEnd ? count - 1 - i : i];
            way = {p.x - end.x, p.y - end.y, 0.0};
            if (kivLength(way) >= directionReach) {
                break;
            }
        }
        return kivUnit(way);
    }

    static std::uint32_t groupOf(const KivFoundLine& line) {
        return (line.source * kivStrokeKinds + static_cast<std::uint32_t>(line.kind)) * 2 + (line.hidden ? 1 : 0);
    }

    void joinEnds(const std::vector<std::int32_t>& mates) {
        std::vector<Piece> all;
        for (const LineChain& chain : kivChainsOf(mates)) {
            const Piece& first = pieces[chain.lines.front()];
            const Piece& last = pieces[chain.lines.back()];
            const double barbs[2] = {first.barbs[chain.reversed.front() ? 1 : 0],
                                     last.barbs[chain.reversed.back() ? 0 : 1]};
            Piece& whole = all.emplace_back();
            for (const std::uint32_t part : chain.lines) {
                whole.length += pieces[part].length;
                whole.steps += pieces[part].steps;
            }
            whole.barbs[0] = barbs[0];
            whole.barbs[1] = barbs[1];
            whole.line = joined(chain);
        }
        pieces.swap(all);
    }
    KivFoundLine joined(const LineChain& chain) {
        KivFoundLine all;
        for (std::size_t i = 0; i < chain.lines.size(); ++i) {
            KivFoundLine line = std::move(pieces[chain.lines[i]].line);
            if (chain.reversed[i]) {
                std::reverse(line.picture.begin(), line.picture.end());
                std::reverse(line.space.begin(), line.space.end());
                std::swap(line.startsFree, line.endsFree);
            }
            if (i == 0) {
                all = std::move(line);
                continue;
            }
            const KivPicturePoint& end = all.picture.back();
            const bool repeats = end.x == line.picture.front().x && end.y == line.picture.front().y;
            all.picture.insert(all.picture.end(), line.picture.begin() + (repeats ? 1 : 0), line.picture.end());
            all.space.insert(all.space.end(), line.space.begin() + (repeats ? 1 : 0), line.space.end());
            all.endsFree = line.endsFree;
        }
        if (chain.closed && !all.closed) {
            close(all);
        }
        return all;
    }
    static void close(KivFoundLine& line) {
        line.closed = line.picture.size() > 3;
        if (line.closed) {
            const KivPicturePoint& first = line.picture.front();
            if (first.x == line.picture.back().x && first.y == line.picture.back().y) {
                line.picture.pop_back();
                line.space.pop_back();
            }
            line.startsFree = line.endsFree = false;
        }
    }

    // A contour that goes out of sight at a cusp is seen for a little on its way back, as far as it lies before the
    // mesh.
    static void trimHooks(Piece& piece) {
        KivFoundLine& line = piece.line;
        if (line.kind != KivStrokeKind::contour || line.closed) {
            return;
        }
        for (const bool atEnd : {false, true}) {
            if (atEnd ? !line.endsFree : !line.startsFree) {
                const std::size_t hook = hookAt(line.picture, atEnd);
                double& barb = piece.barbs[atEnd ? 1 : 0];
                barb = hook > 0 ? 0.0 : barb;
                const auto cut = static_cast<std::ptrdiff_t>(hook);
                if (atEnd) {
                    line.picture.resize(line.picture.size() - hook);
                    line.space.resize(line.space.size() - hook);
                } else {
                    line.picture.erase(line.picture.begin(), line.picture.begin() + cut);
                    line.space.erase(line.space.begin(), line.space.begin() + cut);
                }
            }
        }
    }
    // How many points of that end lie on a hook: behind a turn by more than 90 degrees.
    static std::size_t hookAt(const std::vector<KivPicturePoint>& points, bool atEnd) {
        const std::size_t count = points.size();
        const auto at = [&](std::size_t i) { return points[atEnd ? count - 1 - i : i]; };
        const auto between = [&](std::size_t i, std::size_t k) {
            return KivVec{at(k).x - at(i).x, at(k).y - at(i).y, 0.0};
        };
        std::size_t hook = 0;
        double length = 0.0;
        for (std::size_t k = 1; k + 1 < count && length < longestHook; ++k) {
            const KivVec here = between(k - 1, k);
            length += kivLength(here);
            std::size_t further = k + 1;
            while (further + 1 < count && kivLength(between(k, further)) < lineSpeck) {
                ++further;
            }
            if (length < longestHook && kivDot(between(0, k), between(k, further)) < 0.0) {
                hook = k;
            }
        }
        return hook;
    }

    // The contour of a rough surface is made of many loops that pass each other by less than one can see. Ends that lie
    // next to each other and go on in each other's direction are one line, without the barbs that they have at cusps.
    std::vector<std::int32_t> nearEnds() {
        std::vector<std::int32_t> mates(pieces.size() * 2, noLineEnd);
        const std::vector<JoinEnd> ends = endsToJoin();
        for (const auto& [distance, first, second] : pairsWithin(ends, widestGap, mayJoin)) {
            const JoinEnd& one = ends[first];
            const JoinEnd& other = ends[second];
            if (mates[one.end] == noLineEnd && mates[other.end] == noLineEnd) {
                mates[one.end] = static_cast<std::int32_t>(other.end);
                mates[other.end] = static_cast<std::int32_t>(one.end);
                cutBarb(one);
                cutBarb(other);
            }
        }
        return mates;
    }
    // Two ends that point at each other across a gap, with a piece of its own for what lies between.
    std::vector<std::int32_t> endsOverSteepGaps() {
        const std::vector<JoinEnd> ends = endsToJoin();
        std::vector<std::int32_t> mates(pieces.size() * 2, noLineEnd);
        for (const auto& [distance, first, second] : pairsWithin(ends, longestBridge, mayBridge)) {
            const JoinEnd& one = ends[first];
            const JoinEnd& other = ends[second];
            if (mates[one.end] != noLineEnd || mates[other.end] != noLineEnd || pieces[one.end / 2].line.hidden) {
                continue;
            }
            const std::vector<KivVec> between =
                kivSteepBridge(occluders, budget, {one.place, {-one.inward.x, -one.inward.y}},
                               {other.place, {-other.inward.x, -other.inward.y}});
            if (!between.empty()) {
                const auto bridge = static_cast<std::int32_t>(pieces.size() * 2);
                cutBarb(one);
                cutBarb(other);
                addBridge(between, one.end / 2, distance);
                mates[one.end] = bridge;
                mates[other.end] = bridge + 1;
                mates.push_back(static_cast<std::int32_t>(one.end));
                mates.push_back(static_cast<std::int32_t>(other.end));
            }
        }
        return mates;
    }
    void addBridge(const std::vector<KivVec>& points, std::uint32_t like, double length) {
        Piece bridge;
        bridge.line.source = pieces[like].line.source;
        bridge.line.kind = pieces[like].line.kind;
        bridge.line.space = points;
        for (const KivVec& point : points) {
            bridge.line.picture.push_back(view.toPicture(view.toCamera(point)));
        }
        bridge.length = length;
        bridge.steps = length * endlessStep;
        pieces.push_back(std::move(bridge));
    }

    // How far two ends are apart, and their numbers.
    using EndPair = std::tuple<double, std::uint32_t, std::uint32_t>;

    // Of ends no farther apart than the reach, those that may be joined; the nearest come first.
    template <class May>
    std::vector<EndPair> pairsWithin(const std::vector<JoinEnd>& ends, double reach, May may) const {
        std::map<std::pair<std::int64_t, std::int64_t>, std::vector<std::uint32_t>> cells;
        std::vector<EndPair> pairs;
        for (std::uint32_t number = 0; number < ends.size() && !kivIsCancelledAt(number * std::size_t{64}); ++number) {
            const auto x = static_cast<std::int64_t>(std::floor(ends[number].place.x / reach));
            const auto y = static_cast<std::int64_t>(std::floor(ends[number].place.y / reach));
            for (std::int64_t i = x - 1; i <= x + 1; ++i) {
                for (std::int64_t k = y - 1; k <= y + 1; ++k) {
                    const auto cell = cells.find({i, k});
                    for (const std::uint32_t other :
                         cell == cells.end() ? std::vector<std::uint32_t>{} : cell->second) {
                        addPair(ends, number, other, may, pairs);
                    }
                }
            }
            std::vector<std::uint32_t>& here = cells[{x, y}];
            if (here.size() < mostEnds) {
                here.push_back(number);
            }
        }
        std::sort(pairs.begin(), pairs.end());
        return pairs;
    }
    std::vector<JoinEnd> endsToJoin() const {
        std::vector<JoinEnd> ends;
        for (std::uint32_t end = 0; end < pieces.size() * 2; ++end) {
            const Piece& piece = pieces[end / 2];
            const KivFoundLine& line = piece.line;
            const bool atEnd = end % 2 == 1;
            if (line.kind != KivStrokeKind::contour || line.closed || line.picture.size() < 2) {
                continue;
            }
            ends.push_back(
                {end, false, atEnd ? line.picture.back() : line.picture.front(), inwardOf(line.picture, atEnd)});
            if (piece.barbs[end % 2] > 0.0) {
                KivFoundLine rest = line;
                if (cutAt(rest, atEnd, piece.barbs[end % 2])) {
                    ends.push_back(
                        {end, true, atEnd ? rest.picture.back() : rest.picture.front(), inwardOf(rest.picture, atEnd)});
                }
            }
        }
        return ends;
    }
    // Takes so many pixels off one end, rounded up to whole points. False if nothing would be left.
    static bool cutAt(KivFoundLine& line, bool atEnd, double pixels) {
        const std::size_t count = line.picture.size();
        std::size_t cut = 0;
        for (double length = 0.0; cut + 1 < count && length < pixels - 1e-3; ++cut) {
            const KivPicturePoint& p = line.picture[atEnd ? count - 1 - cut : cut];
            const KivPicturePoint& q = line.picture[atEnd ? count - 2 - cut : cut + 1];
            length += std::hypot(p.x - q.x, p.y - q.y);
        }
        if (cut + 2 > count) {
            return false;
        }
        const auto from = static_cast<std::ptrdiff_t>(atEnd ? count - cut : 0);
        const auto to = static_cast<std::ptrdiff_t>(atEnd ? count : cut);
        line.picture.erase(line.picture.begin() + from, line.picture.begin() + to);
        line.space.erase(line.space.begin() + from, line.space.begin() + to);
        return true;
    }
    void cutBarb(const JoinEnd& end) {
        Piece& piece = pieces[end.end / 2];
        if (end.isCut) {
            cutAt(piece.line, end.end % 2 == 1, piece.barbs[end.end % 2]);
        }
    }
    template <class May>
    void addPair(const std::vector<JoinEnd>& ends, std::uint32_t first, std::uint32_t second, May may,
                 std::vector<EndPair>& pairs) const {
        const JoinEnd& one = ends[first];
        const JoinEnd& other = ends[second];
        if (one.end / 2 == other.end / 2 || groupOf(pieces[one.end / 2].line) != groupOf(pieces[other.end / 2].line)) {
            return;
        }
        const KivVec way = {other.place.x - one.place.x, other.place.y - one.place.y, 0.0};
        if (may(one, other, way)) {
            pairs.emplace_back(kivLength(way), second, first);
        }
    }
    static bool goesOn(const JoinEnd& one, const JoinEnd& other, const KivVec& way, double cosine) {
        const double least = cosine * kivLength(way);
        return kivDot(-one.inward, other.inward) > cosine && kivDot(way, -one.inward) > least &&
               kivDot(way, other.inward) > least;
    }
    static bool mayJoin(const JoinEnd& one, const JoinEnd& other, const KivVec& way) {
        const double distance = kivLength(way);
        return (distance < smallGap && kivDot(-one.inward, other.inward) > bentCosine) ||
               (distance <= bentGap && goesOn(one, other, way, bentCosine)) ||
               (distance <= widestGap && goesOn(one, other, way, straightCosine));
    }
    static bool mayBridge(const JoinEnd& one, const JoinEnd& other, const KivVec& way) {
        return kivLength(way) <= longestBridge && goesOn(one, other, way, bentCosine);
    }

    std::vector<bool> loneHairs() const {
        std::vector<DrawnStroke> strokes;
        for (const Piece& piece : pieces) {
            const double step = piece.length > 0.0 ? piece.steps / piece.length : endlessStep;
            strokes.push_back({&piece.line, piece.length, step, segments.about[piece.line.source].shortest});
        }
        return kivLoneHairs(strokes);
    }

    // Too short to be seen: a contour, a crossing, or a rest of a line; the edges of a small face stay.
    static bool isSpeck(const KivFoundLine& line) {
        double length = 0.0;
        for (std::size_t i = 1; i < line.picture.size() && length < lineSpeck; ++i) {
            length += std::hypot(line.picture[i].x - line.picture[i - 1].x, line.picture[i].y - line.picture[i - 1].y);
        }
        const bool isWhole = line.closed || (line.startsFree && line.endsFree);
        const bool isFound = line.kind == KivStrokeKind::contour || line.kind == KivStrokeKind::intersection;
        return length < lineSpeck && (!isWhole || isFound || length == 0.0);
    }

    const KivOccluders& occluders;
    const KivLineView& view;
    const LineSegments& segments;
    const std::vector<std::uint32_t>& nodes;
    LineBudget& budget;
    std::vector<KivFoundLine>& found;
    std::vector<Piece> pieces;
    std::uint32_t nextNode = 0;
};

} // namespace

bool kivJoinCourses(const KivOccluders& occluders, const LineSegments& segments,
                    const std::vector<std::uint32_t>& nodes, LineBudget& budget, std::vector<LineCourse>& courses,
                    std::vector<KivFoundLine>& found) {
    Joiner joiner(occluders, segments, nodes, budget, found);
    std::size_t work = 0;
    for (LineCourse& course : courses) {
        work += course.spans.size() + 1;
        if (work > 10000) {
            work = 0;
            if (kivIsCancelled()) {
                return false;
            }
        }
        joiner.addPieces(course);
    }
    return joiner.join();
}
