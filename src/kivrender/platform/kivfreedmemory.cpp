#include "kivrender/platform/kivfreedmemory.h"

#include <cstdlib>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

void kivKeepFreedMemory() {
#if defined(__GLIBC__)
    constexpr int large = 1 << 30;
    mallopt(M_MMAP_THRESHOLD, large);
    mallopt(M_TRIM_THRESHOLD, large);
    mallopt(M_ARENA_MAX, 1); // what one thread has freed is of use to all
#endif
}
