// One frame: the context and the state that all shaders inherit, the calls of the shaders, the end.
#include "kivrender/host/kivhostapplicationservices.h"
#include "kivrender/host/kivlanguage.h"
#include "kivrender/platform/kivbitmap.h"
#include "kivrender/platform/kivdeferredpicture.h"
#include "kivrender/platform/kivglcontext.h"
#include "kivrender/platform/kivgldepth.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtemporaryfile.h"
#include "kivrender/render/kivbitmapmanager.h"
#include "kivrender/render/kivcombinablesteps.h"
#include "kivrender/render/kivdrawingcollector.h"
#include "kivrender/render/kivrenderer.h"
#include "kivrender/render/kivstreamlines.h"
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/shader/kivcombinableshader.h"
#include "kivrender/shader/kivdrawing.h"
#include "kivrender/shader/kivnoncombinableshader.h"
#include "kivrender/shader/kivobjectnumbers.h"
#include "kivrender/shader/kivpicturetile.h"
#include "kivrender/shader/kivshaderstencil.h"
#include "kivrender/vector/gl2pspage.h"
#include "kivrender/vector/kivvectorpage.h"
#include "kivrender/vector/kivvectorprogress.h"
#include "kivrender/vector/vectorsimplifier.h"

#include <GL/gl.h>
#include <GL/glu.h>

#include <clocale>
#include <cstdint>
#include <cwchar>
#include <string>

namespace {

constexpr unsigned int textUnknownVectorFormat = 1003;
constexpr unsigned int textDrawingNotWritten = 1040;
constexpr unsigned int textTemporaryFolder = 1041;
constexpr unsigned int textVectorOverflow = 129;

bool isCancelled(KivProgress* progress) {
    return progress != nullptr && progress->isCancelled();
}

// A surface may come with the picture of an earlier render, or with the context of a cancelled one. Both go, so that a
// frame that can't be opened is seen by the missing picture.
void clearSurface(KivBitmapManager& surface) {
    surface.lock();
    surface.deleteContext();
    const HBITMAP former = surface.getHBitmap();
    surface.setHBitmap(nullptr);
    kivDeleteBitmap(former);
    surface.unlock();
}

// isReduced: the picture is made smaller at the end, and is read for that in bands.
bool openContext(KivBitmapManager& surface, tagSIZE size, bool isReduced, bool hasShadows) {
    wchar_t folder[kivMaxPath] = {};
    if (KivHostApplicationServices* const host = KivHostApplicationServices::getDefaultHost()) {
        host->getVirtualMemoryFolder(folder);
    }
    const std::uint8_t stencilBits = kivNeedsStencil(hasShadows) ? 8 : 0;
    if (wglCreateDefaultBitmapDC(&surface, &size, 32, 0, 32, stencilBits, PFD_GENERIC_FORMAT, folder, true) == 0) {
        return false;
    }
    surface.lock();
    const HDC dc = surface.getHDC();
    const HGLRC context = kivCreateGlContext(dc);
    surface.setHGLRC(context);
    const bool current = context != nullptr && kivMakeGlCurrent(dc, context);
    if (current && isReduced) {
        kivDeferPictures(context);
    }
    surface.unlock();
    return current;
}

void setSmoothing(bool smooth) {
    const GLenum mode = smooth ? GL_NICEST : GL_FASTEST;
    glHint(GL_PERSPECTIVE_CORRECTION_HINT, GL_NICEST);
    glHint(GL_LINE_SMOOTH_HINT, mode);
    glHint(GL_POINT_SMOOTH_HINT, mode);
    glHint(GL_POLYGON_SMOOTH_HINT, mode);
    if (smooth) {
        glEnable(GL_LINE_SMOOTH);
        glEnable(GL_POINT_SMOOTH);
    }
}

void clearColor(std::uint32_t color) {
    glClearColor(static_cast<float>(color & 0xFFU) / 255.0F, static_cast<float>(color >> 8U & 0xFFU) / 255.0F,
                 static_cast<float>(color >> 16U & 0xFFU) / 255.0F, 0.0F);
    glClearDepth(1.0);
    glClear(GL_COLOR_BUFFER_BIT);
}

int countCombinableShaders() {
    int count = 0;
    for (unsigned long i = 0; i < KivShader::shaders(); ++i) {
        const KivShader* const shader = KivShader::getByIndex(i);
        count += shader != nullptr && shader->isCombinable() ? 1 : 0;
    }
    return count;
}

// A step of the bar for what is done at once, laid out for an image that the settings name.
class ImageStep {
public:
    ImageStep(KivProgress* bar, const std::wstring& file) : progress(file.empty() ? nullptr : bar) {
        if (progress != nullptr) {
            progress->beginStep();
        }
    }
    ImageStep(const ImageStep&) = delete;
    ImageStep& operator=(const ImageStep&) = delete;
    ~ImageStep() {
        if (progress != nullptr) {
            progress->endStep();
        }
    }

private:
    KivProgress* progress;
};

// --- the vector page: what gl2ps calls back. Who opens one has a host with a progress object or none at all.

void tick() {
    if (KivProgress* const progress = kivCurrentProgress()) {
        progress->advance(1, false);
    }
}

void beginVectorOutput(int primitives) {
    if (KivProgress* const progress = kivCurrentProgress()) {
        progress->setStepSize(KivVectorProgress::vectorStep, static_cast<unsigned int>(primitives));
        progress->setText(kivText(KivVectorProgress::textNumber).c_str());
        progress->beginStep();
    }
}

// Runs inside gl2psEndPage, while the camera's matrices are those of the page.
float* simplifyFeedback(float* feedback, int* used) {
    FeedbackView view = {};
    glGetDoublev(GL_MODELVIEW_MATRIX, view.modelView);
    glGetDoublev(GL_PROJECTION_MATRIX, view.projection);
    glGetIntegerv(GL_VIEWPORT, view.viewport);
    return VectorSimplifier(view).simplify(feedback, used);
}

// The place is told with it, as it is none that the user has named.
std::wstring drawingNotWritten() {
    std::wstring place = kivText(textTemporaryFolder);
    if (const std::size_t at = place.find(L"%s"); at != std::wstring::npos) {
        place.replace(at, 2, kivTemporaryFolder());
    }
    return kivText(textDrawingNotWritten) + L"\n" + place;
}

// gl2ps's number of a format, by KivCommonSettings::getVectorialFormat.
GLint pageFormat(unsigned int format) {
    constexpr GLint formats[] = {GL2PS_SVG, GL2PS_PS, GL2PS_EPS, GL2PS_AI, GL2PS_PDF, GL2PS_SVG};
    return formats[format];
}

} // namespace

