#include "core/renderprogress.h"

#include "core/runtime.h"
#include "kivrender/platform/kivtext.h"

#include <utility>

namespace {

// Often enough for a smooth bar and a quick answer to Ctrl-C, seldom enough to cost nothing.
constexpr std::chrono::milliseconds timeBetweenCalls{40};

} // namespace

RenderProgress::RenderProgress(py::object progressCallback)
    : callback(std::move(progressCallback)), asked(Clock::now()) {}

void RenderProgress::restart(double from, double to) {
    estimate.restart();
    begin = from;
    end = to;
}

bool RenderProgress::show(double ofAll, const wchar_t* text) {
    begin = ofAll;
    end = ofAll;
    stage = text;
    ask();
    return !cancelled;
}

void RenderProgress::rethrow() {
    if (raised) {
        throw py::error_already_set(std::move(*raised));
    }
    if (cancelled) {
        throw Cancelled();
    }
}

double RenderProgress::fraction() const {
    return begin + (end - begin) * estimate.done();
}

void RenderProgress::ask() {
    const Clock::time_point now = Clock::now();
    if (cancelled || now - asked < timeBetweenCalls) {
        return;
    }
    asked = now;
    const py::gil_scoped_acquire interpreter;
    try {
        // Does something in the main thread alone, where signals are handled.
        if (PyErr_CheckSignals() != 0) {
            throw py::error_already_set();
        }
        if (!callback.is_none()) {
            const py::object answer = callback(fraction(), kivToUtf8(stage));
            cancelled = answer.is(py::bool_(false));
        }
    } catch (py::error_already_set& error) {
        raised.emplace(std::move(error));
        cancelled = true;
    }
    asked = Clock::now();
}

void RenderProgress::addSteps(unsigned int size) {
    estimate.addSteps(size);
}

int RenderProgress::addDeferredStep() {
    return estimate.addDeferredStep();
}

void RenderProgress::progressSlot3() {}

void RenderProgress::beginStep() {
    estimate.beginStep();
    ask();
}

void RenderProgress::advance(unsigned int units, bool /*show*/) {
    estimate.advance(units);
    ask();
}

void RenderProgress::setStepSize(int step, unsigned int size) {
    estimate.setStepSize(step, size);
}

void RenderProgress::endStep() {
    estimate.endStep();
    ask();
}

void RenderProgress::progressSlot8() {}

void RenderProgress::setText(const wchar_t* text) {
    stage = text != nullptr ? text : L"";
    ask();
}

bool RenderProgress::isCancelled() {
    ask();
    return cancelled;
}
