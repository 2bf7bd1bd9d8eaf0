#include "kivrender/settings/kivversionmanager.h"

KivVersionManager::~KivVersionManager() = default;

int KivVersionManager::getMinorVersion() const {
    return minorVersion;
}

void KivVersionManager::setMinorVersion(int version) {
    minorVersion = version;
}
