// How far an import is, and whether it is still wanted.
#ifndef IMPORT_IMPORTPROGRESS_H
#define IMPORT_IMPORTPROGRESS_H

#include <chrono>
#include <functional>

namespace kivimport {

class ImportProgress {
public:
    using Callback = std::function<bool(double done)>;

    // The callback gets what is done of the whole, from 0 to 1 and never less than before, at most every few
    // milliseconds, and says whether to go on. It may be empty.
    explicit ImportProgress(Callback progressCallback);

    // The next step of the work goes from begin to end of the whole.
    void setStep(double begin, double end);
    // done: of the step, 0 to 1. Cheap enough for an inner loop's every thousandth turn. Throws ImportCancelled.
    void report(double done);

private:
    using Clock = std::chrono::steady_clock;

    Callback callback;
    double stepBegin = 0.0;
    double stepEnd = 1.0;
    double shown = 0.0;
    Clock::time_point asked;
};

} // namespace kivimport

#endif
