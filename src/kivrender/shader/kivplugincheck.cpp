#include "kivrender/shader/kivplugincheck.h"

#include "kivrender/platform/kivmodule.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/platform/kivthrown.h"
#include "kivrender/settings/kivsettingscheck.h"
#include "kivrender/shader/kivcombinableshader.h"
#include "kivrender/shader/kivnoncombinableshader.h"
#include "kivrender/shader/kivshaderinterface.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <string_view>

namespace {

// A plug-in may be built without type information. The word before the first entry of the table of virtual operations
// leads to it (Itanium C++ ABI, 2.5.2), or is null.
bool hasTypeInformation(const KivShader& shader) {
    const void* const* table = nullptr;
    std::memcpy(&table, static_cast<const void*>(&shader), sizeof table);
    return table[-1] != nullptr;
}

std::wstring kindFault(const KivShader& shader) {
    if (!hasTypeInformation(shader)) {
        shader.isCombinable(); // it must answer at least
        return {};
    }
    const bool adds = dynamic_cast<const KivCombinableShader*>(&shader) != nullptr;
    const bool paints = dynamic_cast<const KivNonCombinableShader*>(&shader) != nullptr;
    if (adds == paints) {
        return L"its shader is neither a KivCombinableShader nor a KivNonCombinableShader";
    }
    return shader.isCombinable() == adds ? L"" : L"isCombinable contradicts the class of its shader";
}

// A tag is a section of style files and a word in lists that semicolons divide.
std::wstring tagFault(const KivShader& shader) {
    const wchar_t* const tag = shader.getTag();
    if (tag == nullptr) {
        return L"getTag gives no text";
    }
    const auto isRefused = [](wchar_t c) { return c < L' ' || c == 0x7F || c == L';' || c == L']'; };
    const std::wstring_view text(tag, wcsnlen(tag, kivMaxPath));
    const bool fits = !text.empty() && text.size() < kivMaxPath / 2;
    bool taken = false;
    for (const wchar_t* const own : {L"General", L"Common", L"End Morvane"}) {
        taken = taken || kivEqualNoCase(text, own);
    }
    if (!fits || taken || text.front() == L' ' || text.back() == L' ' ||
        std::any_of(text.begin(), text.end(), isRefused)) {
        return L"its tag \"" + std::wstring(text.substr(0, 40)) + L"\" can't stand in style files";
    }
    return {};
}

std::wstring settingsFault(HINSTANCE plugin) {
    auto* const query = reinterpret_cast<KivShaderSettingsFunction*>(kivFindSymbol(plugin, "KivShaderSettings"));
    if (query == nullptr) {
        return {};
    }
    const KivSettingInfo* table = nullptr;
    const int count = query(&table);
    return kivSettingsFault(table, count);
}

} // namespace

std::wstring kivInterfaceFault(HINSTANCE plugin) {
    const auto* const number =
        reinterpret_cast<const std::uint32_t*>(kivFindSymbol(plugin, "KivShaderInterfaceVersion"));
    const std::uint32_t version = number != nullptr ? *number : kivUnnumberedShaderInterface;
    if (version >= kivOldestShaderInterface && version <= kivShaderInterface) {
        return {};
    }
    const std::wstring oldest = std::to_wstring(kivOldestShaderInterface);
    const std::wstring newest = std::to_wstring(kivShaderInterface);
    return L"it was built for version " + std::to_wstring(version) +
           L" of the shader interface, and this library has " + (oldest == newest ? newest : oldest + L" to " + newest);
}

std::wstring kivShaderFault(HINSTANCE plugin, const KivShader& shader) {
    const wchar_t* asked = L"";
    try {
        asked = L"isCombinable";
        std::wstring fault = kindFault(shader);
        if (fault.empty()) {
            asked = L"getTag";
            fault = tagFault(shader);
        }
        if (fault.empty()) {
            asked = L"getName";
            fault = shader.getName() == nullptr ? L"getName gives no text" : L"";
        }
        if (fault.empty()) {
            asked = L"KivShaderSettings";
            fault = settingsFault(plugin);
        }
        return fault;
    } catch (...) {
        return std::wstring(asked) + L" threw: " + kivThrownText();
    }
}
