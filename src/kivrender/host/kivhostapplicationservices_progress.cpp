#include "kivrender/host/kivhostapplicationservices.h"
#include "kivrender/host/kivprogressfilter.h"
#include "kivrender/scene/kivprogress.h"

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
    if (progressFilter != nullptr) {
        return progressFilter;
    }
    const KivHostApplicationServices* host = KivHostApplicationServices::getDefaultHost();
    return host != nullptr ? host->progress() : nullptr;
}

bool kivIsCancelled() {
    KivProgress* progress = kivCurrentProgress();
    return progress != nullptr && progress->isCancelled();
}
