#include "kivrender/render/kivdrawingcollector.h"

#include "kivrender/render/collectedshadows.h"
#include "kivrender/render/collectedskins.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivscene.h"

#include <algorithm>
#include <unordered_map>

namespace {

thread_local KivDrawingCollector* inForce = nullptr;

} // namespace

KivDrawingCollector::KivDrawingCollector(KivVectorDrawing& into)
    : drawing(into), former(std::exchange(inForce, this)) {}

KivDrawingCollector::~KivDrawingCollector() {
    if (open) {
        drop();
    }
    inForce = former;
}

KivDrawingCollector* KivDrawingCollector::current() {
    return inForce;
}

void KivDrawingCollector::note(const KivScene& scene) {
    meshes.clear();
    for (unsigned int i = 0; i < scene.numMeshes(); ++i) {
        meshes.push_back(scene.getMesh(i));
    }
}

// The object of each mesh has the mesh's number and one more; the first stands for no object.
void KivDrawingCollector::nameObjects(const KivScene& scene) {
    std::unordered_map<const KivMesh*, std::size_t> named;
    for (std::size_t i = 0; i < std::min(meshes.size(), names.size()); ++i) {
        named.emplace(meshes[i], i);
    }
    drawing.objects.resize(std::size_t{scene.numMeshes()} + 1);
    for (unsigned int i = 0; i < scene.numMeshes(); ++i) {
        if (const auto place = named.find(scene.getMesh(i)); place != named.end()) {
            drawing.objects[std::size_t{i} + 1].name = names[place->second];
        }
    }
}

KivVectorDrawing& KivDrawingCollector::begin(const KivScene* scene) {
    if (open) {
        drop();
    }
    empty();
    shadows.reset();
    drawing.title = title;
    if (scene != nullptr) {
        nameObjects(*scene);
    }
    filled = false;
    open = true;
    formerDrawing = kivCollectDrawing(&drawing);
    const bool wantsSkins = kind == Areas::regions && textures != Textures::mean;
    skins = wantsSkins ? std::make_unique<CollectedSkins>() : nullptr;
    if (wantsSkins) {
        skins->asPictures = textures == Textures::pictures;
    }
    formerSkins = kivCollectSkins(wantsSkins ? &skins->drawn : nullptr);
    return drawing;
}

void KivDrawingCollector::end() {
    if (open) {
        kivCollectDrawing(formerDrawing);
        kivCollectSkins(formerSkins);
        skins.reset();
        open = false;
        filled = true;
        shadows.reset();
    }
}

void KivDrawingCollector::drop() {
    end();
    empty();
    filled = false;
}

// What the host has asked for stays.
void KivDrawingCollector::empty() {
    const bool wantsHidden = drawing.wantsHidden;
    const double effort = drawing.effort;
    drawing = {};
    drawing.wantsHidden = wantsHidden;
    drawing.effort = effort;
}
