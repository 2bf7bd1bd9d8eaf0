// What of the drawing survives while the picture is lent out, and the driver made ready ahead of time.
#include "surface_fixture.h"

#include "kivrender/platform/kivdeferredpicture.h"
#include "kivrender/platform/kivglframe.h"
#include "kivrender/platform/kivglwarmup.h"

#define GL_GLEXT_PROTOTYPES
#include <EGL/egl.h>
#include <GL/gl.h>
#include <GL/glext.h>

#include <array>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

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

namespace {

// Of a picture of 30 by 20.
void expectFreshContext() {
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

// Keeps contexts for the length of a test.
class KeptContexts {
public:
    KeptContexts() {
        kivKeepGlContexts(true);
    }
    KeptContexts(const KeptContexts&) = delete;
    KeptContexts& operator=(const KeptContexts&) = delete;
    ~KeptContexts() {
        kivKeepGlContexts(false);
        kivCoolDownGl();
    }
};

// Leaves as much behind as a careless shader can.
void leaveTraces() {
    glClearColor(0.25F, 0.5F, 0.75F, 1);
    glClearStencil(3);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
    for (const GLenum mode : {GL_TEXTURE, GL_PROJECTION, GL_MODELVIEW}) {
        glMatrixMode(mode);
        glPushMatrix();
        glScalef(0.5F, 0.25F, 1);
    }
    glActiveTexture(GL_TEXTURE1);
    glBindTexture(GL_TEXTURE_1D, 7);
    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_2D, 1);
    const std::array<std::uint32_t, 4> image{1, 2, 3, 4};
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 2, 2, 0, GL_RGBA, GL_UNSIGNED_BYTE, image.data());
    glEnable(GL_TEXTURE_2D);
    glEnable(GL_LIGHTING);
    glEnable(GL_LIGHT3);
    glEnable(GL_STENCIL_TEST);
    glDepthMask(GL_FALSE);
    glColorMask(GL_TRUE, GL_FALSE, GL_TRUE, GL_TRUE);
    glDepthFunc(GL_GREATER);
    glViewport(3, 4, 5, 6);
    glEnable(GL_SCISSOR_TEST);
    glScissor(1, 1, 2, 2);
    glEnableClientState(GL_VERTEX_ARRAY);
    glPixelStorei(GL_UNPACK_ROW_LENGTH, 77);
    glPushAttrib(GL_ALL_ATTRIB_BITS);
    glColor3f(0.5F, 0, 0);
    glRasterPos2f(0.5F, 0.5F);
    glNewList(9, GL_COMPILE);
    glEndList();
}

} // namespace

TEST_F(SurfaceTest, AFreshContextIsAsAWindowsWouldBe) {
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {30, 20}));
    expectFreshContext();
}

