// The main window as a user works it.
#include "apps/studio/compareview.h"
#include "apps/studio/pictureview.h"
#include "qt/kivpagetabs.h"
#include "studio/window/windowfixture.h"

#include <QClipboard>
#include <QComboBox>
#include <QDialog>
#include <QDir>
#include <QDropEvent>
#include <QJsonDocument>
#include <QLabel>
#include <QMessageBox>
#include <QMimeData>
#include <QPainter>
#include <QPushButton>
#include <QStatusBar>
#include <QSvgRenderer>
#include <QTreeWidget>
#include <cmath>
#include <set>

namespace {

using Dlg = KivPropertiesDlg;

} // namespace

TEST_F(StudioWindowTest, BeginsWithTheBuiltInScene) {
    settle();
    EXPECT_TRUE(window->state().models.empty());
    EXPECT_GT(covered(find<StudioView>()->picture()), 0.25);
    EXPECT_TRUE(window->windowTitle().startsWith("Built-in scene"));
    EXPECT_FALSE(window->isWindowModified());
}

TEST_F(StudioWindowTest, OpensAModelAndFitsItIntoTheView) {
    openBoxes();
    const QImage picture = find<StudioView>()->picture();
    EXPECT_GT(covered(picture), 0.15);
    EXPECT_EQ(find<ObjectsPanel>()->count(), 2);
    // Nothing touches the edge.
    for (int x = 0; x < picture.width(); ++x) {
        ASSERT_EQ(picture.pixel(x, 0), picture.pixel(0, 0));
        ASSERT_EQ(picture.pixel(x, picture.height() - 1), picture.pixel(0, 0));
    }
}

TEST_F(StudioWindowTest, AFileThatIsNoModelIsToldAndNothingIsLost) {
    openBoxes();
    const StudioState before = window->state();
    answer("OK");
    EXPECT_FALSE(window->openFiles({write("broken.obj", "f 1 2 3\n")}));
    EXPECT_TRUE(window->state() == before);
    EXPECT_EQ(find<ObjectsPanel>()->count(), 2);
    answer("OK");
    EXPECT_FALSE(window->openFiles({write("broken.selvarin", "{\"selvarin\": 1, \"look\": 3}")}));
    EXPECT_TRUE(window->state() == before);
}

TEST_F(StudioWindowTest, WhatItsReaderDoesNotSurviveIsToldAndNothingIsLost) {
    openBoxes();
    trigger(StudioText::viewLeft);
    const StudioState before = window->state();
    QString told;
    whenModal([&told](QWidget* question) {
        for (QPushButton* const each : question->findChildren<QPushButton*>()) {
            if (each->text() == "Don't save") {
                each->click();
            }
        }
        whenModal([&told](QWidget* message) {
            told = static_cast<QMessageBox*>(message)->text();
            message->close();
        });
    });
    QMimeData dropped;
    dropped.setUrls(
        {QUrl::fromLocalFile(write("cut.ply", "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\n"))});
    QDropEvent drop(QPointF(50, 50), Qt::CopyAction, &dropped, Qt::LeftButton, Qt::NoModifier);
    static_cast<QObject*>(window.get())->event(&drop); // as nothing was dragged over it before
    EXPECT_TRUE(QTest::qWaitFor([&] { return !told.isEmpty(); }, 20000));
    EXPECT_TRUE(told.contains("it is cut off within its header")) << told.toStdString();
    EXPECT_TRUE(window->state() == before);
    EXPECT_TRUE(window->isWindowModified()) << "and can still be saved";
    EXPECT_EQ(find<ObjectsPanel>()->count(), 2);
}

TEST_F(StudioWindowTest, AModelThatIsCutOffIsShownAndTold) {
    ASSERT_TRUE(window->openFiles({write("cut.ply", "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\n"
                                                    "property float y\nproperty float z\nelement face 2\n"
                                                    "property list uchar int vertex_indices\nend_header\n"
                                                    "0 0 0\n1 0 0\n0 1 0\n3 0 1 2\n")}));
    EXPECT_EQ(find<ObjectsPanel>()->count(), 1);
    EXPECT_TRUE(window->statusBar()->currentMessage().contains("cut off"));
}

