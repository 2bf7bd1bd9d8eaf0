#include "apps/cli/poster.h"

#include "apps/cli/progressbar.h"
#include "kivrender/host/kivhostapplicationservices.h"
#include "kivrender/platform/kivpicturewriter.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/render/kivrenderer.h"
#include "kivrender/render/kivtiledrender.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/settings/kivcommonsettings.h"

#include <memory>
#include <stdexcept>

namespace {

using Writer = std::unique_ptr<KivPictureWriter>;

KivTakeRows rowsTo(const Writer& writer) {
    if (!writer) {
        return {};
    }
    return [&writer](const std::uint8_t* rows, std::int32_t count) { return writer->write(rows, count); };
}

} // namespace

void checkPosterName(const std::string& name) {
    if (name != "-" && !KivPictureWriter::canWrite(kivFromUtf8(name))) {
        throw std::runtime_error("can't write \"" + name +
                                 "\": a picture of that size is written row by row, as png or tif");
    }
}

PosterOutcome drawPoster(const Poster& poster, KivRenderer& renderer, KivDataManager& stream, const KivScene& scene,
                         const KivCamera& camera, KivHostApplicationServices& host, ProgressBar& bar) {
    PosterOutcome outcome;
    const KivCommonSettings& settings = poster.settings;
    const auto open = [&](bool isWanted, const std::wstring& file, int channels) {
        return isWanted ? KivPictureWriter::create(file, poster.size, channels) : nullptr;
    };
    const bool hasShadow = settings.doShadows() && settings.doSaveShadows();
    const Writer colour = open(true, settings.getSaveRenderFile(), 3);
    const Writer depth = open(settings.doSaveDepth(), settings.getSaveDepthFile(), 1);
    const Writer shadow = open(hasShadow, settings.getSaveShadowsFile(), 1);
    if (!colour || (settings.doSaveDepth() && !depth) || (hasShadow && !shadow)) {
        outcome.isDrawn = true;
        outcome.error = kivGetLastError();
        return outcome;
    }
    KivTiledPicture picture;
    picture.size = poster.size;
    picture.tileSide = poster.tileSide;
    picture.colour = rowsTo(colour);
    picture.depth = rowsTo(depth);
    picture.shadow = rowsTo(shadow);
    picture.progress = [&bar](double done) { return bar.showDone(done); };
    CancelProgress cancel;
    bar.restart(L"Drawing tiles");
    host.setCurProgress(&cancel);
    kivSetLastError(0);
    const KivTiledOutcome drawn = kivRenderTiled(renderer, settings, &stream, scene, camera, picture);
    host.setCurProgress(nullptr);
    outcome.isDrawn = drawn == KivTiledOutcome::done || drawn == KivTiledOutcome::notTaken;
    outcome.isSaved = drawn == KivTiledOutcome::done && colour->finish() && (!depth || depth->finish()) &&
                      (!shadow || shadow->finish());
    outcome.error = kivGetLastError();
    return outcome;
}
