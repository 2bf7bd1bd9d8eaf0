// How much of the depth the frame of a render keeps.
#ifndef KIVRENDER_RENDER_KIVFRAMEDEPTH_H
#define KIVRENDER_RENDER_KIVFRAMEDEPTH_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivglwarmup.h"

class KivCommonSettings;

// Who warms OpenGL up (kivglwarmup.h) for a render with these settings does so with this. Frames that are drawn at
// several times their size are most of a render's memory and keep 24 bits, which gives the same picture; those with
// shadows, whose far eye puts all depths of a parallel view next to 0, and with a depth image keep floating point.
KIV_API KivDepthBits kivFrameDepth(const KivCommonSettings& settings);

#endif
