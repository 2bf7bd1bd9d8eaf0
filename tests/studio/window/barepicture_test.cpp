// Pictures without a background, and how they are saved.
#include "windowfixture.h"

#include <QCheckBox>
#include <QDialog>
#include <QStatusBar>

namespace {

class BarePicture : public StudioWindowTest {
protected:
    void leaveBackgroundOut() {
        openBoxes();
        whenModal([](QWidget* modal) {
            for (QCheckBox* const each : modal->findChildren<QCheckBox*>()) {
                if (each->text() == studioText(StudioText::withoutBackground)) {
                    each->setChecked(true);
                }
            }
            qobject_cast<QDialog*>(modal)->accept();
        });
        trigger(StudioText::options);
        ASSERT_TRUE(window->state().withoutBackground);
        trigger(StudioText::render);
        ASSERT_EQ(tabs().count(), 2);
    }
    QImage saved(const QString& name) {
        chooseFile(homeFolder() + "/" + name);
        trigger(StudioText::savePicture);
        return QImage(homeFolder() + "/" + name);
    }
};

} // namespace

TEST_F(BarePicture, WhatNothingCoversIsTransparent) {
    leaveBackgroundOut();
    const QImage picture = saved("bare.png");
    ASSERT_TRUE(picture.hasAlphaChannel());
    EXPECT_EQ(qAlpha(picture.pixel(1, 1)), 0);
    int opaque = 0;
    int soft = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const int alpha = qAlpha(picture.pixel(x, y));
            opaque += alpha == 255 ? 1 : 0;
            soft += alpha > 0 && alpha < 255 ? 1 : 0;
        }
    }
    EXPECT_GT(opaque, picture.width() * picture.height() / 20);
    EXPECT_GT(soft, 100) << "edges are smooth";
    EXPECT_LT(soft, opaque / 4);
}

TEST_F(BarePicture, AFileWithoutTransparencyHasTheBackgroundAndTheUserIsTold) {
    leaveBackgroundOut();
    const QImage picture = saved("bare.jpg");
    const QColor corner = picture.pixelColor(1, 1);
    EXPECT_NEAR(corner.red(), 0xF7, 4) << "the colour of the options";
    EXPECT_NEAR(corner.blue(), 0xE8, 4);
    EXPECT_TRUE(window->statusBar()->currentMessage().contains("PNG and TIFF"));
}

TEST_F(BarePicture, ADocumentKeepsTheWish) {
    StudioState state = window->state();
    state.withoutBackground = true;
    EXPECT_EQ(state.toJson()["selvarin"].toInt(), 3) << "older programs would paint one";
    StudioState read;
    std::wstring why;
    ASSERT_TRUE(read.fromJson(state.toJson(), {}, &why));
    EXPECT_TRUE(read.withoutBackground);
    EXPECT_TRUE(read == state);
    EXPECT_FALSE(read == window->state());
}
