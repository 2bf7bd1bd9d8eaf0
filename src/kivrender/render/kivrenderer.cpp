#include "kivrender/render/kivrenderer.h"

#include "kivrender/host/kivhostapplicationservices.h"
#include "kivrender/host/kivlanguage.h"
#include "kivrender/lines/kivvectordrawing.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/render/kivbitmapmanager.h"
#include "kivrender/render/kivdrawingcollector.h"
#include "kivrender/render/kivlinesahead.h"
#include "kivrender/render/kivmeshwalk.h"
#include "kivrender/render/kivrenderforecast.h"
#include "kivrender/render/kivshapedscene.h"
#include "kivrender/render/kivstreamlines.h"
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/settings/kivdatamanager.h"
#include "kivrender/shader/kivcombinableshader.h"
#include "kivrender/shader/kivnoncombinableshader.h"
#include "kivrender/shader/kivobjectnumbers.h"
#include "kivrender/shader/kivpicturetile.h"
#include "kivrender/shader/kivshadershape.h"
#include "kivrender/shadow/kivshadows.h"

#include <algorithm>
#include <cstdint>
#include <cwchar>
#include <limits>
#include <new>
#include <stdexcept>

namespace {

// For every render the same; the units come from the settings.
constexpr float polygonOffsetFactor = 2.5F;

constexpr unsigned int textOrderingTriangles = 28;
constexpr unsigned int textBrokenMeshes = 1006;
constexpr unsigned int textHolesNotCut = 132;

bool isCancelled(KivProgress* progress) {
    return progress != nullptr && progress->isCancelled();
}

// What follows a header of the stream, which is passed over by its length without looking at it. A line shorter than
// its header has nothing behind it.
wchar_t* behindHeader(wchar_t* line, const wchar_t* header) {
    return line + std::min(std::wcslen(line), std::wcslen(header));
}

// A side of the picture at an antialias level. The result is brought into the range of a side, where the surface
// refuses what is too large.
std::int32_t scaledSide(std::int32_t side, int level) {
    const std::int64_t factor = std::int64_t{1} << std::clamp(level, 0, 30);
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(side * factor, std::numeric_limits<std::int32_t>::min(),
                                                              std::numeric_limits<std::int32_t>::max()));
}

// For bars that show time; one that does not ask loses next to nothing by it.
void forecastProgress(tagSIZE size, tagSIZE finalSize, const KivScene& scene, const KivCamera& camera,
                      const KivCommonSettings& settings, bool hasNonCombinable, int namedShaders) {
    int combinables = 0;
    for (unsigned long i = 0; i < KivShader::shaders(); ++i) {
        const KivShader* const shader = KivShader::getByIndex(i);
        combinables += shader != nullptr && kivIsCombinable(*shader) ? 1 : 0;
    }
    const KivSceneWork work(scene, camera, size);
    const double finalPixels = static_cast<double>(finalSize.cx) * finalSize.cy / 1e6;
    const KivRenderForecast::Shaders shaders{hasNonCombinable, namedShaders, combinables,
                                             namedShaders > 0 && kivFindsLinesAhead(scene, settings)};
    kivSetProgressForecast(KivRenderForecast(work, settings, finalPixels, shaders).get());
}

// Told once, however many meshes stay whole.
void cutHoles(KivShapedScene& shaped, const KivCamera& camera, tagSIZE size) {
    KivVectorDrawing* const drawing = kivCollectedDrawing();
    if (drawing != nullptr && !shaped.cutHoles(camera, size, drawing->effort)) {
        drawing->messages.push_back(kivText(textHolesNotCut));
    }
}

} // namespace

// What the stages of one render share.
struct KivRenderer::Frame {
    Frame(KivScene* sceneToDraw, const KivCamera& view, KivBitmapManager* target)
        : scene(sceneToDraw), camera(view), surface(target) {}

