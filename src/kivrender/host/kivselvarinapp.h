// The one object that stands for the library in the process: its identity in the preferences and the language module
// that all texts come from.
#ifndef KIVRENDER_HOST_KIVSELVARINAPP_H
#define KIVRENDER_HOST_KIVSELVARINAPP_H

#include "kivrender/host/kivlanguage.h"
#include "kivrender/platform/kivtypes.h"

#include <string>

class CSelvarinApp {
public:
    static CSelvarinApp& get();

    CSelvarinApp(const CSelvarinApp&) = delete;
    CSelvarinApp& operator=(const CSelvarinApp&) = delete;

    // The name that the module's preferences go under, and the vendor's above it.
    const std::wstring& getAppName() const;
    const std::wstring& getRegistryKey() const;

    // See kivLoadLangResourceDLL.
    bool loadLanguage(const std::wstring& path);
    const std::wstring& getLanguageDll() const;
    // Null until a language is loaded.
    HINSTANCE getLanguageModule() const;
    // UTF-8, owned by the language module; null if there is no such text.
    const char* text(unsigned int id) const;

private:
    CSelvarinApp();
    ~CSelvarinApp() = default;

    void setRegistryKey(const wchar_t* vendor);

    std::wstring appName;
    std::wstring registryKey;
    std::wstring languageDll;
    HINSTANCE languageModule = nullptr;
    KivLanguageTextFunction* lookup = nullptr;
};

#endif
