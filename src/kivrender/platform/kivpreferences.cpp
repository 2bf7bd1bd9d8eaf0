#include "kivrender/platform/kivpreferences.h"

#include "kivrender/platform/kivfolders.h"
#include "kivrender/platform/kivprofile.h"
#include "kivrender/platform/kivtext.h"

#include <string_view>
#include <utility>

namespace {

// Each value is written with its type before it, as a profile knows texts alone.
constexpr std::wstring_view textMark = L"text:";
constexpr std::wstring_view numberMark = L"number:";

// A profile's value can't hold line breaks and loses the blanks at its end: those go as a backslash and a letter.
std::wstring escape(std::wstring_view text) {
    std::wstring out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        switch (text[i]) {
        case L'\\':
            out += L"\\\\";
            break;
        case L'\n':
            out += L"\\n";
            break;
        case L'\r':
            out += L"\\r";
            break;
        case L'\0':
            out += L"\\0";
            break;
        case L'\t':
            out += L"\\t";
            break;
        case L'\v':
            out += L"\\v";
            break;
        case L'\f':
            out += L"\\f";
            break;
        case L' ':
            out += i + 1 == text.size() ? L"\\s" : L" ";
            break;
        default:
            out += text[i];
        }
    }
    return out;
}

wchar_t unescaped(wchar_t letter) {
    switch (letter) {
    case L'n':
        return L'\n';
    case L'r':
        return L'\r';
    case L'0':
        return L'\0';
    case L't':
        return L'\t';
    case L'v':
        return L'\v';
    case L'f':
        return L'\f';
    case L's':
        return L' ';
    default:
        return letter;
    }
}

std::wstring unescape(std::wstring_view text) {
    std::wstring out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == L'\\' && i + 1 < text.size()) {
            out += unescaped(text[++i]);
        } else {
            out += text[i];
        }
    }
    return out;
}

std::optional<std::uint32_t> toNumber(std::wstring_view digits) {
    std::uint64_t number = 0;
    for (const wchar_t c : digits) {
        if (c < L'0' || c > L'9') {
            return std::nullopt;
        }
        number = number * 10 + static_cast<std::uint64_t>(c - L'0');
        if (number > UINT32_MAX) {
            return std::nullopt;
        }
    }
    return digits.empty() ? std::nullopt : std::optional(static_cast<std::uint32_t>(number));
}

std::wstring inside(const std::wstring& folder) {
    return folder.empty() ? folder : folder + L"/tolvar";
}

} // namespace

KivPreferences::KivPreferences() : KivPreferences(inside(kivConfigFolder()), inside(kivMachineConfigFolder())) {}

KivPreferences::KivPreferences(std::wstring user, std::wstring machine)
    : userFolder(std::move(user)), machineFolder(std::move(machine)) {}

std::wstring KivPreferences::file(bool machine) const {
    const std::wstring& folder = machine ? machineFolder : userFolder;
    return folder.empty() ? folder : folder + L"/preferences.ini";
}

bool KivPreferences::hasKey(bool machine, const std::wstring& key) const {
    const auto profile = KivProfile::load(file(machine));
    return profile && profile->hasSection(key);
}

bool KivPreferences::createKey(bool machine, const std::wstring& key) {
    const std::wstring& folder = machine ? machineFolder : userFolder;
    return !folder.empty() && kivMakeFolders(folder) &&
           KivProfile::change(file(machine), [&](KivProfile& profile) { return profile.addSection(key); });
}

bool KivPreferences::save(bool machine, const std::wstring& key, const std::wstring& value, const std::wstring& data) {
    const std::wstring& folder = machine ? machineFolder : userFolder;
    return !folder.empty() && kivMakeFolders(folder) &&
           KivProfile::change(file(machine), [&](KivProfile& profile) { return profile.write(key, value, data); });
}

std::optional<std::wstring> KivPreferences::load(bool machine, const std::wstring& key,
                                                 const std::wstring& value) const {
    const auto profile = KivProfile::load(file(machine));
    return profile ? profile->read(key, value) : std::nullopt;
}

bool KivPreferences::saveString(bool machine, const std::wstring& key, const std::wstring& value,
                                const std::wstring& data) {
    return save(machine, key, value, std::wstring(textMark) + escape(data));
}

bool KivPreferences::saveNumber(bool machine, const std::wstring& key, const std::wstring& value, std::uint32_t data) {
    return save(machine, key, value, std::wstring(numberMark) + std::to_wstring(data));
}

std::optional<std::wstring> KivPreferences::loadString(bool machine, const std::wstring& key,
                                                       const std::wstring& value) const {
    const auto data = load(machine, key, value);
    if (!data || !data->starts_with(textMark)) {
        return std::nullopt;
    }
    return unescape(std::wstring_view(*data).substr(textMark.size()));
}

std::optional<std::uint32_t> KivPreferences::loadNumber(bool machine, const std::wstring& key,
                                                        const std::wstring& value) const {
    const auto data = load(machine, key, value);
    if (!data || !data->starts_with(numberMark)) {
        return std::nullopt;
    }
    return toNumber(std::wstring_view(*data).substr(numberMark.size()));
}