TEST_F(StudioWindowTest, EscapeCancelsTheReadingOfAModel) {
    openBoxes();
    const StudioState before = window->state();
    QByteArray text = "ply\nformat ascii 1.0\nelement vertex 600000\nproperty float x\nproperty float y\n"
                      "property float z\nelement face 600000\nproperty list uchar int vertex_indices\nend_header\n";
    for (int i = 0; i < 600'000; ++i) {
        text += QByteArray::number(i % 775) + ' ' + QByteArray::number(i / 775) + " 0\n";
    }
    for (int i = 0; i < 600'000; ++i) {
        text += "3 " + QByteArray::number(i) + ' ' + QByteArray::number((i + 1) % 600'000) + ' ' +
                QByteArray::number((i + 775) % 600'000) + '\n';
    }
    const QString file = write("large.ply", text);
    bool pressed = false;
    // Timers fire while a model is read.
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        if (window->isRendering() && !pressed) {
            pressed = true;
            EXPECT_TRUE(window->isBusy());
            EXPECT_FALSE(find<ObjectsPanel>()->isEnabled());
            QTest::keyClick(window.get(), Qt::Key_Escape);
        }
    });
    poll.start(1);
    EXPECT_FALSE(window->openFiles({file}));
    poll.stop();
    ASSERT_TRUE(pressed) << "events are let through";
    EXPECT_FALSE(window->isBusy());
    EXPECT_TRUE(find<ObjectsPanel>()->isEnabled());
    EXPECT_TRUE(window->state() == before);
    EXPECT_EQ(find<ObjectsPanel>()->count(), 2);
    EXPECT_EQ(window->statusBar()->currentMessage(), studioText(StudioText::readingCancelled));
    settle();
}

TEST_F(StudioWindowTest, TheLeftButtonTurnsAndUndoTurnsBack) {
    openBoxes();
    auto* const view = find<StudioView>();
    const QImage before = view->picture();
    const StudioCamera camera = window->state().camera;
    QTest::mousePress(view, Qt::LeftButton, {}, QPoint(100, 100));
    for (int i = 1; i <= 5; ++i) {
        QTest::mouseMove(view, QPoint(100 + 12 * i, 100 + 5 * i));
    }
    QTest::mouseRelease(view, Qt::LeftButton, {}, QPoint(160, 125));
    EXPECT_NE(window->state().camera.yaw, camera.yaw);
    EXPECT_GT(window->state().camera.pitch, camera.pitch);
    settle();
    EXPECT_NE(view->picture(), before);
    EXPECT_TRUE(window->isWindowModified());
    undoAction()->trigger();
    EXPECT_DOUBLE_EQ(window->state().camera.yaw, camera.yaw) << "one movement is one step";
    settle();
    EXPECT_EQ(view->picture(), before) << "the same picture, pixel for pixel";
    EXPECT_FALSE(window->isWindowModified());
}

TEST_F(StudioWindowTest, StandardViewsAndParallelProjection) {
    openBoxes();
    trigger(StudioText::viewTop);
    EXPECT_NEAR(window->state().camera.pitch, std::acos(0.0), 1e-12);
    settle();
    trigger(StudioText::parallel);
    EXPECT_TRUE(window->state().camera.parallel);
    settle();
    // From above and in parallel the two boxes are two equal squares: left and right mirror each other.
    const QImage picture = find<StudioView>()->picture();
    EXPECT_GT(covered(picture), 0.1);
    int left = 0;
    int right = 0;
    const QRgb ground = picture.pixel(1, 1);
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            (x < picture.width() / 2 ? left : right) += picture.pixel(x, y) != ground ? 1 : 0;
        }
    }
    EXPECT_NEAR(left, right, 0.02 * left);
}

