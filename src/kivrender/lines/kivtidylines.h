// Found lines as a draughtsman leaves them on paper, where a pen has a width.
//
// A hidden line beside a seen one, no farther away than that one is wide, says nothing and muddles both: it is not
// drawn there. Of two hidden lines that would touch, one is drawn, as dashes in each other's gaps look like one whole
// line. No rest that is shorter than a dash stays of either. A contour that passes the end of another line only just,
// by less than three widths, ends there: it would be a barb. All other seen lines stay as they are; where the lines of
// a small detail of a technical part would run together, they are drawn with the narrow pen, half as wide (ISO 128).
#ifndef KIVRENDER_LINES_KIVTIDYLINES_H
#define KIVRENDER_LINES_KIVTIDYLINES_H

#include "kivrender/lines/kivlineengine.h"
#include "kivrender/lines/kivlineview.h"
#include "kivrender/platform/kivexport.h"

#include <vector>

// With the width of its pen in pixels, 0 for a line that is not drawn; hidden lines are drawn half as wide.
struct KivPennedLine {
    KivFoundLine line;
    double width = 1.0;
    bool mayBeNarrow = false; // of a technical part; pictures of others have lines of one width, and so have drawings
};

// Lines of one view. Those that stay keep their order; effort is that of KivVectorDrawing: where the work ends before
// the lines do, the rest stays as it is. False when the user cancelled.
KIV_API bool kivTidyLines(const KivLineView& view, double effort, std::vector<KivPennedLine>& lines);

#endif
