// The files of all languages, as the build puts them into the programs.
#ifndef APPS_COMMON_TRANSLATION_TRANSLATIONTEXTS_H
#define APPS_COMMON_TRANSLATION_TRANSLATIONTEXTS_H

#include <span>
#include <string_view>

struct TranslationTexts {
    std::string_view language;
    std::string_view help;
    std::string_view messages;
};

std::span<const TranslationTexts> translationTexts();

#endif
