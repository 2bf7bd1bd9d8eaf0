// The surface as a host and the render driver see it: its life, the swap rule, what is refused.
#include "surface_calls.h"
#include "surface_fixture.h"

#include "kivrender/shader/kivshader.h"

#include <EGL/egl.h>
#include <GL/gl.h>

#include <atomic>
#include <chrono>
#include <ctime>
#include <fstream>
#include <optional>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr std::uint32_t red = 0x0000FF;
constexpr std::uint32_t green = 0x00FF00;

void clearTo(float r, float g, float b) {
    glClearColor(r, g, b, 0.0F);
    glClear(GL_COLOR_BUFFER_BIT);
}

} // namespace

TEST_F(SurfaceTest, IsEmptyAtFirst) {
    KivBitmapManager surface;
    EXPECT_EQ(surface.getHBitmap(), nullptr);
    EXPECT_EQ(surface.getHFile(), nullptr);
    EXPECT_EQ(surface.getHSection(), nullptr);
    EXPECT_EQ(surface.getHDC(), nullptr);
    EXPECT_EQ(surface.getHGLRC(), nullptr);
    EXPECT_EQ(surface.getSize(), (tagSIZE{0, 0}));
    EXPECT_TRUE(surface.getVectorialTempFileName().empty());
    EXPECT_TRUE(KivTestAccess::tempFileName(surface).empty());
}

TEST_F(SurfaceTest, ConstructorSeedsTheRandomNumberGeneratorFromTheClock) {
    const std::time_t first = std::time(nullptr);
    const KivBitmapManager surface;
    const int drawn = std::rand();
    const std::time_t last = std::time(nullptr);
    bool isSeeded = false;
    for (std::time_t second = first; second <= last; ++second) {
        std::srand(static_cast<unsigned int>(second));
        isSeeded = isSeeded || std::rand() == drawn;
    }
    EXPECT_TRUE(isSeeded);
}

TEST_F(SurfaceTest, BetweenStartAndEndTheBitmapIsNotNullAndNotTheImage) {
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {40, 30}));
    clearTo(1, 0, 0);
    ASSERT_NE(surface.getHBitmap(), nullptr);
    EXPECT_EQ(surface.getHBitmap(), kivStandByBitmap());
    EXPECT_EQ(info(surface.getHBitmap()).width, 1);
    EXPECT_EQ(info(surface.getHBitmap()).height, 1);
    EXPECT_NE(surface.getHDC(), nullptr);
    surface.deleteContext();
    EXPECT_EQ(surface.getHDC(), nullptr);
    EXPECT_EQ(surface.getHGLRC(), nullptr);
    ASSERT_EQ(info(surface.getHBitmap()).width, 40);
    ASSERT_EQ(info(surface.getHBitmap()).height, 30);
    EXPECT_EQ(pixel(surface.getHBitmap(), 0, 0), red);
    EXPECT_EQ(pixel(surface.getHBitmap(), 39, 29), red);
    EXPECT_EQ(surface.getSize(), (tagSIZE{40, 30}));
}

TEST_F(SurfaceTest, TheBottomRowComesFirst) {
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {4, 3}));
    clearTo(1, 0, 0);
    glEnable(GL_SCISSOR_TEST);
    glScissor(0, 0, 4, 1);
    clearTo(0, 1, 0);
    surface.deleteContext();
    EXPECT_EQ(pixel(surface.getHBitmap(), 2, 0), green);
    EXPECT_EQ(pixel(surface.getHBitmap(), 2, 1), red);
    const KivBitmapInfo picture = info(surface.getHBitmap());
    EXPECT_EQ(picture.rowBytes, 16U);
    EXPECT_TRUE(picture.isSection);
    EXPECT_EQ(picture.pixels[1], 0xFF) << "green is the second byte of a pixel";
}

TEST_F(SurfaceTest, DestructorAfterDeleteContextCallsNoOpenGl) {
    int calls = 0;
    {
        KivBitmapManager surface;
        ASSERT_TRUE(startDrawing(surface, {16, 16}));
        const int drawing = surfaceGlCalls();
        surface.deleteContext();
        calls = surfaceGlCalls();
        ASSERT_GT(calls, drawing) << "the calls of the library are not counted";
    }
    EXPECT_EQ(surfaceGlCalls(), calls);
}

