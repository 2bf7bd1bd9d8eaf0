// The drawing calls, by what OpenGL then has and by pixels.
#include "kivrender/shader/kivdrawing.h"

#include "kivrender/scene/kivline.h"
#include "kivrender/scene/kivpolyline.h"
#include "kivrender/shader/kivshadercommunication.h"
#include "support/glsurface.h"
#include "support/testhost.h"

#include <GL/gl.h>
#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>
#include <gl2ps.h>
#include <gtest/gtest.h>
#include <vector>

namespace {

using Quad = std::array<float, 4>;

Quad current(GLenum what) {
    Quad values{};
    glGetFloatv(what, values.data());
    return values;
}

Quad materialOf(GLenum face, GLenum what) {
    Quad values{};
    glGetMaterialfv(face, what, values.data());
    return values;
}

Quad bytes(int red, int green, int blue, float alpha = 1.0F) {
    return {static_cast<float>(red) / 255.0F, static_cast<float>(green) / 255.0F, static_cast<float>(blue) / 255.0F,
            alpha};
}

void expectNear(const Quad& actual, const Quad& expected, float tolerance = 1e-6F) {
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_NEAR(actual[i], expected[i], tolerance) << "component " << i;
    }
}

// Without a default channel at the beginning and the end.
class KivDrawingCalls : public testing::Test {
protected:
    ~KivDrawingCalls() override {
        KivShaderCommunication::setDefaultCommunication(nullptr);
    }

    static KivMaterial sample() {
        KivMaterial material;
        material.setAmbient(0x0A0B0C);
        material.setDiffuse(0x30A0FF); // blue 0x30, green 0xA0, red 0xFF
        material.setEmission(0x102030);
        material.setSpecular(0x405060);
        material.setShine(127.5);
        material.setTransparency(0.25);
        return material;
    }

    TestHost host;
    GlSurface surface;
    KivShaderCommunication channel;
};

TEST_F(KivDrawingCalls, ObjectTypesBeginTheirPrimitives) {
    const Kiv3DPoint points[4] = {{-1.0, -1.0, 0.0}, {1.0, -1.0, 0.0}, {1.0, 1.0, 0.0}, {-1.0, 1.0, 0.0}};
    const auto draw = [&](KivDrawing::objectType type) {
        glClear(GL_COLOR_BUFFER_BIT);
        KivDrawing::setColor(1.0F, 1.0F, 1.0F, 1.0F, false);
        KivDrawing::beginDrawing(false, type);
        KivDrawing::drawPolygon(points, 4, false);
        KivDrawing::endDrawing(false);
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
        int lit = 0;
        for (int y = 0; y < 64; ++y) {
            for (int x = 0; x < 64; ++x) {
                lit += GlSurface::pixel(x, y) != 0 ? 1 : 0;
            }
        }
        return lit;
    };
    EXPECT_NEAR(draw(KivDrawing::triangles), 64 * 64 / 2, 64) << "one triangle, the fourth point belongs to none";
    EXPECT_EQ(draw(KivDrawing::polygon), 64 * 64);
    EXPECT_GT(draw(KivDrawing::lineStrip), 60);
    EXPECT_LT(draw(KivDrawing::lineStrip), 64 * 4);
    EXPECT_LE(draw(KivDrawing::points), 4);
}

TEST_F(KivDrawingCalls, AnUnknownTypeBeginsNothingAndTheEndIsTheCallersError) {
    KivDrawing::beginDrawing(false, static_cast<KivDrawing::objectType>(4));
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    KivDrawing::endDrawing(false);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_INVALID_OPERATION));
}

TEST_F(KivDrawingCalls, ColorsComeAsSignedBytesOrFloats) {
    KivDrawing::setColor(static_cast<char>(127), static_cast<char>(0), static_cast<char>(63), static_cast<char>(127),
                         false);
    expectNear(current(GL_CURRENT_COLOR), {1.0F, 1.0F / 255.0F, 127.0F / 255.0F, 1.0F}, 5e-3F);
    KivDrawing::setColor(0.125F, 0.25F, 0.5F, 0.75F, true);
    expectNear(current(GL_CURRENT_COLOR), {0.125F, 0.25F, 0.5F, 0.75F});
}

