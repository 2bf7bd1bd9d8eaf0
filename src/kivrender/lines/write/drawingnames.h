// The names of a drawing's objects in files: whatever characters a model has in them, the file stays valid.
#ifndef KIVRENDER_LINES_WRITE_DRAWINGNAMES_H
#define KIVRENDER_LINES_WRITE_DRAWINGNAMES_H

#include "kivrender/lines/kivvectordrawing.h"

#include <map>
#include <string>
#include <string_view>

// Without control characters, and with U+FFFD for what is no character.
std::wstring kivCleanText(std::wstring_view text);
// The same as UTF-8 with the five entities of XML.
std::string kivXmlText(std::wstring_view text);
// Letters, digits, hyphen and underscore, a letter or underscore first; at most 64 characters. Empty for a text that
// has nothing of these.
std::string kivXmlName(std::wstring_view text);
// ASCII letters, digits, hyphen and underscore, at most 64; empty as above.
std::string kivPlainName(std::wstring_view text);

// What users call an object: its name, else "object 3"; "other" for what belongs to none.
std::wstring kivLabelOf(const KivVectorDrawing& drawing, std::uint32_t object);

// Names that are given once, whatever case they are in.
class UniqueNames {
public:
    // The name, with a number behind it if it was given before.
    std::string give(const std::string& name);

private:
    std::map<std::string, int> given; // without case; the number that the next of its name may have
};

#endif
