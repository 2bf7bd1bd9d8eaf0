// The way from a shader to the plug-in that it comes from, for the library's own look-ups of further exports.
#ifndef KIVRENDER_SHADER_KIVSHADERMODULE_H
#define KIVRENDER_SHADER_KIVSHADERMODULE_H

#include "kivrender/platform/kivtypes.h"

class KivShader;

struct KivShaderModule {
    // Null for a shader that no plug-in made.
    static HINSTANCE of(const KivShader& shader);
};

#endif
