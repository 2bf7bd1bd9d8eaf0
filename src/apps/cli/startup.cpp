#include "apps/cli/startup.h"

#include "apps/cli/commandline.h"
#include "apps/common/language.h"
#include "kivrender/shader/kivshader.h"

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

std::string chosenLanguage; // empty for the environment's

} // namespace

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

std::string currentLanguage() {
    return chosenLanguage.empty() ? languageOfEnvironment() : chosenLanguage;
}

void loadLanguage() {
    static bool isLoaded = false;
    if (!isLoaded && !loadLanguageOrEnglish(currentLanguage())) {
        std::fputs("selvarin: warning: the language module is missing beside the library; texts will be empty\n",
                   stderr);
    }
    isLoaded = true;
}

Program::Program() {
    loadLanguage();
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
