// The passes of a render with transparency: opaque meshes first, then every transparent triangle from back to front,
// with the shadows that fall on them if there are any.
#define GL_GLEXT_PROTOTYPES
#include "kivrender/host/kivlanguage.h"
#include "kivrender/render/kivmeshwalk.h"
#include "kivrender/render/kivrenderer.h"
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/shader/kivcombinableshader.h"
#include "kivrender/shader/kivdrawing.h"
#include "kivrender/shader/kivnoncombinableshader.h"
#include "kivrender/shader/kivpicturetile.h"
#include "kivrender/shader/kivshadercommunication.h"
#include "kivrender/shader/kivshaderguard.h"
#include "kivrender/shadow/kivshadows.h"

#include <GL/gl.h>
#include <GL/glext.h>
#include <gl2ps.h>

#include <algorithm>
#include <cstddef>
#include <memory>

namespace {

bool isCancelled(KivProgress* progress) {
    return progress != nullptr && progress->isCancelled();
}

void beginStep(KivProgress* progress) {
    if (progress != nullptr) {
        progress->setText(kivText(kivTextDrawingMeshes).c_str());
        progress->beginStep();
    }
}

void endStep(KivProgress* progress) {
    if (progress != nullptr && !progress->isCancelled()) {
        progress->endStep();
    }
}

// The vector page learns of the offset in the raster case alone, the reverse of everywhere else; without an open page
// that has no effect. Files depend on it.
void enableOffsetReversed(float factor, float units, bool vectorial) {
    glEnable(GL_POLYGON_OFFSET_FILL);
    glPolygonOffset(factor, units);
    if (!vectorial) {
        gl2psEnable(GL2PS_POLYGON_OFFSET_FILL);
    }
}

// Progress along a list of triangles: as many units as there are meshes, however long the list.
class TriangleProgress {
public:
    TriangleProgress(int triangles, int meshes, int* runningCount)
        : every(meshes > 0 && triangles >= meshes ? triangles / meshes : 1),
          growth(triangles <= meshes ? 1 : meshes / triangles), counter(runningCount) {}

    // Whether this triangle makes progress.
    bool isDue(int triangle) const {
        return triangle % every == 0;
    }
    // With more triangles than meshes the integer division gives 0: the counter then stands still.
    void count() {
        *counter += growth;
    }

private:
    int every;
    int growth;
    int* counter;
};

// The depth of the opaque scene as it was before the transparent triangles went into the depth buffer.
class SavedDepth {
public:
    explicit SavedDepth(tagSIZE pictureSize)
        : size(pictureSize),
          values(new float[static_cast<std::size_t>(pictureSize.cx) * static_cast<std::size_t>(pictureSize.cy)]) {
        const KivFrameCorner corner = kivFrameCorner();
        glReadPixels(corner.x, corner.y, size.cx, size.cy, GL_DEPTH_COMPONENT, GL_FLOAT, values.get());
    }

    // The depth function stays at GL_ALWAYS, unless a shader changes it.
    void restore() const {
        glColorMask(GL_FALSE, GL_FALSE, GL_FALSE, GL_FALSE);
        glDisable(GL_STENCIL_TEST);
        glDisable(GL_BLEND);
        glEnable(GL_DEPTH_TEST);
        glDepthMask(GL_TRUE);
        glDepthFunc(GL_ALWAYS);
        // At the picture's corner, wherever a shader has left the raster position.
        glPushAttrib(GL_CURRENT_BIT);
        const KivFrameCorner corner = kivFrameCorner();
        glWindowPos2i(corner.x, corner.y);
        glDrawPixels(size.cx, size.cy, GL_DEPTH_COMPONENT, GL_FLOAT, values.get());
        glPopAttrib();
        glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    }

private:
    tagSIZE size;
    std::unique_ptr<float[]> values;
};

} // namespace

