#include "apps/common/quietdriver.h"

#include <cstdlib>

void quietDriver() {
    setenv("EGL_LOG_LEVEL", "fatal", 0);
}
