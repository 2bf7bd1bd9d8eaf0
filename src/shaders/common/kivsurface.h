// A header of the library, under the name that the plug-ins include.
#ifndef SHADERS_COMMON_KIVSURFACE_H
#define SHADERS_COMMON_KIVSURFACE_H

#include "kivrender/geometry/kivsurface.h"

#endif
