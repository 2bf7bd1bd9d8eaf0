#include "kivshaderpage.h"

#include "kivrender/host/kivlanguage.h"
#include "kivrender/platform/kivtypes.h"
#include "kivrender/scene/kiv3dobject.h"
#include "kivrender/settings/kivdatamanager.h"

#include <cstdint>

KivShaderPage::KivShaderPage(unsigned int pageTemplate, const KivTablePageSettings& defaults)
    : KivPageDlg(pageTemplate), owned(defaults) {
    settings = &owned;
}

void KivShaderPage::saveControls() {}

void KivShaderPage::loadControls() {}

KivTablePageSettings kivDefaultSettings(const wchar_t* section, KivTableFunction table) {
    const KivSettingInfo* infos = nullptr;
    const int count = table(&infos);
    return KivTablePageSettings(section, infos, count);
}

std::wstring kivShaderName(unsigned int text, const wchar_t* tag) {
    std::wstring name = text != 0 ? kivText(text) : std::wstring();
    return name.empty() ? tag : name;
}

void kivLoadSettings(KivDataManager* manager, KivTablePageSettings& settings) {
    settings.setDefaults();
    settings.setDataManager(manager);
    settings.loadData();
    settings.setDataManager(nullptr);
}

bool kivSaveSettings(KivDataManager* manager, KivTablePageSettings& settings) {
    settings.setDataManager(manager);
    settings.saveData();
    settings.setDataManager(nullptr);
    return true;
}

namespace {

bool loadOne(KivDataManager* manager, KivSettingType type) {
    switch (type) {
    case KivSettingType::Bool: {
        bool value = false;
        return manager->loadBoolFromFile(&value);
    }
    case KivSettingType::Int:
    case KivSettingType::Choice: {
        int value = 0;
        return manager->loadIntFromFile(&value);
    }
    case KivSettingType::Double: {
        double value = 0.0;
        return manager->loadDoubleFromFile(&value);
    }
    case KivSettingType::Colour: {
        std::uint32_t value = 0;
        return manager->loadUnsignedLongFromFile(&value);
    }
    }
    return false;
}

} // namespace

bool kivLoadDocument(KivDataManager* manager, const KivTablePageSettings& like) {
    wchar_t section[kivMaxPath] = {};
    if (!manager->loadStringFromFile(section)) {
        return false;
    }
    for (int i = 0; i < like.getNumSettings(); ++i) {
        if (!loadOne(manager, like.getInfo(i).type)) {
            return false;
        }
    }
    return true;
}

const KivTablePageSettings* kivObjectSettings(const Kiv3DObject& object, const wchar_t* section) {
    return dynamic_cast<const KivTablePageSettings*>(object.getPageSettings(section));
}

bool kivIsForShader(const Kiv3DObject& object, const wchar_t* tag, bool flagged) {
    return flagged ? !object.hasObjectSettings() : object.rendersThisShader(tag);
}
