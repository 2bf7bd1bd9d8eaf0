#include "kivsketchshader.h"

#include "kivmodelledlight.h"
#include "kivpageresource.h"
#include "kivrender/platform/kivmodule.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/shader/kivshaderinterface.h"
#include "kivsketchdrawing.h"
#include "kivsketchsettings.h"

namespace {

constexpr unsigned int nameText = 1020;

} // namespace

KivSketchShader::KivSketchShader(HINSTANCE pluginModule)
    : KivLineShader(pluginModule, L"Sketch", kivDefaultSettings(kivSketchSection, kivSketchTable), nameText) {}

std::unique_ptr<KivLineDrawing> KivSketchShader::startDrawing(const KivCommonSettings& settings,
                                                              const KivCamera& camera, KivScene& scene, tagSIZE size,
                                                              KivShaderCommunication& communication, bool atFront) {
    const auto incidence = [this](const Kiv3DPoint& point, const Kiv3DVector& normal, const KivLight* light) {
        return calculateLightIncidenceToLight(point, normal, light);
    };
    return std::make_unique<KivSketchDrawing>(settings, camera, size, communication, atFront,
                                              kivModelledLight(scene, incidence));
}

KivShapeWish KivSketchShader::shapeOf(const Kiv3DObject& object) const {
    const KivLineLook look = kivSketchLook(settingsOf(object));
    return {look.smoothShape, look.rules.creaseAngle};
}

KivLineNeeds KivSketchShader::needsOf(const Kiv3DObject& object) const {
    return {true, kivSketchLook(settingsOf(object)).intersections};
}

KIV_SHADER_INTERFACE;

KIV_PLUGIN_EXPORT KivShader* KivShaderCreate() {
    return new KivSketchShader(kivModuleOf(&KivShaderCreate));
}

KIV_PLUGIN_EXPORT void KivShaderDelete(KivShader* shader) {
    delete shader;
}

KIV_PLUGIN_EXPORT bool KivShaderUsesStencil(const KivShader*) {
    return false; // but in renders with shadows
}

KIV_PLUGIN_EXPORT int KivShaderSettings(const KivSettingInfo** table) {
    return kivSketchTable(table);
}

KIV_PLUGIN_EXPORT void KivShaderShape(const KivShader* shader, const Kiv3DObject* object, KivShapeWish* wish) {
    *wish = static_cast<const KivSketchShader*>(shader)->shapeOf(*object);
}

KIV_PLUGIN_EXPORT void KivShaderLineNeeds(const KivShader* shader, const Kiv3DObject* object, KivLineNeeds* needs) {
    *needs = static_cast<const KivSketchShader*>(shader)->needsOf(*object);
}

KIV_PLUGIN_EXPORT const char* KivModuleResource(unsigned int kind, unsigned int id, unsigned long* size) {
    return kivPageResource(kind, id, size, kivSketchTable);
}
