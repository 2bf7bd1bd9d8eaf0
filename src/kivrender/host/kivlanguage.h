// User-visible texts, all of them by number from one language module: a shared library that is chosen at start-up, so
// that nothing a user reads is wired into the library. Until a module is loaded every text reads as empty.
#ifndef KIVRENDER_HOST_KIVLANGUAGE_H
#define KIVRENDER_HOST_KIVLANGUAGE_H

#include "kivrender/platform/kivexport.h"

#include <string>

// Loads a language module by path and makes it the source of all texts. Non-zero on success. On failure 0: no text can
// be found any more, and the path in use stays as it was. An earlier module is not unloaded, since texts of it may be
// in use: one load in a process is the rule.
extern "C" KIV_API int kivLoadLangResourceDLL(const wchar_t* path);

// The path of the last module that was loaded with success, or the empty string. Owned by the library.
extern "C" KIV_API const wchar_t* kivGetLangResourceDll();

// Copies text number id into out, cut to size characters with the closing zero. Returns the number of characters, 0 if
// there is no such text.
KIV_API int kivLoadString(unsigned int id, wchar_t* out, int size);

// Text number id, or the empty string.
KIV_API std::wstring kivText(unsigned int id);

// Loads the language of that code ("en") from the folder lang beside the library, where its module stands as
// selvarin-<code>. False as for kivLoadLangResourceDLL, and for a code that is not a plain name.
KIV_API bool kivLoadLanguage(const std::wstring& code);

// What a language module exports, under the plain name "KivLanguageText": text number id in UTF-8, valid as long as the
// module is loaded, or null if it has none.
extern "C" {
using KivLanguageTextFunction = const char*(unsigned int id);
}

#endif
