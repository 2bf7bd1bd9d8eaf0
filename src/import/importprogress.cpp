#include "import/importprogress.h"

#include "import/modelparts.h"

#include <algorithm>
#include <utility>

namespace kivimport {
namespace {

constexpr std::chrono::milliseconds pause{10};

} // namespace

ImportProgress::ImportProgress(Callback progressCallback) : callback(std::move(progressCallback)) {}

void ImportProgress::setStep(double begin, double end) {
    stepBegin = begin;
    stepEnd = end;
}

void ImportProgress::report(double done) {
    const Clock::time_point now = Clock::now();
    if (!callback || now - asked < pause) {
        return;
    }
    // NaN counts as nothing done.
    const double fraction = done > 0.0 ? std::min(done, 1.0) : 0.0;
    shown = std::max(shown, stepBegin + (stepEnd - stepBegin) * fraction);
    const bool goOn = callback(shown);
    asked = Clock::now();
    if (!goOn) {
        throw ImportCancelled();
    }
}

} // namespace kivimport
