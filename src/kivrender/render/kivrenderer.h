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

#include "kivrender/host/kivhostapplicationservices.h"
#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"
#include "kivrender/shader/kivshadercommunication.h"

#include <functional>
#include <string>
#include <vector>

class Kiv3DObject;
class KivBitmapManager;
class KivCamera;
class KivCombinableShader;
class KivCommonDataManager;
class KivCommonSettings;
class KivDataManager;
class KivMesh;
class KivNonCombinableShader;
class KivProgress;
class KivPropertiesDlg;
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
    // this thread until the surface is destroyed or used again. False also when a shader has thrown, which the host's
    // message tells with the plug-in's file; nothing is saved then.
    //
    // Meshes with a triangle that names a vertex which is not there are taken out of the scene first and deleted; a
    // message says how many.
    //
    // A file that can't be written gives no message where the path itself is at fault; kivGetLastError then has the
    // reason, as it has when no memory for the surface could be reserved.
    //
    // Throws KivShader::stopReason when no temporary file for a vector page can be made, with the reason as last error,
    // when memory runs out on the way, after a message, and when a shader throws it.
    bool render(KivCommonDataManager* commonData, KivDataManager* data, KivScene* scene, const KivCamera& camera,
                KivBitmapManager* surface, tagSIZE* size);

    // The small picture that a dialog shows of its settings, of the size that the settings give, without antialiasing,
    // shadows, transparency or vector output: the caller sets them so. shaderName is the tag or display name of the
    // base look, the list holds those of the combinable shaders; what is not known, or null, is left out. dlg tells
    // the shaders which of their pages to take the settings from; null for those without a dialog.
    //
    // The scene, usually the host's preview scene, keeps its content and is drawn again with the next call, which
    // replaces the shaders and pages of its meshes. The channel is not put in force. True, with the picture in the
    // surface, or false if no surface could be made, memory ran out, or a shader has thrown, which is told once for
    // each reason.
    bool renderPreview(const KivCommonSettings& settings, KivScene* scene, const KivCamera& camera,
                       KivBitmapManager* surface, const wchar_t* shaderName, std::vector<std::wstring> combinableNames,
                       KivShaderCommunication& channel, const KivPropertiesDlg* dlg);

    // The ways of settings between the host's storage, streams and objects. All of them run on the host's thread with
    // no render under way, show no message unless a shader throws, and return false then and for a null argument. A
    // text is a tag or, failing that, a display name of a shader. A text of more than kivMaxPath - 1 characters is cut.

    // Bring a document's or an object's complete stream from the host's storage into the manager, which is left in
    // saving mode: its load*FromFile operations append what they read. An object's has no three lines of a head. False
    // as soon as something can't be read. A shader that is not loaded is not an error, but its values are not skipped.
    bool loadDocData(KivDataManager* manager);
    bool loadObjectData(KivDataManager* manager);
    // Passes a stream to the shaders' pages. The line of the first shader is expected as the very first of the stream
    // and three more lines before its values; a stream that begins with its head gives false.
    bool loadData(KivDataManager* manager);
    // Gives an object the shaders and settings of a complete stream. Loads the shaders from the folder beside the
    // library if none are loaded, for the time of the call. False if the manager has no cells or names a shader that is
    // not loaded; what was read until then stays on the object.
    bool loadDataToObject(Kiv3DObject* object, KivDataManager* manager);
    // Makes a complete stream of the style of that name, as the host finds it, in place of what the manager holds.
    // Loads the shaders as above. Also sets the host's common settings to their defaults, as they are not part of a
    // style. False, with nothing changed, if there is no such style; false with an incomplete stream if a shader's
    // page can't read it. The minor version is not set.
    bool loadStyle(KivCommonDataManager* commonData, KivDataManager* manager, const wchar_t* name);
    // Lists the shaders that a stream selects, with their settings, from the manager's read position on, which is that
    // of setLoading. *out is a new array that the caller releases with delete[]; what the records' pointers lead to is
    // between plug-in and caller. Returns the number of names in the head, the default shader alone without any. Of
    // several combinable shaders only the last gets a record, so trailing records may be empty. 0, with *out null, if
    // a shader is not loaded or fails to read.
    int getSettings(KivDataManager* manager, KivHostApplicationServices::shaderSettings** out);

