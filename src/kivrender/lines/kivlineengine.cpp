#include "kivrender/lines/kivlineengine.h"

#include "kivrender/lines/curveorder.h"
#include "kivrender/lines/doublelines.h"
#include "kivrender/lines/kivoccluders.h"
#include "kivrender/lines/kivsurfacecrossings.h"
#include "kivrender/lines/linebudget.h"
#include "kivrender/lines/linejoins.h"
#include "kivrender/lines/linespans.h"
#include "kivrender/lines/regions/polledsort.h"
#include "kivrender/lines/strokejoins.h"
#include "kivrender/lines/surfacelines.h"
#include "kivrender/lines/touchingfaces.h"
#include "kivrender/platform/kivprocessors.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/scene/kivworkerprogress.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <future>
#include <optional>
#include <system_error>
#include <tuple>
#include <utility>

namespace {

bool isSame(const KivVec& a, const KivVec& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

bool comesBefore(const KivVec& a, const KivVec& b) {
    return std::tie(a.x, a.y, a.z) < std::tie(b.x, b.y, b.z);
}

constexpr std::size_t spansOfAnyScene = 1'000'000;
constexpr std::size_t spansPerSegment = 2;

// Of fewer, the work is done before a thread has begun.
constexpr std::size_t trianglesWorthAThread = 20000;

// Work on a thread of its own, whose outcome is asked for later. It ends, cancelled, where nobody asks.
class WorkBeside {
public:
    // Throws std::system_error without a thread to be had.
    explicit WorkBeside(std::function<bool()> work)
        : result(std::async(std::launch::async, [this, work = std::move(work)] {
              const KivWorkerProgress progress(isCancelled);
              return work();
          })) {}
    WorkBeside(const WorkBeside&) = delete;
    WorkBeside& operator=(const WorkBeside&) = delete;
    ~WorkBeside() {
        isCancelled = true;
    }

    bool await() {
        while (result.wait_for(std::chrono::milliseconds(5)) != std::future_status::ready) {
            isCancelled = isCancelled || kivIsCancelled();
        }
        return result.get();
    }

private:
    std::atomic<bool> isCancelled{false};
    std::future<bool> result; // waits for the thread in its destructor
};

} // namespace

class KivLineEngine::Parts {
public:
    explicit Parts(const KivLineView& seenFrom) : occluders(seenFrom), view(seenFrom) {}

    // A body or a line of the scene's own.
    struct Source {
        KivLineBody body;
        KivLineCourse course;
        bool isBody = false;
        std::optional<KivSurface> rest; // of a body in a pose
    };

    bool find() {
        if (!view.seesAnything() || !layOccluders()) {
            return false;
        }
        Crossings crossings;
        const auto work = [this, &crossings] { return findCrossings(crossings) && occluders.build(); };
        const std::unique_ptr<WorkBeside> beside = isMuch() ? startBeside(work) : nullptr;
        return findSurfaceLines() && (beside != nullptr ? beside->await() : work()) && addCrossings(crossings) &&
               addCourses() && dropRepeats() && cutChains() && join();
    }

    std::vector<Source> sources;
    KivOccluders occluders;
    std::vector<KivFoundLine> found;
    double effort = 1.0;
    bool isCutShort = false;

private:
    struct Crossings {
        std::vector<KivCrossing> pieces;
        bool areOfHeap = false;
    };

    bool layOccluders() {
        for (std::size_t i = 0; i < sources.size(); ++i) {
            LineSegments::Source& about = segments.about.emplace_back();
            const KivLineBody& body = sources[i].body;
            about.detail = body.rules.detail;
            about.shortest = body.rules.shortest;
            if (sources[i].isBody && body.hides) {
                about.firstTriangle = occluderTriangles;
                occluderTriangles += static_cast<std::uint32_t>(body.surface.triangles.size());
                if (!occluders.add(body.surface.points, body.surface.triangles)) {
                    return false;
                }
            }
        }
        return true;
    }

