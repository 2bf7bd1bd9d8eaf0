#include "apps/studio/studiohost.h"

#include "apps/studio/previewmodel.h"

#include <utility>

StudioHost::StudioHost() {
    setDefaultHost(this);
    setShowPreview(true);
    // In place of the library's own scene, which is made for the constructor of the base.
    previewScene.empty();
    makePreviewModel(&previewScene, &previewCamera);
}

HWND StudioHost::getMainWindow() {
    return mainWindow;
}

void StudioHost::setMainWindow(HWND window) {
    mainWindow = window;
}

int StudioHost::message(const wchar_t* text) {
    if (!holding) {
        return KivDefaultHost::message(text);
    }
    held.emplace_back(text != nullptr ? text : L"");
    return 1;
}

void StudioHost::holdMessages() {
    holding = true;
    imageSaved = false;
    failed = false;
    held.clear();
}

std::vector<std::wstring> StudioHost::takeMessages() {
    holding = false;
    return std::exchange(held, {});
}

int StudioHost::morvaneErrorMessage(unsigned long code, const wchar_t* text) {
    failed = failed || code != 0;
    return KivDefaultHost::morvaneErrorMessage(code, text);
}

bool StudioHost::hadError() const {
    return failed;
}

void StudioHost::saveImage(KivBitmapManager& bitmap, const wchar_t* file) {
    const std::size_t before = held.size();
    KivDefaultHost::saveImage(bitmap, file);
    imageSaved = held.size() == before;
}

bool StudioHost::wasImageSaved() const {
    return imageSaved;
}
