// Memory straight from the system, for blocks so large that an allocator would keep them, or move them, at a cost.
#ifndef KIVRENDER_PLATFORM_KIVSYSTEMPAGES_H
#define KIVRENDER_PLATFORM_KIVSYSTEMPAGES_H

#include <cstddef>

// All bytes are 0; pages take memory when they are first written to. Null without memory.
void* kivMapPages(std::size_t bytes);
// What the above returned, with the same size.
void kivUnmapPages(void* pages, std::size_t bytes);

// A number that no other process has at this time, for names of files.
long kivProcessNumber();

#endif
