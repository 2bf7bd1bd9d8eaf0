#include "apps/studio/studiomodel.h"

#include "apps/common/demoscene.h"
#include "apps/common/viewchoice.h"
#include "apps/studio/coarsemodel.h"
#include "import/scenebuilder.h"
#include "kivrender/scene/kivbox.h"
#include "kivrender/scene/kivmesh.h"
#include "qt/kivqttext.h"

#include <QFileInfo>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>

namespace {

using std::numbers::pi;

Kiv3DVector between(const Kiv3DPoint& a, const Kiv3DPoint& b) {
    return {b.x - a.x, b.y - a.y, b.z - a.z};
}
Kiv3DVector cross(const Kiv3DVector& a, const Kiv3DVector& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
double dot(const Kiv3DVector& a, const Kiv3DVector& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

// Where along the ray the triangle is met, or infinity; both of its sides count. Formula: Möller and Trumbore.
double meet(const Kiv3DPoint& from, const Kiv3DVector& way, const Kiv3DPoint* corners) {
    constexpr double never = std::numeric_limits<double>::infinity();
    const Kiv3DVector a = between(corners[0], corners[1]);
    const Kiv3DVector b = between(corners[0], corners[2]);
    const Kiv3DVector p = cross(way, b);
    const double area = dot(a, p);
    if (area == 0.0) {
        return never;
    }
    const Kiv3DVector t = between(corners[0], from);
    const double u = dot(t, p) / area;
    const Kiv3DVector q = cross(t, a);
    const double v = dot(way, q) / area;
    const double along = dot(b, q) / area;
    return u >= 0.0 && v >= 0.0 && u + v <= 1.0 && along > 0.0 ? along : never;
}

Kiv3DPoint lowest(const KivBox& box) {
    return {box.getXMin(), box.getYMin(), box.getZMin()};
}
Kiv3DPoint highest(const KivBox& box) {
    return {box.getXMax(), box.getYMax(), box.getZMax()};
}

// The corners of the box around the points; none without a point.
std::vector<Kiv3DPoint> cornersAround(const std::vector<Kiv3DPoint>& points) {
    if (points.empty()) {
        return {};
    }
    Kiv3DPoint low = points.front();
    Kiv3DPoint high = low;
    for (const Kiv3DPoint& p : points) {
        low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
    }
    std::vector<Kiv3DPoint> list;
    list.reserve(8);
    for (int i = 0; i < 8; ++i) {
        list.emplace_back(i & 1 ? high.x : low.x, i & 2 ? high.y : low.y, i & 4 ? high.z : low.z);
    }
    return list;
}

KivModel builtInModel() {
    KivModel model;
    std::vector<kivimport::ModelParts> parts;
    parts.push_back(makeDemoModel());
    model.files.emplace_back().path = L"demo";
    kivimport::assembleModel(parts, KivModelOptions().creaseAngle, model);
    return model;
}

StudioLight toStudio(const KivLight& light) {
    StudioLight own;
    own.kind = light.getStyle() == KivLight::spotLight    ? StudioLight::Kind::spot
               : light.getStyle() == KivLight::pointLight ? StudioLight::Kind::point
                                                          : StudioLight::Kind::directional;
    own.location = light.getLocation();
    own.direction = light.getDirection();
    own.colour = light.getDiffuse();
    own.angle = std::clamp(light.getSpotAngle() * 180.0 / pi, 0.0, 90.0);
    return own;
}

} // namespace

StudioModel::StudioModel() : imported(builtInModel()) {
    prepare();
}

bool StudioModel::load(const StudioState& state, std::wstring* message,
                       const std::function<bool(double done)>& progress) {
    KivModel read;
    if (state.models.empty()) {
        read = builtInModel();
    } else {
        KivModelOptions options = importOptions(state);
        options.progress = progress;
        if (!kivImportModels(state.models, options, read, *message)) {
            return false;
        }
    }
    imported = std::move(read);
    firstFile = state.models.empty() ? QString() : QFileInfo(kivToQt(state.models.front())).completeBaseName();
    prepare();
    return true;
}

void StudioModel::prepare() {
    all = scenePoints(*imported.scene);
    ends = cornersAround(all);
    ++loaded;
    coarse = CoarseModel(*imported.scene);
}

const KivModel& StudioModel::model() const {
    return imported;
}

const std::vector<Kiv3DPoint>& StudioModel::points() const {
    return all;
}

std::uint64_t StudioModel::triangles() const {
    std::uint64_t count = 0;
    for (const KivModelFileInfo& file : imported.files) {
        count += file.triangles;
    }
    return count;
}

int StudioModel::numMeshes() const {
    return static_cast<int>(imported.scene->numMeshes());
}

std::uint64_t StudioModel::revision() const {
    return loaded;
}

QString StudioModel::fileName() const {
    return firstFile;
}

std::vector<Kiv3DPoint> StudioModel::corners(const std::vector<int>& meshes) const {
    std::vector<Kiv3DPoint> extremes;
    for (const int mesh : meshes) {
        if (mesh >= 0 && mesh < numMeshes()) {
            const KivBox& box = *imported.scene->getMesh(static_cast<unsigned int>(mesh))->getBoundingBox();
            extremes.push_back(lowest(box));
            extremes.push_back(highest(box));
        }
    }
    return cornersAround(extremes);
}

std::vector<Kiv3DPoint> StudioModel::shownPoints(const StudioObjectStates& states) const {
    std::vector<int> shown;
    for (int i = 0; i < numMeshes(); ++i) {
        if (!states.at(i).hidden) {
            shown.push_back(i);
        }
    }
    return shown.empty() || static_cast<int>(shown.size()) == numMeshes() ? all : corners(shown);
}

std::vector<std::wstring> StudioModel::drawnNames(const StudioObjectStates& states) const {
    std::vector<std::wstring> names;
    for (int i = 0; i < numMeshes(); ++i) {
        if (!states.at(i).hidden) {
            names.push_back(imported.meshNames[static_cast<std::size_t>(i)]);
        }
    }
    return names;
}

int StudioModel::pick(const Kiv3DPoint& from, const Kiv3DVector& way, const StudioObjectStates& states) const {
    int found = -1;
    double nearest = std::numeric_limits<double>::infinity();
    for (int m = 0; m < numMeshes(); ++m) {
        if (states.at(m).hidden) {
            continue;
        }
        const KivMesh& mesh = *imported.scene->getMesh(static_cast<unsigned int>(m));
        for (unsigned int t = 0; t < mesh.getNumTriangles(); ++t) {
            Kiv3DPoint corner[3];
            mesh.getTriangle(corner, t);
            const double along = meet(from, way, corner);
            if (along < nearest) {
                nearest = along;
                found = m;
            }
        }
    }
    return found;
}

std::vector<KivLight> StudioModel::lights(const StudioState& state) const {
    return documentLights(state, imported, all);
}

std::vector<StudioLight> StudioModel::ownLights(const StudioState& state) const {
    if (state.hasLights) {
        return state.lights;
    }
    std::vector<StudioLight> list;
    // Those over the shoulder go with the camera: the box stands for all its points.
    for (const KivLight& light : imported.lights.empty() ? defaultLights(state.camera.axes(), ends) : imported.lights) {
        list.push_back(toStudio(light));
    }
    return list;
}

KivScene StudioModel::scene(const StudioState& state, bool simplified) const {
    KivScene scene = simplified ? coarse.scene(*imported.scene, state.shown) : shownScene(*imported.scene, state.shown);
    removeUnshown(scene, state);
    for (KivLight& light : lights(state)) {
        scene.addLight(light);
    }
    return scene;
}

void StudioModel::placeCamera(StudioCamera* camera, double aspect) const {
    StudioCamera placed;
    placed.up = imported.up;
    placed.sanitize();
    if (const KivModelCamera* own = firstThatSees(imported.cameras, all, aspect); own != nullptr) {
        if (own->verticalFov > 0.0) {
            placed.fov = own->verticalFov;
        }
        placed.follow(own->location, own->direction, all);
        if (own->orthoHeight > 0.0) {
            placed.parallel = true;
            placed.distance = own->orthoHeight / (2.0 * std::tan(placed.fov * pi / 360.0));
        }
        // It was made for a picture of a usual shape; in a narrow one the sides would be cut off.
        constexpr double usual = 4.0 / 3.0;
        if (aspect < usual) {
            placed.fit(all, aspect);
        }
    } else {
        placed.look(StudioSide::threeQuarter);
        placed.fit(all, aspect);
    }
    placed.sanitize();
    *camera = placed;
}

StudioModel::OwnLooks::OwnLooks(const StudioModel& model, const StudioState& state, bool plain)
    : ObjectLooks(*model.imported.scene, state, plain, [&model](int mesh) { return model.coarse.partOf(mesh); }) {}
