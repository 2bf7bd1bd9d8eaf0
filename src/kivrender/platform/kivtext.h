// Text at the edges of the system: bounded copies into the fixed buffers of the interface, comparison without case,
// and the one pair of conversions between the wide text of the interface and the UTF-8 of files and terminals.
#ifndef KIVRENDER_PLATFORM_KIVTEXT_H
#define KIVRENDER_PLATFORM_KIVTEXT_H

#include "kivrender/platform/kivexport.h"

#include <cstddef>
#include <string>
#include <string_view>

// Null counts as empty.
inline const wchar_t* kivTextOrEmpty(const wchar_t* text) {
    return text != nullptr ? text : L"";
}

// Copies text into out, which holds size characters: cut to fit, always terminated. A null text counts as empty; a null
// out or a size of 0 does nothing. Returns the number of characters written, the closing zero not counted.
KIV_API std::size_t kivCopyText(wchar_t* out, std::size_t size, const wchar_t* text);
KIV_API std::size_t kivCopyText(wchar_t* out, std::size_t size, std::wstring_view text);

// Compares without regard to case, character by character, in the order of the lower-case characters; independent of
// the locale for what Unicode's simple case mapping covers in the C library's UTF-8 tables. Null counts as empty.
// Below, equal or above zero, as wcscmp.
KIV_API int kivCompareNoCase(const wchar_t* a, const wchar_t* b);
KIV_API bool kivEqualNoCase(std::wstring_view a, std::wstring_view b);

// UTF-8 to wide and back. Neither throws on bad input: a byte that is not UTF-8 becomes the surrogate U+DC00 + byte,
// which toUtf8 turns back into that byte, so that any file name of the system survives the round trip.
KIV_API std::wstring kivFromUtf8(std::string_view text);
KIV_API std::string kivToUtf8(std::wstring_view text);

#endif
