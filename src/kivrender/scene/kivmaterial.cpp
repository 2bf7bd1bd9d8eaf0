#include "kivrender/scene/kivmaterial.h"

#include <algorithm>

// The diffuse colour of a copy is the ambient one of its source: the published behaviour, which hosts have built on.
KivMaterial::KivMaterial(const KivMaterial& other)
    : ambient(other.ambient), diffuse(other.ambient), emission(other.emission), specular(other.specular),
      shine(other.shine), mode(other.mode), bitmapFileName(other.bitmapFileName), transparency(other.transparency) {}

double KivMaterial::maxShine() {
    return 255.0;
}

void KivMaterial::setAmbient(std::uint32_t color) {
    ambient = color;
}

std::uint32_t KivMaterial::getAmbient() const {
    return ambient;
}

void KivMaterial::setDiffuse(std::uint32_t color) {
    diffuse = color;
}

std::uint32_t KivMaterial::getDiffuse() const {
    return diffuse;
}

void KivMaterial::setEmission(std::uint32_t color) {
    emission = color;
}

std::uint32_t KivMaterial::getEmission() const {
    return emission;
}

void KivMaterial::setSpecular(std::uint32_t color) {
    specular = color;
}

std::uint32_t KivMaterial::getSpecular() const {
    return specular;
}

double KivMaterial::getShine() const {
    return shine;
}

void KivMaterial::setShine(double value) {
    shine = std::clamp(value, 0.0, maxShine());
}

KivMaterial::textureMode KivMaterial::getTextureMode() const {
    return mode;
}

void KivMaterial::setTextureMode(textureMode value) {
    mode = value;
}

const wchar_t* KivMaterial::getBitmapFileName() const {
    return bitmapFileName;
}

void KivMaterial::setBitmapFilename(const wchar_t* const& name) {
    bitmapFileName = name;
}

double KivMaterial::getTransparency() const {
    return transparency;
}

void KivMaterial::setTransparency(double value) {
    transparency = value;
}
