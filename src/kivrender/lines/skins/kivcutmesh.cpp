#include "kivrender/lines/skins/kivcutmesh.h"

#include "kivrender/lines/skins/alphaloops.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshpaint.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/scene/kivskinimage.h"

#include <GL/glu.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <map>
#include <optional>
#include <tuple>
#include <utility>
#include <vector>

namespace {

constexpr double tolerance = 0.15;    // in pixels of the reduced texture, which are about those of the drawing
constexpr double mostTriangles = 4e6; // more than the mesh has
constexpr double mostWork = 4e8;      // outlines looked at and edges walked along, about ten seconds
// Of a triangle: what is nearer to an edge lies on it.
constexpr double onEdge = 1e-7;
// Steps of an edge. Its two triangles compute a place on it in different ways, and must find the same one.
constexpr double edgeSteps = 1U << 24U;

using Weights = std::array<double, 3>;
using Outline = std::vector<KivPicturePoint>;

// A vertex of the cut mesh in a triangle.
struct Spot {
    unsigned int vertex = 0;
    KivPicturePoint place;
    Weights weights{}; // those of the sides that it lies on are 0
};

// A triangle in the texture.
struct Patch {
    std::array<unsigned int, 3> corner{};
    std::array<KivPicturePoint, 3> place;

    double twiceArea() const {
        return (place[1].x - place[0].x) * (place[2].y - place[0].y) -
               (place[1].y - place[0].y) * (place[2].x - place[0].x);
    }
    Weights weightsOf(const KivPicturePoint& p) const {
        const double whole = twiceArea();
        const auto part = [&](const KivPicturePoint& a, const KivPicturePoint& b) {
            return ((a.x - p.x) * (b.y - p.y) - (a.y - p.y) * (b.x - p.x)) / whole;
        };
        return {part(place[1], place[2]), part(place[2], place[0]), part(place[0], place[1])};
    }
    bool meets(const AlphaWindow& box) const {
        const auto [left, right] = std::minmax({place[0].x, place[1].x, place[2].x});
        const auto [top, bottom] = std::minmax({place[0].y, place[1].y, place[2].y});
        return box.left <= right && box.right >= left && box.top <= bottom && box.bottom >= top;
    }
};

// After Sutherland and Hodgman (Reentrant polygon clipping, 1974). Parts that fall apart stay joined along the side,
// there and back, which has no area.
Outline clipped(Outline outline, const Patch& patch) {
    const double sense = patch.twiceArea() > 0.0 ? 1.0 : -1.0;
    for (std::size_t k = 0; k < 3 && !outline.empty(); ++k) {
        const KivPicturePoint& a = patch.place[k];
        const KivPicturePoint& b = patch.place[(k + 1) % 3];
        const auto inside = [&](const KivPicturePoint& p) {
            return sense * ((b.x - a.x) * (p.y - a.y) - (b.y - a.y) * (p.x - a.x));
        };
        Outline kept;
        for (std::size_t i = 0; i < outline.size(); ++i) {
            const KivPicturePoint& p = outline[i];
            const KivPicturePoint& q = outline[(i + 1) % outline.size()];
            const double atP = inside(p);
            const double atQ = inside(q);
            if (atP >= 0.0) {
                kept.push_back(p);
            }
            if ((atP >= 0.0) != (atQ >= 0.0)) {
                const double t = atP / (atP - atQ);
                kept.push_back({p.x + t * (q.x - p.x), p.y + t * (q.y - p.y)});
            }
        }
        outline = std::move(kept);
    }
    return outline;
}

// The outlines of all that is there of a triangle, without the sides that clipping walks there and back: a tessellator
// makes triangles without an area of those, and neighbours would not share their points.
class PatchOutlines {
public:
    void add(const std::vector<Spot>& outline) {
        for (std::size_t i = 0; i < outline.size(); ++i) {
            const Spot& from = outline[i];
            const Spot& to = outline[(i + 1) % outline.size()];
            spots.try_emplace(from.vertex, from);
            std::size_t side = 0;
            while (side < 3 && (from.weights[side] > 0.0 || to.weights[side] > 0.0)) {
                ++side;
            }
            if (from.vertex == to.vertex) {
                continue;
            }
            if (side == 3) {
                addEdge(from.vertex, to.vertex);
            } else {
                along[side].push_back({from, to});
            }
        }
    }
    std::vector<std::vector<Spot>> closed() {
        for (std::size_t side = 0; side < 3; ++side) {
            addSide(side);
        }
        std::vector<std::vector<Spot>> outlines;
        for (auto first = next.begin(); first != next.end(); first = next.begin()) {
            std::vector<Spot> outline;
            for (auto at = first; at != next.end();) {
                outline.push_back(spots.at(at->first));
                const unsigned int to = at->second;
                next.erase(at);
                at = next.find(to);
            }
            if (outline.size() >= 3) {
                outlines.push_back(std::move(outline));
            }
        }
        return outlines;
    }

private:
    void addEdge(unsigned int from, unsigned int to) {
        next.emplace(from, to);
    }
    // How often each part of the side is walked one way, less how often the other way.
    void addSide(std::size_t side) {
        // Of each vertex the first spot counts: others may differ in the last digits.
        const auto placeOf = [&](const Spot& spot) { return spots.at(spot.vertex).weights[(side + 1) % 3]; };
        std::map<double, std::pair<unsigned int, int>> turns;
        for (const auto& [from, to] : along[side]) {
            turns.try_emplace(placeOf(from), from.vertex, 0).first->second.second += 1;
            turns.try_emplace(placeOf(to), to.vertex, 0).first->second.second -= 1;
        }
        int walked = 0;
        const std::pair<unsigned int, int>* before = nullptr;
        for (const auto& [place, here] : turns) {
            for (int i = 0; i < std::abs(walked); ++i) {
                addEdge(walked > 0 ? before->first : here.first, walked > 0 ? here.first : before->first);
            }
            walked += here.second;
            before = &here;
        }
    }