void KivRenderer::startRendering(const KivCommonSettings& settings, const KivCamera& camera, const KivScene* scene,
                                 KivBitmapManager* surface, tagSIZE size, KivNonCombinableShader* shader,
                                 KivProgress* progress) {
    clearSurface(*surface);
    const bool isReduced = settings.getAntialias() != 0 && !settings.doVectorial();
    if (!openContext(*surface, size, isReduced, settings.doShadows())) {
        return;
    }
    kivBeginPictureTile();
    setSmoothing(settings.getAntialias() != 0);
    clearColor(settings.getBackgroundColor());
    KivDrawingCollector* const collector = settings.doVectorial() ? KivDrawingCollector::current() : nullptr;
    if (settings.getVectorialFormat() != 0 || collector != nullptr) {
        // By the name of the vector file alone, so a raster render with such a name in its settings gets it too.
        glDepthRange(0.1, 1.0);
    }
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LEQUAL);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    kivSetPictureViewport(size);
    {
        const ImageStep step(progress, settings.getBackgroundImage());
        drawBackgroundImage(settings, size, progress);
    }
    glClear(GL_DEPTH_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    kivLoadPictureProjection();
    setCamera(camera, false);
    if (shader != nullptr) {
        // The scene is the caller's own and was const only on its way here.
        kivCallShader(*shader, [&] { shader->prepareObjectRendering(settings, const_cast<KivScene*>(scene)); });
    }
    if (collector != nullptr) {
        openCollectedPage(*surface, settings, camera, scene, size);
    } else if (settings.doVectorial()) {
        openVectorPage(*surface, settings);
    }
}

void KivRenderer::openVectorPage(KivBitmapManager& surface, const KivCommonSettings& settings) {
    // Both speeds print the same way.
    KivVectorProgress::doubledStep = false;
    const unsigned int format = settings.getVectorialFormat();
    if (format == 0) {
        // Without a page the frame is drawn into nothing, and nobody shall wonder where the file is.
        forgetVectorFile(surface);
        if (KivHostApplicationServices* const host = KivHostApplicationServices::getDefaultHost()) {
            host->message(kivText(textUnknownVectorFormat).c_str());
        }
        return;
    }
    wchar_t name[kivMaxPath] = {};
    surface.generateVectorialTempFileName(name);
    // The name of the locale that holds from here on, and not of the one before: what closeVectorPage restores is this
    // same one. A program keeps its numbers in the C locale from its first drawing on, as files depend on it.
    savedLocale = std::setlocale(LC_NUMERIC, "C");
    const GLint options = GL2PS_DRAW_BACKGROUND | GL2PS_SIMPLE_LINE_OFFSET | GL2PS_BEST_ROOT | GL2PS_NO_PS3_SHADING |
                          GL2PS_USE_CURRENT_VIEWPORT | (settings.doVectorSimplify() ? GL2PS_OCCLUSION_CULL : 0);
    gl2psBeginPageW("Morvane Render", "Morvane 2.0", nullptr, pageFormat(format), GL2PS_SIMPLE_SORT, options, GL_RGBA,
                    0, nullptr, 0, 0, 0, KivVectorPage::getBufferSize(), name);
    GLfloat pointSize = 1.0F;
    glGetFloatv(GL_POINT_SIZE, &pointSize);
    gl2psPointSize(pointSize);
}

