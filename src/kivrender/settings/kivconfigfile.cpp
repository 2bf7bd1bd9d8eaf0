#include "kivrender/settings/kivconfigfile.h"

#include "kivrender/platform/kivprofile.h"
#include "kivrender/platform/kivtext.h"

#include <cstdint>
#include <limits>
#include <string>

namespace {

// Leading blanks, a sign, digits; stops at what is no digit; 0 without any. Beyond 32 bits it stays at the end of the
// range, as the style files' numbers always have.
std::int32_t toInt(const wchar_t* text) {
    while (*text == L' ' || (*text >= L'\t' && *text <= L'\r')) {
        ++text;
    }
    const bool negative = *text == L'-';
    if (*text == L'-' || *text == L'+') {
        ++text;
    }
    std::int64_t number = 0;
    constexpr std::int64_t largest = std::numeric_limits<std::int32_t>::max();
    for (; *text >= L'0' && *text <= L'9'; ++text) {
        number = number * 10 + (*text - L'0');
        if (number > largest + 1) {
            number = largest + 1;
        }
    }
    if (negative) {
        return static_cast<std::int32_t>(-number);
    }
    return static_cast<std::int32_t>(number > largest ? largest : number);
}

} // namespace

KivConfigFile::KivConfigFile(const wchar_t* filePath) {
    kivCopyText(path, kivMaxPath, filePath);
}

bool KivConfigFile::write(const wchar_t* section, const wchar_t* key, const wchar_t* value) {
    return KivProfile::change(path, [&](KivProfile& profile) {
        if (value != nullptr) {
            return profile.write(kivTextOrEmpty(section), kivTextOrEmpty(key), value);
        }
        profile.remove(kivTextOrEmpty(section), kivTextOrEmpty(key));
        return true; // a key that is not there is removed already
    });
}

bool KivConfigFile::read(const wchar_t* section, const wchar_t* key, wchar_t* out, const wchar_t* defaultValue) const {
    const auto profile = KivProfile::load(path);
    auto value = profile ? profile->read(kivTextOrEmpty(section), kivTextOrEmpty(key)) : std::nullopt;
    if (!value) {
        value = kivTextOrEmpty(defaultValue);
        value->erase(value->find_last_not_of(L' ') + 1); // a default loses the blanks at its end, as a value does
    }
    kivCopyText(out, kivMaxPath, *value);
    return *out != L'\0';
}

bool KivConfigFile::write(const wchar_t* section, const wchar_t* key, std::uint32_t value) {
    return write(section, key, std::to_wstring(value).c_str());
}

bool KivConfigFile::read(const wchar_t* section, const wchar_t* key, std::uint32_t& out,
                         std::uint32_t defaultValue) const {
    wchar_t text[kivMaxPath];
    const bool found = read(section, key, text, std::to_wstring(defaultValue).c_str());
    out = static_cast<std::uint32_t>(toInt(text));
    return found;
}

bool KivConfigFile::write(const wchar_t* section, const wchar_t* key, bool value) {
    return write(section, key, std::uint32_t{value});
}

bool KivConfigFile::read(const wchar_t* section, const wchar_t* key, bool& value, bool) const {
    std::uint32_t number = 0;
    const bool found = read(section, key, number, std::uint32_t{value});
    value = number != 0;
    return found;
}
