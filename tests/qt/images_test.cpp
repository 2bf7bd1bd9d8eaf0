// Pictures of the library as Qt's images.
#include "kivrender/platform/kivbitmap.h"
#include "qt/kivqtimages.h"

#include <QImage>
#include <QPainter>
#include <cstring>
#include <gtest/gtest.h>

TEST(QtImages, APictureStandsUprightAndIsOpaque) {
    const HBITMAP bitmap = kivCreateBitmap({2, 2});
    ASSERT_NE(bitmap, nullptr);
    KivBitmapInfo info;
    ASSERT_TRUE(kivGetBitmapInfo(bitmap, &info));
    // The bottom row first: blue, green, red and a byte that counts for nothing.
    const std::uint8_t rows[] = {1, 2, 3, 0, 4, 5, 6, 0x7F, 7, 8, 9, 0, 10, 11, 12, 0xFF};
    std::memcpy(info.pixels, rows, sizeof rows);
    const QImage image = kivQtImage(bitmap);
    kivDeleteBitmap(bitmap);
    ASSERT_EQ(image.size(), QSize(2, 2));
    // Painted over nothing, as windows are that are not opaque themselves.
    QImage shown(2, 2, QImage::Format_ARGB32_Premultiplied);
    shown.fill(Qt::transparent);
    QPainter(&shown).drawImage(0, 0, image);
    EXPECT_EQ(shown.pixel(0, 1), qRgba(3, 2, 1, 255));
    EXPECT_EQ(shown.pixel(1, 1), qRgba(6, 5, 4, 255));
    EXPECT_EQ(shown.pixel(0, 0), qRgba(9, 8, 7, 255));
    EXPECT_EQ(shown.pixel(1, 0), qRgba(12, 11, 10, 255));
}

TEST(QtImages, NoBitmapIsNoImage) {
    EXPECT_TRUE(kivQtImage(nullptr).isNull());
}

TEST(QtImages, AFinerPictureIsReducedToTheScreensPixels) {
    QImage fine(8, 4, QImage::Format_RGB32);
    for (int y = 0; y < fine.height(); ++y) {
        for (int x = 0; x < fine.width(); ++x) {
            fine.setPixel(x, y, x % 2 == 0 ? qRgb(0, 0, 0) : qRgb(200, 200, 200));
        }
    }
    const QImage usual = kivQtFitted(fine, {4, 4}, 1.0);
    EXPECT_EQ(usual.size(), QSize(4, 2)) << "the proportions stay";
    EXPECT_NEAR(qRed(usual.pixel(1, 1)), 100, 2) << "the mean of dark and bright";
    EXPECT_EQ(usual.devicePixelRatio(), 1.0);
    const QImage sharp = kivQtFitted(fine, {4, 4}, 2.0);
    EXPECT_EQ(sharp.size(), fine.size());
    EXPECT_EQ(sharp.deviceIndependentSize(), QSizeF(4, 2));
    EXPECT_EQ(qRed(sharp.pixel(1, 1)), 200);
    EXPECT_EQ(kivQtFitted(fine, {8, 8}, 2.0), fine) << "what has no more pixels stays as it is";
    EXPECT_TRUE(kivQtFitted(QImage(), {4, 4}, 1.0).isNull());
}
