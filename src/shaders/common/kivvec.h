// The vector type of the library, under the name that the plug-ins include.
#ifndef SHADERS_COMMON_KIVVEC_H
#define SHADERS_COMMON_KIVVEC_H

#include "kivrender/geometry/kivvec.h"

#endif
