// What of the drawing survives while the picture is lent out, and the driver made ready ahead of time.
#include "surface_fixture.h"

#include "kivrender/platform/kivglwarmup.h"

#define GL_GLEXT_PROTOTYPES
#include <EGL/egl.h>
#include <GL/gl.h>
#include <GL/glext.h>

#include <array>
#include <thread>
#include <unistd.h>

namespace {

constexpr std::uint32_t red = 0x0000FF;
constexpr std::uint32_t green = 0x00FF00;

// A rectangle over all of the picture at a depth from -1 (near) to 1.
void fill(float r, float g, float b, float depth) {
    glColor3f(r, g, b);
    glBegin(GL_QUADS);
    glVertex3f(-1, -1, depth);
    glVertex3f(1, -1, depth);
    glVertex3f(1, 1, depth);
    glVertex3f(-1, 1, depth);
    glEnd();
}

GLint integer(GLenum name) {
    GLint value = 0;
    glGetIntegerv(name, &value);
    return value;
}

bool lendOut(KivBitmapManager& surface) {
    return wglLockBitmap(&surface) != nullptr && wglUnLockBitmap(&surface, surface.getHGLRC()) == 1;
}

} // namespace

TEST_F(SurfaceTest, AFreshContextIsAsAWindowsWouldBe) {
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {30, 20}));
    std::array<GLint, 4> viewport{};
    glGetIntegerv(GL_VIEWPORT, viewport.data());
    EXPECT_EQ(viewport, (std::array<GLint, 4>{0, 0, 30, 20}));
    EXPECT_GE(integer(GL_STENCIL_BITS), 8);
    EXPECT_GE(integer(GL_DEPTH_BITS), 32);
    EXPECT_EQ(integer(GL_TEXTURE_BINDING_2D), 0);
    std::array<GLfloat, 4> raster{};
    glGetFloatv(GL_CURRENT_RASTER_POSITION, raster.data());
    EXPECT_EQ(raster, (std::array<GLfloat, 4>{0, 0, 0, 1}));
    GLfloat clearDepth = 0;
    glGetFloatv(GL_DEPTH_CLEAR_VALUE, &clearDepth);
    EXPECT_EQ(clearDepth, 1.0F);
    std::array<std::uint32_t, 600> pixels{};
    glReadPixels(0, 0, 30, 20, GL_BGRA, GL_UNSIGNED_BYTE, pixels.data());
    EXPECT_EQ(pixels, (std::array<std::uint32_t, 600>{})) << "the picture is black";
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    std::array<GLubyte, 600> stencil{};
    glReadPixels(0, 0, 30, 20, GL_STENCIL_INDEX, GL_UNSIGNED_BYTE, stencil.data());
    EXPECT_EQ(stencil, (std::array<GLubyte, 600>{}));
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    EXPECT_EQ(glIsTexture(1), GL_FALSE) << "small names are the shaders'";
}

TEST_F(SurfaceTest, DrawingGoesOnWhereItStood) {
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {8, 8}));
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_STENCIL_TEST);
    glStencilFunc(GL_ALWAYS, 0x5A, 0xFF);
    glStencilOp(GL_KEEP, GL_KEEP, GL_REPLACE);
    fill(1, 0, 0, 0.25F);
    GLfloat depth = 0;
    glReadPixels(3, 3, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &depth);
    ASSERT_TRUE(lendOut(surface));
    GLfloat depthAfter = 0;
    glReadPixels(3, 3, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &depthAfter);
    EXPECT_EQ(depthAfter, depth);
    GLubyte stencil = 0;
    glReadPixels(3, 3, 1, 1, GL_STENCIL_INDEX, GL_UNSIGNED_BYTE, &stencil);
    EXPECT_EQ(stencil, 0x5A);
    EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST));
    fill(0, 1, 0, 0.5F); // behind what is there
    ASSERT_NE(wglLockBitmap(&surface), nullptr);
    EXPECT_EQ(pixel(surface.getHBitmap(), 3, 3), red);
    ASSERT_EQ(wglUnLockBitmap(&surface, surface.getHGLRC()), 1);
    glStencilFunc(GL_EQUAL, 0x5A, 0xFF);
    fill(0, 1, 0, 0.0F); // in front
    surface.deleteContext();
    EXPECT_EQ(pixel(surface.getHBitmap(), 3, 3), green);
}

