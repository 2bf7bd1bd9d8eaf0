#include "apps/studio/studiohost.h"

#include "apps/studio/drawingfile.h"
#include "apps/studio/previewmodel.h"
#include "kivrender/platform/kivimage.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/platform/kivtoolkit.h"
#include "qt/kivqttext.h"

#include <QFileInfo>

#include <algorithm>
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

int StudioHost::getVectorialFilename(HWND owner, wchar_t* name, unsigned long size, int open) {
    kivCopyText(name, size, std::wstring_view());
    KivFileRequest request;
    std::wstring filters; // zeros stand between its texts
    for (const StudioSaveKind& kind : drawingKinds()) {
        const QString pattern = QStringLiteral("*.") + kind.endings.join(QStringLiteral(";*."));
        filters += kivFromQt(kind.title + QStringLiteral(" (") + pattern + QLatin1Char(')')) + L'\0';
        filters += kivFromQt(pattern) + L'\0';
        request.endings.push_back(L'.' + kivFromQt(kind.endings.first()));
    }
    filters += L'\0';
    request.owner = owner;
    request.open = open != 0;
    request.pathMustExist = true;
    request.fileMustExist = request.open;
    request.overwritePrompt = !request.open;
    request.filters = filters.c_str();
    request.folder = drawingsFolder;
    if (!KivToolkit::get().pickFile(request)) {
        return 0;
    }
    if (QFileInfo(kivToQt(request.file)).suffix().isEmpty()) {
        const std::size_t row =
            std::clamp<std::size_t>(static_cast<std::size_t>(request.filter), 1, request.endings.size());
        request.file += request.endings[row - 1];
    }
    drawingsFolder = kivFromQt(QFileInfo(kivToQt(request.file)).absolutePath());
    kivCopyText(name, size, request.file);
    return 1;
}

void StudioHost::saveImage(KivBitmapManager& bitmap, const wchar_t* file) {
    const std::size_t before = held.size();
    KivDefaultHost::saveImage(bitmap, file);
    imageSaved = held.size() == before;
}

bool StudioHost::savePicture(const KivImage& picture, const wchar_t* file) {
    GUID encoder{};
    const KivImageStatus status =
        getEncoderClsidFromFileName(file, &encoder) < 0 ? KivImageStatus::unknownFormat : picture.save(file, encoder);
    if (status != KivImageStatus::ok) {
        morvaneErrorMessage(status == KivImageStatus::systemError ? kivGetLastError() : 0, file);
    }
    return status == KivImageStatus::ok;
}

bool StudioHost::wasImageSaved() const {
    return imageSaved;
}
