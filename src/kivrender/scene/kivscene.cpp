#include "kivrender/scene/kivscene.h"

#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/scene/kivshared.h"
#include "kivrender/scene/kivtriangleorder.h"

#include <algorithm>
#include <utility>

KivScene::KivScene() = default;
KivScene::KivScene(const KivScene& other) = default;
KivScene& KivScene::operator=(const KivScene& other) = default;
KivScene::~KivScene() = default;

void KivScene::reserveMesh(unsigned int count) {
    meshes.reserve(count);
}

void KivScene::reserveLights(unsigned int count) {
    lights.reserve(count);
}

void KivScene::reserveLines(unsigned int count) {
    lines.reserve(count);
}

void KivScene::reservePointCloud(unsigned int count) {
    pointCloud.reserve(count);
}

void KivScene::reservePolylines(unsigned int count) {
    polylines.reserve(count);
}

void KivScene::addMesh(KivMesh* mesh) {
    meshes.push_back(KivShared<KivMesh>::keep(mesh));
    if (mesh != nullptr) {
        totalTriangles += mesh->getNumTriangles();
    }
}

void KivScene::addNumtriangles(unsigned int count) {
    totalTriangles += count;
}

void KivScene::removeMesh(unsigned int index) {
    if (index >= meshes.size()) {
        return;
    }
    if (const KivMesh* mesh = meshes[index]->get()) {
        totalTriangles -= mesh->getNumTriangles();
    }
    KivShared<KivMesh>::giveBack(std::move(meshes[index]));
    meshes.erase(meshes.begin() + index);
}

void KivScene::replaceMesh(unsigned int index, KivMesh* mesh) {
    if (index >= meshes.size() || mesh == nullptr) {
        return;
    }
    if (const KivMesh* former = meshes[index]->get()) {
        totalTriangles -= former->getNumTriangles();
    }
    totalTriangles += mesh->getNumTriangles();
    meshes[index] = KivShared<KivMesh>::keep(mesh);
    orderedTriangles.clear();
}

unsigned int KivScene::removeBrokenMeshes() {
    const auto isBroken = [](const auto& reference) {
        const KivMesh* mesh = reference->get();
        return mesh != nullptr && !mesh->hasAllVertexs();
    };
    const auto first = std::stable_partition(meshes.begin(), meshes.end(), [&](const auto& m) { return !isBroken(m); });
    const auto count = static_cast<unsigned int>(meshes.end() - first);
    for (auto broken = first; broken != meshes.end(); ++broken) {
        totalTriangles -= (*broken)->get()->getNumTriangles();
    }
    meshes.erase(first, meshes.end());
    return count;
}

void KivScene::addLight(KivLight& light) {
    lights.push_back(light);
}

void KivScene::addLine(KivLine& line) {
    lines.push_back(line);
}

void KivScene::addPoint(Kiv3DPoint& point) {
    pointCloud.push_back(point);
}

void KivScene::addPolyline(KivPolyline* polyline) {
    polylines.push_back(KivShared<KivPolyline>::keep(polyline));
}

unsigned int KivScene::numMeshes() const {
    return static_cast<unsigned int>(meshes.size());
}

unsigned int KivScene::numLights() const {
    return static_cast<unsigned int>(lights.size());
}

unsigned int KivScene::numLines() const {
    return static_cast<unsigned int>(lines.size());
}

unsigned int KivScene::numPoints() const {
    return static_cast<unsigned int>(pointCloud.size());
}

unsigned int KivScene::numPolyline() const {
    return static_cast<unsigned int>(polylines.size());
}

KivMesh KivScene::getMeshCopy(unsigned int index) const {
    return *meshes[index]->get();
}

KivLight KivScene::getLightCopy(unsigned int index) const {
    return lights[index];
}

KivLine KivScene::getLineCopy(unsigned int index) const {
    return lines[index];
}

