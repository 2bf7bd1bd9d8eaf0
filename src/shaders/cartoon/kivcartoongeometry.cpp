#include "kivcartoongeometry.h"

#include "kivcartoonramp.h"
#include "kivrender/scene/kivprogress.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>

namespace {

using Triangle = KivSurface::Triangle;
constexpr std::uint32_t none = 0xffffffffU;

// The cosine of the turn, 4 degrees, over which a highlight can be interpolated.
constexpr double gentleTurn = 0.9976;
// The cosine of the turn, 2.5 degrees, over which parallel light can be interpolated: the error of the incidence is an
// eighth of the turn's square, less than a step of 8 bits.
constexpr double slightTurn = 0.99905;
// How much longer a side of so slight a turn may be where the highlight moves with the view alone.
constexpr double flatterSide = 6.0;

// The sine of the turn of flat triangles against a smooth surface beyond which they are taken for its shape.
constexpr double mostTurn = 0.5;

// Triangles between two polls for a cancel: some milliseconds of work.
constexpr std::size_t pollEvery = 8192;

using Paint = std::array<float, 3>;

Paint mixed(const Paint& a, const Paint& b, double t) {
    const auto share = static_cast<float>(t);
    return {a[0] + (b[0] - a[0]) * share, a[1] + (b[1] - a[1]) * share, a[2] + (b[2] - a[2]) * share};
}

struct Corner {
    KivVec point;
    KivVec normal; // to the seen side
    KivClipPoint clip;
    std::uint32_t vertex = none; // in the batch, none until it is lit
    Paint paint{};
    double turn = 0.0; // of the flat triangles around it
};

// The way in the picture along the part of a segment that lies in front of the near plane.
KivVec pixelWay(const KivClipPoint& a, const KivClipPoint& b, const KivView& view) {
    const double da = a.w + a.z;
    const double db = b.w + b.z;
    if (!(da > 0.0) && !(db > 0.0)) {
        return {};
    }
    const KivClipPoint from = da > 0.0 ? a : kivMix(a, b, da / (da - db));
    const KivClipPoint to = db > 0.0 ? b : kivMix(b, a, db / (db - da));
    if (!(from.w > 0.0) || !(to.w > 0.0)) {
        return {};
    }
    const KivWindowPoint p = view.window(from);
    const KivWindowPoint q = view.window(to);
    return {q.x - p.x, q.y - p.y, 0.0};
}

double pixelLength(const KivClipPoint& a, const KivClipPoint& b, const KivView& view) {
    const KivVec way = pixelWay(a, b, view);
    return std::hypot(way.x, way.y);
}

// Whether the length of a way exceeds a limit above 0. Most sides of large meshes are so short, and only what lies next
// to the limit is worth the call of hypot.
bool isLonger(const KivVec& way, double limit) {
    constexpr double rounding = 1e-12;
    const double square = way.x * way.x + way.y * way.y;
    const double squareOfLimit = limit * limit;
    if (square < squareOfLimit * (1.0 - rounding)) {
        return false;
    }
    return square > squareOfLimit * (1.0 + rounding) || std::hypot(way.x, way.y) > limit;
}

// The sides of a part of the view that a point lies outside of.
unsigned int outsideOf(const KivClipPoint& p, const KivCartoonPart& part) {
    return (p.x < part.left * p.w ? 1U : 0U) | (p.x > part.right * p.w ? 2U : 0U) |
           (p.y < part.bottom * p.w ? 4U : 0U) | (p.y > part.top * p.w ? 8U : 0U) | (p.z < -p.w ? 16U : 0U) |
           (p.z > p.w ? 32U : 0U);
}

class Builder {
public:
    Builder(const KivShadedMesh& m, const KivView& v, const KivCartoonLights& l, const KivCartoonDetail& d,
            KivCartoonBatch& b)
        : model(m), view(v), lights(l), detail(d), batch(b) {}

