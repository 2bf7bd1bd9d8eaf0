#include "kivrender/settings/kivsettingscheck.h"

#include "kivrender/platform/kivtext.h"

#include <algorithm>
#include <string_view>

namespace {

// As a style file keeps it: keys end at the equals sign and lose blanks at their ends, a line that begins with a
// semicolon is a comment and one that begins with a bracket a section.
bool canStandInFile(std::string_view key) {
    const auto isRefused = [](unsigned char c) { return c < ' ' || c == 0x7F || c == '='; };
    return !key.empty() && key.front() != ' ' && key.back() != ' ' && key.front() != ';' && key.front() != '[' &&
           std::none_of(key.begin(), key.end(), isRefused);
}

// Written so that a NaN is not a range.
bool isRange(const KivSettingInfo& info) {
    const bool counts = info.type == KivSettingType::Int || info.type == KivSettingType::Double;
    return !counts || info.minimum <= info.maximum;
}

std::wstring faultOf(const KivSettingInfo& info) {
    if (!canStandInFile(info.key)) {
        return L"has a key that can't stand in a style file";
    }
    if (info.type < KivSettingType::Bool || info.type > KivSettingType::Choice) {
        return L"has no type";
    }
    if (!isRange(info)) {
        return L"has a range that is none";
    }
    if (info.type == KivSettingType::Choice && kivNumChoices(info) == 0) {
        return L"has no choices";
    }
    return info.text == nullptr ? L"has no text" : L"";
}

} // namespace

std::wstring kivSettingsFault(const KivSettingInfo* table, int count) {
    if (count < 0 || count > kivMostSettings) {
        return L"a table of " + std::to_wstring(count) + L" settings is none";
    }
    if (table == nullptr) {
        return count > 0 ? L"its table of settings is missing" : L"";
    }
    for (int i = 0; i < count; ++i) {
        const std::wstring number = L"setting " + std::to_wstring(i + 1) + L" of its table ";
        if (table[i].key == nullptr) {
            return number + L"has no key";
        }
        const std::wstring fault = faultOf(table[i]);
        if (!fault.empty()) {
            return number + fault;
        }
        if (kivFindSetting(table, i, table[i].key) >= 0) {
            return number + L"has the key of another one";
        }
    }
    return {};
}