Kiv3DPoint KivScene::getPointCopy(unsigned int index) const {
    return pointCloud[index];
}

KivPolyline KivScene::getPolylineCopy(unsigned int index) const {
    return *polylines[index]->get();
}

KivMesh* KivScene::getMesh(unsigned int index) const {
    return index < meshes.size() ? meshes[index]->get() : nullptr;
}

KivLight* KivScene::getLight(unsigned int index) const {
    return index < lights.size() ? &lights[index] : nullptr;
}

KivLine* KivScene::getLine(unsigned int index) const {
    return index < lines.size() ? &lines[index] : nullptr;
}

Kiv3DPoint* KivScene::getPoint(unsigned int index) const {
    return index < pointCloud.size() ? &pointCloud[index] : nullptr;
}

KivPolyline* KivScene::getPolyline(unsigned int index) const {
    return index < polylines.size() ? polylines[index]->get() : nullptr;
}

unsigned int KivScene::numTriangles() const {
    return static_cast<unsigned int>(orderedTriangles.size());
}

void KivScene::getOrderedTriangle(unsigned int index, KivMesh** mesh, Kiv3DPoint* points, Kiv3DVector* normals) const {
    getOrderedTriangle(index, mesh, nullptr, points, normals);
}

void KivScene::getOrderedTriangle(unsigned int index, KivMesh** mesh, int* meshIndex, Kiv3DPoint* points,
                                  Kiv3DVector* normals) const {
    const meshTriangle& record = orderedTriangles[index];
    *mesh = meshes[static_cast<std::size_t>(record.mesh)]->get();
    (*mesh)->getTriangle(points, normals, static_cast<unsigned int>(record.triangle));
    if (meshIndex != nullptr) {
        *meshIndex = record.mesh;
    }
}

void KivScene::removeLines() {
    lines.clear();
    polylines.clear();
}

void KivScene::removePoints() {
    pointCloud.clear();
}

void KivScene::empty() {
    meshes.clear();
    lights.clear();
    lines.clear();
    pointCloud.clear();
    polylines.clear();
    orderedTriangles.clear();
    totalTriangles = 0;
}

void KivScene::orderTrianglesTransparent(const KivCamera& camera) {
    orderTriangles(camera, true);
}

void KivScene::orderTrianglesVectorial(const KivCamera& camera) {
    orderTriangles(camera, false);
}

namespace {

// The triangles of a scene with their distances from an eye. Each distance is computed once, however often the triangle
// is compared.
class TriangleEntries {
public:
    using Entry = KivTriangleOrder::Entry;
    using Record = KivScene::meshTriangle;

    TriangleEntries(const KivScene& theScene, const Kiv3DPoint& theEye) : scene(theScene), eye(theEye) {}

    // Both false after a cancel.
    bool add(std::size_t expected, bool transparentOnly);
    // Those of the records whose triangles are there, in their order.
    bool lookUp(const std::vector<Record>& records, std::vector<Entry>& list) const;

    std::vector<Entry> added;

private:
    static constexpr std::size_t trianglesPerPoll = 16384;
    static constexpr std::size_t notAdded = ~std::size_t{0};

    struct Mesh {
        const KivMesh* mesh;
        unsigned int count;
        std::size_t first; // of its triangles among those added
    };

    Entry entryOf(const KivMesh& mesh, const Record& record) const {
        const Kiv3DPoint middle = mesh.getTriangleBaricentre(static_cast<unsigned int>(record.triangle));
        return {middle.squaredDistanceTo(eye), record};
    }
    const Mesh& meshOf(const Record& record) const {
        return meshes[static_cast<std::size_t>(record.mesh)];
    }
    // The mesh may have been removed since, and one with fewer triangles have its number now.
    bool isThere(const Record& record) const {
        return static_cast<std::size_t>(record.mesh) < meshes.size() &&
               static_cast<unsigned int>(record.triangle) < meshOf(record).count;
    }
    const Entry* addedOf(const Record& record) const {
        const std::size_t first = meshOf(record).first;
        return first != notAdded ? &added[first + static_cast<unsigned int>(record.triangle)] : nullptr;
    }