    void build() {
        prepareVertices();
        if (detail.ranks != 0) {
            findFacetTurns();
            batch.ranks = detail.ranks;
            batch.threshold = static_cast<float>(kivRampCoordinate(mostTurn, detail.rampEntries));
        }
        const bool divides = !isEvenlyLit();
        const bool hasEdges = lights.numEdges() > 0;
        for (std::size_t t = 0; t < model.triangles.size(); ++t) {
            if (t % pollEvery == pollEvery - 1 && kivIsCancelled()) {
                return;
            }
            const Triangle& triangle = model.triangles[t];
            if (detail.part && isOutside(clips[triangle[0]], clips[triangle[1]], clips[triangle[2]])) {
                continue;
            }
            const bool outer = showsOuterSide(t);
            std::vector<std::uint32_t>& indices = outer || detail.keepOrder ? batch.front : batch.back;
            if (detail.flat) {
                addFlat(triangle, t, outer, indices);
            } else if ((divides && (detail.inAreas || isLarge(triangle))) || (hasEdges && isCrossed(triangle))) {
                divide(triangle, outer, indices);
            } else {
                for (const std::uint32_t p : triangle) {
                    indices.push_back(sharedVertex(p, outer));
                }
            }
            if (detail.keepOrder) {
                endTriangle(outer);
            }
        }
    }

private:
    void endTriangle(bool outer) {
        if (batch.runs.empty() || batch.runs.back().isFront != outer) {
            batch.runs.push_back({0, outer});
        }
        batch.runs.back().end = batch.front.size();
    }

    bool isOutside(const KivClipPoint& a, const KivClipPoint& b, const KivClipPoint& c) const {
        return (outsideOf(a, part) & outsideOf(b, part) & outsideOf(c, part)) != 0U;
    }

    void prepareVertices() {
        const std::size_t count = model.points.size();
        clips.resize(count);
        for (std::size_t i = 0; i < count; ++i) {
            clips[i] = view.clip(model.points[i]);
        }
        shared[0].assign(detail.flat ? 0 : count, none);
        shared[1].assign(detail.flat ? 0 : count, none);
        batch.vertices.reserve(detail.flat ? model.triangles.size() * 3 : count);
        batch.front.reserve(model.triangles.size() * 3);
    }

    // True if no triangle needs dividing: parallel light on triangles whose corners share a normal.
    bool isEvenlyLit() const {
        if (detail.flat) {
            return true;
        }
        if (detail.shine || !lights.isUniform()) {
            return false;
        }
        for (const Triangle& t : model.triangles) {
            const KivVec& n = model.normals[t[0]];
            if (kivDot(n, model.normals[t[1]]) < 1.0 - 1e-9 || kivDot(n, model.normals[t[2]]) < 1.0 - 1e-9) {
                return false;
            }
        }
        return true;
    }

    KivVec outerNormal(std::size_t t) const {
        const Triangle& c = model.triangles[t];
        const KivVec& a = model.points[c[0]];
        return kivCross(model.points[c[1]] - a, model.points[c[2]] - a) * model.windings[t];
    }

    bool showsOuterSide(std::size_t t) const {
        return kivDot(outerNormal(t), view.toViewer(model.points[model.triangles[t][0]])) >= 0.0;
    }

    bool isLarge(const Triangle& t) const {
        for (int k = 0; k < 3; ++k) {
            const std::uint32_t a = t[k];
            const std::uint32_t b = t[(k + 1) % 3];
            if (isLong(clips[a], model.normals[a], clips[b], model.normals[b])) {
                return true;
            }
        }
        return false;
    }

    // Whether a side is halved depends on its two ends alone, so that neighbours always agree.
    bool isLong(const KivClipPoint& a, const KivVec& na, const KivClipPoint& b, const KivVec& nb) const {
        const double turn = kivDot(na, nb);
        if (uniform && turn > slightTurn) {
            return detail.shine && isLonger(pixelWay(a, b, view), detail.longestSide * flatterSide);
        }
        const KivVec way = pixelWay(a, b, view);
        return isLonger(way, detail.longestSide) ||
               (detail.shine && turn < gentleTurn && isLonger(way, detail.longestTurn));
    }

