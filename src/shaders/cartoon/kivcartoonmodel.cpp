#include "kivcartoonmodel.h"

#include "kivcartoonnormals.h"
#include "kivrender/scene/kivmesh.h"

#include <cmath>
#include <cstddef>
#include <utility>

namespace {

bool isFinite(const KivVec& p) {
    return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

KivVec faceOf(const KivCartoonModel& model, const KivSurface::Triangle& t) {
    const KivVec& a = model.points[t[0]];
    return kivCross(model.points[t[1]] - a, model.points[t[2]] - a);
}

// Gives vertices without a usable normal the mean of their triangles, larger ones counting more.
void mendNormals(KivCartoonModel& model) {
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

void findWindings(KivCartoonModel& model) {
    model.windings.reserve(model.triangles.size());
    for (const KivSurface::Triangle& t : model.triangles) {
        const KivVec sum = model.normals[t[0]] + model.normals[t[1]] + model.normals[t[2]];
        model.windings.push_back(kivDot(faceOf(model, t), sum) < 0.0 ? -1 : 1);
    }
}

} // namespace

KivCartoonModel kivReadCartoonModel(const KivMesh& mesh, double creaseAngle) {
    KivCartoonModel model;
    if (!mesh.hasNormals()) {
        KivSmoothMesh smooth = kivSmoothNormals(kivReadSurface(mesh), creaseAngle);
        model.points = std::move(smooth.points);
        model.normals = std::move(smooth.normals);
        model.triangles = std::move(smooth.triangles);
        model.windings.assign(model.triangles.size(), 1);
        return model;
    }
    const unsigned int numVertexs = mesh.getNumVertexs();
    const unsigned int numTriangles = mesh.getNumTriangles();
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
    return model;
}
