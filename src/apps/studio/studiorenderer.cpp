#include "apps/studio/studiorenderer.h"

#include "apps/studio/drawnlook.h"
#include "apps/studio/studiohost.h"
#include "kivrender/settings/kivmemorycommondatamanager.h"
#include "kivrender/shader/kivshader.h"
#include "kivrender/vector/kivvectorpage.h"
#include "qt/kivqtimages.h"
#include "qt/kivqttext.h"

#include <QElapsedTimer>
#include <QFileInfo>

#include <algorithm>
#include <optional>

namespace {

// What a triangle takes in the buffer of a vector drawing, with some more for those that are cut.
constexpr std::uint64_t floatsPerTriangle = 32;

// False if the buffer is as large already, or as large as it can be.
bool growVectorBuffer(std::uint64_t floats) {
    const int before = KivVectorPage::getBufferSize();
    if (floats > static_cast<std::uint64_t>(before)) {
        constexpr std::uint64_t most = KivVectorPage::largestBuffer;
        KivVectorPage::setBufferSize(static_cast<int>(std::min(floats, most)));
    }
    return KivVectorPage::getBufferSize() > before;
}

} // namespace

StudioRenderer::StudioRenderer(StudioHost& studioHost) : host(studioHost) {}

bool StudioRenderer::isBusy() const {
    return busy;
}

KivCommonSettings StudioRenderer::settingsFor(const StudioState& state, Purpose purpose) const {
    KivCommonSettings settings = state.options;
    if (purpose == Purpose::final) {
        if (settings.doVectorial()) {
            settings.setPaperImage(L""); // a page would take it for a white sheet over everything
            // What is filled with the background, to hide lines behind it, has to look like the sheet over it.
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
        settings.setTransparencies(false);
        settings.setBackgroundImage(L"");
        settings.setPaperImage(L"");
    }
    return settings;
}

bool StudioRenderer::renderOnce(const StudioModel& model, const StudioState& state, QSize size, Purpose purpose,
                                KivCommonSettings settings) {
    KivScene scene = model.scene(state, purpose == Purpose::motion);
    const double aspect = static_cast<double>(size.width()) / size.height();
    const KivCamera camera = state.camera.toCamera(model.points(), aspect);
    KivMemoryCommonDataManager common;
    settings.saveDataOnHost(&common);
    KivMemoryDataManager look(state.look.stream());
    tagSIZE pixels{size.width(), size.height()};
    surface = std::make_unique<KivBitmapManager>();
    try {
        return renderer.render(&common, &look, &scene, camera, surface.get(), &pixels);
    } catch (const KivShader::stopReason&) {
        return false; // no file for a vector page could be made
    }
}

StudioPicture StudioRenderer::render(const StudioModel& model, const StudioState& state, QSize size, Purpose purpose,
                                     StudioProgress& progress) {
    StudioPicture picture;
    if (busy || size.isEmpty()) {
        return picture;
    }
    busy = true;
    QElapsedTimer clock;
    clock.start();
    const KivCommonSettings settings = settingsFor(state, purpose);
    if (settings.doVectorial()) {
        growVectorBuffer(model.triangles() * floatsPerTriangle);
        KivVectorPage::setExactOrder(settings.getVectorialSpeed() == 0);
    }
    host.setCurProgress(&progress);
    {
        const StudioModel::OwnLooks looks(model, purpose == Purpose::motion ? StudioState() : state);
        do {
            host.holdMessages();
            picture.done = renderOnce(model, state, size, purpose, settings);
            // Nobody can know how large a drawing becomes before it is drawn.
        } while (picture.done && !progress.wasCancelled() && settings.doVectorial() && KivVectorPage::hasOverflowed() &&
                 growVectorBuffer(std::uint64_t{4} * static_cast<std::uint64_t>(KivVectorPage::getBufferSize())));
    }
    host.setCurProgress(nullptr);
    picture.messages = host.takeMessages();
    picture.cancelled = progress.wasCancelled();
    picture.done = picture.done && !picture.cancelled;
    if (picture.done && !settings.doVectorial()) {
        picture.image = kivQtImage(surface->getHBitmap());
    }
    if (picture.done && settings.doVectorial()) {
        picture.saved = QFileInfo(kivToQt(settings.getSaveVectorFile())).size() > 0;
    } else {
        picture.saved = picture.done && settings.doSaveRender() && host.wasImageSaved();
    }
    surface.reset();
    picture.milliseconds = static_cast<double>(clock.nsecsElapsed()) / 1e6;
    busy = false;
    return picture;
}

QImage StudioRenderer::growing() {
    return surface != nullptr ? kivQtImage(surface->getHBitmap()) : QImage();
}
