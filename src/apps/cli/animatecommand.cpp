#include "apps/cli/animatecommand.h"

#include "apps/cli/camerapath.h"
#include "apps/cli/clusterwork.h"
#include "apps/cli/contenthash.h"
#include "apps/cli/exitstatus.h"
#include "apps/cli/outputfile.h"
#include "apps/cli/progressbar.h"
#include "apps/cli/rendercommand.h"
#include "apps/cli/turntable.h"
#include "apps/common/filmwriter.h"
#include "import/kivmodelimport.h"
#include "kivrender/platform/kivimage.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtext.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <numbers>

namespace fs = std::filesystem;

namespace {

constexpr double mostFrames = 1e6;

struct FilmOptions {
    std::string output;
    int framesPerSecond = 25;
    double seconds = 0.0;
    double turn = 360.0; // degrees
    std::optional<CameraPath> path;
    std::string clip;
    double clipLength = 0.0;         // seconds
    std::vector<std::size_t> frames; // those to draw
    bool keepsPart = false;
    bool quiet = false;
    bool onCluster = false;
    ClusterOptions cluster;
    std::string task; // the folder of the work that this process is a task of; empty for none
};

double number(const Words& words, const char* name, double initial, double least, double most) {
    const auto text = words.value(name);
    if (!text) {
        return initial;
    }
    double value = 0.0;
    const auto [end, problem] = std::from_chars(text->data(), text->data() + text->size(), value);
    if (problem != std::errc{} || end != text->data() + text->size() || !(value >= least && value <= most)) {
        char expected[96];
        std::snprintf(expected, sizeof expected, "number: %g to %g is expected", least, most);
        refuseValue(name, *text, expected);
    }
    return value;
}

// The name of a frame: %d, or %04d for four digits, stands for its number.
std::string frameName(const std::string& pattern, std::size_t frame) {
    const std::size_t at = pattern.find('%');
    if (at == std::string::npos) {
        return {};
    }
    std::size_t end = at + 1;
    std::size_t width = 0;
    while (end < pattern.size() && pattern[end] >= '0' && pattern[end] <= '9' && width < 20) {
        width = width * 10 + static_cast<std::size_t>(pattern[end++] - '0');
    }
    if (end >= pattern.size() || pattern[end] != 'd' || width > 20 || pattern.find('%', end) != std::string::npos) {
        return {};
    }
    std::string digits = std::to_string(frame);
    digits.insert(0, width > digits.size() ? width - digits.size() : 0, '0');
    return pattern.substr(0, at) + digits + pattern.substr(end + 1);
}

bool isFilm(const std::string& output) {
    return FilmWriter::isFilmName(output) && output.find('%') == std::string::npos;
}

void checkOutput(const std::string& output) {
    if (output.empty()) {
        throw UsageError("-o FILE is needed: film.mp4, film.webm, film.gif or frames/%04d.png");
    }
    if (isFilm(output)) {
        return;
    }
    const std::string name = frameName(output, 1);
    if (name.empty()) {
        throw UsageError("\"" + output +
                         "\": a film ends in mp4, webm or gif, and the name of frames has their number in it, such as "
                         "frames/%04d.png");
    }
    if (!isPictureName(name) && !isDrawingName(name)) {
        throw UsageError("\"" + output + "\": frames can't be written so; see \"selvarin formats\"");
    }
}

// In seconds. Throws std::runtime_error for models without such an animation.
double lengthOfClip(const Words& words, const std::string& clip) {
    std::vector<std::wstring> models;
    for (const std::string& model : words.arguments) {
        models.push_back(kivFromUtf8(model));
    }
    if (clip.empty() || models.empty()) {
        throw UsageError("--clip wants the name of an animation of a model; \"selvarin info\" lists them");
    }
    KivModelOptions options;
    options.clip = kivFromUtf8(clip);
    KivModel model;
    std::wstring message;
    if (!kivImportModels(models, options, model, message)) {
        throw std::runtime_error(kivToUtf8(message));
    }
    const auto found = std::find(model.animations.begin(), model.animations.end(), options.clip);
    const auto number = found != model.animations.end() ? static_cast<std::size_t>(found - model.animations.begin())
                                                        : static_cast<std::size_t>(std::atol(clip.c_str()));
    return number < model.animationSeconds.size() ? model.animationSeconds[number] : 0.0;
}

FilmOptions readOptions(const Words& words) {
    FilmOptions options;
    options.output = words.value("output").value_or("");
    checkOutput(options.output);
    options.framesPerSecond = static_cast<int>(number(words, "fps", 25, 1, 240));
    options.clip = words.value("clip").value_or("");
    if (words.has("clip")) {
        options.clipLength = lengthOfClip(words, options.clip);
    }
    options.turn = number(words, "turntable", words.has("clip") ? 0 : 360, -36000, 36000);
    if (const auto path = words.value("path")) {
        if (words.has("turntable")) {
            throw UsageError("--turntable and --path are two ways to move; leave one out");
        }
        options.path = CameraPath::fromFile(*path);
    }
    double length = options.clipLength > 0.0 ? options.clipLength : 8.0;
    length = options.path ? options.path->end() - options.path->begin() : length;
    options.seconds = number(words, "seconds", length, 1e-3, 1e6);
    const double frames = std::max(1.0, std::round(options.seconds * options.framesPerSecond));
    if (frames > mostFrames) {
        throw UsageError("that would be more than a million frames");
    }
    const auto first = static_cast<std::size_t>(number(words, "from", 0, 0, mostFrames));
    const auto last = static_cast<std::size_t>(number(words, "to", frames - 1, 0, mostFrames));
    for (std::size_t frame = first; frame <= last && frame < static_cast<std::size_t>(frames); ++frame) {
        options.frames.push_back(frame);
    }
    if (options.frames.empty()) {
        throw UsageError("--from and --to leave no frame");
    }
    options.keepsPart = words.has("keep-part");
    options.quiet = words.has("quiet");
    options.onCluster = words.has("slurm");
    options.cluster = parseClusterOptions(words);
    options.task = words.value("slurm-task").value_or("");
    return options;
}

// How the camera moves, and where the pictures go.
class Film : public FrameMaker {
public:
    // task: gets each frame that is drawn; may be null.
    Film(const FilmOptions& wanted, const RenderOptions& renderOptions, ClusterTask* clusterTask = nullptr)
        : options(wanted), render(renderOptions), task(clusterTask) {
        if (isFilm(options.output)) {
            if (render.width % 2 != 0 || render.height % 2 != 0) {
                throw UsageError("a film has an even width and height");
            }
            file = std::make_unique<FilmFile>(options.output);
            writer = std::make_unique<FilmWriter>(file->work(), tagSIZE{render.width, render.height},
                                                  options.framesPerSecond);
        } else {
            const fs::path folder = fs::path(frameName(options.output, 0)).parent_path();
            std::error_code problem;
            fs::create_directories(folder.empty() ? fs::path(".") : folder, problem);
        }
    }

