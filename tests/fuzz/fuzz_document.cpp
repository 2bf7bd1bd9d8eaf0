// Documents of Studio with any content: refused with a reason, or a state within its bounds that comes back from a
// document of its own as it is.
#include "apps/studio/studiostate.h"

#include <QJsonDocument>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    if (!document.isObject()) {
        return 0;
    }
    StudioState state;
    QString why;
    if (!state.fromJson(document.object(), QString(), &why)) {
        return 0;
    }
    require(std::isfinite(state.camera.distance) && std::isfinite(state.camera.yaw));
    require(state.options.getResolution().cx > 0 && state.options.getResolution().cy > 0);
    require(state.options.getSaveRenderFile().size() < kivMaxPath);
    const QByteArray written = QJsonDocument(state.toJson()).toJson(QJsonDocument::Compact);
    StudioState again;
    require(again.fromJson(QJsonDocument::fromJson(written).object(), QString(), &why));
    // By text: NaN, which settings may hold, equals nothing.
    require(QJsonDocument(again.toJson()).toJson(QJsonDocument::Compact) == written);
    return 0;
}