    bool isCrossed(const Triangle& t) const {
        const std::uint32_t inside = insideOf(model.points[t[0]]);
        return inside != insideOf(model.points[t[1]]) || inside != insideOf(model.points[t[2]]);
    }

    std::uint32_t insideOf(const KivVec& point) const {
        std::uint32_t inside = 0;
        for (int i = 0; i < lights.numEdges(); ++i) {
            inside |= lights.edgeSide(point, i) >= 0.0 ? 1U << i : 0U;
        }
        return inside;
    }

    // Those that the triangles around turn away from come below the threshold, which is the same for all points.
    void addIncidences(const KivVec& point, const KivVec& normal, double turn) {
        if (detail.ranks == 0) {
            return;
        }
        lights.incidences(point, normal, ranked);
        ranked.resize(static_cast<std::size_t>(detail.ranks), 0.0);
        std::sort(ranked.begin(), ranked.end(), std::greater<>());
        // A little more than the turn, for the triangles that turn most; little enough to leave the lit side its light.
        const double shift = mostTurn - std::clamp(1.15 * turn + 0.01, 0.02, mostTurn);
        for (const double incidence : ranked) {
            batch.incidences.push_back(static_cast<float>(kivRampCoordinate(incidence + shift, detail.rampEntries)));
        }
    }

    // How far, as the sine of an angle, the flat triangles around each point turn from the normal there; larger ones
    // count more, as slivers turn anyhow and show next to nothing.
    void findFacetTurns() {
        std::vector<double> areas(model.points.size(), 0.0);
        std::vector<double> squares(model.points.size(), 0.0);
        for (std::size_t t = 0; t < model.triangles.size(); ++t) {
            const KivVec normal = outerNormal(t);
            const double area = kivLength(normal);
            const KivVec facet = kivUnit(normal);
            for (const std::uint32_t corner : model.triangles[t]) {
                const double cosine = std::clamp(kivDot(facet, model.normals[corner]), 0.0, 1.0);
                areas[corner] += area;
                squares[corner] += area * (1.0 - cosine * cosine);
            }
        }
        turns.resize(model.points.size());
        for (std::size_t i = 0; i < turns.size(); ++i) {
            turns[i] = areas[i] > 0.0 ? std::sqrt(squares[i] / areas[i]) : 0.0;
        }
    }
    double turnAt(std::uint32_t point) const {
        return turns.empty() ? 0.0 : turns[point];
    }

    Paint paintAt(std::uint32_t point) const {
        return detail.isPainted ? model.paint[point] : Paint();
    }

    std::uint32_t addVertex(const KivVec& p, double light, double shine, const Paint& paint) {
        if (detail.isPainted) {
            batch.paint.push_back(paint);
        }
        batch.vertices.push_back({static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z),
                                  static_cast<float>(kivRampCoordinate(light, detail.rampEntries)),
                                  static_cast<float>(kivRampCoordinate(shine, detail.rampEntries))});
        return static_cast<std::uint32_t>(batch.vertices.size() - 1);
    }

    double shineOf(const KivVec& point, const KivVec& normal) const {
        return detail.shine ? lights.shine(point, normal) : 0.0;
    }

    std::uint32_t litVertex(const KivVec& point, const KivVec& normal, const Paint& paint, double turn) {
        addIncidences(point, normal, turn);
        return addVertex(point, lights.light(point, normal), shineOf(point, normal), paint);
    }

    std::uint32_t sharedVertex(std::uint32_t p, bool outer) {
        std::uint32_t& vertex = shared[outer ? 0 : 1][p];
        if (vertex == none) {
            vertex = litVertex(model.points[p], outer ? model.normals[p] : -model.normals[p], paintAt(p), turnAt(p));
        }
        return vertex;
    }

    void addFlat(const Triangle& t, std::size_t index, bool outer, std::vector<std::uint32_t>& indices) {
        const KivVec normal = kivUnit(outer ? outerNormal(index) : -outerNormal(index));
        const KivVec centre = (model.points[t[0]] + model.points[t[1]] + model.points[t[2]]) * (1.0 / 3.0);
        const double light = lights.light(centre, normal);
        const double shine = shineOf(centre, normal);
        for (const std::uint32_t p : t) {
            indices.push_back(addVertex(model.points[p], light, shine, paintAt(p)));
        }
    }

