#include "apps/studio/drawingpage.h"

#include "apps/studio/drawingform.h"
#include "windowfixture.h"

#include <QComboBox>
#include <QDir>
#include <QDoubleSpinBox>
#include <QMessageBox>
#include <QTreeWidget>
#include <map>

namespace {

class DrawingPageTest : public StudioWindowTest {
protected:
    DrawingPage* renderDrawing() {
        trigger(StudioText::renderDrawing);
        auto* const page = qobject_cast<DrawingPage*>(tabs().currentWidget());
        EXPECT_NE(page, nullptr);
        return page;
    }
    static QTreeWidgetItem* layer(DrawingPage* page, const QString& name) {
        const QList<QTreeWidgetItem*> found =
            page->findChild<QTreeWidget*>()->findItems(name, Qt::MatchExactly | Qt::MatchRecursive);
        return found.isEmpty() ? nullptr : found.first();
    }
    static void switchLayer(DrawingPage* page, const QString& name, bool on) {
        QTreeWidgetItem* const item = layer(page, name);
        ASSERT_NE(item, nullptr) << name.toStdString();
        item->setCheckState(0, on ? Qt::Checked : Qt::Unchecked);
        QTest::qWait(1);
    }
    // The combo box of that name in a form.
    static QComboBox* combo(QWidget* in, StudioText name) {
        for (QComboBox* const each : in->findChildren<QComboBox*>()) {
            if (each->accessibleName() == studioText(name)) {
                return each;
            }
        }
        ADD_FAILURE() << "no combo box";
        return nullptr;
    }
    static void choose(QWidget* in, StudioText name, const QString& entry) {
        QComboBox* const box = combo(in, name);
        const int index = box->findText(entry);
        ASSERT_GE(index, 0) << entry.toStdString();
        box->setCurrentIndex(index);
        emit box->activated(index);
    }
    QByteArray content(const QString& name) const {
        QFile in(homeFolder() + "/" + name);
        EXPECT_TRUE(in.open(QIODevice::ReadOnly)) << name.toStdString();
        return in.readAll();
    }
    QByteArray saved(const QString& name) {
        chooseFile(homeFolder() + "/" + name);
        trigger(StudioText::exportDrawing);
        return content(name);
    }
};

} // namespace

TEST_F(DrawingPageTest, ADrawingIsATabOfItsOwnWithItsLayers) {
    openBoxes();
    DrawingPage* const page = renderDrawing();
    EXPECT_FALSE(window->state().options.doVectorial()) << "the document stays as it is";
    EXPECT_NE(layer(page, studioText(StudioText::areasLayer)), nullptr);
    EXPECT_NE(layer(page, studioText(StudioText::contours)), nullptr);
    EXPECT_EQ(layer(page, studioText(StudioText::boundaries)), nullptr) << "boxes are closed";
    EXPECT_NE(layer(page, "left"), nullptr);
    EXPECT_NE(layer(page, "right"), nullptr);
    EXPECT_GT(covered(page->view()->image()), 0.05);
    EXPECT_FALSE(QDir(homeFolder()).entryList().join(' ').contains("svg"));
}

TEST_F(DrawingPageTest, WhatIsSwitchedOffIsNeitherShownNorSaved) {
    openBoxes();
    DrawingPage* const page = renderDrawing();
    const QImage whole = page->view()->image();
    const QByteArray all = saved("all.svg");
    EXPECT_TRUE(all.contains("left") && all.contains("right"));
    switchLayer(page, "left", false);
    const QImage half = page->view()->image();
    EXPECT_EQ(half.size(), whole.size());
    EXPECT_LT(covered(half), covered(whole) * 0.7);
    const QByteArray right = saved("right.svg");
    EXPECT_FALSE(right.contains("left"));
    EXPECT_TRUE(right.contains("right"));
    switchLayer(page, studioText(StudioText::areasLayer), false);
    EXPECT_LT(covered(page->view()->image()), covered(half) * 0.5);
    EXPECT_FALSE(saved("lines.svg").contains("areas"));
    // The heading stands for all below it.
    switchLayer(page, studioText(StudioText::objects), false);
    EXPECT_EQ(covered(page->view()->image()), 0.0);
    switchLayer(page, studioText(StudioText::objects), true);
    switchLayer(page, studioText(StudioText::areasAndLines), true);
    EXPECT_EQ(covered(page->view()->image()) > covered(whole) * 0.95, true);
}

