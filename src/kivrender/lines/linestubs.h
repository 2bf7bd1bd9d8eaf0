// Stubs of contours. A contour ends at a cusp, often just behind where it ceases to hide the line that runs into it:
// the stub beyond is too short to say anything, and an inker stops at the junction.
#ifndef KIVRENDER_LINES_LINESTUBS_H
#define KIVRENDER_LINES_LINESTUBS_H

#include "kivrender/lines/kivtidylines.h"
#include "kivrender/lines/linebudget.h"

#include <vector>

// Cuts them off the seen lines. Where the budget ends all stay.
void kivTrimStubs(const KivLineView& view, LineBudget& budget, std::vector<KivPennedLine>& lines);

#endif