// Edges of a picture that is not smoothed have no colours in between.
TEST_F(StudioWindowTest, ThePreviewIsSmooth) {
    settle();
    const QImage preview = control<QLabel>(Dlg::previewPicture)->pixmap(Qt::ReturnByValue).toImage();
    std::set<QRgb> colours;
    for (int y = 0; y < preview.height(); ++y) {
        for (int x = 0; x < preview.width(); ++x) {
            colours.insert(preview.pixel(x, y));
        }
    }
    EXPECT_GT(colours.size(), 200U);
}

// With nothing in common there are no pages, and the rest stays where it is.
TEST_F(StudioWindowTest, WithoutPagesThePanelStaysAtTheTop) {
    openBoxes();
    const auto* const trees = control<QTreeWidget>(Dlg::combinableTree);
    const auto* const picture = control<QLabel>(Dlg::previewPicture);
    const int top = picture->mapTo(window.get(), QPoint()).y();
    const int middle = trees->mapTo(window.get(), QPoint()).y();
    const auto* const styles = control<QComboBox>(Dlg::stylesCombo);
    EXPECT_LT(styles->mapTo(window.get(), QPoint()).y(), top + 30) << "below its caption, with nothing in between";
    find<LookPanel>()->dialog().setData(nullptr);
    QTest::qWait(50);
    ASSERT_FALSE(find<KivPageTabs>()->isVisible());
    EXPECT_EQ(picture->mapTo(window.get(), QPoint()).y(), top);
    EXPECT_NEAR(trees->mapTo(window.get(), QPoint()).y(), middle, 2);
}

TEST_F(StudioWindowTest, IconsTakeTheColourOfTheTexts) {
    const auto inkOf = [this](StudioText text) {
        const QImage icon = action(text)->icon().pixmap(32, 32).toImage();
        QColor ink;
        for (int y = 0; y < icon.height(); ++y) {
            for (int x = 0; x < icon.width(); ++x) {
                if (qAlpha(icon.pixel(x, y)) == 255) {
                    ink = icon.pixelColor(x, y);
                }
            }
        }
        return ink;
    };
    const QPalette before = window->palette();
    EXPECT_EQ(inkOf(StudioText::render), before.color(QPalette::Active, QPalette::ButtonText));
    QPalette dark = before;
    dark.setColor(QPalette::ButtonText, QColor(230, 230, 210));
    window->setPalette(dark);
    EXPECT_EQ(inkOf(StudioText::render), QColor(230, 230, 210));
    EXPECT_EQ(inkOf(StudioText::options), QColor(230, 230, 210));
}

// Lines that lay the depth of surfaces before they are painted must not shine through the paint.
TEST_F(StudioWindowTest, ThePreviewsBallIsPaintedWhole) {
    settle();
    const QImage preview = control<QLabel>(Dlg::previewPicture)->pixmap(Qt::ReturnByValue).toImage();
    ASSERT_EQ(preview.size(), QSize(110, 110)) << "on a screen of usual sharpness";
    constexpr int ballX = 30;
    constexpr int ballY = 46;
    constexpr int inside = 17;
    const QRgb ground = preview.pixel(1, 1);
    for (int y = -inside; y <= inside; ++y) {
        for (int x = -inside; x <= inside; ++x) {
            if (x * x + y * y <= inside * inside) {
                EXPECT_NE(preview.pixel(ballX + x, ballY + y), ground) << x << ", " << y;
            }
        }
    }
}

