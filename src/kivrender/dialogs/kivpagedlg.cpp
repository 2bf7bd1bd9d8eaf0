#include "kivrender/dialogs/kivpagedlg.h"

#include "kivrender/dialogs/kivpropertiesdlg.h"
#include "kivrender/platform/kivwindow.h"
#include "kivrender/settings/kivsettingstable.h"

KivPageDlg::KivPageDlg(unsigned int templateId, HWND parent, HINSTANCE resources)
    : KivDialog(templateId, parent, resources) {}

KivPageDlg::~KivPageDlg() = default;

int KivPageDlg::Create(unsigned int templateId, HWND parent) {
    return KivDialog::Create(templateId, parent);
}

int KivPageDlg::DestroyWindow() {
    return KivDialog::DestroyWindow();
}

void KivPageDlg::setPropertiesDlg(KivPropertiesDlg* dlg) {
    propertiesDlg = dlg;
}

KivPropertiesDlg* KivPageDlg::getPropertiesDlg() const {
    return propertiesDlg;
}

KivPageSettings* KivPageDlg::getSettings() {
    saveControls();
    return settings;
}

void KivPageDlg::loadData(KivDataManager* manager) {
    if (settings != nullptr) {
        settings->setDataManager(manager);
        settings->loadData();
    }
    loadControls();
}

void KivPageDlg::saveData(KivDataManager* manager) {
    saveControls();
    if (settings != nullptr) {
        settings->setDataManager(manager);
        settings->saveData();
    }
}

void KivPageDlg::forgetVaried() {
    auto* const table = dynamic_cast<KivTablePageSettings*>(settings);
    bool varied = false;
    for (int i = 0; table != nullptr && i < table->getNumSettings(); ++i) {
        varied = varied || table->isVaried(i);
    }
    if (!varied) {
        return;
    }
    saveControls(); // what the user did to the others stays
    for (int i = 0; i < table->getNumSettings(); ++i) {
        table->setVaried(i, false);
    }
    loadControls();
}

void KivPageDlg::resetStyle() {
    if (propertiesDlg != nullptr && propertiesDlg->getWindow() != nullptr) {
        propertiesDlg->resetStyle();
    }
}

HINSTANCE KivPageDlg::getModuleState() const {
    return getResources();
}

void KivPageDlg::getDlgItemRect(int id, RECT* out) const {
    if (const KivWindow* const shown = getWindow(); shown != nullptr) {
        shown->getControlRect(id, out);
    }
}
