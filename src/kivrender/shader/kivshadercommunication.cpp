#include "kivrender/shader/kivshadercommunication.h"

KivShaderCommunication* KivShaderCommunication::spDefaultCommunication = nullptr;

KivShaderCommunication* KivShaderCommunication::getDefaultCommunication() {
    return spDefaultCommunication;
}

KivShaderCommunication* KivShaderCommunication::setDefaultCommunication(KivShaderCommunication* communication) {
    KivShaderCommunication* const previous = spDefaultCommunication;
    spDefaultCommunication = communication;
    return previous;
}

void KivShaderCommunication::setPolygonOffset(float factor, float units) {
    polygonOffsetFactor = factor;
    polygonOffsetUnits = units;
}

void KivShaderCommunication::getPolygonOffset(float* factor, float* units) {
    *factor = polygonOffsetFactor;
    *units = polygonOffsetUnits;
}

void KivShaderCommunication::setHasNonCombinable(bool value) {
    hasNonCombinableFlag = value;
}

bool KivShaderCommunication::hasNonCombinable() const {
    return hasNonCombinableFlag;
}

void KivShaderCommunication::setTransparency(bool value) {
    transparencyFlag = value;
}

bool KivShaderCommunication::doTransparency() const {
    return transparencyFlag;
}
