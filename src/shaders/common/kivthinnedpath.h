// Paths with fewer points.
#ifndef SHADERS_COMMON_KIVTHINNEDPATH_H
#define SHADERS_COMMON_KIVTHINNEDPATH_H

#include "kivlinetracer.h"

// Leaves out points that lie within tolerance pixels of the line between those that stay, and whose width does too. The
// stations go.
KivLinePath kivThinnedPath(const KivLinePath& path, float tolerance);

#endif
