// The passes of a render with shadows: depth, the volumes of all lights, and the lit passes under the stencil.
#include "kivrender/host/kivlanguage.h"
#include "kivrender/render/kivmeshwalk.h"
#include "kivrender/render/kivrenderer.h"
#include "kivrender/render/kivshadowcaster.h"
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/shader/kivnoncombinableshader.h"
#include "kivrender/shader/kivshadercommunication.h"
#include "kivrender/shadow/kivshadows.h"

#include <GL/gl.h>
#include <gl2ps.h>

namespace {

// Welded meshes and their edges are kept for the further lights of a pass up to this size.
constexpr std::size_t volumeMemory = std::size_t{1} << 29;

} // namespace

void KivRenderer::preRenderWithShadows(KivShadows& shadows, const KivCamera& camera, const KivScene* scene) const {
    shadows.setInfinitePerspective(camera, scene);
    glClear(GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
    glEnable(GL_DEPTH_TEST);
    glDepthMask(GL_TRUE);
    glDepthFunc(GL_LESS);
}

void KivRenderer::renderAllMeshesForShadowsRendering(KivNonCombinableShader* shader, bool saveShadows,
                                                     const KivCommonSettings& settings, const KivCamera& camera,
                                                     KivScene* scene, KivProgress* progress, tagSIZE size,
                                                     KivBitmapManager* surface, KivShadows shadows,
                                                     KivShaderCommunication& channel) {
    KivNonCombinableShader* list[kivMaxShaders] = {};
    const int count = getAllNonCombinableShaders(list);
    float factor = 0;
    float units = 0;
    channel.getPolygonOffset(&factor, &units);
    preRenderWithShadows(shadows, camera, scene);
    const KivMeshWalk walk(*scene, settings, surface, progress, [&](const KivMesh* mesh) {
        return getNonCombinableShaderForThisMesh(mesh, count, list, shader);
    });
    const bool vectorial = settings.doVectorial();
    if (walk.isCancelled()) {
        return;
    }

    kivSetPolygonOffset(factor, units, vectorial);
    walk.beginStep(kivText(kivTextDrawingMeshes));
    const bool depthDone = walk.run([&](KivNonCombinableShader& one, KivMesh& mesh, int) {
        one.renderMeshDepth(&mesh, settings, scene, shadows, camera, vectorial);
    });
    if (!depthDone) {
        return;
    }
    glFlush();
    walk.endStep();

    // Volumes and what follows them lie behind the depth pass by this much, or surfaces would shade themselves.
    glEnable(GL_POLYGON_OFFSET_FILL);
    glPolygonOffset(factor + 0.0F, units + 3.0F);
    if (vectorial) {
        gl2psEnable(GL2PS_POLYGON_OFFSET_FILL);
    }
    if (!renderShadowVolumes(shadows, scene, camera, saveShadows, shader, settings, factor, units, list, count,
                             walk.chunk(), progress, size, vectorial)) {
        return;
    }

    walk.beginStep(kivText(kivTextDrawingMeshes));
    for (int pass = 1; pass <= 2; ++pass) {
        const bool done = walk.run([&](KivNonCombinableShader& one, KivMesh& mesh, int) {
            one.renderMeshPass(&mesh, nullptr, 0, 0, settings, scene, pass, camera, vectorial);
        });
        if (!done) {
            return;
        }
    }
    glEnable(GL_STENCIL_TEST);
    const int numLights = static_cast<int>(scene->numLights());
    for (int l = 0; l < numLights; ++l) {
        const KivLight* light = scene->getLight(static_cast<unsigned int>(l));
        const auto draw = [&](KivNonCombinableShader& one, KivMesh& mesh, int) {
            one.renderMeshPass(&mesh, light, l, numLights, settings, scene, 3, camera, vectorial);
        };
        // One unit of progress for a mesh under all lights, not for each.
        if (!walk.run(draw, numLights)) {
            return;
        }
    }
    kivWaitForDrawing(progress);
    walk.endStep();
    glDisable(GL_STENCIL_TEST);
}

bool KivRenderer::renderShadowVolumes(KivShadows& shadows, KivScene* scene, const KivCamera& camera, bool saveShadows,
                                      KivNonCombinableShader* defaultShader, const KivCommonSettings& settings,
                                      float factor, float units, KivNonCombinableShader** const list, int count,
                                      int /*chunk*/, KivProgress* progress, tagSIZE size, bool vectorial) {
    if (progress != nullptr) {
        progress->setText(kivText(kivTextShadowVolumes).c_str());
        progress->beginStep();
    }
    shadows.preShadowParameters();
    shadows.createInitialStencilBuffer(size);
    shadows.beginVolumes(volumeMemory);
    const int numLights = static_cast<int>(scene->numLights());
    for (int l = 0; l < numLights; ++l) {
        const KivLight* light = scene->getLight(static_cast<unsigned int>(l));
        for (unsigned int m = 0; KivMesh* mesh = scene->getMesh(m); ++m) {
            if (getNonCombinableShaderForThisMesh(mesh, count, list, defaultShader) != nullptr &&
                kivCastsShadow(*mesh, camera, settings)) {
                shadows.drawShadowVolume(mesh, light, false);
            }
            if (progress != nullptr) {
                if (progress->isCancelled()) {
                    shadows.endVolumes();
                    return false;
                }
                progress->advance(1, false);
            }
        }
        kivWaitForDrawing(progress);
        if (progress != nullptr && progress->isCancelled()) {
            shadows.endVolumes();
            return false;
        }
        shadows.addCurrentStencil(size);
        if (progress != nullptr && progress->isCancelled()) {
            shadows.endVolumes();
            return false;
        }
    }
    shadows.endVolumes();
    shadows.postShadowParameters(factor, units, GL_NOTEQUAL, numLights, vectorial);
    shadows.saveAndDestroyStencilBuffer(size);
    if (saveShadows && settings.doSaveShadows()) {
        shadows.copyStencilToBitmap(settings.getSaveShadowsFile().c_str(), size, numLights, settings);
    }
    if (progress != nullptr && !progress->isCancelled()) {
        progress->endStep();
    }
    return true;
}