TEST_F(SurfaceTest, LockGivesTheImageAndUnlockTakesItBack) {
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {8, 8}));
    const HGLRC context = surface.getHGLRC();
    clearTo(0, 1, 0);
    const HBITMAP image = wglLockBitmap(&surface);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image, surface.getHBitmap());
    EXPECT_EQ(surface.getHGLRC(), context) << "the context is released, not ended";
    EXPECT_EQ(kivCurrentGlContext(), nullptr);
    EXPECT_EQ(pixel(image, 3, 3), green);
    EXPECT_EQ(wglUnLockBitmap(&surface, context), 1);
    EXPECT_EQ(kivCurrentGlContext(), context);
    EXPECT_EQ(surface.getHBitmap(), kivStandByBitmap());
    clearTo(1, 0, 0);
    surface.deleteContext();
    EXPECT_EQ(surface.getHBitmap(), image);
    EXPECT_EQ(pixel(image, 3, 3), red);
}

TEST_F(SurfaceTest, UnlockWithoutContextReturnsOneAndLeavesNoneCurrent) {
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {8, 8}));
    ASSERT_NE(wglLockBitmap(&surface), nullptr);
    EXPECT_EQ(wglUnLockBitmap(&surface, nullptr), 1);
    EXPECT_EQ(kivCurrentGlContext(), nullptr);
    EXPECT_EQ(eglGetCurrentContext(), EGL_NO_CONTEXT);
    EXPECT_EQ(surface.getHBitmap(), kivStandByBitmap());
}

TEST_F(SurfaceTest, UnlockWithAContextThatIsGoneReturnsZero) {
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {8, 8}));
    ASSERT_NE(wglLockBitmap(&surface), nullptr);
    const HGLRC context = surface.getHGLRC();
    ASSERT_TRUE(kivDeleteGlContext(context));
    EXPECT_EQ(wglUnLockBitmap(&surface, context), 0);
    EXPECT_EQ(kivCurrentGlContext(), nullptr);
}

TEST_F(SurfaceTest, LockOfASurfaceWithoutDeviceContextGivesNothingAndLosesNothing) {
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {8, 8}));
    clearTo(1, 0, 0);
    surface.deleteContext();
    const HBITMAP image = surface.getHBitmap();
    EXPECT_EQ(wglLockBitmap(&surface), nullptr);
    EXPECT_EQ(surface.getHBitmap(), image);
    EXPECT_EQ(wglUnLockBitmap(&surface, nullptr), 1);
    EXPECT_EQ(surface.getHBitmap(), image);
    EXPECT_EQ(pixel(image, 0, 0), red);
    EXPECT_EQ(wglDeleteBitmapDC(&surface), 0);
}

TEST_F(SurfaceTest, DeleteBitmapDcGivesTheImageBackOnce) {
    KivBitmapManager surface;
    ASSERT_NE(create(surface, {8, 8}), 0);
    EXPECT_EQ(wglDeleteBitmapDC(&surface), 1);
    EXPECT_EQ(info(surface.getHBitmap()).width, 8);
    EXPECT_EQ(surface.getHDC(), nullptr);
    EXPECT_EQ(wglDeleteBitmapDC(&surface), 0);
    EXPECT_EQ(info(surface.getHBitmap()).width, 8);
}

TEST_F(SurfaceTest, NullSurfaceIsABadArgument) {
    tagSIZE size{8, 8};
    const auto lastErrorOf = [](auto&& call) {
        kivSetLastError(0);
        EXPECT_FALSE(call());
        return kivGetLastError();
    };
    EXPECT_EQ(lastErrorOf([&] {
                  return wglCreateDefaultBitmapDC(nullptr, &size, 32, 0, 32, 8, PFD_GENERIC_FORMAT, L"", true) != 0;
              }),
              160U);
    EXPECT_EQ(lastErrorOf([&] {
                  return wglCreateCompatibleBitmapDC(nullptr, &size, 32, 0, 32, 8, PFD_GENERIC_FORMAT, L"", true) != 0;
              }),
              160U);
    EXPECT_EQ(lastErrorOf([] { return wglDeleteBitmapDC(nullptr) != 0; }), 160U);
    EXPECT_EQ(lastErrorOf([] { return wglLockBitmap(nullptr) != nullptr; }), 160U);
    EXPECT_EQ(lastErrorOf([] { return wglUnLockBitmap(nullptr, nullptr) != 0; }), 160U);
    KivBitmapManager surface;
    EXPECT_EQ(lastErrorOf([&] {
                  return wglCreateDefaultBitmapDC(&surface, nullptr, 32, 0, 32, 8, PFD_GENERIC_FORMAT, L"", true) != 0;
              }),
              160U);
}

