// A header of the library, under the name that the plug-ins include.
#ifndef SHADERS_COMMON_KIVFEATURECHAINS_H
#define SHADERS_COMMON_KIVFEATURECHAINS_H

#include "kivrender/lines/kivfeaturechains.h"

#endif
