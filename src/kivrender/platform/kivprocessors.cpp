#include "kivrender/platform/kivprocessors.h"

#include <algorithm>
#include <thread>

#include <sched.h>

unsigned int kivProcessors() {
    cpu_set_t usable;
    if (sched_getaffinity(0, sizeof(usable), &usable) != 0) {
        return std::max(1U, std::thread::hardware_concurrency()); // more processors than the set has places for
    }
    return std::max(1U, static_cast<unsigned int>(CPU_COUNT(&usable)));
}
