#include "kivrender/platform/kivthrown.h"

#include "kivrender/platform/kivtext.h"

#include <algorithm>
#include <exception>
#include <new>

std::wstring kivThrownText() {
    try {
        throw;
    } catch (const std::bad_alloc&) {
        return L"there is not enough memory";
    } catch (const std::exception& thrown) {
        const char* const what = thrown.what();
        std::wstring text = kivFromUtf8(what != nullptr ? what : "");
        std::replace_if(
            text.begin(), text.end(), [](wchar_t c) { return c < L' ' || c == 0x7F; }, L' ');
        return text.empty() ? L"an exception without a text" : text;
    } catch (...) {
        return L"an exception of a type of its own";
    }
}
