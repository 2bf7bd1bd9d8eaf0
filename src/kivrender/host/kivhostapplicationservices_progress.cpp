#include "kivrender/host/kivhostapplicationservices.h"
#include "kivrender/scene/kivprogress.h"

KivProgress* KivHostApplicationServices::progress() const {
    return curProgress;
}

void KivHostApplicationServices::setCurProgress(KivProgress* progress) {
    curProgress = progress;
}

KivProgress* kivCurrentProgress() {
    const KivHostApplicationServices* host = KivHostApplicationServices::getDefaultHost();
    return host != nullptr ? host->progress() : nullptr;
}

bool kivIsCancelled() {
    KivProgress* progress = kivCurrentProgress();
    return progress != nullptr && progress->isCancelled();
}
