// A header of the library, under the name that the plug-ins include.
#ifndef SHADERS_COMMON_KIVFEATUREEDGES_H
#define SHADERS_COMMON_KIVFEATUREEDGES_H

#include "kivrender/lines/kivfeatureedges.h"

#endif
