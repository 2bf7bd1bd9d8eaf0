// The backdrop shader: the sheet behind the scene, which makes a style whole that wants a paper or a colour of its own.
//
// It adds to a picture and is drawn wherever nobody has painted: behind the base look, and ahead of the shaders that
// draw lines, which stand behind it in a style's list and in the table, in the order of the modules' names.
#include "kivbackdropdrawing.h"
#include "kivbackdropsettings.h"
#include "kivpageresource.h"
#include "kivrender/platform/kivmodule.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/shader/kivshadercommunication.h"
#include "kivrender/shader/kivshaderinterface.h"
#include "kivtableshader.h"

#include <algorithm>

namespace {

constexpr unsigned int nameText = 1054;

class KivBackdropShader final : public KivTableShader<KivCombinableShader> {
public:
    explicit KivBackdropShader(HINSTANCE pluginModule)
        : KivTableShader(pluginModule, L"Backdrop", kivDefaultSettings(kivBackdropSection, kivBackdropTable),
                         nameText) {}

    void render(KivBitmapManager* surface, const KivCommonSettings& settings, const KivCamera&, KivScene* scene,
                tagSIZE size, KivShaderCommunication& communication, bool named) override {
        const KivTablePageSettings* const look = settingsFor(*scene, communication, named);
        if (look == nullptr) {
            return;
        }
        const bool vectorial = settings.doVectorial();
        const double pixel = vectorial ? 1.0 : 1 << std::clamp(settings.getAntialias(), 0, 2);
        kivDrawBackdrop(kivBackdropLook(*look), size, pixel, vectorial);
        flushAndShow(surface, vectorial);
    }
    // It is done before a bar could move.
    unsigned int getProgressSteps(KivScene*, const KivCommonSettings&) override {
        return 0;
    }
    // There is one sheet for the whole scene.
    bool rendersMesh(const KivMesh*) override {
        return false;
    }

private:
    // Null where there is nothing to draw: in the sweep for objects with settings of their own, which tells itself from
    // a preview by the channel.
    const KivTablePageSettings* settingsFor(const KivScene& scene, const KivShaderCommunication& communication,
                                            bool named) const {
        if (named) {
            return &sceneSettings();
        }
        if (KivShaderCommunication::getDefaultCommunication() == &communication) {
            return nullptr;
        }
        for (unsigned int i = 0; i < scene.numMeshes(); ++i) {
            const KivMesh* const mesh = scene.getMesh(i);
            if (mesh != nullptr && mesh->rendersThisShader(getTag())) {
                return &settingsOf(*mesh);
            }
        }
        return nullptr;
    }
};

} // namespace

KIV_SHADER_INTERFACE;

KIV_PLUGIN_EXPORT KivShader* KivShaderCreate() {
    return new KivBackdropShader(kivModuleOf(&KivShaderCreate));
}

KIV_PLUGIN_EXPORT void KivShaderDelete(KivShader* shader) {
    delete shader;
}

KIV_PLUGIN_EXPORT bool KivShaderUsesStencil(const KivShader*) {
    return false; // but in renders with shadows
}

KIV_PLUGIN_EXPORT int KivShaderSettings(const KivSettingInfo** table) {
    return kivBackdropTable(table);
}

KIV_PLUGIN_EXPORT const char* KivModuleResource(unsigned int kind, unsigned int id, unsigned long* size) {
    return kivPageResource(kind, id, size, kivBackdropTable);
}
