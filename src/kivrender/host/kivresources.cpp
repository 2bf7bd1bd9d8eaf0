#include "kivrender/host/kivresources.h"

#include "kivrender/host/kivselvarinapp.h"
#include "kivrender/platform/kivmodule.h"

std::string_view kivFindResource(HINSTANCE module, KivResourceKind kind, unsigned int id) {
    if (module == nullptr) {
        module = CSelvarinApp::get().getLanguageModule();
    }
    if (module == nullptr) {
        return {};
    }
    auto* const find = reinterpret_cast<KivModuleResourceFunction*>(kivFindSymbol(module, "KivModuleResource"));
    unsigned long size = 0;
    const char* bytes = nullptr;
    try {
        bytes = find != nullptr ? find(static_cast<unsigned int>(kind), id, &size) : nullptr;
    } catch (...) {
        return {}; // a module that can't make its form has none: its page then has no window
    }
    return bytes != nullptr ? std::string_view(bytes, size) : std::string_view();
}