    KivScene* scene;
    const KivCamera& camera;
    KivBitmapManager* surface;
    KivProgress* progress = nullptr;
    KivCommonSettings settings;
    tagSIZE finalSize{};
    tagSIZE size{}; // of the render itself
    KivNonCombinableShader* nonCombinable = nullptr;
    KivCombinableShader* combinables[kivMaxShaders] = {};
    int combinableCount = 0;
    bool hasShadowsAsAreas = false;
};

void KivRenderer::leaveOutBrokenMeshes(KivScene& scene) {
    const unsigned int count = scene.removeBrokenMeshes();
    KivHostApplicationServices* const host = KivHostApplicationServices::getDefaultHost();
    if (count == 0 || host == nullptr) {
        return;
    }
    wchar_t text[kivMaxPath] = {};
    std::swprintf(text, kivMaxPath, kivText(textBrokenMeshes).c_str(), static_cast<int>(count));
    host->message(text);
}

bool KivRenderer::hasBitmap(KivBitmapManager& surface) {
    surface.lock();
    const bool has = surface.getHBitmap() != nullptr;
    surface.unlock();
    return has;
}

KivRenderer::~KivRenderer() {
    onUnLoad(); // the channel in force must not outlive its owner
}

bool KivRenderer::onLoad() {
    wchar_t folder[kivMaxPath] = {};
    if (KivHostApplicationServices* const host = KivHostApplicationServices::getDefaultHost()) {
        host->getMorvaneFolder(folder);
    }
    basePathText = folder;
    if (KivShaderCommunication::getDefaultCommunication() == nullptr) {
        KivShaderCommunication::setDefaultCommunication(&communication);
    }
    return true;
}

void KivRenderer::onUnLoad() {
    if (KivShaderCommunication::getDefaultCommunication() == &communication) {
        KivShaderCommunication::setDefaultCommunication(nullptr);
    }
}

const wchar_t* KivRenderer::basePath() const {
    return basePathText.c_str();
}

bool KivRenderer::loadShaders() {
    wchar_t folder[kivMaxPath] = {};
    if (KivHostApplicationServices* const host = KivHostApplicationServices::getDefaultHost()) {
        host->getMorvaneFolder(folder);
    }
    basePathText = folder;
    return KivShader::loadShaders((basePathText + L"/shaders").c_str()) != 0;
}

void KivRenderer::unloadShaders() {
    KivShader::unLoadAll();
}

bool KivRenderer::render(KivCommonDataManager* commonData, KivDataManager* data, KivScene* scene,
                         const KivCamera& camera, KivBitmapManager* surface, tagSIZE* size) {
    if (scene == nullptr || surface == nullptr) {
        return false;
    }
    if (KivDrawingCollector* const collector = KivDrawingCollector::current()) {
        collector->note(*scene);
    }
    leaveOutBrokenMeshes(*scene);
    Frame frame(scene, camera, surface);
    frame.progress = kivCurrentProgress();
    onLoad();
    if (commonData != nullptr) {
        frame.settings.loadDataFromHost(commonData);
    }
    frame.finalSize = size != nullptr ? *size : frame.settings.getResolution();
    // No guard object: a stopReason leaves the channel in force, as hosts that catch it know.
    bool done = false;
    bool failed = false;
    try {
        done = renderFrame(frame, data);
    } catch (const KivShaderFailure& failure) {
        failed = true;
        endPrimitive();
        kivTellFailure(failure);
    } catch (const std::bad_alloc&) {
        stopWithoutMemory(*surface);
    } catch (const std::length_error&) {
        stopWithoutMemory(*surface); // a list longer than any memory
    }
    if (!done && frame.settings.doVectorial()) {
        discardVectorPage(*surface);
    }
    if (failed) {
        surface->deleteContext();
    }
    onUnLoad();
    return done;
}

// Hosts know of one thing that a render throws.
void KivRenderer::stopWithoutMemory(KivBitmapManager& surface) {
    discardVectorPage(surface);
    if (KivHostApplicationServices* const host = KivHostApplicationServices::getDefaultHost()) {
        host->morvaneErrorMessage(kivErrorNotEnoughMemory, nullptr);
    }
    kivSetLastError(kivErrorNotEnoughMemory);
    throw static_cast<KivShader::stopReason>(0);
}