TEST_F(DrawingPageTest, HiddenLinesAreThereToBeSwitchedOn) {
    openBoxes();
    DrawingPage* const page = renderDrawing();
    EXPECT_EQ(page->options().sheet.hidden, KivSheet::Hidden::none);
    ASSERT_NE(layer(page, studioText(StudioText::hiddenLines)), nullptr);
    EXPECT_EQ(layer(page, studioText(StudioText::hiddenLines))->checkState(0), Qt::Unchecked);
    EXPECT_FALSE(saved("a.svg").contains("stroke-dasharray"));
    switchLayer(page, studioText(StudioText::hiddenLines), true);
    EXPECT_EQ(page->options().sheet.hidden, KivSheet::Hidden::dashed);
    EXPECT_EQ(window->state().drawing.sheet.hidden, KivSheet::Hidden::dashed) << "the document keeps it";
    EXPECT_TRUE(saved("b.svg").contains("stroke-dasharray"));
    choose(page, StudioText::hiddenLines, studioText(StudioText::hiddenNone));
    EXPECT_EQ(layer(page, studioText(StudioText::hiddenLines))->checkState(0), Qt::Unchecked);
}

// A drawing has no pixels: a line from close up is as sharp as from afar.
TEST_F(DrawingPageTest, LinesStaySharpFromCloseUp) {
    openBoxes();
    DrawingPage* const page = renderDrawing();
    switchLayer(page, studioText(StudioText::areasLayer), false);
    page->view()->zoomTo(40.0);
    const QImage shot = page->view()->grab().toImage();
    std::map<QRgb, int> counts;
    for (int y = 0; y < shot.height(); ++y) {
        for (int x = 0; x < shot.width(); ++x) {
            ++counts[shot.pixel(x, y)];
        }
    }
    int plain = 0;
    for (const auto& [colour, count] : counts) {
        plain += count > 200 ? count : 0;
    }
    EXPECT_GT(plain, shot.width() * shot.height() * 0.97) << "little lies between ink and paper";
}

TEST_F(DrawingPageTest, ThePageIsShownAsItIsSaved) {
    openBoxes();
    DrawingPage* const page = renderDrawing();
    choose(page, StudioText::drawingPage, "A4");
    const QImage sheet = page->view()->image();
    EXPECT_NEAR(static_cast<double>(sheet.height()) / sheet.width(), 297.0 / 210.0, 0.01);
    EXPECT_TRUE(saved("a4.svg").contains("width=\"210mm\"")) << content("a4.svg").left(400).toStdString();
    EXPECT_EQ(window->state().drawing.sheet.page, KivSheet::Page::paper);
    undoAction()->trigger();
    EXPECT_EQ(window->state().drawing.sheet.page, KivSheet::Page::picture);
}

TEST_F(DrawingPageTest, AllFormatsAreWrittenByTheSameEngine) {
    openBoxes();
    renderDrawing();
    EXPECT_TRUE(saved("d.svg").contains("inkscape:groupmode"));
    EXPECT_TRUE(saved("d.pdf").startsWith("%PDF"));
    EXPECT_TRUE(saved("d.ai").startsWith("%PDF"));
    EXPECT_TRUE(saved("d.eps").startsWith("%!PS-Adobe"));
    EXPECT_TRUE(saved("d.ps").startsWith("%!PS-Adobe"));
    EXPECT_TRUE(saved("d.dxf").contains("AC1015"));
    EXPECT_TRUE(saved("d.hpgl").contains("PU"));
    EXPECT_TRUE(saved("d.plt").contains("PU"));
}

