// The visibility of controls on bright and on dark windows.
#include "apps/studio/studiostyle.h"

#include <QCheckBox>
#include <QImage>
#include <QPalette>
#include <QRadioButton>
#include <gtest/gtest.h>

namespace {

QPalette paletteOf(const QColor& window, const QColor& text) {
    QPalette palette(window, window);
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(role, text);
    }
    return palette;
}

// How far the brightest and the darkest pixel of the empty box are from each other.
template <class Button> int contrast(QStyle& style, const QPalette& palette) {
    Button button;
    button.setStyle(&style);
    button.setPalette(palette);
    button.resize(20, 20);
    const QImage image = button.grab().toImage();
    int least = 255;
    int most = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const int gray = qGray(image.pixel(x, y));
            least = std::min(least, gray);
            most = std::max(most, gray);
        }
    }
    return most - least;
}

} // namespace

TEST(StudioStyleTest, EmptyBoxesShowOnDarkWindows) {
    StudioStyle own("Fusion");
    QProxyStyle plain("Fusion");
    const QPalette dark = paletteOf(QColor(45, 46, 50), QColor(225, 225, 225));
    EXPECT_LT(contrast<QCheckBox>(plain, dark), 60) << "why the style is there";
    EXPECT_GT(contrast<QCheckBox>(own, dark), 80);
    EXPECT_GT(contrast<QRadioButton>(own, dark), 80);
}

TEST(StudioStyleTest, OnBrightWindowsNothingChanges) {
    StudioStyle own("Fusion");
    QProxyStyle plain("Fusion");
    const QPalette bright = paletteOf(QColor(239, 239, 239), Qt::black);
    EXPECT_GT(contrast<QCheckBox>(own, bright), 40);
    EXPECT_EQ(contrast<QCheckBox>(own, bright), contrast<QCheckBox>(plain, bright));
    EXPECT_EQ(contrast<QRadioButton>(own, bright), contrast<QRadioButton>(plain, bright));
}