    std::map<unsigned int, Spot> spots;
    std::array<std::vector<std::pair<Spot, Spot>>, 3> along; // edges on each side
    std::multimap<unsigned int, unsigned int> next;
};

// Triangles of what lies within an odd number of outlines.
class Tessellator {
public:
    Tessellator() : tessellator(gluNewTess()) {
        const auto call = [this](GLenum which, void (*what)()) { gluTessCallback(tessellator, which, what); };
        call(GLU_TESS_VERTEX_DATA, reinterpret_cast<void (*)()>(&Tessellator::onVertex));
        call(GLU_TESS_COMBINE_DATA, reinterpret_cast<void (*)()>(&Tessellator::onCombine));
        call(GLU_TESS_ERROR_DATA, reinterpret_cast<void (*)()>(&Tessellator::onError));
        call(GLU_TESS_EDGE_FLAG, reinterpret_cast<void (*)()>(&Tessellator::onEdgeFlag)); // no strips and fans then
        gluTessProperty(tessellator, GLU_TESS_WINDING_RULE, GLU_TESS_WINDING_ODD);
        gluTessNormal(tessellator, 0.0, 0.0, 1.0);
    }
    Tessellator(const Tessellator&) = delete;
    Tessellator& operator=(const Tessellator&) = delete;
    ~Tessellator() {
        gluDeleteTess(tessellator);
    }

    static constexpr unsigned int unknown = 0xFFFFFFFFU;

    // Three corners each, counter-clockwise where y goes up; a corner that GLU made has no vertex yet. Null where GLU
    // fails. Lasts until the next call.
    const std::vector<Spot>* cover(const std::vector<std::vector<Spot>>& outlines) {
        points.clear();
        corners.clear();
        failed = false;
        gluTessBeginPolygon(tessellator, this);
        for (const std::vector<Spot>& outline : outlines) {
            gluTessBeginContour(tessellator);
            for (const Spot& spot : outline) {
                points.push_back({{spot.place.x, spot.place.y, 0.0}, spot.vertex});
                gluTessVertex(tessellator, points.back().at, &points.back());
            }
            gluTessEndContour(tessellator);
        }
        gluTessEndPolygon(tessellator);
        return failed || corners.size() % 3 != 0 ? nullptr : &corners;
    }

private:
    struct Point {
        double at[3];
        unsigned int vertex;
    };

