// How far a render is, as a part of its time: what a host's progress bar can show. The host's KivProgress passes its
// calls on and asks done() whenever it draws, also while it answers isCancelled, which comes many times a second where
// no unit ends for long.
//
// The time that has passed is known, so only the rest is estimated: by the forecast of the render, stretched by how the
// steps that are done compare with theirs, and by the units of the running step. Within a unit time itself moves the
// bar, ever slower if the unit takes longer than expected. Without a forecast for just these steps each counts by its
// size.
//
//     class MyProgress : public KivProgress {
//         void beginStep() override { estimate.beginStep(); show(estimate.done()); }
//         ... // all other operations alike
//         KivProgressEstimate estimate;
//     };
//
// One for each bar, for as many renders one after the other as the host likes. All calls on the thread that renders.
#ifndef KIVRENDER_RENDER_KIVPROGRESSESTIMATE_H
#define KIVRENDER_RENDER_KIVPROGRESSESTIMATE_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/render/kivprogressforecast.h"

#include <cstddef>
#include <functional>
#include <vector>

class KIV_API KivProgressEstimate {
public:
    using Clock = std::function<double()>; // milliseconds that have passed since any moment

    // The time of day's progress; tests give a clock of their own.
    KivProgressEstimate();
    // The clock is called whenever anything is told or asked.
    explicit KivProgressEstimate(Clock clock);

    // For another render, which starts now. before: the milliseconds that it has been prepared for, if the bar stands
    // for them too.
    void restart(double before = 0.0);

    // What the operations of KivProgress of the same names are told.
    // size, units: of the work of a step as the render counts it, often meshes.
    void addSteps(unsigned int size);
    int addDeferredStep();
    void beginStep();
    void advance(unsigned int units);
    void setStepSize(int step, unsigned int size);
    void endStep();

    // 0 to 1, and never less than before but for steps that are added or resized without a forecast.
    double done() const;

private:
    // --- Bookkeeping: the forecast is taken when the first step begins.
    void takeForecast();
    void enter(std::size_t step);
    double bySizes() const;
    double byTime() const;
    double rest(double now) const;
    double forecastAt(unsigned int unit) const;

    Clock clock;
    std::vector<unsigned int> sizes;
    int current = -1;       // the step that has begun last
    bool running = false;   // it has not ended
    unsigned int units = 0; // of it

    bool isForecast = false;
    KivProgressForecast forecast;
    std::vector<double> sums; // of the shares of the step that runs, up to and with each unit; empty: even
    std::size_t place = 0;    // the step whose time runs, its gap included; their number for what comes after all
    double whole = 0.0;       // forecast of all steps
    double later = 0.0;       // forecast of what comes after that step
    double passed = 0.0;      // forecast of what came before it
    double start = 0.0;       // when what the bar stands for did
    double began = 0.0;       // when its first step did
    double entered = 0.0;     // when the time of that step began
    double reported = 0.0;    // when it last told anything
    mutable double shown = 0.0;
};

#endif
