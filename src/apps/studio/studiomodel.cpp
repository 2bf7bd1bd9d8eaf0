#include "apps/studio/studiomodel.h"

#include "apps/common/demoscene.h"
#include "import/scenebuilder.h"
#include "kivrender/render/kivrenderer.h"
#include "kivrender/scene/kivbox.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/settings/kivpagesettings.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <unordered_map>

namespace {

constexpr double pi = 3.14159265358979323846;
// What is drawn fast enough to follow a hand.
constexpr std::uint64_t lightTriangles = 150'000;
constexpr std::uint64_t coarseTriangles = 60'000;

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

// Sums of the vertices of a cell.
struct Cell {
    Kiv3DVector place{0.0, 0.0, 0.0};
    Kiv3DVector normal{0.0, 0.0, 0.0};
    unsigned int count = 0;
};

// The number of each vertex's cell, and the cells.
struct Clusters {
    std::vector<unsigned int> cellOf;
    std::vector<Cell> cells;
};

// A mesh that is only read has no box unless it was asked for one before.
KivBox boxOf(const KivMesh& mesh) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    Kiv3DPoint low(infinity, infinity, infinity);
    Kiv3DPoint high(-infinity, -infinity, -infinity);
    for (unsigned int i = 0; i < mesh.getNumVertexs(); ++i) {
        const Kiv3DPoint p = mesh.getVertex(i);
        low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
    }
    return {low.x, high.x, low.y, high.y, low.z, high.z};
}

// A grid of so many cells along the longest side of the box.
Clusters cluster(const KivMesh& mesh, const KivBox& box, double across) {
    const Kiv3DVector size = between(lowest(box), highest(box));
    const double side = std::max({size.x, size.y, size.z, 1e-9}) / across;
    Clusters clusters;
    clusters.cellOf.resize(mesh.getNumVertexs());
    std::unordered_map<std::uint64_t, unsigned int> numbers;
    for (unsigned int i = 0; i < mesh.getNumVertexs(); ++i) {
        const Kiv3DPoint p = mesh.getVertex(i);
        const Kiv3DVector inside = between(lowest(box), p);
        const auto along = [&](double v) {
            // What is no number counts as the first cell.
            return v > 0.0 ? static_cast<std::uint64_t>(std::min(std::floor(v / side), std::ceil(across) - 1.0)) : 0;
        };
        const std::uint64_t key = along(inside.x) << 42 | along(inside.y) << 21 | along(inside.z);
        const auto [found, isNew] = numbers.try_emplace(key, static_cast<unsigned int>(clusters.cells.size()));
        if (isNew) {
            clusters.cells.emplace_back();
        }
        Cell& cell = clusters.cells[found->second];
        cell.place = {cell.place.x + p.x, cell.place.y + p.y, cell.place.z + p.z};
        if (mesh.hasNormals()) {
            const Kiv3DVector n = mesh.getNormal(i);
            cell.normal = {cell.normal.x + n.x, cell.normal.y + n.y, cell.normal.z + n.z};
        }
        ++cell.count;
        clusters.cellOf[i] = found->second;
    }
    return clusters;
}

using Corners = std::array<unsigned int, 3>;

// The triangles that reach over three cells, each once.
std::vector<Corners> keptTriangles(const KivMesh& mesh, const Clusters& clusters) {
    std::vector<Corners> kept;
    for (unsigned int t = 0; t < mesh.getNumTriangles(); ++t) {
        Corners corner = {};
        mesh.getTriangle(corner.data(), t);
        for (unsigned int& c : corner) {
            c = clusters.cellOf[c];
        }
        if (corner[0] != corner[1] && corner[1] != corner[2] && corner[2] != corner[0]) {
            // The same way round from its lowest corner on: equal ones are then equal to the letter.
            std::rotate(corner.begin(), std::min_element(corner.begin(), corner.end()), corner.end());
            kept.push_back(corner);
        }
    }
    std::sort(kept.begin(), kept.end());
    kept.erase(std::unique(kept.begin(), kept.end()), kept.end());
    return kept;
}

