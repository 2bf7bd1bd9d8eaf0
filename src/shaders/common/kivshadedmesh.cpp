#include "kivshadedmesh.h"

#include "kivrender/geometry/kivflatfaces.h"
#include "kivrender/geometry/kivnormalnoise.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshedges.h"
#include "kivrender/scene/kivmeshnormals.h"
#include "kivrender/scene/kivmeshpaint.h"
#include "kivsmoothnormals.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace {

bool isFinite(const KivVec& p) {
    return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

KivVec faceOf(const KivShadedMesh& model, const KivSurface::Triangle& t) {
    const KivVec& a = model.points[t[0]];
    return kivCross(model.points[t[1]] - a, model.points[t[2]] - a);
}

// Gives vertices without a usable normal the mean of their triangles, larger ones counting more.
void mendNormals(KivShadedMesh& model) {
    std::vector<bool> missing(model.points.size());
    bool any = false;
    for (std::size_t i = 0; i < model.points.size(); ++i) {
        missing[i] = kivDot(model.normals[i], model.normals[i]) == 0.0;
        any = any || missing[i];
    }
    if (!any) {
        return;
    }
    for (const KivSurface::Triangle& t : model.triangles) {
        const KivVec face = faceOf(model, t);
        for (const std::uint32_t p : t) {
            if (missing[p]) {
                model.normals[p] = model.normals[p] + face;
            }
        }
    }
    for (std::size_t i = 0; i < model.points.size(); ++i) {
        if (missing[i]) {
            model.normals[i] = kivUnit(model.normals[i]);
        }
    }
}

void findWindings(KivShadedMesh& model) {
    model.windings.reserve(model.triangles.size());
    double volume = 0.0;
    for (const KivSurface::Triangle& t : model.triangles) {
        const KivVec sum = model.normals[t[0]] + model.normals[t[1]] + model.normals[t[2]];
        const KivVec face = faceOf(model, t);
        const std::int8_t winding = kivDot(face, sum) < 0.0 ? -1 : 1;
        model.windings.push_back(winding);
        volume += kivDot(face, model.points[t[0]] - model.points[model.triangles[0][0]]) * winding;
    }
    // An inside-out shape is turned. Every side is lit as it is seen, so this changes no tone, not even of an open
    // shape; but it tells rightly which triangles are on the far side.
    if (volume < 0.0) {
        for (KivVec& normal : model.normals) {
            normal = -normal;
        }
        for (std::int8_t& winding : model.windings) {
            winding = static_cast<std::int8_t>(-winding);
        }
    }
}

bool isSamePlace(const KivVec& a, const KivVec& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

// The paint of the mesh's corners for vertices that were made anew from its surface, whose order the triangles have.
// Where several paints meet, as along the seam of a texture, the vertex is there once for each.
void takePaint(const KivMesh& mesh, const KivSurface& surface, KivShadedMesh& model) {
    constexpr std::uint32_t none = 0xffffffffU;
    const std::shared_ptr<const KivMeshPaint> paint = kivMeshPaint(mesh);
    if (paint == nullptr || paint->coordinates.size() != mesh.getNumVertexs()) {
        return;
    }
    model.paint.resize(model.points.size());
    std::vector<bool> isPainted(model.points.size(), false);
    std::vector<std::uint32_t> next(model.points.size(), none); // with another paint
    for (std::size_t t = 0; t < model.triangles.size(); ++t) {
        unsigned int corner[3] = {0, 0, 0};
        mesh.getTriangle(corner, surface.sources[t]);
        if (!isSamePlace(surface.points[surface.triangles[t][1]], model.points[model.triangles[t][1]])) {
            std::swap(corner[1], corner[2]); // turned
        }
        for (std::size_t k = 0; k < 3; ++k) {
            const std::array<float, 3>& wanted = paint->coordinates[corner[k]];
            std::uint32_t v = model.triangles[t][k];
            while (isPainted[v] && model.paint[v] != wanted) {
                if (next[v] == none) {
                    next[v] = static_cast<std::uint32_t>(model.points.size());
                    next.push_back(none);
                    isPainted.push_back(false);
                    model.paint.emplace_back();
                    model.points.push_back(KivVec(model.points[v]));
                    model.normals.push_back(KivVec(model.normals[v]));
                }
                v = next[v];
            }
            isPainted[v] = true;
            model.paint[v] = wanted;
            model.triangles[t][k] = v;
        }
    }
}

// Those without an area show nothing in a picture, but some readers of drawings make lines of them.
void removeThoseWithoutArea(KivShadedMesh& model) {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < model.triangles.size(); ++i) {
        const KivSurface::Triangle& t = model.triangles[i];
        if (kivHasArea(model.points[t[0]], model.points[t[1]], model.points[t[2]])) {
            model.triangles[kept] = t;
            model.windings[kept++] = model.windings[i];
        }
    }
    model.triangles.resize(kept);
    model.windings.resize(kept);
}

} // namespace