    static void onVertex(void* data, void* self) {
        const auto* const p = static_cast<const Point*>(data);
        static_cast<Tessellator*>(self)->corners.push_back({p->vertex, {p->at[0], p->at[1]}, {}});
    }
    static void onCombine(const double place[3], void* /*joined*/[4], const float /*weights*/[4], void** out,
                          void* self) {
        std::deque<Point>& all = static_cast<Tessellator*>(self)->points;
        all.push_back({{place[0], place[1], 0.0}, unknown});
        *out = &all.back();
    }
    static void onError(GLenum /*code*/, void* self) {
        static_cast<Tessellator*>(self)->failed = true;
    }
    static void onEdgeFlag(GLboolean /*isEdge*/) {}

    GLUtesselator* tessellator;
    std::deque<Point> points; // which GLU points to
    std::vector<Spot> corners;
    bool failed = false;
};

class Cutter {
public:
    Cutter(const KivMesh& mesh, const KivMeshPaint& meshPaint, double effort)
        : source(mesh), paint(meshPaint), allowed(effort * mostWork),
          allowedTriangles(effort * mostTriangles + static_cast<double>(mesh.getNumTriangles())) {}

    // False when it is too much work, or the user cancelled.
    bool cut(const std::vector<Patch>& patches, const std::vector<AlphaLoop>& loops) {
        begin();
        for (const Patch& patch : patches) {
            if (kivIsCancelled() || !cutPatch(patch, loops)) {
                return false;
            }
        }
        return true;
    }
    // Null if nothing was cut out.
    std::unique_ptr<KivMesh> take() {
        if (!isCut) {
            return nullptr;
        }
        auto cutPaint = std::make_shared<KivMeshPaint>(paint);
        cutPaint->coordinates = std::move(coordinates);
        kivSetMeshPaint(*result, std::move(cutPaint));
        return std::move(result);
    }

private:
    void begin() {
        result = std::make_unique<KivMesh>();
        static_cast<Kiv3DObject&>(*result) = source;
        KivMaterial material;
        material = *source.getMaterial();
        result->setMaterial(material);
        vertexOf.assign(source.getNumVertexs(), none);
    }
    bool cutPatch(const Patch& patch, const std::vector<AlphaLoop>& loops) {
        if (patch.twiceArea() == 0.0) {
            addWhole(patch); // one line of the texture: as a filter would have it, it is there
            return true;
        }
        if (!isAffordable(patch, loops)) {
            return false;
        }
        PatchOutlines outlines;
        for (const AlphaLoop& loop : loops) {
            if (patch.meets(loop.box)) {
                outlines.add(spotsOf(patch, clipped(loop.points, patch)));
            }
        }
        const std::vector<Spot>* const cover = tessellator.cover(outlines.closed());
        if (cover == nullptr) {
            addWhole(patch);
        } else {
            addCover(patch, *cover);
        }
        return result->getNumTriangles() <= allowedTriangles;
    }
    // GLU's tessellator asks nobody for a cancel, and walks for each point along the edges that its sweep crosses
    // there: the square root of all, as they lie about evenly.
    bool isAffordable(const Patch& patch, const std::vector<AlphaLoop>& loops) {
        double points = 0.0;
        for (const AlphaLoop& loop : loops) {
            points += patch.meets(loop.box) ? static_cast<double>(loop.points.size()) : 0.0;
        }
        work += static_cast<double>(loops.size()) + points * std::sqrt(points);
        return work <= allowed;
    }
    void addCover(const Patch& patch, const std::vector<Spot>& cover) {
        const bool isTurned = patch.twiceArea() < 0.0;
        const auto vertexOfSpot = [&](const Spot& spot) {
            return spot.vertex != Tessellator::unknown ? spot.vertex : spotAt(patch, spot.place).vertex;
        };
        double covered = 0.0;
        for (std::size_t i = 0; i < cover.size(); i += 3) {
            const unsigned int a = vertexOfSpot(cover[i]);
            const unsigned int b = vertexOfSpot(cover[i + (isTurned ? 2 : 1)]);
            const unsigned int c = vertexOfSpot(cover[i + (isTurned ? 1 : 2)]);
            covered += std::fabs(Patch{{}, {cover[i].place, cover[i + 1].place, cover[i + 2].place}}.twiceArea());
            if (a != b && b != c && c != a) {
                result->addTriangle(a, b, c);
            }
        }
        isCut = isCut || covered < (1.0 - onEdge) * std::fabs(patch.twiceArea());
    }
    void addWhole(const Patch& patch) {
        result->addTriangle(cornerAt(patch.corner[0]), cornerAt(patch.corner[1]), cornerAt(patch.corner[2]));
    }

