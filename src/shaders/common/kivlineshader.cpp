#include "kivlineshader.h"

#include "kivlinedrawing.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/shader/kivshadercommunication.h"

namespace {

// The steps of the progress bar that are reserved for a combinable shader, one after the other.
class Steps {
public:
    Steps() : progress(kivCurrentProgress()) {}
    void begin() {
        if (progress != nullptr) {
            progress->beginStep();
        }
    }
    void advance() {
        if (progress != nullptr) {
            progress->advance(1, false);
        }
    }
    void end() {
        if (progress != nullptr) {
            progress->endStep();
        }
    }

private:
    KivProgress* progress;
};

} // namespace

KivLineShader::~KivLineShader() = default;

unsigned int KivLineShader::getProgressSteps(KivScene* scene, const KivCommonSettings&) {
    return scene->numMeshes() * 4 + scene->numPolyline() + 4;
}

void KivLineShader::loadRenderData(KivDataManager* manager, const KivCommonSettings& settings) {
    isVectorial = settings.doVectorial();
    KivTableShader::loadRenderData(manager, settings);
}

bool KivLineShader::rendersMesh(const KivMesh* mesh) {
    return !isVectorial && (!mesh->hasObjectSettings() || mesh->rendersThisShader(getTag()));
}

// The scene's own lines and points.
void KivLineShader::addObjects(KivLineDrawing& drawing, KivScene& scene, bool named) const {
    for (unsigned int i = 0; i < scene.numLines(); ++i) {
        const KivLine* line = scene.getLine(i);
        if (!line->isHidden() && kivIsForShader(*line, getTag(), named)) {
            drawing.addLine(*line, settingsOf(*line));
        }
    }
    if (named) {
        // Points carry no settings of their own.
        for (unsigned int i = 0; i < scene.numPoints(); ++i) {
            drawing.addPoint(*scene.getPoint(i), sceneSettings());
        }
    }
}

// What no base shader draws would not hide the lines behind it.
bool KivLineShader::needsDepth(const KivMesh& mesh, const KivCommonSettings& settings,
                               const KivShaderCommunication& communication, bool preview) const {
    if (settings.doTransparencies() && !mesh.isOpaque()) {
        return false;
    }
    if (settings.doVectorial()) {
        return true; // what stands before the lines is found without the frame's depth buffer, which is not drawn
    }
    return preview || !mesh.hasNonCombinable(communication.hasNonCombinable());
}

void KivLineShader::render(KivBitmapManager* surface, const KivCommonSettings& settings, const KivCamera& camera,
                           KivScene* scene, tagSIZE size, KivShaderCommunication& communication, bool named) {
    Steps steps;
    const bool preview = KivShaderCommunication::getDefaultCommunication() != &communication;
    const std::unique_ptr<KivLineDrawing> drawing =
        startDrawing(settings, camera, *scene, size, communication, preview);
    // Step 1: the lines of each mesh, and the scene's own.
    steps.begin();
    for (unsigned int i = 0; i < scene->numMeshes(); ++i) {
        const KivMesh* mesh = scene->getMesh(i);
        if (mesh != nullptr && kivIsForShader(*mesh, getTag(), named)) {
            drawing->addMesh(*mesh, i, settingsOf(*mesh));
        }
        steps.advance();
        if (kivIsCancelled()) {
            return;
        }
    }
    if (!drawing->addCrossings()) {
        return;
    }
    for (unsigned int i = 0; i < scene->numPolyline(); ++i) {
        const KivPolyline* polyline = scene->getPolyline(i);
        if (polyline != nullptr && kivIsForShader(*polyline, getTag(), named)) {
            drawing->addPolyline(*polyline, settingsOf(*polyline));
        }
        steps.advance();
    }
    addObjects(*drawing, *scene, named);
    steps.advance();
    steps.end();
    // Step 2: the depth of what hides lines and is not drawn yet.
    steps.begin();
    for (unsigned int i = 0; i < scene->numMeshes() && !drawing->isEmpty(); ++i) {
        const KivMesh* mesh = scene->getMesh(i);
        if (mesh != nullptr && needsDepth(*mesh, settings, communication, preview)) {
            drawing->layDepth(*mesh, preview);
        }
        steps.advance();
        if (kivIsCancelled()) {
            return;
        }
    }
    steps.end();
    // Step 3: which of the lines are seen.
    steps.begin();
    if (!drawing->trace()) {
        return;
    }
    steps.end();
    // Step 4: the strokes.
    steps.begin();
    drawing->draw();
    flushAndShow(surface, settings.doVectorial());
    steps.end();
}
