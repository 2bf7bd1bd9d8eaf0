#include "apps/cli/startup.h"

#include "apps/cli/commandline.h"
#include "kivrender/host/kivlanguage.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/shader/kivshader.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <vector>

namespace {

constexpr const char* fallback = "en";
std::string chosenLanguage; // empty for the environment's

std::string languageOfEnvironment() {
    for (const char* const name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* const value = std::getenv(name);
        if (value != nullptr && *value != '\0') {
            return languageOfLocale(value);
        }
    }
    return fallback;
}

// The modules beside the library, by their codes.
std::vector<std::string> knownLanguages() {
    wchar_t folder[kivMaxPath] = {};
    CliHost().getMorvaneFolder(folder);
    const std::string prefix = "selvarin-";
    std::vector<std::string> codes;
    std::error_code problem;
    for (const auto& entry : std::filesystem::directory_iterator(kivToUtf8(folder) + "/lang", problem)) {
        const std::string name = entry.path().stem().string();
        if (name.starts_with(prefix)) {
            codes.push_back(name.substr(prefix.size()));
        }
    }
    std::sort(codes.begin(), codes.end());
    return codes;
}

} // namespace

std::string languageOfLocale(const std::string& locale) {
    const std::string code = locale.substr(0, locale.find_first_of("_.@"));
    return code.empty() || code == "C" || code == "POSIX" ? fallback : code;
}

void chooseLanguage(const std::string& code) {
    const std::vector<std::string> known = knownLanguages();
    if (std::find(known.begin(), known.end(), code) == known.end()) {
        std::string list;
        for (const std::string& each : known) {
            list += (list.empty() ? "" : ", ") + each;
        }
        throw UsageError("--lang: there is no language \"" + code + "\"; there are: " + list);
    }
    chosenLanguage = code;
}

Program::Program() {
    const std::string language = chosenLanguage.empty() ? languageOfEnvironment() : chosenLanguage;
    // Who has set up a computer in a language that there is no module of reads English without a word about it.
    if (!kivLoadLanguage(kivFromUtf8(language)) && !kivLoadLanguage(kivFromUtf8(fallback))) {
        std::fputs("selvarin: warning: the language module is missing beside the library; texts will be empty\n",
                   stderr);
    }
    if (!loader.loadShaders()) {
        std::fputs("selvarin: warning: no shaders were found in the folder \"shaders\" beside the library\n", stderr);
    }
}

Program::~Program() {
    for (unsigned long i = 0; i < KivShader::shaders(); ++i) {
        if (KivShader* shader = KivShader::getByIndex(i)) {
            shader->destroyPages(nullptr);
        }
    }
    loader.unloadShaders();
}
