#include "kivrender/lines/surfacelines.h"

#include "kivrender/lines/curveorder.h"
#include "kivrender/lines/junctionfolds.h"
#include "kivrender/lines/smoothsurface.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace {

// Faces that are edge-on up to rounding count as turned away.
constexpr double edgeOn = 1e-12;
// Of an edge, where one side turns away just before the other does by rounding alone.
constexpr double shortestPart = 1e-9;

// A point on the arc over an edge (Vlachos and others, 2001, section 3.1), whichever triangle asks.
KivVec onArc(const KivVec& a, const KivVec& b, const KivVec& normalA, const KivVec& normalB, double t) {
    const KivVec way = b - a;
    const KivVec nearA = (a * 2.0 + b - normalA * kivDot(way, normalA)) * (1.0 / 3.0);
    const KivVec nearB = (b * 2.0 + a + normalB * kivDot(way, normalB)) * (1.0 / 3.0);
    const double s = 1.0 - t;
    return a * (s * s * s) + nearA * (3.0 * s * s * t) + nearB * (3.0 * s * t * t) + b * (t * t * t);
}

// Where a value that runs evenly from one end to the other, on different sides of 0, is 0.
double zeroBetween(double from, double to) {
    return std::clamp(from / (from - to), 0.0, 1.0);
}

class Finder {
public:
    Finder(const KivSurface& read, const std::vector<std::uint32_t>& ofTriangles, const KivLineView& view,
           const SurfaceLineRules& wanted, SurfaceLines& result)
        : surface(read), materials(ofTriangles), seenFrom(view), viewer(view.viewpoint()), rules(wanted),
          lines(result) {}

    bool find() {
        wings = kivFeatureWings(surface);
        if (wings.empty()) {
            return !kivIsCancelledAt(0);
        }
        KivFeatureRules sharp = rules.features;
        sharp.tangents = false; // contours run on over them
        findCreases(sharp);
        if (!kivSmoothSurface(surface, wings, creases, seenFrom, rules.mostRise, smooth)) {
            return false;
        }
        facing.resize(smooth.normals.size());
        for (std::size_t i = 0; i < facing.size(); ++i) {
            const KivVec toViewer = viewer.toViewer(surface.points[smooth.points[i]]);
            facing[i] = kivDot(smooth.normals[i], toViewer) - edgeOn * kivLength(toViewer);
        }
        return junctions.find(surface, wings) && addEdges() &&
               (!rules.features.silhouettes || (addContours() && findNeighbours()));
    }

private:
    void findCreases(const KivFeatureRules& sharp) {
        if (rules.rest != nullptr) {
            const std::vector<KivFeatureWing> atRest = kivFeatureWings(*rules.rest);
            if (kivTakeBends(atRest, wings)) {
                creases = kivFeatureCreases(*rules.rest, atRest, sharp);
                return;
            }
        }
        creases = kivFeatureCreases(surface, wings, sharp);
        findRounded(sharp);
    }
    // In a pose a strip would turn by more or less than at rest.
    void findRounded(const KivFeatureRules& sharp) {
        if (rules.rest == nullptr && sharp.creases && sharp.roundedEdges > 0.0) {
            rounded =
                kivFeatureCreases(surface, wings, sharp, kivPixelOnSurface(surface, viewer, seenFrom.pixelSize(1.0)));
        }
    }

    bool addEdges() {
        for (std::size_t i = 0; i < wings.size(); ++i) {
            if (kivIsCancelledAt(i)) {
                return false;
            }
            if (surface.namesEdges && rules.features.tangents) {
                addTangent(wings[i]);
            }
            if (!smooth.smooth[i]) {
                addEdge(i);
            } else if (isMaterialBorder(wings[i])) {
                add(wings[i], 0.0, 1.0, KivStrokeKind::material);
            } else if (isRounded(i)) {
                add(wings[i], 0.0, 1.0, KivStrokeKind::crease);
            }
        }
        return true;
    }