    std::size_t count() const override {
        return options.frames.size();
    }

    std::vector<Kiv3DPoint> framed(const std::vector<Kiv3DPoint>& points, const KivModel& model) const override {
        return options.path ? points : sweptPoints(points, model.up);
    }

    bool fitsOwnCamera() const override {
        return !options.path;
    }

    ChosenView view(std::size_t index, const ChosenView& chosen, const std::vector<Kiv3DPoint>& points,
                    const KivModel& model) const override {
        begun = Clock::now();
        const auto frame = static_cast<double>(options.frames[index]);
        return options.path ? viewOnPath(frame, chosen, points, model) : turnedView(frame, chosen, points, model);
    }

    std::string clip() const override {
        return options.clip;
    }

    // A film that is longer than the clip shows it again.
    double clipSeconds(std::size_t index) const override {
        const double seconds = static_cast<double>(options.frames[index]) / options.framesPerSecond;
        return options.clipLength > 0.0 ? std::fmod(seconds, options.clipLength) : 0.0;
    }

    std::string drawingName(std::size_t index) const override {
        const std::string name =
            isFilm(options.output) ? std::string() : frameName(options.output, options.frames[index]);
        return isDrawingName(name) ? name : std::string();
    }

    void take(std::size_t index, const KivImage& picture) override {
        if (writer) {
            writer->add(picture);
        } else {
            savePicture(frameName(options.output, options.frames[index]), picture);
        }
        ++numTaken;
    }

    void drawn(std::size_t index) override {
        if (task != nullptr) {
            const std::chrono::duration<double> taken = Clock::now() - begun;
            task->done(std::to_string(options.frames[index]), {taken.count(), ""});
        }
    }

