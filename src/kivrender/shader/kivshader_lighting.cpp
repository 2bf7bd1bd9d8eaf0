// The lighting that all shaders share.
#include "kivrender/scene/kiv3dpoint.h"
#include "kivrender/scene/kiv3dvector.h"
#include "kivrender/scene/kivlight.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/shader/kivshader.h"

#include <cmath>

double KivShader::calculateLightIncidence(const Kiv3DPoint& point, const Kiv3DVector& normal, const KivScene* scene,
                                          double backFactor) const {
    const double backWeight = 1.0 - backFactor;
    double strongest = 0.0;
    for (unsigned int i = 0; i < scene->numLights(); ++i) {
        double incidence = calculateLightIncidenceToLight(point, normal, scene->getLight(i));
        if (doubleSided && incidence < 0.0) {
            incidence = std::fabs(incidence) * backWeight;
        }
        if (incidence > strongest) {
            strongest = incidence;
        }
    }
    return strongest;
}

double KivShader::calculateLightIncidenceToLight(const Kiv3DPoint& point, const Kiv3DVector& normal,
                                                 const KivLight* light) const {
    switch (light->getStyle()) {
    case KivLight::directionalLight:
        return calculateAngleBetweenAxis(normal, -light->getDirection());
    case KivLight::pointLight:
        return calculateAngleBetweenAxis(normal, light->getLocation() - point);
    case KivLight::spotLight: {
        const Kiv3DVector direction = light->getDirection();
        const double angle = std::acos(calculateAngleBetweenAxis(point - light->getLocation(), direction));
        // Negated, so that the edge of the cone counts as inside, and the axis too, where rounding can make the angle
        // no number.
        if (!(light->getSpotAngle() < angle)) {
            return calculateAngleBetweenAxis(normal, -direction);
        }
        return 0.0;
    }
    default:
        return 0.0;
    }
}

double KivShader::calculateAngleBetweenAxis(const Kiv3DVector& a, const Kiv3DVector& b) const {
    const double normA = std::sqrt(a.x * a.x + a.y * a.y + a.z * a.z);
    const double normB = std::sqrt(b.x * b.x + b.y * b.y + b.z * b.z);
    if (normA == 0.0 || normB == 0.0) {
        return 0.0;
    }
    return a.x / normA * (b.x / normB) + a.y / normA * (b.y / normB) + a.z / normA * (b.z / normB);
}

void KivShader::calculateFaceNormal(Kiv3DVector* result, const Kiv3DVector* normals) {
    result->x = (normals[0].x + normals[1].x + normals[2].x) / 3.0;
    result->y = (normals[0].y + normals[1].y + normals[2].y) / 3.0;
    result->z = (normals[0].z + normals[1].z + normals[2].z) / 3.0;
}