    void addTangent(const KivFeatureWing& wing) {
        const KivSurface::NamedEdge* const named = kivNamedEdge(surface, wing.a, wing.b);
        if (named != nullptr && named->tangent) {
            add(wing, 0.0, 1.0, KivStrokeKind::tangent);
        }
    }
    // Where colours meet, a part is in two meshes and ends in neither.
    void addColourBorder(std::size_t i) {
        if (rules.features.silhouettes && kivFeatureFoldsBeyond(surface, wings[i], viewer)) {
            addFold(i, 0.0, 1.0);
        } else {
            addRest(i, 0.0, 1.0);
        }
    }
    void addEdge(std::size_t i) {
        const KivFeatureWing& wing = wings[i];
        if (wing.right == KivFeatureWing::none && surface.namesEdges) {
            addColourBorder(i);
        } else if (wing.right == KivFeatureWing::none) {
            if (rules.features.borders && !wing.filled) {
                add(wing, 0.0, 1.0, KivStrokeKind::boundary);
            }
        } else if (wing.junction) {
            addJunction(i);
        } else if (smooth.oriented[i]) {
            addSharp(i);
        } else if (rules.features.silhouettes &&
                   kivFeatureIsFold(surface.points[wing.a], surface.points[wing.b], surface.points[wing.left],
                                    surface.points[wing.right], viewer)) {
            addFold(i, 0.0, 1.0);
        } else {
            addRest(i, 0.0, 1.0);
        }
    }
    void addJunction(std::size_t i) {
        if (rules.features.silhouettes && junctions.isFold(wings[i], viewer)) {
            addFold(i, 0.0, 1.0);
        } else {
            addRest(i, 0.0, 1.0);
        }
    }
    // Between where one side turns away and where the other does the edge is a fold.
    void addSharp(std::size_t i) {
        const KivFeatureWing& wing = wings[i];
        const double one[2] = {facingAt(wing.triangle, wing.a), facingAt(wing.triangle, wing.b)};
        const double other[2] = {facingAt(wing.other, wing.a), facingAt(wing.other, wing.b)};
        double cuts[4] = {0.0, 1.0, 1.0, 1.0};
        int count = 1;
        for (const double* side : {one, other}) {
            if ((side[0] > 0.0) != (side[1] > 0.0)) {
                cuts[count++] = zeroBetween(side[0], side[1]);
            }
        }
        cuts[count] = 1.0;
        if (count == 3 && cuts[1] > cuts[2]) {
            std::swap(cuts[1], cuts[2]);
        }
        bool isFold = (one[0] > 0.0) != (other[0] > 0.0);
        for (int k = 0; k < count; ++k) {
            if (cuts[k + 1] - cuts[k] > shortestPart) {
                if (isFold && rules.features.silhouettes) {
                    addSharpFold(i, cuts[k], cuts[k + 1]);
                } else {
                    addRest(i, cuts[k], cuts[k + 1]);
                }
            }
            isFold = !isFold;
        }
    }
    std::uint32_t normalAt(std::uint32_t triangle, std::uint32_t point) const {
        const KivSurface::Triangle& t = surface.triangles[triangle];
        return smooth.corners[triangle][t[0] == point ? 0 : t[1] == point ? 1 : 2];
    }
    double facingAt(std::uint32_t triangle, std::uint32_t point) const {
        return facing[normalAt(triangle, point)];
    }
    // The triangle itself, whatever its normals say; its side is that of the normals.
    bool facesViewer(std::uint32_t triangle) const {
        const KivSurface::Triangle& t = surface.triangles[triangle];
        const KivVec across =
            kivCross(surface.points[t[1]] - surface.points[t[0]], surface.points[t[2]] - surface.points[t[0]]);
        double side = 0.0;
        for (const std::uint32_t corner : smooth.corners[triangle]) {
            side += kivDot(across, smooth.normals[corner]);
        }
        return kivDot(across, viewer.toViewer(surface.points[t[0]])) * side > 0.0;
    }
    void addFold(std::size_t i, double from, double to) {
        const KivFeatureWing& wing = wings[i];
        add(wing, from, to, KivStrokeKind::contour);
        LineSegment& fold = lines.segments.back();
        const KivVec& a = surface.points[wing.a];
        const KivVec aside = kivUnit(kivCross(surface.points[wing.b] - a, viewer.toViewer(a)));
        fold.open = aside * (kivDot(aside, surface.points[wing.left] - a) > 0.0 ? -1.0 : 1.0);
        fold.mayBeSlight = !creases[i];
    }
    // Next to where a contour arrives at a sharp edge or leaves it, the mesh may turn otherwise than the smooth surface
    // that it stands for: the fold then lies a little behind the mesh, as the contour does.
    void addSharpFold(std::size_t i, double from, double to) {
        addFold(i, from, to);
        for (const std::uint32_t t : {wings[i].triangle, wings[i].other}) {
            const double middle = 0.5 * (from + to);
            const double turned = facingAt(t, wings[i].a) * (1.0 - middle) + facingAt(t, wings[i].b) * middle;
            if (smooth.smoothSides[t] != 0 && (turned > 0.0) != facesViewer(t)) {
                addContourPiece(t, wings[i]);
                return;
            }
        }
    }
    void addContourPiece(std::uint32_t t, const KivFeatureWing& wing) {
        LineSegment& fold = lines.segments.back();
        ContourPiece piece = pieceOf(t);
        piece.normals[0] = smooth.normals[normalAt(t, wing.a)];
        piece.normals[1] = smooth.normals[normalAt(t, wing.b)];
        piece.bulges = kivDot(piece.normals[0] + piece.normals[1], fold.open) > 0.0;
        fold.contour = static_cast<std::int32_t>(lines.contours.size());
        lines.contours.push_back(piece);
    }
    bool isRounded(std::size_t i) const {
        return !rounded.empty() && rounded[i];
    }
    void addRest(std::size_t i, double from, double to) {
        if ((creases[i] && rules.features.creases) || isRounded(i)) {
            add(wings[i], from, to, surface.namesEdges ? KivStrokeKind::edge : KivStrokeKind::crease);
        } else if (isMaterialBorder(wings[i])) {
            add(wings[i], from, to, KivStrokeKind::material);
        }
    }
    void add(const KivFeatureWing& wing, double from, double to, KivStrokeKind kind) {
        lines.segments.push_back(
            {surface.points[wing.a], surface.points[wing.b], from, to, kind, {}, LineSegment::none, false, false});
    }
    bool isMaterialBorder(const KivFeatureWing& wing) const {
        return rules.materials && !materials.empty() && wing.right != KivFeatureWing::none &&
               materials[wing.triangle] != materials[wing.other];
    }