TEST_F(SurfaceTest, CreateReturnsTheNumberOfThePixelFormat) {
    KivBitmapManager surface;
    const int number = create(surface, {8, 8});
    EXPECT_EQ(number, 2);
    KivPixelFormat format;
    ASSERT_TRUE(kivDescribePixelFormat(surface.getHDC(), number, &format));
    EXPECT_GE(format.colourBits, 32);
    EXPECT_GE(format.depthBits, 32);
    EXPECT_GE(format.stencilBits, 8);
    EXPECT_EQ(kivPixelFormatCount(surface.getHDC()), 2);
    EXPECT_FALSE(kivDescribePixelFormat(surface.getHDC(), 3, &format));
    EXPECT_FALSE(kivDescribePixelFormat(surface.getHDC(), 0, &format));
}

TEST_F(SurfaceTest, NoColourBitsMeansThoseOfTheParent) {
    KivBitmapManager surface;
    tagSIZE size{8, 8};
    EXPECT_NE(wglCreateDefaultBitmapDC(&surface, &size, 0, 0, 32, 8, PFD_GENERIC_FORMAT, L"", true), 0);
}

struct FormatCase {
    const char* name;
    std::uint8_t colourBits, alphaBits, depthBits, stencilBits;
    std::uint32_t flags;
};

class UnknownFormat : public SurfaceTest, public ::testing::WithParamInterface<FormatCase> {};

TEST_P(UnknownFormat, IsRefusedAndEverythingUndone) {
    const FormatCase& wanted = GetParam();
    const TestFolder folder;
    KivBitmapManager surface;
    tagSIZE size{8, 8};
    EXPECT_EQ(wglCreateDefaultBitmapDC(&surface, &size, wanted.colourBits, wanted.alphaBits, wanted.depthBits,
                                       wanted.stencilBits, wanted.flags, folder.wide().c_str(), true),
              0);
    EXPECT_EQ(kivGetLastError(), 2000U);
    EXPECT_EQ(surface.getHBitmap(), nullptr);
    EXPECT_EQ(surface.getHFile(), nullptr);
    EXPECT_EQ(surface.getHSection(), nullptr);
    EXPECT_EQ(surface.getHDC(), kivScreenDeviceContext()) << "still names the parent";
    EXPECT_TRUE(host->errors.empty());
}

INSTANTIATE_TEST_SUITE_P(Surface, UnknownFormat,
                         ::testing::Values(FormatCase{"Accelerated", 32, 0, 32, 8,
                                                      PFD_GENERIC_FORMAT | PFD_GENERIC_ACCELERATED},
                                           FormatCase{"NotGeneric", 32, 0, 32, 8, 0},
                                           FormatCase{"ColourOf48Bits", 48, 0, 32, 8, PFD_GENERIC_FORMAT},
                                           FormatCase{"AlphaOf16Bits", 32, 16, 32, 8, PFD_GENERIC_FORMAT},
                                           FormatCase{"DepthOf64Bits", 32, 0, 64, 8, PFD_GENERIC_FORMAT},
                                           FormatCase{"StencilOf16Bits", 32, 0, 32, 16, PFD_GENERIC_FORMAT}),
                         [](const auto& tested) { return tested.param.name; });

TEST_F(SurfaceTest, FlagsOtherThanTheGenericOnesHaveNoMeaning) {
    KivBitmapManager surface;
    tagSIZE size{8, 8};
    EXPECT_NE(wglCreateDefaultBitmapDC(&surface, &size, 32, 0, 32, 8, PFD_GENERIC_FORMAT | 1U, L"", true), 0);
}

TEST_F(SurfaceTest, LargerThanOpenGlDrawsFailsWithAMessage) {
    for (const tagSIZE size : {tagSIZE{16385, 2}, tagSIZE{2, 16385}, tagSIZE{40000, 3}}) {
        host->errors.clear();
        KivBitmapManager surface;
        EXPECT_EQ(create(surface, size), 0);
        EXPECT_EQ(kivGetLastError(), 2000U);
        EXPECT_EQ(surface.getHBitmap(), nullptr);
        EXPECT_EQ(surface.getHSection(), nullptr);
        EXPECT_EQ(surface.getHFile(), nullptr);
        EXPECT_EQ(kivGlFailure().kind, KivGlFailure::tooLarge);
        EXPECT_EQ(kivGlFailure().limit, 16384);
        ASSERT_EQ(host->errors.size(), 1U);
        EXPECT_EQ(host->errors[0].first, 2000U);
    }
    KivBitmapManager surface;
    EXPECT_TRUE(startDrawing(surface, {16384, 2})) << "the largest width";
    EXPECT_EQ(kivGlFailure().kind, KivGlFailure::none);
}

