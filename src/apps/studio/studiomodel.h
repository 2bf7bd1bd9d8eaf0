// The model of a document, ready to be drawn again and again.
#ifndef APPS_STUDIO_STUDIOMODEL_H
#define APPS_STUDIO_STUDIOMODEL_H

#include "apps/document/documentscene.h"
#include "apps/studio/coarsemodel.h"
#include "import/kivmodelimport.h"

#include <QString>

#include <functional>
#include <string>
#include <vector>

class StudioModel {
public:
    // The built-in scene.
    StudioModel();

    // Reads the models of the state, or the built-in scene without any. False with one line in message, and all as it
    // was, if any of them can't be read; without a line if progress said so. progress: as in KivModelOptions.
    bool load(const StudioState& state, std::wstring* message, const std::function<bool(double done)>& progress = {});

    const KivModel& model() const;
    const std::vector<Kiv3DPoint>& points() const;
    std::uint64_t triangles() const;
    int numMeshes() const;
    // Another number for each model that was loaded.
    std::uint64_t revision() const;
    // Of the first file, without its folder and ending; empty for the built-in scene.
    QString fileName() const;
    // The bounds of meshes together, as their corners; empty without a mesh. Indices without one are passed over.
    std::vector<Kiv3DPoint> corners(const std::vector<int>& meshes) const;
    // The mesh that a ray meets first, -1 for none; what is hidden is passed through.
    int pick(const Kiv3DPoint& from, const Kiv3DVector& way, const StudioObjectStates& states) const;
    // What of the model is shown, as points to fit into a view: all of them, or the corners of the meshes that are not
    // hidden.
    std::vector<Kiv3DPoint> shownPoints(const StudioObjectStates& states) const;
    // Of the meshes that are drawn, in the order of the scene.
    std::vector<std::wstring> drawnNames(const StudioObjectStates& states) const;

    // A scene to render, which shares the meshes: with the state's lights, lines and points. simplified: with a coarse
    // copy of large models, to be drawn many times a second.
    KivScene scene(const StudioState& state, bool simplified) const;
    std::vector<KivLight> lights(const StudioState& state) const;
    // The lights that are in force, as the user's own.
    std::vector<StudioLight> ownLights(const StudioState& state) const;

    // Moves the camera as the model wants it: its own camera, else framed from a three-quarter view.
    void placeCamera(StudioCamera* camera, double aspect) const;

    // The meshes as the state has them, as long as it lives. plain: in their colours alone.
    class OwnLooks : public ObjectLooks {
    public:
        OwnLooks(const StudioModel& model, const StudioState& state, bool plain);
    };

private:
    void prepare();

    KivModel imported;
    std::vector<Kiv3DPoint> all;
    std::vector<Kiv3DPoint> ends; // of the box around them all, its corners
    std::uint64_t loaded = 0;
    QString firstFile;
    CoarseModel coarse;
};

#endif
