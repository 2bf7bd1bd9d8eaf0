// A small picture of what the pages of a dialog give: one short frame on a scene that is kept from one to the next.
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/render/kivbitmapmanager.h"
#include "kivrender/render/kivrenderer.h"
#include "kivrender/render/kivshapedscene.h"
#include "kivrender/render/kivstreamlines.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/shader/kivnoncombinableshader.h"
#include "kivrender/shader/kivshadershape.h"

#include <new>

namespace {

// The first that asks for a shape; null if none of them does.
KivShader* firstShaper(const std::vector<std::wstring>& names) {
    for (const std::wstring& name : names) {
        KivShader* const shader = kivFindShader(name.c_str());
        if (shader != nullptr && kivAsksForShape(*shader)) {
            return shader;
        }
    }
    return nullptr;
}

} // namespace

// Two things differ from a render. The combinable shaders draw before the base look, and every call has the flag false:
// the shaders put their settings on the meshes and draw them as objects that bring their own.
bool KivRenderer::renderPreview(
    const KivCommonSettings& settings, KivScene* scene, const KivCamera& camera, KivBitmapManager* surface,
    const wchar_t* shaderName,
    std::vector<std::wstring> combinableNames, // NOLINT(performance-unnecessary-value-param)
    KivShaderCommunication& channel, const KivPropertiesDlg* dlg) {
    if (scene == nullptr || surface == nullptr) {
        return false;
    }
    leaveOutBrokenMeshes(*scene);
    try {
        return drawPreview(settings, scene, camera, surface, shaderName, combinableNames, channel, dlg);
    } catch (const KivShaderFailure& failure) {
        endPrimitive();
        surface->deleteContext();
        kivTellFailureOnce(failure); // a dialog makes previews again and again
        return false;
    } catch (const std::bad_alloc&) {
        surface->deleteContext();
        kivSetLastError(kivErrorNotEnoughMemory);
        return false;
    }
}

bool KivRenderer::drawPreview(const KivCommonSettings& settings, KivScene* scene, const KivCamera& camera,
                              KivBitmapManager* surface, const wchar_t* shaderName,
                              const std::vector<std::wstring>& combinableNames, KivShaderCommunication& channel,
                              const KivPropertiesDlg* dlg) {
    const tagSIZE size = settings.getResolution();
    KivNonCombinableShader* const shader = shaderName != nullptr ? kivAsBaseLook(kivFindShader(shaderName)) : nullptr;
    scene->deleteSettingsToAllMeshes(); // what the preview before this one has put there
    if (shader != nullptr) {
        kivCallShader(*shader, [&] { shader->preparePreview(scene, dlg); });
    }
    startRendering(settings, camera, scene, surface, size, shader, nullptr);
    if (!hasBitmap(*surface)) {
        return false;
    }
    // The base look decides on the shape; without one the first of the line shaders that asks for one does.
    KivShader* const lines = shader == nullptr ? firstShaper(combinableNames) : nullptr;
    if (lines != nullptr) {
        kivCallShader(*lines, [&] { lines->preparePreview(scene, dlg); });
    }
    const KivShader* const shaper = shader != nullptr ? shader : lines;
    const KivShapedScene shaped(*scene, camera, size, [shaper](const KivMesh&) { return shaper; });
    fillDepthForLines(scene, settings, channel);
    for (const std::wstring& name : combinableNames) {
        KivShader* const combinable = kivFindShader(name.c_str());
        if (combinable == nullptr) {
            continue; // unloaded since the dialog took its name
        }
        if (combinable != lines) {
            kivCallShader(*combinable, [&] { combinable->preparePreview(scene, dlg); });
        }
        renderShader(combinable, settings, camera, scene, nullptr, size, surface, channel, false);
    }
    if (shader != nullptr) {
        renderShader(shader, settings, camera, scene, nullptr, size, surface, channel, false);
    }
    endRendering(surface, settings, nullptr);
    return true;
}
