#include "apps/cli/rendercommand.h"

#include "apps/cli/clihost.h"
#include "apps/cli/drawingfiles.h"
#include "apps/cli/errorline.h"
#include "apps/cli/exitstatus.h"
#include "apps/cli/layerfolder.h"
#include "apps/cli/objectlayers.h"
#include "apps/cli/outputfile.h"
#include "apps/cli/poster.h"
#include "apps/cli/progressbar.h"
#include "apps/cli/renderfailure.h"
#include "apps/cli/startup.h"
#include "apps/cli/timings.h"
#include "apps/common/coverage.h"
#include "apps/common/demoscene.h"
#include "apps/common/layeredpicture.h"
#include "apps/common/papers.h"
#include "apps/common/pictureproblem.h"
#include "apps/common/shaderstream.h"
#include "apps/common/sight.h"
#include "apps/common/vectorbuffer.h"
#include "apps/common/viewchoice.h"
#include "import/kivmodelimport.h"
#include "import/scenebuilder.h"
#include "kivrender/platform/kivglwarmup.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtemporaryfile.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/render/kivbitmapmanager.h"
#include "kivrender/render/kivrenderer.h"
#include "kivrender/render/kivtiledrender.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshpaint.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/settings/kivmemorycommondatamanager.h"
#include "kivrender/shader/kivshader.h"
#include "kivrender/vector/kivvectorpage.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <future>
#include <memory>
#include <numbers>
#include <set>

namespace {

constexpr std::uint32_t black = 0x000000;
constexpr std::uint32_t white = 0xFFFFFF;
using std::numbers::pi;

// One view: the models that make its scene, and its files.
struct Job {
    std::vector<std::wstring> models; // none: the built-in scene
    std::vector<std::string> outputs;
    std::string layers; // a folder; empty for none
};

std::vector<std::string> outputNames(const RenderOptions& options, const std::string& model) {
    std::vector<std::string> names;
    for (const std::string& pattern : options.outputs) {
        names.push_back(outputName(pattern, model));
    }
    return names;
}

std::vector<Job> planJobs(const RenderOptions& options) {
    if (options.demo) {
        return {{{}, outputNames(options, "demo"), outputName(options.layers, "demo")}};
    }
    const auto forEach = [](const std::string& name) { return name.find("{model}") != std::string::npos; };
    const bool oneEach =
        std::any_of(options.outputs.begin(), options.outputs.end(), forEach) || forEach(options.layers);
    std::vector<Job> jobs;
    std::set<std::string> names;
    for (const std::string& model : options.models) {
        if (jobs.empty() || oneEach) {
            const std::string stem = std::filesystem::path(model).stem().string();
            jobs.push_back({{}, outputNames(options, stem), outputName(options.layers, stem)});
            std::vector<std::string> written = jobs.back().outputs;
            if (!options.layers.empty()) {
                written.push_back(jobs.back().layers);
            }
            for (const std::string& name : written) {
                if (!names.insert(name).second) {
                    throw UsageError("two models would both be written to \"" + name + "\"");
                }
            }
        }
        jobs.back().models.push_back(kivFromUtf8(model));
    }
    return jobs;
}

// Whether colours change over any surface.
bool hasPaint(const KivScene& scene) {
    for (unsigned int i = 0; i < scene.numMeshes(); ++i) {
        const KivMesh* const mesh = scene.getMesh(i);
        if (mesh != nullptr && kivMeshPaint(*mesh) != nullptr) {
            return true;
        }
    }
    return false;
}

using OutputFiles = std::vector<std::unique_ptr<OutputFile>>;

class RenderCommand {
public:
    explicit RenderCommand(const RenderOptions& renderOptions)
        : options(renderOptions), bar(ProgressBar::styleFor(options.quiet)) {}

    int run() {
        const std::vector<Job> jobs = planJobs(options);
        checkImage(options.backgroundImage);
        paper = findPaper(options.paper);
        checkImage(paper);
        // What fails without a look at the model fails before the driver is started.
        OutputFiles outputs = openOutputs(jobs.front());
        catchInterrupts();
        const Program program;
        timings.add("start-up", timings.lap());
        return drawJobs(jobs, outputs, program.host());
    }

    int runWithin(CliHost& host) {
        const std::vector<Job> jobs = planJobs(options);
        checkImage(options.backgroundImage);
        paper = findPaper(options.paper);
        checkImage(paper);
        OutputFiles outputs = openOutputs(jobs.front());
        return drawJobs(jobs, outputs, host);
    }

