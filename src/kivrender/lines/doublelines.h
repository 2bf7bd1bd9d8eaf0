// Lines that lie on each other in the picture: edges that two bodies share, faces that are there twice, a crossing of
// surfaces along an edge.
#ifndef KIVRENDER_LINES_DOUBLELINES_H
#define KIVRENDER_LINES_DOUBLELINES_H

#include "kivrender/lines/linespans.h"

#include <vector>

// A chain in the picture.
struct LineCourse {
    LineChain chain;
    std::uint32_t source = 0;
    KivStrokeKind kind = KivStrokeKind::crease;
    std::vector<LineSpan> spans;
};

// Where a line lies on one that comes before it by its kind, or by its place in the list, its spans become doubled;
// what is hidden comes after all that is seen. Interpolated contours and the scene's own lines stay as they are and
// hide nothing. Where the budget ends the rest stays as it is. False when the user cancelled.
bool kivTakeOutDoubles(const KivLineView& view, const LineSegments& segments, LineBudget& budget,
                       std::vector<LineCourse>& courses);

#endif
