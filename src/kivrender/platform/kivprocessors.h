// How many processors there are for the work at hand.
#ifndef KIVRENDER_PLATFORM_KIVPROCESSORS_H
#define KIVRENDER_PLATFORM_KIVPROCESSORS_H

#include "kivrender/platform/kivexport.h"

// Those that the calling thread may run on, at least 1: fewer than the machine has where it was told to keep to some,
// as batch queues and containers do (sched_setaffinity). A second thread is of use from 2 on.
KIV_API unsigned int kivProcessors();

#endif