TEST_F(StudioWindowTest, AStyleIsTakenFromTheListAndCanBeTakenBack) {
    openBoxes();
    auto* const view = find<StudioView>();
    const QImage before = view->picture();
    auto* const combo = control<QComboBox>(Dlg::stylesCombo);
    combo->setFocus();
    while (combo->currentText() != "Blueprint") {
        QTest::keyClick(combo, Qt::Key_Down);
        ASSERT_LT(combo->currentIndex(), combo->count() - 1);
    }
    ASSERT_TRUE(QTest::qWaitFor([&] { return undoAction()->isEnabled(); }, 2000));
    settle();
    EXPECT_NE(view->picture(), before);
    EXPECT_GT(qBlue(view->picture().pixel(2, 2)), qRed(view->picture().pixel(2, 2))) << "a blueprint is blue";
    undoAction()->trigger();
    while (undoAction()->isEnabled()) {
        undoAction()->trigger();
    }
    settle();
    EXPECT_EQ(view->picture(), before);
    EXPECT_EQ(combo->currentIndex(), -1);
}

TEST_F(StudioWindowTest, ObjectsGetALookOfTheirOwnTogether) {
    openBoxes();
    auto* const objects = find<ObjectsPanel>();
    auto* const view = find<StudioView>();
    const QImage before = view->picture();
    objects->select({0, 1});
    emit objects->selectionChangedByUser();
    // Without outlines, for both.
    auto* const tree = control<QTreeWidget>(Dlg::combinableTree);
    int outline = 0;
    while (tree->topLevelItem(outline)->text(0) != "Outline") {
        ++outline;
    }
    ASSERT_TRUE(panel().isItemChecked(Dlg::combinableTree, outline));
    const QRect row = tree->visualItemRect(tree->topLevelItem(outline));
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, QPoint(row.left() + 10, row.center().y()));
    ASSERT_TRUE(QTest::qWaitFor([&] { return window->state().objects.size() == 2; }, 3000));
    settle();
    EXPECT_TRUE(objects->item(0)->font(0).bold());
    EXPECT_NE(view->picture(), before);
    // One of them back to the picture's look: then the two differ, and the panel says so.
    objects->select({0});
    emit objects->selectionChangedByUser();
    find<LookPanel>()->ownLooksDropped();
    EXPECT_EQ(window->state().objects.size(), 1U);
    objects->select({0, 1});
    emit objects->selectionChangedByUser();
    EXPECT_FALSE(panel().isItemChecked(Dlg::combinableTree, outline)) << "varied lists of shaders are shown as none";
    objects->select({1});
    emit objects->selectionChangedByUser();
    find<LookPanel>()->ownLooksDropped();
    EXPECT_TRUE(window->state().objects.empty());
    settle();
    EXPECT_EQ(view->picture(), before);
}

TEST_F(StudioWindowTest, AClickSelectsWhatIsUnderIt) {
    openBoxes();
    trigger(StudioText::viewFront);
    settle();
    auto* const view = find<StudioView>();
    QTest::mouseClick(view, Qt::LeftButton, {}, QPoint(view->width() / 4, view->height() / 2));
    EXPECT_EQ(find<ObjectsPanel>()->selected(), std::vector<int>{0});
    QTest::mouseClick(view, Qt::LeftButton, Qt::ControlModifier, QPoint(view->width() * 3 / 4, view->height() / 2));
    EXPECT_EQ(find<ObjectsPanel>()->selected(), (std::vector<int>{0, 1}));
    QTest::mouseClick(view, Qt::LeftButton, {}, QPoint(3, 3));
    EXPECT_TRUE(find<ObjectsPanel>()->selected().empty());
}