void KivRenderer::closeVectorPage(KivBitmapManager& surface, const KivCommonSettings& settings, KivProgress* progress) {
    if (surface.getVectorialTempFileName().empty()) {
        return;
    }
    GLint result = GL2PS_SUCCESS;
    if (settings.doVectorSimplify()) {
        result = gl2psEndPage(simplifyFeedback, tick, kivIsCancelled, nullptr);
        if (progress != nullptr) {
            progress->endStep();
        }
    } else {
        result = gl2psEndPage(nullptr, tick, kivIsCancelled, beginVectorOutput);
    }
    KivHostApplicationServices* const host = KivHostApplicationServices::getDefaultHost();
    if (result == GL2PS_OVERFLOW && host != nullptr) {
        host->message(kivText(textVectorOverflow).c_str());
    } else if (result != GL2PS_SUCCESS && result != GL2PS_NO_FEEDBACK && host != nullptr) {
        host->morvaneErrorMessage(kivGetLastError(), drawingNotWritten().c_str());
    }
    if (result != GL2PS_SUCCESS) {
        forgetVectorFile(surface);
    }
    std::setlocale(LC_NUMERIC, savedLocale);
    savedLocale = nullptr;
}

// What a render that ended early left of its drawing goes: the page, and the file that kept the name for it.
void KivRenderer::discardVectorPage(KivBitmapManager& surface) {
    gl2psDiscardPage();
    kivNumberObjects(nullptr);
    forgetVectorFile(surface);
    savedLocale = nullptr;
    if (KivDrawingCollector* const collector = KivDrawingCollector::current()) {
        collector->drop();
    }
}

void KivRenderer::forgetVectorFile(KivBitmapManager& surface) {
    std::wstring& name = surface.getVectorialTempFileName();
    kivReleaseTemporaryFile(name);
    name.clear();
}

void KivRenderer::endPrimitive() {
    if (kivCurrentGlContext() != nullptr) {
        glEnd();
    }
}

void KivRenderer::setCamera(const KivCamera& camera, bool /*flag*/) {
    // A little more room at the far end than the host says, so that what lies on the plane is not cut.
    const double farPlane = camera.getFrustumFar() * 1.1;
    if (camera.getProjection() == KivCamera::orthographic) {
        glOrtho(camera.getFrustumLeft(), camera.getFrustumRight(), camera.getFrustumBottom(), camera.getFrustumTop(),
                camera.getFrustumNear(), farPlane);
    } else if (camera.getProjection() == KivCamera::perspective) {
        glFrustum(camera.getFrustumLeft(), camera.getFrustumRight(), camera.getFrustumBottom(), camera.getFrustumTop(),
                  camera.getFrustumNear(), farPlane);
    }
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    const Kiv3DPoint eye = camera.getLocation();
    const Kiv3DVector direction = camera.getDirection();
    const Kiv3DVector up = camera.getUp();
    gluLookAt(eye.x, eye.y, eye.z, eye.x + direction.x, eye.y + direction.y, eye.z + direction.z, up.x, up.y, up.z);
}

void KivRenderer::renderShader(KivShader* shader, const KivCommonSettings& settings, const KivCamera& camera,
                               KivScene* scene, KivProgress* /*progress*/, tagSIZE size, KivBitmapManager* surface,
                               KivShaderCommunication& channel, bool named) {
    if (shader != nullptr) {
        KivDrawing::beginObject(nullptr, settings.doVectorial());
        const tagSIZE whole = kivPictureSize(size);
        kivCallShader(*shader, [&] { shader->render(surface, settings, camera, scene, whole, channel, named); });
    }
}

