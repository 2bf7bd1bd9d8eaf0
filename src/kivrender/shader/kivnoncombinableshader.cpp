#include "kivrender/shader/kivnoncombinableshader.h"

KivNonCombinableShader::KivNonCombinableShader(HINSTANCE pluginModule) : KivShader(pluginModule) {}

KivNonCombinableShader::~KivNonCombinableShader() = default;

bool KivNonCombinableShader::isCombinable() const {
    return false;
}