    const KivScene& scene;
    Kiv3DPoint eye;
    std::vector<Mesh> meshes;
};

bool TriangleEntries::add(std::size_t expected, bool transparentOnly) {
    added.reserve(expected);
    meshes.reserve(scene.numMeshes());
    for (unsigned int i = 0; i < scene.numMeshes(); ++i) {
        const KivMesh* mesh = scene.getMesh(i);
        meshes.push_back({mesh, mesh != nullptr ? mesh->getNumTriangles() : 0, notAdded});
        if (mesh == nullptr || (transparentOnly && !(mesh->getMaterial()->getTransparency() < 1.0))) {
            continue;
        }
        meshes.back().first = added.size();
        for (unsigned int t = 0; t < meshes.back().count; ++t) {
            if (t % trianglesPerPoll == trianglesPerPoll - 1 && kivIsCancelled()) {
                return false;
            }
            added.push_back(entryOf(*mesh, {static_cast<int>(i), static_cast<int>(t)}));
        }
    }
    return true;
}

// Looked up among the new entries where they can be: in the order of the list, triangles and vertices lie far apart in
// memory, and so do the entries, which are fetched ahead of their use.
bool TriangleEntries::lookUp(const std::vector<Record>& records, std::vector<Entry>& list) const {
    constexpr std::size_t ahead = 32;
    list.reserve(records.size());
    for (std::size_t i = 0; i < records.size(); ++i) {
        if (i % trianglesPerPoll == trianglesPerPoll - 1 && kivIsCancelled()) {
            return false;
        }
        if (i + ahead < records.size() && isThere(records[i + ahead])) {
            __builtin_prefetch(addedOf(records[i + ahead]));
        }
        const Record record = records[i];
        if (isThere(record)) {
            const Entry* const known = addedOf(record);
            list.push_back(known != nullptr ? *known : entryOf(*meshOf(record).mesh, record));
        }
    }
    return true;
}

} // namespace

void KivScene::orderTriangles(const KivCamera& camera, bool transparentOnly) {
    constexpr std::size_t entriesPerPoll = 65536;
    TriangleEntries entries(*this, camera.getLocation());
    std::vector<KivTriangleOrder::Entry> list;
    if (!entries.add(totalTriangles, transparentOnly) || !entries.lookUp(orderedTriangles, list)) {
        return;
    }
    const bool areAllThere = list.size() == orderedTriangles.size();
    if ((entries.added.empty() && areAllThere) || !KivTriangleOrder::insertAll(list, std::move(entries.added))) {
        return;
    }
    std::vector<meshTriangle> ordered;
    ordered.reserve(list.size());
    for (const KivTriangleOrder::Entry& entry : list) {
        if (ordered.size() % entriesPerPoll == entriesPerPoll - 1 && kivIsCancelled()) {
            return;
        }
        ordered.push_back(entry.triangle);
    }
    orderedTriangles = std::move(ordered);
}

void KivScene::addSettingsToAllMeshes(const wchar_t* shaderName, bool combinable, const KivPageSettings* settings) {
    for (const auto& reference : meshes) {
        KivMesh* mesh = reference->get();
        if (mesh == nullptr) {
            continue;
        }
        if (combinable) {
            mesh->addCombinableShader(shaderName);
        } else {
            mesh->setNonCombinableShader(shaderName);
        }
        // The page is the giver's: meshes that go without deleteSettingsToAllMeshes must not delete it.
        mesh->lendPageSettings(settings);
    }
}

void KivScene::deleteSettingsToAllMeshes() {
    for (const auto& reference : meshes) {
        if (KivMesh* mesh = reference->get()) {
            mesh->deleteSettings();
        }
    }
}
