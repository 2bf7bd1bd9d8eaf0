// A shader that is a base look: it paints the surfaces. A style names at most one for the scene; an object may name
// another for itself.
//
// A plain render calls prepareObjectRendering and render. With shadows or transparency the renderer walks the meshes
// and calls the operations for meshes and triangles. A pass is 1, 2 or 3, always in this order for a set of meshes;
// what each paints is up to the shader. vectorial is KivCommonSettings::doVectorial.
//
// The order of the virtual operations is part of the binary interface.
//
// A plug-in whose look is one colour for each facet derives from KivFacetShader of the kit instead, which answers all
// of these operations. OpenGL's context is current in each of them; what a shader changes of its state it sets back
// (shaders/kit/kivglstate.h).
#ifndef KIVRENDER_SHADER_KIVNONCOMBINABLESHADER_H
#define KIVRENDER_SHADER_KIVNONCOMBINABLESHADER_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"
#include "kivrender/shader/kivshader.h"

class KivMesh;
class KivShadows;

class KIV_API KivNonCombinableShader : public KivShader {
public:
    explicit KivNonCombinableShader(HINSTANCE module);
    KivNonCombinableShader(const KivNonCombinableShader&) = default;
    KivNonCombinableShader& operator=(const KivNonCombinableShader&) = default;
    ~KivNonCombinableShader() override;

    bool isCombinable() const override;

    // Runs before the shader's first drawing of a render, with the context current.
    virtual void prepareObjectRendering(const KivCommonSettings& settings, KivScene* scene) = 0;
    // Draws a mesh in the depth pass before the shadow volumes.
    virtual void renderMeshDepth(const KivMesh* mesh, const KivCommonSettings& settings, KivScene* scene,
                                 KivShadows& shadows, const KivCamera& camera, bool vectorial) = 0;
    // For the plug-in's own use; the library does not call it. Another operation than the one of the base.
    virtual void reservedSlot(const KivMesh* mesh) = 0;
    using KivShader::reservedSlot;
    // Draws a mesh for a pass. Passes 1 and 2 come with a null light and 0 for both counts, pass 3 with one light,
    // under the stencil.
    virtual void renderMeshPass(const KivMesh* mesh, const KivLight* light, int lightIndex, int numLights,
                                const KivCommonSettings& settings, KivScene* scene, int pass, const KivCamera& camera,
                                bool vectorial) = 0;
    // Once for every non-combinable shader before and after all transparent work.
    virtual void beginTransparency(bool vectorial) = 0;
    // Draws an opaque mesh of a render with transparency.
    virtual void renderOpaqueMesh(const KivMesh* mesh, const KivCommonSettings& settings, KivScene* scene,
                                  const KivCamera& camera, int meshIndex, KivNonCombinableShader* defaultShader,
                                  int pass, bool vectorial) = 0;
    // Draws one triangle, three points and three normals, of the list that runs from back to front. shadows is null
    // without shadows.
    virtual void renderTransparentTriangle(const Kiv3DPoint* points, const Kiv3DVector* normals, const KivMesh* mesh,
                                           KivScene* scene, const KivCamera& camera, const KivCommonSettings& settings,
                                           int meshIndex, int previousMeshIndex, KivNonCombinableShader* defaultShader,
                                           KivShadows* shadows, int pass, const KivLight* light, int lightIndex,
                                           int numLights, bool vectorial) = 0;
    // Between the calls of renderTransparentTriangle; a mesh index of -1 ends the list.
    virtual void endTransparentTriangle(int meshIndex, int previousMeshIndex, int pass, bool vectorial) = 0;
    virtual void endTransparency(bool vectorial) = 0;
};

#endif
