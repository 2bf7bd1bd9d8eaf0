#include "apps/cli/progressbar.h"

#include "apps/common/leftovers.h"
#include "apps/common/translation/translation.h"
#include "kivrender/platform/kivtext.h"

#include <algorithm>
#include <atomic>
#include <cstdio>

#include <unistd.h>

namespace {

std::atomic<bool> interrupted = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a handler of signals may take no lock");

// Two signals at a time may be handled by two threads, one of which must see the other's.
void onInterrupt(int signal) {
    if (interrupted.exchange(true)) {
        endBySignal(signal);
    }
}

// A bar that flashes up and goes again is a nuisance, and so is a log full of percentages.
constexpr std::chrono::milliseconds barDelay{600};
constexpr std::chrono::milliseconds barPause{100};
constexpr std::chrono::seconds lineDelay{3};
constexpr std::chrono::seconds linePause{5};
constexpr unsigned int pollsPerLook = 8;
constexpr int mostPercent = 99; // what is done has no bar

} // namespace

void catchInterrupts() {
    handleEndSignals(onInterrupt);
}

bool isInterrupted() {
    return interrupted;
}

ProgressBar::Style ProgressBar::styleFor(bool quiet) {
    if (quiet) {
        return Style::none;
    }
    return isatty(STDERR_FILENO) != 0 ? Style::bar : Style::lines;
}

ProgressBar::ProgressBar(Style barStyle) : style(barStyle) {}

ProgressBar::~ProgressBar() {
    finish();
}

void ProgressBar::restart(const std::wstring& newStage) {
    begin(newStage, Clock::now());
}

void ProgressBar::goOn(const std::wstring& newStage) {
    begin(newStage, visible || isRendering ? Clock::now() : begun);
}

void ProgressBar::begin(const std::wstring& newStage, Clock::time_point since) {
    finish();
    begun = since;
    estimate.restart(std::chrono::duration<double, std::milli>(Clock::now() - since).count());
    isRendering = false;
    isNamed = false;
    doneBefore = 0.0;
    stage = kivFromUtf8(translatedMessage(kivToUtf8(newStage)));
    log.clear();
    started = Clock::now();
    lastPercent = -1;
}

bool ProgressBar::showDone(double ofStage) {
    doneBefore = ofStage;
    draw();
    return !isInterrupted();
}

void ProgressBar::finish() {
    if (visible && style == Style::bar) {
        std::fputs("\r\033[K", stderr);
        std::fflush(stderr);
    }
    visible = false;
}

double ProgressBar::fraction() const {
    return isRendering ? estimate.done() : doneBefore;
}

void ProgressBar::addSteps(unsigned int size) {
    estimate.addSteps(size);
}

int ProgressBar::addDeferredStep() {
    return estimate.addDeferredStep();
}

void ProgressBar::progressSlot3() {}

void ProgressBar::beginStep() {
    if (!isRendering && !isNamed) {
        stage = kivFromUtf8(translatedMessage("Drawing")); // what has no text of its own
    }
    isRendering = true;
    estimate.beginStep();
    record(Event::Kind::begin, {});
    draw();
}

void ProgressBar::advance(unsigned int units, bool /*show*/) {
    estimate.advance(units);
    draw();
}

void ProgressBar::setStepSize(int step, unsigned int size) {
    estimate.setStepSize(step, size);
}

void ProgressBar::endStep() {
    estimate.endStep();
    record(Event::Kind::end, {});
    draw();
}

void ProgressBar::progressSlot8() {}

void ProgressBar::setText(const wchar_t* text) {
    stage = text != nullptr ? text : L"";
    isNamed = true;
    record(Event::Kind::text, stage);
    draw();
}

bool ProgressBar::isCancelled() {
    // In the midst of a long unit nothing else comes. Most questions come in loops of a microsecond, and the clock
    // takes its time too.
    if (++polls % pollsPerLook == 0) {
        draw();
    }
    return isInterrupted();
}

void ProgressBar::record(Event::Kind kind, const std::wstring& text) {
    log.push_back({kind, Clock::now(), text});
}

void ProgressBar::draw() {
    if (style == Style::none) {
        return;
    }
    const Clock::time_point now = Clock::now();
    const bool lines = style == Style::lines;
    if (now - started < (lines ? Clock::duration(lineDelay) : Clock::duration(barDelay)) ||
        (visible && now - drawn < (lines ? Clock::duration(linePause) : Clock::duration(barPause)))) {
        return;
    }
    const int percent = std::min(static_cast<int>(fraction() * 100.0), mostPercent);
    drawn = now;
    if (lines) {
        if (!visible || percent != lastPercent) {
            std::fprintf(stderr, "%3d %%  %s\n", percent, kivToUtf8(stage).c_str());
        }
    } else {
        constexpr int width = 32;
        const int filled = percent * width / 100;
        const std::string bar = std::string(static_cast<std::size_t>(filled), '#') +
                                std::string(static_cast<std::size_t>(width - filled), '.');
        std::fprintf(stderr, "\r[%s] %3d %%  %s\033[K", bar.c_str(), percent, kivToUtf8(stage.substr(0, 36)).c_str());
        std::fflush(stderr);
    }
    visible = true;
    lastPercent = percent;
}