    bool findSurfaceLines() {
        for (std::uint32_t i = 0; i < sources.size(); ++i) {
            const KivLineBody& body = sources[i].body;
            if (!sources[i].isBody || !body.drawn) {
                continue;
            }
            SurfaceLineRules rules;
            rules.features = body.rules.features;
            rules.materials = body.rules.materials;
            rules.rest = sources[i].rest ? &*sources[i].rest : nullptr;
            SurfaceLines& surface = segments.about[i].surface;
            if (!kivSurfaceLines(body.surface, body.materials, view, rules, surface)) {
                return false;
            }
            sources[i].rest.reset();
            takeNamedEdges(body, surface.segments);
            for (const LineSegment& segment : surface.segments) {
                if (kivIsCancelledAt(segments.all.size())) {
                    return false;
                }
                addSegment(segment, i);
            }
            std::vector<LineSegment>().swap(surface.segments); // an empty list, assigned, would keep the memory
            if (!body.hides) {
                std::fill(surface.neighboursFrom.begin(), surface.neighboursFrom.end(), 0);
            }
        }
        return true;
    }
    // Edges that the model names are there whatever the bend; the rest of a named edge that turns away stays a contour.
    static void takeNamedEdges(const KivLineBody& body, std::vector<LineSegment>& lines) {
        if (body.edges.empty()) {
            return;
        }
        const auto ordered = [](const KivVec& a, const KivVec& b) {
            return comesBefore(a, b) ? std::pair(a, b) : std::pair(b, a);
        };
        const auto isLess = [](const std::pair<KivVec, KivVec>& a, const std::pair<KivVec, KivVec>& b) {
            return comesBefore(a.first, b.first) || (isSame(a.first, b.first) && comesBefore(a.second, b.second));
        };
        std::vector<std::pair<KivVec, KivVec>> named;
        for (const auto& [a, b] : body.edges) {
            if (a < body.surface.points.size() && b < body.surface.points.size() && a != b) {
                named.push_back(ordered(body.surface.points[a], body.surface.points[b]));
            }
        }
        std::sort(named.begin(), named.end(), isLess);
        std::erase_if(lines, [&](const LineSegment& line) {
            return line.contour == LineSegment::none && line.kind != KivStrokeKind::contour &&
                   std::binary_search(named.begin(), named.end(), ordered(line.a, line.b), isLess);
        });
        for (const auto& [a, b] : named) {
            LineSegment line;
            line.a = a;
            line.b = b;
            line.kind = KivStrokeKind::edge;
            lines.push_back(line);
        }
    }

    bool mayCross(const Source& source) const {
        return source.isBody && source.body.drawn && source.body.rules.intersections;
    }
    bool isMuch() const {
        std::size_t triangles = 0;
        for (const Source& source : sources) {
            triangles += mayCross(source) || source.body.hides ? source.body.surface.triangles.size() : 0;
        }
        return triangles >= trianglesWorthAThread;
    }
    // Null without a second processor, or a thread to be had.
    static std::unique_ptr<WorkBeside> startBeside(const std::function<bool()>& work) {
        if (kivProcessors() < 2) {
            return nullptr;
        }
        try {
            return std::make_unique<WorkBeside>(work);
        } catch (const std::system_error&) {
            return nullptr;
        }
    }
    bool findCrossings(Crossings& result) const {
        KivSurfaceCrossings crossings;
        crossings.setEffort(effort);
        for (const Source& source : sources) {
            if (mayCross(source) && !crossings.add(source.body.surface.points, source.body.surface.triangles)) {
                return false;
            }
        }
        if (!crossings.find()) {
            return false;
        }
        result = {crossings.pieces(), crossings.isHeap()};
        return true;
    }

    // The pieces belong to the first of the two bodies.
    bool addCrossings(const Crossings& crossings) {
        std::vector<std::uint32_t> bodies;
        for (std::uint32_t i = 0; i < sources.size(); ++i) {
            if (mayCross(sources[i])) {
                bodies.push_back(i);
            }
        }
        isCutShort = isCutShort || crossings.areOfHeap;
        for (const KivCrossing& piece : crossings.pieces) {
            const MeshFace one = {sources[bodies[piece.bodies[0]]].body.surface, piece.triangles[0]};
            const MeshFace other = {sources[bodies[piece.bodies[1]]].body.surface, piece.triangles[1]};
            if (!isSame(piece.from, piece.to) && !kivFacesTouch(one, other, piece.from, piece.to)) {
                LineSegment line;
                line.a = piece.from;
                line.b = piece.to;
                line.kind = KivStrokeKind::intersection;
                addSegment(line, bodies[std::min(piece.bodies[0], piece.bodies[1])]);
            }
        }
        return true;
    }

    bool addCourses() {
        for (std::uint32_t i = 0; i < sources.size(); ++i) {
            const KivLineCourse& course = sources[i].course;
            const std::size_t count = course.points.size();
            for (std::size_t k = 0; count > 0 && k < (course.closed && count > 2 ? count : count - 1); ++k) {
                LineSegment line;
                line.a = course.points[k];
                line.b = course.points[k + 1 == count ? 0 : k + 1];
                line.kind = KivStrokeKind::own;
                if (!isSame(line.a, line.b)) {
                    addSegment(line, i);
                }
            }
        }
        return true;
    }

