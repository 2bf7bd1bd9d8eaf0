#include "apps/studio/studiorenderer.h"

#include "apps/common/vectorbuffer.h"
#include "apps/document/drawnlook.h"
#include "apps/studio/barepicture.h"
#include "apps/studio/drawingfile.h"
#include "apps/studio/studiohost.h"
#include "apps/studio/studiotexts.h"
#include "kivrender/platform/kivglwarmup.h"
#include "kivrender/platform/kivimage.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtemporaryfile.h"
#include "kivrender/settings/kivmemorycommondatamanager.h"
#include "kivrender/shader/kivshader.h"
#include "kivrender/vector/kivvectorpage.h"
#include "qt/kivqtimages.h"
#include "qt/kivqttext.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>

#include <algorithm>
#include <optional>

namespace {

StudioText textOf(PictureProblem problem) {
    switch (problem) {
    case PictureProblem::missing:
        return StudioText::pictureMissing;
    case PictureProblem::noFile:
        return StudioText::pictureNoFile;
    case PictureProblem::unreadable:
        return StudioText::pictureUnreadable;
    case PictureProblem::none:
    case PictureProblem::noPicture:
        break;
    }
    return StudioText::pictureBroken;
}

} // namespace

StudioRenderer::StudioRenderer(StudioHost& studioHost) : host(studioHost) {}

bool StudioRenderer::isBusy() const {
    return busy;
}

KivCommonSettings StudioRenderer::settingsFor(const StudioState& state, Purpose purpose) const {
    KivCommonSettings settings = state.options;
    // Ghosts are transparent, whatever the options say.
    const bool hasGhosts = state.shown.hasGhosts();
    settings.setTransparencies(settings.doTransparencies() || hasGhosts);
    if (purpose == Purpose::final) {
        if (settings.doVectorial()) {
            settings.setPaperImage(L""); // a page would take it for a white sheet over everything
            // Areas that hide lines are filled with the background colour, which has to look like the sheet.
            if (const std::optional<std::uint32_t> sheet = sheetColour(state.look)) {
                settings.setBackgroundColor(*sheet);
            }
        }
        return settings;
    }
    settings.setVectorial(false);
    settings.setSaveRender(false);
    settings.setSaveDepth(false);
    settings.setSaveShadows(false);
    settings.setAntialias(purpose == Purpose::motion ? 0 : 1);
    if (purpose == Purpose::motion) {
        settings.setShadows(false);
        settings.setTransparencies(hasGhosts);
        settings.setBackgroundImage(L"");
        settings.setPaperImage(L"");
    }
    return settings;
}

bool StudioRenderer::renderOnce(const StudioModel& model, const StudioState& state, QSize size, Purpose purpose,
                                KivCommonSettings settings) {
    KivScene scene = drawsScene ? model.scene(state, purpose == Purpose::motion) : KivScene();
    const double aspect = static_cast<double>(size.width()) / size.height();
    const KivCamera camera = state.camera.toCamera(model.points(), aspect);
    KivMemoryCommonDataManager common;
    settings.saveDataOnHost(&common);
    KivMemoryDataManager look(state.look.stream());
    tagSIZE pixels{size.width(), size.height()};
    surface = std::make_unique<KivBitmapManager>();
    kivSetLastError(0);
    bool done = false;
    try {
        done = renderer.render(&common, &look, &scene, camera, surface.get(), &pixels);
    } catch (const KivShader::stopReason&) {
        // Too little memory, which was told, or no place for a drawing in progress.
        if (!host.hadError()) {
            const QString place = QDir::toNativeSeparators(kivToQt(kivTemporaryFolder()));
            host.morvaneErrorMessage(kivGetLastError(),
                                     kivFromQt(studioText(StudioText::temporaryPlace).arg(place)).c_str());
        }
    }
    lastError = kivGetLastError();
    return done;
}

