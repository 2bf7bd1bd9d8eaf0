#include "kivrender/render/kivlinesahead.h"

#include "kivrender/platform/kivprocessors.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/shader/kivcombinableshader.h"
#include "kivrender/shader/kivpicturetile.h"
#include "kivrender/shader/kivshadershape.h"

#include <cstddef>
#include <vector>

namespace {

// Fewer are done before a thread has begun.
constexpr std::size_t fewTriangles = 20000;

std::vector<KivMeshAhead::Request> requestsOf(const KivScene& scene, KivCombinableShader& shader) {
    std::vector<KivMeshAhead::Request> requests;
    for (unsigned int i = 0; i < scene.numMeshes(); ++i) {
        const KivMesh* const mesh = scene.getMesh(i);
        const KivLineNeeds needs = mesh != nullptr ? kivShaderLineNeeds(shader, *mesh) : KivLineNeeds{};
        if (needs.edges && shader.rendersMesh(mesh)) {
            requests.push_back({mesh, needs.crossings});
        }
    }
    return requests;
}

} // namespace

bool kivFindsLinesAhead(const KivScene& scene, const KivCommonSettings& settings) {
    std::size_t triangles = 0;
    for (unsigned int i = 0; i < scene.numMeshes(); ++i) {
        triangles += scene.getMesh(i) != nullptr ? scene.getMesh(i)->getNumTriangles() : 0;
    }
    return triangles >= fewTriangles && !settings.doVectorial() && kivPictureTile() == nullptr && kivProcessors() >= 2;
}

std::unique_ptr<KivMeshAhead> kivLinesAhead(const KivScene& scene, const KivCommonSettings& settings,
                                            KivCombinableShader* const* shaders, int count) {
    if (!kivFindsLinesAhead(scene, settings)) {
        return nullptr;
    }
    for (int i = 0; i < count; ++i) {
        if (shaders[i] != nullptr) {
            const std::vector<KivMeshAhead::Request> requests = requestsOf(scene, *shaders[i]);
            if (!requests.empty()) {
                return std::make_unique<KivMeshAhead>(requests);
            }
        }
    }
    return nullptr;
}