void KivRenderer::drawOpaqueMeshes(const KivScene* scene, const KivCamera& camera, const KivCommonSettings& settings,
                                   int count, KivNonCombinableShader** list, KivNonCombinableShader* defaultShader,
                                   int /*numMeshes*/, int* counter, int /*chunk*/, int pass, KivBitmapManager* surface,
                                   KivProgress* progress, bool vectorial) {
    auto* meshes = const_cast<KivScene*>(scene); // shaders take the scene as one that they may change
    const KivMeshWalk walk(*meshes, settings, surface, progress, [&](const KivMesh* mesh) {
        return getNonCombinableShaderForThisMesh(mesh, count, list, defaultShader);
    });
    walk.runOpaque(
        [&](KivNonCombinableShader& shader, KivMesh& mesh, int index) {
            shader.renderOpaqueMesh(&mesh, settings, meshes, camera, index, defaultShader, pass, vectorial);
        },
        counter);
}

void KivRenderer::renderAllShadersForTransparency(KivNonCombinableShader* shader, const KivCommonSettings& settings,
                                                  const KivCamera& camera, KivScene* scene, KivBitmapManager* surface,
                                                  KivProgress* progress, tagSIZE size, int combinableCount,
                                                  KivCombinableShader** combinables, KivShaderCommunication& channel) {
    KivNonCombinableShader* list[kivMaxShaders] = {};
    const int count = getAllNonCombinableShaders(list);
    const bool vectorial = settings.doVectorial();
    float factor = 0;
    float units = 0;
    channel.getPolygonOffset(&factor, &units);
    if (isCancelled(progress)) {
        return;
    }
    enableOffsetReversed(factor, units, vectorial);
    for (int i = 0; i < count; ++i) {
        kivCallShader(*list[i], [&] { list[i]->beginTransparency(vectorial); });
    }
    const int numMeshes = static_cast<int>(scene->numMeshes());
    const int chunk = std::max(numMeshes / 10, 1);
    int counter = 0;
    beginStep(progress);
    for (int pass = 1; pass <= 3; ++pass) {
        drawOpaqueMeshes(scene, camera, settings, count, list, shader, numMeshes, &counter, chunk, pass, surface,
                         progress, vectorial);
        if (isCancelled(progress)) {
            return;
        }
        if (pass == 1) {
            glDepthMask(GL_FALSE); // and so it stays
        }
    }
    kivWaitForDrawing(progress);
    endStep(progress);
    if (!renderNamedCombinableShaders(combinables, combinableCount, settings, camera, scene, progress, size, surface,
                                      channel)) {
        return;
    }
    if (combinableCount == 0 && progress != nullptr && !progress->isCancelled()) {
        // The steps that were laid out for shaders that the style does not name.
        progress->advance(static_cast<unsigned int>(numMeshes) * 4 + scene->numPolyline(), false);
    }
    renderAllCombinableShadersForObjectRendering(settings, camera, scene, progress, size, surface, channel);
    if (isCancelled(progress)) {
        return;
    }
    glEnable(GL_POLYGON_OFFSET_FILL);
    glPolygonOffset(factor, units);
    if (vectorial) {
        gl2psEnable(GL2PS_POLYGON_OFFSET_FILL);
    }
    drawTransparentTriangles(scene, camera, settings, count, list, shader, numMeshes, &counter, chunk, surface, nullptr,
                             progress, tagSIZE{}, channel, vectorial);
    if (isCancelled(progress)) {
        return;
    }
    for (int i = 0; i < count; ++i) {
        kivCallShader(*list[i], [&] { list[i]->endTransparency(vectorial); });
    }
}

