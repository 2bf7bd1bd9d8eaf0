#include "kivrender/shader/kivshadersettings.h"

#include "kivrender/platform/kivmodule.h"
#include "kivrender/shader/kivshadermodule.h"

const KivSettingInfo* kivShaderSettings(const KivShader* shader, int* count) {
    const KivSettingInfo* table = nullptr;
    int number = 0;
    if (shader != nullptr) {
        if (auto* query = reinterpret_cast<KivShaderSettingsFunction*>(
                kivFindSymbol(KivShaderModule::of(*shader), "KivShaderSettings"))) {
            number = query(&table);
        }
    }
    if (table == nullptr || number < 0) {
        number = 0;
    }
    if (count != nullptr) {
        *count = number;
    }
    return number > 0 ? table : nullptr;
}
