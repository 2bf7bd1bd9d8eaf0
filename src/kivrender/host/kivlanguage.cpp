#include "kivrender/host/kivlanguage.h"

#include "kivrender/host/kivselvarinapp.h"
#include "kivrender/platform/kivmodule.h"
#include "kivrender/platform/kivtext.h"

#include <algorithm>

int kivLoadLangResourceDLL(const wchar_t* path) {
    return CSelvarinApp::get().loadLanguage(path != nullptr ? path : L"") ? 1 : 0;
}

const wchar_t* kivGetLangResourceDll() {
    return CSelvarinApp::get().getLanguageDll().c_str();
}

std::wstring kivText(unsigned int id) {
    const char* text = CSelvarinApp::get().text(id);
    return text != nullptr ? kivFromUtf8(text) : std::wstring();
}

int kivLoadString(unsigned int id, wchar_t* out, int size) {
    return static_cast<int>(kivCopyText(out, static_cast<std::size_t>(std::max(size, 0)), kivText(id)));
}

bool kivLoadLanguage(const std::wstring& code) {
    // Only from our own folder: a code is a name and no path.
    const auto isPlain = [](wchar_t c) {
        return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z') || (c >= L'0' && c <= L'9') || c == L'-' ||
               c == L'_';
    };
    const bool good = !code.empty() && std::all_of(code.begin(), code.end(), isPlain);
    const std::wstring path =
        good ? kivLibraryFolder() + L"/lang/selvarin-" + code + kivModuleEnding() : std::wstring();
    return kivLoadLangResourceDLL(path.c_str()) != 0;
}
