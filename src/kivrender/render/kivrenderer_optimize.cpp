#include "kivrender/render/kivrenderer.h"
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivocclusion.h"
#include "kivrender/scene/kivscene.h"

namespace {

// A picture shows every mesh that the host put into the scene. The occlusion test would take out the hidden ones before
// a vector render; it looks at outlines along rays of random direction, which is not safe enough to drop a mesh for.
constexpr bool occlusionTestEnabled = false;

} // namespace

void KivRenderer::optimizeScene(KivScene* scene, const KivCamera& camera) {
    if (!occlusionTestEnabled) {
        return;
    }
    for (const KivMesh* hidden : KivOcclusion::removeHiddenMeshes(*scene, camera)) {
        delete hidden;
    }
}
