#include "kivrender/host/kivhostapplicationservices.h"

#include "kivrender/host/kivlanguage.h"
#include "kivrender/host/kivuserfolders.h"
#include "kivrender/platform/kivfolders.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/platform/kivtoolkit.h"

#include <atomic>
#include <string>

namespace {

constexpr unsigned int captionId = 52;

std::atomic<bool> makesFoldersAtOnce{true};

} // namespace

void kivMakeUserFoldersAtOnce(bool atOnce) {
    makesFoldersAtOnce = atOnce;
}

bool kivMakesUserFoldersAtOnce() {
    return makesFoldersAtOnce;
}

KivHostApplicationServices* KivHostApplicationServices::spDefaultHost = nullptr;

KivHostApplicationServices::KivHostApplicationServices() {
    const std::wstring root = kivDataFolder();
    if (!root.empty() && makesFoldersAtOnce) {
        kivMakeFolders(root + L"/Tolvar/Morvane 2.0/Styles"); // without it there are no styles of the user, that is all
    }
}

KivHostApplicationServices::~KivHostApplicationServices() {
    // The pages are the shaders' and may be shared by the meshes: the meshes must not delete them.
    previewScene.deleteSettingsToAllMeshes();
    if (spDefaultHost == this) {
        spDefaultHost = nullptr;
    }
}

KivHostApplicationServices* KivHostApplicationServices::getDefaultHost() {
    return spDefaultHost;
}

KivHostApplicationServices* KivHostApplicationServices::setDefaultHost(KivHostApplicationServices* host) {
    KivHostApplicationServices* previous = spDefaultHost;
    spDefaultHost = host;
    return previous;
}

void KivHostApplicationServices::print(const wchar_t*, ...) {}

HWND KivHostApplicationServices::getMainWindow() {
    return nullptr;
}

int KivHostApplicationServices::getColorDialog(HWND owner, std::uint32_t& color) {
    std::uint32_t chosen = color;
    if (!KivToolkit::get().pickColor(owner, chosen)) {
        return 0;
    }
    color = chosen;
    return 1;
}

int KivHostApplicationServices::getFolder(HWND owner, const wchar_t* title, wchar_t* folder) {
    std::wstring chosen;
    if (!KivToolkit::get().pickFolder(owner, kivTextOrEmpty(title), chosen)) {
        return 0;
    }
    kivCopyText(folder, kivMaxPath, chosen);
    return 1;
}

int KivHostApplicationServices::message(const wchar_t* text) {
    return KivToolkit::get().showMessage(getMainWindow(), kivTextOrEmpty(text), kivText(captionId),
                                         KivMessageKind::Error);
}

int KivHostApplicationServices::question(const wchar_t* text) {
    const int answer = KivToolkit::get().showMessage(getMainWindow(), kivTextOrEmpty(text), kivText(captionId),
                                                     KivMessageKind::Question);
    return answer == kivAnswerYes ? 1 : 0;
}

int KivHostApplicationServices::morvaneErrorMessage(unsigned long code, const wchar_t* text) {
    if (code == 0) {
        return 1;
    }
    std::wstring shown = kivSystemErrorText(code);
    if (text != nullptr) {
        shown += L"\n\n";
        shown += text;
    }
    return message(shown.c_str());
}

void KivHostApplicationServices::fatalError() {}

KivScene* KivHostApplicationServices::getPreviewScene() {
    return &previewScene;
}

const KivCamera* KivHostApplicationServices::getPreviewCamera() {
    return &previewCamera;
}
