#include "kivrender/host/kivselvarinapp.h"

#include "kivrender/platform/kivmodule.h"

CSelvarinApp& CSelvarinApp::get() {
    static CSelvarinApp app;
    return app;
}

CSelvarinApp::CSelvarinApp() : appName(L"Morvane\\2.0\\SelvarinR") {
    setRegistryKey(L"Tolvar");
}

void CSelvarinApp::setRegistryKey(const wchar_t* vendor) {
    registryKey = vendor;
}

const std::wstring& CSelvarinApp::getAppName() const {
    return appName;
}

const std::wstring& CSelvarinApp::getRegistryKey() const {
    return registryKey;
}

bool CSelvarinApp::loadLanguage(const std::wstring& path) {
    // A module in use stays loaded: texts of it may be on their way to a user. Until the new one is there, there are no
    // texts.
    lookup = nullptr;
    languageModule = nullptr;
    HINSTANCE module = kivLoadModule(path);
    if (module == nullptr) {
        return false;
    }
    lookup = reinterpret_cast<KivLanguageTextFunction*>(kivFindSymbol(module, "KivLanguageText"));
    if (lookup == nullptr) {
        kivUnloadModule(module); // some other library
        return false;
    }
    languageModule = module;
    languageDll = path;
    return true;
}

const std::wstring& CSelvarinApp::getLanguageDll() const {
    return languageDll;
}

HINSTANCE CSelvarinApp::getLanguageModule() const {
    return languageModule;
}

const char* CSelvarinApp::text(unsigned int id) const {
    return lookup != nullptr ? lookup(id) : nullptr;
}
