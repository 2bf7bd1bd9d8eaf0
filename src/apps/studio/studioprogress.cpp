#include "apps/studio/studioprogress.h"

namespace {

// Milliseconds: short enough for a hand on the mouse, long enough to cost nothing.
constexpr qint64 pumpInterval = 15;
constexpr qint64 reportInterval = 40;
constexpr qint64 pictureInterval = 300;

bool isDue(QElapsedTimer& timer, qint64 interval) {
    if (timer.isValid() && timer.elapsed() < interval) {
        return false;
    }
    timer.start();
    return true;
}

} // namespace

void StudioProgress::cancel() {
    cancelled = true;
}

bool StudioProgress::wasCancelled() const {
    return cancelled;
}

void StudioProgress::addSteps(unsigned int size) {
    estimate.addSteps(size);
}

int StudioProgress::addDeferredStep() {
    return estimate.addDeferredStep();
}

void StudioProgress::progressSlot3() {}

void StudioProgress::beginStep() {
    estimate.beginStep();
    report(true);
}

void StudioProgress::advance(unsigned int count, bool show) {
    estimate.advance(count);
    report(false);
    if (show && onPicture && isDue(lastPicture, pictureInterval)) {
        onPicture();
    }
    isCancelled();
}

void StudioProgress::setStepSize(int step, unsigned int size) {
    estimate.setStepSize(step, size);
}

void StudioProgress::endStep() {
    estimate.endStep();
    report(true);
}

void StudioProgress::progressSlot8() {}

void StudioProgress::setText(const wchar_t* text) {
    stage = text != nullptr ? text : L"";
    report(true);
}

bool StudioProgress::isCancelled() {
    report(false); // in the midst of a long unit nothing else comes
    if (pump && !cancelled && isDue(lastPump, pumpInterval)) {
        pump();
    }
    return cancelled;
}

double StudioProgress::done() const {
    return estimate.done();
}

void StudioProgress::report(bool always) {
    if (onProgress && (isDue(lastReport, reportInterval) || always)) {
        onProgress(done(), stage);
    }
}