TEST_F(SurfaceTest, LendingOutLeavesTheStateOfTheContextAlone) {
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {8, 8}));
    glClearColor(0, 1, 0, 0);
    glClear(GL_COLOR_BUFFER_BIT);
    GLuint buffer = 0;
    glGenBuffers(1, &buffer);
    glBindBuffer(GL_PIXEL_PACK_BUFFER, buffer);
    glBufferData(GL_PIXEL_PACK_BUFFER, 16, nullptr, GL_STREAM_READ);
    glPixelStorei(GL_PACK_ROW_LENGTH, 100);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glPixelStorei(GL_PACK_SKIP_ROWS, 3);
    glPixelTransferf(GL_RED_BIAS, 0.5F);
    glPixelTransferf(GL_GREEN_SCALE, 0.25F);
    glReadBuffer(GL_NONE);
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    GLuint other = 0;
    glGenFramebuffers(1, &other);
    const GLint own = integer(GL_DRAW_FRAMEBUFFER_BINDING);
    glBindFramebuffer(GL_READ_FRAMEBUFFER, other);
    for (int i = 0; i < 2; ++i) {
        ASSERT_NE(wglLockBitmap(&surface), nullptr);
        EXPECT_EQ(pixel(surface.getHBitmap(), 7, 7), green);
        EXPECT_EQ(pixel(surface.getHBitmap(), 0, 0), green);
        ASSERT_EQ(wglUnLockBitmap(&surface, surface.getHGLRC()), 1);
    }
    EXPECT_EQ(integer(GL_PIXEL_PACK_BUFFER_BINDING), static_cast<GLint>(buffer));
    EXPECT_EQ(integer(GL_PACK_ROW_LENGTH), 100);
    EXPECT_EQ(integer(GL_PACK_ALIGNMENT), 1);
    EXPECT_EQ(integer(GL_PACK_SKIP_ROWS), 3);
    EXPECT_EQ(integer(GL_READ_FRAMEBUFFER_BINDING), static_cast<GLint>(other));
    EXPECT_EQ(integer(GL_DRAW_FRAMEBUFFER_BINDING), own);
    EXPECT_EQ(integer(GL_TEXTURE_BINDING_2D), static_cast<GLint>(texture));
    GLfloat bias = 0;
    glGetFloatv(GL_RED_BIAS, &bias);
    EXPECT_EQ(bias, 0.5F);
    glBindFramebuffer(GL_READ_FRAMEBUFFER, static_cast<GLuint>(own));
    EXPECT_EQ(integer(GL_READ_BUFFER), GL_NONE);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

TEST_F(SurfaceTest, LendingOutDuringFeedbackKeepsTheFeedback) {
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {8, 8}));
    std::array<GLfloat, 256> values{};
    glFeedbackBuffer(static_cast<GLsizei>(values.size()), GL_3D_COLOR, values.data());
    glRenderMode(GL_FEEDBACK);
    fill(1, 0, 0, 0);
    const GLint one = glRenderMode(GL_FEEDBACK);
    EXPECT_GT(one, 0);
    fill(1, 0, 0, 0);
    ASSERT_TRUE(lendOut(surface));
    fill(0, 1, 0, 0);
    EXPECT_EQ(glRenderMode(GL_RENDER), 2 * one);
}

TEST_F(SurfaceTest, TwoSurfacesTakeTurnsOnOneThread) {
    KivBitmapManager first;
    KivBitmapManager second;
    ASSERT_TRUE(startDrawing(first, {8, 8}));
    glClearColor(1, 0, 0, 0);
    glClear(GL_COLOR_BUFFER_BIT);
    ASSERT_TRUE(startDrawing(second, {4, 4}));
    EXPECT_EQ(kivCurrentGlContext(), second.getHGLRC());
    glClearColor(0, 1, 0, 0);
    glClear(GL_COLOR_BUFFER_BIT);
    first.deleteContext();
    EXPECT_EQ(kivCurrentGlContext(), second.getHGLRC()) << "the end of one leaves the other alone";
    EXPECT_EQ(pixel(first.getHBitmap(), 7, 7), red);
    second.deleteContext();
    EXPECT_EQ(pixel(second.getHBitmap(), 3, 3), green);
    EXPECT_EQ(eglGetCurrentContext(), EGL_NO_CONTEXT);
}

TEST_F(SurfaceTest, AContextServesBitmapsOfItsSizeOnly) {
    KivBitmapManager small;
    KivBitmapManager large;
    ASSERT_TRUE(startDrawing(small, {4, 4}));
    ASSERT_NE(create(large, {8, 8}), 0);
    EXPECT_FALSE(kivMakeGlCurrent(large.getHDC(), small.getHGLRC()));
    EXPECT_EQ(kivCurrentGlContext(), nullptr);
    EXPECT_EQ(kivGlFailure().kind, KivGlFailure::wrongUse);
    EXPECT_EQ(kivGlFailure().detail, "a bitmap of another size");
    EXPECT_FALSE(kivMakeGlCurrent(nullptr, small.getHGLRC()));
    EXPECT_EQ(kivGlFailure().kind, KivGlFailure::wrongUse);
    EXPECT_EQ(kivGlFailure().detail, "a handle that is gone");
    EXPECT_TRUE(kivMakeGlCurrent(small.getHDC(), small.getHGLRC()));
}

TEST_F(SurfaceTest, ASurfaceCanEndOnAnotherThreadThanItsRender) {
    auto surface = std::make_unique<KivBitmapManager>();
    std::thread renderer([&] {
        ASSERT_TRUE(startDrawing(*surface, {8, 8}));
        surface.reset();
        ASSERT_EQ(kivCurrentGlContext(), nullptr);
        surface = std::make_unique<KivBitmapManager>();
        ASSERT_TRUE(startDrawing(*surface, {8, 8}));
        kivMakeGlCurrent(nullptr, nullptr);
    });
    renderer.join();
    surface->deleteContext();
    EXPECT_EQ(info(surface->getHBitmap()).width, 8);
    surface.reset();
}

