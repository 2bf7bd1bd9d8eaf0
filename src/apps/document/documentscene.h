// A document's model as it is to be drawn: what is read of its files, the objects' own looks and colours, the lights.
#ifndef APPS_DOCUMENT_DOCUMENTSCENE_H
#define APPS_DOCUMENT_DOCUMENTSCENE_H

#include "apps/document/studiostate.h"
#include "import/kivmodelimport.h"
#include "kivrender/scene/kivmaterial.h"

#include <functional>
#include <memory>
#include <utility>
#include <vector>

// How the document wants its models to be read.
KivModelOptions importOptions(const StudioState& state);

// The user's own lights, else those of the model, else one that comes over the viewer's shoulder. points: of the scene.
std::vector<KivLight> documentLights(const StudioState& state, const KivModel& model,
                                     const std::vector<Kiv3DPoint>& points);

// Takes out of a scene the lines and points that the document does not show.
void removeUnshown(KivScene& scene, const StudioState& state);

// Takes the hidden objects out of the model, with their names and nodes. The others have other numbers then.
void removeHidden(KivModel& model, const StudioObjectStates& states);

// Gives the meshes of a scene the colours of their states, and the shaders and settings of their own looks, and takes
// all of it away again at its end. Indices without a mesh are passed over.
class ObjectLooks {
public:
    // isPlain: colours alone. standIn: the mesh that is drawn for the one of that number; may return null.
    ObjectLooks(const KivScene& scene, const StudioState& state, bool isPlain,
                const std::function<KivMesh*(int mesh)>& standIn = {});
    ~ObjectLooks();
    ObjectLooks(const ObjectLooks&) = delete;
    ObjectLooks& operator=(const ObjectLooks&) = delete;

private:
    void paint(KivMesh* mesh, const StudioObjectState& state);

    KivScene held; // its meshes stay as long as their looks
    std::vector<KivMesh*> meshes;
    std::vector<std::pair<KivMesh*, std::unique_ptr<KivMaterial>>> painted; // with what they had
};

#endif
