// Where a contour runs along the line of sight it turns back on itself in loops and zigzags too small to see, which
// drawn with a pen would be dots.
#ifndef KIVRENDER_LINES_CONTOURCURLS_H
#define KIVRENDER_LINES_CONTOURCURLS_H

#include "kivrender/lines/kivlineengine.h"

// Takes out the points of curls of up to three pixels, after which the line goes on as before; one at an end goes with
// its end. A tip at which the line turns back for good stays.
void kivTakeOutCurls(KivFoundLine& line);

#endif
