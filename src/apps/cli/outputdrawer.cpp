#include "apps/cli/outputdrawer.h"

#include "apps/cli/clihost.h"
#include "apps/cli/drawingfiles.h"
#include "apps/cli/errorline.h"
#include "apps/cli/objectlayers.h"
#include "apps/cli/outputfile.h"
#include "apps/cli/poster.h"
#include "apps/cli/progressbar.h"
#include "apps/cli/renderfailure.h"
#include "apps/cli/startup.h"
#include "apps/common/coverage.h"
#include "apps/common/openraster.h"
#include "apps/common/shaderstream.h"
#include "apps/common/vectorbuffer.h"
#include "apps/document/drawnlook.h"
#include "apps/document/studiostate.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtemporaryfile.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/render/kivbitmapmanager.h"
#include "kivrender/render/kivtiledrender.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshpaint.h"
#include "kivrender/shader/kivshader.h"
#include "kivrender/vector/kivvectorpage.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

namespace {

constexpr std::uint32_t black = 0x000000;
constexpr std::uint32_t white = 0xFFFFFF;

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

std::wstring temporaryPlace() {
    return L"The folder for temporary files is \"" + kivTemporaryFolder() + L"\".";
}

} // namespace

void OutputDrawer::chooseLook() {
    if (options.documentLook) {
        chooseDocumentLook();
        return;
    }
    const ChosenLook look = buildShaderStream(options, stream);
    shaper = look.shaders.nonCombinable;
    if (shaper.empty() && !look.shaders.combinables.empty()) {
        shaper = look.shaders.combinables.front();
    }
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
}

void OutputDrawer::chooseDocumentLook() {
    const StudioLook look = options.forFilm ? steadyLook(options.document->look) : options.document->look;
    stream = options.noBackground ? bareLook(look).stream() : look.stream();
    const std::optional<std::uint32_t> sheet = sheetColour(look);
    background = sheet.value_or(options.background);
    isBackgroundWanted = sheet || options.backgroundChosen;
}

std::unique_ptr<KivShapesAhead> OutputDrawer::shapesAhead(const KivScene& scene, const KivCamera& camera) const {
    const KivShader* const shader = shaper.empty() ? nullptr : KivShader::getByTag(shaper.c_str());
    return shader == nullptr
               ? nullptr
               : std::make_unique<KivShapesAhead>(scene, camera, tagSIZE{options.width, options.height}, *shader);
}

bool OutputDrawer::isPoster() const {
    return options.tile > 0 || kivNeedsTiles({options.width, options.height}, options.antialias);
}

void OutputDrawer::forgetLayers(std::vector<std::string> objects) {
    plan.objects = std::move(objects);
    apart.reset();
}

std::unique_ptr<KivImage> OutputDrawer::drawInMemory(const KivScene& scene, const KivCamera& camera, CliHost& host) {
    return drawInMemory(scene, camera, settingsFor(false, ""), background, host);
}

KivCommonSettings OutputDrawer::settingsFor(const OutputFile& output) const {
    return settingsFor(output.isDrawing(), output.workName());
}

