#include "kivrender/host/kivhostapplicationservices.h"

#include "kivrender/platform/kivpreferences.h"
#include "kivrender/platform/kivtext.h"

#include <cwchar>
#include <string>

namespace {

// A text is read into 260 bytes, not characters, of two bytes each with a closing zero: hosts know the limit by now.
constexpr std::size_t largestStoredText = 260 / 2 - 1;

std::size_t numUnits(const std::wstring& text) {
    std::size_t units = 0;
    for (const wchar_t c : text) {
        units += static_cast<std::uint32_t>(c) > 0xFFFF ? 2 : 1;
    }
    return units;
}

std::wstring textOf(const wchar_t* text) {
    return text != nullptr ? text : L"";
}

} // namespace

bool KivHostApplicationServices::saveStringOnRegistryKey(bool machine, const wchar_t* key, const wchar_t* value,
                                                         const wchar_t* data) {
    return KivPreferences().saveString(machine, textOf(key), textOf(value), textOf(data));
}

bool KivHostApplicationServices::loadStringOnRegistryKey(bool machine, const wchar_t* key, const wchar_t* value,
                                                         wchar_t* data) {
    KivPreferences preferences;
    if (preferences.hasKey(machine, textOf(key))) {
        const auto stored = preferences.loadString(machine, textOf(key), textOf(value));
        const bool found = stored && numUnits(*stored) <= largestStoredText;
        kivCopyText(data, kivMaxPath, found ? *stored : std::wstring());
        return found;
    }
    // A caller's buffer need not have an end within its size.
    const std::wstring present = data != nullptr ? std::wstring(data, wcsnlen(data, kivMaxPath - 1)) : std::wstring();
    const bool stored = preferences.saveString(machine, textOf(key), textOf(value), present);
    kivCopyText(data, kivMaxPath, stored ? present : std::wstring());
    return false;
}

bool KivHostApplicationServices::saveDwordOnRegistryKey(bool machine, const wchar_t* key, const wchar_t* value,
                                                        std::uint32_t data) {
    return KivPreferences().saveNumber(machine, textOf(key), textOf(value), data);
}

bool KivHostApplicationServices::loadDwordOnRegistryKey(bool machine, const wchar_t* key, const wchar_t* value,
                                                        std::uint32_t* data) {
    KivPreferences preferences;
    const std::uint32_t present = data != nullptr ? *data : 0;
    const bool hasKey = preferences.hasKey(machine, textOf(key));
    std::uint32_t result = 0;
    bool good = false;
    if (hasKey) {
        const auto stored = preferences.loadNumber(machine, textOf(key), textOf(value));
        good = stored.has_value();
        result = stored.value_or(0);
    } else {
        good = preferences.saveNumber(machine, textOf(key), textOf(value), present);
        result = good ? present : 0;
    }
    if (data != nullptr) {
        *data = result;
    }
    return good;
}

bool KivHostApplicationServices::getShowPreview() {
    std::uint32_t show = 0;
    if (!loadRegistryDword(false, L"ShowPreview", &show)) {
        saveRegistryDword(false, L"ShowPreview", 0);
        return false;
    }
    return show != 0;
}

void KivHostApplicationServices::setShowPreview(bool show) {
    saveRegistryDword(false, L"ShowPreview", show ? 1 : 0);
}

bool KivHostApplicationServices::getLoadToolbar() {
    std::uint32_t load = 0;
    if (!loadRegistryDword(false, L"LoadToolbar", &load)) {
        // The first start has no tool bar to load yet, later ones have.
        saveRegistryDword(false, L"LoadToolbar", 1);
        return false;
    }
    return load != 0;
}

void KivHostApplicationServices::getVirtualMemoryFolder(wchar_t* out) {
    kivCopyText(out, kivMaxPath, L""); // a load may take what stands there for a value to keep
    if (!loadRegistryString(false, L"VirtualMemory", out)) {
        kivCopyText(out, kivMaxPath, L"");
    }
}

void KivHostApplicationServices::setVirtualMemoryFolder(const wchar_t* folder) {
    saveRegistryString(false, L"VirtualMemory", folder != nullptr ? folder : L"");
}

void KivHostApplicationServices::setMostRecentExecuted() {
    wchar_t date[kivMaxPath];
    compilationDate(date, nullptr, nullptr, nullptr);
    saveRunRegistryString(true, L"MostRecent", date);
    saveRunRegistryString(false, L"MostRecent", date);
}
