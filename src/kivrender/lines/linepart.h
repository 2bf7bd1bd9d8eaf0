// A part of a line that was found.
#ifndef KIVRENDER_LINES_LINEPART_H
#define KIVRENDER_LINES_LINEPART_H

#include "kivrender/lines/kivlineengine.h"
#include "kivrender/lines/kivlineview.h"
#include "kivrender/lines/lineneighbours.h"

// What lies within a run, which may go on over the end of a ring. Never closed.
KivFoundLine kivPartOf(const KivLineView& view, const KivFoundLine& line, const LineRun& run);

#endif
