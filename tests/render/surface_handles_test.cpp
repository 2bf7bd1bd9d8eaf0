// The handles underneath: owners are counted, and what is gone is refused.
#include "surface_fixture.h"

TEST(Bitmap, LivesUntilItsLastOwnerLetsGo) {
    const HBITMAP bitmap = kivCreateBitmap({3, 2});
    ASSERT_NE(bitmap, nullptr);
    EXPECT_EQ(kivShareBitmap(bitmap), bitmap);
    EXPECT_TRUE(kivDeleteBitmap(bitmap));
    KivBitmapInfo picture;
    ASSERT_TRUE(kivGetBitmapInfo(bitmap, &picture));
    EXPECT_EQ(picture.rowBytes, 12U);
    EXPECT_FALSE(picture.isSection);
    EXPECT_TRUE(kivDeleteBitmap(bitmap));
    EXPECT_FALSE(kivDeleteBitmap(bitmap));
    EXPECT_FALSE(kivGetBitmapInfo(bitmap, &picture));
    EXPECT_EQ(kivGetLastError(), kivErrorInvalidHandle);
    EXPECT_EQ(kivShareBitmap(bitmap), nullptr);
    EXPECT_EQ(picture.width, 3) << "untouched";
}

TEST(Bitmap, HandlesAreNeverGivenTwice) {
    HBITMAP last = nullptr;
    for (int i = 0; i < 1000; ++i) {
        const HBITMAP bitmap = kivCreateBitmap({1, 1});
        EXPECT_GT(bitmap, last);
        last = bitmap;
        kivDeleteBitmap(bitmap);
    }
}

TEST(Bitmap, NullIsRefused) {
    KivBitmapInfo picture;
    EXPECT_FALSE(kivGetBitmapInfo(nullptr, &picture));
    EXPECT_FALSE(kivDeleteBitmap(nullptr));
    EXPECT_EQ(kivShareBitmap(nullptr), nullptr);
}

TEST(Bitmap, SizesBelowOneAreRefused) {
    for (const tagSIZE size : {tagSIZE{0, 1}, tagSIZE{1, 0}, tagSIZE{-5, 5}, tagSIZE{5, -5}}) {
        kivSetLastError(0);
        EXPECT_EQ(kivCreateBitmap(size), nullptr);
        EXPECT_EQ(kivGetLastError(), kivErrorInvalidParameter);
    }
    kivSetLastError(0);
    EXPECT_EQ(kivCreateBitmap({INT32_MAX, INT32_MAX}), nullptr);
    EXPECT_EQ(kivGetLastError(), kivErrorNotEnoughMemory);
}

TEST(Bitmap, TheStandByIsNobodys) {
    const HBITMAP standBy = kivStandByBitmap();
    EXPECT_TRUE(kivDeleteBitmap(standBy));
    EXPECT_TRUE(kivDeleteBitmap(standBy));
    KivBitmapInfo picture;
    EXPECT_TRUE(kivGetBitmapInfo(standBy, &picture));
    EXPECT_EQ(kivShareBitmap(standBy), standBy);
}

TEST(Section, BoundsTheBitmapsOnIt) {
    const HANDLE section = kivCreateSection(kivInvalidHandle(), 400);
    ASSERT_NE(section, nullptr);
    const HBITMAP fits = kivCreateBitmapOnSection({10, 10}, section);
    EXPECT_NE(fits, nullptr);
    kivSetLastError(0);
    EXPECT_EQ(kivCreateBitmapOnSection({10, 11}, section), nullptr);
    EXPECT_EQ(kivGetLastError(), kivErrorNotEnoughMemory);
    EXPECT_TRUE(kivCloseHandle(section));
    EXPECT_EQ(kivCreateBitmapOnSection({1, 1}, section), nullptr);
    EXPECT_EQ(kivGetLastError(), kivErrorInvalidHandle);
    // The bitmap keeps its memory.
    KivBitmapInfo picture;
    ASSERT_TRUE(kivGetBitmapInfo(fits, &picture));
    picture.pixels[399] = 1;
    EXPECT_TRUE(kivDeleteBitmap(fits));
}

