#include "kivrender/host/kivhostapplicationservices.h"
#include "kivrender/host/kivprogressfilter.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/scene/kivworkerprogress.h"

namespace {

KivProgress* progressFilter = nullptr;

} // namespace

void kivSetProgressFilter(KivProgress* filter) {
    progressFilter = filter;
}

KivProgress* KivHostApplicationServices::progress() const {
    return curProgress;
}

void KivHostApplicationServices::setCurProgress(KivProgress* progress) {
    curProgress = progress;
}

KivProgress* kivCurrentProgress() {
    if (KivWorkerProgress::cancelFlag() != nullptr) {
        return nullptr;
    }
    if (progressFilter != nullptr) {
        return progressFilter;
    }
    const KivHostApplicationServices* host = KivHostApplicationServices::getDefaultHost();
    return host != nullptr ? host->progress() : nullptr;
}

bool kivIsCancelled() {
    if (const std::atomic<bool>* const flag = KivWorkerProgress::cancelFlag()) {
        return *flag;
    }
    KivProgress* progress = kivCurrentProgress();
    return progress != nullptr && progress->isCancelled();
}
