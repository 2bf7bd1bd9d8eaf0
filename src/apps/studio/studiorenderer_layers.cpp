// Pictures in layers.
#include "apps/common/layeredpicture.h"
#include "apps/document/drawnlook.h"
#include "apps/studio/barepicture.h"
#include "apps/studio/documentfiles.h"
#include "apps/studio/studiorenderer.h"
#include "apps/studio/studiotexts.h"

#include <QByteArray>

#include <utility>

namespace {

LayerPlan planFor(const StudioState& state) {
    LookParts has = partsOf(state.look);
    for (const auto& [mesh, look] : state.objects) {
        const LookParts own = partsOf(look);
        has.base = has.base || own.base;
        has.lines = has.lines || own.lines;
        has.highlights = has.highlights || own.highlights;
    }
    LayerPlan plan;
    plan.ground = !state.withoutBackground;
    plan.paper = !state.options.getPaperImage().empty();
    plan.base = has.base;
    plan.lines = has.lines;
    plan.shadows = has.base && state.options.doShadows();
    plan.highlights = has.base && has.highlights;
    return plan;
}

// A document that shows one content of the layers.
StudioState stateFor(const StudioState& state, const LayerContent& content) {
    constexpr std::uint32_t white = 0xFFFFFF;
    StudioState pass = state;
    const bool hasGround = content.ground && !state.withoutBackground;
    const LookParts parts{content.base, hasGround, content.lines, content.highlights};
    pass.look = withParts(state.look, parts);
    for (auto& [mesh, look] : pass.objects.edit()) {
        look = withParts(look, parts);
    }
    KivCommonSettings& options = pass.options;
    options.setVectorial(false);
    options.setSaveRender(false);
    options.setSaveDepth(false);
    options.setSaveShadows(false);
    options.setShadows(options.doShadows() && content.shadows);
    if (!content.paper) {
        options.setPaperImage(L"");
    }
    if (!hasGround) {
        options.setBackgroundImage(L"");
    }
    if (content.background || state.withoutBackground) {
        options.setBackgroundColor(content.background.value_or(white));
    }
    return pass;
}

// A part of the whole time.
void follow(StudioProgress& part, StudioProgress& whole, double before, double share) {
    part.pump = [&part, &whole] {
        if (whole.isCancelled()) {
            part.cancel();
        }
    };
    part.onProgress = [&whole, before, share](double done, const std::wstring& stage) {
        if (whole.onProgress) {
            whole.onProgress(before + done * share, stage);
        }
    };
}

} // namespace

StudioPicture StudioRenderer::renderLayers(const StudioModel& model, const StudioState& state, QSize size,
                                           const QString& file, StudioProgress& progress) {
    const LayerPlan plan = planFor(state);
    const double share = 1.0 / static_cast<double>(layerRenders(plan));
    StudioPicture whole;
    double before = 0.0;
    const auto layers = takeApart(plan, [&](const LayerContent& content) -> std::unique_ptr<KivImage> {
        StudioProgress part;
        follow(part, progress, before, share);
        before += share;
        drawsScene = content.scene;
        const StudioPicture one = render(model, stateFor(state, content), size, Purpose::final, part);
        drawsScene = true;
        whole.messages.insert(whole.messages.end(), one.messages.begin(), one.messages.end());
        whole.milliseconds += one.milliseconds;
        whole.cancelled = one.cancelled || progress.wasCancelled();
        return one.done && !whole.cancelled ? kivImageOf(one.image) : nullptr;
    });
    whole.done = layers.has_value();
    if (whole.done) {
        const std::vector<std::uint8_t> bytes = openRasterFile(layers->layers, *layers->merged);
        QString why;
        whole.saved = !bytes.empty() && replaceFile(file,
                                                    QByteArray::fromRawData(reinterpret_cast<const char*>(bytes.data()),
                                                                            static_cast<qsizetype>(bytes.size())),
                                                    &why);
        if (!whole.saved) {
            whole.messages.push_back(kivFromQt(studioText(StudioText::notSaved).arg(why.isEmpty() ? file : why)));
        }
    }
    return whole;
}
