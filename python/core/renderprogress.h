// The progress of a render as Python hears of it, and the ways to cancel one: Ctrl-C, an exception of the callback, and
// its answer False.
#ifndef CORE_RENDERPROGRESS_H
#define CORE_RENDERPROGRESS_H

#include "kivrender/render/kivprogressestimate.h"
#include "kivrender/scene/kivprogress.h"

#include <chrono>
#include <optional>
#include <string>

#include <pybind11/pybind11.h>

class RenderProgress : public KivProgress {
public:
    // callback(fraction, text), or None. Made and destroyed with the interpreter's lock held, used without it.
    explicit RenderProgress(pybind11::object progressCallback);

    // Before the first step and between steps of other work: ofAll from 0 to 1. False once it is cancelled.
    bool show(double ofAll, const wchar_t* text);
    // With the interpreter's lock held: throws what has cancelled it, Cancelled if the callback has said so. Returns if
    // nothing has.
    void rethrow();

    void addSteps(unsigned int size) override;
    int addDeferredStep() override;
    void progressSlot3() override;
    void beginStep() override;
    void advance(unsigned int units, bool show) override;
    void setStepSize(int step, unsigned int size) override;
    void endStep() override;
    void progressSlot8() override;
    void setText(const wchar_t* text) override;
    bool isCancelled() override;

    // Another render begins, which is that part of the whole.
    void restart(double from, double to);

private:
    using Clock = std::chrono::steady_clock;

    double fraction() const;
    // Asks Python, if it was not asked just now.
    void ask();

    pybind11::object callback;
    std::optional<pybind11::error_already_set> raised;
    bool cancelled = false;
    Clock::time_point asked;
    std::wstring stage;
    KivProgressEstimate estimate;
    double begin = 0.0; // of the part of the whole that is under way; end is no more than that without a render
    double end = 0.0;
};

#endif