    void divide(const Triangle& t, bool outer, std::vector<std::uint32_t>& indices) {
        Corner corner[3];
        for (int k = 0; k < 3; ++k) {
            const KivVec& normal = model.normals[t[k]];
            corner[k] = {model.points[t[k]], outer ? normal : -normal, clips[t[k]], none, paintAt(t[k]), turnAt(t[k])};
            if (lights.numEdges() == 0) {
                corner[k].vertex = sharedVertex(t[k], outer);
            }
        }
        split(corner[0], corner[1], corner[2], 0, indices);
    }

    Corner between(const Corner& a, const Corner& b, double t) const {
        Corner middle;
        middle.point = a.point + (b.point - a.point) * t;
        middle.normal = kivUnit(a.normal + (b.normal - a.normal) * t);
        if (kivDot(middle.normal, middle.normal) == 0.0) {
            middle.normal = a.normal;
        }
        middle.clip = view.clip(middle.point);
        middle.paint = mixed(a.paint, b.paint, t);
        middle.turn = a.turn + (b.turn - a.turn) * t;
        return middle;
    }

    // The middle of a side, computed the same way from both of the triangles that share it.
    Corner middleOf(const Corner& a, const Corner& b) {
        Corner middle = between(a, b, 0.5);
        middle.point = (a.point + b.point) * 0.5;
        const KivVec normal = kivUnit(a.normal + b.normal);
        middle.normal = kivDot(normal, normal) > 0.0 ? normal : middle.normal;
        middle.clip = view.clip(middle.point);
        if (lights.numEdges() == 0) {
            middle.vertex = litVertex(middle.point, middle.normal, middle.paint, middle.turn);
        }
        return middle;
    }

    bool isLong(const Corner& a, const Corner& b) const {
        if (!detail.inAreas || a.vertex == none || b.vertex == none) {
            return isLong(a.clip, a.normal, b.clip, b.normal);
        }
        const double length = pixelLength(a.clip, b.clip, view);
        if (length <= detail.longestAtEdges) {
            return false;
        }
        const KivCartoonVertex& from = batch.vertices[a.vertex];
        const KivCartoonVertex& to = batch.vertices[b.vertex];
        // A value between the ends leaves the straight line by about so much where the normal turns, and the highlight
        // where the view turns as well.
        const double bend = bendOf(a.normal, b.normal);
        const double seen = bend + bendOf(kivUnit(view.toViewer(a.point)), kivUnit(view.toViewer(b.point)));
        Range light{from.light, to.light};
        Range shine{from.shine, to.shine};
        if (length > detail.longestSide && (!uniform || detail.shine)) {
            const Corner middle = between(a, b, 0.5);
            light.add(rampOf(lights.light(middle.point, middle.normal)));
            shine.add(rampOf(shineOf(middle.point, middle.normal)));
        }
        return isNear(detail.lightEdges, light, 2.0 * bend) ||
               (detail.shine && isNear(detail.shineEdges, shine, 4.0 * seen));
    }

    struct Range {
        double low;
        double high;

        Range(double a, double b) : low(std::min(a, b)), high(std::max(a, b)) {}
        void add(double value) {
            low = std::min(low, value);
            high = std::max(high, value);
        }
    };

    double rampOf(double value) const {
        return kivRampCoordinate(value, detail.rampEntries);
    }

    // One minus the cosine of half the angle between two directions.
    static double bendOf(const KivVec& a, const KivVec& b) {
        return 1.0 - std::sqrt(std::max(0.0, (1.0 + kivDot(a, b)) * 0.5));
    }

