#include "kivrender/host/kivdefaulthost.h"

#include "kivrender/host/kivselvarinapp.h"
#include "kivrender/platform/kivfolders.h"
#include "kivrender/platform/kivpreferences.h"
#include "kivrender/platform/kivtext.h"

#include <string>

namespace {

const std::wstring& moduleKey() {
    return CSelvarinApp::get().getAppName();
}

const wchar_t* runKey() {
    return L"Morvane\\2.0\\Run";
}

} // namespace

KivDefaultHost::KivDefaultHost() {
    KivHostApplicationServices::buildPreviewSceneAndCamera();
}

KivDefaultHost::~KivDefaultHost() {
    if (getDefaultHost() == this) {
        setDefaultHost(nullptr);
    }
}

void KivDefaultHost::saveRegistryString(bool machine, const wchar_t* value, const wchar_t* data) {
    saveStringOnRegistryKey(machine, moduleKey().c_str(), value, data);
}

bool KivDefaultHost::loadRegistryString(bool machine, const wchar_t* value, wchar_t* data) {
    // A look at a key that does not exist would make it, with whatever the caller's buffer holds.
    return KivPreferences().hasKey(machine, moduleKey()) &&
           loadStringOnRegistryKey(machine, moduleKey().c_str(), value, data);
}

void KivDefaultHost::saveRegistryDword(bool machine, const wchar_t* value, std::uint32_t data) {
    saveDwordOnRegistryKey(machine, moduleKey().c_str(), value, data);
}

bool KivDefaultHost::loadRegistryDword(bool machine, const wchar_t* value, std::uint32_t* data) {
    return KivPreferences().hasKey(machine, moduleKey()) &&
           loadDwordOnRegistryKey(machine, moduleKey().c_str(), value, data);
}

void KivDefaultHost::saveRunRegistryString(bool machine, const wchar_t* value, const wchar_t* data) {
    saveStringOnRegistryKey(machine, runKey(), value, data);
}

void KivDefaultHost::hostRegistrySlot19() {}

void KivDefaultHost::hostRegistrySlot20() {}

void KivDefaultHost::hostRegistrySlot21() {}

bool KivDefaultHost::getStyleFolder(Folder folder, wchar_t* out) {
    if (KivHostApplicationServices::getStyleFolder(folder, out)) {
        return true;
    }
    if (folder != sharedFolder) {
        return false;
    }
    wchar_t place[kivMaxPath] = {};
    getMorvaneFolder(place);
    kivCopyText(out, kivMaxPath, place + std::wstring(L"/styles"));
    return place[0] != L'\0';
}

void KivDefaultHost::getUserDataFolder(wchar_t* out) {
    const std::wstring root = kivDataFolder();
    kivCopyText(out, kivMaxPath, root.empty() ? root : root + L"/Tolvar/Morvane 2.0");
}
