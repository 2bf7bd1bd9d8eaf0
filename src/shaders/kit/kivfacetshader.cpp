#include "shaders/kit/kivfacetshader.h"

#include "kivrender/scene/kivmaterial.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/shader/kivdrawing.h"
#include "kivrender/shader/kivshadercommunication.h"

#include <algorithm>
#include <cmath>

// What the facets of one call have in common.
struct KivFacetShader::Brush {
    const KivScene& scene;
    const KivTablePageSettings& look;
    KivPassPart part = KivPassPart::full;
    int lightIndex = 0;
    int numLights = 1;
    bool vectorial = false;
};

namespace {

int byteOf(double value) {
    return static_cast<int>(std::lround(std::clamp(value, 0.0, 1.0) * 255.0));
}

// The steps from the shadow's tone to the full one, shared out so that all parts together give exactly the full one: a
// picture has whole steps alone.
int shareOf(int shadow, int full, int index, int count) {
    const int steps = std::max(full - shadow, 0);
    return count > 0 ? steps * (index + 1) / count - steps * index / count : 0;
}

Kiv3DPoint middleOf(const Kiv3DPoint* p) {
    return {(p[0].x + p[1].x + p[2].x) / 3, (p[0].y + p[1].y + p[2].y) / 3, (p[0].z + p[1].z + p[2].z) / 3};
}

// A facet without an area shows nothing in a picture, but some readers of drawings make a line of it. What is left of
// one by rounding is smaller than this part of the square of its longest side.
bool hasArea(const Kiv3DPoint* points) {
    constexpr double least = 1e-10;
    const Kiv3DVector sides[3] = {points[1] - points[0], points[2] - points[1], points[0] - points[2]};
    double longest = 0.0;
    for (const Kiv3DVector& side : sides) {
        longest = std::max(longest, side.norm());
    }
    return (sides[0] * sides[1]).norm() > least * longest * longest;
}

} // namespace

double KivFacetShader::lightFromBehind(const KivTablePageSettings&) const {
    return 0.0;
}

// Begin and end stand around it.
void KivFacetShader::drawFacet(const Kiv3DPoint* points, const Kiv3DVector& normal, const KivMesh& mesh,
                               const Brush& brush) {
    if (!hasArea(points)) {
        return;
    }
    const double behind = std::clamp(lightFromBehind(brush.look), 0.0, 1.0);
    doubleSided = behind > 0.0;
    const double light =
        std::clamp(calculateLightIncidence(middleOf(points), normal, &brush.scene, 1.0 - behind), 0.0, 1.0);
    const KivFacetColour full = colourOf(mesh, brush.look, light);
    const KivFacetColour shadow = brush.part == KivPassPart::full ? full : colourOf(mesh, brush.look, 0.0);
    float parts[3] = {};
    for (std::size_t c = 0; c < 3; ++c) {
        const int step = brush.part == KivPassPart::share
                             ? shareOf(byteOf(shadow[c]), byteOf(full[c]), brush.lightIndex, brush.numLights)
                             : byteOf(brush.part == KivPassPart::shadow ? shadow[c] : full[c]);
        parts[c] = static_cast<float>(step) / 255.0F;
    }
    const auto alpha = static_cast<float>(std::clamp(mesh.getMaterial()->getTransparency(), 0.0, 1.0));
    KivDrawing::setColor(parts[0], parts[1], parts[2], alpha, brush.vectorial);
    KivDrawing::drawTriangle(points, brush.vectorial);
}

void KivFacetShader::drawMesh(const KivMesh& mesh, const Brush& brush) {
    KivDrawing::beginObject(&mesh, brush.vectorial);
    KivDrawing::beginDrawing(brush.vectorial, KivDrawing::triangles);
    for (unsigned int t = 0; t < mesh.getNumTriangles(); ++t) {
        Kiv3DPoint points[3];
        if (mesh.getTriangle(points, t)) {
            drawFacet(points, mesh.getTriangleNormal(t).normal(), mesh, brush);
        }
    }
    KivDrawing::endDrawing(brush.vectorial);
}

// The far sides step back twice as far as the near ones: along an outline, where a near side is steep, its step would
// else take it behind them, and they would show in specks.
void KivFacetShader::drawPlain(const KivMesh& mesh, const Brush& brush, float factor, float units) {
    for (const bool front : {false, true}) {
        const float times = front ? 1.0F : 2.0F;
        const KivPlainPass state(factor * times, units * times);
        glEnable(GL_CULL_FACE);
        glCullFace(front ? GL_BACK : GL_FRONT);
        drawMesh(mesh, brush);
    }
}

