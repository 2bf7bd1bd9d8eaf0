// The cartoon shader: surfaces in a few flat tones with clear edges between them.
//
// The strongest light on a point decides its tone: the incidence that the toolbox of all shaders calculates is looked
// up for every pixel in a ramp of bands, whose colours are the material's own, shadows a little richer and cooler.
//
// What it draws, by call:
//
// - render, without transparencies and shadows: every mesh in its full look, opaque.
// - With shadows, on the meshes one by one. renderMeshDepth lays the depth and covers the background in black. Pass 1
//   adds the tone of the full shadow, pass 2 what the material gives off by itself, both whatever the stencil says.
//   Pass 3, called for each of the k lights under the stencil, adds the k-th part of what the light adds to the
//   shadow's tone, highlights included with the last. The stencil holds 100 plus the number of lights lost at a pixel;
//   the shader sets the test so that k - n of the k calls reach a pixel that lost n lights: such a pixel gets that
//   share of the light, and with none lost exactly the full look. Which of the lights is lost the stencil does not
//   tell.
// - renderOpaqueMesh, with transparencies and no shadows: all in pass 1, nothing in passes 2 and 3.
// - renderTransparentTriangle: takes the triangle in pass 1, to mix in its look by the material's alpha, with shadows
//   the look that the lights left by the stencil give it. The following calls have nothing to add. Triangles are drawn
//   many at a time, in their order (class Triangles), at the latest when another shader's turn comes, after some
//   thousands and at the end. In vector output one at a time: without shadows all in pass 1, with shadows the shadow's
//   tone in pass 1 and each light's share, weighed by alpha, in pass 3.
//
// With the vector flag there are no textures, which a vector file cannot take up: triangles are cut where a band ends,
// and each piece has one colour, so that neighbouring pieces of one band merge into one face.
#ifndef SHADERS_CARTOON_KIVCARTOONSHADER_H
#define SHADERS_CARTOON_KIVCARTOONSHADER_H

#include "kivcartoonpainter.h"
#include "kivcartoonsettings.h"
#include "kivrender/geometry/kivshapewish.h"
#include "kivrender/scene/kiv3dpoint.h"
#include "kivrender/scene/kiv3dvector.h"
#include "kivshadedmesh.h"
#include "kivtableshader.h"

#include <cstdint>
#include <map>
#include <memory>
#include <utility>

class KivCartoonShader : public KivTableShader<KivNonCombinableShader> {
public:
    explicit KivCartoonShader(HINSTANCE pluginModule);
    KivCartoonShader(const KivCartoonShader&) = delete;
    KivCartoonShader& operator=(const KivCartoonShader&) = delete;
    ~KivCartoonShader() override;

    void render(KivBitmapManager* surface, const KivCommonSettings& settings, const KivCamera& camera, KivScene* scene,
                tagSIZE size, KivShaderCommunication& communication, bool named) override;
    // Three units for each mesh that it draws.
    unsigned int getProgressSteps(KivScene* scene, const KivCommonSettings& settings) override;

    void loadRenderData(KivDataManager* manager, const KivCommonSettings& settings) override;
    void prepareObjectRendering(const KivCommonSettings& settings, KivScene* scene) override;
    void renderMeshDepth(const KivMesh* mesh, const KivCommonSettings& settings, KivScene* scene, KivShadows& shadows,
                         const KivCamera& camera, bool vectorial) override;
    using KivTableShader::reservedSlot;
    void reservedSlot(const KivMesh* mesh) override;
    void renderMeshPass(const KivMesh* mesh, const KivLight* light, int lightIndex, int numLights,
                        const KivCommonSettings& settings, KivScene* scene, int pass, const KivCamera& camera,
                        bool vectorial) override;
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

    // Drawn in the place of the triangles of an object.
    KivShapeWish shapeOf(const Kiv3DObject& object) const;

private:
    class Lights;    // asks the toolbox of this shader
    class RimLights; // a lamp behind the shape
    class Triangles; // transparent triangles on their way into the picture

    KivCartoonLook lookOf(const Kiv3DObject& object) const;
    KivCartoonColors colorsOf(const KivMesh& mesh, const KivCartoonLook& look, const KivCommonSettings& settings) const;
    // How far a mesh that is dark is lifted: details stay black.
    double liftOf(const KivMesh& mesh, double lift) const;
    // isEven: with its light evened over noise.
    std::shared_ptr<const KivShadedMesh> modelOf(const KivMesh& mesh, const KivCartoonLook& look,
                                                 const KivCommonSettings& settings, bool isEven = true);
    // Whether large triangles are divided so that light can be interpolated over the pieces.
    // inOrder: where needed, and all triangles in one list in the order of the model.
    enum class Division { whereNeeded, none, inOrder };
    void buildBatch(const KivShadedMesh& model, const KivMesh& mesh, const KivCartoonLook& look,
                    const KivCommonSettings& settings, const KivScene& scene, KivCartoonBatch& out,
                    Division division = Division::whereNeeded);
    // The context of a render that was cancelled is gone, and what was made there with it.
    void forgetTriangles();
    void drawVectorTriangle(const KivShadedMesh& model, const KivMesh& mesh, const KivCommonSettings& settings,
                            const KivScene& scene, bool hasShadows, int pass, KivCartoonShare share);
    // An object in all its tones at once, with its rim of light. Leaves blending off.
    void drawLit(const KivMesh& mesh, const KivCommonSettings& settings, KivScene& scene, bool vectorial);
    void drawRim(const KivShadedMesh& model, const KivCartoonLook& look, const KivCommonSettings& settings,
                 const KivScene& scene, KivCartoonPainter& painter);
    const KivCartoonBatch& batchOf(const KivMesh& mesh, const KivCartoonLook& look, const KivCommonSettings& settings,
                                   const KivScene& scene);

    // What the passes of one mesh share. Filled anew by the depth pass, so that nothing of an earlier scene is drawn.
    std::map<const KivMesh*, KivCartoonBatch> batches;
    // Of the picture whose tiles are being drawn, by mesh and whether they are even.
    std::map<std::pair<const KivMesh*, bool>, std::shared_ptr<const KivShadedMesh>> models;
    std::uint64_t modelledPicture = 0;
    // Of the render at hand: how far each dark mesh is part of more than a detail.
    std::map<const KivMesh*, double> bulks;
    KivCartoonBatch scratch;
    KivCartoonSkins skins; // of the render at hand
    // Between beginTransparency and endTransparency.
    std::unique_ptr<Triangles> triangles;
    std::unique_ptr<KivCartoonPainter> trianglePainter; // in vector output
    bool isPageMixed = false;                           // a vector page that has been told of transparency
    bool isDefaultShader = false;                       // draws the meshes without settings of their own
    const KivScene* triangleScene = nullptr;
};

#endif
