#include "kivrender/render/kivshapesahead.h"

#include "kivrender/lines/kivlineview.h"
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/shader/kivshadershape.h"

#include <algorithm>
#include <utility>

namespace {

thread_local KivShapesAhead* current = nullptr;

bool isSame(const KivVec& a, const KivVec& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

bool isSameRequest(const KivShapeRequest& a, const KivShapeRequest& b) {
    return a.mesh == b.mesh && a.smoothAngle == b.smoothAngle;
}

bool isSameView(const KivShapeView& a, const KivShapeView& b) {
    return a.perspective == b.perspective && isSame(a.eye, b.eye) && isSame(a.forward, b.forward) &&
           a.pixelsPerUnit == b.pixelsPerUnit;
}

} // namespace

KivShapeView kivShapeViewOf(const KivCamera& camera, tagSIZE size) {
    const KivLineView line(camera, size.cx, size.cy);
    KivShapeView view;
    if (line.seesAnything()) {
        view.perspective = line.isPerspective();
        view.eye = line.viewpoint().place;
        view.forward = kivUnit({camera.getDirection().x, camera.getDirection().y, camera.getDirection().z});
        view.pixelsPerUnit = 1.0 / line.pixelSize(1.0);
    }
    return view;
}

KivShapesAhead::KivShapesAhead(const KivScene& scene, const KivCamera& camera, tagSIZE size, const KivShader& shader)
    : outer(std::exchange(current, this)), view(kivShapeViewOf(camera, size)) {
    for (unsigned int i = 0; i < scene.numMeshes(); ++i) {
        const KivMesh* const mesh = scene.getMesh(i);
        const KivShapeWish wish = mesh != nullptr ? kivShaderShape(shader, *mesh) : KivShapeWish{};
        if (wish.smooth) {
            requests.push_back({mesh, wish.smoothAngle});
        }
    }
    shapes = kivSmoothShapes(requests, view);
}

KivShapesAhead::~KivShapesAhead() {
    current = outer;
}

std::optional<KivShapesAhead::Shapes> KivShapesAhead::take(const std::vector<KivShapeRequest>& requests,
                                                           const KivShapeView& view) {
    if (current == nullptr || !isSameView(current->view, view) ||
        !std::ranges::equal(current->requests, requests, isSameRequest)) {
        return std::nullopt;
    }
    return std::exchange(current->shapes, std::nullopt);
}