    // Whether a large triangle of one colour at its corners has another in its middle, as under a lamp close to a
    // floor.
    bool hidesAnEdge(const Corner& a, const Corner& b, const Corner& c) const {
        if (!detail.inAreas || a.vertex == none || (uniform && !detail.shine) ||
            std::max({pixelLength(a.clip, b.clip, view), pixelLength(b.clip, c.clip, view),
                      pixelLength(c.clip, a.clip, view)}) <= detail.longestSide) {
            return false;
        }
        Range light{batch.vertices[a.vertex].light, batch.vertices[b.vertex].light};
        Range shine{batch.vertices[a.vertex].shine, batch.vertices[b.vertex].shine};
        light.add(batch.vertices[c.vertex].light);
        shine.add(batch.vertices[c.vertex].shine);
        const bool before = isNear(detail.lightEdges, light, 0.0) || isNear(detail.shineEdges, shine, 0.0);
        const Corner middle = middleOf(a, b, c);
        light.add(rampOf(lights.light(middle.point, middle.normal)));
        shine.add(rampOf(shineOf(middle.point, middle.normal)));
        return !before && (isNear(detail.lightEdges, light, 0.0) || isNear(detail.shineEdges, shine, 0.0));
    }

    Corner middleOf(const Corner& a, const Corner& b, const Corner& c) const {
        Corner middle;
        middle.point = (a.point + b.point + c.point) * (1.0 / 3.0);
        const KivVec normal = kivUnit(a.normal + b.normal + c.normal);
        middle.normal = kivDot(normal, normal) > 0.0 ? normal : a.normal;
        middle.clip = view.clip(middle.point);
        middle.turn = (a.turn + b.turn + c.turn) / 3.0;
        return middle;
    }

    // Whether any edge lies in a range of values or within the slack of it.
    static bool isNear(const std::vector<float>& edges, const Range& range, double slack) {
        const auto first = std::lower_bound(edges.begin(), edges.end(), range.low - slack);
        return first != edges.end() && *first <= range.high + slack;
    }

    void split(const Corner& a, const Corner& b, const Corner& c, int depth, std::vector<std::uint32_t>& indices) {
        if (isOutside(a.clip, b.clip, c.clip)) {
            return;
        }
        const bool more = depth < 16 && batch.vertices.size() < detail.most;
        const bool ab = more && isLong(a, b);
        const bool bc = more && isLong(b, c);
        const bool ca = more && isLong(c, a);
        const int count = (ab ? 1 : 0) + (bc ? 1 : 0) + (ca ? 1 : 0);
        if (count == 0 && more && hidesAnEdge(a, b, c)) {
            // From within, so that the neighbours' sides stay as they are.
            Corner middle = middleOf(a, b, c);
            middle.paint = mixed(mixed(a.paint, b.paint, 0.5), c.paint, 1.0 / 3.0);
            middle.vertex = litVertex(middle.point, middle.normal, middle.paint, middle.turn);
            split(a, b, middle, depth + 1, indices);
            split(b, c, middle, depth + 1, indices);
            split(c, a, middle, depth + 1, indices);
        } else if (count == 0) {
            finish(a, b, c, indices);
        } else if (count == 3) {
            const Corner mab = middleOf(a, b);
            const Corner mbc = middleOf(b, c);
            const Corner mca = middleOf(c, a);
            split(a, mab, mca, depth + 1, indices);
            split(mab, b, mbc, depth + 1, indices);
            split(mca, mbc, c, depth + 1, indices);
            split(mab, mbc, mca, depth + 1, indices);
        } else if (count == 2) {
            // Turned so that the short side comes last.
            if (!ab) {
                splitTwo(b, c, a, depth, indices);
            } else if (!bc) {
                splitTwo(c, a, b, depth, indices);
            } else {
                splitTwo(a, b, c, depth, indices);
            }
        } else if (ab) {
            splitOne(a, b, c, depth, indices);
        } else if (bc) {
            splitOne(b, c, a, depth, indices);
        } else {
            splitOne(c, a, b, depth, indices);
        }
    }

    void splitOne(const Corner& a, const Corner& b, const Corner& c, int depth, std::vector<std::uint32_t>& indices) {
        const Corner middle = middleOf(a, b);
        split(a, middle, c, depth + 1, indices);
        split(middle, b, c, depth + 1, indices);
    }