    std::uint64_t numTriangles() const {
        return drawnTriangles;
    }

    int runFrames(FrameMaker& maker) {
        checkImage(options.backgroundImage);
        paper = findPaper(options.paper);
        checkImage(paper);
        catchInterrupts();
        const Program program;
        chooseLook(program.host());
        const std::vector<Job> jobs = planJobs(options);
        bar.restart(L"Reading the model");
        KivModel model = readModel(jobs.front(), poseOf(maker, 0, nullptr));
        if (isInterrupted()) {
            return statusCancelled;
        }
        return drawFrames(jobs.front(), model, maker, program.host()) ? statusDone : statusCancelled;
    }

private:
    // Of a model that moves.
    struct Pose {
        std::string clip; // empty for none
        double seconds = 0.0;
        const KivModel* like = nullptr; // another pose of the same model, in whose place it comes
    };

    static Pose poseOf(const FrameMaker& maker, std::size_t frame, const KivModel* like) {
        const std::string clip = maker.clip();
        return {clip, clip.empty() ? 0.0 : maker.clipSeconds(frame), like};
    }

    // Where a model that moves comes to in a film, from some of its frames.
    std::vector<Kiv3DPoint> pointsOfFilm(const Job& job, const KivModel& model, const FrameMaker& maker) {
        constexpr std::size_t most = 8;
        std::vector<Kiv3DPoint> points = scenePoints(*model.scene);
        const std::size_t step = std::max<std::size_t>(1, maker.count() / most);
        for (std::size_t i = step; !maker.clip().empty() && i < maker.count() && !isInterrupted(); i += step) {
            const KivModel other = readModel(job, poseOf(maker, i, &model));
            if (other.scene) {
                const std::vector<Kiv3DPoint> more = scenePoints(*other.scene);
                points.insert(points.end(), more.begin(), more.end());
            }
        }
        return points;
    }

    // False if it was cancelled.
    bool drawFrames(const Job& job, KivModel& model, FrameMaker& maker, CliHost& host) {
        const std::vector<Kiv3DPoint> points = maker.framed(pointsOfFilm(job, model, maker), model);
        const ChosenView chosen = chooseFilmCamera(model, points, maker);
        KivModel posed; // its scene holds the meshes that the frame's scene shows
        KivScene bare = *model.scene;
        const std::uint64_t triangles = countTriangles(model);
        CancelProgress cancel;
        otherProgress = &cancel;
        bar.restart(L"Drawing frames");
        const auto start = Timings::Clock::now();
        for (std::size_t i = 0; i < maker.count(); ++i) {
            const ChosenView view = maker.view(i, chosen, points, model);
            if (i > 0 && !maker.clip().empty()) {
                posed = readModel(job, poseOf(maker, i, &model));
                if (!posed.scene) {
                    return false;
                }
                bare = *posed.scene;
            }
            model.scene = std::make_unique<KivScene>(bare);
            for (KivLight& light : chooseLights(model, points, view.axes)) {
                model.scene->addLight(light);
            }
            if (!drawFrame(i, model, view.camera, triangles, maker, host)) {
                return false;
            }
            maker.drawn(i);
            showFrames(i + 1, maker.count(), Timings::milliseconds(Timings::Clock::now() - start) / 1000.0);
        }
        bar.finish();
        maker.finish();
        return true;
    }

    ChosenView chooseFilmCamera(const KivModel& model, const std::vector<Kiv3DPoint>& points,
                                const FrameMaker& maker) const {
        const ChosenView chosen = chooseCamera(model, points);
        ViewChoice choice = viewChoice(model);
        if (!choice.isFree() || model.cameras.empty() || !maker.fitsOwnCamera()) {
            return chosen;
        }
        choice.direction = chosen.axes.forward;
        choice.up = chosen.axes.up;
        return chooseView(choice, {}, model.up, points, static_cast<double>(options.width) / options.height);
    }

