#include "kivrender/settings/kivpagesettings.h"

#include "kivrender/settings/kivdatamanager.h"

KivPageSettings::~KivPageSettings() = default;

void KivPageSettings::setDataManager(KivDataManager* manager) {
    dataManager = manager;
}

KivDataManager* KivPageSettings::getDataManager() const {
    return dataManager;
}

void KivPageSettings::loadData() {
    loaded = false;
    if (dataManager != nullptr && dataManager->startSection(getSectionName())) {
        loaded = loadSettings();
        dataManager->endSection();
    }
}

void KivPageSettings::saveData() {
    if (dataManager == nullptr) {
        return;
    }
    dataManager->startSection(getSectionName());
    saveSettings();
    dataManager->endSection();
}

bool KivPageSettings::isLoaded() const {
    return loaded;
}