TEST_F(SurfaceTest, AKeptContextIsLikeAFreshOne) {
    const KeptContexts kept;
    EGLContext first = EGL_NO_CONTEXT;
    for (int use = 0; use < 3; ++use) {
        KivBitmapManager surface;
        ASSERT_TRUE(startDrawing(surface, {30, 20}));
        first = use == 0 ? eglGetCurrentContext() : first;
        EXPECT_EQ(eglGetCurrentContext(), first);
        expectFreshContext();
        for (const GLenum what : {GL_TEXTURE_2D, GL_LIGHTING, GL_LIGHT3, GL_STENCIL_TEST, GL_SCISSOR_TEST,
                                  GL_DEPTH_TEST, GL_VERTEX_ARRAY}) {
            EXPECT_EQ(glIsEnabled(what), GL_FALSE) << what;
        }
        EXPECT_EQ(integer(GL_DEPTH_FUNC), GL_LESS);
        EXPECT_EQ(integer(GL_MATRIX_MODE), GL_MODELVIEW);
        EXPECT_EQ(integer(GL_UNPACK_ROW_LENGTH), 0);
        EXPECT_EQ(integer(GL_STENCIL_CLEAR_VALUE), 0);
        EXPECT_EQ(glIsList(9), GL_FALSE);
        const std::array<GLfloat, 16> unit{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
        for (const auto& [matrix, depth] : {std::pair(GL_MODELVIEW_MATRIX, GL_MODELVIEW_STACK_DEPTH),
                                            std::pair(GL_PROJECTION_MATRIX, GL_PROJECTION_STACK_DEPTH),
                                            std::pair(GL_TEXTURE_MATRIX, GL_TEXTURE_STACK_DEPTH)}) {
            std::array<GLfloat, 16> values{};
            glGetFloatv(static_cast<GLenum>(matrix), values.data());
            EXPECT_EQ(values, unit);
            EXPECT_EQ(integer(static_cast<GLenum>(depth)), 1);
        }
        glActiveTexture(GL_TEXTURE1);
        EXPECT_EQ(integer(GL_TEXTURE_BINDING_1D), 0);
        glActiveTexture(GL_TEXTURE0);
        fill(0, 1, 0, 0);
        EXPECT_EQ(pixel(wglLockBitmap(&surface), 29, 19), green);
        wglUnLockBitmap(&surface, surface.getHGLRC());
        leaveTraces();
        surface.deleteContext();
    }
}

// Draws a surface of 30 by 20 that lies there in a frame of 100 by 80, for which one context serves.
TEST_F(SurfaceTest, APartOfAFrameIsItsPictureAlone) {
    const KeptContexts kept;
    EGLContext first = EGL_NO_CONTEXT;
    for (const auto& [left, bottom] : {std::pair(20, 10), std::pair(35, 15), std::pair(70, 60)}) {
        const KivGlFrameScope frame({{100, 80}, left, bottom});
        KivBitmapManager surface;
        ASSERT_TRUE(startDrawing(surface, {30, 20}));
        first = first == EGL_NO_CONTEXT ? eglGetCurrentContext() : first;
        EXPECT_EQ(eglGetCurrentContext(), first);
        std::array<GLint, 4> viewport{};
        glGetIntegerv(GL_VIEWPORT, viewport.data());
        EXPECT_EQ(viewport, (std::array<GLint, 4>{left, bottom, 30, 20}));
        EXPECT_EQ(glIsEnabled(GL_SCISSOR_TEST), GL_FALSE);
        std::array<std::uint32_t, 600> pixels{};
        glReadPixels(left, bottom, 30, 20, GL_BGRA, GL_UNSIGNED_BYTE, pixels.data());
        EXPECT_EQ(pixels, (std::array<std::uint32_t, 600>{})) << "the one before overlapped it";
        glPixelStorei(GL_PACK_ALIGNMENT, 1);
        std::array<GLubyte, 600> stencil{};
        glReadPixels(left, bottom, 30, 20, GL_STENCIL_INDEX, GL_UNSIGNED_BYTE, stencil.data());
        EXPECT_EQ(stencil, (std::array<GLubyte, 600>{}));
        glViewport(0, 0, 100, 80);
        fill(1, 0, 0, 0);
        glClearStencil(5);
        glClear(GL_STENCIL_BUFFER_BIT);
        glScissor(left, bottom, 1, 1);
        glEnable(GL_SCISSOR_TEST);
        glClearColor(0, 1, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        surface.deleteContext();
        const HBITMAP bitmap = surface.getHBitmap();
        EXPECT_EQ(pixel(bitmap, 0, 0), green) << "the lower left corner";
        EXPECT_EQ(pixel(bitmap, 0, 1), red);
        EXPECT_EQ(pixel(bitmap, 1, 0), red);
        EXPECT_EQ(pixel(bitmap, 29, 19), red);
    }
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {30, 20}));
    expectFreshContext();
}

TEST_F(SurfaceTest, AFrameThatIsTooLargeIsRefused) {
    const KivGlFrameScope frame({{1 << 20, 80}, 0, 0});
    EXPECT_FALSE(kivWarmUpGl({30, 20}));
    EXPECT_EQ(kivGlFailure().kind, KivGlFailure::tooLarge);
}