bool KivRenderer::renderFrame(Frame& frame, KivDataManager* data) {
    const KivCommonSettings& settings = frame.settings;
    if (settings.doShadows() && settings.doVectorial() && KivDrawingCollector::current() != nullptr) {
        // The drawing is recorded as it is without shadows; these divide its areas.
        frame.hasShadowsAsAreas = true;
        frame.settings.setShadows(false);
    }
    frame.size = frame.finalSize;
    if (!settings.doVectorial()) {
        frame.size = {scaledSide(frame.finalSize.cx, settings.getAntialias()),
                      scaledSide(frame.finalSize.cy, settings.getAntialias())};
    } else if (!settings.doShadows() && !settings.doTransparencies() && !frame.hasShadowsAsAreas) {
        optimizeScene(frame.scene, frame.camera);
    }
    communication.setPolygonOffset(polygonOffsetFactor, static_cast<float>(settings.getPolygonOffset()));

    const bool hasData = selectShaders(frame, data);
    if (frame.progress != nullptr) {
        calculateProgress(frame.progress, frame.scene, settings, frame.nonCombinable != nullptr,
                          frame.combinableCount != 0);
        forecastProgress(frame.size, frame.finalSize, *frame.scene, frame.camera, settings,
                         frame.nonCombinable != nullptr, frame.combinableCount);
    }
    if (settings.doTransparencies()) {
        orderTriangles(frame);
    }
    if (isCancelled(frame.progress)) {
        return false;
    }

    startRendering(settings, frame.camera, frame.scene, frame.surface, frame.size, frame.nonCombinable, frame.progress);
    if (!hasBitmap(*frame.surface)) {
        return false;
    }
    if (hasData && !loadRenderData(frame, data)) {
        return false;
    }
    KivShapedScene shaped(*frame.scene, frame.camera, wholeSize(frame), shaperOf(frame));
    if (settings.doVectorial()) {
        cutHoles(shaped, frame.camera, wholeSize(frame));
    }
    if (shaped.isChanged()) {
        followShape(frame);
        // Of a bar whose first step has not begun.
        forecastProgress(frame.size, frame.finalSize, *frame.scene, frame.camera, settings,
                         frame.nonCombinable != nullptr, frame.combinableCount);
    }
    std::unique_ptr<KivMeshAhead> ahead =
        kivLinesAhead(*frame.scene, settings, frame.combinables, frame.combinableCount);
    fillDepthForLines(frame.scene, settings, communication);
    if (!renderPasses(frame)) {
        return false;
    }
    ahead.reset(); // before the meshes go
    if (!drawParallelDepth(frame) ||
        (frame.hasShadowsAsAreas &&
         !recordShadows(frame.nonCombinable, settings, frame.camera, *frame.scene, frame.surface))) {
        return false;
    }
    shaped.forget();
    frame.scene->empty(); // a scene is drawn once; its memory is of more use to what comes now
    return finishFrame(frame);
}

// Of the finished picture; the tiles of one picture have the same shapes.
tagSIZE KivRenderer::wholeSize(const Frame& frame) {
    const tagSIZE whole = kivPictureSize(frame.size);
    const auto reduced = [](std::int64_t side, std::int32_t finalSide, std::int32_t frameSide) {
        return static_cast<std::int32_t>(frameSide > 0 ? side * finalSide / frameSide : 0);
    };
    return {reduced(whole.cx, frame.finalSize.cx, frame.size.cx), reduced(whole.cy, frame.finalSize.cy, frame.size.cy)};
}

// Orders triangles and numbers objects anew for the smooth meshes that took the places of others.
void KivRenderer::followShape(Frame& frame) {
    if (frame.settings.doTransparencies()) {
        frame.scene->orderTrianglesTransparent(frame.camera);
    }
    if (frame.settings.doVectorial() && KivDrawingCollector::current() != nullptr) {
        kivNumberObjects(frame.scene);
    }
}