TEST_F(KivDrawingCalls, AMaterialSetsColorsAndShine) {
    const KivMaterial material = [] {
        KivMaterial copy;
        copy = sample();
        return copy;
    }();
    KivMaterial used;
    used = material;
    used.setDiffuse(0x30A0FF);
    KivDrawing::setMaterial(&used, false);
    for (const GLenum face : {GL_FRONT, GL_BACK}) {
        expectNear(materialOf(face, GL_AMBIENT), bytes(0xFF, 0xA0, 0x30));
        expectNear(materialOf(face, GL_DIFFUSE), bytes(0xFF, 0xA0, 0x30));
    }
    expectNear(materialOf(GL_FRONT, GL_EMISSION), bytes(0x30, 0x20, 0x10));
    expectNear(materialOf(GL_BACK, GL_EMISSION), bytes(0, 0, 0));
    expectNear(materialOf(GL_FRONT, GL_SPECULAR), bytes(0x60, 0x50, 0x40));
    expectNear(materialOf(GL_BACK, GL_SPECULAR), bytes(0, 0, 0));
    EXPECT_FLOAT_EQ(materialOf(GL_FRONT, GL_SHININESS)[0], 64.0F);
    EXPECT_EQ(materialOf(GL_BACK, GL_SHININESS)[0], 0.0F);
    EXPECT_TRUE(glIsEnabled(GL_COLOR_MATERIAL));
    expectNear(current(GL_CURRENT_COLOR), bytes(0xFF, 0xA0, 0x30));
}

TEST_F(KivDrawingCalls, AMaterialWithoutShineHasNoSpecularColor) {
    KivMaterial material;
    material = sample();
    KivDrawing::setMaterial(&material, false); // something to be undone
    material.setShine(0.0);
    KivDrawing::setMaterial(&material, false);
    expectNear(materialOf(GL_FRONT, GL_SPECULAR), {0.0F, 0.0F, 0.0F, 1.0F});
    EXPECT_EQ(materialOf(GL_FRONT, GL_SHININESS)[0], 0.0F);
}

TEST_F(KivDrawingCalls, TheLargestShineIsOpenGlsLargest) {
    KivMaterial material;
    material.setShine(KivMaterial::maxShine());
    KivDrawing::setMaterial(&material, false);
    EXPECT_EQ(materialOf(GL_FRONT, GL_SHININESS)[0], 128.0F);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

TEST_F(KivDrawingCalls, TransparencyBecomesAlphaOnlyThroughTheChannel) {
    KivMaterial material;
    material = sample();
    KivDrawing::setMaterial(&material, false);
    EXPECT_EQ(current(GL_CURRENT_COLOR)[3], 1.0F) << "no channel";
    KivShaderCommunication::setDefaultCommunication(&channel);
    KivDrawing::setMaterial(&material, false);
    EXPECT_EQ(current(GL_CURRENT_COLOR)[3], 1.0F) << "a channel without transparency";
    channel.setTransparency(true);
    KivDrawing::setMaterial(&material, false);
    EXPECT_EQ(current(GL_CURRENT_COLOR)[3], 0.25F);
}

TEST_F(KivDrawingCalls, PointsSendTheirNormals) {
    KivDrawing::setColor(1.0F, 1.0F, 1.0F, 1.0F, false);
    KivDrawing::beginDrawing(false, KivDrawing::points);
    KivDrawing::drawPoint(Kiv3DPoint(0.01, 0.01, 0.0), Kiv3DVector(0.0, 3.0, 4.0), false);
    KivDrawing::drawPoint(Kiv3DPoint(-0.51, -0.51, 0.0), false);
    KivDrawing::endDrawing(false);
    expectNear(current(GL_CURRENT_NORMAL), {0.0F, 3.0F, 4.0F, 0.0F});
    EXPECT_EQ(GlSurface::pixel(32, 32), 0xFFFFFFU);
    EXPECT_EQ(GlSurface::pixel(15, 15), 0xFFFFFFU);
}

TEST_F(KivDrawingCalls, ALineHasTwoEnds) {
    KivDrawing::setColor(1.0F, 1.0F, 1.0F, 1.0F, false);
    KivDrawing::beginDrawing(false, KivDrawing::lineStrip);
    KivDrawing::drawLine(KivLine({-0.9, 0.01, 0.0}, {0.9, 0.01, 0.0}), false);
    KivDrawing::endDrawing(false);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    EXPECT_EQ(GlSurface::pixel(10, 32), 0xFFFFFFU);
    EXPECT_EQ(GlSurface::pixel(54, 32), 0xFFFFFFU);
    EXPECT_EQ(GlSurface::pixel(32, 40), 0U);
}

TEST_F(KivDrawingCalls, BrightPartsOfAPolylinesColorGoDark) {
    KivPolyline polyline;
    polyline.addPoint({-0.9, 0.01, 0.0});
    polyline.addPoint({0.0, 0.01, 0.0});
    polyline.addPoint({0.9, 0.01, 0.0});
    polyline.setColor(0xFF4020); // blue 255, green 64, red 32
    KivDrawing::drawPolyline(polyline, false);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR)) << "complete in itself";
    // A signed byte b stands for (2 b + 1) / 255, or b / 127 in newer versions of OpenGL.
    for (const int x : {10, 32, 54}) {
        const std::uint32_t pixel = GlSurface::pixel(x, 32);
        EXPECT_NEAR(static_cast<int>(pixel & 0xFFU), 65, 1);
        EXPECT_NEAR(static_cast<int>(pixel >> 8U & 0xFFU), 129, 1);
        EXPECT_EQ(pixel >> 16U & 0xFFU, 0U) << "255 arrives as -1";
    }
    EXPECT_NEAR(current(GL_CURRENT_COLOR)[3], 1.0F / 127.0F, 5e-3F);
    EXPECT_GT(current(GL_CURRENT_COLOR)[3], 0.0F);
}

