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