std::vector<std::wstring> StudioRenderer::unusablePictures(const KivCommonSettings& settings) {
    std::vector<std::wstring> lines;
    if (settings.doVectorial()) {
        return lines; // which has no place for them
    }
    for (const std::wstring& picture : {settings.getBackgroundImage(), settings.getPaperImage()}) {
        const QString file = kivToQt(picture);
        const QDateTime changed = QFileInfo(file).lastModified();
        const auto known = lookedAt.constFind(file);
        const PictureProblem problem =
            known != lookedAt.constEnd() && known->changed == changed ? known->problem : problemOfPicture(picture);
        lookedAt.insert(file, {changed, problem});
        if (problem != PictureProblem::none) {
            lines.push_back(kivFromQt(studioText(StudioText::pictureUnusable)
                                          .arg(QDir::toNativeSeparators(file), studioText(textOf(problem)))));
        }
    }
    return lines;
}

bool StudioRenderer::draw(const StudioModel& model, const StudioState& state, QSize size, Purpose purpose,
                          const KivCommonSettings& settings, StudioProgress& progress, StudioPicture* picture) {
    const StudioModel::OwnLooks looks(model, state, purpose == Purpose::motion);
    const auto drawOnce = [&] {
        host.holdMessages();
        return renderOnce(model, state, size, purpose, settings);
    };
    if (!settings.doVectorial()) {
        return drawOnce();
    }
    growVectorBuffer(model.triangles() * vectorFloatsPerTriangle);
    KivVectorPage::setExactOrder(settings.getVectorialSpeed() == 0);
    auto drawing = std::make_shared<CollectedDrawing>();
    DrawingOptions wanted = state.drawing;
    if (wanted.textures == KivDrawingCollector::Textures::pictures &&
        !holdsPictures(kivToQt(state.options.getSaveVectorFile()))) {
        wanted.textures = KivDrawingCollector::Textures::areas;
    }
    const bool isCollected = drawing->collect(model.model(), model.drawnNames(state.shown), wanted, [&] {
        bool done = drawOnce();
        // Nobody can know how large a drawing becomes before it is drawn.
        while (done && !progress.wasCancelled() && KivVectorPage::hasOverflowed() && growVectorBuffer()) {
            done = drawOnce();
        }
        return done;
    });
    picture->drawing = drawing;
    return isCollected;
}

// To the file that the options name, if they do.
void StudioRenderer::writeDrawing(const StudioState& state, StudioProgress& progress, StudioPicture* picture) {
    const QString file = kivToQt(state.options.getSaveVectorFile());
    if (file.isEmpty()) {
        return;
    }
    QString why;
    const CollectedDrawing& made = *picture->drawing;
    picture->saved = writeDrawingFile(
        made.drawing, made.sheetFor(state.drawing, sheetColour(state.look).has_value()), file,
        [&progress] { return progress.isCancelled(); }, &why);
    if (!why.isEmpty()) {
        picture->messages.push_back(kivFromQt(studioText(StudioText::notSaved).arg(why)));
    }
}

std::wstring StudioRenderer::reasonOf(const StudioPicture& picture, const KivCommonSettings& settings) {
    if (lastError == 0 || lastError == kivErrorInvalidHandle) {
        return {};
    }
    const std::wstring why = kivSystemErrorText(lastError);
    if (picture.done) {
        return settings.getSaveRenderFile() + L"\n" + why;
    }
    wchar_t folder[kivMaxPath] = {};
    host.getVirtualMemoryFolder(folder);
    if (folder[0] == L'\0' || lastError == kivErrorNotEnoughMemory) {
        return why;
    }
    return why + L"\n" + kivFromQt(studioText(StudioText::memoryPlace).arg(QDir::toNativeSeparators(kivToQt(folder))));
}

