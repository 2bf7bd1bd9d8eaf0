// The one class that a host drives. A host makes a renderer, loads the shaders once, and for each picture fills a
// scene and calls render:
//
//     KivRenderer renderer;
//     renderer.loadShaders();
//     renderer.render(&commonData, &shaderData, &scene, camera, &surface, &size);
//     renderer.unloadShaders();
//
// A render is synchronous, on the caller's thread, one at a time in a process. The host installs its
// KivHostApplicationServices before it and gives that a progress object for the length of the call.
#ifndef KIVRENDER_RENDER_KIVRENDERER_H
#define KIVRENDER_RENDER_KIVRENDERER_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"
#include "kivrender/shader/kivshadercommunication.h"

#include <string>

class KivBitmapManager;
class KivCamera;
class KivCombinableShader;
class KivCommonDataManager;
class KivCommonSettings;
class KivDataManager;
class KivMesh;
class KivNonCombinableShader;
class KivProgress;
class KivScene;
class KivShader;
class KivShadows;

class KIV_API KivRenderer {
public:
    KivRenderer() = default;
    KivRenderer(const KivRenderer&) = default;
    KivRenderer& operator=(const KivRenderer&) = default;
    virtual ~KivRenderer();

    // Finds the product folder and, if no channel to the shaders is in force, puts this renderer's in force. True.
    bool onLoad();
    // Takes this renderer's channel out of force; another renderer's stays.
    void onUnLoad();
    // The product folder, as far as onLoad or loadShaders have asked for it.
    const wchar_t* basePath() const;

    // Loads the plug-ins of the folder "shaders" in the product folder. True if at least one shader is loaded. Each
    // call wants one unloadShaders.
    bool loadShaders();
    void unloadShaders();

    // Makes the picture of a scene in the surface, and the files that the settings ask for.
    //
    // commonData: the settings that belong to no shader. data: the stream with the names and settings of the shaders;
    // without cells the default shader draws. size: the final size in pixels, null for that of the settings. None of
    // them is kept.
    //
    // True when the render ran to its end. False when it was cancelled or no surface could be made; a surface that
    // can't be made is told by the host's message. On true the scene has been emptied: fill it anew for the next
    // render. A cancelled render saves nothing and may leave the scene filled; its OpenGL context then stays current on
    // this thread until the surface is destroyed or used again.
    //
    // Throws KivShader::stopReason when no temporary file for a vector page can be made.
    bool render(KivCommonDataManager* commonData, KivDataManager* data, KivScene* scene, const KivCamera& camera,
                KivBitmapManager* surface, tagSIZE* size);

private:
    friend struct KivTestAccess;

    // What the passes of one render share; kivrenderer.cpp.
    struct Frame;

    // --- the render driver: kivrenderer.cpp. Each answers false when the render is over before its end.
    bool renderFrame(Frame& frame, KivDataManager* data);
    bool finishFrame(Frame& frame);
    // False if there are no stored settings; the default shader then draws.
    bool selectShaders(Frame& frame, KivDataManager* data);
    KivNonCombinableShader* useDefaultShader();
    static void orderTriangles(Frame& frame);
    bool loadRenderData(Frame& frame, KivDataManager* data);
    bool renderPasses(Frame& frame);
    bool renderPlain(Frame& frame);
    bool renderWithTransparency(Frame& frame);
    bool renderWithShadows(Frame& frame);
    bool renderWithBoth(Frame& frame);