    bool drawFrame(std::size_t frame, const KivModel& model, const KivCamera& camera, std::uint64_t triangles,
                   FrameMaker& maker, CliHost& host) {
        if (const std::string name = maker.drawingName(frame); !name.empty()) {
            OutputFile output(name, {}, OutputFile::Accepts::picturesAndDrawings);
            DrawingFiles drawing(options.drawing);
            if (!drawVector(model, camera, triangles, output, drawing, host)) {
                return false;
            }
            output.finish();
            return true;
        }
        host.takeMessages();
        const auto picture = drawInMemory(*model.scene, camera, settingsFor(false, ""), background, host);
        if (isInterrupted()) {
            return false;
        }
        if (!picture) {
            const std::vector<std::string> messages = host.takeMessages();
            throw std::runtime_error("can't render frame " + std::to_string(frame) + ": " +
                                     (messages.empty() ? kivToUtf8(kivSystemErrorText(lastError)) : messages.front()));
        }
        maker.take(frame, *picture);
        return true;
    }

    void showFrames(std::size_t done, std::size_t count, double seconds) {
        const double left = seconds / static_cast<double>(done) * static_cast<double>(count - done);
        bar.setText(
            (std::to_wstring(done) + L" of " + std::to_wstring(count) + L" frames, " + timeText(left) + L" left")
                .c_str());
        bar.showDone(static_cast<double>(done) / static_cast<double>(count));
    }

    static std::wstring timeText(double seconds) {
        const auto whole = static_cast<long>(std::ceil(seconds));
        return whole < 120 ? std::to_wstring(whole) + L" s" : std::to_wstring((whole + 59) / 60) + L" min";
    }

    int drawJobs(const std::vector<Job>& jobs, OutputFiles& outputs, CliHost& host) {
        chooseLook(host);
        std::size_t numFailed = 0;
        for (const Job& job : jobs) {
            numFailed += tryJob(job, jobs.size() > 1, outputs, host) ? 0 : 1;
            outputs.clear();
            if (isInterrupted()) {
                return statusCancelled;
            }
        }
        if (numFailed > 0) {
            throw std::runtime_error(std::to_string(numFailed) + " of " + std::to_string(jobs.size()) +
                                     " models failed");
        }
        return statusDone;
    }

    void chooseLook(CliHost& host) {
        const ChosenLook look = buildShaderStream(options, stream);
        plan.ground = !options.noBackground;
        plan.paper = !paper.empty();
        plan.base = !look.shaders.nonCombinable.empty();
        plan.lines = look.hasLines;
        plan.shadows = options.shadows && plan.base;
        plan.highlights = look.hasHighlights && plan.base;
        for (const std::string& warning : look.warnings) {
            printWarning(warning);
        }
        if (look.background && options.backgroundChosen) {
            printWarning("--background does not show, as the backdrop covers it; use --set Backdrop.Colour");
        }
        background = look.background.value_or(options.background);
        isBackgroundWanted = look.background || options.backgroundChosen;
        host.setMemoryFolder(kivFromUtf8(options.memoryFolder));
        timings.add("shaders", timings.lap());
        // The driver is as slow to start as a model is to read, and there is a second core for it.
        static bool isWarm = false;
        if (!isWarm) {
            warmUp = std::async(std::launch::async, [size = renderSize()] { return kivWarmUpGl(size); });
            isWarm = true;
        }
    }

    // What goes wrong with one of many models is told, and the others still come. outputs: of the job, if they are open
    // already.
    bool tryJob(const Job& job, bool isOneOfMany, OutputFiles& outputs, CliHost& host) {
        try {
            if (outputs.empty()) {
                outputs = openOutputs(job);
            }
            renderJob(job, outputs, host);
            return true;
        } catch (const UsageError&) {
            throw; // and would go wrong with all
        } catch (const std::bad_alloc&) {
            if (!isOneOfMany) {
                throw;
            }
            tellFailure("there is not enough memory for \"" + kivToUtf8(job.models.front()) + "\"");
        } catch (const std::runtime_error& error) {
            if (!isOneOfMany) {
                throw;
            }
            tellFailure(error.what());
        }
        return false;
    }

    void tellFailure(const std::string& text) {
        bar.finish();
        printError(text);
    }

    OutputFiles openOutputs(const Job& job) const {
        OutputFiles files;
        for (const std::string& name : job.outputs) {
            if (isPoster() && !isDrawingName(name)) {
                checkPosterName(name);
                if (options.noBackground || isLayeredName(name) || !job.layers.empty()) {
                    throw UsageError(std::string(options.noBackground ? "--background none" : "layers") +
                                     (options.noBackground ? " is" : " are") +
                                     " not for pictures drawn in tiles; choose a smaller size");
                }
            }
            files.push_back(std::make_unique<OutputFile>(
                name, isDrawingName(name) || isLayeredName(name) ? std::vector<std::string>() : companions(),
                OutputFile::Accepts::picturesAndDrawings));
        }
        return files;
    }