private:
    // What the passes of one render share; kivrenderer.cpp.
    struct Frame;

    // --- the render driver: kivrenderer.cpp. Each answers false when the render is over before its end.
    bool renderFrame(Frame& frame, KivDataManager* data);
    [[noreturn]] void stopWithoutMemory(KivBitmapManager& surface);
    bool finishFrame(Frame& frame);
    // False if there are no stored settings; the default shader then draws.
    bool selectShaders(Frame& frame, KivDataManager* data);
    KivNonCombinableShader* useDefaultShader();
    // Without those of a scene's meshes that nothing could draw; the host's message says how many.
    static void leaveOutBrokenMeshes(KivScene& scene);
    static void orderTriangles(Frame& frame);
    bool drawParallelDepth(Frame& frame);
    bool loadRenderData(Frame& frame, KivDataManager* data);
    std::function<const KivShader*(const KivMesh&)> shaperOf(Frame& frame);
    static tagSIZE wholeSize(const Frame& frame);
    static void followShape(Frame& frame);
    bool renderPasses(Frame& frame);
    bool renderPlain(Frame& frame);
    bool renderWithTransparency(Frame& frame);
    bool renderWithShadows(Frame& frame);
    bool renderWithBoth(Frame& frame);

    // --- settings: kivrenderer_settings.cpp
    // Begins a stream anew with the head that a style file gives. False for a null manager.
    bool loadGeneralData(KivDataManager* manager, const wchar_t* path, const wchar_t* name);
    // Pass over the three lines of the head. True; the second is false as soon as one can't be read.
    bool loadPropertiesDlgData(KivDataManager* manager);
    bool loadPropertiesDlgDataFromFile(KivDataManager* manager);

    // --- one frame and the calls of shaders: kivrenderer_frame.cpp
    void startRendering(const KivCommonSettings& settings, const KivCamera& camera, const KivScene* scene,
                        KivBitmapManager* surface, tagSIZE size, KivNonCombinableShader* shader, KivProgress* progress);
    // What startRendering leaves behind: false if no surface could be made.
    static bool hasBitmap(KivBitmapManager& surface);
    // A shader that has failed may have begun a primitive, within which OpenGL refuses everything else.
    static void endPrimitive();
    // The flag has no effect.
    void setCamera(const KivCamera& camera, bool flag);
    void renderShader(KivShader* shader, const KivCommonSettings& settings, const KivCamera& camera, KivScene* scene,
                      KivProgress* progress, tagSIZE size, KivBitmapManager* surface, KivShaderCommunication& channel,
                      bool named);
    void openVectorPage(KivBitmapManager& surface, const KivCommonSettings& settings);
    void closeVectorPage(KivBitmapManager& surface, const KivCommonSettings& settings, KivProgress* progress);
    void discardVectorPage(KivBitmapManager& surface);
    // The same for a drawing that a host collects: kivrenderer_drawing.cpp.
    static void openCollectedPage(KivBitmapManager& surface, const KivCommonSettings& settings, const KivCamera& camera,
                                  const KivScene* scene, tagSIZE size);
    static void closeCollectedPage(KivProgress* progress);
    // Ends the recording of the page, and records what the shadows on it show. False when cancelled.
    bool recordShadows(KivNonCombinableShader* defaultShader, const KivCommonSettings& settings,
                       const KivCamera& camera, KivScene& scene, KivBitmapManager* surface);
    static void forgetVectorFile(KivBitmapManager& surface);
    void endRendering(KivBitmapManager* surface, const KivCommonSettings& settings, KivProgress* progress);
    void renderAllNonCombinableShadersForObjectRendering(const KivCommonSettings& settings, const KivCamera& camera,
                                                         KivScene* scene, KivProgress* progress, tagSIZE size,
                                                         KivBitmapManager* surface, KivShaderCommunication& channel);
    // The combinable shaders that the style names; null ones are passed over. False when cancelled.
    bool renderNamedCombinableShaders(KivCombinableShader** const shaders, int count, const KivCommonSettings& settings,
                                      const KivCamera& camera, KivScene* scene, KivProgress* progress, tagSIZE size,
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

    // --- kivrenderer_preview.cpp
    bool drawPreview(const KivCommonSettings& settings, KivScene* scene, const KivCamera& camera,
                     KivBitmapManager* surface, const wchar_t* shaderName,
                     const std::vector<std::wstring>& combinableNames, KivShaderCommunication& channel,
                     const KivPropertiesDlg* dlg);

    // --- shadows: kivrenderer_shadows.cpp. A list of count shaders is that of all loaded base looks; shader or
    // defaultShader is the one that the style names and may be null.
    void preRenderWithShadows(KivShadows& shadows, const KivCamera& camera, const KivScene* scene) const;
    void renderAllMeshesForShadowsRendering(KivNonCombinableShader* shader, bool saveShadows,
                                            const KivCommonSettings& settings, const KivCamera& camera, KivScene* scene,
                                            KivProgress* progress, tagSIZE size, KivBitmapManager* surface,
                                            KivShadows shadows, KivShaderCommunication& channel);
    // The volumes of all lights, added up. False when cancelled.
    bool renderShadowVolumes(KivShadows& shadows, KivScene* scene, const KivCamera& camera, bool saveShadows,
                             KivNonCombinableShader* defaultShader, const KivCommonSettings& settings, float factor,
                             float units, KivNonCombinableShader** const list, int count, int chunk,
                             KivProgress* progress, tagSIZE size, bool vectorial);

    // --- transparency: kivrenderer_transparency.cpp
    void renderAllShadersForTransparency(KivNonCombinableShader* shader, const KivCommonSettings& settings,
                                         const KivCamera& camera, KivScene* scene, KivBitmapManager* surface,
                                         KivProgress* progress, tagSIZE size, int count,
                                         KivCombinableShader** combinables, KivShaderCommunication& channel);
    // False when cancelled.
    bool renderShadowsAndTransparency(KivNonCombinableShader* shader, KivCombinableShader** const combinables,
                                      int count, const KivCommonSettings& settings, const KivCamera& camera,
                                      KivScene* scene, KivProgress* progress, tagSIZE size, KivBitmapManager* surface,
                                      KivShadows& shadows, KivShaderCommunication& channel);
    // One pass over the opaque meshes; the counter goes on from pass to pass.
    void drawOpaqueMeshes(const KivScene* scene, const KivCamera& camera, const KivCommonSettings& settings, int count,
                          KivNonCombinableShader** list, KivNonCombinableShader* defaultShader, int numMeshes,
                          int* counter, int chunk, int pass, KivBitmapManager* surface, KivProgress* progress,
                          bool vectorial);
    // The ordered triangles from back to front, with the shadows on them unless shadows is null.
    void drawTransparentTriangles(KivScene* scene, const KivCamera& camera, const KivCommonSettings& settings,
                                  int count, KivNonCombinableShader** list, KivNonCombinableShader* defaultShader,
                                  int numMeshes, int* counter, int chunk, KivBitmapManager* surface,
                                  KivShadows* shadows, KivProgress* progress, tagSIZE size,
                                  KivShaderCommunication& channel, bool vectorial);
    bool shadeTransparentTriangles(KivScene* scene, const KivCamera& camera, const KivCommonSettings& settings,
                                   int count, KivNonCombinableShader** list, KivNonCombinableShader* defaultShader,
                                   int numMeshes, int* counter, int chunk, KivShadows& shadows, KivProgress* progress,
                                   tagSIZE size, KivShaderCommunication& channel, bool vectorial);
    void finishTransparentTriangles(KivNonCombinableShader* lastShader, int lastIndex,
                                    KivNonCombinableShader* defaultShader, KivBitmapManager* surface,
                                    KivProgress* progress, bool vectorial);

    // --- finishing of the picture: kivrenderer_images.cpp
    void drawBackgroundImage(const KivCommonSettings& settings, tagSIZE size, KivProgress* progress);
    void fillDepthForLines(const KivScene* scene, const KivCommonSettings& settings, KivShaderCommunication& channel);
    // The depth of the chosen meshes as the camera sees them, in place of what the depth buffer holds; the rest of the
    // state stays. False when cancelled.
    bool drawDepth(const KivScene& scene, const KivCamera& camera, tagSIZE size,
                   const std::function<bool(const KivMesh&)>& isDrawn);
    void saveDepthBuffer(tagSIZE size, KivProgress* progress, KivCommonSettings& settings);
    void drawPaperImage(const KivCommonSettings& settings, KivProgress* progress);
    // Shrinks the picture to the final size.
    void makeAntialias(KivBitmapManager* surface, KivProgress* progress, const KivCommonSettings* settings,
                       tagSIZE finalSize);
    void saveFinalRender(KivBitmapManager* surface, const KivCommonSettings& settings);
    void saveDrawing(KivBitmapManager* surface, const std::wstring& file);
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
