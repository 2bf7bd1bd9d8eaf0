// Stencil shadows: shadow volumes (Crow, Shadow Algorithms for Computer Graphics, 1977) in the stencil buffer
// (Heidmann, Real Shadows, Real Time, 1991). For every light and every mesh that casts, a volume from the mesh's
// silhouette to infinity is counted there where the depth test fails, with caps at the mesh and at infinity, in
// homogeneous coordinates and under a projection without a far plane (Everitt and Kilgard, Practical and Robust
// Stenciled Shadow Volumes for Hardware-Accelerated Rendering, 2002). A byte for each pixel then adds up how many
// lights are lost there, since the stencil buffer can count the volumes of one light at a time.
//
// A shadow pass calls, with the OpenGL context current and everything on its thread:
//     setInfinitePerspective            before the scene's depth is laid down
//     preShadowParameters, createInitialStencilBuffer
//     for each light: drawShadowVolume for each casting mesh, glFlush, addCurrentStencil
//     postShadowParameters, saveAndDestroyStencilBuffer, and copyStencilToBitmap if the picture is wanted
// Then shaders draw what each light adds where the stencil lets them.
//
// Stencil values count from 100, so that an unbalanced volume of an open mesh can go below. A mesh that is not closed
// casts a shadow from its borders, with half the weight of a closed one's silhouette. A volume spreads from the light's
// location, for directional lights too: place such a light far outside the scene, against the way it shines.
//
// A cancel is asked for at the start of a volume, while a mesh is welded and at each edge; nothing reports an error.
//
// A copy shares the two buffers with its source; the last one frees them.
#ifndef KIVRENDER_SHADOW_KIVSHADOWS_H
#define KIVRENDER_SHADOW_KIVSHADOWS_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"
#include "kivrender/scene/kiv3dpoint.h"
#include "kivrender/scene/kivbox.h"
#include "kivrender/shadow/kivedgesextraction.h"

#include <memory>
#include <vector>

class KivCamera;
class KivCommonSettings;
class KivLight;
class KivMesh;
class KivScene;

class KIV_API KivShadows {
public:
    KivShadows();
    KivShadows(const KivShadows&);
    KivShadows& operator=(const KivShadows&);
    virtual ~KivShadows();

    // --- volumes

    // Loads the camera's projection without its far plane. The matrix mode stays GL_PROJECTION.
    void setInfinitePerspective(const KivCamera& camera, const KivScene* scene);
    // The state for drawing volumes: stencil cleared to 100, colour and depth protected, culling on.
    void preShadowParameters();
    // The state for shading with the finished stencil: additive blending where stencilFunc holds against
    // stencilLevel + 100.
    void postShadowParameters(float factorOffset, float unitsOffset, unsigned int stencilFunc, int stencilLevel,
                              bool vectorial);
    // All of the work for one mesh and one light, on a welded copy of the mesh. saved: the volume is first stored and
    // then drawn, in the form of saveShadowVolume; the renderer passes false.
    void drawShadowVolume(const KivMesh* mesh, const KivLight* light, bool saved);
    // The edges of a welded mesh with their lit flags. The border of an open mesh is a silhouette for every light.
    void createSilhouette(const KivMesh* mesh, const KivLight* light, std::vector<KivEdgesExtraction::edgeInfo>& edges);
    // Whether the triangle's outer side looks at the light. Spot cones are not tested.
    bool isTriangleLightened(int triangle, const KivLight* light, const KivMesh* mesh);
    // Stores the volume: every silhouette edge once, and unless capped is false the lit triangles as caps, moved
    // inwards by 0.0001.
    void saveShadowVolume(std::vector<KivEdgesExtraction::edgeInfo>& edges, bool capped, KivMesh* mesh,
                          const KivLight* light);
    // Draws the volume: a silhouette edge between two triangles twice, a border edge once, and all triangles as caps,
    // whatever capped says.
    void castShadowVolume(std::vector<KivEdgesExtraction::edgeInfo>& edges, bool capped, KivMesh* mesh,
                          const KivLight* light);
    // Draws the stored volume.
    void paintGLShadowVolume();

    // Welded copies and edge lists serve all lights of a pass: from here on they are kept, up to about so many bytes,
    // until the pass ends with endVolumes. The meshes must not change meanwhile.
    void beginVolumes(std::size_t memoryBudget);
    void endVolumes();

    // --- adding up the lights; size is that of the render in pixels, the same for all calls of a pass

    // 100 for every pixel. The two that follow add and write nothing without it.
    void createInitialStencilBuffer(tagSIZE size);
    // Adds one where the light just drawn is lost, and clears the stencil buffer to 100. Polls for a cancel between
    // bands of the picture; the sum is incomplete after one.
    void addCurrentStencil(tagSIZE size);
    // Puts the sum into the stencil buffer, at the current raster position.
    void saveAndDestroyStencilBuffer(tagSIZE size);
    // Writes a picture of how many lights reach each pixel: black none, white all of them, white also where no surface
    // is. The file's ending chooses the format; an unknown ending writes nothing. Reduced to the final size.
    void copyStencilToBitmap(const wchar_t* fileName, tagSIZE size, int lights, const KivCommonSettings& settings);
    // Paints the stencil values in false colours, for looking into a pass.
    void showStencil(tagSIZE size);

    // The window depth of each pixel, bottom row first, read at the first call and again after deleteDepthBuffer. Stays
    // this object's.
    float* getDepthBuffer(tagSIZE size);
    void deleteDepthBuffer();

    // --- OpenGL's lights, for shaders that use its lighting

    // The ambient light of the settings alone.
    void setOnlyAmbientLight(const KivCommonSettings* settings, const KivScene* scene);
    // No ambient light, and the light of that number on; the others stay as they are. Nothing for vector output.
    void setOnlyOtherLight(const KivCommonSettings* settings, KivScene* scene, int light) const;

private:
    struct Volume;      // a welded mesh with its edges
    struct VolumeCache; // those kept for the further lights

    // Fills sixteen doubles, column by column. Takes the place of infiniteFrustum in a parallel view; the matrix
    // depends on the way the context clips depth.
    void parallelToInfinity(const KivCamera& camera, bool depthFromZero, double* matrix) const;
    void infiniteFrustum(const KivCamera& camera, double* matrix);
    void calculateSceneBoundingBox(const KivScene* scene);
    void forgetStoredVolume();
    void obtainDepthBuffer(tagSIZE size);
    std::shared_ptr<Volume> volumeOf(const KivMesh* mesh);
    std::vector<bool> lightenedTriangles(const KivLight* light, const KivMesh* mesh);
    static void flagEdges(std::vector<KivEdgesExtraction::edgeInfo>& edges, const std::vector<bool>& lightened);
    static void cast(const std::vector<KivEdgesExtraction::edgeInfo>& edges, const KivMesh* mesh, const KivLight* light,
                     const std::vector<bool>& lightened);

    // Stored quads, four points each: two of the edge, two directions; stored triangles, three points or directions
    // each.
    std::vector<Kiv3DPoint> volumeSides;
    std::vector<Kiv3DPoint> volumeFrontCaps;
    std::vector<Kiv3DPoint> volumeBackCaps;
    std::shared_ptr<float[]> depthBuffer;
    std::shared_ptr<unsigned char[]> stencilBuffer;
    KivBox sceneBox;
    std::shared_ptr<VolumeCache> cache;
};

#endif