    bool isPoster() const {
        return options.tile > 0 || kivNeedsTiles({options.width, options.height}, options.antialias);
    }

    // The files that are written beside a picture.
    std::vector<std::string> companions() const {
        std::vector<std::string> marks;
        if (options.depthImage) {
            marks.emplace_back("_depth");
        }
        if (options.shadowImage) {
            marks.emplace_back("_shadow");
        }
        return marks;
    }

    tagSIZE renderSize() const {
        // Sizes that can't be drawn are refused by the surface; here they must not run over.
        const auto enlarge = [this](std::int64_t v) {
            return static_cast<std::int32_t>(std::min<std::int64_t>(v << options.antialias, 1 << 20));
        };
        return {enlarge(options.width), enlarge(options.height)};
    }

    // A picture that is broken would be missing in the render, and nobody would say why.
    static void checkImage(const std::string& path) {
        const PictureProblem problem = problemOfPicture(kivFromUtf8(path));
        if (problem != PictureProblem::none) {
            throw std::runtime_error("can't use \"" + path + "\": " + pictureProblemText(problem));
        }
    }

    void renderJob(const Job& job, OutputFiles& outputs, CliHost& host) {
        const Timings clock;
        timings.lap();
        bar.restart(L"Reading the model");
        KivModel model = readModel(job);
        timings.add("import", timings.lap());
        if (isInterrupted()) {
            return;
        }
        const std::uint64_t triangles = countTriangles(model);
        drawnTriangles = triangles;
        const KivCamera camera = prepareScene(model);
        timings.add("framing", timings.lap());
        if (warmUp.valid()) {
            warmUp.get();
            timings.add("wait for OpenGL", timings.lap());
        }
        if (options.drawing.sheet.scale > 0.0 && camera.getProjection() != KivCamera::orthographic) {
            throw UsageError("--scale needs a parallel view; add --ortho 0 or --view front, for example");
        }
        DrawingFiles drawing(options.drawing);
        plan.objects = options.objectLayers ? objectLabels(model.meshNames) : std::vector<std::string>();
        const std::unique_ptr<LayerFolder> layerFolder =
            job.layers.empty() ? nullptr : std::make_unique<LayerFolder>(job.layers, layerNames(plan));
        apart.reset();
        for (const auto& output : outputs) {
            const bool isDone = output->isDrawing()   ? drawVector(model, camera, triangles, *output, drawing, host)
                                : output->isLayered() ? drawLayers(*model.scene, camera, *output, host)
                                                      : drawPicture(*model.scene, camera, *output, host);
            if (!isDone) {
                return;
            }
        }
        if (layerFolder) {
            if (!takeLayers(*model.scene, camera, *outputs.front(), host)) {
                return;
            }
            layerFolder->write(apart->layers, host);
        }
        timings.lap();
        for (const auto& output : outputs) {
            output->finish();
        }
        if (layerFolder) {
            layerFolder->finish();
        }
        timings.add("put in place", timings.lap());
        bar.finish();
        for (const auto& output : outputs) {
            report(*output, triangles, clock.total());
        }
    }

    KivModel readModel(const Job& job) {
        return readModel(job, Pose());
    }

    KivModel readModel(const Job& job, const Pose& pose) {
        KivModel model;
        if (job.models.empty()) {
            std::vector<kivimport::ModelParts> parts;
            parts.push_back(makeDemoModel());
            model.files.emplace_back().path = L"demo";
            kivimport::assembleModel(parts, KivModelOptions().creaseAngle, model);
            chooseObjects(model);
            return model;
        }
        KivModelOptions modelOptions;
        if (options.upAxis != 0) {
            modelOptions.upAxis = options.upAxis == 'z' ? KivModelOptions::Axis::z : KivModelOptions::Axis::y;
        }
        modelOptions.deflection = options.deflection;
        modelOptions.picturePixels = std::max(options.width, options.height);
        modelOptions.unitsPerPixel = unitsPerPixel();
        modelOptions.clip = kivFromUtf8(pose.clip);
        modelOptions.clipSeconds = pose.seconds;
        modelOptions.placedLike = pose.like;
        const bool isFirst = pose.like == nullptr;
        std::wstring message;
        modelOptions.progress = [this, isFirst](double done) {
            return isFirst ? bar.showDone(done) : !isInterrupted();
        };
        const bool isRead = kivImportModels(job.models, modelOptions, model, message);
        if (isFirst) {
            bar.finish();
        }
        if (!isRead && !isInterrupted()) {
            throw std::runtime_error(kivToUtf8(message));
        }
        for (std::size_t i = 0; isFirst && i < model.warnings.size(); ++i) {
            printWarning(kivToUtf8(model.warnings[i]));
        }
        if (isRead) {
            chooseObjects(model);
        }
        return model;
    }