TEST_F(StudioWindowTest, LightsAreAddedMovedAndRemoved) {
    openBoxes();
    auto* const view = find<StudioView>();
    auto* const lights = find<LightsPanel>();
    const QImage before = view->picture();
    EXPECT_FALSE(window->state().hasLights);
    EXPECT_EQ(lights->lights().size(), 1U);
    for (QAction* const each : lights->findChildren<QAction*>()) {
        if (each->text() == "Lamp") {
            each->trigger();
        }
    }
    ASSERT_TRUE(window->state().hasLights);
    ASSERT_EQ(window->state().lights.size(), 2U);
    EXPECT_EQ(window->state().lights[1].kind, StudioLight::Kind::point);
    EXPECT_EQ(lights->current(), 1);
    settle();
    EXPECT_NE(view->picture(), before);
    // Its sun is dragged in the view.
    double x = 0.0;
    double y = 0.0;
    const Kiv3DPoint handle = view->handleOf(window->state().lights[1]);
    ASSERT_TRUE(window->state().camera.project(handle, view->width(), view->height(), &x, &y));
    const QPoint from(static_cast<int>(x), static_cast<int>(y));
    ASSERT_TRUE(view->rect().contains(from)) << x << " " << y;
    const Kiv3DPoint place = window->state().lights[1].location;
    QTest::mousePress(view, Qt::LeftButton, {}, from);
    QTest::mouseMove(view, from + QPoint(10, 0));
    QTest::mouseMove(view, from + QPoint(30, 0));
    QTest::mouseRelease(view, Qt::LeftButton, {}, from + QPoint(30, 0));
    EXPECT_GT(std::abs(window->state().lights[1].location.x - place.x), 1e-3);
    for (QAbstractButton* const each : lights->findChildren<QAbstractButton*>()) {
        if (each->text() == "Remove") {
            each->click();
        }
    }
    EXPECT_EQ(window->state().lights.size(), 1U);
    lights->defaultWanted();
    EXPECT_FALSE(window->state().hasLights);
    settle();
    EXPECT_EQ(view->picture(), before);
}

TEST_F(StudioWindowTest, RendersAPictureAndSavesIt) {
    openBoxes();
    whenModal([](QWidget* modal) {
        for (QComboBox* const combo : modal->findChildren<QComboBox*>()) {
            combo->setFocus();
            QTest::keyClick(combo, Qt::Key_Down); // 640x480
        }
        static_cast<QDialog*>(modal)->accept();
    });
    trigger(StudioText::options);
    EXPECT_EQ(window->state().options.getResolution(), (SIZE{640, 480}));
    trigger(StudioText::render);
    ASSERT_EQ(tabs().count(), 2);
    EXPECT_EQ(tabs().tabText(1), "Picture 1");
    const QString file = homeFolder() + "/out.png";
    chooseFile(file, "PNG images (*.png)");
    trigger(StudioText::savePicture);
    const QImage saved(file);
    EXPECT_EQ(saved.size(), QSize(640, 480));
    EXPECT_GT(covered(saved), 0.15);
    std::set<QRgb> colours;
    for (int x = 0; x < saved.width(); ++x) {
        colours.insert(saved.pixel(x, saved.height() / 2));
    }
    EXPECT_GT(colours.size(), 4U);
    // Twice the same is the same.
    trigger(StudioText::render);
    ASSERT_EQ(tabs().count(), 3);
    chooseFile(homeFolder() + "/out2.png", "PNG images (*.png)");
    trigger(StudioText::savePicture);
    EXPECT_EQ(QImage(homeFolder() + "/out2.png"), saved);
    trigger(StudioText::compare);
    ASSERT_EQ(tabs().count(), 4);
    EXPECT_NE(qobject_cast<CompareView*>(tabs().currentWidget()), nullptr);
    trigger(StudioText::closeResult);
    tabs().setCurrentIndex(1);
    trigger(StudioText::closeResult);
    EXPECT_EQ(tabs().count(), 2);
    EXPECT_FALSE(action(StudioText::compare)->isEnabled());
}

TEST_F(StudioWindowTest, ExportsADrawing) {
    openBoxes();
    const QString file = homeFolder() + "/out.svg";
    chooseFile(file, "SVG drawings (*.svg)");
    trigger(StudioText::exportDrawing);
    QFile in(file);
    ASSERT_TRUE(in.open(QIODevice::ReadOnly));
    const QByteArray drawing = in.readAll();
    EXPECT_TRUE(drawing.contains("<svg"));
    EXPECT_GT(drawing.count("<path") + drawing.count("<polygon"), 5);
    EXPECT_FALSE(window->state().options.doVectorial()) << "an export changes no option";
}

