// The help and the messages of the programs in other languages. English stands in the sources; a language's files
// beside this one have pairs of lines, the English text to the letter and its translation: help.<code>.txt for what is
// printed as it stands, messages.<code>.txt for what programs put together, with %1, %2 ... in the place of what they
// fill in.
//
// Messages are translated as a whole where they are printed. So whoever reports a failure writes plain English, and the
// parts of the library and the readers, which report in English alone, speak the user's language too.
#ifndef APPS_COMMON_TRANSLATION_TRANSLATION_H
#define APPS_COMMON_TRANSLATION_TRANSLATION_H

#include <map>
#include <string>
#include <string_view>

using Translations = std::map<std::string_view, std::string_view>;

// The pairs of a language by its code; empty for English, and for a language without files.
const Translations& helpTranslations(std::string_view language);
const Translations& messageTranslations(std::string_view language);

// The language of all texts from here on, by its code; English at first.
void chooseTextLanguage(const std::string& language);

// A text of the help in the chosen language; as it is where that has no such text.
std::string translated(std::string_view english);
// The same with the argument in the place of %1.
std::string translated(std::string_view english, std::string_view argument);

// A message in the chosen language; as it is where no pair fits. Of several that fit the one counts whose beginning is
// fixed farthest, and of these the one that fixes most characters.
std::string translatedMessage(std::string_view english);

#endif
