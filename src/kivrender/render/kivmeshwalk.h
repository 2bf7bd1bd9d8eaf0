// The walk over a scene's meshes that the passes with shadows and transparency share: which shader draws a mesh, which
// meshes take part, and the progress after each.
#ifndef KIVRENDER_RENDER_KIVMESHWALK_H
#define KIVRENDER_RENDER_KIVMESHWALK_H

#include <functional>
#include <string>

class KivBitmapManager;
class KivCommonSettings;
class KivMesh;
class KivNonCombinableShader;
class KivProgress;
class KivScene;

// Numbers of the status texts.
inline constexpr unsigned int kivTextDrawingMeshes = 57;
inline constexpr unsigned int kivTextShadowVolumes = 81;

// The offset of surfaces, here and in an open vector page. Both 0 switch it off.
void kivSetPolygonOffset(float factor, float units, bool vectorial);

// Until everything is drawn or the user has cancelled, so that the time belongs to the step that drew it. At once
// without a progress object.
void kivWaitForDrawing(KivProgress* progress);

class KivMeshWalk {
public:
    using ShaderOf = std::function<KivNonCombinableShader*(const KivMesh*)>;
    using Draw = std::function<void(KivNonCombinableShader& shader, KivMesh& mesh, int meshIndex)>;

    // Everything must outlive the walk; the progress object may be null.
    KivMeshWalk(KivScene& scene, const KivCommonSettings& settings, KivBitmapManager* surface, KivProgress* progress,
                ShaderOf shaderOf);

    // Draws every mesh that has a shader and, in a render with transparency, is opaque. After each mesh asks for a
    // cancel, and after every tickEvery-th moves the bar; every chunk-th mesh may show the growing picture. False as
    // soon as it is cancelled.
    bool run(const Draw& draw, int tickEvery = 1) const;

    // The opaque meshes of a render with transparency. The counter goes on from walk to walk and decides when the
    // picture is shown.
    bool runOpaque(const Draw& draw, int* counter) const;

    // How many meshes lie between two showings of the growing picture.
    int chunk() const;
    bool isCancelled() const;
    void beginStep(const std::wstring& text) const;
    // Nothing once cancelled.
    void endStep() const;

private:
    KivScene& scene;
    const KivCommonSettings& settings;
    KivBitmapManager* surface;
    KivProgress* progress;
    ShaderOf shaderOf;
};

#endif