TEST_F(KivDrawingCalls, TrianglesComeWithThreeNormalsOneOrNone) {
    const Kiv3DPoint points[3] = {{-1.0, -1.0, 0.0}, {1.0, -1.0, 0.0}, {0.0, 1.0, 0.0}};
    const Kiv3DVector normals[3] = {{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 5.0}};
    KivDrawing::setColor(0.0F, 1.0F, 0.0F, 1.0F, false);
    KivDrawing::beginDrawing(false, KivDrawing::triangles);
    KivDrawing::drawTriangle(points, normals, static_cast<KivMaterial::textureMode>(0), false);
    KivDrawing::endDrawing(false);
    EXPECT_EQ(GlSurface::pixel(32, 10), 0x00FF00U);
    expectNear(current(GL_CURRENT_NORMAL), {0.0F, 0.0F, 5.0F, 0.0F}); // of the last corner

    KivDrawing::setColor(0.0F, 0.0F, 1.0F, 1.0F, false);
    KivDrawing::beginDrawing(false, KivDrawing::triangles);
    KivDrawing::drawTriangle(points, Kiv3DVector(0.0, 7.0, 0.0), static_cast<KivMaterial::textureMode>(0), false);
    KivDrawing::endDrawing(false);
    EXPECT_EQ(GlSurface::pixel(32, 10), 0xFF0000U);
    expectNear(current(GL_CURRENT_NORMAL), {0.0F, 7.0F, 0.0F, 0.0F});

    KivDrawing::setColor(1.0F, 0.0F, 0.0F, 1.0F, false);
    KivDrawing::beginDrawing(false, KivDrawing::triangles);
    KivDrawing::drawTriangle(points, false);
    KivDrawing::endDrawing(false);
    EXPECT_EQ(GlSurface::pixel(32, 10), 0x0000FFU);
    expectNear(current(GL_CURRENT_NORMAL), {0.0F, 7.0F, 0.0F, 0.0F}); // untouched
}

// Light from the viewer: a corner shines as far as its normal points there. So each corner got its own normal.
TEST_F(KivDrawingCalls, EachCornerGetsItsNormal) {
    const Kiv3DPoint points[3] = {{-1.0, -1.0, 0.0}, {3.0, -1.0, 0.0}, {-1.0, 3.0, 0.0}};
    const Kiv3DVector normals[3] = {{0.0, 0.0, 1.0}, {1.0, 0.0, 0.0}, {1.0, 0.0, 0.0}};
    const Quad white = {1.0F, 1.0F, 1.0F, 1.0F};
    const Quad black = {0.0F, 0.0F, 0.0F, 1.0F};
    glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, white.data());
    glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT, black.data());
    glEnable(GL_LIGHT0);
    KivDrawing::enableLighting(true, false);
    KivDrawing::beginDrawing(false, KivDrawing::triangles);
    KivDrawing::drawTriangle(points, normals, static_cast<KivMaterial::textureMode>(0), false);
    KivDrawing::endDrawing(false);
    EXPECT_GT(GlSurface::pixel(1, 1) & 0xFFU, 240U);
    EXPECT_NEAR(static_cast<int>(GlSurface::pixel(63, 1) & 0xFFU), 128, 6);
    EXPECT_LT(GlSurface::pixel(62, 62) & 0xFFU, 10U);
}