    void addSegment(const LineSegment& segment, std::uint32_t source) {
        segments.all.push_back(segment);
        segments.sources.push_back(source);
    }

    // Bodies that are there twice have all of their lines twice.
    bool dropRepeats() {
        std::vector<KivVec> ends;
        ends.reserve(segments.all.size() * 2);
        for (const LineSegment& segment : segments.all) {
            if (kivIsCancelledAt(ends.size())) {
                return false;
            }
            ends.push_back(segment.at(segment.from));
            ends.push_back(segment.at(segment.to));
        }
        std::uint32_t count = 0;
        bool isCancelled = false;
        nodes = kivWeldPoints(ends, &count, &isCancelled);
        if (isCancelled || kivIsCancelled()) {
            return false;
        }
        std::vector<std::uint32_t> order(segments.all.size());
        for (std::uint32_t i = 0; i < order.size(); ++i) {
            order[i] = i;
        }
        const auto key = [this](std::uint32_t i) {
            const auto [low, high] = std::minmax(nodes[2 * i], nodes[2 * i + 1]);
            return std::tuple(low, high, segments.all[i].kind, segments.sources[i], i);
        };
        if (!polledSort(order, [&](std::uint32_t a, std::uint32_t b) { return key(a) < key(b); })) {
            return false;
        }
        std::vector<bool> isRepeat(order.size(), false);
        for (std::size_t i = 1; i < order.size(); ++i) {
            const auto [low, high, kind, source, number] = key(order[i]);
            const auto [lowBefore, highBefore, kindBefore, sourceBefore, numberBefore] = key(order[i - 1]);
            isRepeat[number] =
                low == lowBefore && high == highBefore && kind == kindBefore && kind != KivStrokeKind::own;
        }
        std::size_t kept = 0;
        for (std::size_t i = 0; i < isRepeat.size(); ++i) {
            if (!isRepeat[i]) {
                segments.all[kept] = segments.all[i];
                segments.sources[kept] = segments.sources[i];
                nodes[2 * kept] = nodes[2 * i];
                nodes[2 * kept + 1] = nodes[2 * i + 1];
                ++kept;
            }
        }
        segments.all.resize(kept);
        segments.sources.resize(kept);
        nodes.resize(2 * kept);
        return true;
    }

    std::uint32_t groupOf(std::uint32_t segment) const {
        return segments.sources[segment] * kivStrokeKinds + static_cast<std::uint32_t>(segments.all[segment].kind);
    }
    bool wantsHidden(std::uint32_t source) const {
        return sources[source].isBody ? sources[source].body.rules.hidden : sources[source].course.hidden;
    }
    bool wantsHiddenTangents(std::uint32_t source) const {
        return !sources[source].isBody || sources[source].body.rules.hiddenTangents;
    }

    bool cutChains() {
        std::vector<LineEnd> ends(nodes.size());
        for (std::uint32_t i = 0; i < segments.all.size(); ++i) {
            ends[2 * i] = {nodes[2 * i], groupOf(i), {}};
            ends[2 * i + 1] = {nodes[2 * i + 1], groupOf(i), {}};
        }
        const std::size_t count = occluders.size() + segments.all.size();
        LineBudget sights(LineBudget::allowance(count, effort));
        LineBudget doubles(LineBudget::allowance(count, effort));
        LineSpans spans(occluders, segments, sights);
        std::vector<LineChain> chains = kivChainsOf(kivJoinedEnds(ends, LineJunctions::end));
        if (kivIsCancelled()) {
            return false;
        }
        std::size_t room = spansOfAnyScene + spansPerSegment * segments.all.size(); // the memory is bounded, too
        for (LineChain& chain : chains) {
            if (!sights.goesOn()) {
                break;
            }
            courses.push_back(cutChain(std::move(chain), spans));
            const std::size_t used = courses.back().spans.size();
            if (used > room) {
                sights.end();
            }
            room -= std::min(used, room);
        }
        if (sights.isCancelled() || !kivTakeOutDoubles(view, segments, doubles, courses)) {
            return false;
        }
        isCutShort = isCutShort || sights.isSpent() || doubles.isSpent();
        return true;
    }
    LineCourse cutChain(LineChain chain, LineSpans& spans) const {
        const std::uint32_t first = chain.lines[0];
        LineCourse course{std::move(chain), segments.sources[first], segments.all[first].kind, {}};
        if (!spans.cut(course.chain, course.spans)) {
            course.chain.closed = false;
        }
        spans.closeGaps(course.spans);
        spans.markBarbs(course.spans);
        spans.takeOutSlight(course.spans);
        const bool isShown = wantsHidden(course.source);
        if (!isShown || !wantsHiddenTangents(course.source)) {
            for (LineSpan& span : course.spans) {
                const bool isAbsent = span.sight == LineSight::hidden &&
                                      !(isShown && segments.all[span.segment].kind != KivStrokeKind::tangent);
                span.sight = isAbsent ? LineSight::absent : span.sight;
            }
        }
        joinAlike(course.spans);
        return course;
    }
    // Of an edge that thousands of slivers pass by, nothing is left to tell once its gaps are closed.
    void joinAlike(std::vector<LineSpan>& spans) const {
        std::size_t last = 0;
        for (std::size_t i = 1; i < spans.size(); ++i) {
            const LineSegment& segment = segments.all[spans[i].segment];
            if (spans[i].segment == spans[last].segment && spans[i].sight == spans[last].sight &&
                segment.contour == LineSegment::none && !segment.mayBeSlight && spans[i].first == spans[last].last) {
                spans[last].last = spans[i].last;
                spans[last].end = spans[i].end;
                spans[last].length += spans[i].length;
            } else {
                spans[++last] = spans[i];
            }
        }
        spans.resize(spans.empty() ? 0 : last + 1);
    }

