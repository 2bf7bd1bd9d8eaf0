#include "apps/cli/scenechoice.h"

#include "apps/cli/errorline.h"
#include "apps/cli/outputfile.h"
#include "apps/cli/progressbar.h"
#include "apps/cli/startup.h"
#include "apps/common/demoscene.h"
#include "apps/common/sight.h"
#include "apps/document/documentscene.h"
#include "import/scenebuilder.h"
#include "kivrender/platform/kivtext.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>
#include <stdexcept>

namespace {

using std::numbers::pi;

Kiv3DPoint pointOf(const Triple& t) {
    return {t.x, t.y, t.z};
}
Kiv3DVector vectorOf(const Triple& t) {
    return {t.x, t.y, t.z};
}

} // namespace

std::uint64_t countTriangles(const KivModel& model) {
    std::uint64_t count = 0;
    for (const KivModelFileInfo& file : model.files) {
        count += file.triangles;
    }
    return count;
}

KivModel SceneChoice::read(const std::vector<std::wstring>& models, const ModelPose& pose,
                           std::unique_ptr<ObjectLooks>* looks) const {
    KivModel model;
    if (models.empty()) {
        std::vector<kivimport::ModelParts> parts;
        parts.push_back(makeDemoModel());
        model.files.emplace_back().path = L"demo";
        kivimport::assembleModel(parts, KivModelOptions().creaseAngle, model);
    } else if (!readFiles(models, pose, model)) {
        return model;
    }
    if (options.document) {
        if (looks != nullptr) {
            *looks = std::make_unique<ObjectLooks>(*model.scene, *options.document, !options.documentLook);
        }
        removeHidden(model, options.document->shown);
        removeUnshown(*model.scene, *options.document);
    }
    chooseObjects(model);
    return model;
}

// False if it was cancelled.
bool SceneChoice::readFiles(const std::vector<std::wstring>& models, const ModelPose& pose, KivModel& model) const {
    const bool isFirst = pose.like == nullptr;
    std::wstring message;
    KivModelOptions modelOptions = importOptions(pose);
    modelOptions.progress = [this, isFirst](double done) { return isFirst ? bar.showDone(done) : !isInterrupted(); };
    const bool isRead = kivImportModels(models, modelOptions, model, message);
    if (isFirst) {
        bar.finish();
    }
    if (!isRead && !isInterrupted()) {
        throw std::runtime_error(kivToUtf8(message));
    }
    for (std::size_t i = 0; isFirst && i < model.warnings.size(); ++i) {
        printWarning(kivToUtf8(model.warnings[i]));
    }
    return isRead;
}

KivModelOptions SceneChoice::importOptions(const ModelPose& pose) const {
    KivModelOptions modelOptions;
    if (options.upAxis != 0) {
        modelOptions.upAxis = options.upAxis == 'z' ? KivModelOptions::Axis::z : KivModelOptions::Axis::y;
    }
    modelOptions.deflection = options.deflection;
    // A drawing is enlarged, and its lines stand off the exact ones by a tenth of a pixel at most: no quarter of one,
    // as in pictures, is left to the triangles.
    constexpr double finerInDrawings = 3.0;
    const double times = std::ranges::any_of(options.outputs, isDrawingName) ? finerInDrawings : 1.0;
    modelOptions.picturePixels = std::max(options.width, options.height) * times;
    modelOptions.unitsPerPixel = unitsPerPixel() / times;
    modelOptions.clip = kivFromUtf8(pose.clip);
    modelOptions.clipSeconds = pose.seconds;
    modelOptions.placedLike = pose.like;
    return modelOptions;
}

// How much of the model a pixel shows, where the options tell; 0 where the model is framed.
double SceneChoice::unitsPerPixel() const {
    if (options.ortho) {
        return *options.ortho / options.height;
    }
    if (!options.eye || !options.target) {
        return 0.0;
    }
    const double distance = std::hypot(options.target->x - options.eye->x, options.target->y - options.eye->y,
                                       options.target->z - options.eye->z);
    const double fov = options.fov.value_or(defaultVerticalFov);
    return 2.0 * distance * std::tan(fov * pi / 360.0) / options.height;
}

