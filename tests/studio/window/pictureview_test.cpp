#include "apps/studio/pictureview.h"

#include "apps/studio/studioevents.h"

#include <QAction>
#include <QApplication>
#include <QImage>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QVBoxLayout>
#include <gtest/gtest.h>

namespace {

QImage plain(int width, int height, const QColor& colour) {
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(colour);
    return image;
}

} // namespace

TEST(PictureView, FitsAtFirstAndNeverBlowsUp) {
    PictureView view;
    view.resize(400, 300);
    view.setPictures(plain(100, 50, Qt::red));
    EXPECT_DOUBLE_EQ(view.zoom(), 1.0) << "a small picture in its true size";
    view.setPictures(plain(4000, 1000, Qt::red));
    EXPECT_NEAR(view.zoom(), (400.0 - 24.0) / 4000.0, 1e-9);
    const QImage shown = view.grab().toImage();
    EXPECT_EQ(shown.pixelColor(200, 150), QColor(Qt::red));
    EXPECT_NE(shown.pixelColor(200, 20), QColor(Qt::red));
}

TEST(PictureView, KeysAndWheelZoomWithinBounds) {
    PictureView view;
    view.resize(400, 300);
    view.setPictures(plain(800, 600, Qt::blue));
    const double fitted = view.zoom();
    QTest::keyClick(&view, Qt::Key_1);
    EXPECT_DOUBLE_EQ(view.zoom(), 1.0);
    for (int i = 0; i < 40; ++i) {
        QTest::keyClick(&view, Qt::Key_Plus);
    }
    EXPECT_DOUBLE_EQ(view.zoom(), 16.0);
    for (int i = 0; i < 80; ++i) {
        QTest::keyClick(&view, Qt::Key_Minus);
    }
    EXPECT_NEAR(view.zoom(), 0.05, 1e-9);
    QTest::keyClick(&view, Qt::Key_0);
    EXPECT_DOUBLE_EQ(view.zoom(), fitted);
    QTest::mouseDClick(&view, Qt::LeftButton, {}, QPoint(100, 100));
    EXPECT_DOUBLE_EQ(view.zoom(), 1.0);
    QTest::mouseDClick(&view, Qt::LeftButton, {}, QPoint(100, 100));
    EXPECT_DOUBLE_EQ(view.zoom(), fitted);
}

TEST(PictureView, TheDividerShowsOneBesideTheOther) {
    PictureView view;
    view.resize(424, 324);
    view.setPictures(plain(400, 300, Qt::red), plain(400, 300, Qt::blue));
    QImage shown = view.grab().toImage();
    EXPECT_EQ(shown.pixelColor(100, 60), QColor(Qt::red));
    EXPECT_EQ(shown.pixelColor(300, 60), QColor(Qt::blue));
    // By hand, from the middle to the right.
    QTest::mousePress(&view, Qt::LeftButton, {}, QPoint(212, 100));
    QTest::mouseMove(&view, QPoint(352, 100));
    QTest::mouseRelease(&view, Qt::LeftButton, {}, QPoint(352, 100));
    EXPECT_NEAR(view.divider(), 0.85, 0.01);
    shown = view.grab().toImage();
    EXPECT_EQ(shown.pixelColor(300, 60), QColor(Qt::red));
    EXPECT_EQ(shown.pixelColor(390, 60), QColor(Qt::blue));
    view.setDivider(7.0);
    EXPECT_EQ(view.divider(), 1.0);
}

TEST(PictureView, ANullPictureIsNoTrouble) {
    PictureView view;
    view.resize(100, 100);
    QTest::keyClick(&view, Qt::Key_Plus);
    EXPECT_FALSE(view.grab().isNull());
}

namespace {

// A window with a field that input is held back from, and a button that it reaches.
class HeldInput : public testing::Test {
protected:
    HeldInput() {
        auto* const column = new QVBoxLayout(&window);
        column->addWidget(&field);
        column->addWidget(&button);
        QObject::connect(&button, &QPushButton::clicked, [this] { ++clicks; });
        window.show();
        QApplication::setActiveWindow(&window);
        field.setFocus();
    }

    QWidget window;
    QLineEdit field;
    QPushButton button;
    int clicks = 0;
};

} // namespace