// The dialog that asks for the file has the form of the page beside the names.
TEST_F(DrawingPageTest, TheSaveDialogHasTheOptionsAndTheyAreRemembered) {
    openBoxes();
    const QString file = homeFolder() + "/sheet.svg";
    whenModal([file](QWidget* modal) {
        ASSERT_NE(modal->findChild<DrawingForm*>(), nullptr);
        choose(modal, StudioText::drawingPage, "A3");
        choose(modal, StudioText::lineGroup, "ISO 128: 0.5 mm");
        choose(modal, StudioText::drawingAreas, studioText(StudioText::areasFaces));
        chooseFile(file);
    });
    trigger(StudioText::exportDrawing);
    EXPECT_TRUE(content("sheet.svg").contains("width=\"297mm\""));
    const DrawingOptions kept = window->state().drawing;
    EXPECT_EQ(kept.sheet.height, 420.0);
    EXPECT_EQ(kept.sheet.pen[static_cast<int>(KivStrokeKind::contour)], 0.5);
    EXPECT_EQ(kept.sheet.pen[static_cast<int>(KivStrokeKind::crease)], 0.25);
    EXPECT_EQ(kept.areas, KivDrawingCollector::Areas::faces);
    EXPECT_TRUE(window->state().options.doVectorSimplify()) << "the other dialog says the same";
    answer(studioText(StudioText::discardButton));
    window->close();
    window.reset();
    open();
    EXPECT_TRUE(window->state().drawing == kept) << "the next document begins with them";
}

TEST_F(DrawingPageTest, TheSaveDialogAsksHowTexturesAreDrawn) {
    openBoxes();
    const QString file = homeFolder() + "/textures.svg";
    whenModal([file](QWidget* modal) {
        EXPECT_TRUE(combo(modal, StudioText::drawingTextures)->isEnabled());
        choose(modal, StudioText::drawingAreas, studioText(StudioText::areasFaces));
        EXPECT_FALSE(combo(modal, StudioText::drawingTextures)->isEnabled()) << "they are whole areas' own";
        choose(modal, StudioText::drawingAreas, studioText(StudioText::areasRegions));
        choose(modal, StudioText::drawingTextures, studioText(StudioText::texturesMean));
        choose(modal, StudioText::drawingTextures, studioText(StudioText::texturesPictures));
        chooseFile(file);
    });
    trigger(StudioText::exportDrawing);
    EXPECT_EQ(window->state().drawing.textures, KivDrawingCollector::Textures::pictures);
    answer(studioText(StudioText::discardButton));
    window->close();
    window.reset();
    open();
    EXPECT_EQ(window->state().drawing.textures, KivDrawingCollector::Textures::pictures);
}

TEST_F(DrawingPageTest, AScaleWithoutAParallelViewIsToldAndWritesNothing) {
    openBoxes();
    DrawingPage* const page = renderDrawing();
    choose(page, StudioText::drawingScale, "1:2");
    QStringList told;
    const QString file = homeFolder() + "/scaled.svg";
    chooseFile(file);
    QTimer::singleShot(400, qApp, [&told] {
        whenModal([&told](QWidget* modal) {
            if (auto* const box = qobject_cast<QMessageBox*>(modal)) {
                told << box->text();
            }
            modal->close();
        });
    });
    trigger(StudioText::exportDrawing);
    ASSERT_EQ(told.size(), 1);
    EXPECT_TRUE(told.first().contains(studioText(StudioText::sheetNoScale))) << told.first().toStdString();
    EXPECT_FALSE(QFile::exists(file));
}

// A measure of the model is half as long on paper, whatever the window's size.
TEST_F(DrawingPageTest, AScaleIsTrueOnPaper) {
    openBoxes();
    trigger(StudioText::viewFront);
    trigger(StudioText::parallel);
    settle();
    DrawingPage* const page = renderDrawing();
    choose(page, StudioText::drawingPage, studioText(StudioText::pageFit));
    choose(page, StudioText::drawingScale, "10:1");
    const KivSheetPlace place = kivPlaceOnSheet(page->shown(), page->sheet(), KivDrawingFormat::svg);
    ASSERT_EQ(place.problem, KivSheetProblem::none);
    EXPECT_NEAR(place.drawnWidth, 60.0, 1.0) << "six units, and half a line on both sides";
    EXPECT_NEAR(place.drawnHeight, 20.0, 1.0);
}