    unsigned int cornerAt(unsigned int corner) {
        if (vertexOf[corner] == none) {
            vertexOf[corner] = add(source.getVertex(corner), source.getNormal(corner), paint.coordinates[corner]);
        }
        return vertexOf[corner];
    }
    std::vector<Spot> spotsOf(const Patch& patch, const Outline& outline) {
        std::vector<Spot> spots;
        for (const KivPicturePoint& p : outline) {
            spots.push_back(spotAt(patch, p));
        }
        return spots;
    }
    Spot spotAt(const Patch& patch, const KivPicturePoint& p) {
        Spot spot{0, p, patch.weightsOf(p)};
        std::size_t first = 3;
        std::size_t second = 3;
        for (std::size_t k = 0; k < 3; ++k) {
            if (spot.weights[k] > onEdge) {
                (first == 3 ? first : second) = k;
            } else {
                spot.weights[k] = 0.0;
            }
        }
        if (spot.weights[0] > 0.0 && spot.weights[1] > 0.0 && spot.weights[2] > 0.0) {
            spot.vertex = mixed(patch.corner, spot.weights);
        } else if (second == 3) {
            spot.vertex = cornerAt(patch.corner[first == 3 ? 0 : first]);
        } else {
            const double sum = spot.weights[first] + spot.weights[second];
            spot.vertex = vertexOn(patch.corner[first], patch.corner[second], spot.weights[second] / sum);
        }
        return spot;
    }
    unsigned int vertexOn(unsigned int a, unsigned int b, double share) {
        // Vertices that were repeated for their normals lie at one place.
        if (source.getVertex(b) < source.getVertex(a)) {
            std::swap(a, b);
            share = 1.0 - share;
        }
        const double steps = std::round(share * edgeSteps);
        if (steps <= 0.0 || steps >= edgeSteps) {
            return cornerAt(steps <= 0.0 ? a : b);
        }
        const auto [known, isNew] = onEdges.try_emplace({a, b, static_cast<std::uint32_t>(steps)}, 0);
        if (isNew) {
            known->second = mixed({a, b, b}, {1.0 - steps / edgeSteps, steps / edgeSteps, 0.0});
        }
        return known->second;
    }
    unsigned int mixed(const std::array<unsigned int, 3>& corner, const Weights& w) {
        Kiv3DPoint point;
        Kiv3DVector normal;
        std::array<double, 3> place{};
        for (std::size_t k = 0; k < 3; ++k) {
            const Kiv3DPoint p = source.getVertex(corner[k]);
            const Kiv3DVector n = source.getNormal(corner[k]);
            point.set(point.x + w[k] * p.x, point.y + w[k] * p.y, point.z + w[k] * p.z);
            normal = {normal.x + w[k] * n.x, normal.y + w[k] * n.y, normal.z + w[k] * n.z};
            for (std::size_t i = 0; i < 3; ++i) {
                place[i] += w[k] * paint.coordinates[corner[k]][i];
            }
        }
        const double length = std::hypot(normal.x, normal.y, normal.z);
        if (length > 0.0) {
            normal = {normal.x / length, normal.y / length, normal.z / length};
        }
        return add(point, normal,
                   {static_cast<float>(place[0]), static_cast<float>(place[1]), static_cast<float>(place[2])});
    }
    unsigned int add(const Kiv3DPoint& point, const Kiv3DVector& normal, const std::array<float, 3>& place) {
        if (source.hasNormals()) {
            result->addVertex(point, normal);
        } else {
            result->addVertex(point);
        }
        coordinates.push_back(place);
        return static_cast<unsigned int>(coordinates.size() - 1);
    }

    static constexpr unsigned int none = 0xFFFFFFFFU;

