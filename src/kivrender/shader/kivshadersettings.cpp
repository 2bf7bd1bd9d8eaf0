#include "kivrender/shader/kivshadersettings.h"

#include "kivrender/platform/kivmodule.h"
#include "kivrender/settings/kivsettingscheck.h"
#include "kivrender/shader/kivshaderguard.h"
#include "kivrender/shader/kivshadermodule.h"

const KivSettingInfo* kivShaderSettings(const KivShader* shader, int* count) {
    const KivSettingInfo* table = nullptr;
    int number = 0;
    if (shader != nullptr) {
        if (auto* query = reinterpret_cast<KivShaderSettingsFunction*>(
                kivFindSymbol(KivShaderModule::of(*shader), "KivShaderSettings"))) {
            kivTryShader(*shader, [&] { number = query(&table); });
        }
    }
    if (!kivSettingsFault(table, number).empty()) {
        number = 0; // another table than the one that was looked at when the plug-in was loaded
    }
    if (count != nullptr) {
        *count = number;
    }
    return number > 0 ? table : nullptr;
}
