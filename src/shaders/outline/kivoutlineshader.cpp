#include "kivoutlineshader.h"

#include "kivoutlinedrawing.h"
#include "kivoutlinesettings.h"
#include "kivpageresource.h"
#include "kivrender/platform/kivmodule.h"
#include "kivrender/shader/kivshaderinterface.h"

namespace {

constexpr unsigned int nameText = 1010; // the display name in the language module

} // namespace

KivOutlineShader::KivOutlineShader(HINSTANCE pluginModule)
    : KivLineShader(pluginModule, L"Outline", kivDefaultSettings(kivOutlineSection, kivOutlineTable), nameText) {}

std::unique_ptr<KivLineDrawing> KivOutlineShader::startDrawing(const KivCommonSettings& settings,
                                                               const KivCamera& camera, KivScene&, tagSIZE size,
                                                               KivShaderCommunication& communication, bool atFront) {
    return std::make_unique<KivOutlineDrawing>(settings, camera, size, communication, atFront);
}

KivShapeWish KivOutlineShader::shapeOf(const Kiv3DObject& object) const {
    const KivLineLook look = kivOutlineLook(settingsOf(object));
    return {look.smoothShape, look.rules.creaseAngle};
}

KivLineNeeds KivOutlineShader::needsOf(const Kiv3DObject& object) const {
    return {true, kivOutlineLook(settingsOf(object)).intersections};
}

KIV_SHADER_INTERFACE;

KIV_PLUGIN_EXPORT KivShader* KivShaderCreate() {
    return new KivOutlineShader(kivModuleOf(&KivShaderCreate));
}

KIV_PLUGIN_EXPORT void KivShaderDelete(KivShader* shader) {
    delete shader;
}

KIV_PLUGIN_EXPORT bool KivShaderUsesStencil(const KivShader*) {
    return false; // but in renders with shadows
}

KIV_PLUGIN_EXPORT int KivShaderSettings(const KivSettingInfo** table) {
    return kivOutlineTable(table);
}

KIV_PLUGIN_EXPORT void KivShaderShape(const KivShader* shader, const Kiv3DObject* object, KivShapeWish* wish) {
    *wish = static_cast<const KivOutlineShader*>(shader)->shapeOf(*object);
}

KIV_PLUGIN_EXPORT void KivShaderLineNeeds(const KivShader* shader, const Kiv3DObject* object, KivLineNeeds* needs) {
    *needs = static_cast<const KivOutlineShader*>(shader)->needsOf(*object);
}

KIV_PLUGIN_EXPORT const char* KivModuleResource(unsigned int kind, unsigned int id, unsigned long* size) {
    return kivPageResource(kind, id, size, kivOutlineTable);
}