TEST_F(SurfaceTest, NobodyElseGetsAKeptContext) {
    constexpr GLuint largeName = 100000;
    const KeptContexts kept;
    const auto draw = [&] {
        KivBitmapManager surface;
        EXPECT_TRUE(startDrawing(surface, {30, 20}));
        const bool isNew = glIsTexture(largeName) == GL_FALSE;
        glBindTexture(GL_TEXTURE_1D, largeName);
        surface.deleteContext();
        return isNew;
    };
    EXPECT_TRUE(draw());
    EXPECT_FALSE(draw());
    kivKeepGlContexts(false);
    EXPECT_TRUE(draw());
    EXPECT_TRUE(draw());
}

TEST_F(SurfaceTest, AContextThatIsLeftInTheMiddleIsNotKept) {
    const KeptContexts kept;
    const auto leaveAnd = [&](auto&& leave) {
        KivBitmapManager surface;
        ASSERT_TRUE(startDrawing(surface, {30, 20}));
        expectFreshContext();
        leave();
        surface.deleteContext();
    };
    leaveAnd([] { glNewList(5, GL_COMPILE); });
    leaveAnd([] { glPopAttrib(); });
    std::array<GLfloat, 64> buffer{};
    leaveAnd([&buffer] {
        glFeedbackBuffer(64, GL_3D, buffer.data());
        glRenderMode(GL_FEEDBACK);
    });
    leaveAnd([] {});
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

namespace {

std::vector<std::uint8_t> rowOf(HBITMAP bitmap, std::int32_t row, std::int32_t width) {
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(width) * 4U);
    return kivReadBitmapRows(bitmap, row, 1, bytes.data()) ? bytes : std::vector<std::uint8_t>();
}

} // namespace

TEST_F(SurfaceTest, ADeferredPictureComesWhenItIsAskedFor) {
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {8, 8}));
    ASSERT_TRUE(kivDeferPictures(surface.getHGLRC()));
    fill(1, 0, 0, 0);
    const HBITMAP lent = wglLockBitmap(&surface);
    EXPECT_EQ(pixel(lent, 3, 3), red);
    ASSERT_EQ(wglUnLockBitmap(&surface, surface.getHGLRC()), 1);
    fill(0, 1, 0, 0);
    const std::uint8_t* const kept = info(lent).pixels;
    ASSERT_NE(wglLockBitmap(&surface), nullptr);
    EXPECT_EQ(kept[1], 255) << "who has the pixels sees each release";
    wglUnLockBitmap(&surface, nullptr);
}

TEST_F(SurfaceTest, ADeferredPictureOutlivesItsContext) {
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {8, 8}));
    ASSERT_TRUE(kivDeferPictures(surface.getHGLRC()));
    fill(1, 0, 0, 0);
    ASSERT_TRUE(lendOut(surface));
    fill(0, 1, 0, 0);
    surface.deleteContext();
    EXPECT_EQ(rowOf(surface.getHBitmap(), 7, 8)[1], 255);
    std::thread reader([&] { EXPECT_EQ(pixel(surface.getHBitmap(), 0, 0), green); });
    reader.join();
    EXPECT_EQ(rowOf(surface.getHBitmap(), 0, 8)[1], 255);
}