TEST_F(StudioWindowTest, ThePictureOfTheTabInFrontIsCopied) {
    openBoxes();
    trigger(StudioText::copyPicture);
    EXPECT_EQ(QGuiApplication::clipboard()->image().convertToFormat(QImage::Format_RGB32),
              find<StudioView>()->picture().convertToFormat(QImage::Format_RGB32));
    QGuiApplication::clipboard()->clear();
    trigger(StudioText::render);
    trigger(StudioText::copyPicture);
    const QImage copied = QGuiApplication::clipboard()->image();
    EXPECT_GT(covered(copied), 0.05);
    EXPECT_NE(copied.convertToFormat(QImage::Format_RGB32),
              find<StudioView>()->picture().convertToFormat(QImage::Format_RGB32));
}

TEST_F(StudioWindowTest, TheSelectionFillsTheView) {
    openBoxes();
    trigger(StudioText::fit);
    const double whole = window->state().camera.distance;
    trigger(StudioText::fitSelection);
    EXPECT_EQ(window->state().camera.distance, whole) << "without a selection it is all";
    find<ObjectsPanel>()->select({1});
    trigger(StudioText::fitSelection);
    EXPECT_LT(window->state().camera.distance, whole * 0.8);
    EXPECT_GT(window->state().camera.target.x, 0.0) << "it is the box on the right";
}

// A picture of a model that was open before is one of that model.
TEST_F(StudioWindowTest, ExportsThePictureThatIsShownWhateverIsOpenNow) {
    openBoxes();
    trigger(StudioText::render);
    const auto exported = [this](const QString& name) {
        const QString file = homeFolder() + "/" + name;
        chooseFile(file, "SVG drawings (*.svg)");
        trigger(StudioText::exportDrawing);
        QFile in(file);
        EXPECT_TRUE(in.open(QIODevice::ReadOnly));
        return in.readAll().count("<p");
    };
    const auto before = exported("before.svg");
    EXPECT_GT(before, 5);
    ASSERT_TRUE(window->openFiles({write("one.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n")}));
    settle();
    EXPECT_LT(exported("open.svg"), before);
    tabs().setCurrentIndex(1);
    EXPECT_EQ(exported("shown.svg"), before);
}

// As a page of lines and areas the paper would be one area over everything.
TEST_F(StudioWindowTest, ADrawingLeavesThePaperOut) {
    openBoxes();
    StudioState onPaper = window->state();
    const QString paper = homeFolder() + "/paper.png";
    QImage grain(16, 16, QImage::Format_RGB32);
    grain.fill(QColor(230, 220, 200));
    ASSERT_TRUE(grain.save(paper));
    const auto drawing = [this](const QString& name) {
        const QString file = homeFolder() + "/" + name;
        chooseFile(file, "SVG drawings (*.svg)");
        trigger(StudioText::exportDrawing);
        QImage image(100, 100, QImage::Format_RGB32);
        image.fill(Qt::white);
        QSvgRenderer shown(file);
        EXPECT_TRUE(shown.isValid());
        QPainter painter(&image);
        shown.render(&painter);
        return image;
    };
    const QImage plain = drawing("plain.svg");
    EXPECT_GT(covered(plain), 0.05);
    onPaper.options.setPaperImage(paper.toStdWString().c_str());
    const QString document = write("paper.selvarin", QByteArray::fromStdString(onPaper.toJson().compact()));
    ASSERT_TRUE(window->openFiles({document}));
    settle();
    EXPECT_EQ(drawing("paper.svg"), plain);
    EXPECT_TRUE(window->statusBar()->currentMessage().contains("no part of a drawing"));
}

