#include "kivrender/lines/write/drawingnames.h"

#include "kivrender/platform/kivtext.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

namespace {

constexpr std::size_t longestName = 64;
constexpr wchar_t replacement = 0xFFFD;

bool isAsciiLetter(std::uint32_t c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isDigit(std::uint32_t c) {
    return c >= '0' && c <= '9';
}

// NameStartChar of XML 1.0 (fifth edition), the colon left out.
bool isNameStart(std::uint32_t c) {
    constexpr std::array<std::pair<std::uint32_t, std::uint32_t>, 12> ranges{{{0xC0, 0xD6},
                                                                              {0xD8, 0xF6},
                                                                              {0xF8, 0x2FF},
                                                                              {0x370, 0x37D},
                                                                              {0x37F, 0x1FFF},
                                                                              {0x200C, 0x200D},
                                                                              {0x2070, 0x218F},
                                                                              {0x2C00, 0x2FEF},
                                                                              {0x3001, 0xD7FF},
                                                                              {0xF900, 0xFDCF},
                                                                              {0xFDF0, 0xFFFC},
                                                                              {0x10000, 0xEFFFF}}};
    return isAsciiLetter(c) || c == '_' || std::any_of(ranges.begin(), ranges.end(), [c](const auto& range) {
               return c >= range.first && c <= range.second;
           });
}

// Characters that are kept, and one hyphen for each run of others between them.
template <class Keeps> std::wstring keptCharacters(std::wstring_view text, const Keeps& keeps) {
    std::wstring kept;
    bool isGap = false;
    for (const wchar_t c : text) {
        if (!keeps(static_cast<std::uint32_t>(c))) {
            isGap = !kept.empty();
            continue;
        }
        if (kept.size() + 2 > longestName) {
            break;
        }
        kept += isGap ? L"-" : L"";
        kept += c;
        isGap = false;
    }
    return kept;
}

} // namespace

std::wstring kivCleanText(std::wstring_view text) {
    std::wstring clean(text);
    for (wchar_t& c : clean) {
        const auto code = static_cast<std::uint32_t>(c);
        if (code < 0x20 || (code >= 0x7F && code < 0xA0)) {
            c = L' ';
        } else if ((code >= 0xD800 && code < 0xE000) || (code & 0xFFFEU) == 0xFFFEU || code > 0x10FFFF) {
            c = replacement;
        }
    }
    return clean;
}

std::string kivXmlText(std::wstring_view text) {
    std::string escaped;
    for (const char c : kivToUtf8(kivCleanText(text))) {
        switch (c) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        case '\'':
            escaped += "&apos;";
            break;
        default:
            escaped += c;
        }
    }
    return escaped;
}

std::string kivXmlName(std::wstring_view text) {
    std::wstring name =
        keptCharacters(text, [](std::uint32_t c) { return isNameStart(c) || isDigit(c) || c == '-' || c == 0xB7; });
    if (!name.empty() && !isNameStart(static_cast<std::uint32_t>(name.front()))) {
        name.insert(0, 1, L'_');
    }
    return kivToUtf8(name);
}

std::string kivPlainName(std::wstring_view text) {
    return kivToUtf8(
        keptCharacters(text, [](std::uint32_t c) { return isAsciiLetter(c) || isDigit(c) || c == '-' || c == '_'; }));
}

std::wstring kivLabelOf(const KivVectorDrawing& drawing, std::uint32_t object) {
    if (object < drawing.objects.size() && !drawing.objects[object].name.empty()) {
        return kivCleanText(drawing.objects[object].name);
    }
    return object == 0 ? L"other" : L"object " + std::to_wstring(object);
}

std::string UniqueNames::give(const std::string& name) {
    const auto key = [](std::string text) {
        std::transform(text.begin(), text.end(), text.begin(),
                       [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; });
        return text;
    };
    std::string unique = name;
    while (!given.emplace(key(unique), 2).second) {
        unique = name + "-" + std::to_string(given[key(name)]++);
    }
    return unique;
}