TEST_F(KivDrawingCalls, EnablingLightingClearsAPendingError) {
    glEnable(0xFFFFF);
    KivDrawing::enableLighting(true, false);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    EXPECT_TRUE(glIsEnabled(GL_LIGHTING));
    KivDrawing::enableLighting(false, true);
    EXPECT_FALSE(glIsEnabled(GL_LIGHTING));
}

TEST_F(KivDrawingCalls, TransparencyTurnsBlendingAndTheChannel) {
    KivShaderCommunication::setDefaultCommunication(&channel);
    for (const bool vectorial : {false, true}) {
        KivDrawing::enableTransparency(true, vectorial);
        EXPECT_TRUE(glIsEnabled(GL_BLEND));
        EXPECT_TRUE(channel.doTransparency());
        GLint source = 0;
        GLint target = 0;
        glGetIntegerv(GL_BLEND_SRC, &source);
        glGetIntegerv(GL_BLEND_DST, &target);
        EXPECT_EQ(source, GL_SRC_ALPHA);
        EXPECT_EQ(target, GL_ONE_MINUS_SRC_ALPHA);
        KivDrawing::enableTransparency(false, vectorial);
        EXPECT_FALSE(glIsEnabled(GL_BLEND));
        EXPECT_FALSE(channel.doTransparency());
    }
}

TEST_F(KivDrawingCalls, TransparencyWorksWithoutAChannel) {
    KivDrawing::enableTransparency(true, false);
    EXPECT_TRUE(glIsEnabled(GL_BLEND));
    KivDrawing::enableTransparency(false, false);
    EXPECT_FALSE(glIsEnabled(GL_BLEND));
}

// What the page of gl2ps records of some calls, beside what OpenGL does at once.
std::vector<GLfloat> recorded(const std::function<void()>& calls) {
    std::FILE* const file = std::tmpfile();
    EXPECT_EQ(gl2psBeginPage("", "", nullptr, GL2PS_SVG, GL2PS_SIMPLE_SORT, GL2PS_USE_CURRENT_VIEWPORT, GL_RGBA, 0,
                             nullptr, 0, 0, 0, 1 << 16, file, nullptr),
              GL2PS_SUCCESS);
    calls();
    GLvoid* buffer = nullptr;
    const GLint count = glRenderMode(GL_RENDER);
    glGetPointerv(GL_FEEDBACK_BUFFER_POINTER, &buffer);
    const auto* const values = static_cast<const GLfloat*>(buffer);
    std::vector<GLfloat> found(values, values + std::max(count, 0));
    gl2psEndPage();
    std::fclose(file);
    return found;
}

TEST_F(KivDrawingCalls, TransparencyIsToldToAVectorPageOnly) {
    const auto on = recorded([] {
        gl2psEnable(GL2PS_BLEND);
        gl2psBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    });
    const auto off = recorded([] { gl2psDisable(GL2PS_BLEND); });
    ASSERT_FALSE(on.empty());
    ASSERT_FALSE(off.empty());
    EXPECT_EQ(recorded([] { KivDrawing::enableTransparency(true, true); }), on);
    EXPECT_EQ(recorded([] { KivDrawing::enableTransparency(false, true); }), off);
    EXPECT_TRUE(recorded([] { KivDrawing::enableTransparency(true, false); }).empty());
    EXPECT_TRUE(recorded([] { KivDrawing::enableTransparency(false, false); }).empty());
}

TEST_F(KivDrawingCalls, ColorsBecomeTheMaterialOnceAsked) {
    KivDrawing::startSettingColors(false);
    EXPECT_TRUE(glIsEnabled(GL_COLOR_MATERIAL));
    KivDrawing::setColor(0.25F, 0.5F, 0.75F, 1.0F, false);
    for (const GLenum face : {GL_FRONT, GL_BACK}) {
        expectNear(materialOf(face, GL_DIFFUSE), {0.25F, 0.5F, 0.75F, 1.0F});
        expectNear(materialOf(face, GL_AMBIENT), {0.25F, 0.5F, 0.75F, 1.0F});
    }
}

} // namespace