    const KivMesh& source;
    const KivMeshPaint& paint;
    Tessellator tessellator;
    std::unique_ptr<KivMesh> result;
    std::vector<std::array<float, 3>> coordinates;
    std::vector<unsigned int> vertexOf; // of each vertex of the source
    std::map<std::tuple<unsigned int, unsigned int, std::uint32_t>, unsigned int> onEdges;
    double allowed;
    double allowedTriangles;
    double work = 0.0;
    bool isCut = false;
};

bool hasHoles(const KivMesh& mesh, const std::shared_ptr<const KivMeshPaint>& paint) {
    if (paint == nullptr || paint->texture == nullptr || paint->texture->cutOut <= 0.0 ||
        paint->coordinates.size() != mesh.getNumVertexs() || !mesh.hasAllVertexs()) {
        return false;
    }
    const KivTexture& texture = *paint->texture;
    const bool isWhole = texture.width > 0 && texture.height > 0 &&
                         texture.pixels.size() == std::size_t{4} * static_cast<std::size_t>(texture.width) *
                                                      static_cast<std::size_t>(texture.height);
    for (std::size_t i = 3; isWhole && i < texture.pixels.size(); i += 4) {
        if (texture.pixels[i] / 255.0 < texture.cutOut) {
            return true;
        }
    }
    return false;
}

// False for places that are no numbers.
bool readPatches(const KivMesh& mesh, const KivMeshPaint& paint, std::vector<Patch>& patches, AlphaWindow& window) {
    for (unsigned int t = 0; t < mesh.getNumTriangles(); ++t) {
        Patch patch;
        mesh.getTriangle(patch.corner.data(), t);
        for (std::size_t k = 0; k < 3; ++k) {
            const std::array<float, 3>& at = paint.coordinates[patch.corner[k]];
            if (!std::isfinite(at[0]) || !std::isfinite(at[1])) {
                return false;
            }
            patch.place[k] = {at[0], at[1]};
            const bool isFirst = t == 0 && k == 0;
            window.left = isFirst ? at[0] : std::min<double>(window.left, at[0]);
            window.right = isFirst ? at[0] : std::max<double>(window.right, at[0]);
            window.top = isFirst ? at[1] : std::min<double>(window.top, at[1]);
            window.bottom = isFirst ? at[1] : std::max<double>(window.bottom, at[1]);
        }
        patches.push_back(patch);
    }
    return !patches.empty();
}

// How many pixels of the texture lie in one of the drawing, along a line.
double texelsPerPixel(const KivMesh& mesh, const KivTexture& texture, const std::vector<Patch>& patches,
                      const KivShapeView& view) {
    double texels = 0.0;
    double pixels = 0.0;
    for (const Patch& patch : patches) {
        for (std::size_t k = 0; k < 3; ++k) {
            const KivPicturePoint& p = patch.place[k];
            const KivPicturePoint& q = patch.place[(k + 1) % 3];
            const Kiv3DPoint a = mesh.getVertex(patch.corner[k]);
            const Kiv3DPoint b = mesh.getVertex(patch.corner[(k + 1) % 3]);
            texels += std::hypot((q.x - p.x) * texture.width, (q.y - p.y) * texture.height);
            pixels += view.pixels({a.x, a.y, a.z}, std::hypot(b.x - a.x, b.y - a.y, b.z - a.z));
        }
    }
    return pixels > 0.0 ? texels / pixels : 1.0;
}

} // namespace

std::unique_ptr<KivMesh> kivCutMesh(const KivMesh& source, const KivShapeView& view, double effort, bool* isTooMuch) {
    const std::shared_ptr<const KivMeshPaint> paint = kivMeshPaint(source);
    std::vector<Patch> patches;
    AlphaWindow window;
    if (!hasHoles(source, paint) || !readPatches(source, *paint, patches, window)) {
        return nullptr;
    }
    const KivTexture& texture = *paint->texture;
    KivSkinImage image{texture.width, texture.height, texture.pixels};
    for (double left = texelsPerPixel(source, texture, patches, view); left >= 2.0 && image.width * image.height > 1;
         left *= 0.5) {
        image = kivHalved(image);
    }
    std::vector<AlphaLoop> loops;
    Cutter cutter(source, *paint, effort);
    if (findAlphaLoops(texture, image, window, tolerance, effort, loops) && cutter.cut(patches, loops)) {
        return cutter.take();
    }
    if (isTooMuch != nullptr && !kivIsCancelled()) {
        *isTooMuch = true;
    }
    return nullptr;
}
