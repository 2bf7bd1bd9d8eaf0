#include "kivrender/render/kivprogressestimate.h"

#include <algorithm>
#include <chrono>
#include <numeric>
#include <utility>

namespace {

// How much of the whole forecast the first steps need to be believed about the machine: a single step is too often
// wrong for its own reasons.
constexpr double inertia = 0.15;
// The remainder of a unit that has taken longer than was expected, as a part of the time that it has taken.
constexpr double overrun = 0.1;

double steadyMilliseconds() {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

} // namespace

KivProgressEstimate::KivProgressEstimate() : KivProgressEstimate(steadyMilliseconds) {}

KivProgressEstimate::KivProgressEstimate(Clock milliseconds) : clock(std::move(milliseconds)) {
    restart();
}

void KivProgressEstimate::restart(double before) {
    sizes.clear();
    current = -1;
    running = false;
    units = 0;
    isForecast = false;
    forecast = {};
    shown = 0.0;
    entered = reported = clock();
    start = entered - before;
}

void KivProgressEstimate::addSteps(unsigned int size) {
    sizes.push_back(size);
}

int KivProgressEstimate::addDeferredStep() {
    sizes.push_back(0);
    return static_cast<int>(sizes.size()) - 1;
}

void KivProgressEstimate::takeForecast() {
    forecast = kivProgressForecast();
    if (!forecast.steps.empty()) {
        forecast.steps.front().gap = 0.0; // it has passed
    }
    whole = forecast.after;
    for (const KivStepForecast& step : forecast.steps) {
        whole += step.total();
    }
    isForecast = forecast.steps.size() == sizes.size() && whole > 0.0;
    passed = 0.0;
    later = whole;
    began = clock();
    if (isForecast) {
        enter(0);
    }
}

// The time of a step begins; `later` still holds its own.
void KivProgressEstimate::enter(std::size_t step) {
    place = step;
    entered = reported = clock();
    sums.clear();
    later -= step < forecast.steps.size() ? forecast.steps[step].total() : forecast.after;
    later = std::max(later, 0.0);
}

void KivProgressEstimate::beginStep() {
    if (current < 0) {
        takeForecast();
    }
    if (running) {
        endStep(); // a step that nobody has ended
    }
    ++current;
    running = true;
    units = 0;
    if (isForecast && place < forecast.steps.size()) {
        reported = clock();
        const std::vector<double>& shares = forecast.steps[place].shares;
        sums.resize(shares.size());
        std::partial_sum(shares.begin(), shares.end(), sums.begin());
    }
}

void KivProgressEstimate::advance(unsigned int count) {
    units += count;
    if (isForecast && count > 0) {
        reported = clock();
    }
}

void KivProgressEstimate::setStepSize(int number, unsigned int size) {
    if (number < 0 || static_cast<std::size_t>(number) >= sizes.size()) {
        return;
    }
    const auto step = static_cast<std::size_t>(number);
    sizes[step] = size;
    if (!isForecast || forecast.steps[step].guess == 0 || step < place) {
        return;
    }
    KivStepForecast& known = forecast.steps[step];
    const double before = known.total();
    const double factor = static_cast<double>(size) / known.guess;
    known.lead *= factor;
    known.units *= factor;
    known.tail *= factor;
    known.guess = std::max(size, 1U);
    whole += known.total() - before;
    if (step > place) {
        later += known.total() - before;
    }
}

void KivProgressEstimate::endStep() {
    if (!running) {
        return;
    }
    running = false;
    if (isForecast && place < forecast.steps.size()) {
        passed += forecast.steps[place].total();
        enter(place + 1);
    }
}

double KivProgressEstimate::done() const {
    return isForecast || current < 0 ? byTime() : bySizes();
}

double KivProgressEstimate::bySizes() const {
    const double all = std::accumulate(sizes.begin(), sizes.end(), 0.0);
    const auto begun = std::min(static_cast<std::size_t>(std::max(current, 0)), sizes.size());
    double before = std::accumulate(sizes.begin(), sizes.begin() + static_cast<std::ptrdiff_t>(begun), 0.0);
    if (begun < sizes.size()) {
        before += running ? std::min(units, sizes[begun]) : sizes[begun];
    }
    return all > 0.0 ? before / all : 0.0;
}

double KivProgressEstimate::byTime() const {
    if (!isForecast) {
        return 0.0;
    }
    const double now = clock();
    const double left = rest(now);
    const double since = std::max(now - start, 0.0);
    shown = std::max(shown, since + left > 0.0 ? since / (since + left) : 0.0);
    return shown;
}

// What the forecast of the running step has for it from its gap to the end of so many units.
double KivProgressEstimate::forecastAt(unsigned int unit) const {
    const KivStepForecast& step = forecast.steps[place];
    const unsigned int size = sizes[place];
    if (unit == 0) {
        return step.gap;
    }
    double part = 1.0;
    if (!sums.empty() && sums.back() > 0.0) {
        part = sums[std::min<std::size_t>(unit, sums.size()) - 1] / sums.back();
    } else if (unit < size) {
        part = static_cast<double>(unit) / size;
    }
    return step.gap + step.lead + step.units * part;
}

// From now to the end of the render.
double KivProgressEstimate::rest(double now) const {
    const bool isAfter = place >= forecast.steps.size();
    const double all = isAfter ? forecast.after : forecast.steps[place].total();
    double at = 0.0; // what the step has told, and what it will tell next
    double next = all;
    if (!isAfter && running) {
        at = forecastAt(units);
        next = units < sizes[place] ? forecastAt(units + 1) : all;
    } else if (!isAfter) {
        next = forecast.steps[place].gap;
    }
    const double waited = now - reported;
    // How much longer the machine takes than was forecast, first without what has not been told yet.
    const double margin = inertia * whole;
    const double known = (reported - began + margin) / (passed + at + margin);
    // Of what a unit takes longer than that, half is its own affair.
    const double excess = std::max(waited - (next - at) * known, 0.0) / 2.0;
    const double pace = (now - began - excess + margin) / (passed + at + std::min(waited / known, next - at) + margin);
    // The more of the step is done, the more its own pace counts.
    const double part = all > 0.0 ? at / all : 0.0;
    const double own = pace * (1.0 - part) + (at > 0.0 ? (reported - entered) / at * part : 0.0);
    return std::max((next - at) * own - waited, overrun * waited) + (all - next) * own + later * pace;
}
