#include "kivrender/shader/kivshadershape.h"

#include "kivrender/platform/kivmodule.h"
#include "kivrender/shader/kivshaderguard.h"
#include "kivrender/shader/kivshadermodule.h"

#include <algorithm>
#include <cmath>

namespace {

KivShaderShapeFunction* queryOf(const KivShader& shader) {
    return reinterpret_cast<KivShaderShapeFunction*>(kivFindSymbol(KivShaderModule::of(shader), "KivShaderShape"));
}

} // namespace

bool kivAsksForShape(const KivShader& shader) {
    return queryOf(shader) != nullptr;
}

KivShapeWish kivShaderShape(const KivShader& shader, const Kiv3DObject& object) {
    KivShapeWish wish;
    auto* const query = queryOf(shader);
    if (query == nullptr || !kivTryShader(shader, [&] { query(&shader, &object, &wish); })) {
        return {};
    }
    wish.smoothAngle = std::isfinite(wish.smoothAngle) ? std::clamp(wish.smoothAngle, 0.0, 180.0) : 0.0;
    return wish;
}

KivLineNeeds kivShaderLineNeeds(const KivShader& shader, const Kiv3DObject& object) {
    KivLineNeeds needs;
    auto* const query =
        reinterpret_cast<KivShaderLineNeedsFunction*>(kivFindSymbol(KivShaderModule::of(shader), "KivShaderLineNeeds"));
    if (query == nullptr || !kivTryShader(shader, [&] { query(&shader, &object, &needs); })) {
        return {};
    }
    return needs;
}
