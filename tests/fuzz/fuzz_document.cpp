// Documents of Studio with any content: refused with a reason, or a state within its bounds that comes back from a
// document of its own as it is.
#include "apps/document/studiostate.h"
#include "kivrender/platform/kivtypes.h"

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
    const auto document = Json::parse({reinterpret_cast<const char*>(data), size});
    if (!document || !document->isObject()) {
        return 0;
    }
    StudioState state;
    std::wstring why;
    if (!state.fromJson(*document, {}, &why)) {
        return 0;
    }
    require(std::isfinite(state.camera.distance) && std::isfinite(state.camera.yaw));
    require(state.options.getResolution().cx > 0 && state.options.getResolution().cy > 0);
    require(state.options.getSaveRenderFile().size() < kivMaxPath);
    const std::string written = state.toJson().compact();
    StudioState again;
    require(again.fromJson(Json::parse(written).value_or(Json()), {}, &why));
    // By text: NaN, which settings may hold, equals nothing.
    require(again.toJson().compact() == written);
    return 0;
}
