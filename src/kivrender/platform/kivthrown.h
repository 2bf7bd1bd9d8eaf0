// What a foreign module has thrown, for the line that tells of it.
#ifndef KIVRENDER_PLATFORM_KIVTHROWN_H
#define KIVRENDER_PLATFORM_KIVTHROWN_H

#include <string>

// The text of the exception that is being handled, on one line. Call it in a catch block alone. The text is a copy: the
// module may be unloaded once the block is left.
std::wstring kivThrownText();

#endif