    void finish() override {
        if (writer) {
            writer->finish();
            file->finish();
        }
    }

    // After a cancel: a film that ends early, where that is wanted.
    void finishPart() {
        if (writer && options.keepsPart && numTaken > 0) {
            finish();
        }
    }

    std::size_t numFrames() const {
        return numTaken;
    }

private:
    // A file under another name until it is complete.
    class FilmFile {
    public:
        explicit FilmFile(const std::string& name) : output(name, {}, OutputFile::Accepts::films) {}
        const std::string& work() const {
            return output.workName();
        }
        void finish() {
            output.finish();
        }

    private:
        OutputFile output;
    };

    // The model turns and the camera stands: the camera goes round the other way, and its lights with it.
    ChosenView turnedView(double frame, const ChosenView& chosen, const std::vector<Kiv3DPoint>& points,
                          const KivModel& model) const {
        const double frames = std::max(1.0, std::round(options.seconds * options.framesPerSecond));
        const double angle = -options.turn * std::numbers::pi / 180.0 * frame / frames;
        const Kiv3DPoint middle = middleOf(points);
        const Kiv3DPoint eye = chosen.camera.getLocation();
        const Kiv3DVector out = turned({eye.x - middle.x, eye.y - middle.y, eye.z - middle.z}, model.up, angle);
        ChosenView view = chosen;
        view.axes = {turned(chosen.axes.right, model.up, angle), turned(chosen.axes.up, model.up, angle),
                     turned(chosen.axes.forward, model.up, angle)};
        view.camera = makeCamera(points, {middle.x + out.x, middle.y + out.y, middle.z + out.z}, view.axes, view.lens);
        return view;
    }

    ChosenView viewOnPath(double frame, const ChosenView& chosen, const std::vector<Kiv3DPoint>& points,
                          const KivModel& model) const {
        const CameraPath& path = *options.path;
        const double length = path.end() - path.begin();
        const CameraKey key = path.at(path.begin() + frame / options.framesPerSecond * length / options.seconds);
        const Kiv3DPoint eye = model.toScene({key.eye.x, key.eye.y, key.eye.z});
        const Kiv3DPoint target = model.toScene({key.target.x, key.target.y, key.target.z});
        ChosenView view = chosen;
        view.lens.verticalFov = key.fov.value_or(chosen.lens.verticalFov);
        view.axes = viewAxes({target.x - eye.x, target.y - eye.y, target.z - eye.z}, model.up);
        view.camera = makeCamera(points, eye, view.axes, view.lens);
        return view;
    }

    static void savePicture(const std::string& name, const KivImage& picture) {
        const auto encoders = kivImageEncoders();
        const std::string ending = fs::path(name).extension().string();
        const std::wstring wide = kivFromUtf8(ending.substr(1));
        for (const KivImageEncoder& encoder : encoders) {
            const bool fits = std::any_of(std::begin(encoder.endings), std::end(encoder.endings),
                                          [&](const wchar_t* e) { return e != nullptr && kivEqualNoCase(wide, e); });
            if (fits) {
                if (picture.save(kivFromUtf8(name), encoder.id) != KivImageStatus::ok) {
                    throw std::runtime_error("can't write \"" + name +
                                             "\": " + kivToUtf8(kivSystemErrorText(kivGetLastError())));
                }
                return;
            }
        }
    }

    using Clock = std::chrono::steady_clock;

