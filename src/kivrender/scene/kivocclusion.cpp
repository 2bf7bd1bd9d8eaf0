#include "kivrender/scene/kivocclusion.h"

#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivoutline.h"
#include "kivrender/scene/kivscene.h"

#include <algorithm>
#include <utility>

namespace {

std::vector<Kiv3DPoint> cameraVertices(const KivMesh& mesh, const Kiv3DMatrix& cameraFromWorld) {
    std::vector<Kiv3DPoint> vertices;
    const unsigned int count = mesh.getNumVertexs();
    vertices.reserve(count);
    for (unsigned int i = 0; i < count; ++i) {
        vertices.push_back(mesh.getVertex(i).transformBy(cameraFromWorld));
    }
    return vertices;
}

double meanDepth(const std::vector<Kiv3DPoint>& vertices) {
    double sum = 0.0;
    for (const Kiv3DPoint& vertex : vertices) {
        sum += vertex.z;
    }
    return vertices.empty() ? 0.0 : sum / static_cast<double>(vertices.size());
}

// Whether no vertex of the one is farther away than any vertex of the other.
bool isInFront(const std::vector<Kiv3DPoint>& one, const std::vector<Kiv3DPoint>& other) {
    const auto byDepth = [](const Kiv3DPoint& a, const Kiv3DPoint& b) { return a.z < b.z; };
    if (one.empty() || other.empty()) {
        return true;
    }
    return !(std::ranges::max_element(one, byDepth)->z > std::ranges::min_element(other, byDepth)->z);
}

unsigned int numberInScene(const KivScene& scene, const KivMesh* mesh) {
    unsigned int number = 0;
    while (scene.getMesh(number) != mesh) {
        ++number;
    }
    return number;
}

} // namespace

std::vector<KivMesh*> KivOcclusion::removeHiddenMeshes(KivScene& scene, const KivCamera& camera) {
    const Kiv3DMatrix matrix = cameraFromWorld(camera);
    std::vector<KivMesh*> list = sortMeshesByDepth(scene, matrix);
    std::vector<KivMesh*> hidden;
    for (std::size_t i = 0; i < list.size();) {
        if (isMeshVisible(list, i, matrix)) {
            ++i;
            continue;
        }
        // The list is in order of depth and the scene is not, so the mesh is looked up, and it leaves both: what it
        // would hide, those in front of it hide as well.
        scene.removeMesh(numberInScene(scene, list[i]));
        hidden.push_back(list[i]);
        list.erase(list.begin() + static_cast<std::ptrdiff_t>(i));
    }
    return hidden;
}

Kiv3DMatrix KivOcclusion::cameraFromWorld(const KivCamera& camera) {
    const Kiv3DVector up = camera.getUp();
    const Kiv3DVector direction = camera.getDirection();
    Kiv3DMatrix matrix;
    matrix.setToWorldToLocal(camera.getLocation(), up.crossProduct(direction), up, direction);
    return matrix;
}

std::vector<KivMesh*> KivOcclusion::sortMeshesByDepth(const KivScene& scene, const Kiv3DMatrix& cameraFromWorld) {
    std::vector<std::pair<double, KivMesh*>> meshes;
    for (unsigned int i = 0; KivMesh* mesh = scene.getMesh(i); ++i) {
        meshes.emplace_back(meanDepth(cameraVertices(*mesh, cameraFromWorld)), mesh);
    }
    for (std::size_t i = 0; i < meshes.size(); ++i) {
        for (std::size_t j = i + 1; j < meshes.size(); ++j) {
            if (meshes[j].first < meshes[i].first) {
                std::swap(meshes[i], meshes[j]);
            }
        }
    }
    std::vector<KivMesh*> list;
    list.reserve(meshes.size());
    for (const auto& [depth, mesh] : meshes) {
        list.push_back(mesh);
    }
    return list;
}

bool KivOcclusion::isMeshVisible(const std::vector<KivMesh*>& list, std::size_t index,
                                 const Kiv3DMatrix& cameraFromWorld) {
    bool visible = true;
    std::unique_ptr<KivOutline> outline;
    const std::vector<Kiv3DPoint> vertices = cameraVertices(*list[index], cameraFromWorld);
    for (std::size_t j = 0; j < index; ++j) {
        if (!isInFront(cameraVertices(*list[j], cameraFromWorld), vertices)) {
            continue;
        }
        std::unique_ptr<KivOutline> other = getMeshOutline(*list[j], cameraFromWorld);
        if (outline == nullptr) {
            outline = std::move(other);
        } else if (other != nullptr) {
            outline->merge(*other);
        }
        if (outline != nullptr) {
            visible = !std::ranges::all_of(
                vertices, [&](const Kiv3DPoint& vertex) { return outline->isPointInside(vertex, true, true); });
        }
    }
    return visible;
}

std::unique_ptr<KivOutline> KivOcclusion::getMeshOutline(const KivMesh& mesh, const Kiv3DMatrix& cameraFromWorld) {
    std::unique_ptr<KivOutline> outline;
    const unsigned int count = mesh.getNumTriangles();
    for (unsigned int t = 0; t < count; ++t) {
        Kiv3DPoint points[3];
        if (!mesh.getTriangle(points, t)) {
            continue;
        }
        for (Kiv3DPoint& point : points) {
            point.transformBy(cameraFromWorld);
        }
        auto triangle = std::make_unique<KivOutline>(std::vector<Kiv3DPoint>{points[0], points[1], points[2]});
        if (outline == nullptr) {
            outline = std::move(triangle);
        } else {
            outline->merge(*triangle);
        }
    }
    return outline;
}
