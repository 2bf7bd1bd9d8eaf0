// The language that a program speaks.
#ifndef APPS_COMMON_LANGUAGE_H
#define APPS_COMMON_LANGUAGE_H

#include <string>
#include <vector>

// The code in a locale's name: "es" of es_ES.UTF-8, "en" of C, POSIX and the empty name.
std::string languageOfLocale(const std::string& locale);

// The code of the environment: of the first of LC_ALL, LC_MESSAGES and LANG that is set.
std::string languageOfEnvironment();

// The codes of the modules beside the library, sorted.
std::vector<std::string> knownLanguages();

// Loads the language of that code, or English where there is no module of it: who has set up a computer in a language
// that the program doesn't speak reads English without a word about it. False if there is no module at all.
bool loadLanguageOrEnglish(const std::string& code);

#endif