TEST_F(SurfaceTest, WithoutFileTheBitmapStandsOnMemoryOfItsOwn) {
    const TestFolder folder;
    KivBitmapManager surface;
    ASSERT_NE(create(surface, {8, 8}, folder.wide().c_str(), false), 0);
    EXPECT_EQ(surface.getHFile(), nullptr);
    EXPECT_EQ(surface.getHSection(), nullptr);
    surface.deleteContext();
    EXPECT_EQ(info(surface.getHBitmap()).width, 8);
    EXPECT_FALSE(info(surface.getHBitmap()).isSection);
    KivBitmapManager refused;
    EXPECT_EQ(create(refused, {0, 8}, nullptr, false), 0);
    EXPECT_EQ(refused.getHBitmap(), nullptr);
}

TEST_F(SurfaceTest, TheNextRenderOnTheSameSurfaceReplacesThePicture) {
    const TestFolder folder;
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {20, 20}, folder.wide().c_str()));
    surface.deleteContext();
    const HBITMAP first = surface.getHBitmap();
    const HANDLE firstFile = surface.getHFile();
    ASSERT_TRUE(startDrawing(surface, {10, 30}));
    KivBitmapInfo gone;
    EXPECT_FALSE(kivGetBitmapInfo(first, &gone));
    EXPECT_FALSE(kivCloseHandle(firstFile)) << "closed already";
    EXPECT_TRUE(KivTestAccess::tempFileName(surface).empty());
    clearTo(0, 1, 0);
    surface.deleteContext();
    EXPECT_EQ(info(surface.getHBitmap()).height, 30);
    EXPECT_EQ(pixel(surface.getHBitmap(), 9, 29), green);
}

TEST_F(SurfaceTest, AFailedNextRenderLeavesNoPictureOfTheFormerOne) {
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {20, 20}));
    surface.deleteContext();
    const HBITMAP first = surface.getHBitmap();
    EXPECT_EQ(create(surface, {0, 20}), 0);
    EXPECT_EQ(surface.getHBitmap(), nullptr);
    KivBitmapInfo gone;
    EXPECT_FALSE(kivGetBitmapInfo(first, &gone));
    EXPECT_TRUE(startDrawing(surface, {20, 20})) << "and the one after it works";
}

TEST_F(SurfaceTest, ACancelledRenderEndsWithItsSurface) {
    HGLRC context = nullptr;
    {
        KivBitmapManager surface;
        ASSERT_TRUE(startDrawing(surface, {20, 20}));
        context = surface.getHGLRC();
        EXPECT_EQ(kivCurrentGlContext(), context);
    }
    EXPECT_EQ(kivCurrentGlContext(), nullptr);
    EXPECT_EQ(eglGetCurrentContext(), EGL_NO_CONTEXT);
    EXPECT_FALSE(kivDeleteGlContext(context)) << "gone already";
}

TEST_F(SurfaceTest, ACancelledRenderDoesNotDisturbTheNextOneOnItsSurface) {
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {20, 20}));
    const HGLRC left = surface.getHGLRC();
    ASSERT_TRUE(startDrawing(surface, {20, 20}));
    EXPECT_NE(surface.getHGLRC(), left);
    EXPECT_FALSE(kivDeleteGlContext(left)) << "gone already";
    clearTo(1, 0, 0);
    surface.deleteContext();
    EXPECT_EQ(pixel(surface.getHBitmap(), 19, 19), red);
}

TEST_F(SurfaceTest, TheLockIsRecursiveAndKeepsOthersOut) {
    KivBitmapManager surface;
    surface.lock();
    surface.lock();
    std::atomic<bool> isRead{false};
    std::thread reader([&] {
        surface.getHBitmap();
        isRead = true;
    });
    EXPECT_EQ(surface.getHBitmap(), nullptr) << "an accessor takes the lock a third time";
    surface.unlock();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(isRead);
    surface.unlock();
    reader.join();
    EXPECT_TRUE(isRead);
}