bool KivRenderer::renderShadowsAndTransparency(KivNonCombinableShader* shader, KivCombinableShader** const combinables,
                                               int combinableCount, const KivCommonSettings& settings,
                                               const KivCamera& camera, KivScene* scene, KivProgress* progress,
                                               tagSIZE size, KivBitmapManager* surface, KivShadows& shadows,
                                               KivShaderCommunication& channel) {
    const auto stopped = [&] {
        if (!isCancelled(progress)) {
            return false;
        }
        onUnLoad();
        return true;
    };
    const int numMeshes = static_cast<int>(scene->numMeshes());
    const int chunk = std::max(numMeshes / 10, 1);
    const bool vectorial = settings.doVectorial();
    int counter = numMeshes * 3 + numMeshes * static_cast<int>(scene->numLights());
    renderAllMeshesForShadowsRendering(shader, false, settings, camera, scene, progress, size, surface, shadows,
                                       channel);
    if (!renderNamedCombinableShaders(combinables, combinableCount, settings, camera, scene, progress, size, surface,
                                      channel)) {
        onUnLoad();
        return false;
    }
    renderAllCombinableShadersForObjectRendering(settings, camera, scene, progress, size, surface, channel);
    if (stopped()) {
        return false;
    }
    KivNonCombinableShader* list[kivMaxShaders] = {};
    const int count = getAllNonCombinableShaders(list);
    for (int i = 0; i < count; ++i) {
        kivCallShader(*list[i], [&] { list[i]->beginTransparency(vectorial); });
    }
    drawTransparentTriangles(scene, camera, settings, count, list, shader, numMeshes, &counter, chunk, surface,
                             &shadows, progress, size, channel, vectorial);
    if (stopped()) {
        return false;
    }
    for (int i = 0; i < count; ++i) {
        kivCallShader(*list[i], [&] { list[i]->endTransparency(vectorial); });
    }
    return true;
}

// Shadows that fall on transparent surfaces: with these in the depth buffer too, the volumes are counted again. The
// opaque scene's depth is back at the end. False when cancelled.
bool KivRenderer::shadeTransparentTriangles(KivScene* scene, const KivCamera& camera, const KivCommonSettings& settings,
                                            int count, KivNonCombinableShader** list,
                                            KivNonCombinableShader* defaultShader, int numMeshes, int* counter,
                                            int chunk, KivShadows& shadows, KivProgress* progress, tagSIZE size,
                                            KivShaderCommunication& channel, bool vectorial) {
    float factor = 0;
    float units = 0;
    channel.getPolygonOffset(&factor, &units);
    enableOffsetReversed(factor, units, vectorial);
    kivWaitForDrawing(progress);
    const SavedDepth opaqueDepth(size);
    glColorMask(GL_FALSE, GL_FALSE, GL_FALSE, GL_FALSE);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    glDisable(GL_STENCIL_TEST);
    if (!isCancelled(progress)) {
        beginStep(progress);
    }
    const int numTriangles = static_cast<int>(scene->numTriangles());
    TriangleProgress due(numTriangles, numMeshes, counter);
    for (int i = 0; i < numTriangles; ++i) {
        KivMesh* mesh = nullptr;
        int meshIndex = 0;
        Kiv3DPoint points[3];
        Kiv3DVector normals[3];
        scene->getOrderedTriangle(static_cast<unsigned int>(i), &mesh, &meshIndex, points, normals);
        KivDrawing::beginDrawing(vectorial, KivDrawing::triangles);
        KivDrawing::drawTriangle(points, normals, KivMaterial::textureMode{}, vectorial);
        KivDrawing::endDrawing(vectorial);
        if (due.isDue(i)) {
            due.count();
            if (progress != nullptr) {
                if (progress->isCancelled()) {
                    return false;
                }
                progress->advance(1, false);
            }
        }
    }
    glFlush();
    endStep(progress);
    if (factor == 0 && units == 0) {
        kivSetPolygonOffset(0, 0, vectorial);
    } else {
        kivSetPolygonOffset(factor + 0.0F, units + 3.0F, vectorial);
    }
    if (!renderShadowVolumes(shadows, scene, camera, true, defaultShader, settings, factor, units, list, count, chunk,
                             progress, size, vectorial)) {
        return false;
    }
    opaqueDepth.restore();
    return true;
}

