// How long the steps of a render are expected to take, one by one, so that a bar can tell the truth about time: the
// sizes of steps count meshes, and a mesh may have two triangles or a million.
//
// The renderer sets it once it knows scene and settings; a host reads it, as a rule by way of KivProgressEstimate,
// which compares it with the time that has passed. A host that shows steps alone needs neither.
#ifndef KIVRENDER_RENDER_KIVPROGRESSFORECAST_H
#define KIVRENDER_RENDER_KIVPROGRESSFORECAST_H

#include "kivrender/platform/kivexport.h"

#include <vector>

// All times are milliseconds of two processor cores that draw by software; only their ratios matter to a bar.
struct KivStepForecast {
    double gap = 0.0;           // from the end of the step before to its begin
    double lead = 0.0;          // from its begin until the work for its first unit
    double units = 0.0;         // the work for all of its units
    double tail = 0.0;          // from its last unit to its end
    unsigned int guess = 0;     // of a step whose size comes later: the number of units that the times are meant for
    std::vector<double> shares; // how the work divides among the units, in any measure; empty: evenly

    // From the end of the step before to its own end.
    double total() const {
        return gap + lead + units + tail;
    }
};

// Of a whole render.
struct KivProgressForecast {
    std::vector<KivStepForecast> steps; // as many as are laid out on the bar, in that order
    double after = 0.0;                 // from the end of the last step to the end of the render
};

// Of the render that has laid out its steps last. Set before its first step begins. One render runs at a time, so it is
// process-wide.
KIV_API const KivProgressForecast& kivProgressForecast();
// For the renderer, and for tests of bars.
KIV_API void kivSetProgressForecast(KivProgressForecast forecast);

#endif
