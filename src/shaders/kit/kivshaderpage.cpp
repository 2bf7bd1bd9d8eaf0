#include "shaders/kit/kivshaderpage.h"

#include "kivrender/dialogs/kivpropertiesdlg.h"
#include "kivrender/dialogs/kivupdating.h"
#include "kivrender/host/kivlanguage.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/platform/kivtypes.h"
#include "kivrender/platform/kivwindow.h"
#include "kivrender/scene/kiv3dobject.h"
#include "kivrender/settings/kivdatamanager.h"
#include "shaders/kit/kivpageform.h"

#include <cstdint>

namespace {

constexpr int several = 2; // the state of a check box that stands for objects of both kinds

int controlOf(int index) {
    return kivPageFirstControl + index;
}

} // namespace

KivShaderPage::KivShaderPage(HINSTANCE resources, const KivTablePageSettings& defaults)
    : KivPageDlg(kivPageTemplate, nullptr, resources), owned(defaults),
      shown(static_cast<std::size_t>(defaults.getNumSettings())), colours(shown.size()) {
    settings = &owned;
}

void KivShaderPage::openIn(const KivPropertiesDlg* dlg) {
    if (dlg == nullptr || dlg->getWindow() == nullptr || getWindow() != nullptr) {
        return;
    }
    if (Create(kivPageTemplate, dlg->getWindow()) != 0) {
        getWindow()->setCaption(false);
        loadControls();
    }
}

int KivShaderPage::Create(unsigned int templateId, HWND parent) {
    const KivUpdating guard(loading);
    DestroyWindow(); // the colours must not outlive their window
    if (KivPageDlg::Create(templateId, parent) == 0) {
        return 0;
    }
    for (int i = 0; i < owned.getNumSettings(); ++i) {
        if (owned.getInfo(i).type == KivSettingType::Colour) {
            colours[static_cast<std::size_t>(i)].attach(getWindow(), controlOf(i));
        }
    }
    return 1;
}

int KivShaderPage::DestroyWindow() {
    for (KivColorControl& colour : colours) {
        colour.attach(nullptr, 0);
    }
    return KivPageDlg::DestroyWindow();
}

void KivShaderPage::saveControls() {
    for (int i = 0; getWindow() != nullptr && i < owned.getNumSettings(); ++i) {
        take(i);
    }
}

void KivShaderPage::loadControls() {
    for (int i = 0; getWindow() != nullptr && i < owned.getNumSettings(); ++i) {
        show(i);
    }
}

void KivShaderPage::show(int index) {
    const KivUpdating guard(loading);
    KivWindow& page = *getWindow();
    const int control = controlOf(index);
    Shown& last = shown[static_cast<std::size_t>(index)];
    last.value = owned.getValue(index);
    last.varied = owned.isVaried(index);
    switch (owned.getInfo(index).type) {
    case KivSettingType::Bool:
        page.setCheck(control, last.varied ? several : owned.getInt(index));
        break;
    case KivSettingType::Choice:
        page.setSelection(control, owned.getInt(index));
        break;
    case KivSettingType::Colour:
        colours[static_cast<std::size_t>(index)].setColor(owned.getColour(index));
        break;
    case KivSettingType::Int:
    case KivSettingType::Double:
        page.setText(control, kivFromUtf8(kivFormatSetting(owned.getInfo(index), last.value)));
        last.text = page.getText(control);
        break;
    }
    page.setVaried(control, last.varied);
}

void KivShaderPage::take(int index) {
    const KivWindow& page = *getWindow();
    const KivSettingInfo& info = owned.getInfo(index);
    const int control = controlOf(index);
    const Shown& last = shown[static_cast<std::size_t>(index)];
    double value = last.value;
    bool varied = page.isVaried(control) && last.varied;
    switch (info.type) {
    case KivSettingType::Bool: {
        const int state = page.getCheck(control);
        varied = last.varied && (varied || state == several);
        value = state == several ? last.value : state;
        break;
    }
    case KivSettingType::Choice: {
        const int choice = page.getSelection(control);
        value = choice >= 0 ? choice : last.value;
        break;
    }
    case KivSettingType::Colour:
        value = colours[static_cast<std::size_t>(index)].getColor();
        break;
    case KivSettingType::Int:
    case KivSettingType::Double: {
        const std::wstring text = page.getText(control);
        if (text != last.text) {
            kivReadSetting(info, kivToUtf8(text), &value);
        }
        break;
    }
    }
    // Without a user's hand on it the first object's value stands for all, whatever the control makes of it.
    owned.setValue(index, varied ? last.value : value);
    owned.setVaried(index, varied);
}

void KivShaderPage::pickColour(int index) {
    KivColorControl& colour = colours[static_cast<std::size_t>(index)];
    const std::uint32_t before = colour.getColor();
    const bool varied = getWindow()->isVaried(controlOf(index));
    colour.click();
    // A cancel is not an edit. A colour that is picked for objects that differ is one even if it is the first one's.
    if (colour.getColor() != before || (varied && !getWindow()->isVaried(controlOf(index)))) {
        resetStyle();
    }
}

void KivShaderPage::onControl(const KivControlEvent& event) {
    if (loading || getWindow() == nullptr) {
        return;
    }
    if (event.control == kivPageDefaultsControl && event.change == KivControlChange::clicked) {
        owned.setDefaults();
        loadControls();
        resetStyle();
        return;
    }
    const int index = event.control - kivPageFirstControl;
    if (index < 0 || index >= owned.getNumSettings()) {
        return;
    }
    const KivSettingType type = owned.getInfo(index).type;
    const bool number = type == KivSettingType::Int || type == KivSettingType::Double;
    if (type == KivSettingType::Colour) {
        if (event.change == KivControlChange::clicked) {
            pickColour(index);
        }
    } else if (number && event.change == KivControlChange::left) {
        // A number that was typed is brought into range where the user can see it.
        take(index);
        if (!owned.isVaried(index) &&
            getWindow()->getText(event.control) != shown[static_cast<std::size_t>(index)].text) {
            show(index);
        }
    } else if ((number && event.change == KivControlChange::edited) ||
               (type == KivSettingType::Bool && event.change == KivControlChange::clicked) ||
               (type == KivSettingType::Choice && event.change == KivControlChange::selected)) {
        resetStyle();
    }
}

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