    void splitTwo(const Corner& a, const Corner& b, const Corner& c, int depth, std::vector<std::uint32_t>& indices) {
        const Corner mab = middleOf(a, b);
        const Corner mbc = middleOf(b, c);
        split(mab, b, mbc, depth + 1, indices);
        split(a, mab, mbc, depth + 1, indices);
        split(a, mbc, c, depth + 1, indices);
    }

    void finish(const Corner& a, const Corner& b, const Corner& c, std::vector<std::uint32_t>& indices) {
        if (lights.numEdges() == 0) {
            for (const Corner* corner : {&a, &b, &c}) {
                indices.push_back(corner->vertex);
            }
            return;
        }
        polygon.assign({a, b, c});
        cut(polygon, 0, 0, indices);
    }

    // Cuts a small convex polygon along one edge of light after another.
    void cut(const std::vector<Corner>& corners, int edge, std::uint32_t inside, std::vector<std::uint32_t>& indices) {
        if (corners.size() < 3) {
            return;
        }
        if (edge == lights.numEdges()) {
            addPolygon(corners, inside, indices);
            return;
        }
        std::vector<Corner> lit;
        std::vector<Corner> dark;
        for (std::size_t i = 0; i < corners.size(); ++i) {
            const Corner& here = corners[i];
            const Corner& next = corners[(i + 1) % corners.size()];
            const double sideHere = lights.edgeSide(here.point, edge);
            const double sideNext = lights.edgeSide(next.point, edge);
            (sideHere >= 0.0 ? lit : dark).push_back(here);
            if ((sideHere >= 0.0) != (sideNext >= 0.0)) {
                // From the lit end to the dark one, whichever comes first, for the same point in both neighbours.
                const bool forward = sideHere >= 0.0;
                const double from = forward ? sideHere : sideNext;
                const double to = forward ? sideNext : sideHere;
                const Corner crossing = between(forward ? here : next, forward ? next : here, from / (from - to));
                lit.push_back(crossing);
                dark.push_back(crossing);
            }
        }
        cut(lit, edge + 1, inside | 1U << edge, indices);
        cut(dark, edge + 1, inside, indices);
    }

    void addPolygon(const std::vector<Corner>& corners, std::uint32_t inside, std::vector<std::uint32_t>& indices) {
        const std::uint32_t first = static_cast<std::uint32_t>(batch.vertices.size());
        for (const Corner& corner : corners) {
            addIncidences(corner.point, corner.normal, corner.turn);
            addVertex(corner.point, lights.lightInside(corner.point, corner.normal, inside),
                      shineOf(corner.point, corner.normal), corner.paint);
        }
        for (std::uint32_t i = 2; i < corners.size(); ++i) {
            indices.push_back(first);
            indices.push_back(first + i - 1);
            indices.push_back(first + i);
        }
    }

    const KivShadedMesh& model;
    const KivView& view;
    const KivCartoonLights& lights;
    const KivCartoonDetail& detail;
    KivCartoonBatch& batch;
    const bool uniform = lights.isUniform();
    const KivCartoonPart part = detail.part.value_or(KivCartoonPart());
    std::vector<KivClipPoint> clips;
    std::vector<std::uint32_t> shared[2]; // the vertex of each point for the outer and the inner side
    std::vector<Corner> polygon;
    std::vector<double> ranked;
    std::vector<double> turns; // of the points, where lights are ranked
};

} // namespace

void KivCartoonBatch::clear() {
    ranks = 0;
    skin = {};
    paint.clear();
    incidences.clear();
    vertices.clear();
    front.clear();
    back.clear();
    runs.clear();
}

KivCartoonPart KivCartoonPart::grownBy(double pixels, const KivView& view) const {
    const double across = 2.0 * pixels / view.width();
    const double upward = 2.0 * pixels / view.height();
    return {std::max(-1.0, left - across), std::max(-1.0, bottom - upward), std::min(1.0, right + across),
            std::min(1.0, top + upward)};
}

void kivBuildCartoon(const KivShadedMesh& model, const KivView& view, const KivCartoonLights& lights,
                     const KivCartoonDetail& detail, KivCartoonBatch& batch) {
    batch.clear();
    Builder(model, view, lights, detail, batch).build();
}