    bool join() {
        LineBudget work(LineBudget::allowance(occluders.size() + segments.all.size(), effort));
        if (!kivJoinCourses(occluders, segments, nodes, work, courses, found)) {
            return false;
        }
        addDots();
        for (KivFoundLine& line : found) {
            line.object =
                sources[line.source].isBody ? sources[line.source].body.object : sources[line.source].course.object;
        }
        std::stable_sort(found.begin(), found.end(), [](const KivFoundLine& a, const KivFoundLine& b) {
            return std::tie(a.source, a.kind) < std::tie(b.source, b.kind);
        });
        return true;
    }
    // A point is seen if the shortest of lines there is.
    void addDots() {
        for (std::uint32_t i = 0; i < sources.size(); ++i) {
            const KivLineCourse& course = sources[i].course;
            if (sources[i].isBody || course.points.size() != 1) {
                continue;
            }
            const KivVec place = view.toCamera(course.points[0]);
            double from = 0.0;
            double to = 0.0;
            if (view.clip(place, place, &from, &to)) {
                const KivPicturePoint point = view.toPicture(place);
                const bool hidden = occluders.nearestAt(point) < place.z * (1.0 - 1e-6);
                if (!hidden || course.hidden) {
                    found.push_back({i, 0, KivStrokeKind::own, hidden, false, true, true, {point}, {course.points[0]}});
                }
            }
        }
    }

    KivLineView view;
    std::uint32_t occluderTriangles = 0;
    LineSegments segments;
    std::vector<std::uint32_t> nodes; // of the two ends of each segment
    std::vector<LineCourse> courses;
};

KivLineEngine::KivLineEngine(const KivLineView& view) : parts(std::make_unique<Parts>(view)) {}

KivLineEngine::~KivLineEngine() = default;

void KivLineEngine::add(KivLineBody body) {
    parts->sources.push_back({std::move(body), {}, true, std::nullopt});
}

void KivLineEngine::add(KivLineCourse course) {
    parts->sources.push_back({{}, std::move(course), false, std::nullopt});
}

void KivLineEngine::setRest(KivSurface rest) {
    if (!parts->sources.empty() && parts->sources.back().isBody) {
        parts->sources.back().rest = std::move(rest);
    }
}

void KivLineEngine::setEffort(double part) {
    parts->effort = part;
}

bool KivLineEngine::isCutShort() const {
    return parts->isCutShort;
}

bool KivLineEngine::find() {
    if (parts->find()) {
        return true;
    }
    parts->found.clear();
    return !kivIsCancelled();
}

const std::vector<KivFoundLine>& KivLineEngine::lines() const {
    return parts->found;
}

const KivOccluders& KivLineEngine::occluders() const {
    return parts->occluders;
}

KivStroke kivStrokeOf(const KivFoundLine& line, double tolerance) {
    KivStroke stroke;
    stroke.object = line.object;
    stroke.kind = line.kind;
    stroke.hidden = line.hidden;
    constexpr double shareOfArcs = 0.9; // the rest is for the cubics in its place
    stroke.arc = kivFitEllipseArc(line.picture, line.closed, shareOfArcs * tolerance);
    stroke.path = stroke.arc ? kivPathOf(*stroke.arc, tolerance) : kivFitCurve(line.picture, line.closed, tolerance);
    stroke.space = line.space;
    if (line.closed && !line.space.empty()) {
        stroke.space.push_back(line.space.front());
    }
    return stroke;
}
