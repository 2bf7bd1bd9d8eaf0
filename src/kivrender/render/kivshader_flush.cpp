// The growing picture on the host's screen during a render.
#include "kivrender/platform/kivglwait.h"
#include "kivrender/render/kivbitmapmanager.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/shader/kivshader.h"

#include <chrono>
#include <cstdint>

namespace {

// Showing means to finish all drawing and to release the context, so it happens at most once in this time.
constexpr std::int64_t pauseMilliseconds = 801;

std::int64_t lastShown = 0; // process-wide, milliseconds of the steady clock

std::int64_t now() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

} // namespace

void KivShader::flushAndShow(KivBitmapManager* surface, bool /*vectorial*/) {
    KivProgress* const progress = kivCurrentProgress();
    if (progress == nullptr) {
        return;
    }
    if (now() - lastShown < pauseMilliseconds) {
        progress->advance(1, false);
        return;
    }
    kivWaitForGl([progress] { return !progress->isCancelled(); });
    if (wglLockBitmap(surface) != nullptr) {
        progress->advance(1, true);
        surface->lock();
        const HGLRC context = surface->getHGLRC();
        wglUnLockBitmap(surface, context);
        surface->setHGLRC(context);
        surface->unlock();
    }
    lastShown = now();
}
