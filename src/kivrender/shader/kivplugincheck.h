// Whether a module that was loaded is a shader plug-in that the library can work with. Plug-ins come from anyone: what
// they answer is looked at once, before anything is built on it.
#ifndef KIVRENDER_SHADER_KIVPLUGINCHECK_H
#define KIVRENDER_SHADER_KIVPLUGINCHECK_H

#include "kivrender/platform/kivtypes.h"

#include <string>

class KivShader;

// Each gives the reason in a few words, and the empty text for none. What the plug-in throws is a reason.

// The version that the plug-in was built for. Calls nothing of it.
std::wstring kivInterfaceFault(HINSTANCE plugin);
// A shader that the plug-in has just made: its kind, tag, name and table of settings.
std::wstring kivShaderFault(HINSTANCE plugin, const KivShader& shader);

#endif
