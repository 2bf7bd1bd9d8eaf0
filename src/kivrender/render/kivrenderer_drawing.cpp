// A frame whose drawing a host collects: it is recorded as every vector page is, and becomes data instead of a file.
#include "kivrender/host/kivhostapplicationservices.h"
#include "kivrender/host/kivlanguage.h"
#include "kivrender/render/collectedshadows.h"
#include "kivrender/render/collectedskins.h"
#include "kivrender/render/kivdrawingcollector.h"
#include "kivrender/render/kivmeshwalk.h"
#include "kivrender/render/kivrenderer.h"
#include "kivrender/render/kivshadowcaster.h"
#include "kivrender/render/recordedpage.h"
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivlight.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/shader/kivnoncombinableshader.h"
#include "kivrender/shader/kivobjectnumbers.h"
#include "kivrender/vector/gl2pspage.h"
#include "kivrender/vector/kivvectorpage.h"
#include "kivrender/vector/kivvectorprogress.h"
#include "kivrender/vector/vectorsimplifier.h"

#include <GL/gl.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

namespace {

constexpr unsigned int textVectorOverflow = 129;
constexpr unsigned int textLinesCutShort = 130;
constexpr unsigned int textAreasCutShort = 131;

// Where regions were too much work, comparing more triangles than that would take minutes.
constexpr double mostInExactOrder = 2e5;

// Of areas whose borders are not the same curves: half of it lies outside the area. With less, hairlines
// are seen in librsvg; more takes what it covers from narrow tones.
constexpr double rimWidth = 0.8;

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

// To the picture's places and depths.
KivProjectiveMap pictureFromWorld() {
    const FeedbackView view = viewOfContext();
    double depths[2] = {0.0, 1.0};
    glGetDoublev(GL_DEPTH_RANGE, depths);
    const double half[3] = {0.5 * view.viewport[2], 0.5 * view.viewport[3], 0.5 * (depths[1] - depths[0])};
    const double middle[3] = {view.viewport[0] + half[0], view.viewport[1] + half[1], depths[0] + half[2]};
    KivProjectiveMap clip{}; // OpenGL keeps columns first
    for (std::size_t row = 0; row < 4; ++row) {
        for (std::size_t column = 0; column < 4; ++column) {
            for (std::size_t k = 0; k < 4; ++k) {
                clip[4 * row + column] += view.projection[4 * k + row] * view.modelView[4 * column + k];
            }
        }
    }
    KivProjectiveMap map = clip;
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 4; ++column) {
            map[4 * row + column] = half[row] * clip[4 * row + column] + middle[row] * clip[12 + column];
        }
    }
    return map;
}

KivVec vecOf(const Kiv3DPoint& p) {
    return {p.x, p.y, p.z};
}

// False when the user cancelled.
bool addCasters(KivMesh& mesh, KivCastShadows& cast) {
    constexpr unsigned int trianglesPerPoll = 4096;
    for (unsigned int t = 0; t < mesh.getNumTriangles(); ++t) {
        if (t % trianglesPerPoll == 0 && kivIsCancelled()) {
            return false;
        }
        Kiv3DPoint corners[3];
        if (mesh.getTriangle(corners, t)) {
            cast.addCaster({vecOf(corners[0]), vecOf(corners[1]), vecOf(corners[2])});
        }
    }
    return true;
}

