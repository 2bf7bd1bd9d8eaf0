#include "kivrender/lines/kivdrawnskins.h"

#include <algorithm>
#include <utility>

namespace {

thread_local KivDrawnSkins* collected = nullptr;

} // namespace

KivDrawnSkin* KivDrawnSkins::of(std::uint32_t object) {
    const auto place =
        std::find_if(skins.begin(), skins.end(), [object](const KivDrawnSkin& skin) { return skin.object == object; });
    return place != skins.end() ? &*place : nullptr;
}

void KivDrawnSkins::add(KivDrawnSkin skin) {
    if (KivDrawnSkin* const former = of(skin.object)) {
        *former = std::move(skin);
    } else {
        skins.push_back(std::move(skin));
    }
}

KivDrawnSkins* kivCollectedSkins() {
    return collected;
}

KivDrawnSkins* kivCollectSkins(KivDrawnSkins* skins) {
    return std::exchange(collected, skins);
}
