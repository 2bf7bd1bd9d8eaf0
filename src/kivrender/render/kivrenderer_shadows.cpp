// The branches of a render with shadows or transparency. Neither is drawn yet: each says so through the host and then
// draws what a plain render draws, so that no picture is empty. The progress bar takes the steps that were laid out for
// the branch.
#include "kivrender/host/kivhostapplicationservices.h"
#include "kivrender/host/kivlanguage.h"
#include "kivrender/render/kivrenderer.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/shader/kivcombinableshader.h"
#include "kivrender/shader/kivnoncombinableshader.h"
#include "kivrender/shadow/kivshadows.h"

namespace {

constexpr unsigned int textNoShadows = 1001;
constexpr unsigned int textNoTransparency = 1002;

void tellUser(unsigned int text) {
    if (KivHostApplicationServices* const host = KivHostApplicationServices::getDefaultHost()) {
        host->message(kivText(text).c_str());
    }
}

bool isCancelled(KivProgress* progress) {
    return progress != nullptr && progress->isCancelled();
}

void beginStep(KivProgress* progress) {
    if (progress != nullptr) {
        progress->beginStep();
    }
}

void endStep(KivProgress* progress) {
    if (progress != nullptr) {
        progress->endStep();
    }
}

void passOverSteps(KivProgress* progress, int count) {
    for (int i = 0; i < count; ++i) {
        beginStep(progress);
        endStep(progress);
    }
}

} // namespace

// The shadows come as a copy that ends with the call: the pass leaves nothing behind in the caller's.
void KivRenderer::renderAllMeshesForShadowsRendering(
    KivNonCombinableShader* shader, bool /*saveShadows*/, const KivCommonSettings& settings, const KivCamera& camera,
    KivScene* scene, KivProgress* progress, tagSIZE size, KivBitmapManager* surface,
    KivShadows /*shadows*/, // NOLINT(performance-unnecessary-value-param)
    KivShaderCommunication& channel) {
    tellUser(textNoShadows);
    if (isCancelled(progress)) {
        return;
    }
    beginStep(progress);
    renderShader(shader, settings, camera, scene, progress, size, surface, channel, true);
    if (isCancelled(progress)) {
        return;
    }
    renderAllNonCombinableShadersForObjectRendering(settings, camera, scene, progress, size, surface, channel);
    if (isCancelled(progress)) {
        return;
    }
    endStep(progress);
    passOverSteps(progress, 2); // the volumes and the lit passes
}

void KivRenderer::renderAllShadersForTransparency(KivNonCombinableShader* shader, const KivCommonSettings& settings,
                                                  const KivCamera& camera, KivScene* scene, KivBitmapManager* surface,
                                                  KivProgress* progress, tagSIZE size, int count,
                                                  KivCombinableShader** combinables, KivShaderCommunication& channel) {
    tellUser(textNoTransparency);
    if (isCancelled(progress)) {
        return;
    }
    beginStep(progress);
    renderShader(shader, settings, camera, scene, progress, size, surface, channel, true);
    if (isCancelled(progress)) {
        return;
    }
    renderAllNonCombinableShadersForObjectRendering(settings, camera, scene, progress, size, surface, channel);
    if (isCancelled(progress)) {
        return;
    }
    endStep(progress);
    for (int i = 0; i < count; ++i) {
        if (isCancelled(progress)) {
            return;
        }
        renderShader(combinables[i], settings, camera, scene, progress, size, surface, channel, true);
    }
    renderAllCombinableShadersForObjectRendering(settings, camera, scene, progress, size, surface, channel);
    if (isCancelled(progress)) {
        return;
    }
    passOverSteps(progress, 1); // the triangles one by one
}

bool KivRenderer::renderShadowsAndTransparency(KivNonCombinableShader* shader, KivCombinableShader** const combinables,
                                               int count, const KivCommonSettings& settings, const KivCamera& camera,
                                               KivScene* scene, KivProgress* progress, tagSIZE size,
                                               KivBitmapManager* surface, KivShadows& shadows,
                                               KivShaderCommunication& channel) {
    tellUser(textNoTransparency);
    renderAllMeshesForShadowsRendering(shader, false, settings, camera, scene, progress, size, surface, shadows,
                                       channel);
    if (isCancelled(progress)) {
        onUnLoad();
        return false;
    }
    for (int i = 0; i < count; ++i) {
        renderShader(combinables[i], settings, camera, scene, progress, size, surface, channel, true);
        if (isCancelled(progress)) {
            onUnLoad();
            return false;
        }
    }
    renderAllCombinableShadersForObjectRendering(settings, camera, scene, progress, size, surface, channel);
    if (isCancelled(progress)) {
        onUnLoad();
        return false;
    }
    passOverSteps(progress, 3); // shadows on transparent surfaces, then the triangles one by one
    return true;
}
