// Draws the sheet behind the scene.
#ifndef SHADERS_BACKDROP_KIVBACKDROPDRAWING_H
#define SHADERS_BACKDROP_KIVBACKDROPDRAWING_H

#include "kivbackdropsettings.h"
#include "kivrender/platform/kivtypes.h"

// Into the current context, wherever nobody has painted yet; the grain alone may also lie over the rest. Leaves depth,
// stencil and all state as they were. size is that of the image in its pixels, pixel the length of one pixel of the
// finished picture in them. vectorial: colours, pattern and frame as plain areas at the far end, no grain.
void kivDrawBackdrop(const KivBackdropLook& look, tagSIZE size, double pixel, bool vectorial);

#endif
