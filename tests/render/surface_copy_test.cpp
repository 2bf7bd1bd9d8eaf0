// Copies of a surface, and copies of pictures between surfaces.
#include "surface_fixture.h"

#include <GL/gl.h>

namespace {

constexpr std::uint32_t red = 0x0000FF;
constexpr std::uint32_t green = 0x00FF00;
constexpr std::uint32_t blue = 0xFF0000;

void clearTo(float r, float g, float b) {
    glClearColor(r, g, b, 0.0F);
    glClear(GL_COLOR_BUFFER_BIT);
}

// A device context with a bitmap of one colour, blue in the low byte.
class Source {
public:
    Source(tagSIZE size, std::uint32_t bgr) : dc(kivCreateCompatibleDeviceContext(kivScreenDeviceContext())) {
        const HBITMAP bitmap = kivCreateBitmap(size);
        KivBitmapInfo picture;
        kivGetBitmapInfo(bitmap, &picture);
        for (std::size_t i = 0; i < picture.rowBytes * static_cast<std::size_t>(size.cy); ++i) {
            picture.pixels[i] = static_cast<std::uint8_t>(bgr >> (i % 4 * 8));
        }
        kivSelectBitmap(dc, bitmap);
    }
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;
    ~Source() {
        kivDeleteDeviceContext(dc);
    }

    HDC dc;
};

} // namespace

TEST_F(SurfaceTest, ACopyNamesTheSameHandlesAndNothingIsFreedTwice) {
    const TestFolder folder;
    KivBitmapManager copy;
    HBITMAP image = nullptr;
    {
        KivBitmapManager surface;
        ASSERT_TRUE(startDrawing(surface, {9, 9}, folder.wide().c_str()));
        clearTo(1, 0, 0);
        surface.deleteContext();
        surface.getVectorialTempFileName() = L"not copied";
        image = surface.getHBitmap();
        copy = surface;
        EXPECT_EQ(copy.getHBitmap(), image);
        EXPECT_EQ(copy.getHFile(), surface.getHFile());
        EXPECT_EQ(copy.getHSection(), surface.getHSection());
        EXPECT_EQ(copy.getHDC(), nullptr);
        EXPECT_EQ(copy.getHGLRC(), nullptr);
        EXPECT_EQ(copy.getSize(), (tagSIZE{9, 9}));
        EXPECT_EQ(KivTestAccess::tempFileName(copy), KivTestAccess::tempFileName(surface));
        EXPECT_TRUE(copy.getVectorialTempFileName().empty());
        const KivBitmapManager another(surface);
    }
    EXPECT_EQ(pixel(image, 8, 8), red) << "the copy still owns the picture";
    copy = copy;
    EXPECT_EQ(pixel(copy.getHBitmap(), 8, 8), red);
    copy = KivBitmapManager();
    EXPECT_EQ(copy.getHBitmap(), nullptr);
    KivBitmapInfo gone;
    EXPECT_FALSE(kivGetBitmapInfo(image, &gone));
}

TEST_F(SurfaceTest, CopyConstructorTakesTheVectorialNameAsWell) {
    KivBitmapManager surface;
    ASSERT_TRUE(surface.buildBitmapMemory(nullptr, {4, 4}));
    surface.getVectorialTempFileName() = L"name";
    surface.lock();
    KivBitmapManager copy(surface);
    surface.unlock();
    EXPECT_EQ(copy.getVectorialTempFileName(), L"name");
    EXPECT_EQ(copy.getHBitmap(), surface.getHBitmap());
    copy.lock();
    copy.unlock();
}

// As the scaling of a surface goes: a second surface takes over the picture, the first gets a new one, the picture is
// consumed, the second surface ends.
TEST_F(SurfaceTest, ASurfaceCanBeRebuiltFromItsOwnCopy) {
    const TestFolder folder;
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {8, 8}, folder.wide().c_str()));
    clearTo(0, 1, 0);
    surface.deleteContext();
    const HBITMAP large = surface.getHBitmap();
    {
        KivBitmapManager temporary;
        temporary.lock();
        surface.lock();
        temporary = surface;
        ASSERT_TRUE(surface.buildBitmapMemory(folder.wide().c_str(), {4, 4}));
        EXPECT_NE(surface.getHBitmap(), large);
        EXPECT_EQ(pixel(temporary.getHBitmap(), 7, 7), green);
        EXPECT_TRUE(kivDeleteBitmap(temporary.getHBitmap()));
        surface.unlock();
        temporary.unlock();
    }
    KivBitmapInfo gone;
    EXPECT_FALSE(kivGetBitmapInfo(large, &gone));
    EXPECT_EQ(info(surface.getHBitmap()).width, 4);
    EXPECT_EQ(surface.getSize(), (tagSIZE{4, 4}));
    EXPECT_NE(surface.getHFile(), nullptr);
}

