// Waiting for what OpenGL has still to draw, with questions in between: a driver that draws by the processor may have
// seconds of work before it, and a read-back would wait for all of it in one call.
#ifndef KIVRENDER_PLATFORM_KIVGLWAIT_H
#define KIVRENDER_PLATFORM_KIVGLWAIT_H

#include "kivrender/platform/kivexport.h"

#include <functional>

// Returns when everything is drawn that the current context was told, or as soon as goOn, which is asked every few
// milliseconds, says no. At once without a context, for small pictures, and where a context can't tell.
KIV_API void kivWaitForGl(const std::function<bool()>& goOn);

// Whether the current context can tell how far it is (sync objects, which came with version 3.2).
bool kivHasGlFences();

#endif
