// A caller's own OpenGL context that is current before a render is current after it, and whenever the render has given
// its own back.
#include "surface_fixture.h"

#include "kivrender/platform/kivglwarmup.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GL/gl.h>
#include <dlfcn.h>
#include <link.h>

#include <array>
#include <string_view>

namespace {

constexpr std::uint32_t green = 0x00FF00;

struct CallerCase {
    const char* name;
    EGLenum api;
    bool hasSurface;
};

// A context of the caller's, on a display that it may share with the library, with or without a surface.
class CallersContext : public SurfaceTest, public ::testing::WithParamInterface<CallerCase> {
protected:
    void SetUp() override {
        display = eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
        ASSERT_EQ(eglInitialize(display, nullptr, nullptr), EGL_TRUE);
        ASSERT_EQ(eglBindAPI(GetParam().api), EGL_TRUE);
        const EGLint kind = GetParam().api == EGL_OPENGL_API ? EGL_OPENGL_BIT : EGL_OPENGL_ES2_BIT;
        const std::array<EGLint, 7> wanted{
            EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RENDERABLE_TYPE, kind, EGL_RED_SIZE, 8, EGL_NONE};
        EGLint count = 0;
        ASSERT_EQ(eglChooseConfig(display, wanted.data(), &config, 1, &count), EGL_TRUE);
        ASSERT_EQ(count, 1);
        if (GetParam().hasSurface) {
            const std::array<EGLint, 5> size{EGL_WIDTH, 5, EGL_HEIGHT, 5, EGL_NONE};
            own = eglCreatePbufferSurface(display, config, size.data());
            ASSERT_NE(own, EGL_NO_SURFACE);
        }
        context = eglCreateContext(display, config, EGL_NO_CONTEXT, nullptr);
        ASSERT_NE(context, EGL_NO_CONTEXT);
        ASSERT_EQ(eglMakeCurrent(display, own, own, context), EGL_TRUE);
    }

    void TearDown() override {
        eglBindAPI(GetParam().api);
        eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        eglDestroyContext(display, context);
        if (own != EGL_NO_SURFACE) {
            eglDestroySurface(display, own);
        }
        eglBindAPI(EGL_OPENGL_API);
    }

    void expectCallersCurrent() const {
        EXPECT_EQ(eglQueryAPI(), GetParam().api);
        EXPECT_EQ(eglGetCurrentContext(), context);
        EXPECT_EQ(eglGetCurrentDisplay(), display);
        EXPECT_EQ(eglGetCurrentSurface(EGL_DRAW), own);
        EXPECT_EQ(eglGetCurrentSurface(EGL_READ), own);
    }

    EGLDisplay display = EGL_NO_DISPLAY;
    EGLConfig config = nullptr;
    EGLContext context = EGL_NO_CONTEXT;
    EGLSurface own = EGL_NO_SURFACE;
};

} // namespace

TEST_P(CallersContext, IsCurrentAgainAfterARender) {
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {8, 8}));
    EXPECT_NE(eglGetCurrentContext(), context);
    surface.deleteContext();
    expectCallersCurrent();
}

TEST_P(CallersContext, IsCurrentWhileThePictureIsLentOut) {
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {8, 8}));
    glClearColor(0, 1, 0, 0);
    glClear(GL_COLOR_BUFFER_BIT);
    ASSERT_NE(wglLockBitmap(&surface), nullptr);
    expectCallersCurrent();
    ASSERT_EQ(wglUnLockBitmap(&surface, surface.getHGLRC()), 1);
    EXPECT_NE(eglGetCurrentContext(), context);
    surface.deleteContext();
    expectCallersCurrent();
    EXPECT_EQ(pixel(surface.getHBitmap(), 7, 7), green);
}

TEST_P(CallersContext, IsCurrentAfterARenderThatFailed) {
    KivBitmapManager surface;
    EXPECT_EQ(create(surface, {20000, 4}), 0);
    expectCallersCurrent();
    EXPECT_EQ(create(surface, {0, 4}), 0);
    expectCallersCurrent();
    ASSERT_NE(create(surface, {8, 8}), 0);
    expectCallersCurrent();
    EXPECT_FALSE(kivMakeGlCurrent(surface.getHDC(), nullptr) && eglGetCurrentContext() != context);
    EXPECT_FALSE(kivMakeGlCurrent(nullptr, kivCreateGlContext(surface.getHDC())));
    expectCallersCurrent();
}

TEST_P(CallersContext, IsCurrentAfterACancelledRenderAndItsSurface) {
    {
        KivBitmapManager surface;
        ASSERT_TRUE(startDrawing(surface, {8, 8}));
    }
    expectCallersCurrent();
}

TEST_P(CallersContext, IsCurrentAfterTwoNestedRenders) {
    KivBitmapManager first;
    KivBitmapManager second;
    ASSERT_TRUE(startDrawing(first, {8, 8}));
    ASSERT_TRUE(startDrawing(second, {4, 4}));
    second.deleteContext();
    expectCallersCurrent();
    ASSERT_TRUE(kivMakeGlCurrent(first.getHDC(), first.getHGLRC()));
    first.deleteContext();
    expectCallersCurrent();
}

TEST_P(CallersContext, MadeCurrentDuringARenderDoesNotSpoilThePicture) {
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {8, 8}));
    glClearColor(0, 1, 0, 0);
    glClear(GL_COLOR_BUFFER_BIT);
    eglBindAPI(GetParam().api);
    ASSERT_EQ(eglMakeCurrent(display, own, own, context), EGL_TRUE);
    surface.deleteContext();
    EXPECT_EQ(pixel(surface.getHBitmap(), 7, 7), green);
    expectCallersCurrent();
}

TEST_P(CallersContext, WarmUpLeavesItCurrent) {
    EXPECT_TRUE(kivWarmUpGl({6, 6}));
    expectCallersCurrent();
    EXPECT_FALSE(kivGlDescription().empty());
    expectCallersCurrent();
    kivCoolDownGl();
    expectCallersCurrent();
}

INSTANTIATE_TEST_SUITE_P(Surface, CallersContext,
                         ::testing::Values(CallerCase{"Surfaceless", EGL_OPENGL_API, false},
                                           CallerCase{"WithSurface", EGL_OPENGL_API, true},
                                           CallerCase{"EmbeddedSystems", EGL_OPENGL_ES_API, true}),
                         [](const auto& tested) { return tested.param.name; });

// A terminated display unloads its driver, whose tables no pointer reaches any longer: a leak to a sanitizer.
void keepDriverLoaded() {
    dl_iterate_phdr(
        [](dl_phdr_info* module, std::size_t, void*) {
            if (std::string_view(module->dlpi_name).ends_with("_dri.so")) {
                EXPECT_NE(dlopen(module->dlpi_name, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE), nullptr);
            }
            return 0;
        },
        nullptr);
}

TEST_F(SurfaceTest, ADisplayThatACallerTerminatedIsStartedAgain) {
    ASSERT_TRUE(kivWarmUpGl({8, 8}));
    keepDriverLoaded();
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {8, 8}));
    const EGLDisplay shared = eglGetCurrentDisplay();
    surface.deleteContext();
    ASSERT_TRUE(kivWarmUpGl({8, 8}));
    ASSERT_EQ(eglTerminate(shared), EGL_TRUE);
    ASSERT_TRUE(startDrawing(surface, {8, 8}));
    glClearColor(0, 1, 0, 0);
    glClear(GL_COLOR_BUFFER_BIT);
    surface.deleteContext();
    EXPECT_EQ(pixel(surface.getHBitmap(), 7, 7), green);
}