TEST_F(SurfaceTest, AContextThatACopyEndedIsEndedOnce) {
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {8, 8}));
    clearTo(0, 0, 1);
    KivBitmapManager copy;
    copy = surface;
    EXPECT_EQ(copy.getHGLRC(), surface.getHGLRC());
    copy.deleteContext();
    EXPECT_EQ(pixel(copy.getHBitmap(), 0, 0), blue);
    EXPECT_EQ(kivCurrentGlContext(), nullptr);
    surface.deleteContext();
    EXPECT_EQ(surface.getHDC(), nullptr);
    EXPECT_EQ(surface.getHGLRC(), nullptr);
    EXPECT_EQ(pixel(copy.getHBitmap(), 0, 0), blue);
}

TEST_F(SurfaceTest, AssigningToALiveSurfaceEndsItsContext) {
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {8, 8}));
    const HGLRC context = surface.getHGLRC();
    surface = KivBitmapManager();
    EXPECT_EQ(surface.getHBitmap(), nullptr);
    EXPECT_EQ(kivCurrentGlContext(), nullptr);
    EXPECT_FALSE(kivDeleteGlContext(context));
}

TEST_F(SurfaceTest, CopyBitmapIntoAFinishedSurface) {
    KivBitmapManager surface;
    ASSERT_TRUE(surface.buildBitmapMemory(nullptr, {6, 5}));
    const Source source({3, 2}, 0x0000FF); // blue
    EXPECT_TRUE(surface.copyBitmap(source.dc));
    // Top left corner on top left corner, and rows are counted from the bottom.
    EXPECT_EQ(pixel(surface.getHBitmap(), 0, 4), blue);
    EXPECT_EQ(pixel(surface.getHBitmap(), 2, 3), blue);
    EXPECT_EQ(pixel(surface.getHBitmap(), 3, 4), 0U);
    EXPECT_EQ(pixel(surface.getHBitmap(), 0, 2), 0U);
    EXPECT_EQ(surface.getHDC(), nullptr);
    const Source large({100, 100}, 0x00FF00);
    EXPECT_TRUE(surface.copyBitmap(large.dc));
    EXPECT_EQ(pixel(surface.getHBitmap(), 5, 0), green);
    EXPECT_EQ(pixel(surface.getHBitmap(), 0, 4), green);
}

TEST_F(SurfaceTest, CopyBitmapWithNothingToCopyFromOrToIsFalse) {
    const Source source({3, 2}, 0);
    KivBitmapManager empty;
    EXPECT_FALSE(empty.copyBitmap(source.dc));
    KivBitmapManager surface;
    ASSERT_TRUE(surface.buildBitmapMemory(nullptr, {6, 5}));
    EXPECT_FALSE(surface.copyBitmap(nullptr));
    EXPECT_FALSE(surface.copyBitmap(kivScreenDeviceContext()));
    surface.setHDC(kivScreenDeviceContext());
    EXPECT_FALSE(surface.copyBitmap(source.dc));
    surface.setHDC(nullptr);
}

TEST_F(SurfaceTest, DrawingGoesOnOverACopiedPicture) {
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {6, 6}));
    clearTo(1, 0, 0);
    const Source source({6, 3}, 0x00FF00); // green, into the upper half
    ASSERT_TRUE(surface.copyBitmap(source.dc));
    glEnable(GL_SCISSOR_TEST);
    glScissor(0, 0, 1, 6);
    clearTo(0, 0, 1);
    ASSERT_NE(wglLockBitmap(&surface), nullptr);
    EXPECT_EQ(pixel(surface.getHBitmap(), 0, 0), blue);
    EXPECT_EQ(pixel(surface.getHBitmap(), 0, 5), blue);
    EXPECT_EQ(pixel(surface.getHBitmap(), 5, 5), green);
    EXPECT_EQ(pixel(surface.getHBitmap(), 5, 2), red) << "what was drawn before and not copied over";
    ASSERT_EQ(wglUnLockBitmap(&surface, nullptr), 1);
    // While the context is released.
    const Source blueSource({6, 1}, 0x0000FF);
    ASSERT_TRUE(surface.copyBitmap(blueSource.dc));
    ASSERT_TRUE(kivMakeGlCurrent(surface.getHDC(), surface.getHGLRC()));
    glScissor(0, 0, 6, 1);
    clearTo(0, 1, 0);
    surface.deleteContext();
    EXPECT_EQ(pixel(surface.getHBitmap(), 5, 5), blue);
    EXPECT_EQ(pixel(surface.getHBitmap(), 5, 4), green);
    EXPECT_EQ(pixel(surface.getHBitmap(), 5, 2), red);
    EXPECT_EQ(pixel(surface.getHBitmap(), 5, 0), green);
}

TEST_F(SurfaceTest, APictureCanBeCopiedFromALiveSurface) {
    KivBitmapManager drawn;
    ASSERT_TRUE(startDrawing(drawn, {4, 4}));
    clearTo(1, 0, 0);
    KivBitmapManager surface;
    ASSERT_TRUE(surface.buildBitmapMemory(nullptr, {4, 4}));
    EXPECT_TRUE(surface.copyBitmap(drawn.getHDC()));
    EXPECT_EQ(pixel(surface.getHBitmap(), 3, 0), red);
}
