// From chains that are cut where they go out of sight to the strokes of a drawing.
#ifndef KIVRENDER_LINES_STROKEJOINS_H
#define KIVRENDER_LINES_STROKEJOINS_H

#include "kivrender/lines/doublelines.h"
#include "kivrender/lines/kivlineengine.h"
#include "kivrender/lines/kivoccluders.h"
#include "kivrender/lines/linebudget.h"

#include <cstdint>
#include <vector>

// The remaining chains, joined where ends of one source and kind meet: two that meet alone, else those that go on
// most nearly straight. Contours go on over gaps where the surface all but folds, and settle on the outline of the
// mesh, as far as the budget goes. Specks go. nodes: of the two ends of each segment. False when the user cancelled.
bool kivJoinCourses(const KivOccluders& occluders, const LineSegments& segments,
                    const std::vector<std::uint32_t>& nodes, LineBudget& budget, std::vector<LineCourse>& courses,
                    std::vector<KivFoundLine>& found);

#endif