TEST_F(StudioWindowTest, EscapeCancelsARender) {
    openBoxes();
    bool pressed = false;
    // Timers fire while a render lets events through.
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        if (window->isRendering()) {
            pressed = true;
            QTest::keyClick(window.get(), Qt::Key_Escape);
        }
    });
    poll.start(1);
    whenModal([](QWidget* modal) {
        for (QComboBox* const combo : modal->findChildren<QComboBox*>()) {
            combo->setFocus();
            for (int i = 0; i < 4; ++i) {
                QTest::keyClick(combo, Qt::Key_Down);
            }
        }
        static_cast<QDialog*>(modal)->accept();
    });
    trigger(StudioText::options);
    trigger(StudioText::render);
    poll.stop();
    ASSERT_TRUE(pressed) << "events are let through";
    EXPECT_EQ(tabs().count(), 1) << "no half picture stays";
    EXPECT_TRUE(window->menuWidget() == nullptr || window->menuWidget()->isEnabled());
    trigger(StudioText::render);
    EXPECT_EQ(tabs().count(), 2) << "the next one works";
}

// A dialog that opened within the drawing would wait for it, and the drawing for the dialog.
TEST_F(StudioWindowTest, WhatIsAskedForWhileTheViewIsDrawnComesAfterIt) {
    settle();
    bool asked = false;
    bool answered = false;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        if (window->isBusy() && !asked) {
            asked = true;
            trigger(StudioText::keys);
            EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
        }
    });
    whenModal([&](QWidget* modal) {
        EXPECT_FALSE(window->isBusy());
        answered = true;
        modal->close();
    });
    poll.start(1);
    window->resize(window->width() + 100, window->height());
    EXPECT_TRUE(QTest::qWaitFor([&] { return answered; }, 20000));
    EXPECT_TRUE(asked) << "events are let through";
    poll.stop();
    settle();
}

TEST_F(StudioWindowTest, ADocumentComesBackAsItWas) {
    openBoxes();
    trigger(StudioText::viewLeft);
    find<ObjectsPanel>()->select({1});
    const QString file = homeFolder() + "/work.selvarin";
    chooseFile(file);
    trigger(StudioText::saveAs);
    EXPECT_FALSE(window->isWindowModified());
    EXPECT_TRUE(window->windowTitle().startsWith("work"));
    const StudioState saved = window->state();
    window.reset();
    open();
    ASSERT_TRUE(window->openFiles({file}));
    EXPECT_TRUE(window->state() == saved);
    EXPECT_FALSE(window->isWindowModified());
}

TEST_F(StudioWindowTest, ClosingAsksForWhatIsNotSaved) {
    openBoxes();
    trigger(StudioText::viewLeft);
    answer("Cancel");
    EXPECT_FALSE(window->close());
    EXPECT_TRUE(window->isVisible());
    answer("Don't save");
    EXPECT_TRUE(window->close());
}

TEST_F(StudioWindowTest, WorkSurvivesACrash) {
    openBoxes();
    trigger(StudioText::viewLeft);
    const StudioState work = window->state();
    // A second later there is a file, which goes when the window is closed in peace.
    const QDir folder(StudioRecovery::folder());
    ASSERT_TRUE(QTest::qWaitFor([&] { return !folder.entryList({"*.selvarin"}, QDir::Files).isEmpty(); }, 4000));
    EXPECT_TRUE(StudioRecovery::findAbandoned().empty()) << "its window is open";
    window.reset(); // without closing it: as a crash, but for the process
    ASSERT_EQ(StudioRecovery::findAbandoned().size(), 1U);
    open();
    answer("Recover");
    window->offerRecovery();
    EXPECT_TRUE(window->state() == work);
    EXPECT_TRUE(window->isWindowModified());
    answer("Don't save");
    EXPECT_TRUE(window->close());
    EXPECT_TRUE(folder.entryList({"*.selvarin"}, QDir::Files).isEmpty());
}

TEST_F(StudioWindowTest, SpeaksSpanish) {
    window.reset();
    ASSERT_TRUE(kivLoadLanguage(L"es"));
    open();
    EXPECT_TRUE(window->windowTitle().startsWith("Escena incluida"));
    EXPECT_EQ(tabs().tabText(0), "Vista");
    ASSERT_TRUE(kivLoadLanguage(L"en"));
}
