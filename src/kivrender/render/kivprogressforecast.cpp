#include "kivrender/render/kivprogressforecast.h"

#include <utility>

namespace {

KivProgressForecast current;

} // namespace

const KivProgressForecast& kivProgressForecast() {
    return current;
}

void kivSetProgressForecast(KivProgressForecast forecast) {
    current = std::move(forecast);
}
