#include "kivrender/platform/kivsystempages.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/mman.h>
#include <unistd.h>
#endif

#if defined(_WIN32)

void* kivMapPages(std::size_t bytes) {
    return VirtualAlloc(nullptr, bytes, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
}

void kivUnmapPages(void* pages, std::size_t) {
    VirtualFree(pages, 0, MEM_RELEASE);
}

long kivProcessNumber() {
    return static_cast<long>(GetCurrentProcessId());
}

#else

void* kivMapPages(std::size_t bytes) {
    void* const pages = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return pages == MAP_FAILED ? nullptr : pages;
}

void kivUnmapPages(void* pages, std::size_t bytes) {
    munmap(pages, bytes);
}

long kivProcessNumber() {
    return getpid();
}

#endif