TEST_F(SurfaceTest, WarmUpServesTheNextSurfaceOfAnySize) {
    for (const tagSIZE warm : {tagSIZE{12, 10}, tagSIZE{30, 40}, tagSIZE{0, 0}}) {
        std::thread([&] { EXPECT_TRUE(kivWarmUpGl(warm)); }).join();
        EXPECT_TRUE(kivWarmUpGl(warm)) << "again";
        EXPECT_EQ(eglGetCurrentContext(), EGL_NO_CONTEXT);
        KivBitmapManager surface;
        ASSERT_TRUE(startDrawing(surface, {12, 10}));
        glClearColor(1, 0, 0, 0);
        glClear(GL_COLOR_BUFFER_BIT);
        surface.deleteContext();
        EXPECT_EQ(pixel(surface.getHBitmap(), 11, 9), red);
    }
    EXPECT_FALSE(kivWarmUpGl({20000, 1})) << "larger than OpenGL draws";
    EXPECT_TRUE(kivWarmUpGl({}));
    kivCoolDownGl();
    kivCoolDownGl();
}

TEST_F(SurfaceTest, WarmUpAndRendersMayRunAtOnce) {
    std::thread warming([] {
        for (int i = 0; i < 5; ++i) {
            EXPECT_TRUE(kivWarmUpGl({16 + i, 16}));
        }
    });
    for (int i = 0; i < 5; ++i) {
        KivBitmapManager surface;
        ASSERT_TRUE(startDrawing(surface, {16, 16 + i}));
        glClearColor(0, 1, 0, 0);
        glClear(GL_COLOR_BUFFER_BIT);
        surface.deleteContext();
        EXPECT_EQ(pixel(surface.getHBitmap(), 15, 15), green);
    }
    warming.join();
    kivCoolDownGl();
}

TEST_F(SurfaceTest, TheDriverHasAName) {
    EXPECT_NE(kivGlDescription().find(L"OpenGL"), std::wstring::npos);
}

// Each choice made for one driver's sake, switched off, and each kind of driver gives the same picture. The choice is
// made once in a process, so each case has its own.
struct ChoiceCase {
    const char* name;
    const char* variable;
    const char* value;
};

class Choice : public SurfaceTest, public ::testing::WithParamInterface<ChoiceCase> {};

TEST_P(Choice, GivesTheSamePicture) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto inChild = [&] {
        setenv(GetParam().variable, GetParam().value, 1);
        KivBitmapManager surface;
        bool isSound = startDrawing(surface, {50, 20});
        glClearColor(1, 0, 0, 0);
        glClear(GL_COLOR_BUFFER_BIT);
        isSound = isSound && lendOut(surface);
        GLubyte stencil = 1;
        glReadPixels(3, 3, 1, 1, GL_STENCIL_INDEX, GL_UNSIGNED_BYTE, &stencil);
        isSound = isSound && stencil == 0;
        surface.deleteContext();
        isSound = isSound && pixel(surface.getHBitmap(), 49, 19) == red;
        _exit(isSound ? 0 : 1);
    };
    EXPECT_EXIT(inChild(), ::testing::ExitedWithCode(0), "");
}

INSTANTIATE_TEST_SUITE_P(Surface, Choice,
                         ::testing::Values(ChoiceCase{"Software", "SELVARIN_GL", "software"},
                                           ChoiceCase{"Auto", "SELVARIN_GL", "auto"},
                                           ChoiceCase{"Gpu", "SELVARIN_GL", "gpu"},
                                           ChoiceCase{"NoBgraTarget", "SELVARIN_GL_DISABLE", "bgra-target"},
                                           ChoiceCase{"NoHugePages", "SELVARIN_GL_DISABLE", "huge-pages"},
                                           ChoiceCase{"NoZeroedTargets", "SELVARIN_GL_DISABLE", "zeroed-targets"},
                                           ChoiceCase{"NoSoftwareDevice", "SELVARIN_GL_DISABLE", "software-device"},
                                           ChoiceCase{"None", "SELVARIN_GL_DISABLE",
                                                      "software-device,bgra-target,huge-pages,zeroed-targets"}),
                         [](const auto& tested) { return tested.param.name; });

TEST_F(SurfaceTest, WithoutADriverTheUserIsTold) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto inChild = [&] {
        // No vendor of EGL is known to the loader any more.
        setenv("__EGL_VENDOR_LIBRARY_FILENAMES", "/nonexistent.json", 1);
        KivBitmapManager surface;
        const int format = create(surface, {8, 8});
        const bool isSound = format == 0 && kivGetLastError() == 2000 && surface.getHBitmap() == nullptr &&
                             kivGlFailure().kind == KivGlFailure::noDriver && host->errors.size() == 1 &&
                             host->errors[0].first == 2000 && !kivWarmUpGl({}) && kivGlDescription().empty();
        _exit(isSound ? 0 : 1);
    };
    EXPECT_EXIT(inChild(), ::testing::ExitedWithCode(0), "");
}
