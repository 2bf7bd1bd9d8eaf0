#include "kivsketchshader.h"

#include "kivpageresource.h"
#include "kivrender/platform/kivmodule.h"
#include "kivrender/scene/kivlight.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/shader/kivshaderinterface.h"
#include "kivsketchdrawing.h"
#include "kivsketchsettings.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace {

constexpr unsigned int nameText = 1020;

double brightnessOf(std::uint32_t color) {
    return std::max({color & 0xffU, color >> 8U & 0xffU, color >> 16U & 0xffU}) / 255.0;
}

} // namespace

KivSketchShader::KivSketchShader(HINSTANCE pluginModule)
    : KivLineShader(pluginModule, L"Sketch", kivDefaultSettings(kivSketchSection, kivSketchTable), nameText) {}

KivSketchLight KivSketchShader::lightOf(KivScene& scene) const {
    std::vector<std::pair<const KivLight*, double>> lights;
    double brightest = 0.0;
    for (unsigned int i = 0; i < scene.numLights(); ++i) {
        const KivLight* light = scene.getLight(i);
        const double brightness = brightnessOf(light->getDiffuse());
        const KivLight::lightStyle style = light->getStyle();
        if (style == KivLight::directionalLight || style == KivLight::pointLight || style == KivLight::spotLight) {
            lights.emplace_back(light, brightness);
            brightest = std::max(brightest, brightness);
        }
    }
    if (lights.empty()) {
        return nullptr;
    }
    // Lights that nobody gave a colour shine alike.
    if (!(brightest > 0.0)) {
        brightest = 1.0;
        for (auto& [light, brightness] : lights) {
            brightness = 1.0;
        }
    }
    return [this, lights, brightest](const KivVec& point, const KivVec& normal) {
        double most = 0.0;
        for (const auto& [light, brightness] : lights) {
            const double incidence = calculateLightIncidenceToLight(Kiv3DPoint(point.x, point.y, point.z),
                                                                    Kiv3DVector(normal.x, normal.y, normal.z), light);
            // Outside the cone of a spot it is dark; elsewhere the light dies away all round to the far side, as a
            // hand would model it.
            const bool outside = light->getStyle() == KivLight::spotLight && incidence == 0.0;
            most = std::max(most, outside ? 0.0 : (0.5 + 0.5 * incidence) * brightness / brightest);
        }
        return most;
    };
}

std::unique_ptr<KivLineDrawing> KivSketchShader::startDrawing(const KivCommonSettings& settings,
                                                              const KivCamera& camera, KivScene& scene, tagSIZE size,
                                                              KivShaderCommunication& communication, bool atFront) {
    return std::make_unique<KivSketchDrawing>(settings, camera, size, communication, atFront, lightOf(scene));
}

KivShapeWish KivSketchShader::shapeOf(const Kiv3DObject& object) const {
    const KivLineLook look = kivSketchLook(settingsOf(object));
    return {look.smoothShape, look.rules.creaseAngle};
}

KIV_SHADER_INTERFACE;

KIV_PLUGIN_EXPORT KivShader* KivShaderCreate() {
    return new KivSketchShader(kivModuleOf(&KivShaderCreate));
}

KIV_PLUGIN_EXPORT void KivShaderDelete(KivShader* shader) {
    delete shader;
}

KIV_PLUGIN_EXPORT int KivShaderSettings(const KivSettingInfo** table) {
    return kivSketchTable(table);
}

KIV_PLUGIN_EXPORT void KivShaderShape(const KivShader* shader, const Kiv3DObject* object, KivShapeWish* wish) {
    *wish = static_cast<const KivSketchShader*>(shader)->shapeOf(*object);
}

KIV_PLUGIN_EXPORT const char* KivModuleResource(unsigned int kind, unsigned int id, unsigned long* size) {
    return kivPageResource(kind, id, size, kivSketchTable);
}
