// Workarounds for single drivers and systems, each by a name, so that a user can switch it off and find the
// culprit of a bad picture: SELVARIN_GL_DISABLE=NAME,NAME,...
#ifndef KIVRENDER_PLATFORM_KIVWORKAROUNDS_H
#define KIVRENDER_PLATFORM_KIVWORKAROUNDS_H

#include <string_view>

// True unless the environment names it. The environment is read once.
bool kivWorkaround(std::string_view name);

#endif
