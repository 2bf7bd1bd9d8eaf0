// The OpenGL driver in tests under LeakSanitizer.
#ifndef TESTS_SUPPORT_GL_DRIVER_H
#define TESTS_SUPPORT_GL_DRIVER_H

#include <cstring>
#include <dlfcn.h>
#include <link.h>

// Keeps the driver's module loaded to the end of the process. EGL unloads it at exit, before leaks are looked for, and
// what the driver itself leaks could then not be told by its name from leaks of ours. Call it after OpenGL was used;
// calling it again does no harm.
inline void keepGlDriverLoaded() {
    dl_iterate_phdr(
        [](dl_phdr_info* module, std::size_t, void*) {
            if (std::strstr(module->dlpi_name, "_dri.so") != nullptr) {
                dlopen(module->dlpi_name, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
            }
            return 0;
        },
        nullptr);
}

#endif
