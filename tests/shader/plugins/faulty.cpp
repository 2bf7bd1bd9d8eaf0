// Plug-ins that fail in one way each; FAULT chooses which.
#include "kivrender/platform/kivmodule.h"
#include "kivrender/settings/kivsettingstable.h"
#include "support/plainshader.h"

#include <stdexcept>

#define FAULT_THROWS_FROM_NAME 1
#define FAULT_THROWS_FROM_TAG 2
#define FAULT_MAKES_NOTHING 3
#define FAULT_EXPORTS_NOTHING 4
#define FAULT_NO_DELETE 5
#define FAULT_NONE_BUT_SETTINGS 6

int faultyAnchor = 0;

namespace {

class Faulty : public PlainCombinable {
public:
    Faulty() : PlainCombinable(kivModuleOf(&faultyAnchor), L"Faulty", L"Test Faulty") {}

    const wchar_t* getName() const override {
#if FAULT == FAULT_THROWS_FROM_NAME
        throw std::runtime_error("no name");
#else
        return PlainCombinable::getName();
#endif
    }
    const wchar_t* getTag() const override {
#if FAULT == FAULT_THROWS_FROM_TAG
        throw 42; // what is thrown need not be an exception class
#else
        return PlainCombinable::getTag();
#endif
    }
};

} // namespace

#if FAULT != FAULT_EXPORTS_NOTHING
KIV_PLUGIN_EXPORT KivShader* KivShaderCreate() {
#if FAULT == FAULT_MAKES_NOTHING
    return nullptr;
#elif FAULT == FAULT_NO_DELETE
    static Faulty shader; // lies in the module itself, as it can't be deleted
    return &shader;
#else
    return new Faulty;
#endif
}

#if FAULT != FAULT_NO_DELETE
KIV_PLUGIN_EXPORT void KivShaderDelete(KivShader* shader) {
    delete shader;
}
#endif
#endif

#if FAULT == FAULT_NONE_BUT_SETTINGS
namespace {
const KivSettingInfo table[] = {
    {"Bands", KivSettingType::Int, 1, 8, 3, L"Number of bands", nullptr},
    {"Ink", KivSettingType::Colour, 0, 0xFFFFFF, 0, L"Colour of the lines", nullptr},
};
}

KIV_PLUGIN_EXPORT int KivShaderSettings(const KivSettingInfo** out) {
    *out = table;
    return 2;
}
#endif