TEST(Section, RefusesNothingAndWhatIsGone) {
    EXPECT_EQ(kivCreateSection(kivInvalidHandle(), 0), nullptr);
    EXPECT_EQ(kivGetLastError(), kivErrorInvalidParameter);
    EXPECT_EQ(kivCreateSection(nullptr, 10), nullptr);
    EXPECT_EQ(kivGetLastError(), kivErrorInvalidHandle);
    const HANDLE section = kivCreateSection(kivInvalidHandle(), 10);
    EXPECT_EQ(kivCreateSection(section, 10), nullptr) << "a section is no file";
    EXPECT_TRUE(kivCloseHandle(section));
    EXPECT_FALSE(kivCloseHandle(section));
    EXPECT_FALSE(kivCloseHandle(nullptr));
    EXPECT_FALSE(kivCloseHandle(kivInvalidHandle()));
    EXPECT_EQ(kivShareHandle(section), nullptr);
    EXPECT_EQ(kivShareHandle(kivInvalidHandle()), kivInvalidHandle());
}

// Hosts compare with the value that their system gives for no file.
TEST(Handle, TheInvalidOneHasAllBitsSet) {
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(kivInvalidHandle()), ~std::uintptr_t{0});
}

TEST(DeviceContext, SelectsSwapsAndRefuses) {
    const HDC dc = kivCreateCompatibleDeviceContext(kivScreenDeviceContext());
    ASSERT_NE(dc, nullptr);
    EXPECT_EQ(kivSelectedBitmap(dc), kivStandByBitmap());
    const HBITMAP bitmap = kivCreateBitmap({2, 2});
    EXPECT_EQ(kivSelectBitmap(dc, bitmap), kivStandByBitmap());
    EXPECT_EQ(kivSelectedBitmap(dc), bitmap);
    EXPECT_EQ(kivSelectBitmap(dc, nullptr), nullptr);
    EXPECT_EQ(kivSelectedBitmap(dc), bitmap);
    EXPECT_EQ(kivSelectBitmap(kivScreenDeviceContext(), bitmap), nullptr) << "the screen takes none";
    EXPECT_EQ(kivSelectBitmap(nullptr, bitmap), nullptr);
    EXPECT_EQ(kivBitsPerPixel(dc), 32);
    EXPECT_TRUE(kivDeleteDeviceContext(dc));
    KivBitmapInfo picture;
    EXPECT_FALSE(kivGetBitmapInfo(bitmap, &picture)) << "what was left selected goes with its context";
    EXPECT_FALSE(kivDeleteDeviceContext(dc));
    EXPECT_FALSE(kivDeleteDeviceContext(kivScreenDeviceContext()));
    EXPECT_EQ(kivCreateCompatibleDeviceContext(dc), nullptr);
    EXPECT_EQ(kivBitsPerPixel(dc), 0);
    EXPECT_EQ(kivPixelFormatCount(dc), 0);
    EXPECT_EQ(kivCreateGlContext(dc), nullptr);
    EXPECT_FALSE(kivDeleteGlContext(nullptr));
}

TEST(DeviceContext, NeedsAPixelFormatBeforeAnOpenGlContext) {
    const HDC dc = kivCreateCompatibleDeviceContext(kivScreenDeviceContext());
    EXPECT_EQ(kivCreateGlContext(dc), nullptr);
    EXPECT_EQ(kivGlFailure().kind, KivGlFailure::wrongUse);
    EXPECT_FALSE(kivSetPixelFormat(dc, 3));
    EXPECT_EQ(kivGlFailure().kind, KivGlFailure::wrongUse);
    EXPECT_EQ(kivGlFailure().detail, "no such pixel format");
    EXPECT_TRUE(kivDeleteDeviceContext(dc));
}