    // --- one frame and the calls of shaders: kivrenderer_frame.cpp
    void startRendering(const KivCommonSettings& settings, const KivCamera& camera, const KivScene* scene,
                        KivBitmapManager* surface, tagSIZE size, KivNonCombinableShader* shader, KivProgress* progress);
    // The flag has no effect.
    void setCamera(const KivCamera& camera, bool flag);
    void renderShader(KivShader* shader, const KivCommonSettings& settings, const KivCamera& camera, KivScene* scene,
                      KivProgress* progress, tagSIZE size, KivBitmapManager* surface, KivShaderCommunication& channel,
                      bool named);
    void endRendering(KivBitmapManager* surface, const KivCommonSettings& settings, KivProgress* progress);
    void renderAllNonCombinableShadersForObjectRendering(const KivCommonSettings& settings, const KivCamera& camera,
                                                         KivScene* scene, KivProgress* progress, tagSIZE size,
                                                         KivBitmapManager* surface, KivShaderCommunication& channel);
    void renderAllCombinableShadersForObjectRendering(const KivCommonSettings& settings, const KivCamera& camera,
                                                      KivScene* scene, KivProgress* progress, tagSIZE size,
                                                      KivBitmapManager* surface, KivShaderCommunication& channel);
    // Cuts the text at ";" in place. shaders has room for kivMaxShaders; a name that is not known gives a null entry
    // that counts.
    int getCombinableShadersFromString(KivCombinableShader** const shaders, wchar_t* text);
    bool isInCombinableShadersToRender(KivCombinableShader* shader, KivCombinableShader** const shaders, int count);
    int getAllNonCombinableShaders(KivNonCombinableShader** shaders);
    // The default shader for a mesh without settings of its own, else the first of the list that the mesh names, or
    // null.
    KivNonCombinableShader* getNonCombinableShaderForThisMesh(const KivMesh* mesh, int count,
                                                              KivNonCombinableShader** shaders,
                                                              KivNonCombinableShader* defaultShader) const;

    // --- shadows and transparency: kivrenderer_shadows.cpp
    void renderAllMeshesForShadowsRendering(KivNonCombinableShader* shader, bool saveShadows,
                                            const KivCommonSettings& settings, const KivCamera& camera, KivScene* scene,
                                            KivProgress* progress, tagSIZE size, KivBitmapManager* surface,
                                            KivShadows shadows, KivShaderCommunication& channel);
    void renderAllShadersForTransparency(KivNonCombinableShader* shader, const KivCommonSettings& settings,
                                         const KivCamera& camera, KivScene* scene, KivBitmapManager* surface,
                                         KivProgress* progress, tagSIZE size, int count,
                                         KivCombinableShader** combinables, KivShaderCommunication& channel);
    // False when cancelled.
    bool renderShadowsAndTransparency(KivNonCombinableShader* shader, KivCombinableShader** const combinables,
                                      int count, const KivCommonSettings& settings, const KivCamera& camera,
                                      KivScene* scene, KivProgress* progress, tagSIZE size, KivBitmapManager* surface,
                                      KivShadows& shadows, KivShaderCommunication& channel);

    // --- finishing of the picture: kivrenderer_images.cpp
    void drawBackgroundImage(const KivCommonSettings& settings, tagSIZE size, KivProgress* progress);
    void fillDepthForLines(const KivScene* scene, const KivCommonSettings& settings, KivShaderCommunication& channel);
    void saveDepthBuffer(tagSIZE size, KivProgress* progress, KivCommonSettings& settings);
    void drawPaperImage(const KivCommonSettings& settings, KivProgress* progress);
    // Shrinks the picture to the final size.
    void makeAntialias(KivBitmapManager* surface, KivProgress* progress, const KivCommonSettings* settings,
                       tagSIZE finalSize);
    void saveFinalRender(KivBitmapManager* surface, const KivCommonSettings& settings);
    // Between 2 and 32768.
    unsigned int getPreviousPowerOfTwo(unsigned int value);

    // --- the layout of the progress bar: kivrenderer_progress.cpp
    void calculateProgress(KivProgress* progress, KivScene* scene, const KivCommonSettings& settings,
                           bool hasNonCombinable, bool hasCombinable);
    // Cuts the text at ";" in place.
    void addStepsToProgress(KivProgress* progress, wchar_t* shaderList, KivScene* scene,
                            const KivCommonSettings& settings);

    // --- switched off: kivrenderer_optimize.cpp
    void optimizeScene(KivScene* scene, const KivCamera& camera);

    std::wstring basePathText;
    KivShaderCommunication communication;
    const char* savedLocale = nullptr;
};

#endif