TEST_F(SurfaceTest, AContextServesAgainOnceItsDeferredPictureHasGone) {
    constexpr GLuint largeName = 100000;
    const KeptContexts kept;
    const auto draw = [&](KivBitmapManager& surface, float green) {
        EXPECT_TRUE(startDrawing(surface, {8, 8}));
        EXPECT_TRUE(kivDeferPictures(surface.getHGLRC()));
        const bool isNew = glIsTexture(largeName) == GL_FALSE;
        glBindTexture(GL_TEXTURE_1D, largeName);
        glBindTexture(GL_TEXTURE_1D, 0);
        fill(1.0F - green, green, 0, 0);
        surface.deleteContext();
        return isNew;
    };
    {
        KivBitmapManager first;
        EXPECT_TRUE(draw(first, 1));
        KivBitmapManager second;
        EXPECT_TRUE(draw(second, 0)) << "the first one has the picture of the other";
        EXPECT_EQ(rowOf(first.getHBitmap(), 3, 8)[1], 255);
        EXPECT_EQ(rowOf(second.getHBitmap(), 3, 8)[1], 0);
    }
    KivBitmapManager third;
    EXPECT_FALSE(draw(third, 1));
    EXPECT_EQ(pixel(third.getHBitmap(), 4, 4), green);
}

TEST_F(SurfaceTest, RowsOfADeferredPictureAreReadOneByOne) {
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {4, 6}));
    ASSERT_TRUE(kivDeferPictures(surface.getHGLRC()));
    glEnable(GL_SCISSOR_TEST);
    for (int row = 0; row < 6; ++row) {
        glScissor(0, row, 4, 1);
        glClearColor(static_cast<float>(row) / 5.0F, 0, 0, 0);
        glClear(GL_COLOR_BUFFER_BIT);
    }
    surface.deleteContext();
    const HBITMAP bitmap = surface.getHBitmap();
    for (int row = 0; row < 6; ++row) {
        ASSERT_EQ(rowOf(bitmap, row, 4)[2], 51 * row);
    }
    std::vector<std::uint8_t> rows(64);
    ASSERT_TRUE(kivReadBitmapRows(bitmap, 2, 3, rows.data()));
    EXPECT_EQ(rows[2], 102);
    EXPECT_EQ(rows[34], 204);
    EXPECT_EQ(rows[50], 0) << "no more than was asked for";
    for (const auto& [first, count] : {std::pair(-1, 1), std::pair(6, 1), std::pair(5, 2), std::pair(0, -1)}) {
        EXPECT_FALSE(kivReadBitmapRows(bitmap, first, count, rows.data()));
    }
    EXPECT_FALSE(kivReadBitmapRows(nullptr, 0, 1, rows.data()));
    EXPECT_EQ(pixel(bitmap, 1, 4), 204U);
    EXPECT_TRUE(kivReadBitmapRows(bitmap, 1, 1, rows.data()));
    EXPECT_EQ(rows[2], 51) << "from the memory of the bitmap";
}

TEST_F(SurfaceTest, ACopyTakesADeferredPicture) {
    KivBitmapManager from;
    KivBitmapManager to;
    ASSERT_TRUE(startDrawing(from, {8, 8}));
    ASSERT_TRUE(kivDeferPictures(from.getHGLRC()));
    fill(1, 0, 0, 0);
    ASSERT_TRUE(startDrawing(to, {8, 8}));
    ASSERT_TRUE(to.copyBitmap(from.getHDC()));
    to.deleteContext();
    EXPECT_EQ(pixel(to.getHBitmap(), 4, 4), red);
}

TEST_F(SurfaceTest, ADeferredPictureIsOfItsOwnBitmap) {
    KivBitmapManager first;
    KivBitmapManager second;
    ASSERT_TRUE(startDrawing(first, {8, 8}));
    const HGLRC context = first.getHGLRC();
    ASSERT_TRUE(kivDeferPictures(context));
    fill(1, 0, 0, 0);
    kivMakeGlCurrent(nullptr, nullptr);
    ASSERT_TRUE(startDrawing(second, {8, 8}));
    ASSERT_TRUE(kivMakeGlCurrent(second.getHDC(), context)); // which had drawn for the first one
    fill(0, 1, 0, 0);
    kivMakeGlCurrent(nullptr, nullptr);
    first.deleteContext();
    EXPECT_EQ(pixel(first.getHBitmap(), 4, 4), red);
    EXPECT_FALSE(kivDeferPictures(context)) << "it is gone";
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