KivShadedMesh kivReadShadedMesh(const KivMesh& mesh, double creaseAngle) {
    KivShadedMesh model;
    const bool findsAnew = creaseAngle != kivUsualSmoothAngle && kivHasNormalsFromTriangles(mesh);
    if (!mesh.hasNormals() || findsAnew) {
        const KivSurface surface = kivReadSurface(mesh);
        // Who asks for another angle than the usual one has it on all bodies alike.
        const bool isUsual = creaseAngle == kivUsualSmoothAngle;
        KivSmoothMesh smooth =
            kivSmoothNormals(surface, isUsual ? kivCreaseAngleOf(surface, creaseAngle) : creaseAngle);
        model.points = std::move(smooth.points);
        model.normals = std::move(smooth.normals);
        model.triangles = std::move(smooth.triangles);
        model.windings.assign(model.triangles.size(), 1);
        takePaint(mesh, surface, model);
        removeThoseWithoutArea(model);
        return model;
    }
    model.isExact = kivMeshEdges(mesh) != nullptr;
    model.noise = kivMeshNoise(mesh);
    const unsigned int numVertexs = mesh.getNumVertexs();
    const unsigned int numTriangles = mesh.getNumTriangles();
    if (const auto paint = kivMeshPaint(mesh); paint != nullptr && paint->coordinates.size() == numVertexs) {
        model.paint = paint->coordinates;
    }
    model.points.resize(numVertexs);
    model.normals.resize(numVertexs);
    for (unsigned int i = 0; i < numVertexs; ++i) {
        const Kiv3DPoint p = mesh.getVertex(i);
        const Kiv3DVector n = mesh.getNormal(i);
        model.points[i] = {p.x, p.y, p.z};
        model.normals[i] = kivUnit({n.x, n.y, n.z});
    }
    model.triangles.reserve(numTriangles);
    for (unsigned int t = 0; t < numTriangles; ++t) {
        unsigned int corner[3] = {0, 0, 0};
        mesh.getTriangle(corner, t);
        if (corner[0] < numVertexs && corner[1] < numVertexs && corner[2] < numVertexs &&
            isFinite(model.points[corner[0]]) && isFinite(model.points[corner[1]]) &&
            isFinite(model.points[corner[2]])) {
            model.triangles.push_back({corner[0], corner[1], corner[2]});
        }
    }
    mendNormals(model);
    findWindings(model);
    removeThoseWithoutArea(model);
    return model;
}

double kivNoiseOf(const KivShadedMesh& model, double usualSide) {
    // Roughness of a mesh whose triangles are large in the picture is its shape; the more so of one that was coarse
    // enough to be divided, as its bends are those of a few triangles.
    const double divisions = model.noise.divisions;
    const double side = divisions > 1.0 ? 4.0 * usualSide * divisions : usualSide;
    const double share = std::clamp(2.0 - side / kivNoiseReach, 0.0, 1.0);
    return share > 0.0 ? share * (divisions > 0.0 ? model.noise.noise : kivNormalNoise(model.normals, model.triangles))
                       : 0.0;
}

double kivEvenReach(double pixels, double noise) {
    return noise * std::min(pixels, kivNoiseReach) + std::max(0.0, pixels - kivNoiseReach);
}

double kivUsualSide(const KivShadedMesh& model, const KivView& view) {
    if (model.triangles.empty()) {
        return 0.0;
    }
    // A thousand triangles tell the usual length of a side well enough.
    const std::size_t step = std::max<std::size_t>(1, model.triangles.size() / 1000);
    std::vector<double> lengths;
    for (std::size_t i = 0; i < model.triangles.size(); i += step) {
        const KivSurface::Triangle& t = model.triangles[i];
        const KivClipPoint clip = view.clip(model.points[t[0]]);
        if (clip.w > 0.0) {
            const double distance = view.distance(view.window(clip).z);
            const double side = kivLength(model.points[t[1]] - model.points[t[0]]);
            lengths.push_back(side / view.pixelSize(distance));
        }
    }
    if (lengths.empty()) {
        return 0.0;
    }
    std::nth_element(lengths.begin(), lengths.begin() + static_cast<std::ptrdiff_t>(lengths.size() / 2), lengths.end());
    return lengths[lengths.size() / 2];
}

int kivEvenPasses(const KivShadedMesh& model, const KivView& view, double pixels) {
    constexpr int most = 24;
    if (!(pixels > 0.0) || model.isExact) {
        return 0;
    }
    const double usual = kivUsualSide(model, view);
    const double ratio = usual > 0.0 ? pixels / usual : 0.0;
    return std::isfinite(ratio) ? static_cast<int>(std::min<double>(most, std::floor(ratio * ratio))) : 0;
}
