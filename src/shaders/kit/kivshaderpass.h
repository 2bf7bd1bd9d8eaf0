// The rules of the passes in which a base look is drawn with shadows or transparency, as scope guards: each sets
// OpenGL's state for one call of the renderer, and leaves it as it was. Draw the mesh or the triangle between.
//
// With shadows a surface is drawn several times, and what is seen is the sum:
//
//   depth        renderMeshDepth: the mesh's own triangles, in black. It covers the background; the volumes end in it.
//   passes 1, 2  renderMeshPass without a light: what is there without any light, and what the surface gives off. Added
//                whatever the stencil says.
//   pass 3       renderMeshPass once for each of the n lights, under the stencil: added.
//
// The stencil holds kivStencilBase plus the number of lights that a pixel has lost, and not which. So the calls of pass
// 3 are no matter of single lights: each adds the n-th part of what all lights add, and reaches the pixels that have
// lost few enough. A pixel that has lost k lights gets n - k of the parts, with none lost exactly the full look.
#ifndef SHADERS_KIT_KIVSHADERPASS_H
#define SHADERS_KIT_KIVSHADERPASS_H

#include "shaders/kit/kivglstate.h"

// What the stencil holds where no light is lost.
inline constexpr int kivStencilBase = 100;

// The depth pass. Lighting, textures and blending are off and the colour is black: give no other.
class KivDepthPass {
public:
    KivDepthPass();

private:
    KivGlState state;
};

// A call of renderMeshPass with its arguments.
class KivLitPass {
public:
    KivLitPass(int pass, int lightIndex, int numLights);

private:
    KivGlState state;
};

// The surface of a plain render, or an opaque mesh of a render with transparency: behind by the channel's offset, so
// that lines on it are seen. Let far sides step back twice as far as near ones, or they show along outlines.
class KivPlainPass {
public:
    KivPlainPass(float offsetFactor, float offsetUnits);

private:
    KivGlState state;
};

// A call of renderTransparentTriangle: pass 1 mixes the colour in by its alpha, pass 3 with a light adds to it by its
// alpha under the stencil. Other passes have nothing to draw.
class KivTransparentPass {
public:
    KivTransparentPass(int pass, int lightIndex, int numLights);

private:
    KivGlState state;
};

// What a pass draws of a look with shadows. Without shadows the whole look is drawn in pass 1.
enum class KivPassPart {
    nothing,
    full,   // the whole look
    shadow, // what is there when all lights are lost
    share   // the part of one call of what all lights add: (full - shadow) / numLights
};
// For renderMeshPass.
KivPassPart kivPartOfPass(int pass);
// For renderTransparentTriangle, by whether it is given shadows and a light.
KivPassPart kivPartOfTriangle(int pass, bool hasShadows, bool hasLight);

#endif
