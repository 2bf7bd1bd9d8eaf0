#include "kivrender/render/kivshapedscene.h"

#include "kivrender/geometry/kivsmoothshape.h"
#include "kivrender/lines/kivlineview.h"
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/shader/kivshadershape.h"

#include <memory>
#include <vector>

namespace {

KivShapeView viewOf(const KivCamera& camera, tagSIZE size) {
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

} // namespace

KivShapedScene::KivShapedScene(KivScene& sceneToDraw, const KivCamera& camera, tagSIZE size, const ShaderOf& shaderOf)
    : scene(sceneToDraw) {
    std::vector<KivShapeRequest> requests;
    std::vector<unsigned int> numbers;
    for (unsigned int i = 0; i < scene.numMeshes(); ++i) {
        const KivMesh* const mesh = scene.getMesh(i);
        const KivShader* const shader = mesh != nullptr ? shaderOf(*mesh) : nullptr;
        const KivShapeWish wish = shader != nullptr ? kivShaderShape(*shader, *mesh) : KivShapeWish{};
        if (wish.smooth) {
            requests.push_back({mesh, wish.smoothAngle});
            numbers.push_back(i);
        }
    }
    std::vector<std::unique_ptr<KivMesh>> shapes = kivSmoothShapes(requests, viewOf(camera, size));
    if (shapes.empty()) {
        return;
    }
    original.emplace(scene);
    for (std::size_t i = 0; i < shapes.size(); ++i) {
        if (shapes[i] != nullptr) {
            scene.replaceMesh(numbers[i], shapes[i].release());
        }
    }
}

KivShapedScene::~KivShapedScene() {
    if (original) {
        scene = *original;
    }
}

bool KivShapedScene::isChanged() const {
    return original.has_value();
}

void KivShapedScene::forget() {
    original.reset();
}