void KivRenderer::endRendering(KivBitmapManager* surface, const KivCommonSettings& settings, KivProgress* progress) {
    kivClipDepthAsUsual(); // the shadows of a parallel view need another way, nothing from here on does
    const bool isCollected = settings.doVectorial() && KivDrawingCollector::current() != nullptr;
    {
        const ImageStep step(progress, settings.getPaperImage());
        if (!isCollected) {
            drawPaperImage(settings, progress);
        }
    }
    if (isCollected) {
        closeCollectedPage(progress);
    } else if (settings.doVectorial()) {
        closeVectorPage(*surface, settings, progress);
    }
    surface->deleteContext();
}

void KivRenderer::renderAllNonCombinableShadersForObjectRendering(const KivCommonSettings& settings,
                                                                  const KivCamera& camera, KivScene* scene,
                                                                  KivProgress* progress, tagSIZE size,
                                                                  KivBitmapManager* surface,
                                                                  KivShaderCommunication& channel) {
    for (KivShader* shader = KivShader::getFirstShader(); shader != nullptr; shader = KivShader::getNextShader()) {
        KivNonCombinableShader* const base = kivAsBaseLook(shader);
        if (base == nullptr) {
            continue;
        }
        kivCallShader(*base, [&] { base->prepareObjectRendering(settings, scene); });
        renderShader(shader, settings, camera, scene, progress, size, surface, channel, false);
        if (isCancelled(progress)) {
            return;
        }
    }
}

void KivRenderer::renderAllCombinableShadersForObjectRendering(const KivCommonSettings& settings,
                                                               const KivCamera& camera, KivScene* scene,
                                                               KivProgress* progress, tagSIZE size,
                                                               KivBitmapManager* surface,
                                                               KivShaderCommunication& channel) {
    KivCombinableSteps steps(progress, *scene, countCombinableShaders());
    for (KivShader* shader = KivShader::getFirstShader(); shader != nullptr; shader = KivShader::getNextShader()) {
        if (!kivIsCombinable(*shader)) {
            continue;
        }
        renderShader(shader, settings, camera, scene, progress, size, surface, channel, false);
        if (isCancelled(progress)) {
            return;
        }
        steps.endShader();
    }
    steps.finish();
}

bool KivRenderer::renderNamedCombinableShaders(KivCombinableShader** const shaders, int count,
                                               const KivCommonSettings& settings, const KivCamera& camera,
                                               KivScene* scene, KivProgress* progress, tagSIZE size,
                                               KivBitmapManager* surface, KivShaderCommunication& channel) {
    if (isCancelled(progress)) {
        return false;
    }
    if (count == 0) {
        return true; // no steps are laid out for them
    }
    KivCombinableSteps steps(progress, *scene, count);
    for (int i = 0; i < count; ++i) {
        renderShader(shaders[i], settings, camera, scene, progress, size, surface, channel, true);
        if (isCancelled(progress)) {
            return false;
        }
        steps.endShader();
    }
    steps.finish();
    return true;
}

int KivRenderer::getCombinableShadersFromString(KivCombinableShader** const shaders, wchar_t* text) {
    int count = 0;
    wchar_t* rest = nullptr;
    for (const wchar_t* token = std::wcstok(text, L";", &rest); token != nullptr && count < kivMaxShaders;
         token = std::wcstok(nullptr, L";", &rest)) {
        KivShader* const shader = kivFindShader(token);
        // A base look in the list counts as an unknown name: it is no shader of this kind.
        shaders[count++] =
            shader != nullptr && kivIsCombinable(*shader) ? static_cast<KivCombinableShader*>(shader) : nullptr;
    }
    return count;
}

bool KivRenderer::isInCombinableShadersToRender(KivCombinableShader* shader, KivCombinableShader** const shaders,
                                                int count) {
    for (int i = 0; i < count; ++i) {
        if (shaders[i] == shader) {
            return true;
        }
    }
    return false;
}

// Walks by index and not by the table's cursor, which a caller may be using.
int KivRenderer::getAllNonCombinableShaders(KivNonCombinableShader** shaders) {
    int count = 0;
    for (unsigned long i = 0; i < KivShader::shaders(); ++i) {
        if (KivNonCombinableShader* const shader = kivAsBaseLook(KivShader::getByIndex(i))) {
            shaders[count++] = shader;
        }
    }
    return count;
}

KivNonCombinableShader* KivRenderer::getNonCombinableShaderForThisMesh(const KivMesh* mesh, int count,
                                                                       KivNonCombinableShader** shaders,
                                                                       KivNonCombinableShader* defaultShader) const {
    if (!mesh->hasObjectSettings()) {
        return defaultShader;
    }
    for (int i = 0; i < count; ++i) {
        const KivNonCombinableShader& shader = *shaders[i];
        if (kivCallShader(shader, [&] { return mesh->rendersThisShader(shader.getTag()); })) {
            return shaders[i];
        }
    }
    return nullptr;
}