TEST_F(HeldInput, ComesAfterwardsInItsOrder) {
    int wishes = 0;
    {
        const StudioEvents held(StudioEvents::Held::replay, nullptr, [&] { ++wishes; });
        QTest::keyClicks(&field, "abc");
        QTest::mouseClick(&button, Qt::LeftButton);
        EXPECT_EQ(field.text(), "");
        EXPECT_EQ(clicks, 0);
    }
    EXPECT_GT(wishes, 0);
    QApplication::processEvents();
    EXPECT_EQ(field.text(), "abc");
    EXPECT_EQ(clicks, 1);
}

// The keys of an action go to the action and not to a widget.
TEST_F(HeldInput, KeysOfActionsAreHeldToo) {
    QAction action;
    action.setShortcut(Qt::CTRL | Qt::Key_O);
    int triggered = 0;
    QObject::connect(&action, &QAction::triggered, [&] { ++triggered; });
    window.addAction(&action);
    QTest::keyClick(&field, Qt::Key_O, Qt::ControlModifier);
    ASSERT_EQ(triggered, 1) << "without anything that holds it";
    int wishes = 0;
    {
        const StudioEvents held(StudioEvents::Held::replay, nullptr, [&] { ++wishes; });
        QTest::keyClick(&field, Qt::Key_O, Qt::ControlModifier);
        EXPECT_EQ(triggered, 1);
        EXPECT_GT(wishes, 0);
    }
    QApplication::processEvents();
    EXPECT_EQ(triggered, 2);
    {
        const StudioEvents held(StudioEvents::Held::drop, &button);
        QTest::keyClick(&field, Qt::Key_O, Qt::ControlModifier);
    }
    QApplication::processEvents();
    EXPECT_EQ(triggered, 2);
    EXPECT_EQ(field.text(), "") << "the key is no letter either way";
}

TEST_F(HeldInput, IsDroppedButForTheAllowedWidget) {
    int wishes = 0;
    {
        const StudioEvents held(StudioEvents::Held::drop, &button, [&] { ++wishes; });
        QTest::keyClicks(&field, "abc");
        EXPECT_EQ(wishes, 0);
        QTest::mouseClick(&button, Qt::LeftButton);
        EXPECT_EQ(clicks, 1);
        QTest::keyClick(&field, Qt::Key_Escape);
        EXPECT_EQ(wishes, 1);
    }
    QApplication::processEvents();
    EXPECT_EQ(field.text(), "");
    EXPECT_EQ(clicks, 1);
}

TEST_F(HeldInput, TheWishToCloseIsKept) {
    int wishes = 0;
    {
        const StudioEvents held(StudioEvents::Held::drop, &button, [&] { ++wishes; });
        window.close();
        EXPECT_TRUE(window.isVisible());
        EXPECT_GE(wishes, 1);
    }
    QApplication::processEvents();
    EXPECT_FALSE(window.isVisible());
}

TEST(PictureView, ArrowKeysMoveAZoomedPicture) {
    QImage picture(400, 400, QImage::Format_RGB32);
    for (int y = 0; y < 400; ++y) {
        for (int x = 0; x < 400; ++x) {
            picture.setPixel(x, y, qRgb(x / 2, y / 2, 0));
        }
    }
    PictureView view;
    view.resize(200, 200);
    view.setPictures(picture);
    const auto middle = [&view] { return view.grab().toImage().pixel(100, 100); };
    const QRgb fitted = middle();
    QTest::keyClick(&view, Qt::Key_Right);
    EXPECT_EQ(middle(), fitted) << "there is nothing beside a picture that is seen whole";
    view.zoomTo(1.0);
    const QRgb before = middle();
    QTest::keyClick(&view, Qt::Key_Right);
    EXPECT_EQ(qRed(middle()), qRed(before) + 10) << "20 pixels";
    QTest::keyClick(&view, Qt::Key_Left);
    QTest::keyClick(&view, Qt::Key_Down);
    EXPECT_EQ(qRed(middle()), qRed(before));
    EXPECT_EQ(qGreen(middle()), qGreen(before) + 10);
    QTest::keyClick(&view, Qt::Key_Up);
    EXPECT_EQ(middle(), before);
    // Under a dividing line the keys along it are its own, and with Shift the picture's.
    view.setPictures(picture, picture);
    QTest::keyClick(&view, Qt::Key_Right);
    EXPECT_GT(view.divider(), 0.5);
    const double divider = view.divider();
    QTest::keyClick(&view, Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_EQ(view.divider(), divider);
    EXPECT_EQ(qRed(view.grab().toImage().pixel(40, 40)), (200 - 60 + 20) / 2);
}
