#include "kivmodelledlight.h"

#include "kivrender/scene/kivlight.h"
#include "kivrender/scene/kivscene.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

namespace {

double brightnessOf(std::uint32_t color) {
    return std::max({color & 0xffU, color >> 8U & 0xffU, color >> 16U & 0xffU}) / 255.0;
}

} // namespace

KivModelledLight kivModelledLight(const KivScene& scene, KivLightIncidence incidence) {
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
    return [incidence = std::move(incidence), lights, brightest](const KivVec& point, const KivVec& normal) {
        double most = 0.0;
        for (const auto& [light, brightness] : lights) {
            const double cosine =
                incidence(Kiv3DPoint(point.x, point.y, point.z), Kiv3DVector(normal.x, normal.y, normal.z), light);
            // Outside the cone of a spot it is dark.
            const bool outside = light->getStyle() == KivLight::spotLight && cosine == 0.0;
            most = std::max(most, outside ? 0.0 : (0.5 + 0.5 * cosine) * brightness / brightest);
        }
        return most;
    };
}
