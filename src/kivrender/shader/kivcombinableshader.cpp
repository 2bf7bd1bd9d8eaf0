#include "kivrender/shader/kivcombinableshader.h"

KivCombinableShader::KivCombinableShader(HINSTANCE pluginModule) : KivShader(pluginModule) {}

KivCombinableShader::~KivCombinableShader() = default;

bool KivCombinableShader::isCombinable() const {
    return true;
}
