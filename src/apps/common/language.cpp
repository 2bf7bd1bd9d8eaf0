#include "apps/common/language.h"

#include "kivrender/host/kivlanguage.h"
#include "kivrender/platform/kivmodule.h"
#include "kivrender/platform/kivtext.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

namespace {

constexpr const char* fallback = "en";

} // namespace

std::string languageOfLocale(const std::string& locale) {
    const std::string code = locale.substr(0, locale.find_first_of("_.@"));
    return code.empty() || code == "C" || code == "POSIX" ? fallback : code;
}

std::string languageOfEnvironment() {
    for (const char* const name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* const value = std::getenv(name);
        if (value != nullptr && *value != '\0') {
            return languageOfLocale(value);
        }
    }
    return fallback;
}

std::vector<std::string> knownLanguages() {
    const std::string prefix = "selvarin-";
    std::vector<std::string> codes;
    for (const std::wstring& name : kivListModules(kivLibraryFolder() + L"/lang")) {
        const std::string code = std::filesystem::path(kivToUtf8(name)).stem().string();
        if (code.starts_with(prefix)) {
            codes.push_back(code.substr(prefix.size()));
        }
    }
    std::sort(codes.begin(), codes.end());
    return codes;
}

bool loadLanguageOrEnglish(const std::string& code) {
    return kivLoadLanguage(kivFromUtf8(code)) || kivLoadLanguage(kivFromUtf8(fallback));
}
