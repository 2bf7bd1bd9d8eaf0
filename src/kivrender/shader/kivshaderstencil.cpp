#include "kivrender/shader/kivshaderstencil.h"

#include "kivrender/platform/kivmodule.h"
#include "kivrender/shader/kivshader.h"
#include "kivrender/shader/kivshaderguard.h"
#include "kivrender/shader/kivshadermodule.h"

namespace {

bool usesStencil(const KivShader& shader) {
    auto* const query = reinterpret_cast<KivShaderUsesStencilFunction*>(
        kivFindSymbol(KivShaderModule::of(shader), "KivShaderUsesStencil"));
    bool uses = true;
    return query == nullptr || !kivTryShader(shader, [&] { uses = query(&shader); }) || uses;
}

} // namespace

bool kivNeedsStencil(bool hasShadows) {
    if (hasShadows) {
        return true;
    }
    for (unsigned long i = 0; i < KivShader::shaders(); ++i) {
        const KivShader* const shader = KivShader::getByIndex(i);
        if (shader != nullptr && usesStencil(*shader)) {
            return true;
        }
    }
    return false;
}