    // How much of the model a pixel shows, where the options tell; 0 where the model is framed.
    double unitsPerPixel() const {
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

    void chooseObjects(KivModel& model) const {
        if (options.objects.isEmpty()) {
            return;
        }
        const unsigned int before = model.scene->numMeshes();
        for (const std::wstring& pattern : kivChooseObjects(model, options.objects)) {
            printWarning("no object is called \"" + kivToUtf8(pattern) +
                         "\"; \"selvarin info MODEL\" lists the objects");
        }
        if (before > 0 && model.scene->numMeshes() == 0) {
            throw std::runtime_error("--only and --hide leave nothing to draw");
        }
    }

    static std::uint64_t countTriangles(const KivModel& model) {
        std::uint64_t count = 0;
        for (const KivModelFileInfo& file : model.files) {
            count += file.triangles;
        }
        return count;
    }

    // --- camera and lights ---

    KivCamera prepareScene(const KivModel& model) {
        const std::vector<Kiv3DPoint> points = scenePoints(*model.scene);
        const ChosenView view = chooseCamera(model, points);
        if (view.passesOverCameras) {
            printWarning("the model's own camera shows nothing of it; the model is framed instead");
        }
        if (const std::string why = whyNothingIsSeen(points, view.camera, options.height); !why.empty()) {
            printWarning("the camera sees nothing: " + why);
        }
        for (KivLight& light : chooseLights(model, points, view.axes)) {
            model.scene->addLight(light);
        }
        return view.camera;
    }

    static Kiv3DPoint pointOf(const Triple& t) {
        return {t.x, t.y, t.z};
    }
    static Kiv3DVector vectorOf(const Triple& t) {
        return {t.x, t.y, t.z};
    }

    ViewChoice viewChoice(const KivModel& model) const {
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

    ChosenView chooseCamera(const KivModel& model, const std::vector<Kiv3DPoint>& points) const {
        try {
            return chooseView(viewChoice(model), model.cameras, model.up, points,
                              static_cast<double>(options.width) / options.height);
        } catch (const std::invalid_argument&) {
            throw UsageError("--eye and --target are the same place");
        }
    }

    std::vector<KivLight> chooseLights(const KivModel& model, const std::vector<Kiv3DPoint>& points,
                                       const ViewAxes& axes) const {
        if (options.lights.empty()) {
            return model.lights.empty() ? defaultLights(axes, points) : model.lights;
        }
        std::vector<KivLight> lights;
        for (const LightOption& option : options.lights) {
            KivLight light = option.kind == LightOption::Kind::directional
                                 ? directionalLight(vectorOf(option.place), points)
                                 : placedLight(model.toScene(pointOf(option.place)), vectorOf(option.direction),
                                               option.angle * pi / 180.0);
            setLightColour(light, option.colour);
            lights.push_back(light);
        }
        return lights;
    }

    // --- the render ---

    KivCommonSettings settingsFor(const OutputFile& output) const {
        return settingsFor(output.isDrawing(), output.workName());
    }

    KivCommonSettings settingsFor(bool isDrawing, const std::string& workName) const {
        KivCommonSettings settings;
        settings.setAntialias(options.antialias);
        settings.setBackgroundColor(background);
        settings.setAmbientLight(options.ambient);
        settings.setTransparencies(options.transparency || !options.objects.ghost.empty());
        settings.setPolygonOffset(options.offset);
        settings.setShadows(options.shadows);
        if (isDrawing) {
            settings.setVectorial(true);
            return settings;
        }
        settings.setBackgroundImage(kivFromUtf8(options.backgroundImage).c_str());
        settings.setPaperImage(kivFromUtf8(paper).c_str());
        settings.setSaveDepth(options.depthImage);
        settings.setSaveShadows(options.shadowImage);
        settings.setSaveRender(true);
        settings.setSaveRenderFile(kivFromUtf8(workName).c_str());
        return settings;
    }

    // False if it was cancelled.
    bool drawPicture(const KivScene& scene, const KivCamera& camera, const OutputFile& output, CliHost& host) {
        host.forgetImage();
        host.takeMessages();
        if (isPoster()) {
            return drawInTiles(scene, camera, output, host);
        }
        if (options.noBackground) {
            return drawWithoutBackground(scene, camera, output, host);
        }
        KivMemoryCommonDataManager common;
        settingsFor(output).saveDataOnHost(&common);
        const Timings::Clock::time_point start = Timings::Clock::now();
        const bool done = drawOnce(scene, camera, common, host);
        const Timings::Clock::time_point end = Timings::Clock::now();
        bar.finish();
        if (isInterrupted()) {
            return false;
        }
        tellOutcome(output, done, done && host.wasImageSaved(), host);
        addRenderTimings(start, end, host.encodeMilliseconds());
        return true;
    }

    // The same for a picture that is larger than a surface.
    bool drawInTiles(const KivScene& scene, const KivCamera& camera, const OutputFile& output, CliHost& host) {
        const KivCommonSettings settings = settingsFor(output);
        timings.lap();
        const PosterOutcome outcome = drawPoster({{options.width, options.height}, options.tile, settings}, renderer,
                                                 stream, scene, camera, host, bar);
        timings.add("tiles", timings.lap());
        bar.finish();
        if (isInterrupted()) {
            return false;
        }
        lastError = outcome.error;
        tellOutcome(output, outcome.isDrawn, outcome.isSaved, host);
        return true;
    }

    bool drawWithoutBackground(const KivScene& scene, const KivCamera& camera, const OutputFile& output,
                               CliHost& host) {
        KivCommonSettings settings = settingsFor(output);
        std::unique_ptr<KivImage> onPaper;
        if (!paper.empty()) {
            onPaper = drawInMemory(scene, camera, settings, black, host);
            settings.setPaperImage(L"");
        }
        const bool isDrawn = paper.empty() || onPaper != nullptr;
        const auto onBlack = isDrawn ? drawInMemory(scene, camera, settings, black, host) : nullptr;
        settings.setSaveDepth(false); // once is enough
        settings.setSaveShadows(false);
        const auto onWhite = onBlack ? drawInMemory(scene, camera, settings, white, host) : nullptr;
        bar.finish();
        if (isInterrupted()) {
            return false;
        }
        bool isSaved = false;
        if (onWhite) {
            timings.lap();
            const auto picture = pictureWithoutBackground(*onBlack, *onWhite, onPaper.get());
            isSaved = picture && host.savePicture(*picture, output.workName());
            lastError = kivGetLastError();
            timings.add("coverage and encoding", timings.lap());
        }
        tellOutcome(output, onWhite != nullptr, isSaved, host);
        return true;
    }

    // False if it was cancelled.
    bool drawLayers(const KivScene& scene, const KivCamera& camera, const OutputFile& output, CliHost& host) {
        host.takeMessages();
        if (!takeLayers(scene, camera, output, host)) {
            return false;
        }
        timings.lap();
        const std::vector<std::uint8_t> bytes = openRasterFile(apart->layers, *apart->merged);
        const bool isSaved = !bytes.empty() && host.saveFile(bytes, output.workName());
        lastError = kivGetLastError();
        timings.add("encoding", timings.lap());
        tellOutcome(output, true, isSaved, host);
        return true;
    }

    // Fills in the layers, once for all files. False if it was cancelled.
    bool takeLayers(const KivScene& scene, const KivCamera& camera, const OutputFile& output, CliHost& host) {
        if (!apart) {
            KivCommonSettings settings = settingsFor(output);
            settings.setVectorial(false);
            settings.setSaveDepth(false);
            settings.setSaveShadows(false);
            apart = takeApart(
                plan, [&](const LayerContent& content) { return drawContent(scene, camera, settings, content, host); });
            bar.finish();
            if (isInterrupted()) {
                return false;
            }
            if (!apart) {
                tellOutcome(output, false, false, host);
            }
        }
        return true;
    }

    std::unique_ptr<KivImage> drawContent(const KivScene& scene, const KivCamera& camera, KivCommonSettings settings,
                                          const LayerContent& content, CliHost& host) {
        LookOptions look = options;
        look.withoutBackdrop = look.withoutBackdrop || !content.ground;
        look.withoutLines = !content.lines;
        look.withoutHighlights = !content.highlights;
        if (!content.base) {
            look.base.clear();
            look.baseChosen = true;
        }
        KivMemoryDataManager lookStream;
        buildShaderStream(look, lookStream);
        settings.setPaperImage(content.paper ? kivFromUtf8(paper).c_str() : L"");
        settings.setBackgroundImage(content.ground ? kivFromUtf8(options.backgroundImage).c_str() : L"");
        settings.setShadows(options.shadows && content.shadows);
        shownStream = &lookStream;
        const OnlyObject only(scene, content.object);
        const std::uint32_t ground = options.noBackground ? white : background;
        auto picture = drawInMemory(content.scene ? only.shown() : KivScene(), camera, settings,
                                    content.background.value_or(ground), host);
        shownStream = &stream;
        return picture;
    }

    // The picture of one of several renders; null if there is none.
    std::unique_ptr<KivImage> drawInMemory(const KivScene& scene, const KivCamera& camera, KivCommonSettings settings,
                                           std::uint32_t backgroundColour, CliHost& host) {
        settings.setSaveRender(false);
        settings.setBackgroundColor(backgroundColour);
        KivMemoryCommonDataManager common;
        settings.saveDataOnHost(&common);
        std::unique_ptr<KivImage> picture;
        const Timings::Clock::time_point start = Timings::Clock::now();
        const bool done = drawOnce(scene, camera, common, host, &picture);
        addRenderTimings(start, Timings::Clock::now(), 0.0);
        return done ? std::move(picture) : nullptr;
    }

    // The same; the view is rendered for the first of its drawings alone.
    bool drawVector(const KivModel& model, const KivCamera& camera, std::uint64_t triangles, const OutputFile& output,
                    DrawingFiles& drawing, CliHost& host) {
        host.forgetImage();
        host.takeMessages();
        if (!drawing.isCollected()) {
            growVectorBuffer(triangles * vectorFloatsPerTriangle);
            KivMemoryCommonDataManager common;
            settingsFor(output).saveDataOnHost(&common);
            const Timings::Clock::time_point start = Timings::Clock::now();
            drawing.collect(model, [&] { return drawGrowing(*model.scene, camera, common, host); });
            addRenderTimings(start, Timings::Clock::now(), 0.0);
        }
        bool isWritten = false;
        if (drawing.isCollected()) {
            timings.lap();
            kivSetLastError(0);
            isWritten = drawing.write(output, isBackgroundWanted);
            lastError = kivGetLastError();
            timings.add("writing", timings.lap());
        }
        bar.finish();
        if (isInterrupted()) {
            return false;
        }
        tellOutcome(output, drawing.isCollected(), isWritten, host);
        if (hasPaint(*model.scene)) {
            printWarning("\"" + output.finalName() +
                         "\": textures and colours at vertices are drawn in their mean colours in a vector drawing");
        }
        if (!KivVectorPage::wasOrderExact()) {
            printWarning(
                "so much lies over one another in the drawing that some of it may be painted in the wrong order");
        }
        return true;
    }

    // Nobody can know how large a drawing becomes before it is drawn.
    bool drawGrowing(const KivScene& scene, const KivCamera& camera, KivMemoryCommonDataManager& common,
                     CliHost& host) {
        bool done = drawOnce(scene, camera, common, host);
        while (done && KivVectorPage::hasOverflowed() && growVectorBuffer()) {
            host.takeMessages();
            done = drawOnce(scene, camera, common, host);
        }
        return done;
    }

    // Throws where there is no file; what else the library has told are warnings.
    void tellOutcome(const OutputFile& output, bool isDrawn, bool isSaved, CliHost& host) {
        const std::vector<std::string> messages = host.takeMessages();
        if (!isDrawn || !isSaved || !output.missing().empty()) {
            throw std::runtime_error(renderFailure(output, isDrawn, messages, lastError, host));
        }
        for (const std::string& message : messages) {
            printWarning(message);
        }
    }

    // A render empties its scene: each has a copy, which shares the meshes. picture: gets a copy of what was drawn.
    bool drawOnce(KivScene scene, const KivCamera& camera, KivMemoryCommonDataManager& common, CliHost& host,
                  std::unique_ptr<KivImage>* picture = nullptr) {
        KivBitmapManager surface;
        tagSIZE size{options.width, options.height};
        if (otherProgress == nullptr) {
            bar.restart(L"Starting");
        }
        host.setCurProgress(otherProgress != nullptr ? otherProgress : &bar);
        kivSetLastError(0);
        bool done = false;
        try {
            done = renderer.render(&common, shownStream, &scene, camera, &surface, &size);
        } catch (const KivShader::stopReason&) {
            // Without memory there is a message; without a place for a drawing in progress there is none yet.
            if (host.numMessages() == 0) {
                host.morvaneErrorMessage(kivGetLastError(), temporaryPlace().c_str());
            }
        }
        if (done && picture != nullptr) {
            const std::unique_ptr<KivImage> look = KivImage::fromBitmap(surface.getHBitmap());
            *picture = look ? look->part({0, 0, look->width(), look->height()}) : nullptr;
        }
        // Before the surface goes.
        lastError = kivGetLastError();
        host.setCurProgress(nullptr);
        return done;
    }

    static std::wstring temporaryPlace() {
        return L"The folder for temporary files is \"" + kivTemporaryFolder() + L"\".";
    }

    // The stages of a render as its calls of the progress object show them. The last step is the reduction; between the
    // last drawing and it the picture is read back.
    void addRenderTimings(Timings::Clock::time_point start, Timings::Clock::time_point end, double encode) {
        const std::vector<ProgressBar::Event>& events = bar.events();
        Timings::Clock::time_point drawing = end;
        Timings::Clock::time_point drawn = start;
        Timings::Clock::time_point reducing = end;
        Timings::Clock::time_point reduced = end;
        for (std::size_t i = 0; i < events.size(); ++i) {
            if (events[i].kind == ProgressBar::Event::Kind::begin) {
                drawing = std::min(drawing, events[i].time);
                reducing = events[i].time;
                drawn = i > 0 ? events[i - 1].time : events[i].time;
            } else if (events[i].kind == ProgressBar::Event::Kind::end) {
                reduced = events[i].time;
            }
        }
        timings.add("surface and context", Timings::milliseconds(drawing - start));
        timings.add("passes", Timings::milliseconds(drawn - drawing));
        timings.add("read-back", Timings::milliseconds(reducing - drawn));
        timings.add("reduction", Timings::milliseconds(reduced - reducing));
        timings.add("encoding", encode);
        timings.add("other", Timings::milliseconds(end - reduced) - encode);
    }

    // --- what the user reads ---

    void report(const OutputFile& output, std::uint64_t triangles, double milliseconds) {
        if (!options.quiet && !output.isStream()) {
            std::printf("%s: %dx%d, %llu triangles, %.2f s\n", output.finalName().c_str(), options.width,
                        options.height, static_cast<unsigned long long>(triangles), milliseconds / 1000.0);
        }
        if (options.timings) {
            for (const auto& [what, time] : timings.all()) {
                std::fprintf(stderr, "%8.1f ms  %s\n", time, what.c_str());
            }
            std::fprintf(stderr, "%8.1f ms  in all\n", timings.total());
            timings = Timings();
        }
    }

    const RenderOptions& options;
    std::string paper; // its file
    Timings timings;
    ProgressBar bar;
    std::uint32_t background = 0;
    bool isBackgroundWanted = false; // on paper too
    unsigned long lastError = 0;     // of the last render
    std::uint64_t drawnTriangles = 0;
    KivProgress* otherProgress = nullptr; // in place of the bar, which shows more than one render
    KivMemoryDataManager stream;
    KivMemoryDataManager* shownStream = &stream; // of the render at hand
    LayerPlan plan;
    std::optional<LayeredPicture> apart; // of the job at hand
    KivRenderer renderer;
    std::future<bool> warmUp; // its destructor waits for the thread
};

} // namespace

int runRender(const RenderOptions& options) {
    return RenderCommand(options).run();
}

int runFrames(const RenderOptions& options, FrameMaker& maker) {
    return RenderCommand(options).runFrames(maker);
}

RenderTold renderWithin(const RenderOptions& options, CliHost& host) {
    RenderCommand command(options);
    command.runWithin(host);
    return {command.numTriangles()};
}
