// From chains that are cut where they go out of sight to the strokes of a drawing.
#ifndef KIVRENDER_LINES_STROKEJOINS_H
#define KIVRENDER_LINES_STROKEJOINS_H

#include "kivrender/lines/doublelines.h"
#include "kivrender/lines/kivlineengine.h"

#include <cstdint>
#include <vector>

// The remaining chains, joined where ends of one source and kind meet: two that meet alone, else those that go on
// most nearly straight. Specks go. nodes: of the two ends of each segment. False when the user cancelled.
bool kivJoinCourses(const KivLineView& view, const LineSegments& segments, const std::vector<std::uint32_t>& nodes,
                    std::vector<LineCourse>& courses, std::vector<KivFoundLine>& found);

#endif
