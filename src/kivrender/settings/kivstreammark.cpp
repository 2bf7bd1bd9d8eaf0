#include "kivrender/settings/kivstreammark.h"

#include "kivrender/settings/kivaveragedatamanager.h"

#include <algorithm>

KivStreamMark::KivStreamMark(KivDataManager& manager) : stream(manager), cells(manager.properties.size()), flags(0) {
    if (const auto* const several = dynamic_cast<const KivAverageDataManager*>(&stream)) {
        flags = several->varied.size();
    }
}

void KivStreamMark::returnTo() {
    stream.properties.resize(std::min(cells, stream.properties.size()));
    if (auto* const several = dynamic_cast<KivAverageDataManager*>(&stream)) {
        several->varied.resize(std::min(flags, several->varied.size()));
    }
}
