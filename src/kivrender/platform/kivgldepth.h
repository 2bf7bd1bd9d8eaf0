// How the current OpenGL context counts depth. As a rule a place at the near end has -1 in clip coordinates and one at
// the far end 1; a context that clips depth from zero counts from 0 to 1, so that the places next to the near end keep
// all the digits that single precision has.
#ifndef KIVRENDER_PLATFORM_KIVGLDEPTH_H
#define KIVRENDER_PLATFORM_KIVGLDEPTH_H

#include "kivrender/platform/kivexport.h"

// Makes the current context clip depth from zero. False, with nothing changed, where it can't (below OpenGL 4.5).
KIV_API bool kivClipDepthFromZero();

// Makes it clip depth from -1, as every new context does.
KIV_API void kivClipDepthAsUsual();

// Whether the current context clips depth from zero. False without one.
KIV_API bool kivIsDepthClippedFromZero();

#endif