KivCommonSettings OutputDrawer::settingsFor(bool isDrawing, const std::string& workName) const {
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

bool OutputDrawer::drawPicture(const KivScene& scene, const KivCamera& camera, const OutputFile& output,
                               CliHost& host) {
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

bool OutputDrawer::drawInTiles(const KivScene& scene, const KivCamera& camera, const OutputFile& output,
                               CliHost& host) {
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

bool OutputDrawer::drawWithoutBackground(const KivScene& scene, const KivCamera& camera, const OutputFile& output,
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

bool OutputDrawer::drawLayers(const KivScene& scene, const KivCamera& camera, const OutputFile& output, CliHost& host) {
    host.takeMessages();
    if (takeLayers(scene, camera, output, host) == nullptr) {
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

const LayeredPicture* OutputDrawer::takeLayers(const KivScene& scene, const KivCamera& camera, const OutputFile& output,
                                               CliHost& host) {
    if (!apart) {
        KivCommonSettings settings = settingsFor(output);
        settings.setVectorial(false);
        settings.setSaveDepth(false);
        settings.setSaveShadows(false);
        apart = takeApart(
            plan, [&](const LayerContent& content) { return drawContent(scene, camera, settings, content, host); });
        bar.finish();
        if (isInterrupted()) {
            return nullptr;
        }
        if (!apart) {
            tellOutcome(output, false, false, host);
        }
    }
    return apart ? &*apart : nullptr;
}

std::unique_ptr<KivImage> OutputDrawer::drawContent(const KivScene& scene, const KivCamera& camera,
                                                    KivCommonSettings settings, const LayerContent& content,
                                                    CliHost& host) {
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

std::unique_ptr<KivImage> OutputDrawer::drawInMemory(const KivScene& scene, const KivCamera& camera,
                                                     KivCommonSettings settings, std::uint32_t backgroundColour,
                                                     CliHost& host) {
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

bool OutputDrawer::drawVector(const KivModel& model, const KivCamera& camera, std::uint64_t triangles,
                              const OutputFile& output, DrawingFiles& drawing, CliHost& host) {
    host.forgetImage();
    host.takeMessages();
    const KivDrawingFormat format = output.drawingFormat();
    if (!drawing.isCollected(format)) {
        growVectorBuffer(triangles * vectorFloatsPerTriangle);
        KivMemoryCommonDataManager common;
        settingsFor(output).saveDataOnHost(&common);
        const Timings::Clock::time_point start = Timings::Clock::now();
        drawing.collect(format, model, [&] { return drawGrowing(*model.scene, camera, common, host); });
        addRenderTimings(start, Timings::Clock::now(), 0.0);
    }
    bool isWritten = false;
    if (drawing.isCollected(format)) {
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
    tellOutcome(output, drawing.isCollected(format), isWritten, host);
    if (hasPaint(*model.scene) && !drawing.drawsTextures()) {
        printWarning("\"" + output.finalName() +
                     "\": textures and colours at vertices are drawn in their mean colours in a vector drawing");
    }
    if (hasPaint(*model.scene) && drawing.lacksPictures(format)) {
        printWarning("\"" + output.finalName() +
                     "\": DXF and HPGL have no pictures: textures and colours at vertices are drawn as areas");
    }
    if (!KivVectorPage::wasOrderExact()) {
        printWarning("so much lies over one another in the drawing that some of it may be painted in the wrong order");
    }
    return true;
}

// Nobody can know how large a drawing becomes before it is drawn.
bool OutputDrawer::drawGrowing(const KivScene& scene, const KivCamera& camera, KivMemoryCommonDataManager& common,
                               CliHost& host) {
    bool done = drawOnce(scene, camera, common, host);
    while (done && KivVectorPage::hasOverflowed() && growVectorBuffer()) {
        host.takeMessages();
        done = drawOnce(scene, camera, common, host);
    }
    return done;
}

// Throws where there is no file; what else the library has told are warnings.
void OutputDrawer::tellOutcome(const OutputFile& output, bool isDrawn, bool isSaved, CliHost& host) {
    const std::vector<std::string> messages = host.takeMessages();
    if (!isDrawn || !isSaved || !output.missing().empty()) {
        throw std::runtime_error(renderFailure(output, isDrawn, messages, lastError, host));
    }
    for (const std::string& message : messages) {
        printWarning(message);
    }
}

// A render empties its scene: each has a copy, which shares the meshes. picture: gets a copy of what was drawn.
bool OutputDrawer::drawOnce(KivScene scene, const KivCamera& camera, KivMemoryCommonDataManager& common, CliHost& host,
                            std::unique_ptr<KivImage>* picture) {
    KivBitmapManager surface;
    tagSIZE size{options.width, options.height};
    if (otherProgress == nullptr) {
        bar.goOn(L"Starting");
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

// The stages of a render as its calls of the progress object show them. The last step is the reduction; between the
// last drawing and it the picture is read back.
void OutputDrawer::addRenderTimings(Timings::Clock::time_point start, Timings::Clock::time_point end, double encode) {
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
