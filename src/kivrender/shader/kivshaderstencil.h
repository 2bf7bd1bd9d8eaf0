// Whether the frame of a render needs a stencil: beside one, a depth of 32 bits takes twice the memory.
#ifndef KIVRENDER_SHADER_KIVSHADERSTENCIL_H
#define KIVRENDER_SHADER_KIVSHADERSTENCIL_H

#include "kivrender/platform/kivexport.h"

class KivShader;

// What a plug-in may export under the plain name "KivShaderUsesStencil": whether the shader, one of its own, draws with
// a stencil in renders without shadows, whose frames otherwise have none if all loaded plug-ins say so. A plug-in
// without the export is taken to use one.
using KivShaderUsesStencilFunction = bool(const KivShader* shader);

// Of all shaders that are loaded, as any of them may be the look of an object.
KIV_API bool kivNeedsStencil(bool hasShadows);

#endif
