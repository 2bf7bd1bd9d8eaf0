#include "apps/document/studiolight.h"

#include "apps/common/framing.h"

#include <array>
#include <numbers>

KivLight StudioLight::toLight(const std::vector<Kiv3DPoint>& points) const {
    KivLight light;
    if (kind == Kind::directional) {
        light = directionalLight(direction, points);
    } else {
        light.setStyle(kind == Kind::spot ? KivLight::spotLight : KivLight::pointLight);
        light.setLocation(location);
        light.setDirection(direction);
        light.setAttenuation(Kiv3DVector(1.0, 0.0, 0.0));
        light.setSpotAngle(angle * std::numbers::pi / 180.0); // in radians, as shaders work the incidence out in them
    }
    light.setDiffuse(colour);
    light.setSpecular(colour);
    return light;
}

bool StudioLight::operator==(const StudioLight& other) const {
    const auto numbers = [](const StudioLight& l) {
        return std::array{l.location.x,  l.location.y,  l.location.z, l.direction.x,
                          l.direction.y, l.direction.z, l.angle,      static_cast<double>(l.colour)};
    };
    return kind == other.kind && numbers(*this) == numbers(other);
}
