#include "apps/cli/rendercommand.h"

#include "apps/cli/clihost.h"
#include "apps/cli/drawingfiles.h"
#include "apps/cli/errorline.h"
#include "apps/cli/exitstatus.h"
#include "apps/cli/layerfolder.h"
#include "apps/cli/objectlayers.h"
#include "apps/cli/outputdrawer.h"
#include "apps/cli/outputfile.h"
#include "apps/cli/poster.h"
#include "apps/cli/progressbar.h"
#include "apps/cli/scenechoice.h"
#include "apps/cli/startup.h"
#include "apps/cli/timings.h"
#include "apps/common/papers.h"
#include "apps/common/pictureproblem.h"
#include "apps/document/documentscene.h"
#include "kivrender/platform/kivglwarmup.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/render/kivshapesahead.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/shader/kivshaderstencil.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <future>
#include <memory>
#include <set>
#include <stdexcept>

namespace {

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
    if (options.document) {
        const std::string stem = std::filesystem::path(options.models.front()).stem().string();
        return {{options.document->models, outputNames(options, stem), {}}};
    }
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

using OutputFiles = std::vector<std::unique_ptr<OutputFile>>;

class RenderCommand {
public:
    explicit RenderCommand(const RenderOptions& renderOptions)
        : options(renderOptions), bar(ProgressBar::styleFor(options.quiet)) {}

    int run() {
        const std::vector<Job> jobs = planJobs(options);
        checkImage(options.backgroundImage);
        choosePaper();
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
        choosePaper();
        OutputFiles outputs = openOutputs(jobs.front());
        return drawJobs(jobs, outputs, host);
    }

    std::uint64_t numTriangles() const {
        return drawnTriangles;
    }

    int runFrames(FrameMaker& maker) {
        checkImage(options.backgroundImage);
        choosePaper();
        catchInterrupts();
        const Program program;
        chooseLook(program.host(), maker.count() > 0 && !maker.drawingName(0).empty());
        const std::vector<Job> jobs = planJobs(options);
        bar.restart(L"Reading the model");
        KivModel model = choice.read(jobs.front().models, poseOf(maker, 0, nullptr));
        if (isInterrupted()) {
            return statusCancelled;
        }
        return drawFrames(jobs.front(), model, maker, program.host()) ? statusDone : statusCancelled;
    }

private:
    static ModelPose poseOf(const FrameMaker& maker, std::size_t frame, const KivModel* like) {
        const std::string clip = maker.clip();
        return {clip, clip.empty() ? 0.0 : maker.clipSeconds(frame), like};
    }

