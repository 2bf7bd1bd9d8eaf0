#include "kivrender/scene/kivlight.h"

KivLight::KivLight() = default;

// The shader settings belong to the one object that they were set on, so a copy starts without any.
// NOLINTNEXTLINE(bugprone-copy-constructor-init)
KivLight::KivLight(const KivLight& other)
    : Kiv3DObject(), attenuation(other.attenuation), direction(other.direction), hotSpot(other.hotSpot),
      intensity(other.intensity), length(other.length), location(other.location),
      shadowIntensity(other.shadowIntensity), spotAngle(other.spotAngle), spotExponent(other.spotExponent),
      style(other.style), width(other.width), diffuse(other.diffuse), specular(other.specular), ambient(other.ambient) {
}

KivLight::~KivLight() = default;

void KivLight::setAttenuation(const Kiv3DVector& value) {
    attenuation = value;
}

Kiv3DVector KivLight::getAttenuation() const {
    return attenuation;
}

void KivLight::setDirection(const Kiv3DVector& value) {
    direction = value;
}

Kiv3DVector KivLight::getDirection() const {
    return direction;
}

void KivLight::setHotSpot(double value) {
    hotSpot = value;
}

double KivLight::getHotSpot() const {
    return hotSpot;
}

void KivLight::setIntensity(double value) {
    intensity = value;
}

double KivLight::getIntensity() const {
    return intensity;
}

void KivLight::setLength(const Kiv3DVector& value) {
    length = value;
}

Kiv3DVector KivLight::getLength() const {
    return length;
}

void KivLight::setLocation(const Kiv3DPoint& value) {
    location = value;
}

Kiv3DPoint KivLight::getLocation() const {
    return location;
}

void KivLight::setShadowIntensity(double value) {
    shadowIntensity = value;
}

double KivLight::getShadowIntensity() const {
    return shadowIntensity;
}

void KivLight::setSpotAngle(double value) {
    spotAngle = value;
}

double KivLight::getSpotAngle() const {
    return spotAngle;
}

void KivLight::setSpotexponent(double value) {
    spotExponent = value;
}

double KivLight::getSpotExponent() const {
    return spotExponent;
}

void KivLight::setStyle(lightStyle value) {
    style = value;
}

KivLight::lightStyle KivLight::getStyle() const {
    return style;
}

void KivLight::setWidth(const Kiv3DVector& value) {
    width = value;
}

Kiv3DVector KivLight::getWidth() const {
    return width;
}

void KivLight::setDiffuse(std::uint32_t color) {
    diffuse = color;
}

std::uint32_t KivLight::getDiffuse() const {
    return diffuse;
}

void KivLight::setSpecular(std::uint32_t color) {
    specular = color;
}

std::uint32_t KivLight::getSpecular() const {
    return specular;
}

void KivLight::setAmbient(std::uint32_t color) {
    ambient = color;
}

std::uint32_t KivLight::getAmbient() const {
    return ambient;
}
