// Where the stages of vector output report their progress: numbers of deferred steps of the current bar, laid out by
// KivRenderer::calculateProgress. Process-wide, as there is one render at a time.
#ifndef KIVRENDER_VECTOR_KIVVECTORPROGRESS_H
#define KIVRENDER_VECTOR_KIVVECTORPROGRESS_H

#include "kivrender/platform/kivexport.h"

struct KIV_API KivVectorProgress {
    static int vectorLineStep; // joining of lines; only with simplification
    static int vectorStep;     // the first step behind it; with simplification two more follow it
    static bool doubledStep;   // the plain step would count twice; nothing sets it at present

    // The text of the status line in all these steps. The stage is appended to it.
    static constexpr unsigned int textNumber = 68;
};

#endif
