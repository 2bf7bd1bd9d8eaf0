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
// withStencil: false where the surface will want none, which halves the memory of its depth. If it wants one after all,
// the framebuffer is made anew.
KIV_API bool kivWarmUpGl(tagSIZE size, bool withStencil);

// Whether the context of a surface that ends is kept for the next one: with it the machine code stays that a driver
// without graphics makes for what is drawn, which takes longer than a small picture itself. State and small names of
// objects are as in a new context; what a shader leaves in texture 0 and under large names stays until some hundred
// uses later. So it is for views that follow a hand, and nobody gets a kept context while this is off. Off at first.
KIV_API void kivKeepGlContexts(bool keep);
KIV_API bool kivKeepsGlContexts();

// Gives back what kivWarmUpGl made and no surface took, and a kept context.
KIV_API void kivCoolDownGl();

// What draws, for reports of problems: the driver's renderer and version; loads the driver. Empty if there is none.
KIV_API std::wstring kivGlDescription();

#endif
