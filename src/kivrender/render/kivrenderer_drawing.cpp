// A frame whose drawing a host collects: it is recorded as every vector page is, and becomes data instead of a file.
#include "kivrender/host/kivhostapplicationservices.h"
#include "kivrender/host/kivlanguage.h"
#include "kivrender/render/kivdrawingcollector.h"
#include "kivrender/render/kivrenderer.h"
#include "kivrender/render/recordedpage.h"
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/shader/kivobjectnumbers.h"
#include "kivrender/vector/gl2pspage.h"
#include "kivrender/vector/kivvectorpage.h"
#include "kivrender/vector/kivvectorprogress.h"
#include "kivrender/vector/vectorsimplifier.h"

#include <GL/gl.h>

#include <cstdlib>
#include <memory>

namespace {

constexpr unsigned int textVectorOverflow = 129;
// Of areas whose borders are not the same curves: half of it lies outside the area.
constexpr double rimWidth = 0.5;

// In parallel views alone a pixel has a length.
double unitsPerPixel(const KivCamera& camera, tagSIZE size) {
    if (camera.getProjection() != KivCamera::orthographic || size.cx <= 0) {
        return 0.0;
    }
    return (camera.getFrustumRight() - camera.getFrustumLeft()) / size.cx;
}

FeedbackView viewOfContext() {
    FeedbackView view = {};
    glGetDoublev(GL_MODELVIEW_MATRIX, view.modelView);
    glGetDoublev(GL_PROJECTION_MATRIX, view.projection);
    glGetIntegerv(GL_VIEWPORT, view.viewport);
    return view;
}

// The walk of the stages of simplification, the last of which is left open, belongs to it.
bool addFaces(const RecordedPage& page, KivVectorDrawing& drawing, KivProgress* progress) {
    FeedbackState attributes;
    std::vector<float> translated = kivTranslateFeedback(page.floats(), attributes);
    int used = static_cast<int>(translated.size());
    const std::unique_ptr<float, decltype(&std::free)> simplified(
        VectorSimplifier(viewOfContext()).simplify(translated.data(), &used), &std::free);
    if (simplified == nullptr && used == 0) {
        return false;
    }
    const bool done = page.addSimplified(simplified.get(), used, drawing);
    if (progress != nullptr) {
        progress->endStep();
    }
    return done;
}

void beginStep(KivProgress* progress, std::size_t size) {
    if (progress != nullptr) {
        progress->setStepSize(KivVectorProgress::vectorStep, static_cast<unsigned int>(size));
        progress->setText(kivText(KivVectorProgress::textNumber).c_str());
        progress->beginStep();
    }
}

void endStep(KivProgress* progress, std::size_t size) {
    if (progress != nullptr) {
        progress->advance(static_cast<unsigned int>(size), false);
        progress->endStep();
    }
}

bool addAreas(const RecordedPage& page, const KivDrawingCollector& collector, KivVectorDrawing& drawing,
              KivProgress* progress) {
    const KivDrawingCollector::Areas areas = collector.areas();
    if (areas == KivDrawingCollector::Areas::faces) {
        return addFaces(page, drawing, progress);
    }
    beginStep(progress, page.size());
    RegionRules rules;
    rules.tolerance = collector.getTolerance();
    rules.smallestTone = collector.getSmallestTone();
    const bool done =
        areas == KivDrawingCollector::Areas::regions ? page.addRegions(drawing, rules) : page.addTriangles(drawing);
    if (!done) {
        return false;
    }
    endStep(progress, page.size());
    return true;
}

} // namespace

void KivRenderer::openCollectedPage(KivBitmapManager& surface, const KivCommonSettings& settings,
                                    const KivCamera& camera, const KivScene* scene, tagSIZE size) {
    forgetVectorFile(surface); // of an earlier render
    KivVectorDrawing& drawing = KivDrawingCollector::current()->begin(scene);
    drawing.width = size.cx;
    drawing.height = size.cy;
    drawing.background = settings.getBackgroundColor() & 0xFFFFFFU;
    drawing.unitsPerPixel = unitsPerPixel(camera, size);
    if (gl2psBeginRecording(KivVectorPage::getBufferSize()) == GL2PS_SUCCESS) {
        GLfloat pointSize = 1.0F;
        glGetFloatv(GL_POINT_SIZE, &pointSize);
        gl2psPointSize(pointSize);
        kivNumberObjects(scene);
    }
}

void KivRenderer::closeCollectedPage(KivProgress* progress) {
    KivDrawingCollector& collector = *KivDrawingCollector::current();
    std::vector<float> recorded;
    kivNumberObjects(nullptr);
    const GLint result = gl2psEndRecording(&recorded);
    KivHostApplicationServices* const host = KivHostApplicationServices::getDefaultHost();
    if (result == GL2PS_OVERFLOW && host != nullptr) {
        host->message(kivText(textVectorOverflow).c_str());
    }
    KivVectorDrawing* const drawing = kivCollectedDrawing();
    if (result != GL2PS_SUCCESS || drawing == nullptr) {
        collector.drop();
        return;
    }
    const RecordedPage page(recorded);
    drawing->areaRim = collector.areas() == KivDrawingCollector::Areas::regions ? 0.0 : rimWidth;
    if (addAreas(page, collector, *drawing, progress) && page.addStrokes(*drawing) && !kivIsCancelled()) {
        collector.end();
    } else {
        collector.drop();
    }
}
