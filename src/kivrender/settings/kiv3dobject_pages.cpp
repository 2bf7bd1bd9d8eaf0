// The operations of a scene object that need to know what a settings page is.
#include "kivrender/scene/kiv3dobject.h"
#include "kivrender/scene/kivshared.h"
#include "kivrender/settings/kivpagesettings.h"

#include <cwchar>
#include <utility>

void Kiv3DObject::addPageSettings(const KivPageSettings* settings) {
    pageSettings.push_back(KivShared<const KivPageSettings>::keep(settings));
}

void Kiv3DObject::lendPageSettings(const KivPageSettings* settings) {
    pageSettings.push_back(KivShared<const KivPageSettings>::lend(settings));
}

const KivPageSettings* Kiv3DObject::getPageSettings(const wchar_t* name) const {
    if (name == nullptr) {
        return nullptr;
    }
    for (const auto& reference : pageSettings) {
        const KivPageSettings* page = reference->get();
        const wchar_t* sectionName = page != nullptr ? page->getSectionName() : nullptr;
        if (sectionName != nullptr && std::wcscmp(sectionName, name) == 0) {
            return page;
        }
    }
    return nullptr;
}

void Kiv3DObject::deleteSettings() {
    nonCombinableShader.clear();
    combinableShaders.clear();
    for (auto& reference : std::exchange(pageSettings, {})) {
        KivShared<const KivPageSettings>::giveBack(std::move(reference));
    }
}
