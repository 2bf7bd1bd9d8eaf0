// Which meshes of a scene lie entirely behind others, as the camera sees them: the test that KivRenderer::optimizeScene
// keeps switched off.
#ifndef KIVRENDER_SCENE_KIVOCCLUSION_H
#define KIVRENDER_SCENE_KIVOCCLUSION_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/scene/kiv3dmatrix.h"

#include <cstddef>
#include <memory>
#include <vector>

class KivCamera;
class KivMesh;
class KivOutline;
class KivScene;

// Exported for the renderer's tests; the header is not installed.
class KIV_API KivOcclusion {
public:
    // Takes the hidden meshes out of the scene, from the nearest to the farthest. They are the caller's then.
    static std::vector<KivMesh*> removeHiddenMeshes(KivScene& scene, const KivCamera& camera);

    // World coordinates to the camera's frame, z along the viewing direction.
    static Kiv3DMatrix cameraFromWorld(const KivCamera& camera);
    // The meshes up to the first missing one, smallest mean depth of the vertices first. A mesh without vertices counts
    // as depth 0.
    static std::vector<KivMesh*> sortMeshesByDepth(const KivScene& scene, const Kiv3DMatrix& cameraFromWorld);
    // Whether any vertex of that mesh lies outside the joined outline of the meshes before it in the list that are
    // entirely in front of it.
    static bool isMeshVisible(const std::vector<KivMesh*>& list, std::size_t index, const Kiv3DMatrix& cameraFromWorld);
    // Null for a mesh without triangles.
    static std::unique_ptr<KivOutline> getMeshOutline(const KivMesh& mesh, const Kiv3DMatrix& cameraFromWorld);
};

#endif
