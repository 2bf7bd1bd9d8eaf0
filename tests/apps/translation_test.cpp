#include "apps/common/translation/translation.h"

#include "apps/cli/manual.h"
#include "apps/cli/optiontable.h"
#include "apps/common/language.h"

#include <set>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;

// English is chosen again at its end.
class In {
public:
    explicit In(const std::string& language) {
        chooseTextLanguage(language);
    }
    ~In() {
        chooseTextLanguage("en");
    }
    In(const In&) = delete;
    In& operator=(const In&) = delete;
};

bool hasWords(std::string_view text) {
    return text.find(' ') != std::string_view::npos || (!text.empty() && text.back() == '.');
}

void addOptions(std::span<const OptionInfo> options, std::set<std::string_view>& texts) {
    for (const OptionInfo& option : options) {
        texts.insert(option.text);
        texts.insert(option.group);
        if (hasWords(option.initial)) {
            texts.insert(option.initial);
        }
    }
}

// All that the tables say in words.
std::set<std::string_view> textsOfTables() {
    std::set<std::string_view> texts;
    addOptions(programOptions(), texts);
    for (const CommandInfo& command : commandTable()) {
        texts.insert(command.text);
        addOptions(command.options, texts);
    }
    for (const ExampleInfo& example : exampleTable()) {
        texts.insert(example.text);
    }
    return texts;
}

std::set<std::string> placeholders(std::string_view text) {
    std::set<std::string> found;
    for (std::size_t at = text.find('%'); at != std::string_view::npos; at = text.find('%', at + 1)) {
        if (at + 1 < text.size() && text[at + 1] >= '1' && text[at + 1] <= '9') {
            found.emplace(text.substr(at, 2));
        }
    }
    return found;
}

// The languages that the program speaks, but for the one of its sources.
std::vector<std::string> otherLanguages() {
    std::vector<std::string> codes = knownLanguages();
    std::erase(codes, "en");
    EXPECT_FALSE(codes.empty());
    return codes;
}

} // namespace

TEST(Translation, EachTextOfTheHelpIsThereInAllLanguages) {
    for (const std::string& code : otherLanguages()) {
        const Translations& help = helpTranslations(code);
        for (const std::string_view text : textsOfTables()) {
            EXPECT_TRUE(help.contains(text)) << code << ": " << text;
        }
        EXPECT_FALSE(messageTranslations(code).empty()) << code;
    }
}

TEST(Translation, NothingIsTranslatedThatTheHelpDoesNotSay) {
    for (const std::string& code : otherLanguages()) {
        std::string all = helpText(100) + manualPage();
        for (const CommandInfo& command : commandTable()) {
            all += helpText(command, 100);
        }
        const std::set<std::string_view> texts = textsOfTables();
        for (const auto& [english, translation] : helpTranslations(code)) {
            // Headings and sentences of the pages themselves, as far as their first words; troff writes \- for a minus.
            const std::string_view start = english.substr(0, english.find_first_of("-%"));
            EXPECT_TRUE(texts.contains(english) || all.find(start) != std::string::npos) << code << ": " << english;
        }
    }
}

TEST(Translation, BothSidesHaveTheSamePlaceholders) {
    for (const std::string& code : otherLanguages()) {
        for (const Translations* pairs : {&helpTranslations(code), &messageTranslations(code)}) {
            for (const auto& [english, translation] : *pairs) {
                EXPECT_EQ(placeholders(english), placeholders(translation)) << english;
                EXPECT_FALSE(translation.empty()) << english;
            }
        }
    }
}

TEST(Translation, HelpAndManualAreInTheChosenLanguage) {
    const std::string english = helpText(*findCommand("render"), 100);
    EXPECT_THAT(english, HasSubstr("Size in pixels."));
    const In spanish("es");
    const std::string help = helpText(*findCommand("render"), 100);
    EXPECT_THAT(help, HasSubstr("Tamaño en píxeles."));
    EXPECT_THAT(help, HasSubstr("--background-image FILE")) << "options keep their names";
    EXPECT_THAT(help, testing::Not(HasSubstr("Size in pixels.")));
    EXPECT_THAT(manualPage(), HasSubstr(".SH OPCIONES DE RENDER\n"));
    EXPECT_THAT(manualPage(), HasSubstr("Valor inicial: según el formato."));
}

