#include "shaders/kit/kivshaderpass.h"

namespace {

// How much nearer than the state of the passes has it surfaces lie in the depth pass, and in the passes that paint: in
// slopes and in steps of the depth buffer. Volumes end in the same triangles in another order of corners; over long
// thin triangles their depths differ by more than the few steps that the state allows for, and surfaces would shade
// themselves in specks.
constexpr float depthSlopes = 1.0F;
constexpr float depthSteps = 8.0F;
constexpr float paintSlopes = 1.25F;
constexpr float paintSteps = 16.0F;

void bringForward(float slopes, float steps) {
    float factor = 0.0F;
    float units = 0.0F;
    glGetFloatv(GL_POLYGON_OFFSET_FACTOR, &factor);
    glGetFloatv(GL_POLYGON_OFFSET_UNITS, &units);
    glPolygonOffset(factor - slopes, units - steps);
}

// Through come the pixels that have kept more lights than the calls before this one have used up.
void testLost(int lightIndex, int numLights) {
    glStencilFunc(GL_GEQUAL, kivStencilBase + numLights - 1 - lightIndex, ~0U);
}

void paintPlainColours() {
    glDisable(GL_LIGHTING);
    glDisable(GL_TEXTURE_1D);
    glDisable(GL_TEXTURE_2D);
    glDisable(GL_COLOR_MATERIAL);
}

} // namespace

KivDepthPass::KivDepthPass() {
    paintPlainColours();
    bringForward(depthSlopes, depthSteps);
    glDisable(GL_BLEND);
    glColor4f(0.0F, 0.0F, 0.0F, 1.0F);
}

KivLitPass::KivLitPass(int pass, int lightIndex, int numLights) {
    paintPlainColours();
    bringForward(paintSlopes, paintSteps);
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE);
    if (pass == 3) {
        testLost(lightIndex, numLights);
    } else {
        // The test of the volumes is still on and lets nothing through where all lights are lost.
        glDisable(GL_STENCIL_TEST);
    }
}

KivPlainPass::KivPlainPass(float offsetFactor, float offsetUnits) {
    paintPlainColours();
    glDisable(GL_BLEND);
    glEnable(GL_POLYGON_OFFSET_FILL);
    glPolygonOffset(offsetFactor, offsetUnits);
}

KivTransparentPass::KivTransparentPass(int pass, int lightIndex, int numLights) {
    paintPlainColours();
    glEnable(GL_BLEND);
    // With shadows the depth of the opaque scene was written back, and the test that let it through is still set.
    glDepthFunc(GL_LEQUAL);
    if (pass == 3) {
        glBlendFunc(GL_SRC_ALPHA, GL_ONE);
        testLost(lightIndex, numLights);
    } else {
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
        glDisable(GL_STENCIL_TEST);
    }
}

KivPassPart kivPartOfPass(int pass) {
    return pass == 1 ? KivPassPart::shadow : pass == 3 ? KivPassPart::share : KivPassPart::nothing;
}

KivPassPart kivPartOfTriangle(int pass, bool hasShadows, bool hasLight) {
    if (pass == 1) {
        return hasShadows ? KivPassPart::shadow : KivPassPart::full;
    }
    return pass == 3 && hasShadows && hasLight ? KivPassPart::share : KivPassPart::nothing;
}
