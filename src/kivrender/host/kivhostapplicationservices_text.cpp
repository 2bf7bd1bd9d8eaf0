// Dates and text conversions.
#include "kivrender/host/kivhostapplicationservices.h"

#include "kivrender/platform/kivtext.h"

#include <algorithm>
#include <cwchar>
#include <string>

namespace {

constexpr std::size_t conversionSize = 1024;

// The number of a month from the letters that tell it from the others.
const wchar_t* monthOf(const wchar_t* name) {
    switch (name[0]) {
    case L'A':
        return name[1] == L'u' ? L"08" : L"04";
    case L'D':
        return L"12";
    case L'F':
        return L"02";
    case L'J':
        return name[1] == L'a' ? L"01" : name[2] == L'n' ? L"06" : L"07";
    case L'M':
        return name[2] == L'r' ? L"03" : L"05";
    case L'N':
        return L"11";
    case L'O':
        return L"10";
    case L'S':
        return L"09";
    default:
        return L"00";
    }
}

int numberAt(const wchar_t* date, std::size_t at, std::size_t length) {
    int number = 0;
    for (std::size_t i = at; i < at + length && date[i] >= L'0' && date[i] <= L'9'; ++i) {
        number = number * 10 + (date[i] - L'0');
    }
    return number;
}

} // namespace

void KivHostApplicationServices::reformatDate(const wchar_t* compilerDate, wchar_t* out) {
    constexpr std::size_t dateSize = 11; // with the closing zero
    constexpr std::size_t compilerLength = 11;
    if (compilerDate == nullptr || wcsnlen(compilerDate, compilerLength) < compilerLength) {
        kivCopyText(out, dateSize, L"");
        return;
    }
    std::wstring date(compilerDate + 7, 4);
    date += L'-';
    date += monthOf(compilerDate);
    date += L'-';
    date += compilerDate[4] == L' ' ? L'0' : compilerDate[4];
    date += compilerDate[5];
    kivCopyText(out, dateSize, date);
}

void KivHostApplicationServices::compilationDate(wchar_t* date, int* year, int* month, int* day) {
    wchar_t built[kivMaxPath];
    reformatDate(kivFromUtf8(__DATE__).c_str(), built);
    if (date != nullptr) {
        kivCopyText(date, 11, built);
    }
    if (year != nullptr) {
        *year = numberAt(built, 0, 4);
    }
    if (month != nullptr) {
        *month = numberAt(built, 5, 2);
    }
    if (day != nullptr) {
        *day = numberAt(built, 8, 2);
    }
}

const wchar_t* KivHostApplicationServices::toWChar(const wchar_t* text) {
    static wchar_t buffer[conversionSize];
    kivCopyText(buffer, conversionSize, text);
    return buffer;
}

const wchar_t* KivHostApplicationServices::toTChar(const wchar_t* text) {
    static wchar_t buffer[conversionSize];
    kivCopyText(buffer, conversionSize, text);
    return buffer;
}

const wchar_t* KivHostApplicationServices::toTChar(const char* text) {
    static wchar_t buffer[conversionSize];
    kivCopyText(buffer, conversionSize, kivFromUtf8(text != nullptr ? text : ""));
    return buffer;
}

const char* KivHostApplicationServices::toChar(const wchar_t* text) {
    static char buffer[conversionSize];
    const std::string narrow = kivToUtf8(text != nullptr ? text : L"");
    std::size_t length = std::min(narrow.size(), conversionSize - 1);
    // Not in the middle of a character.
    while (length < narrow.size() && length > 0 && (static_cast<unsigned char>(narrow[length]) & 0xC0) == 0x80) {
        --length;
    }
    std::copy_n(narrow.data(), length, buffer);
    buffer[length] = '\0';
    return buffer;
}
