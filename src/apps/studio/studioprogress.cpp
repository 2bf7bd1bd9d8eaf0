#include "apps/studio/studioprogress.h"

#include <algorithm>

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
    sizes.push_back(size);
}

int StudioProgress::addDeferredStep() {
    sizes.push_back(0);
    return static_cast<int>(sizes.size()) - 1;
}

void StudioProgress::progressSlot3() {}

void StudioProgress::beginStep() {
    ++current;
    running = true;
    units = 0;
    report(true);
}

void StudioProgress::advance(unsigned int count, bool show) {
    units += count;
    report(false);
    if (show && onPicture && isDue(lastPicture, pictureInterval)) {
        onPicture();
    }
    isCancelled();
}

void StudioProgress::setStepSize(int step, unsigned int size) {
    if (step >= 0 && static_cast<std::size_t>(step) < sizes.size()) {
        sizes[static_cast<std::size_t>(step)] = size;
    }
}

void StudioProgress::endStep() {
    running = false;
    report(true);
}

void StudioProgress::progressSlot8() {}

void StudioProgress::setText(const wchar_t* text) {
    stage = text != nullptr ? text : L"";
    report(true);
}

bool StudioProgress::isCancelled() {
    if (pump && !cancelled && isDue(lastPump, pumpInterval)) {
        pump();
    }
    return cancelled;
}

double StudioProgress::done() const {
    double all = 0.0;
    double before = 0.0;
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        const double size = sizes[i];
        all += size;
        if (static_cast<int>(i) < current || (static_cast<int>(i) == current && !running)) {
            before += size;
        } else if (static_cast<int>(i) == current) {
            before += std::min(size, static_cast<double>(units));
        }
    }
    return all > 0.0 ? before / all : 0.0;
}

void StudioProgress::report(bool always) {
    if (onProgress && (isDue(lastReport, reportInterval) || always)) {
        onProgress(done(), stage);
    }
}
