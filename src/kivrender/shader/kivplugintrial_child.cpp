// What selvarin-plugin-check does with one plug-in: as the loader would, step by step.
#include "kivrender/platform/kivmodule.h"
#include "kivrender/shader/kivliveshaders.h"
#include "kivrender/shader/kivplugincheck.h"
#include "kivrender/shader/kivplugintrial.h"
#include "kivrender/shader/kivshader.h"

void kivTryPlugin(const std::wstring& file, void (*tell)(KivTrialStage)) {
    tell(KivTrialStage::loads);
    HINSTANCE const module = kivLoadModule(file);
    if (module == nullptr) {
        return;
    }
    auto* const make = reinterpret_cast<KivShaderCreateFunction*>(kivFindSymbol(module, "KivShaderCreate"));
    if (make != nullptr && kivInterfaceFault(module).empty()) {
        try {
            tell(KivTrialStage::creates);
            KivShader* const shader = make();
            if (shader != nullptr && KivLiveShaders::revive(shader)) {
                tell(KivTrialStage::asks);
                kivShaderFault(module, *shader);
                tell(KivTrialStage::deletes);
                if (auto* const end =
                        reinterpret_cast<KivShaderDeleteFunction*>(kivFindSymbol(module, "KivShaderDelete"))) {
                    end(shader);
                }
                KivLiveShaders::retire(shader);
            }
        } catch (...) {
            return; // the loader meets it too, and tells it; the module stays, as what was thrown may be its own
        }
    }
    tell(KivTrialStage::unloads);
    kivUnloadModule(module);
}
