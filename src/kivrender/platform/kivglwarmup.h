// OpenGL ahead of time: starting the driver takes a good part of a short render, and can be done on another thread
// while the application reads its model.
#ifndef KIVRENDER_PLATFORM_KIVGLWARMUP_H
#define KIVRENDER_PLATFORM_KIVGLWARMUP_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"

#include <string>

// Loads the driver and makes ready one OpenGL context with a framebuffer of that size in pixels, the render size: the
// final size times the antialias factor. The next surface of that size takes it over; one of another size uses what of
// it fits; without a size (0 by 0) only the driver and the context are made. May be called from any thread, at any time
// and more than once; a render that starts meanwhile waits for it. No context is current on the calling thread
// afterwards that was not before. False if there is no usable OpenGL; a render then fails with a message as well.
KIV_API bool kivWarmUpGl(tagSIZE size);

// Gives back what kivWarmUpGl made and no surface took.
KIV_API void kivCoolDownGl();

// What draws, for reports of problems: the driver's renderer and version; loads the driver. Empty if there is none.
KIV_API std::wstring kivGlDescription();

#endif
