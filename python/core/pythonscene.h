// A scene of named objects and lights, in the coordinates of its user. Not for two threads at once: whoever calls holds
// the library's lock.
#ifndef CORE_PYTHONSCENE_H
#define CORE_PYTHONSCENE_H

#include "core/sceneobject.h"

#include <functional>
#include <optional>

struct SceneLight {
    KivLight light;
    bool isDirectional = false; // its place follows from the scene
};

// The objects of a scene as a render takes them. It gives the meshes back, however the render ends.
class DrawnScene {
public:
    explicit DrawnScene(const std::vector<std::shared_ptr<SceneObject>>& objects);
    ~DrawnScene();
    DrawnScene(const DrawnScene&) = delete;
    DrawnScene& operator=(const DrawnScene&) = delete;

    KivScene& scene() {
        return held;
    }
    // Beside the scene's meshes.
    const std::vector<std::wstring>& meshNames() const {
        return names;
    }

private:
    std::vector<std::shared_ptr<SceneObject>> owners;
    std::vector<std::wstring> names;
    KivScene held;
};

class PythonScene {
public:
    // 'y' or 'z'; 0: that of the first file that is loaded, z without one.
    explicit PythonScene(char upAxis);

    std::shared_ptr<SceneObject> add(std::shared_ptr<SceneObject> object);
    // Reads model files. Returns the new objects; fills in the lines that the user should read.
    std::vector<std::shared_ptr<SceneObject>> load(const std::vector<std::wstring>& paths,
                                                   const KivModelOptions& options, std::vector<std::string>& warnings);
    // The built-in scene.
    std::vector<std::shared_ptr<SceneObject>> addDemo();
    // False if it is not in the scene.
    bool remove(const SceneObject& object);
    void addLight(const KivLight& light, bool isDirectional);
    void removeLights();

    const std::vector<std::shared_ptr<SceneObject>>& objects() const {
        return all;
    }
    std::size_t numLights() const {
        return lights.size();
    }
    // The colours of objects without one take turns.
    std::size_t nextColour() {
        return unpainted++;
    }
    Kiv3DVector up() const;

    // Brings all objects to the place that fits them, and returns it. checkCancel is called between objects and may
    // throw.
    Placement prepare(const std::function<void()>& checkCancel);
    // The cameras of the files, in the scene's coordinates.
    std::vector<KivModelCamera> camerasAt(const Placement& place) const;
    // The lights of the user, else those of the files, else none.
    std::vector<KivLight> lightsAt(const Placement& place, const std::vector<Kiv3DPoint>& points) const;

private:
    std::vector<std::shared_ptr<SceneObject>> takeModel(KivModel& model, const std::wstring& stem);
    KivBox bounds() const;

    struct FromFile {
        Placement place;
        std::vector<KivModelCamera> cameras;
        std::vector<KivLight> lights;
    };

    char axis;
    std::optional<Kiv3DVector> fileUp;
    std::vector<std::shared_ptr<SceneObject>> all;
    std::vector<SceneLight> lights;
    std::vector<FromFile> files;
    std::size_t unpainted = 0;
};

#endif
