// The rules of the passes: which part of a look each call draws, and the state that it draws in.
#include "shaders/kit/kivshaderpass.h"

#include "support/glsurface.h"

#include <gtest/gtest.h>

namespace {

GLint integer(GLenum name) {
    GLint value = 0;
    glGetIntegerv(name, &value);
    return value;
}

class KivShaderPass : public testing::Test {
protected:
    KivShaderPass() : surface(8, 8) {
        glEnable(GL_STENCIL_TEST);
        glStencilFunc(GL_NOTEQUAL, 103, ~0U);
        glEnable(GL_POLYGON_OFFSET_FILL);
        glPolygonOffset(2.0F, 7.0F);
        glDepthFunc(GL_ALWAYS);
        glEnable(GL_LIGHTING);
    }
    static void expectOffset(float factor, float units) {
        float value = 0.0F;
        glGetFloatv(GL_POLYGON_OFFSET_FACTOR, &value);
        EXPECT_FLOAT_EQ(value, factor);
        glGetFloatv(GL_POLYGON_OFFSET_UNITS, &value);
        EXPECT_FLOAT_EQ(value, units);
    }

    GlSurface surface;
};

TEST_F(KivShaderPass, DepthIsBlackAndNearerByLess) {
    {
        const KivDepthPass pass;
        EXPECT_FALSE(glIsEnabled(GL_BLEND));
        EXPECT_FALSE(glIsEnabled(GL_LIGHTING));
        expectOffset(1.0F, -1.0F);
        float colour[4] = {1, 1, 1, 1};
        glGetFloatv(GL_CURRENT_COLOR, colour);
        EXPECT_EQ(colour[0] + colour[1] + colour[2], 0.0F);
    }
    EXPECT_TRUE(glIsEnabled(GL_LIGHTING)) << "all is as it was";
    expectOffset(2.0F, 7.0F);
}

TEST_F(KivShaderPass, LitPassesAddAndTheThirdAloneLooksAtTheStencil) {
    for (const int pass : {1, 2}) {
        const KivLitPass lit(pass, 0, 0);
        EXPECT_FALSE(glIsEnabled(GL_STENCIL_TEST));
        EXPECT_TRUE(glIsEnabled(GL_BLEND));
        EXPECT_EQ(integer(GL_BLEND_DST), GL_ONE);
        expectOffset(0.75F, -9.0F);
    }
    for (int light = 0; light < 3; ++light) {
        const KivLitPass lit(3, light, 3);
        EXPECT_TRUE(glIsEnabled(GL_STENCIL_TEST));
        EXPECT_EQ(integer(GL_STENCIL_FUNC), GL_GEQUAL);
        EXPECT_EQ(integer(GL_STENCIL_REF), 102 - light);
    }
    EXPECT_EQ(integer(GL_STENCIL_REF), 103);
}

TEST_F(KivShaderPass, TransparentTrianglesTestTheirDepthAgain) {
    {
        const KivTransparentPass pass(1, 0, 2);
        EXPECT_EQ(integer(GL_DEPTH_FUNC), GL_LEQUAL);
        EXPECT_EQ(integer(GL_BLEND_DST), GL_ONE_MINUS_SRC_ALPHA);
        EXPECT_FALSE(glIsEnabled(GL_STENCIL_TEST));
    }
    const KivTransparentPass pass(3, 1, 2);
    EXPECT_EQ(integer(GL_BLEND_DST), GL_ONE);
    EXPECT_EQ(integer(GL_BLEND_SRC), GL_SRC_ALPHA);
    EXPECT_EQ(integer(GL_STENCIL_REF), kivStencilBase);
}

TEST_F(KivShaderPass, APlainSurfaceLiesBehindByTheOffsetOfTheChannel) {
    const KivPlainPass pass(2.5F, 4.0F);
    expectOffset(2.5F, 4.0F);
    EXPECT_FALSE(glIsEnabled(GL_BLEND));
}

TEST(KivPassPart, IsTheWholeLookOrItsShadowAndShares) {
    EXPECT_EQ(kivPartOfPass(1), KivPassPart::shadow);
    EXPECT_EQ(kivPartOfPass(2), KivPassPart::nothing);
    EXPECT_EQ(kivPartOfPass(3), KivPassPart::share);
    EXPECT_EQ(kivPartOfTriangle(1, false, false), KivPassPart::full);
    EXPECT_EQ(kivPartOfTriangle(1, true, false), KivPassPart::shadow);
    EXPECT_EQ(kivPartOfTriangle(2, true, false), KivPassPart::nothing);
    EXPECT_EQ(kivPartOfTriangle(3, true, false), KivPassPart::nothing);
    EXPECT_EQ(kivPartOfTriangle(3, true, true), KivPassPart::share);
    EXPECT_EQ(kivPartOfTriangle(3, false, true), KivPassPart::nothing);
}

} // namespace
