#include "kivlineshader.h"

#include "kivlinedrawing.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshpaint.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/shader/kivpicturetile.h"
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
    if (!mesh.hasNonCombinable(communication.hasNonCombinable()) && kivIsSoft(mesh)) {
        return false; // a glow that nothing paints
    }
    if (settings.doVectorial()) {
        return true; // what stands before the lines is found without the frame's depth buffer, which is not drawn
    }
    return preview || !mesh.hasNonCombinable(communication.hasNonCombinable());
}

// The lines of each mesh, and the scene's own. False when the render was cancelled meanwhile.
bool KivLineShader::gather(KivLineDrawing& drawing, KivScene& scene, bool named) const {
    Steps steps;
    steps.begin();
    for (unsigned int i = 0; i < scene.numMeshes(); ++i) {
        const KivMesh* mesh = scene.getMesh(i);
        if (mesh != nullptr && kivIsForShader(*mesh, getTag(), named) && !kivIsSoft(*mesh)) {
            drawing.addMesh(*mesh, i, settingsOf(*mesh));
        }
        steps.advance();
        if (kivIsCancelled()) {
            return false;
        }
    }
    if (!drawing.addCrossings()) {
        return false;
    }
    for (unsigned int i = 0; i < scene.numPolyline(); ++i) {
        const KivPolyline* polyline = scene.getPolyline(i);
        if (polyline != nullptr && kivIsForShader(*polyline, getTag(), named)) {
            drawing.addPolyline(*polyline, settingsOf(*polyline));
        }
        steps.advance();
    }
    addObjects(drawing, scene, named);
    steps.advance();
    steps.end();
    return true;
}

// The depth of what hides lines and is not drawn yet.
bool KivLineShader::layDepth(KivLineDrawing& drawing, KivScene& scene, const KivCommonSettings& settings,
                             const KivShaderCommunication& communication, bool preview) const {
    Steps steps;
    steps.begin();
    for (unsigned int i = 0; i < scene.numMeshes() && !drawing.isEmpty(); ++i) {
        const KivMesh* mesh = scene.getMesh(i);
        if (mesh != nullptr && needsDepth(*mesh, settings, communication, preview)) {
            drawing.layDepth(*mesh, preview);
        }
        steps.advance();
        if (kivIsCancelled()) {
            return false;
        }
    }
    steps.end();
    return true;
}

void KivLineShader::render(KivBitmapManager* surface, const KivCommonSettings& settings, const KivCamera& camera,
                           KivScene* scene, tagSIZE size, KivShaderCommunication& communication, bool named) {
    const bool preview = KivShaderCommunication::getDefaultCommunication() != &communication;
    KivPictureTile* const tile = preview || settings.doVectorial() ? nullptr : kivPictureTile();
    if (tile != nullptr) {
        renderTile(*tile, settings, camera, *scene, communication, named);
        return;
    }
    const std::unique_ptr<KivLineDrawing> drawing =
        startDrawing(settings, camera, *scene, size, communication, preview);
    if (!gather(*drawing, *scene, named) || !layDepth(*drawing, *scene, settings, communication, preview)) {
        return;
    }
    Steps steps;
    // Marks the lines that are seen.
    steps.begin();
    if (!drawing->trace()) {
        return;
    }
    steps.end();
    // The strokes.
    steps.begin();
    drawing->draw();
    flushAndShow(surface, settings.doVectorial());
    steps.end();
}

// How a line is drawn depends on where it is seen along all its length, which no tile knows: the lines are surveyed in
// all tiles before any are drawn.
void KivLineShader::renderTile(KivPictureTile& tile, const KivCommonSettings& settings, const KivCamera& camera,
                               KivScene& scene, KivShaderCommunication& communication, bool named) {
    Surveyed& kept = surveyed[named ? 1 : 0];
    if (kept.picture != tile.number || kept.drawing == nullptr) {
        kept.picture = tile.number;
        kept.drawing = startDrawing(settings, camera, scene, tile.picture, communication, false);
        if (!gather(*kept.drawing, scene, named)) {
            kept.drawing.reset();
            return;
        }
    }
    tile.isSurveyWanted = tile.isSurveyWanted || !kept.drawing->isEmpty();
    if (!layDepth(*kept.drawing, scene, settings, communication, false)) {
        return;
    }
    if (tile.isSurvey) {
        kept.drawing->survey(tile);
        return;
    }
    if (kept.drawing->isTraced() || kept.drawing->traceSurveyed()) {
        kept.drawing->draw();
    }
    if (tile.isLast) {
        kept.drawing.reset();
    }
}
