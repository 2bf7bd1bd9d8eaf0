#include "kivrender/render/kivshapedscene.h"

#include "kivrender/geometry/kivsmoothshape.h"
#include "kivrender/lines/skins/kivcutmesh.h"
#include "kivrender/render/kivshapesahead.h"
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/shader/kivpicturetile.h"
#include "kivrender/shader/kivshadershape.h"

#include <memory>
#include <utility>
#include <vector>

KivShapedScene::KivShapedScene(KivScene& sceneToDraw, const KivCamera& camera, tagSIZE size, const ShaderOf& shaderOf)
    : scene(sceneToDraw) {
    const KivPictureTile* const tile = kivPictureTile();
    KivPictureKept* const kept = tile != nullptr ? tile->kept.get() : nullptr;
    if (kept == nullptr || !kept->isShaped) {
        makeShapes(camera, size, shaderOf);
    } else if (kept->shaped != nullptr) {
        original.emplace(scene);
        scene = *kept->shaped;
    }
    if (kept != nullptr && !kept->isShaped && !kivIsCancelled()) {
        kept->isShaped = true;
        kept->shaped = isChanged() ? std::make_shared<const KivScene>(scene) : nullptr;
    }
}

void KivShapedScene::makeShapes(const KivCamera& camera, tagSIZE size, const ShaderOf& shaderOf) {
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
    const KivShapeView view = kivShapeViewOf(camera, size);
    auto ahead = KivShapesAhead::take(requests, view);
    std::vector<std::unique_ptr<KivMesh>> shapes = ahead ? std::move(*ahead) : kivSmoothShapes(requests, view);
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

bool KivShapedScene::cutHoles(const KivCamera& camera, tagSIZE size, double effort) {
    bool isTooMuch = false;
    const KivShapeView view = kivShapeViewOf(camera, size);
    for (unsigned int i = 0; i < scene.numMeshes(); ++i) {
        const KivMesh* const mesh = scene.getMesh(i);
        std::unique_ptr<KivMesh> cut = mesh != nullptr ? kivCutMesh(*mesh, view, effort, &isTooMuch) : nullptr;
        if (cut != nullptr) {
            if (!original) {
                original.emplace(scene);
            }
            scene.replaceMesh(i, cut.release());
        }
    }
    return !isTooMuch;
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
