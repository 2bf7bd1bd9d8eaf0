#include "apps/document/documentscene.h"

#include "apps/common/framing.h"
#include "kivrender/render/kivrenderer.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/settings/kivpagesettings.h"

#include <algorithm>
#include <cstddef>

KivModelOptions importOptions(const StudioState& state) {
    KivModelOptions options;
    options.upAxis = state.upAxis == 'z'   ? KivModelOptions::Axis::z
                     : state.upAxis == 'y' ? KivModelOptions::Axis::y
                                           : KivModelOptions::Axis::byFormat;
    return options;
}

std::vector<KivLight> documentLights(const StudioState& state, const KivModel& model,
                                     const std::vector<Kiv3DPoint>& points) {
    if (!state.hasLights) {
        return model.lights.empty() ? defaultLights(state.camera.axes(), points) : model.lights;
    }
    std::vector<KivLight> list;
    for (const StudioLight& light : state.lights) {
        list.push_back(light.toLight(points));
    }
    return list;
}

void removeUnshown(KivScene& scene, const StudioState& state) {
    if (state.options.doRenderIsoparams() == 0) {
        scene.removeLines();
    }
    if (!state.options.doRenderDim()) {
        scene.removePoints();
    }
}

void removeHidden(KivModel& model, const StudioObjectStates& states) {
    model.scene = std::make_unique<KivScene>(shownScene(*model.scene, states));
    std::vector<std::wstring> names;
    std::vector<int> nodes;
    for (std::size_t i = 0; i < model.meshNames.size(); ++i) {
        if (!states.at(static_cast<int>(i)).hidden) {
            names.push_back(model.meshNames[i]);
            nodes.push_back(model.meshNodes[i]);
        }
    }
    model.meshNames = std::move(names);
    model.meshNodes = std::move(nodes);
}

ObjectLooks::ObjectLooks(const KivScene& scene, const StudioState& state, bool isPlain,
                         const std::function<KivMesh*(int mesh)>& standIn)
    : held(scene) {
    const auto meshOf = [this](int index) {
        const bool isThere = index >= 0 && static_cast<unsigned int>(index) < held.numMeshes();
        return isThere ? held.getMesh(static_cast<unsigned int>(index)) : nullptr;
    };
    for (const auto& [index, shown] : state.shown.map()) {
        if (KivMesh* const mesh = meshOf(index)) {
            paint(mesh, shown);
            paint(standIn ? standIn(index) : nullptr, shown);
        }
    }
    if (isPlain) {
        return;
    }
    KivRenderer reader;
    for (const auto& [index, look] : state.objects) {
        if (KivMesh* const mesh = meshOf(index)) {
            KivMemoryDataManager cells(look.stream());
            reader.loadDataToObject(mesh, &cells); // what it can't read is left to the document's look
            meshes.push_back(mesh);
        }
    }
}

void ObjectLooks::paint(KivMesh* mesh, const StudioObjectState& state) {
    if (mesh == nullptr) {
        return;
    }
    auto former = std::make_unique<KivMaterial>();
    *former = *mesh->getMaterial();
    if (paintObject(mesh, state)) {
        painted.emplace_back(mesh, std::move(former));
    }
}

ObjectLooks::~ObjectLooks() {
    // Instances share no mesh, but a part of the coarse model may be the mesh itself: the first material is its own.
    std::for_each(painted.rbegin(), painted.rend(), [](auto& each) { each.first->setMaterial(*each.second); });
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