void KivFacetShader::render(KivBitmapManager* surface, const KivCommonSettings& settings, const KivCamera&,
                            KivScene* scene, tagSIZE, KivShaderCommunication& communication, bool named) {
    float factor = 0.0F;
    float units = 0.0F;
    communication.getPolygonOffset(&factor, &units);
    for (unsigned int i = 0; i < scene->numMeshes() && !kivIsCancelled(); ++i) {
        const KivMesh* const mesh = scene->getMesh(i);
        if (mesh == nullptr || !kivIsForShader(*mesh, getTag(), named)) {
            continue;
        }
        drawPlain(*mesh, {*scene, settingsOf(*mesh), KivPassPart::full, 0, 1, settings.doVectorial()}, factor, units);
        if (KivProgress* const progress = kivCurrentProgress()) {
            progress->advance(2, false);
        }
        flushAndShow(surface, settings.doVectorial());
    }
}

unsigned int KivFacetShader::getProgressSteps(KivScene* scene, const KivCommonSettings&) {
    return scene->numMeshes() * 3;
}

void KivFacetShader::prepareObjectRendering(const KivCommonSettings&, KivScene*) {}

void KivFacetShader::renderMeshDepth(const KivMesh* mesh, const KivCommonSettings&, KivScene*, KivShadows&,
                                     const KivCamera&, bool vectorial) {
    const KivDepthPass pass;
    KivDrawing::beginDrawing(vectorial, KivDrawing::triangles);
    for (unsigned int t = 0; t < mesh->getNumTriangles(); ++t) {
        Kiv3DPoint points[3];
        if (mesh->getTriangle(points, t) && hasArea(points)) {
            KivDrawing::drawTriangle(points, vectorial);
        }
    }
    KivDrawing::endDrawing(vectorial);
}

void KivFacetShader::reservedSlot(const KivMesh*) {}

void KivFacetShader::renderMeshPass(const KivMesh* mesh, const KivLight*, int lightIndex, int numLights,
                                    const KivCommonSettings&, KivScene* scene, int pass, const KivCamera&,
                                    bool vectorial) {
    const KivPassPart part = kivPartOfPass(pass);
    if (part != KivPassPart::nothing) {
        const KivLitPass state(pass, lightIndex, numLights);
        drawMesh(*mesh, {*scene, settingsOf(*mesh), part, lightIndex, numLights, vectorial});
    }
}

void KivFacetShader::beginTransparency(bool) {
    isPageMixed = false;
}

void KivFacetShader::renderOpaqueMesh(const KivMesh* mesh, const KivCommonSettings&, KivScene* scene, const KivCamera&,
                                      int, KivNonCombinableShader*, int pass, bool vectorial) {
    if (pass == 1) {
        float factor = 0.0F;
        float units = 0.0F;
        glGetFloatv(GL_POLYGON_OFFSET_FACTOR, &factor);
        glGetFloatv(GL_POLYGON_OFFSET_UNITS, &units);
        drawPlain(*mesh, {*scene, settingsOf(*mesh), KivPassPart::full, 0, 1, vectorial}, factor, units);
    }
}

void KivFacetShader::renderTransparentTriangle(const Kiv3DPoint* points, const Kiv3DVector* normals,
                                               const KivMesh* mesh, KivScene* scene, const KivCamera&,
                                               const KivCommonSettings&, int, int, KivNonCombinableShader*,
                                               KivShadows* shadows, int pass, const KivLight* light, int lightIndex,
                                               int numLights, bool vectorial) {
    const KivPassPart part = kivPartOfTriangle(pass, shadows != nullptr, light != nullptr);
    if (part == KivPassPart::nothing) {
        return;
    }
    if (vectorial && !isPageMixed) {
        KivDrawing::enableTransparency(true, true); // what the page holds so far covers; from here on it mixes
        isPageMixed = true;
    }
    Kiv3DVector normal = ((points[1] - points[0]) * (points[2] - points[0])).normal();
    const Kiv3DVector outward = normals[0] + normals[1] + normals[2];
    if (normal.x * outward.x + normal.y * outward.y + normal.z * outward.z < 0.0) {
        normal = Kiv3DVector(-normal.x, -normal.y, -normal.z);
    }
    const KivTransparentPass state(pass, lightIndex, numLights);
    KivDrawing::beginObject(mesh, vectorial);
    KivDrawing::beginDrawing(vectorial, KivDrawing::triangles);
    drawFacet(points, normal, *mesh, {*scene, settingsOf(*mesh), part, lightIndex, numLights, vectorial});
    KivDrawing::endDrawing(vectorial);
}

void KivFacetShader::endTransparentTriangle(int, int, int, bool) {}

void KivFacetShader::endTransparency(bool vectorial) {
    if (isPageMixed) {
        KivDrawing::enableTransparency(false, vectorial);
        isPageMixed = false;
    }
}
