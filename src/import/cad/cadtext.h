// Texts of Open CASCADE.
#ifndef IMPORT_CAD_CADTEXT_H
#define IMPORT_CAD_CADTEXT_H

#include <string>

#include <TCollection_ExtendedString.hxx>

namespace kivimport {

inline std::string toUtf8(const TCollection_ExtendedString& wide) {
    std::string text(static_cast<std::size_t>(wide.LengthOfCString()), '\0');
    char* place = text.data();
    wide.ToUTF8CString(place);
    return text;
}

} // namespace kivimport

#endif