    bool addContours() {
        for (std::uint32_t t = 0; t < surface.triangles.size(); ++t) {
            if (kivIsCancelledAt(t)) {
                return false;
            }
            const std::array<std::uint32_t, 3>& corner = smooth.corners[t];
            const bool faces[3] = {facing[corner[0]] > 0.0, facing[corner[1]] > 0.0, facing[corner[2]] > 0.0};
            if (faces[0] != faces[1] || faces[1] != faces[2]) {
                addContour(t, faces);
            }
        }
        return true;
    }
    void addContour(std::uint32_t t, const bool (&faces)[3]) {
        ContourPiece piece = pieceOf(t);
        KivVec ends[2];
        int found = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            const std::size_t next = k == 2 ? 0 : k + 1;
            if (faces[k] != faces[next] && found < 2) {
                ends[found] = crossing(t, k, next, &piece.normals[found]);
                ++found;
            }
        }
        if (ends[0].x == ends[1].x && ends[0].y == ends[1].y && ends[0].z == ends[1].z) {
            return;
        }
        piece.bulges = bulgesOut(t);
        lines.segments.push_back({ends[0], ends[1], 0.0, 1.0, KivStrokeKind::contour,
                                  (piece.normals[0] + piece.normals[1]) * (piece.bulges ? 0.5 : -0.5),
                                  static_cast<std::int32_t>(lines.contours.size()), true, true});
        lines.contours.push_back(piece);
    }
    ContourPiece pieceOf(std::uint32_t t) const {
        ContourPiece piece;
        piece.triangle = t;
        for (std::size_t k = 0; k < 3; ++k) {
            const std::size_t next = k == 2 ? 0 : k + 1;
            piece.rise = std::max(piece.rise, riseOver(t, k, next));
            piece.reach = std::max(piece.reach, lengthOf(t, k, next));
        }
        return piece;
    }
    double lengthOf(std::uint32_t t, std::size_t k, std::size_t next) const {
        return kivLength(surface.points[surface.triangles[t][next]] - surface.points[surface.triangles[t][k]]);
    }
    // Of the arc over a side: only as far as the normals turn along the side does it rise. A long side across a
    // cylinder rises no more than a short one there.
    double riseOver(std::uint32_t t, std::size_t k, std::size_t next) const {
        const KivVec side = surface.points[surface.triangles[t][next]] - surface.points[surface.triangles[t][k]];
        const KivVec turn = smooth.normals[smooth.corners[t][next]] - smooth.normals[smooth.corners[t][k]];
        return 0.125 * std::fabs(kivDot(side, turn));
    }
    bool isStraight(std::uint32_t t, std::size_t k) const {
        return !smooth.straightSides.empty() && (smooth.straightSides[t] & (1U << k)) != 0;
    }
    // On the arc over a smooth side, on the line of a sharp one. The same point and normal from both sides.
    KivVec crossing(std::uint32_t t, std::size_t k, std::size_t next, KivVec* normal) const {
        std::uint32_t a = smooth.corners[t][k];
        std::uint32_t b = smooth.corners[t][next];
        const bool isRound = (smooth.smoothSides[t] & (1U << k)) != 0 && !isStraight(t, k);
        if (smooth.points[b] < smooth.points[a]) {
            std::swap(a, b);
        }
        const double at = zeroBetween(facing[a], facing[b]);
        *normal = kivUnit(smooth.normals[a] + (smooth.normals[b] - smooth.normals[a]) * at);
        const KivVec& from = surface.points[smooth.points[a]];
        const KivVec& to = surface.points[smooth.points[b]];
        if (at == 0.0 || at == 1.0) {
            return at == 0.0 ? from : to;
        }
        return isRound ? onArc(from, to, smooth.normals[a], smooth.normals[b], at) : from + (to - from) * at;
    }
    // Whether what faces the viewer lies before what turns away. Of a closed body the rest of the contour is hidden by
    // the body itself; of an open sheet it bulges to the other side.
    bool bulgesOut(std::uint32_t t) const {
        const KivSurface::Triangle& triangle = surface.triangles[t];
        const KivVec p[3] = {surface.points[triangle[0]], surface.points[triangle[1]], surface.points[triangle[2]]};
        const KivVec across = kivCross(p[1] - p[0], p[2] - p[0]);
        KivVec slope;
        for (std::size_t k = 0; k < 3; ++k) {
            slope = slope + kivCross(across, p[(k + 2) % 3] - p[(k + 1) % 3]) * facing[smooth.corners[t][k]];
        }
        return kivDot(slope, viewer.toViewer(p[0])) > 0.0;
    }

    bool findNeighbours() {
        lines.neighboursFrom.assign(1, 0);
        std::vector<std::uint32_t> slots(surface.points.size(), 0); // 0: no contour passes
        std::uint32_t count = 0;
        for (const ContourPiece& piece : lines.contours) {
            for (const std::uint32_t p : surface.triangles[piece.triangle]) {
                slots[p] = slots[p] == 0 ? ++count : slots[p];
            }
        }
        std::vector<std::pair<std::uint32_t, std::uint32_t>> around; // slots and their triangles
        for (std::uint32_t t = 0; t < surface.triangles.size(); ++t) {
            if (kivIsCancelledAt(t)) {
                return false;
            }
            for (const std::uint32_t p : surface.triangles[t]) {
                if (slots[p] > 0) {
                    around.emplace_back(slots[p], t);
                }
            }
        }
        std::sort(around.begin(), around.end());
        std::vector<std::size_t> starts(count + 2, around.size());
        for (std::size_t i = around.size(); i > 0; --i) {
            starts[around[i - 1].first] = i - 1;
        }
        constexpr std::size_t largestFan = 64; // the apex of a cone of very many triangles is one place
        for (std::size_t i = 0; i < lines.contours.size(); ++i) {
            if (kivIsCancelledAt(i)) {
                return false;
            }
            const std::size_t begin = lines.neighbours.size();
            for (const std::uint32_t p : surface.triangles[lines.contours[i].triangle]) {
                const std::size_t end = std::min(starts[slots[p] + 1], starts[slots[p]] + largestFan);
                for (std::size_t k = starts[slots[p]]; k < end; ++k) {
                    lines.neighbours.push_back(around[k].second);
                }
            }
            const auto first = lines.neighbours.begin() + static_cast<std::ptrdiff_t>(begin);
            std::sort(first, lines.neighbours.end());
            lines.neighbours.erase(std::unique(first, lines.neighbours.end()), lines.neighbours.end());
            lines.neighboursFrom.push_back(lines.neighbours.size());
        }
        return true;
    }

    const KivSurface& surface;
    const std::vector<std::uint32_t>& materials;
    const KivLineView& seenFrom;
    KivViewpoint viewer;
    const SurfaceLineRules& rules;
    SurfaceLines& lines;
    std::vector<KivFeatureWing> wings;
    std::vector<bool> creases;
    JunctionFolds junctions;
    std::vector<bool> rounded; // with rounded edges, on which the surface is smooth; empty if none are wanted
    SmoothSurface smooth;
    std::vector<double> facing; // of the normals: above 0 towards the viewer
};

} // namespace

bool kivSurfaceLines(const KivSurface& surface, const std::vector<std::uint32_t>& materials, const KivLineView& view,
                     const SurfaceLineRules& rules, SurfaceLines& lines) {
    return Finder(surface, materials, view, rules, lines).find();
}