std::unique_ptr<KivMesh> build(const KivMesh& mesh, const Clusters& clusters, const std::vector<Corners>& triangles) {
    auto coarse = std::make_unique<KivMesh>();
    coarse->reserveVertexs(static_cast<unsigned int>(clusters.cells.size()));
    coarse->reserveTriangles(static_cast<unsigned int>(triangles.size()));
    for (const Cell& cell : clusters.cells) {
        const Kiv3DPoint place(cell.place.x / cell.count, cell.place.y / cell.count, cell.place.z / cell.count);
        if (mesh.hasNormals()) {
            // Where the two sides of a thin part cancel out any way will do.
            Kiv3DVector normal = cell.normal.norm() == 0.0 ? Kiv3DVector(0.0, 0.0, 1.0) : cell.normal;
            normal.normalice();
            coarse->addVertex(place, normal);
        } else {
            coarse->addVertex(place);
        }
    }
    for (const Corners& corner : triangles) {
        coarse->addTriangle(corner[0], corner[1], corner[2]);
    }
    if (const KivMaterial* const material = mesh.getMaterial()) {
        KivMaterial copy = *material;
        coarse->setMaterial(copy);
    }
    return coarse;
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

std::unique_ptr<KivMesh> coarseMesh(const KivMesh& mesh, unsigned int wantedTriangles) {
    if (mesh.getNumTriangles() <= wantedTriangles) {
        return std::make_unique<KivMesh>(mesh);
    }
    // A surface of size s in cells of size c has about 2 (s/c)^2 triangles, times a few for its folds. What fills space
    // has far more, and is tried again in larger cells; in a single one nothing is left.
    double across = std::clamp(std::sqrt(wantedTriangles / 6.0), 1.0, 1000.0);
    const KivBox box = boxOf(mesh);
    for (;;) {
        const Clusters clusters = cluster(mesh, box, across);
        const std::vector<Corners> kept = keptTriangles(mesh, clusters);
        if (kept.size() <= wantedTriangles || across <= 1.0) {
            return build(mesh, clusters, kept);
        }
        across = std::max(across / 2.0, 1.0);
    }
}

StudioModel::StudioModel() : imported(builtInModel()) {
    prepare();
}

bool StudioModel::load(const StudioState& state, std::wstring* message) {
    KivModel read;
    if (state.models.empty()) {
        read = builtInModel();
    } else {
        KivModelOptions options;
        options.upAxis = state.upAxis == 'z'   ? KivModelOptions::Axis::z
                         : state.upAxis == 'y' ? KivModelOptions::Axis::y
                                               : KivModelOptions::Axis::byFormat;
        if (!kivImportModels(state.models, options, read, *message)) {
            return false;
        }
    }
    imported = std::move(read);
    prepare();
    return true;
}

void StudioModel::prepare() {
    all = scenePoints(*imported.scene);
    coarse.reset();
    if (triangles() > lightTriangles) {
        coarse.emplace();
        for (unsigned int i = 0; i < imported.scene->numMeshes(); ++i) {
            const KivMesh& mesh = *imported.scene->getMesh(i);
            const auto part = static_cast<unsigned int>(coarseTriangles * mesh.getNumTriangles() / triangles());
            coarse->addMesh(coarseMesh(mesh, std::max(part, 200U)).release());
        }
    }
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

std::vector<Kiv3DPoint> StudioModel::corners(int mesh) const {
    if (mesh < 0 || mesh >= numMeshes()) {
        return {};
    }
    const KivBox& box = *imported.scene->getMesh(static_cast<unsigned int>(mesh))->getBoundingBox();
    const Kiv3DPoint ends[2] = {lowest(box), highest(box)};
    std::vector<Kiv3DPoint> list;
    list.reserve(8);
    for (int i = 0; i < 8; ++i) {
        list.emplace_back(ends[i & 1].x, ends[i >> 1 & 1].y, ends[i >> 2 & 1].z);
    }
    return list;
}

int StudioModel::pick(const Kiv3DPoint& from, const Kiv3DVector& way) const {
    int found = -1;
    double nearest = std::numeric_limits<double>::infinity();
    for (int m = 0; m < numMeshes(); ++m) {
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
    std::vector<KivLight> list;
    if (state.hasLights) {
        for (const StudioLight& light : state.lights) {
            list.push_back(light.toLight(all));
        }
        return list;
    }
    return imported.lights.empty() ? defaultLights(state.camera.axes(), all) : imported.lights;
}

std::vector<StudioLight> StudioModel::ownLights(const StudioState& state) const {
    if (state.hasLights) {
        return state.lights;
    }
    std::vector<StudioLight> list;
    for (const KivLight& light : lights(state)) {
        list.push_back(toStudio(light));
    }
    return list;
}

KivScene StudioModel::scene(const StudioState& state, bool simplified) const {
    KivScene scene(simplified && coarse ? *coarse : *imported.scene);
    if (state.options.doRenderIsoparams() == 0) {
        scene.removeLines();
    }
    if (!state.options.doRenderDim()) {
        scene.removePoints();
    }
    for (KivLight& light : lights(state)) {
        scene.addLight(light);
    }
    return scene;
}

void StudioModel::placeCamera(StudioCamera* camera, double aspect) const {
    StudioCamera placed;
    placed.up = imported.up;
    placed.sanitize();
    if (!imported.cameras.empty()) {
        const KivModelCamera& own = imported.cameras.front();
        if (own.verticalFov > 0.0) {
            placed.fov = own.verticalFov;
        }
        placed.follow(own.location, own.direction, all);
        if (own.orthoHeight > 0.0) {
            placed.parallel = true;
            placed.distance = own.orthoHeight / (2.0 * std::tan(placed.fov * pi / 360.0));
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

StudioModel::OwnLooks::OwnLooks(const StudioModel& model, const StudioState& state) {
    KivRenderer reader;
    for (const auto& [index, look] : state.objects) {
        if (index < model.numMeshes()) {
            KivMesh* const mesh = model.imported.scene->getMesh(static_cast<unsigned int>(index));
            KivMemoryDataManager cells(look.stream());
            reader.loadDataToObject(mesh, &cells); // what it can't read is left to the document's look
            meshes.push_back(mesh);
        }
    }
}

StudioModel::OwnLooks::~OwnLooks() {
    for (KivMesh* const mesh : meshes) {
        // Forgotten pages are not deleted by the mesh.
        std::vector<const KivPageSettings*> pages;
        pages.reserve(static_cast<std::size_t>(mesh->getNumPageSettings()));
        for (int i = 0; i < mesh->getNumPageSettings(); ++i) {
            pages.push_back(mesh->getPageSettings(i));
        }
        mesh->deleteSettings();
        for (const KivPageSettings* const page : pages) {
            delete page;
        }
    }
}