    const FilmOptions& options;
    const RenderOptions& render;
    ClusterTask* task;
    mutable Clock::time_point begun; // of the frame
    std::unique_ptr<FilmFile> file;
    std::unique_ptr<FilmWriter> writer; // goes before the file
    std::size_t numTaken = 0;
};

// The rest of the words is one picture's.
Words pictureWords(const Words& words) {
    Words picture = words;
    picture.command = findCommand("render");
    for (const char* own : {"turntable", "path", "clip", "fps", "seconds", "from", "to", "keep-part", "lang", "config",
                            "slurm", "slurm-options", "task-seconds", "slurm-task"}) {
        picture.options.erase(own);
    }
    picture.options["output"] = {"frame.png"};
    const std::string output = words.value("output").value_or("");
    if (const std::string name = frameName(output, 0); isDrawingName(name)) {
        picture.options["output"] = {"frame" + fs::path(name).extension().string()};
    }
    return picture;
}

// --- on a cluster

std::string clusterFrames(const std::string& folder) {
    return folder + "/frame-%06d.png";
}

// Another film, another folder: what its tasks have drawn is of no use to this one.
std::string clusterFolder(const FilmOptions& options, const Words& words) {
    ContentHash hash;
    hash.addText(SELVARIN_VERSION);
    for (const auto& [name, values] : pictureWords(words).options) {
        const OptionInfo* const option = findOption(words.command->options, name);
        for (const std::string& value : values) {
            hash.addText(name + "=" + value);
            if (option != nullptr && option->completes == Completes::file) {
                hash.addFile(value);
            }
        }
    }
    for (const char* const name : {"turntable", "path", "clip", "fps", "seconds"}) {
        hash.addText(words.value(name).value_or(""));
    }
    if (const auto path = words.value("path")) {
        hash.addFile(*path);
    }
    for (const std::string& model : words.arguments) {
        hash.addText(model);
        hash.addFile(model);
    }
    const fs::path output(isFilm(options.output) ? options.output : frameName(options.output, 0));
    hash.addText(output.filename().string());
    const fs::path place = output.parent_path();
    return (place.empty() ? fs::path(".") : place).string() + "/.film-" + hash.digits().substr(0, 16);
}

int drawTask(FilmOptions options, const RenderOptions& render) {
    ClusterTask task(options.task);
    options.frames.clear();
    for (const ClusterUnit& unit : task.units()) {
        options.frames.push_back(static_cast<std::size_t>(std::atol(unit.id.c_str())));
    }
    if (options.frames.empty()) {
        return statusDone;
    }
    if (isFilm(options.output)) {
        options.output = clusterFrames(options.task);
    }
    Film film(options, render, &task);
    return runFrames(render, film);
}

void joinFrames(Film& film, const std::vector<std::size_t>& frames, const std::string& folder) {
    for (std::size_t i = 0; i < frames.size(); ++i) {
        const std::string name = frameName(clusterFrames(folder), frames[i]);
        const std::unique_ptr<KivImage> picture = KivImage::load(kivFromUtf8(name));
        if (!picture) {
            throw std::runtime_error("can't read \"" + name + "\"");
        }
        film.take(i, *picture);
    }
    film.finish();
}

int drawOnCluster(const FilmOptions& options, const RenderOptions& render, const Words& words) {
    Film film(options, render);
    catchInterrupts();
    const std::string folder = clusterFolder(options, words);
    ClusterWork work(folder, words, options.cluster);
    std::vector<ClusterUnit> units;
    for (const std::size_t frame : options.frames) {
        units.push_back({std::to_string(frame), ""});
    }
    ProgressBar bar(ProgressBar::styleFor(options.quiet));
    bar.restart(L"Drawing frames");
    const bool isDone = work.run(units, [&](std::size_t count) {
        bar.showDone(static_cast<double>(count) / static_cast<double>(units.size()));
    });
    bar.finish();
    if (!isDone) {
        return statusCancelled;
    }
    if (!work.problem().empty()) {
        throw std::runtime_error("can't draw the frames: " + work.problem() + " (the logs are in \"" + folder + "\")");
    }
    if (isFilm(options.output)) {
        joinFrames(film, options.frames, folder);
    }
    std::error_code ignored;
    fs::remove_all(folder, ignored);
    return statusDone;
}

void tell(const FilmOptions& options, const RenderOptions& render, double seconds) {
    if (!options.quiet) {
        std::printf("%s: %dx%d, %zu frames, %.1f s\n", options.output.c_str(), render.width, render.height,
                    options.frames.size(), seconds);
    }
}

} // namespace

int runAnimate(const Words& words) {
    const FilmOptions options = readOptions(words);
    RenderOptions render = parseRenderOptions(pictureWords(words));
    render.forFilm = true;
    if (render.noBackground) {
        throw UsageError("--background none is for single pictures");
    }
    if (!options.task.empty()) {
        return drawTask(options, render);
    }
    const auto start = std::chrono::steady_clock::now();
    int status = statusDone;
    if (options.onCluster) {
        status = drawOnCluster(options, render, words);
    } else {
        Film film(options, render);
        status = runFrames(render, film);
        if (status == statusCancelled) {
            film.finishPart();
        }
    }
    if (status == statusDone) {
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        tell(options, render, taken.count());
    }
    return status;
}