    // Where a model that moves comes to in a film, from some of its frames.
    std::vector<Kiv3DPoint> pointsOfFilm(const Job& job, const KivModel& model, const FrameMaker& maker) {
        constexpr std::size_t most = 8;
        std::vector<Kiv3DPoint> points = scenePoints(*model.scene);
        const std::size_t step = std::max<std::size_t>(1, maker.count() / most);
        for (std::size_t i = step; !maker.clip().empty() && i < maker.count() && !isInterrupted(); i += step) {
            const KivModel other = choice.read(job.models, poseOf(maker, i, &model));
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
        const ChosenView chosen = choice.filmView(model, points, maker.fitsOwnCamera());
        KivModel posed; // its scene holds the meshes that the frame's scene shows
        KivScene bare = *model.scene;
        const std::uint64_t triangles = countTriangles(model);
        CancelProgress cancel;
        drawer.setProgress(&cancel);
        bar.restart(L"Drawing frames");
        const auto start = Timings::Clock::now();
        for (std::size_t i = 0; i < maker.count(); ++i) {
            const ChosenView view = maker.view(i, chosen, points, model);
            if (i > 0 && !maker.clip().empty()) {
                posed = choice.read(job.models, poseOf(maker, i, &model));
                if (!posed.scene) {
                    return false;
                }
                bare = *posed.scene;
            }
            model.scene = std::make_unique<KivScene>(bare);
            for (KivLight& light : choice.lights(model, points, view.axes)) {
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

    bool drawFrame(std::size_t frame, const KivModel& model, const KivCamera& camera, std::uint64_t triangles,
                   FrameMaker& maker, CliHost& host) {
        if (const std::string name = maker.drawingName(frame); !name.empty()) {
            OutputFile output(name, {}, OutputFile::Accepts::picturesAndDrawings);
            DrawingFiles drawing(options.drawing);
            if (!drawer.drawVector(model, camera, triangles, output, drawing, host)) {
                return false;
            }
            output.finish();
            return true;
        }
        host.takeMessages();
        const auto picture = drawer.drawInMemory(*model.scene, camera, host);
        if (isInterrupted()) {
            return false;
        }
        if (!picture) {
            const std::vector<std::string> messages = host.takeMessages();
            throw std::runtime_error(
                "can't render frame " + std::to_string(frame) + ": " +
                (messages.empty() ? kivToUtf8(kivSystemErrorText(drawer.lastProblem())) : messages.front()));
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
        chooseLook(host, isOfDrawings(jobs.front()));
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

    static bool isOfDrawings(const Job& job) {
        return job.layers.empty() && std::ranges::all_of(job.outputs, isDrawingName);
    }

    // forDrawings: no picture is the first to be drawn.
    void chooseLook(CliHost& host, bool forDrawings) {
        drawer.chooseLook();
        host.setMemoryFolder(kivFromUtf8(options.memoryFolder));
        timings.add("shaders", timings.lap());
        // The driver is as slow to start as a model is to read, and there is a second core for it.
        static bool isWarm = false;
        if (!isWarm) {
            warmUp = std::async(std::launch::async,
                                [size = renderSize(forDrawings), stencil = kivNeedsStencil(options.shadows)] {
                                    return kivWarmUpGl(size, stencil);
                                });
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
            if (drawer.isPoster() && !isDrawingName(name)) {
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

    tagSIZE renderSize(bool isDrawing) const {
        // Sizes that can't be drawn are refused by the surface; here they must not run over.
        const auto enlarge = [times = isDrawing ? 0 : options.antialias](std::int64_t v) {
            return static_cast<std::int32_t>(std::min<std::int64_t>(v << times, 1 << 20));
        };
        return {enlarge(options.width), enlarge(options.height)};
    }

    void choosePaper() {
        const std::string paper = findPaper(options.paper);
        checkImage(paper);
        drawer.setPaper(paper);
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
        std::unique_ptr<ObjectLooks> looks;
        KivModel model = choice.read(job.models, {}, &looks);
        timings.add("import", timings.lap());
        if (isInterrupted()) {
            return;
        }
        const std::uint64_t triangles = countTriangles(model);
        drawnTriangles = triangles;
        bar.goOn(L"Starting");
        const KivCamera camera = choice.prepare(model);
        timings.add("framing", timings.lap());
        std::unique_ptr<KivShapesAhead> shapes;
        if (warmUp.valid()) {
            shapes = drawer.shapesAhead(*model.scene, camera);
            timings.add("shapes", timings.lap());
            warmUp.get();
            timings.add("wait for OpenGL", timings.lap());
        }
        if (options.drawing.sheet.scale > 0.0 && camera.getProjection() != KivCamera::orthographic) {
            throw UsageError("--scale needs a parallel view; add --ortho 0 or --view front, for example");
        }
        DrawingFiles drawing(options.drawing);
        drawer.forgetLayers(options.objectLayers ? objectLabels(model.meshNames) : std::vector<std::string>());
        const std::unique_ptr<LayerFolder> layerFolder =
            job.layers.empty() ? nullptr : std::make_unique<LayerFolder>(job.layers, layerNames(drawer.layerPlan()));
        for (const auto& output : outputs) {
            const bool isDone = output->isDrawing()
                                    ? drawer.drawVector(model, camera, triangles, *output, drawing, host)
                                : output->isLayered() ? drawer.drawLayers(*model.scene, camera, *output, host)
                                                      : drawer.drawPicture(*model.scene, camera, *output, host);
            if (!isDone) {
                return;
            }
        }
        if (layerFolder) {
            const LayeredPicture* const apart = drawer.takeLayers(*model.scene, camera, *outputs.front(), host);
            if (apart == nullptr) {
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
    Timings timings;
    ProgressBar bar;
    SceneChoice choice{options, bar};
    OutputDrawer drawer{options, bar, timings};
    std::uint64_t drawnTriangles = 0;
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
