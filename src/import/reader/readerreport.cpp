#include "import/reader/readerreport.h"

#include <algorithm>

namespace kivimport {
namespace {

constexpr double leastStep = 0.01;

} // namespace

void ReaderReport::setStep(double begin, double end) {
    stepBegin = begin;
    stepEnd = end;
    done(0.0);
}

void ReaderReport::done(double fraction) {
    const double whole = stepBegin + (stepEnd - stepBegin) * std::clamp(fraction, 0.0, 1.0);
    if (whole >= told + leastStep) {
        told = whole;
        tell(whole);
    }
}

} // namespace kivimport
