#include "kivrender/settings/kivsettingstable.h"

#include "kivrender/platform/kivprofile.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/settings/kivdatamanager.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <optional>

namespace {

constexpr double largestColour = 0xFFFFFF;
constexpr double infinity = std::numeric_limits<double>::infinity();

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool equalNoCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) { return lower(x) == lower(y); });
}

std::string_view trim(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(" \t");
    if (begin == std::string_view::npos) {
        return {};
    }
    return text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
}

struct Range {
    double minimum;
    double maximum;
};

Range rangeOf(const KivSettingInfo& info) {
    switch (info.type) {
    case KivSettingType::Bool:
        return {0, 1};
    case KivSettingType::Colour:
        return {0, largestColour};
    case KivSettingType::Choice:
        return {0, std::max(0.0, static_cast<double>(kivNumChoices(info) - 1))};
    case KivSettingType::Int:
        return {std::max(info.minimum, static_cast<double>(std::numeric_limits<int>::min())),
                std::min(info.maximum, static_cast<double>(std::numeric_limits<int>::max()))};
    case KivSettingType::Double:
        break;
    }
    return {info.minimum, info.maximum};
}

// A whole decimal number; one that is too large for the type counts as endless.
std::optional<double> parseWhole(std::string_view text) {
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) {
            return std::nullopt;
        }
    }
    long long number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (end != text.data() + text.size() || error == std::errc::invalid_argument) {
        return std::nullopt;
    }
    if (error == std::errc::result_out_of_range) {
        return text.starts_with('-') ? -infinity : infinity;
    }
    return static_cast<double>(number);
}

std::optional<double> parseDecimal(std::string_view text) {
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) {
            return std::nullopt;
        }
    }
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (end != text.data() + text.size() || error == std::errc::invalid_argument) {
        return std::nullopt;
    }
    if (error == std::errc::result_out_of_range) {
        // Too small or too large; the sign of the exponent says which, and without one there are many digits.
        const std::size_t exponent = text.find_first_of("eE");
        const bool tiny = exponent != std::string_view::npos ? text.substr(exponent + 1).starts_with('-')
                                                             : text.find_first_of("123456789") > text.find('.');
        return tiny ? 0 : text.starts_with('-') ? -infinity : infinity;
    }
    return number;
}

std::optional<double> parseColour(std::string_view text) {
    if (!text.starts_with('#')) {
        return parseWhole(text);
    }
    text.remove_prefix(1);
    std::uint32_t rgb = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), rgb, 16);
    if (text.size() != 6 || error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return static_cast<double>((rgb & 0xFF) << 16 | (rgb & 0xFF00) | rgb >> 16);
}

std::optional<double> parseBool(std::string_view text) {
    for (const char* yes : {"yes", "true", "on"}) {
        if (equalNoCase(text, yes)) {
            return 1;
        }
    }
    for (const char* no : {"no", "false", "off"}) {
        if (equalNoCase(text, no)) {
            return 0;
        }
    }
    return parseWhole(text);
}

std::optional<double> parseChoice(const KivSettingInfo& info, std::string_view text) {
    const int count = kivNumChoices(info);
    for (int i = 0; i < count; ++i) {
        if (equalNoCase(text, kivChoiceName(info, i))) {
            return i;
        }
    }
    return parseWhole(text);
}

// A value of the setting's kind, in range or not.
std::optional<double> parseAny(const KivSettingInfo& info, std::string_view text) {
    switch (info.type) {
    case KivSettingType::Bool:
        return parseBool(text);
    case KivSettingType::Int:
        return parseWhole(text);
    case KivSettingType::Double:
        return parseDecimal(text);
    case KivSettingType::Colour:
        return parseColour(text);
    case KivSettingType::Choice:
        return parseChoice(info, text);
    }
    return std::nullopt;
}

// In plain notation as far as that is what a human would write: a whole number must be one that parseWhole reads, and
// the shortest form of 100000 is 1e+05.
std::string formatDecimal(double value) {
    constexpr double smallest = 1e-6;
    constexpr double largest = 1e15;
    const double size = std::abs(value);
    const bool plain = size == 0 || (size >= smallest && size < largest);
    std::array<char, 64> text{};
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value,
                                       plain ? std::chars_format::fixed : std::chars_format::general)
                             .ptr};
}

