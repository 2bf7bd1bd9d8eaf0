// Plug-ins that fail in one way each; FAULT chooses which.
#include "kivrender/platform/kivmodule.h"
#include "kivrender/settings/kivsettingstable.h"
#include "kivrender/shader/kivshaderinterface.h"
#include "support/plainshader.h"

#include <csignal>
#include <cstdlib>
#include <limits>
#include <stdexcept>

#define FAULT_THROWS_FROM_NAME 1
#define FAULT_THROWS_FROM_TAG 2
#define FAULT_MAKES_NOTHING 3
#define FAULT_EXPORTS_NOTHING 4
#define FAULT_NO_DELETE 5
#define FAULT_NONE_BUT_SETTINGS 6
#define FAULT_THROWS_FROM_CREATE 7
#define FAULT_THROWS_FROM_DELETE 8
#define FAULT_NULL_TAG 9
#define FAULT_NULL_NAME 10
#define FAULT_BAD_TAG 11
#define FAULT_NULL_KEY 12
#define FAULT_TOO_MANY_SETTINGS 13
#define FAULT_THROWS_FROM_SETTINGS 14
#define FAULT_OTHER_INTERFACE 15
#define FAULT_SAME_INTERFACE 16
#define FAULT_NO_SHADER 17
#define FAULT_WRONG_KIND 18
#define FAULT_NULL_MODULE 19
#define FAULT_THROWS_LATER 20
#define FAULT_THROWS_WHILE_LOADED 21
#define FAULT_ABORTS_WHILE_LOADED 22
#define FAULT_CRASHES_WHILE_LOADED 23
#define FAULT_EXITS_WHILE_LOADED 24
#define FAULT_LOOPS_WHILE_LOADED 25
#define FAULT_CRASHES_IN_NAME 26
#define FAULT_EXITS_FROM_CREATE 27
#define FAULT_LOOPS_IN_CREATE 28
#define FAULT_ABORTS_IN_SETTINGS 29
#define FAULT_CRASHES_IN_DELETE 30
#define FAULT_CRASHES_WHILE_UNLOADED 31

int faultyAnchor = 0;

namespace {

bool lookedAt = false; // the library's check of a new shader is over

// What no compiler may take for something that never happens.
[[maybe_unused]] void crash() {
    std::raise(SIGSEGV);
}

[[maybe_unused]] void loop() {
    for (volatile bool goOn = true; goOn;) {
    }
}

// An object of the module itself.
struct Constructed {
    Constructed() {
#if FAULT == FAULT_THROWS_WHILE_LOADED
        throw std::runtime_error("no place");
#elif FAULT == FAULT_ABORTS_WHILE_LOADED
        std::abort();
#elif FAULT == FAULT_CRASHES_WHILE_LOADED
        crash();
#elif FAULT == FAULT_EXITS_WHILE_LOADED
        std::exit(0);
#elif FAULT == FAULT_LOOPS_WHILE_LOADED
        loop();
#endif
    }
    ~Constructed() {
#if FAULT == FAULT_CRASHES_WHILE_UNLOADED
        crash();
#endif
    }
} constructed;

class Faulty : public PlainCombinable {
public:
#if FAULT == FAULT_NULL_MODULE
    Faulty() : PlainCombinable(nullptr, L"Faulty", L"Test Faulty") {}
#else
    Faulty() : PlainCombinable(kivModuleOf(&faultyAnchor), L"Faulty", L"Test Faulty") {}
#endif

    const wchar_t* getName() const override {
#if FAULT == FAULT_THROWS_FROM_NAME
        throw std::runtime_error("no name");
#elif FAULT == FAULT_NULL_NAME
        return nullptr;
#elif FAULT == FAULT_CRASHES_IN_NAME
        crash();
        return nullptr;
#else
        if (FAULT == FAULT_THROWS_LATER && lookedAt) {
            throw std::runtime_error("no name any more");
        }
        return PlainCombinable::getName();
#endif
    }
    const wchar_t* getTag() const override {
#if FAULT == FAULT_THROWS_FROM_TAG
        throw 42; // what is thrown need not be an exception class
#elif FAULT == FAULT_NULL_TAG
        return nullptr;
#elif FAULT == FAULT_BAD_TAG
        return L"Faulty;Cartoon";
#else
        if (FAULT == FAULT_THROWS_LATER && lookedAt) {
            throw 42;
        }
        return PlainCombinable::getTag();
#endif
    }
#if FAULT == FAULT_WRONG_KIND
    bool isCombinable() const override {
        return false;
    }
#endif
};

} // namespace

KIV_PLUGIN_EXPORT void faultyFromNowOn() {
    lookedAt = true;
}

#if FAULT == FAULT_OTHER_INTERFACE
KIV_PLUGIN_EXPORT const std::uint32_t KivShaderInterfaceVersion;
const std::uint32_t KivShaderInterfaceVersion = kivShaderInterface + 1;
#elif FAULT == FAULT_SAME_INTERFACE
KIV_SHADER_INTERFACE;
#endif

#if FAULT != FAULT_EXPORTS_NOTHING
KIV_PLUGIN_EXPORT KivShader* KivShaderCreate() {
#if FAULT == FAULT_MAKES_NOTHING
    return nullptr;
#elif FAULT == FAULT_NO_DELETE
    static Faulty shader; // lies in the module itself, as it can't be deleted
    return &shader;
#elif FAULT == FAULT_THROWS_FROM_CREATE
    throw std::runtime_error("no paint\nleft");
#elif FAULT == FAULT_OTHER_INTERFACE
    std::abort(); // nothing of such a plug-in may be called
#elif FAULT == FAULT_EXITS_FROM_CREATE
    std::exit(7);
#elif FAULT == FAULT_LOOPS_IN_CREATE
    loop();
    return nullptr;
#elif FAULT == FAULT_NO_SHADER
    static long long memory[64] = {};
    return reinterpret_cast<KivShader*>(memory);
#else
    return new Faulty;
#endif
}

#if FAULT != FAULT_NO_DELETE
KIV_PLUGIN_EXPORT void KivShaderDelete([[maybe_unused]] KivShader* shader) {
#if FAULT == FAULT_THROWS_FROM_DELETE
    throw std::runtime_error("no end");
#elif FAULT == FAULT_NO_SHADER
    std::abort(); // it was none
#elif FAULT == FAULT_CRASHES_IN_DELETE
    crash();
#else
    delete shader;
#endif
}
#endif
#endif

namespace {
constexpr const char* secondKey = FAULT == FAULT_NULL_KEY ? nullptr : "Ink";
const KivSettingInfo table[] = {
    {"Bands", KivSettingType::Int, 1, 8, 3, L"Number of bands", nullptr},
    {secondKey, KivSettingType::Colour, 0, 0xFFFFFF, 0, L"Colour of the lines", nullptr},
};
} // namespace

#if FAULT == FAULT_NONE_BUT_SETTINGS || FAULT == FAULT_NULL_KEY || FAULT == FAULT_TOO_MANY_SETTINGS ||                 \
    FAULT == FAULT_THROWS_FROM_SETTINGS || FAULT == FAULT_ABORTS_IN_SETTINGS
KIV_PLUGIN_EXPORT int KivShaderSettings(const KivSettingInfo** out) {
    if (FAULT == FAULT_THROWS_FROM_SETTINGS) {
        throw std::runtime_error("no table");
    }
    if (FAULT == FAULT_ABORTS_IN_SETTINGS) {
        std::abort();
    }
    *out = table;
    return FAULT == FAULT_TOO_MANY_SETTINGS ? std::numeric_limits<int>::max() : 2;
}
#endif