// The base look of a mesh decides on its shape; where there is none, the first of the line shaders that draw it.
std::function<const KivShader*(const KivMesh&)> KivRenderer::shaperOf(Frame& frame) {
    std::vector<KivNonCombinableShader*> bases(kivMaxShaders, nullptr);
    bases.resize(static_cast<std::size_t>(getAllNonCombinableShaders(bases.data())));
    return [this, &frame, bases](const KivMesh& mesh) mutable -> const KivShader* {
        if (const KivShader* const base = getNonCombinableShaderForThisMesh(&mesh, static_cast<int>(bases.size()),
                                                                            bases.data(), frame.nonCombinable)) {
            return base;
        }
        for (int i = 0; i < frame.combinableCount; ++i) {
            const KivShader* const lines = frame.combinables[i];
            if (lines != nullptr && kivAsksForShape(*lines) &&
                (!mesh.hasObjectSettings() || mesh.rendersThisShader(lines->getTag()))) {
                return lines;
            }
        }
        return nullptr;
    };
}

// With shadows a parallel view is drawn as from an eye very far away, whose depths all lie next to 0: the depth image
// gets those of the camera itself, of what the passes have drawn. False when cancelled.
bool KivRenderer::drawParallelDepth(Frame& frame) {
    const KivCommonSettings& settings = frame.settings;
    if (!settings.doShadows() || !settings.doSaveDepth() || settings.doVectorial() ||
        frame.camera.getProjection() == KivCamera::perspective) {
        return true;
    }
    KivNonCombinableShader* list[kivMaxShaders] = {};
    const int count = getAllNonCombinableShaders(list);
    const auto isDrawn = [&](const KivMesh& mesh) {
        if (settings.doTransparencies() && !mesh.isOpaque()) {
            return false;
        }
        return getNonCombinableShaderForThisMesh(&mesh, count, list, frame.nonCombinable) != nullptr ||
               std::any_of(
                   frame.combinables, frame.combinables + frame.combinableCount,
                   [&](KivCombinableShader* shader) { return shader != nullptr && shader->rendersMesh(&mesh); });
    };
    return drawDepth(*frame.scene, frame.camera, frame.size, isDrawn);
}

// From the finished passes to the finished files. Depth first, while the context lives.
bool KivRenderer::finishFrame(Frame& frame) {
    kivWaitForDrawing(frame.progress);
    if (isCancelled(frame.progress)) {
        return false;
    }
    const KivPictureTile* const tile = kivPictureTile();
    if (tile != nullptr && tile->isSurvey) {
        frame.surface->deleteContext();
        return true;
    }
    saveDepthBuffer(frame.size, frame.progress, frame.settings);
    endRendering(frame.surface, frame.settings, frame.progress);
    if (isCancelled(frame.progress)) {
        return false;
    }
    if (!isCancelled(frame.progress)) {
        if (frame.progress != nullptr) {
            frame.progress->beginStep();
        }
        makeAntialias(frame.surface, frame.progress, &frame.settings, frame.finalSize);
        if (frame.progress != nullptr) {
            frame.progress->advance(1, false);
            frame.progress->endStep();
        }
    }
    if (!isCancelled(frame.progress)) {
        saveFinalRender(frame.surface, frame.settings);
    }
    return !isCancelled(frame.progress);
}

void KivRenderer::orderTriangles(Frame& frame) {
    if (frame.progress != nullptr) {
        frame.progress->setText(kivText(textOrderingTriangles).c_str());
        frame.progress->beginStep();
    }
    frame.scene->orderTrianglesTransparent(frame.camera);
    if (frame.progress != nullptr) {
        frame.progress->advance(1, false);
        frame.progress->endStep();
    }
}

bool KivRenderer::selectShaders(Frame& frame, KivDataManager* data) {
    if (data == nullptr || !data->setLoading()) {
        frame.nonCombinable = useDefaultShader();
        return false;
    }
    wchar_t line[kivMaxPath] = {};
    data->loadString(line); // the style's name: of no use here
    data->loadString(line);
    frame.nonCombinable = kivAsBaseLook(kivFindShader(behindHeader(line, kivNonCombinableHeader)));
    communication.setHasNonCombinable(frame.nonCombinable != nullptr);
    data->loadString(line);
    frame.combinableCount = getCombinableShadersFromString(frame.combinables, behindHeader(line, kivCombinableHeader));
    if (frame.nonCombinable == nullptr && frame.combinableCount == 0) {
        frame.nonCombinable = useDefaultShader();
    }
    return true;
}