void SceneChoice::chooseObjects(KivModel& model) const {
    if (options.objects.isEmpty()) {
        return;
    }
    const unsigned int before = model.scene->numMeshes();
    for (const std::wstring& pattern : kivChooseObjects(model, options.objects)) {
        printWarning("no object is called \"" + kivToUtf8(pattern) + "\"; \"selvarin info MODEL\" lists the objects");
    }
    if (before > 0 && model.scene->numMeshes() == 0) {
        throw std::runtime_error("--only and --hide leave nothing to draw");
    }
}

KivCamera SceneChoice::prepare(const KivModel& model) const {
    const std::vector<Kiv3DPoint> points = scenePoints(*model.scene);
    const ChosenView view = chooseCamera(model, points);
    if (view.passesOverCameras) {
        printWarning("the model's own camera shows nothing of it; the model is framed instead");
    }
    if (const std::string why = whyNothingIsSeen(points, view.camera, options.height); !why.empty()) {
        printWarning("the camera sees nothing: " + why);
    }
    for (KivLight& light : lights(model, points, view.axes)) {
        model.scene->addLight(light);
    }
    return view.camera;
}

ViewChoice SceneChoice::viewChoice(const KivModel& model) const {
    ViewChoice choice;
    const auto toScene = [&model](const Triple& t) { return model.toScene(pointOf(t)); };
    if (options.eye) {
        choice.eye = toScene(*options.eye);
    }
    if (options.target) {
        choice.target = toScene(*options.target);
    }
    if (options.up) {
        choice.up = vectorOf(*options.up);
    }
    choice.verticalFov = options.fov;
    if (options.view) {
        const StandardDirections directions = standardDirections(*options.view, model.up);
        choice.direction = directions.forward;
        choice.up = directions.up;
        choice.orthoHeight = options.fov ? std::nullopt : std::optional(0.0);
    }
    if (options.ortho) {
        choice.orthoHeight = *options.ortho * model.scale;
    }
    return choice;
}

ChosenView SceneChoice::chooseCamera(const KivModel& model, const std::vector<Kiv3DPoint>& points) const {
    if (options.documentView) {
        const StudioCamera& camera = options.document->camera;
        const double aspect = static_cast<double>(options.width) / options.height;
        return {camera.toCamera(points, aspect), camera.axes(), {}, false};
    }
    try {
        return chooseView(viewChoice(model), model.cameras, model.up, points,
                          static_cast<double>(options.width) / options.height);
    } catch (const std::invalid_argument&) {
        throw UsageError("--eye and --target are the same place");
    }
}

std::vector<KivLight> SceneChoice::lights(const KivModel& model, const std::vector<Kiv3DPoint>& points,
                                          const ViewAxes& axes) const {
    if (options.lights.empty() && options.document && options.document->hasLights) {
        return documentLights(*options.document, model, points);
    }
    if (options.lights.empty()) {
        return model.lights.empty() ? defaultLights(axes, points) : model.lights;
    }
    std::vector<KivLight> chosen;
    for (const LightOption& option : options.lights) {
        KivLight light = option.kind == LightOption::Kind::directional
                             ? directionalLight(vectorOf(option.place), points)
                             : placedLight(model.toScene(pointOf(option.place)), vectorOf(option.direction),
                                           option.angle * pi / 180.0);
        setLightColour(light, option.colour);
        chosen.push_back(light);
    }
    return chosen;
}

ChosenView SceneChoice::filmView(const KivModel& model, const std::vector<Kiv3DPoint>& points,
                                 bool fitsOwnCamera) const {
    const ChosenView chosen = chooseCamera(model, points);
    ViewChoice choice = viewChoice(model);
    if (!choice.isFree() || model.cameras.empty() || !fitsOwnCamera) {
        return chosen;
    }
    choice.direction = chosen.axes.forward;
    choice.up = chosen.axes.up;
    return chooseView(choice, {}, model.up, points, static_cast<double>(options.width) / options.height);
}
