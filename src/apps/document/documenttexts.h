// Messages about documents that can't be read or written, by number from the language module.
#ifndef APPS_DOCUMENT_DOCUMENTTEXTS_H
#define APPS_DOCUMENT_DOCUMENTTEXTS_H

#include "kivrender/host/kivlanguage.h"

#include <string>

enum class DocumentText : unsigned int {
    noDocument = 3242,
    newerDocument = 3243,
    namelessModel = 3244,
    tooManyLights = 3245, // %1: how many there may be
    damagedLook = 3246,
    damagedObject = 3247,
    tooLarge = 3248,
    damagedText = 3249 // %1: the place in bytes
};

// With the argument in the place of %1.
inline std::wstring documentText(DocumentText text, const std::wstring& argument = {}) {
    std::wstring words = kivText(static_cast<unsigned int>(text));
    if (const std::size_t place = words.find(L"%1"); place != std::wstring::npos) {
        words.replace(place, 2, argument);
    }
    return words;
}

#endif
