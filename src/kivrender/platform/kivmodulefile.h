// A look at the file of a shared library before the system loads it. The system maps what the file's head announces and
// ends the process when it reaches for pages that the file does not have, as it does in a file that was cut off.
#ifndef KIVRENDER_PLATFORM_KIVMODULEFILE_H
#define KIVRENDER_PLATFORM_KIVMODULEFILE_H

#include <string>

// Why the file can't be a module of this system, in a few words; empty if it may be one, and if it can't be read, which
// loading tells better.
std::wstring kivModuleFileFault(const std::wstring& path);

#endif
