// Paths with fewer points.
#ifndef SHADERS_COMMON_KIVTHINNEDPATH_H
#define SHADERS_COMMON_KIVTHINNEDPATH_H

#include "kivlinetracer.h"
#include "kivrender/lines/linebudget.h"

// Leaves out points that lie within tolerance pixels of the line between those that stay, and whose width does too. The
// stations go. Once the user cancelled, which the budget then tells, what is left of the path goes too.
KivLinePath kivThinnedPath(const KivLinePath& path, float tolerance, LineBudget& polls);

#endif
