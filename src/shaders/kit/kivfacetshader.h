// A base look that gives each facet one colour by the light on it. The plug-in says which colour; this class draws it
// in plain renders, in previews, with shadows and transparency, into vector pages, and for objects with looks of their
// own.
//
// The whole of a base look that paints in two tones:
//
//     class Duotone : public KivFacetShader {
//     public:
//         explicit Duotone(HINSTANCE module)
//             : KivFacetShader(module, L"Duotone", kivDefaultSettings(L"Duotone", duotoneSettings)) {}
//         KivFacetColour colourOf(const KivMesh&, const KivTablePageSettings&, double light) const override {
//             return light < 0.5 ? KivFacetColour{0.2, 0.2, 0.3} : KivFacetColour{0.9, 0.9, 0.8};
//         }
//     };
//     KIV_SHADER_PLUGIN(Duotone, duotoneSettings)
//
// All other operations answer the renderer (kivrender/shader/kivnoncombinableshader.h tells when each is called); a
// plug-in does not override them. Each facet is asked for once in a pass: colourOf should be fast, must not call
// OpenGL, and gives the same colour for the same arguments, as layers and tiles of one picture are drawn apart.
#ifndef SHADERS_KIT_KIVFACETSHADER_H
#define SHADERS_KIT_KIVFACETSHADER_H

#include "kivrender/scene/kiv3dpoint.h"
#include "kivrender/scene/kiv3dvector.h"
#include "shaders/kit/kivshaderpass.h"
#include "shaders/kit/kivtableshader.h"

#include <array>

// Red, green and blue from 0 to 1; alpha is the material's.
using KivFacetColour = std::array<double, 3>;

class KivFacetShader : public KivTableShader<KivNonCombinableShader> {
public:
    using KivTableShader::KivTableShader;

    // The colour of a facet under so much light, from 0 (none reaches it) to 1. look: the settings that hold for the
    // mesh, its own or those of the render.
    virtual KivFacetColour colourOf(const KivMesh& mesh, const KivTablePageSettings& look, double light) const = 0;
    // How much of the light that falls on a facet's far side counts, from 0 to 1.
    virtual double lightFromBehind(const KivTablePageSettings& look) const;

    // Draws all meshes without shadows or transparency.
    void render(KivBitmapManager* surface, const KivCommonSettings& settings, const KivCamera& camera, KivScene* scene,
                tagSIZE size, KivShaderCommunication& communication, bool named) override;
    // Three units for each mesh, as the bar lays out.
    unsigned int getProgressSteps(KivScene* scene, const KivCommonSettings& settings) override;
    void prepareObjectRendering(const KivCommonSettings& settings, KivScene* scene) override;
    // With shadows: depth and ambient light first ...
    void renderMeshDepth(const KivMesh* mesh, const KivCommonSettings& settings, KivScene* scene, KivShadows& shadows,
                         const KivCamera& camera, bool vectorial) override;
    using KivTableShader::reservedSlot;
    void reservedSlot(const KivMesh* mesh) override;
    // ... then what each light adds where it reaches.
    void renderMeshPass(const KivMesh* mesh, const KivLight* light, int lightIndex, int numLights,
                        const KivCommonSettings& settings, KivScene* scene, int pass, const KivCamera& camera,
                        bool vectorial) override;
    // With transparency: the opaque meshes first, then all other triangles from far to near.
    void beginTransparency(bool vectorial) override;
    void renderOpaqueMesh(const KivMesh* mesh, const KivCommonSettings& settings, KivScene* scene,
                          const KivCamera& camera, int meshIndex, KivNonCombinableShader* defaultShader, int pass,
                          bool vectorial) override;
    void renderTransparentTriangle(const Kiv3DPoint* points, const Kiv3DVector* normals, const KivMesh* mesh,
                                   KivScene* scene, const KivCamera& camera, const KivCommonSettings& settings,
                                   int meshIndex, int previousMeshIndex, KivNonCombinableShader* defaultShader,
                                   KivShadows* shadows, int pass, const KivLight* light, int lightIndex, int numLights,
                                   bool vectorial) override;
    void endTransparentTriangle(int meshIndex, int previousMeshIndex, int pass, bool vectorial) override;
    void endTransparency(bool vectorial) override;

private:
    // What one mesh is drawn with in one pass.
    struct Brush;

    void drawMesh(const KivMesh& mesh, const Brush& brush);
    void drawPlain(const KivMesh& mesh, const Brush& brush, float factor, float units);
    void drawFacet(const Kiv3DPoint* points, const Kiv3DVector& normal, const KivMesh& mesh, const Brush& brush);

    bool isPageMixed = false; // a vector page that has been told of transparency
};

#endif