bool castsLight(const KivLight& light) {
    return light.getStyle() == KivLight::directionalLight || light.getStyle() == KivLight::pointLight ||
           light.getStyle() == KivLight::spotLight;
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

bool addAreas(const RecordedPage& page, const KivDrawingCollector& collector, CollectedShadows* shadows,
              KivVectorDrawing& drawing, KivProgress* progress) {
    const KivDrawingCollector::Areas areas = collector.areas();
    if (areas == KivDrawingCollector::Areas::faces) {
        return addFaces(page, drawing, progress);
    }
    beginStep(progress, page.size());
    RegionRules rules;
    rules.tolerance = collector.getTolerance();
    rules.smallestTone = collector.getSmallestTone();
    rules.shadows = shadows;
    rules.skins = collector.collectedSkins();
    bool tooMuch = false;
    bool done = areas == KivDrawingCollector::Areas::regions && page.addRegions(drawing, rules, &tooMuch);
    if (areas == KivDrawingCollector::Areas::triangles || tooMuch) {
        drawing.areaRim = rimWidth;
        const bool isHuge = tooMuch && static_cast<double>(page.size()) > mostInExactOrder * drawing.effort;
        done = page.addTriangles(drawing, isHuge ? RecordedPage::Order::byDepth : RecordedPage::Order::exact);
    }
    if (tooMuch) {
        drawing.messages.push_back(kivText(textAreasCutShort));
    }
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

bool KivRenderer::recordShadows(KivNonCombinableShader* defaultShader, const KivCommonSettings& settings,
                                const KivCamera& camera, KivScene& scene, KivBitmapManager* surface) {
    KivNonCombinableShader* list[kivMaxShaders] = {};
    const int count = getAllNonCombinableShaders(list);
    const auto shaderOf = [&](const KivMesh* mesh) {
        return getNonCombinableShaderForThisMesh(mesh, count, list, defaultShader);
    };
    auto shadows = std::make_unique<CollectedShadows>(pictureFromWorld());
    shadows->result = gl2psEndRecording(&shadows->page);
    const KivMeshWalk walk(scene, settings, surface, nullptr, shaderOf);
    // A recording that was too large stays the last one, and known as such.
    for (int pass = 1; pass <= 2 && shadows->result == GL2PS_SUCCESS; ++pass) {
        if (kivIsCancelled()) {
            return false;
        }
        shadows->result = gl2psBeginRecording(KivVectorPage::getBufferSize());
        if (shadows->result != GL2PS_SUCCESS) {
            break;
        }
        walk.run([&](KivNonCombinableShader& shader, KivMesh& mesh, int) {
            shader.renderMeshPass(&mesh, nullptr, 0, 0, settings, &scene, pass, camera, true);
        });
        shadows->result = gl2psEndRecording(pass == 1 ? &shadows->withoutAny : &shadows->emission);
    }
    for (unsigned int m = 0; KivMesh* mesh = scene.getMesh(m); ++m) {
        if (shaderOf(mesh) != nullptr && kivCastsShadow(*mesh, camera, settings) && !addCasters(*mesh, shadows->cast)) {
            return false;
        }
    }
    for (unsigned int l = 0; l < scene.numLights(); ++l) {
        if (const KivLight* light = scene.getLight(l); light != nullptr && castsLight(*light)) {
            shadows->cast.addLight(vecOf(light->getLocation())); // shadows spread from there, whatever the style
        }
    }
    KivDrawingCollector::current()->collectedShadows() = std::move(shadows);
    return !kivIsCancelled();
}

void KivRenderer::closeCollectedPage(KivProgress* progress) {
    KivDrawingCollector& collector = *KivDrawingCollector::current();
    std::vector<float> recorded;
    kivNumberObjects(nullptr);
    CollectedShadows* const shadows = collector.collectedShadows().get();
    const GLint result = shadows != nullptr ? shadows->result : gl2psEndRecording(&recorded);
    if (shadows != nullptr) {
        recorded.swap(shadows->page);
    }
    KivHostApplicationServices* const host = KivHostApplicationServices::getDefaultHost();
    if (result == GL2PS_OVERFLOW && host != nullptr) {
        host->message(kivText(textVectorOverflow).c_str());
    }
    KivVectorDrawing* const drawing = kivCollectedDrawing();
    if (result != GL2PS_SUCCESS || drawing == nullptr) {
        collector.drop();
        return;
    }
    // What shaders have laid over the surfaces.
    std::vector<KivArea> printed = std::exchange(drawing->areas, {});
    if (CollectedSkins* const skins = collector.collectedSkins()) {
        skins->pictureFromWorld = pictureFromWorld();
    }
    const RecordedPage page(recorded);
    drawing->areaRim = collector.areas() == KivDrawingCollector::Areas::regions ? 0.0 : rimWidth;
    if (addAreas(page, collector, shadows, *drawing, progress) && page.addStrokes(*drawing) && !kivIsCancelled()) {
        std::move(printed.begin(), printed.end(), std::back_inserter(drawing->areas));
        if (drawing->linesAreCutShort) {
            drawing->messages.push_back(kivText(textLinesCutShort));
        }
        for (const std::wstring& message : drawing->messages) {
            if (host != nullptr) {
                host->message(message.c_str());
            }
        }
        collector.end();
    } else {
        collector.drop();
    }
}