// The channel is told of a base look even if the default shader is not loaded: meshes then hide no lines.
KivNonCombinableShader* KivRenderer::useDefaultShader() {
    communication.setHasNonCombinable(true);
    return kivAsBaseLook(KivShader::getByName(kivText(kivTextDefaultShader).c_str()));
}

bool KivRenderer::loadRenderData(Frame& frame, KivDataManager* data) {
    wchar_t line[kivMaxPath] = {};
    data->loadString(line);
    while (!kivEndsStream(line)) {
        if (isCancelled(frame.progress)) {
            return false;
        }
        if (KivShader* const shader = kivFindShader(line)) {
            kivCallShader(*shader, [&] { shader->loadRenderData(data, frame.settings); });
        }
        data->loadString(line);
    }
    return true;
}

bool KivRenderer::renderPasses(Frame& frame) {
    if (frame.settings.doShadows()) {
        return frame.settings.doTransparencies() ? renderWithBoth(frame) : renderWithShadows(frame);
    }
    return frame.settings.doTransparencies() ? renderWithTransparency(frame) : renderPlain(frame);
}

bool KivRenderer::renderPlain(Frame& frame) {
    KivProgress* const progress = frame.progress;
    if (progress != nullptr) {
        progress->beginStep();
    }
    renderShader(frame.nonCombinable, frame.settings, frame.camera, frame.scene, progress, frame.size, frame.surface,
                 communication, true);
    if (isCancelled(progress)) {
        return false;
    }
    renderAllNonCombinableShadersForObjectRendering(frame.settings, frame.camera, frame.scene, progress, frame.size,
                                                    frame.surface, communication);
    if (isCancelled(progress)) {
        return false;
    }
    kivWaitForDrawing(progress);
    if (progress != nullptr) {
        progress->endStep();
    }
    if (!renderNamedCombinableShaders(frame.combinables, frame.combinableCount, frame.settings, frame.camera,
                                      frame.scene, progress, frame.size, frame.surface, communication)) {
        return false;
    }
    renderAllCombinableShadersForObjectRendering(frame.settings, frame.camera, frame.scene, progress, frame.size,
                                                 frame.surface, communication);
    return !isCancelled(progress);
}

bool KivRenderer::renderWithTransparency(Frame& frame) {
    if (isCancelled(frame.progress)) {
        return false;
    }
    renderAllShadersForTransparency(frame.nonCombinable, frame.settings, frame.camera, frame.scene, frame.surface,
                                    frame.progress, frame.size, frame.combinableCount, frame.combinables,
                                    communication);
    return !isCancelled(frame.progress);
}

bool KivRenderer::renderWithShadows(Frame& frame) {
    const KivShadows shadows;
    renderAllMeshesForShadowsRendering(frame.nonCombinable, true, frame.settings, frame.camera, frame.scene,
                                       frame.progress, frame.size, frame.surface, shadows, communication);
    if (!renderNamedCombinableShaders(frame.combinables, frame.combinableCount, frame.settings, frame.camera,
                                      frame.scene, frame.progress, frame.size, frame.surface, communication)) {
        return false;
    }
    renderAllCombinableShadersForObjectRendering(frame.settings, frame.camera, frame.scene, frame.progress, frame.size,
                                                 frame.surface, communication);
    return !isCancelled(frame.progress);
}

bool KivRenderer::renderWithBoth(Frame& frame) {
    KivShadows shadows;
    renderShadowsAndTransparency(frame.nonCombinable, frame.combinables, frame.combinableCount, frame.settings,
                                 frame.camera, frame.scene, frame.progress, frame.size, frame.surface, shadows,
                                 communication);
    return !isCancelled(frame.progress);
}
