// What a render's options choose of models: the objects that are drawn, the view of them and the lights.
#ifndef APPS_CLI_SCENECHOICE_H
#define APPS_CLI_SCENECHOICE_H

#include "apps/cli/commandline.h"
#include "apps/common/viewchoice.h"
#include "import/kivmodelimport.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class ObjectLooks;
class ProgressBar;

// Of a model that moves.
struct ModelPose {
    std::string clip; // empty for none
    double seconds = 0.0;
    const KivModel* like = nullptr; // another pose of the same model, in whose place it comes
};

class SceneChoice {
public:
    // Both stay the caller's.
    SceneChoice(const RenderOptions& renderOptions, ProgressBar& progressBar)
        : options(renderOptions), bar(progressBar) {}

    // The models as one, without the objects that are not wanted; without models the built-in scene. Without a scene if
    // it was cancelled. looks: gets the own looks of a document's objects, which must go before the shaders do. Throws
    // std::runtime_error with a line on what can't be read.
    KivModel read(const std::vector<std::wstring>& models, const ModelPose& pose = {},
                  std::unique_ptr<ObjectLooks>* looks = nullptr) const;

    // The camera; the lights come into the model's scene. Warns where nothing is seen. Throws UsageError.
    KivCamera prepare(const KivModel& model) const;

    // The view that a film begins with. fitsOwnCamera: whether the model's own camera shall move away until all that
    // moves is seen.
    ChosenView filmView(const KivModel& model, const std::vector<Kiv3DPoint>& points, bool fitsOwnCamera) const;

    std::vector<KivLight> lights(const KivModel& model, const std::vector<Kiv3DPoint>& points,
                                 const ViewAxes& axes) const;

private:
    bool readFiles(const std::vector<std::wstring>& models, const ModelPose& pose, KivModel& model) const;
    KivModelOptions importOptions(const ModelPose& pose) const;
    double unitsPerPixel() const;
    void chooseObjects(KivModel& model) const;
    ViewChoice viewChoice(const KivModel& model) const;
    ChosenView chooseCamera(const KivModel& model, const std::vector<Kiv3DPoint>& points) const;

    const RenderOptions& options;
    ProgressBar& bar;
};

std::uint64_t countTriangles(const KivModel& model);

#endif
