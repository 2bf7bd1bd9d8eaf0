#include "apps/common/translation/translation.h"

#include "apps/common/translation/translationtexts.h"

#include <array>
#include <cstddef>
#include <vector>

namespace {

struct Language {
    std::string_view code;
    Translations help;
    Translations messages;
};

std::string_view takeLine(std::string_view& text) {
    const std::size_t end = text.find('\n');
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return line;
}

Translations parsed(std::string_view text) {
    Translations pairs;
    while (!text.empty()) {
        const std::string_view english = takeLine(text);
        if (!english.empty() && english.front() != '#') {
            pairs.emplace(english, takeLine(text));
        }
    }
    return pairs;
}

const Language& languageOf(std::string_view code) {
    static const std::vector<Language> languages = [] {
        std::vector<Language> list(1); // English, without pairs
        for (const TranslationTexts& texts : translationTexts()) {
            list.push_back({texts.language, parsed(texts.help), parsed(texts.messages)});
        }
        return list;
    }();
    for (const Language& language : languages) {
        if (language.code == code) {
            return language;
        }
    }
    return languages.front();
}

std::string& chosenCode() {
    static std::string code = "en";
    return code;
}

// Digits that stand for what a program fills in: the number of it, 0 for none.
std::size_t placeholderAt(std::string_view text, std::size_t at) {
    const bool isOne = at + 1 < text.size() && text[at] == '%' && text[at + 1] >= '1' && text[at + 1] <= '9';
    return isOne ? static_cast<std::size_t>(text[at + 1] - '0') : 0;
}

constexpr std::size_t mostArguments = 10;

struct Argument {
    std::string_view text;
    bool isQuoted = false;
};

// A message against the English text of a pair. What stands for a placeholder is as short as can be, but not empty.
class Match {
public:
    Match(std::string_view pattern, std::string_view message) {
        fits = match(pattern, message);
    }

    std::array<Argument, mostArguments> arguments{};
    // Characters of the pattern before the first placeholder, and in all but them: what begins a message is its frame,
    // and tells more than what stands in it.
    std::size_t numLeading = 0;
    std::size_t numFixed = 0;
    bool fits = false;

    bool isBetterThan(std::size_t leading, std::size_t fixed) const {
        return fits && (numLeading != leading ? numLeading > leading : numFixed > fixed);
    }

private:
    bool match(std::string_view pattern, std::string_view message) {
        while (!pattern.empty()) {
            const std::size_t number = placeholderAt(pattern, 0);
            if (number == 0) {
                if (message.empty() || message.front() != pattern.front()) {
                    return false;
                }
                isAfterQuote = pattern.front() == '"';
                numLeading += hasArgument ? 0 : 1;
                ++numFixed;
                pattern.remove_prefix(1);
                message.remove_prefix(1);
                continue;
            }
            pattern.remove_prefix(2);
            hasArgument = true;
            const std::size_t length = lengthOfArgument(pattern, message);
            if (length == 0) {
                return false;
            }
            arguments[number] = {message.substr(0, length), isAfterQuote};
            message.remove_prefix(length);
        }
        return message.empty();
    }

    // 0 where what follows in the pattern does not follow in the message.
    static std::size_t lengthOfArgument(std::string_view pattern, std::string_view message) {
        std::size_t end = 0;
        while (end < pattern.size() && placeholderAt(pattern, end) == 0) {
            ++end;
        }
        const std::string_view next = pattern.substr(0, end);
        if (next.empty()) {
            return message.size();
        }
        const bool isLast = end == pattern.size();
        const std::size_t found = isLast ? message.rfind(next) : message.find(next, 1);
        return found == std::string_view::npos ? 0 : found;
    }

    bool isAfterQuote = false;
    bool hasArgument = false;
};

// depth: of messages within messages, so that a hostile name can't make it last.
std::string translate(std::string_view english, const Translations& pairs, int depth) {
    constexpr int deepest = 6;
    if (const auto exact = pairs.find(english); exact != pairs.end()) {
        return std::string(exact->second);
    }
    std::size_t bestLeading = 0;
    std::size_t bestFixed = 0;
    std::string result(english);
    for (const auto& [pattern, translation] : pairs) {
        const Match match(pattern, english);
        if (!match.isBetterThan(bestLeading, bestFixed) || depth == deepest) {
            continue;
        }
        bestLeading = match.numLeading;
        bestFixed = match.numFixed;
        result.clear();
        for (std::size_t at = 0; at < translation.size(); ++at) {
            const std::size_t number = placeholderAt(translation, at);
            if (number == 0) {
                result += translation[at];
                continue;
            }
            const Argument& argument = match.arguments[number];
            result += argument.isQuoted ? std::string(argument.text) : translate(argument.text, pairs, depth + 1);
            ++at;
        }
    }
    return result;
}

} // namespace

const Translations& helpTranslations(std::string_view language) {
    return languageOf(language).help;
}

const Translations& messageTranslations(std::string_view language) {
    return languageOf(language).messages;
}

void chooseTextLanguage(const std::string& language) {
    chosenCode() = language;
}

std::string translated(std::string_view english) {
    const Translations& pairs = helpTranslations(chosenCode());
    const auto found = pairs.find(english);
    return std::string(found == pairs.end() ? english : found->second);
}

std::string translated(std::string_view english, std::string_view argument) {
    std::string text = translated(english);
    if (const std::size_t place = text.find("%1"); place != std::string::npos) {
        text.replace(place, 2, argument);
    }
    return text;
}

std::string translatedMessage(std::string_view english) {
    const Translations& pairs = messageTranslations(chosenCode());
    return pairs.empty() ? std::string(english) : translate(english, pairs, 0);
}
