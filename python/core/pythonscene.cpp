#include "core/pythonscene.h"

#include "apps/common/demoscene.h"
#include "apps/common/framing.h"
#include "core/runtime.h"
#include "import/scenebuilder.h"
#include "kivrender/platform/kivtext.h"

#include <algorithm>
#include <filesystem>

DrawnScene::DrawnScene(const std::vector<std::shared_ptr<SceneObject>>& objects) {
    std::size_t count = 0;
    for (const auto& object : objects) {
        if (object->isVisible) {
            owners.push_back(object);
            count += object->numMeshes();
            names.insert(names.end(), object->numMeshes(), object->name);
        }
    }
    held.reserveMesh(static_cast<unsigned int>(count));
    for (const auto& object : owners) {
        object->addTo(held);
    }
}

DrawnScene::~DrawnScene() {
    while (held.numMeshes() > 0) {
        held.removeMesh(held.numMeshes() - 1);
    }
}

PythonScene::PythonScene(char upAxis) : axis(upAxis) {}

std::shared_ptr<SceneObject> PythonScene::add(std::shared_ptr<SceneObject> object) {
    all.push_back(object);
    return object;
}

std::vector<std::shared_ptr<SceneObject>> PythonScene::load(const std::vector<std::wstring>& paths,
                                                            const KivModelOptions& options,
                                                            std::vector<std::string>& warnings) {
    KivModel model;
    std::wstring message;
    if (!kivImportModels(paths, options, model, message)) {
        if (message.empty()) {
            throw Cancelled();
        }
        throw ModelError(kivToUtf8(message));
    }
    for (const std::wstring& warning : model.warnings) {
        warnings.push_back(kivToUtf8(warning));
    }
    return takeModel(model, kivFromUtf8(std::filesystem::path(kivToUtf8(paths.front())).stem().string()));
}

std::vector<std::shared_ptr<SceneObject>> PythonScene::addDemo() {
    KivModel model;
    std::vector<kivimport::ModelParts> parts;
    parts.push_back(makeDemoModel());
    model.files.emplace_back().path = L"demo";
    kivimport::assembleModel(parts, KivModelOptions().creaseAngle, model);
    return takeModel(model, L"demo");
}

std::vector<std::shared_ptr<SceneObject>> PythonScene::takeModel(KivModel& model, const std::wstring& stem) {
    const Placement place = placementOf(model);
    std::vector<std::shared_ptr<SceneObject>> added;
    const auto begin = [&](const std::wstring& name, ObjectKind kind) -> SceneObject& {
        return *added.emplace_back(std::make_shared<SceneObject>(name, kind, place, model.bounds));
    };
    KivScene& scene = *model.scene;
    for (std::size_t i = 0; scene.numMeshes() > 0; ++i) {
        SceneObject& object = begin(model.meshNames[i].empty() ? stem : model.meshNames[i], ObjectKind::mesh);
        std::unique_ptr<KivMesh> mesh(scene.getMesh(0));
        scene.removeMesh(0);
        object.takeMesh(std::move(mesh));
    }
    if (scene.numLines() + scene.numPolyline() > 0) {
        SceneObject& object = begin(stem + L" lines", ObjectKind::lines);
        for (unsigned int i = 0; i < scene.numLines(); ++i) {
            object.takeLine(*scene.getLine(i));
        }
        for (unsigned int i = 0; i < scene.numPolyline(); ++i) {
            auto line = std::make_unique<KivPolyline>();
            *line = *scene.getPolyline(i);
            object.takePolyline(std::move(line));
        }
    }
    if (scene.numPoints() > 0) {
        SceneObject& object = begin(stem + L" points", ObjectKind::points);
        for (unsigned int i = 0; i < scene.numPoints(); ++i) {
            object.takePoint(*scene.getPoint(i));
        }
    }
    if (!fileUp) {
        fileUp = model.up;
    }
    files.push_back({place, std::move(model.cameras), std::move(model.lights)});
    all.insert(all.end(), added.begin(), added.end());
    return added;
}

bool PythonScene::remove(const SceneObject& object) {
    const auto at = std::find_if(all.begin(), all.end(), [&](const auto& each) { return each.get() == &object; });
    if (at == all.end()) {
        return false;
    }
    all.erase(at);
    return true;
}

void PythonScene::addLight(const KivLight& light, bool isDirectional) {
    lights.push_back({light, isDirectional});
}

void PythonScene::removeLights() {
    lights.clear();
    for (FromFile& file : files) {
        file.lights.clear();
    }
}

Kiv3DVector PythonScene::up() const {
    if (axis != 0) {
        return axis == 'y' ? Kiv3DVector(0.0, 1.0, 0.0) : Kiv3DVector(0.0, 0.0, 1.0);
    }
    return fileUp.value_or(Kiv3DVector(0.0, 0.0, 1.0));
}

KivBox PythonScene::bounds() const {
    KivBox box = kivimport::emptyBounds();
    for (const auto& object : all) {
        const KivBox& one = object->bounds();
        box = KivBox(std::min(box.getXMin(), one.getXMin()), std::max(box.getXMax(), one.getXMax()),
                     std::min(box.getYMin(), one.getYMin()), std::max(box.getYMax(), one.getYMax()),
                     std::min(box.getZMin(), one.getZMin()), std::max(box.getZMax(), one.getZMax()));
    }
    return box;
}

Placement PythonScene::prepare(const std::function<void()>& checkCancel) {
    KivModel model;
    model.bounds = bounds();
    if (model.bounds.getXMin() > model.bounds.getXMax()) {
        return {};
    }
    kivimport::choosePlacement(model);
    const Placement place = placementOf(model);
    for (const auto& object : all) {
        object->place(place);
        checkCancel();
    }
    return place;
}

std::vector<KivModelCamera> PythonScene::camerasAt(const Placement& place) const {
    std::vector<KivModelCamera> cameras;
    for (const FromFile& file : files) {
        for (KivModelCamera camera : file.cameras) {
            if (!(file.place == place)) {
                camera.location = place.toScene(file.place.toModel(camera.location));
                camera.orthoHeight *= place.scale / file.place.scale;
            }
            cameras.push_back(camera);
        }
    }
    return cameras;
}

std::vector<KivLight> PythonScene::lightsAt(const Placement& place, const std::vector<Kiv3DPoint>& points) const {
    std::vector<KivLight> result;
    for (const SceneLight& each : lights) {
        KivLight light = each.light;
        if (each.isDirectional) {
            light.setLocation(directionalLight(light.getDirection(), points).getLocation());
        } else {
            light.setLocation(place.toScene(light.getLocation()));
        }
        result.push_back(light);
    }
    for (const FromFile& file : files) {
        for (KivLight light : file.lights) {
            if (lights.empty()) {
                if (!(file.place == place)) {
                    light.setLocation(place.toScene(file.place.toModel(light.getLocation())));
                }
                result.push_back(light);
            }
        }
    }
    return result;
}
