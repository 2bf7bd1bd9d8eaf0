#include "shaders/kit/kivpageresource.h"

#include "kivrender/host/kivlanguage.h"
#include "kivrender/host/kivresources.h"
#include "kivrender/platform/kivtext.h"
#include "shaders/kit/kivpageform.h"

#include <algorithm>
#include <map>

namespace {

constexpr unsigned int languageText = 1100; // the code of the language in force

} // namespace

std::string kivPageLanguage(std::string language) {
    if (kivPageTextsIn(language).empty()) {
        language.resize(std::min(language.find_first_of("-_"), language.size()));
    }
    return kivPageTextsIn(language).empty() ? "en" : language;
}

std::wstring kivPageTitle() {
    const std::string language = kivPageLanguage(kivToUtf8(kivText(languageText)));
    return kivFromUtf8(kivReadPageTexts(kivPageTextsIn(language)).title);
}

const char* kivPageResource(unsigned int kind, unsigned int id, unsigned long* size, KivTableFunction table) {
    if (kind != static_cast<unsigned int>(KivResourceKind::dialog) || id != kivPageTemplate || size == nullptr) {
        return nullptr;
    }
    static std::map<std::string, std::string> forms;
    const std::string language = kivPageLanguage(kivToUtf8(kivText(languageText)));
    std::string& form = forms[language];
    if (form.empty()) {
        const KivSettingInfo* infos = nullptr;
        const int count = table(&infos);
        form = kivPageForm(kivReadPageTexts(kivPageTextsIn(language)), infos, count);
    }
    *size = form.size();
    return form.data();
}
