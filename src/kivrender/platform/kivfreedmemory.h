// Memory that was freed and is wanted again.
#ifndef KIVRENDER_PLATFORM_KIVFREEDMEMORY_H
#define KIVRENDER_PLATFORM_KIVFREEDMEMORY_H

#include "kivrender/platform/kivexport.h"

// Keeps what the process frees for its next allocations, large ones too, which glibc gives back to the system and takes
// from it anew, page by page: a tenth of the time of a large model. For programs that draw and end; a host that lives
// on may want its memory back. To be called before other threads run.
KIV_API void kivKeepFreedMemory();

#endif