void KivRenderer::drawTransparentTriangles(KivScene* scene, const KivCamera& camera, const KivCommonSettings& settings,
                                           int count, KivNonCombinableShader** list,
                                           KivNonCombinableShader* defaultShader, int numMeshes, int* counter,
                                           int chunk, KivBitmapManager* surface, KivShadows* shadows,
                                           KivProgress* progress, tagSIZE size, KivShaderCommunication& channel,
                                           bool vectorial) {
    if (shadows != nullptr &&
        !shadeTransparentTriangles(scene, camera, settings, count, list, defaultShader, numMeshes, counter, chunk,
                                   *shadows, progress, size, channel, vectorial)) {
        return;
    }
    if (isCancelled(progress)) {
        return;
    }
    beginStep(progress);
    glEnable(GL_BLEND);
    glDepthMask(GL_FALSE);

    const int numTriangles = static_cast<int>(scene->numTriangles());
    const int numLights = static_cast<int>(scene->numLights());
    TriangleProgress due(numTriangles, numMeshes, counter);
    int previousIndex = -1;
    KivNonCombinableShader* previousShader = nullptr;
    const auto endTriangle = [&](KivNonCombinableShader& shader, int index, int former, int pass) {
        kivCallShader(shader, [&] { shader.endTransparentTriangle(index, former, pass, vectorial); });
    };
    for (int i = 0; i < numTriangles; ++i) {
        KivMesh* mesh = nullptr;
        int meshIndex = 0;
        Kiv3DPoint points[3];
        Kiv3DVector normals[3];
        glDisable(GL_STENCIL_TEST);
        scene->getOrderedTriangle(static_cast<unsigned int>(i), &mesh, &meshIndex, points, normals);
        KivNonCombinableShader* shader = getNonCombinableShaderForThisMesh(mesh, count, list, defaultShader);
        if (previousShader != nullptr) {
            endTriangle(*previousShader, meshIndex, previousIndex, 3);
        }
        if (shader != nullptr) {
            const auto draw = [&](int pass, const KivLight* light, int lightIndex) {
                kivCallShader(*shader, [&] {
                    shader->renderTransparentTriangle(points, normals, mesh, scene, camera, settings, meshIndex,
                                                      previousIndex, defaultShader, shadows, pass, light, lightIndex,
                                                      numLights, vectorial);
                });
            };
            draw(1, nullptr, 0);
            endTriangle(*shader, meshIndex, meshIndex, 1);
            draw(2, nullptr, 0);
            endTriangle(*shader, meshIndex, previousIndex, 2);
            draw(3, nullptr, 0);
            if (shadows != nullptr) {
                glEnable(GL_STENCIL_TEST);
                for (int l = 0; l < numLights; ++l) {
                    draw(3, scene->getLight(static_cast<unsigned int>(l)), l);
                }
                glDisable(GL_STENCIL_TEST);
            }
        }
        previousIndex = meshIndex;
        previousShader = shader;
        if (due.isDue(i)) {
            if (isCancelled(progress)) {
                return;
            }
            due.count();
            if (*counter % chunk != 0) {
                if (progress != nullptr) {
                    progress->advance(1, false);
                }
            } else if (shader != nullptr) {
                shader->flushAndShow(surface, vectorial);
            }
        }
    }
    finishTransparentTriangles(previousShader, previousIndex, defaultShader, surface, progress, vectorial);
}

void KivRenderer::finishTransparentTriangles(KivNonCombinableShader* lastShader, int lastIndex,
                                             KivNonCombinableShader* defaultShader, KivBitmapManager* surface,
                                             KivProgress* progress, bool vectorial) {
    KivNonCombinableShader* shader = lastShader != nullptr ? lastShader : defaultShader;
    if (lastShader != nullptr) {
        kivCallShader(*lastShader, [&] { lastShader->endTransparentTriangle(-1, lastIndex, 3, vectorial); });
    }
    if (shader == nullptr || progress == nullptr || progress->isCancelled()) {
        return;
    }
    shader->flushAndShow(surface, vectorial);
    kivWaitForDrawing(progress);
    progress->endStep();
}
