// The halftone shader: tones of dots or lines in one ink, as comics and engravings are printed, over a base look or
// alone on the paper.
//
// Where ink lies is found from the surfaces themselves and not read back from the picture, so that a vector drawing has
// the same dots as a picture.
#include "kivhalftonedrawing.h"
#include "kivpageresource.h"
#include "kivrender/geometry/kivshapewish.h"
#include "kivrender/platform/kivmodule.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/shader/kivpicturetile.h"
#include "kivrender/shader/kivshadercommunication.h"
#include "kivrender/shader/kivshaderinterface.h"
#include "kivtableshader.h"

namespace {

class KivHalftoneShader final : public KivTableShader<KivCombinableShader> {
public:
    explicit KivHalftoneShader(HINSTANCE pluginModule)
        : KivTableShader(pluginModule, L"Halftone", kivDefaultSettings(kivHalftoneSection, kivHalftoneTable)) {}

    void render(KivBitmapManager* surface, const KivCommonSettings& settings, const KivCamera&, KivScene* scene,
                tagSIZE size, KivShaderCommunication& communication, bool named) override {
        const KivPictureTile* const tile = kivPictureTile();
        if ((tile != nullptr && tile->isSurvey) || !isNeeded(*scene, named)) {
            return;
        }
        const auto incidence = [this](const Kiv3DPoint& point, const Kiv3DVector& normal, const KivLight* light) {
            return calculateLightIncidenceToLight(point, normal, light);
        };
        KivHalftoneDrawing drawing(settings, size, kivModelledLight(*scene, incidence));
        for (unsigned int i = 0; i < scene->numMeshes(); ++i) {
            const KivMesh* const mesh = scene->getMesh(i);
            // A transparent mesh hides nothing, and has no tone of its own.
            if (mesh == nullptr || (settings.doTransparencies() && !mesh->isOpaque())) {
                continue;
            }
            const bool isOurs = kivIsForShader(*mesh, getTag(), named);
            if (!drawing.addMesh(*mesh, i, isOurs ? &settingsOf(*mesh) : nullptr)) {
                return;
            }
        }
        if (drawing.print()) {
            drawing.draw(KivShaderCommunication::getDefaultCommunication() != &communication);
            flushAndShow(surface, settings.doVectorial());
        }
    }
    unsigned int getProgressSteps(KivScene*, const KivCommonSettings&) override {
        return 0;
    }
    // It lays no faces down.
    bool rendersMesh(const KivMesh*) override {
        return false;
    }
    KivShapeWish shapeOf(const Kiv3DObject& object) const {
        return {kivHalftoneLook(settingsOf(object)).smoothShape, kivUsualSmoothAngle};
    }

private:
    bool isNeeded(const KivScene& scene, bool named) const {
        for (unsigned int i = 0; i < scene.numMeshes(); ++i) {
            const KivMesh* const mesh = scene.getMesh(i);
            if (mesh != nullptr && kivIsForShader(*mesh, getTag(), named)) {
                return true;
            }
        }
        return false;
    }
};

} // namespace

KIV_SHADER_INTERFACE;

KIV_PLUGIN_EXPORT KivShader* KivShaderCreate() {
    return new KivHalftoneShader(kivModuleOf(&KivShaderCreate));
}

KIV_PLUGIN_EXPORT void KivShaderDelete(KivShader* shader) {
    delete shader;
}

KIV_PLUGIN_EXPORT bool KivShaderUsesStencil(const KivShader*) {
    return false; // but in renders with shadows
}

KIV_PLUGIN_EXPORT int KivShaderSettings(const KivSettingInfo** table) {
    return kivHalftoneTable(table);
}

KIV_PLUGIN_EXPORT void KivShaderShape(const KivShader* shader, const Kiv3DObject* object, KivShapeWish* wish) {
    *wish = static_cast<const KivHalftoneShader*>(shader)->shapeOf(*object);
}

KIV_PLUGIN_EXPORT const char* KivModuleResource(unsigned int kind, unsigned int id, unsigned long* size) {
    return kivPageResource(kind, id, size, kivHalftoneTable);
}
