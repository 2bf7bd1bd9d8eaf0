#include "kivrender/platform/kivtext.h"

#include <algorithm>
#include <clocale>
#include <cstdint>
#include <cwchar>
#include <cwctype>
#include <locale.h>

namespace {

// The C library's character tables without touching the process's locale, which belongs to the host.
wint_t lower(wchar_t c) {
    static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return utf8 != nullptr ? towlower_l(static_cast<wint_t>(c), utf8) : towlower(static_cast<wint_t>(c));
}

constexpr std::uint32_t escapeBase = 0xDC00;

// Decodes one character at text[i], which is below the end, and moves i past it. A byte that begins no valid sequence
// is escaped alone.
std::uint32_t decode(std::string_view text, std::size_t& i) {
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(text[at]); };
    const unsigned char first = byte(i);
    if (first < 0x80) {
        ++i;
        return first;
    }
    const int length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    const std::uint32_t smallest = length == 4 ? 0x10000 : length == 3 ? 0x800 : 0x80;
    std::uint32_t value = first & (0xFFu >> (length + 1));
    bool good = first >= 0xC2 && first <= 0xF4 && i + static_cast<std::size_t>(length) <= text.size();
    for (int k = 1; good && k < length; ++k) {
        good = (byte(i + static_cast<std::size_t>(k)) & 0xC0) == 0x80;
        value = value << 6 | (byte(i + static_cast<std::size_t>(k)) & 0x3Fu);
    }
    if (!good || value < smallest || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) {
        ++i;
        return escapeBase + first;
    }
    i += static_cast<std::size_t>(length);
    return value;
}

} // namespace

std::size_t kivCopyText(wchar_t* out, std::size_t size, std::wstring_view text) {
    if (out == nullptr || size == 0) {
        return 0;
    }
    const std::size_t length = std::min(size - 1, text.size());
    std::wmemmove(out, text.data(), length);
    out[length] = L'\0';
    return length;
}

std::size_t kivCopyText(wchar_t* out, std::size_t size, const wchar_t* text) {
    return kivCopyText(out, size, text != nullptr ? std::wstring_view(text) : std::wstring_view());
}

int kivCompareNoCase(const wchar_t* a, const wchar_t* b) {
    if (a == nullptr) {
        a = L"";
    }
    if (b == nullptr) {
        b = L"";
    }
    for (;; ++a, ++b) {
        const wint_t x = lower(*a);
        const wint_t y = lower(*b);
        if (x != y) {
            return x < y ? -1 : 1;
        }
        if (*a == L'\0') {
            return 0;
        }
    }
}

bool kivEqualNoCase(std::wstring_view a, std::wstring_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](wchar_t x, wchar_t y) { return lower(x) == lower(y); });
}

std::wstring kivFromUtf8(std::string_view text) {
    std::wstring wide;
    wide.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        wide.push_back(static_cast<wchar_t>(decode(text, i)));
    }
    return wide;
}

std::string kivToUtf8(std::wstring_view text) {
    std::string out;
    out.reserve(text.size());
    const auto put = [&](std::uint32_t byte) { out.push_back(static_cast<char>(byte)); };
    for (const wchar_t c : text) {
        const auto value = static_cast<std::uint32_t>(c);
        if (value < 0x80) {
            put(value);
        } else if (value >= escapeBase + 0x80 && value <= escapeBase + 0xFF) {
            put(value - escapeBase);
        } else if (value < 0x800) {
            put(0xC0 | value >> 6);
            put(0x80 | (value & 0x3F));
        } else if (value < 0x10000) {
            put(0xE0 | value >> 12);
            put(0x80 | (value >> 6 & 0x3F));
            put(0x80 | (value & 0x3F));
        } else if (value <= 0x10FFFF) {
            put(0xF0 | value >> 18);
            put(0x80 | (value >> 12 & 0x3F));
            put(0x80 | (value >> 6 & 0x3F));
            put(0x80 | (value & 0x3F));
        } else {
            out += "\xEF\xBF\xBD"; // beyond Unicode: the replacement character
        }
    }
    return out;
}