std::string expectation(const KivSettingInfo& info) {
    const Range range = rangeOf(info);
    const std::string between = "from " + formatDecimal(range.minimum) + " to " + formatDecimal(range.maximum);
    switch (info.type) {
    case KivSettingType::Bool:
        return "yes or no";
    case KivSettingType::Int:
        return "a whole number " + between;
    case KivSettingType::Double:
        return "a number " + between;
    case KivSettingType::Colour:
        return "a colour as #rrggbb";
    case KivSettingType::Choice:
        break;
    }
    std::string names = info.choices != nullptr ? info.choices : "";
    for (std::size_t bar = names.find('|'); bar != std::string::npos; bar = names.find('|', bar)) {
        names.replace(bar, 1, ", ");
    }
    return "one of " + names;
}

// The type of the cell that a setting is in a stream.
KivProperty::propertyType cellType(KivSettingType type) {
    switch (type) {
    case KivSettingType::Bool:
        return KivProperty::Bool;
    case KivSettingType::Double:
        return KivProperty::Double;
    case KivSettingType::Colour:
        return KivProperty::UnsignedLong;
    case KivSettingType::Int:
    case KivSettingType::Choice:
        break;
    }
    return KivProperty::Int;
}

double loadCell(KivDataManager& manager, KivSettingType type) {
    switch (type) {
    case KivSettingType::Bool:
        return manager.loadBool() ? 1 : 0;
    case KivSettingType::Double:
        return manager.loadDouble();
    case KivSettingType::Colour:
        // The top byte of a colour has no meaning.
        return manager.loadUnsignedLong() & 0xFFFFFFu;
    case KivSettingType::Int:
    case KivSettingType::Choice:
        break;
    }
    return manager.loadInt();
}

void saveCell(KivDataManager& manager, KivSettingType type, double value) {
    switch (type) {
    case KivSettingType::Bool:
        manager.saveBool(value != 0);
        break;
    case KivSettingType::Double:
        manager.saveDouble(value);
        break;
    case KivSettingType::Colour:
        manager.saveUnsignedLong(static_cast<std::uint32_t>(value));
        break;
    case KivSettingType::Int:
    case KivSettingType::Choice:
        manager.saveInt(static_cast<int>(value));
        break;
    }
}

} // namespace

int kivNumChoices(const KivSettingInfo& info) {
    if (info.choices == nullptr || *info.choices == '\0') {
        return 0;
    }
    const std::string_view names = info.choices;
    return static_cast<int>(std::count(names.begin(), names.end(), '|')) + 1;
}

std::string kivChoiceName(const KivSettingInfo& info, int index) {
    if (index < 0 || index >= kivNumChoices(info)) {
        return {};
    }
    std::string_view names = info.choices;
    for (; index > 0; --index) {
        names.remove_prefix(names.find('|') + 1);
    }
    return std::string(names.substr(0, names.find('|')));
}

double kivClampSetting(const KivSettingInfo& info, double value) {
    const Range range = rangeOf(info);
    if (std::isnan(value)) {
        value = std::isnan(info.defaultValue) ? range.minimum : info.defaultValue;
    }
    value = std::max(range.minimum, std::min(value, range.maximum));
    if (info.type == KivSettingType::Bool) {
        return value != 0 ? 1 : 0;
    }
    return info.type == KivSettingType::Double ? value : std::round(value);
}

std::string kivFormatSetting(const KivSettingInfo& info, double value) {
    value = kivClampSetting(info, value);
    if (info.type == KivSettingType::Choice) {
        return kivChoiceName(info, static_cast<int>(value));
    }
    if (info.type == KivSettingType::Colour) {
        const auto colour = static_cast<std::uint32_t>(value);
        char text[8];
        std::snprintf(text, sizeof text, "#%02x%02x%02x", colour & 0xFFu, colour >> 8 & 0xFFu, colour >> 16 & 0xFFu);
        return text;
    }
    return formatDecimal(value);
}

bool kivParseSetting(const KivSettingInfo& info, std::string_view text, double* value, std::string* why) {
    const auto parsed = parseAny(info, trim(text));
    const Range range = rangeOf(info);
    // Written so that a NaN fails.
    if (parsed && *parsed >= range.minimum && *parsed <= range.maximum) {
        if (value != nullptr) {
            *value = *parsed;
        }
        return true;
    }
    if (why != nullptr) {
        *why = "expected " + expectation(info) + ", got \"" + std::string(text) + "\"";
    }
    return false;
}

bool kivReadSetting(const KivSettingInfo& info, std::string_view text, double* value) {
    const auto parsed = parseAny(info, trim(text));
    if (!parsed || std::isnan(*parsed)) {
        return false;
    }
    if (value != nullptr) {
        *value = kivClampSetting(info, *parsed);
    }
    return true;
}

int kivFindSetting(const KivSettingInfo* table, int count, std::string_view key) {
    for (int i = 0; table != nullptr && i < count; ++i) {
        if (table[i].key != nullptr && equalNoCase(table[i].key, key)) {
            return i;
        }
    }
    return -1;
}