TEST(Translation, MessagesAreTranslatedWithWhatTheyName) {
    const In spanish("es");
    EXPECT_EQ(translatedMessage("can't use \"a b.obj\": there is no such file"),
              "no se puede usar \"a b.obj\": no existe ese archivo");
    EXPECT_EQ(translatedMessage("can't use \"x.obj\": line 3: vertex index 9 is out of range, there are 3 before it"),
              "no se puede usar \"x.obj\": línea 3: el índice de vértice 9 está fuera de rango, antes de él hay 3");
    EXPECT_EQ(translatedMessage("unknown option --siez; did you mean --size? (see \"selvarin --help\")"),
              "opción desconocida --siez; ¿quería decir --size? (véase \"selvarin --help\")");
    EXPECT_EQ(translatedMessage("warning: can't use \"there is no such file\": it is a folder"),
              "aviso: no se puede usar \"there is no such file\": es una carpeta")
        << "names stay as they are";
}

TEST(Translation, FilmsCataloguesClustersAndSheetsSpeakSpanish) {
    const In spanish("es");
    const std::pair<std::string, std::string> messages[] = {
        {"\"x.mov\": a film ends in mp4, webm or gif, and the name of frames has their number in it, such as "
         "frames/%04d.png",
         "\"x.mov\": una película termina en mp4, webm o gif, y el nombre de los fotogramas contiene su número, como "
         "frames/%04d.png"},
        {"\"x.mov\": a film ends in mp4, webm or gif, and the name of frames has their number in it, such as "
         "frames/%04d.png (see \"selvarin --help\")",
         "\"x.mov\": una película termina en mp4, webm o gif, y el nombre de los fotogramas contiene su número, como "
         "frames/%04d.png (véase \"selvarin --help\")"},
        {"camera path \"p.txt\", line 4: \"up\" is not a number (see \"selvarin --help\")",
         "ruta de cámara \"p.txt\", línea 4: \"up\" no es un número (véase \"selvarin --help\")"},
        {"--seconds: \"x\" is no number: 0.1 to 60 is expected",
         "--seconds: \"x\" no es válido; se pide: número: se espera de 0.1 a 60"},
        {"\"a.obj\", line 2: crashed: its process crashed (Segmentation fault)",
         "\"a.obj\", línea 2: fallo grave: su proceso falló (Segmentation fault)"},
        {"\"a.obj\": timed out: it took longer than 3 seconds; --timeout gives more",
         "\"a.obj\": tiempo agotado: tardó más de 3 segundos; --timeout da más tiempo"},
        {"the output \"../a\" is refused: it leads out of the folder",
         "se rechaza la salida \"../a\": sale de la carpeta"},
        {"can't draw the frames: its tasks ended without a result: no node (the logs are in \"w\")",
         "no se pueden dibujar los fotogramas: sus tareas terminaron sin resultado: no node (los registros están en "
         "\"w\")"},
        {"the drawing measures 300 x 20 mm at that scale, and the page has room for 190 x 277 mm; use a smaller "
         "--scale "
         "or a larger --page",
         "el dibujo mide 300 x 20 mm a esa escala, y la página tiene sitio para 190 x 277 mm; use un --scale menor o "
         "un --page mayor"},
    };
    for (const auto& [english, expected] : messages) {
        EXPECT_EQ(translatedMessage(english), expected);
    }
}

TEST(Translation, WhatNobodyKnowsStaysEnglish) {
    const In spanish("es");
    EXPECT_EQ(translatedMessage("the moon is full"), "the moon is full");
    EXPECT_EQ(translatedMessage(""), "");
    EXPECT_EQ(translatedMessage("can't use \"x.obj\": the moon is full"),
              "no se puede usar \"x.obj\": the moon is full");
    const std::string nested = std::string(2000, '"') + ": " + std::string(2000, ':');
    EXPECT_FALSE(
        translatedMessage("line 1: line 2: line 3: line 4: line 5: line 6: line 7: line 8: " + nested).empty());
}

TEST(Translation, EnglishIsLeftAlone) {
    EXPECT_EQ(translated("Size in pixels."), "Size in pixels.");
    EXPECT_EQ(translatedMessage("there is no such file"), "there is no such file");
    const In unknown("xx");
    EXPECT_EQ(translated("Size in pixels."), "Size in pixels.");
}
