#include "apps/document/studioobjects.h"

#include "import/kivmodelobjects.h"
#include "kivrender/scene/kivmaterial.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivscene.h"

#include <algorithm>

const StudioObjectStates::Map& StudioObjectStates::map() const {
    static const Map none;
    return data != nullptr ? *data : none;
}

bool StudioObjectStates::empty() const {
    return map().empty();
}

StudioObjectState StudioObjectStates::at(int mesh) const {
    const auto found = map().find(mesh);
    return found != map().end() ? found->second : StudioObjectState();
}

void StudioObjectStates::set(int mesh, const StudioObjectState& state) {
    if (at(mesh) == state) {
        return;
    }
    if (data == nullptr) {
        data = std::make_shared<Map>();
    } else if (data.use_count() > 1) {
        data = std::make_shared<Map>(*data);
    }
    if (state.isPlain()) {
        data->erase(mesh);
    } else {
        (*data)[mesh] = state;
    }
}

bool StudioObjectStates::hasGhosts() const {
    return std::any_of(map().begin(), map().end(), [](const auto& each) { return each.second.ghost; });
}

bool StudioObjectStates::operator==(const StudioObjectStates& other) const {
    return data == other.data || map() == other.map();
}

KivScene shownScene(const KivScene& scene, const StudioObjectStates& states) {
    if (std::none_of(states.map().begin(), states.map().end(), [](const auto& each) { return each.second.hidden; })) {
        return scene;
    }
    KivScene shown;
    for (unsigned int i = 0; i < scene.numMeshes(); ++i) {
        if (!states.at(static_cast<int>(i)).hidden) {
            shown.addMesh(scene.getMesh(i));
        }
    }
    for (unsigned int i = 0; i < scene.numLines(); ++i) {
        KivLine line = *scene.getLine(i);
        shown.addLine(line);
    }
    for (unsigned int i = 0; i < scene.numPolyline(); ++i) {
        shown.addPolyline(scene.getPolyline(i));
    }
    for (unsigned int i = 0; i < scene.numPoints(); ++i) {
        Kiv3DPoint point = *scene.getPoint(i);
        shown.addPoint(point);
    }
    return shown;
}

bool paintObject(KivMesh* mesh, const StudioObjectState& state) {
    if (!state.ghost && !state.colour) {
        return false;
    }
    KivMaterial material;
    material = *mesh->getMaterial(); // a copy that is made at once has another diffuse colour
    if (state.colour) {
        material.setDiffuse(*state.colour);
        material.setAmbient(*state.colour);
    }
    if (state.ghost) {
        material.setTransparency(kivGhostOpacity);
    }
    mesh->setMaterial(material);
    return true;
}
