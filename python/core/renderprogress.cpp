#include "core/renderprogress.h"

#include "core/runtime.h"
#include "kivrender/platform/kivtext.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace {

// Often enough for a smooth bar and a quick answer to Ctrl-C, seldom enough to cost nothing.
constexpr std::chrono::milliseconds timeBetweenCalls{40};

} // namespace

RenderProgress::RenderProgress(py::object progressCallback)
    : callback(std::move(progressCallback)), asked(Clock::now()) {}

void RenderProgress::restart() {
    steps.clear();
    current = -1;
    done = 0;
    before = 0.0;
}

bool RenderProgress::show(double ofAll, const wchar_t* text) {
    before = ofAll;
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
    const double total = std::accumulate(steps.begin(), steps.end(), 0.0);
    if (total <= 0.0 || current < 0) {
        return before;
    }
    const std::size_t begun = std::min(static_cast<std::size_t>(current), steps.size());
    const double passed = std::accumulate(steps.begin(), steps.begin() + static_cast<std::ptrdiff_t>(begun), 0.0);
    const double now = begun < steps.size() ? std::min(done, steps[begun]) : 0.0;
    return std::min((passed + now) / total, 1.0);
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
    steps.push_back(size);
}

int RenderProgress::addDeferredStep() {
    steps.push_back(0);
    return static_cast<int>(steps.size() - 1);
}

void RenderProgress::progressSlot3() {}

void RenderProgress::beginStep() {
    ++current;
    done = 0;
    ask();
}

void RenderProgress::advance(unsigned int units, bool /*show*/) {
    done += units;
    ask();
}

void RenderProgress::setStepSize(int step, unsigned int size) {
    if (step >= 0 && static_cast<std::size_t>(step) < steps.size()) {
        steps[static_cast<std::size_t>(step)] = size;
    }
}

void RenderProgress::endStep() {
    if (current >= 0 && static_cast<std::size_t>(current) < steps.size()) {
        done = steps[static_cast<std::size_t>(current)];
    }
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