KivTablePageSettings::KivTablePageSettings(const wchar_t* name, const KivSettingInfo* settings, int count)
    : sectionName(kivTextOrEmpty(name)), table(settings), values(static_cast<std::size_t>(std::max(count, 0))),
      varied(values.size()) {
    setDefaults();
}

KivTablePageSettings::~KivTablePageSettings() = default;

bool KivTablePageSettings::save(const wchar_t* section, const wchar_t* file) {
    // One change for all keys: a style has all of a page's settings or none of them.
    return KivProfile::change(kivTextOrEmpty(file), [&](KivProfile& profile) {
        for (int i = 0; i < getNumSettings(); ++i) {
            if (!profile.write(kivTextOrEmpty(section), kivFromUtf8(table[i].key),
                               kivFromUtf8(kivFormatSetting(table[i], getValue(i))))) {
                return false;
            }
        }
        return true;
    });
}

bool KivTablePageSettings::load(const wchar_t* section, const wchar_t* file) {
    const auto profile = KivProfile::load(kivTextOrEmpty(file));
    for (int i = 0; i < getNumSettings(); ++i) {
        const auto text =
            profile ? profile->read(kivTextOrEmpty(section), kivFromUtf8(table[i].key)) : std::optional<std::wstring>();
        const std::string narrow = text ? kivToUtf8(*text) : std::string();
        setValue(i, parseAny(table[i], trim(narrow)).value_or(table[i].defaultValue));
    }
    return true;
}

const wchar_t* KivTablePageSettings::getSectionName() const {
    return sectionName.c_str();
}

void KivTablePageSettings::reservedSlot() {}

void KivTablePageSettings::saveSettings() {
    for (int i = 0; dataManager != nullptr && i < getNumSettings(); ++i) {
        saveCell(*dataManager, table[i].type, getValue(i));
        dataManager->saveCurrentVaried(isVaried(i));
    }
}

bool KivTablePageSettings::loadSettings() {
    std::fill(varied.begin(), varied.end(), false);
    for (int i = 0; i < getNumSettings(); ++i) {
        if (dataManager == nullptr || dataManager->getNextType() != cellType(table[i].type)) {
            return false;
        }
        setValue(i, loadCell(*dataManager, table[i].type));
        setVaried(i, dataManager->isCurrentVaried());
    }
    return dataManager != nullptr;
}

int KivTablePageSettings::getNumSettings() const {
    return static_cast<int>(values.size());
}

const KivSettingInfo& KivTablePageSettings::getInfo(int index) const {
    return table[index];
}

int KivTablePageSettings::find(std::string_view key) const {
    return kivFindSetting(table, getNumSettings(), key);
}

double KivTablePageSettings::getValue(int index) const {
    return values[static_cast<std::size_t>(index)];
}

bool KivTablePageSettings::getBool(int index) const {
    return getValue(index) != 0;
}

int KivTablePageSettings::getInt(int index) const {
    return static_cast<int>(std::max(static_cast<double>(std::numeric_limits<int>::min()),
                                     std::min(getValue(index), static_cast<double>(std::numeric_limits<int>::max()))));
}

std::uint32_t KivTablePageSettings::getColour(int index) const {
    return static_cast<std::uint32_t>(std::max(0.0, std::min(getValue(index), largestColour)));
}

void KivTablePageSettings::setValue(int index, double value) {
    values[static_cast<std::size_t>(index)] = kivClampSetting(table[index], value);
    setVaried(index, false);
}

bool KivTablePageSettings::isVaried(int index) const {
    return varied[static_cast<std::size_t>(index)];
}

void KivTablePageSettings::setVaried(int index, bool flag) {
    varied[static_cast<std::size_t>(index)] = flag;
}

void KivTablePageSettings::setDefaults() {
    for (int i = 0; i < getNumSettings(); ++i) {
        setValue(i, table[i].defaultValue);
    }
}

bool KivTablePageSettings::getText(std::string_view key, std::string* text) const {
    const int index = find(key);
    if (index >= 0 && text != nullptr) {
        *text = kivFormatSetting(table[index], getValue(index));
    }
    return index >= 0;
}

bool KivTablePageSettings::setText(std::string_view key, std::string_view text, std::string* why) {
    const int index = find(key);
    if (index < 0) {
        if (why != nullptr) {
            *why = "there is no setting \"" + std::string(key) + "\"";
        }
        return false;
    }
    double value = 0;
    if (!kivParseSetting(table[index], text, &value, why)) {
        return false;
    }
    setValue(index, value);
    return true;
}