StudioPicture StudioRenderer::render(const StudioModel& model, const StudioState& state, QSize size, Purpose purpose,
                                     StudioProgress& progress) {
    StudioPicture picture;
    if (busy || size.isEmpty()) {
        return picture;
    }
    busy = true;
    kivKeepGlContexts(purpose == Purpose::motion);
    QElapsedTimer clock;
    clock.start();
    const KivCommonSettings settings = settingsFor(state, purpose);
    std::vector<std::wstring> unusable = unusablePictures(settings);
    if (purpose == Purpose::final && !unusable.empty()) {
        picture.messages = std::move(unusable);
        busy = false;
        return picture;
    }
    host.setCurProgress(&progress);
    picture.done = draw(model, state, size, purpose, settings, progress, &picture);
    host.setCurProgress(nullptr);
    picture.messages = host.takeMessages();
    picture.messages.insert(picture.messages.end(), unusable.begin(), unusable.end());
    if (picture.done && settings.doVectorial()) {
        writeDrawing(state, progress, &picture);
    }
    picture.cancelled = progress.wasCancelled();
    picture.done = picture.done && !picture.cancelled;
    if (picture.done && !settings.doVectorial()) {
        picture.image = kivQtImage(surface->getHBitmap());
        picture.saved = settings.doSaveRender() && host.wasImageSaved();
    }
    const bool lacksFile = !settings.doVectorial() && settings.doSaveRender() && !picture.saved;
    if (!picture.cancelled && picture.messages.empty() && (!picture.done || lacksFile)) {
        if (const std::wstring reason = reasonOf(picture, settings); !reason.empty()) {
            picture.messages.push_back(kivText(static_cast<unsigned int>(StudioText::notRendered)) + L"\n" + reason);
        }
    }
    surface.reset();
    picture.milliseconds = static_cast<double>(clock.nsecsElapsed()) / 1e6;
    busy = false;
    return picture;
}

// The same scene on black and on white, and with its paper, each a part of the time.
StudioPicture StudioRenderer::renderBare(const StudioModel& model, const StudioState& state, QSize size,
                                         StudioProgress& progress) {
    const std::wstring paper = state.options.getPaperImage();
    StudioState pass = state;
    pass.look = bareLook(state.look);
    pass.options.setBackgroundImage(L"");
    pass.options.setSaveRender(false);
    StudioPicture whole;
    QImage images[3];
    const int passes = paper.empty() ? 2 : 3;
    for (int i = 0; i < passes; ++i) {
        pass.options.setBackgroundColor(i == 1 ? 0xFFFFFF : 0);
        pass.options.setPaperImage(i == 2 ? paper.c_str() : L"");
        StudioProgress part;
        part.pump = [&progress, &part] {
            if (progress.isCancelled()) {
                part.cancel();
            }
        };
        part.onProgress = [&progress, i, passes](double done, const std::wstring& stage) {
            if (progress.onProgress) {
                progress.onProgress((i + done) / passes, stage);
            }
        };
        part.onPicture = progress.onPicture;
        const StudioPicture one = render(model, pass, size, Purpose::final, part);
        whole.messages.insert(whole.messages.end(), one.messages.begin(), one.messages.end());
        whole.milliseconds += one.milliseconds;
        whole.cancelled = one.cancelled || progress.wasCancelled();
        if (!one.done || whole.cancelled) {
            return whole;
        }
        images[i] = one.image;
        pass.options.setSaveDepth(false); // once is enough
        pass.options.setSaveShadows(false);
    }
    whole.image = barePicture(images[0], images[1], images[2]);
    whole.done = !whole.image.isNull();
    if (whole.done && state.options.doSaveRender()) {
        const std::unique_ptr<KivImage> picture = kivImageOf(whole.image);
        host.holdMessages();
        whole.saved = picture != nullptr && host.savePicture(*picture, state.options.getSaveRenderFile().c_str());
        const std::vector<std::wstring> told = host.takeMessages();
        whole.messages.insert(whole.messages.end(), told.begin(), told.end());
    }
    return whole;
}

QImage StudioRenderer::growing() {
    return surface != nullptr ? kivQtImage(surface->getHBitmap()) : QImage();
}
