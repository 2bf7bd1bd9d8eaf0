// The layout of the progress bar: one list of steps for a whole render, made before any pass, with sizes from the
// scene. The passes walk them in this order.
#include "kivrender/render/kivcombinablesteps.h"
#include "kivrender/render/kivdrawingcollector.h"
#include "kivrender/render/kivrenderer.h"
#include "kivrender/render/kivstreamlines.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/shader/kivshader.h"
#include "kivrender/vector/kivvectorprogress.h"

#include <cwchar>

namespace {

unsigned int countOpaque(const KivScene& scene) {
    unsigned int count = 0;
    for (unsigned int i = 0; i < scene.numMeshes(); ++i) {
        const KivMesh* const mesh = scene.getMesh(i);
        count += mesh != nullptr && mesh->isOpaque() ? 1 : 0;
    }
    return count;
}

unsigned int countWithNonCombinable(const KivScene& scene) {
    unsigned int count = 0;
    for (unsigned int i = 0; i < scene.numMeshes(); ++i) {
        const KivMesh* const mesh = scene.getMesh(i);
        count += mesh != nullptr && mesh->hasNonCombinable(false) ? 1 : 0;
    }
    return count;
}

// The surfaces: the three walks of a render with shadows, or the one of any other.
void addSurfaceSteps(KivProgress& progress, const KivScene& scene, const KivCommonSettings& settings,
                     bool hasNonCombinable) {
    const unsigned int meshes = scene.numMeshes();
    const unsigned int lights = scene.numLights();
    if (settings.doShadows()) {
        progress.addSteps(meshes);
        progress.addSteps(lights * meshes);
        progress.addSteps(lights * meshes + 2 * meshes);
    } else if (settings.doTransparencies()) {
        progress.addSteps(3 * countOpaque(scene));
    } else if (hasNonCombinable) {
        progress.addSteps(3 * meshes + 4);
    } else {
        progress.addSteps(3 * countWithNonCombinable(scene) + 3);
    }
}

// The lines, which the combinable shaders report themselves: four steps for all of a row.
void addCombinableSteps(KivProgress& progress, const KivScene& scene) {
    for (const unsigned int size : KivCombinableSteps::sizes(scene)) {
        progress.addSteps(size);
    }
}

void addTransparentSteps(KivProgress& progress, const KivScene& scene, const KivCommonSettings& settings) {
    if (!settings.doTransparencies()) {
        return;
    }
    progress.addSteps(scene.numMeshes());
    if (settings.doShadows()) {
        progress.addSteps(scene.numLights() * scene.numMeshes());
        progress.addSteps(scene.numMeshes());
    }
}

void addVectorSteps(KivProgress& progress, const KivCommonSettings& settings) {
    if (!settings.doVectorial()) {
        return;
    }
    const KivDrawingCollector* const collector = KivDrawingCollector::current();
    if (collector != nullptr ? collector->areas() == KivDrawingCollector::Areas::faces : settings.doVectorSimplify()) {
        KivVectorProgress::vectorLineStep = progress.addDeferredStep();
        KivVectorProgress::vectorStep = progress.addDeferredStep();
        progress.addDeferredStep();
        progress.addDeferredStep();
    } else {
        KivVectorProgress::vectorStep = progress.addDeferredStep();
    }
}

} // namespace

void KivRenderer::calculateProgress(KivProgress* progress, KivScene* scene, const KivCommonSettings& settings,
                                    bool hasNonCombinable, bool hasCombinable) {
    if (settings.doTransparencies()) {
        progress->addSteps(1); // ordering of the triangles
    }
    if (!settings.getBackgroundImage().empty()) {
        progress->addSteps(1); // by the name alone, also for a vector page, which has no background image
    }
    addSurfaceSteps(*progress, *scene, settings, hasNonCombinable);
    if (hasCombinable) {
        addCombinableSteps(*progress, *scene); // those that the style names
    }
    addCombinableSteps(*progress, *scene); // the sweep for objects with settings of their own
    addTransparentSteps(*progress, *scene, settings);
    if (!settings.getPaperImage().empty()) {
        progress->addSteps(1);
    }
    addVectorSteps(*progress, settings);
    progress->addSteps(1); // reduction to the final size
}

void KivRenderer::addStepsToProgress(KivProgress* progress, wchar_t* shaderList, KivScene* scene,
                                     const KivCommonSettings& settings) {
    wchar_t* rest = nullptr;
    for (const wchar_t* token = std::wcstok(shaderList, L";", &rest); token != nullptr;
         token = std::wcstok(nullptr, L";", &rest)) {
        KivShader* const shader = kivFindShader(token);
        if (shader != nullptr) {
            kivCallShader(*shader, [&] { progress->addSteps(shader->getProgressSteps(scene, settings)); });
        }
    }
}