TEST_F(SurfaceTest, AnotherThreadReadsDuringAProgressCall) {
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {64, 64}));
    for (int step = 0; step < 20; ++step) {
        const bool isRed = step % 2 == 0;
        clearTo(isRed ? 1.0F : 0.0F, isRed ? 0.0F : 1.0F, 0);
        ASSERT_NE(wglLockBitmap(&surface), nullptr);
        std::thread reader([&] {
            surface.lock();
            EXPECT_EQ(pixel(surface.getHBitmap(), step, 63 - step), isRed ? red : green);
            surface.unlock();
        });
        reader.join();
        ASSERT_EQ(wglUnLockBitmap(&surface, surface.getHGLRC()), 1);
    }
}

TEST_F(SurfaceTest, AVectorialTempFileLivesAsLongAsItsSurfaceAndHasNoNameInAFolder) {
    const TestFolder folder;
    setenv("TMPDIR", folder.path.c_str(), 1);
    wchar_t name[kivMaxPath] = {};
    std::filesystem::path path;
    {
        std::optional<KivBitmapManager> copy;
        {
            KivBitmapManager surface;
            surface.generateVectorialTempFileName(name);
            EXPECT_EQ(surface.getVectorialTempFileName(), name);
            const std::filesystem::path first = kivToUtf8(name);
            EXPECT_TRUE(std::filesystem::is_empty(first));
            surface.generateVectorialTempFileName(name);
            path = kivToUtf8(name);
            EXPECT_FALSE(std::filesystem::exists(first) && !std::filesystem::equivalent(first, path));
            EXPECT_EQ(surface.getVectorialTempFileName(), name);
            std::ofstream(path) << "drawing";
            copy.emplace(surface);
        }
        EXPECT_EQ(std::filesystem::file_size(path), 7U) << "the copy is one more owner";
        EXPECT_EQ(folder.entries(), 0U) << "nothing is there that a kill could leave behind";
    }
    unsetenv("TMPDIR");
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(folder.entries(), 0U);
}

// Where the system has no files without a name.
TEST_F(SurfaceTest, AVectorialTempFileWithANameGoesWithItsSurface) {
    const TestFolder folder;
    const pid_t child = fork();
    if (child == 0) {
        // The environment is read once: in a process of its own, which nothing of this one has used yet.
        setenv("SELVARIN_GL_DISABLE", "unnamed-files", 1);
        setenv("TMPDIR", folder.path.c_str(), 1);
        execl("/proc/self/exe", "test_surface", "--gtest_filter=*AVectorialTempFileByName*",
              "--gtest_also_run_disabled_tests", "--gtest_brief=1", nullptr);
        _exit(127);
    }
    int state = 0;
    waitpid(child, &state, 0);
    EXPECT_TRUE(WIFEXITED(state) && WEXITSTATUS(state) == 0);
    EXPECT_EQ(folder.entries(), 0U);
}

// Run by the one above alone.
TEST_F(SurfaceTest, DISABLED_AVectorialTempFileByName) {
    const std::filesystem::path folder = std::getenv("TMPDIR");
    wchar_t name[kivMaxPath] = {};
    std::filesystem::path path;
    {
        KivBitmapManager surface;
        surface.generateVectorialTempFileName(name);
        path = kivToUtf8(name);
        EXPECT_EQ(path.parent_path(), folder);
        EXPECT_EQ(path.filename().string().substr(0, 3), "kiv");
        EXPECT_TRUE(std::filesystem::exists(path));
    }
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(SurfaceTest, NoVectorialTempFileThrowsAndStoresNothing) {
    const TestFolder folder;
    setenv("TMPDIR", (folder.path / "missing").c_str(), 1);
    KivBitmapManager surface;
    wchar_t name[kivMaxPath] = L"untouched";
    bool isThrown = false;
    kivSetLastError(0);
    try {
        surface.generateVectorialTempFileName(name);
    } catch (KivShader::stopReason reason) {
        isThrown = true;
        EXPECT_EQ(static_cast<int>(reason), 0);
    }
    unsetenv("TMPDIR");
    EXPECT_TRUE(isThrown);
    EXPECT_EQ(kivGetLastError(), kivErrorFileNotFound);
    EXPECT_STREQ(name, L"untouched");
    EXPECT_TRUE(surface.getVectorialTempFileName().empty());
}
