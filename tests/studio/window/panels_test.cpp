// The panels beside the view: the lists of objects and lights, the look, the steps that can be undone.
#include "apps/studio/documentfiles.h"
#include "studio/window/windowfixture.h"

#include <QComboBox>
#include <QDoubleSpinBox>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QScrollBar>
#include <QTreeWidget>
#include <algorithm>
#include <ctime>

namespace {

using Dlg = KivPropertiesDlg;

class StudioPanels : public StudioWindowTest {
protected:
    // Takes the outlines away, or brings them. What stands in the panel is not told yet.
    void toggleOutline() const {
        auto* const tree = control<QTreeWidget>(Dlg::combinableTree);
        int outline = 0;
        while (tree->topLevelItem(outline)->text(0) != "Outline") {
            ++outline;
        }
        const QRect row = tree->visualItemRect(tree->topLevelItem(outline));
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, QPoint(row.left() + 10, row.center().y()));
    }
    void clickObject(int object) const {
        auto* const list = find<ObjectsPanel>();
        list->scrollToItem(list->item(object));
        const QRect place = list->visualItemRect(list->item(object));
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, place.center());
    }
    QLabel* label(const QString& text) const {
        for (QLabel* const each : window->findChildren<QLabel*>()) {
            if (each->text() == text) {
                return each;
            }
        }
        return nullptr;
    }
    void addLight(const QString& kind) const {
        for (QAction* const each : find<LightsPanel>()->findChildren<QAction*>()) {
            if (each->text() == kind) {
                each->trigger();
            }
        }
    }
    QPushButton* asPicture() const {
        for (QPushButton* const each : find<LookPanel>()->findChildren<QPushButton*>()) {
            if (each->text() == studioText(StudioText::asPicture)) {
                return each;
            }
        }
        return nullptr;
    }
};

// A field of small pyramids with open bottoms, each an object of its own.
QByteArray pyramids(int count) {
    constexpr int across = 142;
    QByteArray text;
    for (int i = 0; i < count; ++i) {
        const int x = i % across * 3;
        const int z = i / across * 3;
        text += "o part" + QByteArray::number(i) + '\n';
        const int places[5][3] = {{x, 0, z}, {x + 2, 0, z}, {x + 2, 0, z + 2}, {x, 0, z + 2}, {x + 1, 2, z + 1}};
        for (const auto& p : places) {
            text += "v " + QByteArray::number(p[0]) + ' ' + QByteArray::number(p[1]) + ' ' + QByteArray::number(p[2]) +
                    '\n';
        }
        for (int side = 0; side < 4; ++side) {
            const int first = i * 5 + 1;
            text += "f " + QByteArray::number(first + (side + 1) % 4) + ' ' + QByteArray::number(first + side) + ' ' +
                    QByteArray::number(first + 4) + '\n';
        }
    }
    return text;
}

// Of this process, in seconds: other programs do not count.
double cpuTime() {
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

} // namespace

// Without pictures, which take the time that the graphics take. The bounds are far above what it takes, and far below
// what it would take by the square of the objects or with a copy of each look in each step.
TEST_F(StudioPanels, TwentyThousandObjectsAreEditedTogether) {
    constexpr int count = 20'000;
    const QString file = write("field.obj", pyramids(count));
    window->hide(); // nothing is drawn
    ASSERT_TRUE(window->openFiles({file}));
    const auto moves = [this] {
        StudioCamera camera = window->state().camera;
        for (int i = 0; i < 100; ++i) {
            camera.orbit(0.01, 0.0);
            emit find<StudioView>()->cameraMoved(camera);
        }
    };
    double start = cpuTime();
    moves();
    EXPECT_LT(cpuTime() - start, 2.0);
    start = cpuTime();
    trigger(StudioText::selectAll);
    toggleOutline();
    find<LookPanel>()->flush();
    ASSERT_EQ(window->state().objects.size(), static_cast<std::size_t>(count));
    EXPECT_LT(cpuTime() - start, 8.0);
    EXPECT_TRUE(window->state().objects.at(0).shares(window->state().objects.at(count - 1)));
    start = cpuTime();
    moves();
    undoAction()->trigger();
    undoAction()->trigger();
    EXPECT_LT(cpuTime() - start, 8.0);
    EXPECT_TRUE(window->state().objects.empty());
    EXPECT_EQ(find<ObjectsPanel>()->selected().size(), static_cast<std::size_t>(count));
}

TEST_F(StudioPanels, ListsKeepTheirItemsWhileTheModelAndTheLightsAreTheSame) {
    openBoxes();
    addLight("Lamp");
    const QTreeWidgetItem* const object = find<ObjectsPanel>()->item(1);
    const QListWidgetItem* const light = find<LightsPanel>()->findChild<QListWidget*>()->item(1);
    trigger(StudioText::viewTop);
    undoAction()->trigger();
    EXPECT_EQ(find<LightsPanel>()->findChild<QListWidget*>()->item(1), light);
    undoAction()->trigger();
    EXPECT_EQ(find<ObjectsPanel>()->item(1), object);
    EXPECT_EQ(find<LightsPanel>()->lights().size(), 1U);
    ASSERT_TRUE(window->openFiles({write("more.obj", twoBoxes)}));
    EXPECT_EQ(find<ObjectsPanel>()->count(), 2);
}

TEST_F(StudioPanels, AChangeBeforeAClickKeepsTheClickAndThePlaceOfTheList) {
    ASSERT_TRUE(window->openFiles({write("field.obj", pyramids(300))}));
    auto* const list = find<ObjectsPanel>();
    clickObject(250);
    toggleOutline();
    const int place = list->verticalScrollBar()->value();
    ASSERT_GT(place, 0);
    clickObject(249);
    EXPECT_EQ(window->state().objects.size(), 1U);
    EXPECT_EQ(list->selected(), std::vector<int>{249});
    EXPECT_EQ(list->currentItem(), list->item(249));
    EXPECT_EQ(list->verticalScrollBar()->value(), place);
    EXPECT_TRUE(list->item(250)->font(0).bold());
    EXPECT_FALSE(list->item(249)->font(0).bold());
}

TEST_F(StudioPanels, ThePanelTellsWhatWasChangedBeforeItShowsAnotherLook) {
    openBoxes();
    const StudioState before = window->state();
    toggleOutline();
    find<LookPanel>()->show(window->state(), {0});
    EXPECT_FALSE(window->state().look == before.look);
    EXPECT_TRUE(window->state().objects.empty());
}

TEST_F(StudioPanels, ChangesOfTwoObjectsAreTwoSteps) {
    openBoxes();
    clickObject(0);
    toggleOutline();
    clickObject(1);
    toggleOutline();
    find<LookPanel>()->flush();
    ASSERT_EQ(window->state().objects.size(), 2U);
    undoAction()->trigger();
    EXPECT_EQ(window->state().objects.size(), 1U);
    undoAction()->trigger();
    EXPECT_TRUE(window->state().objects.empty());
}

TEST_F(StudioPanels, StepsOfLightsAreApartAndHaveNames) {
    openBoxes();
    addLight("Lamp");
    EXPECT_EQ(undoAction()->text(), "&Undo: add light");
    const StudioLight added = window->state().lights.back();
    StudioLight moved = added;
    moved.location.x += 5.0;
    emit find<StudioView>()->lightMoved(1, moved);
    EXPECT_EQ(undoAction()->text(), "&Undo: move light");
    moved.location.x += 5.0;
    emit find<StudioView>()->lightMoved(1, moved);
    undoAction()->trigger();
    ASSERT_EQ(window->state().lights.size(), 2U);
    EXPECT_TRUE(window->state().lights.back() == added) << "one movement is one step, and its own";
    undoAction()->trigger();
    EXPECT_FALSE(window->state().hasLights);
}

TEST_F(StudioPanels, AStyleGivesItsNameToTheStep) {
    openBoxes();
    auto* const combo = control<QComboBox>(Dlg::stylesCombo);
    combo->setFocus();
    while (combo->currentText() != "Blueprint") {
        QTest::keyClick(combo, Qt::Key_Down);
        ASSERT_LT(combo->currentIndex(), combo->count() - 1);
    }
    find<LookPanel>()->flush();
    EXPECT_EQ(undoAction()->text(), "&Undo: Blueprint");
    clickObject(0); // another selection, another step
    clickObject(0);
    emit find<ObjectsPanel>()->clearSelection();
    toggleOutline();
    find<LookPanel>()->flush();
    EXPECT_EQ(undoAction()->text(), "&Undo: look");
}

TEST_F(StudioPanels, AFieldOfALightChangesNothingElse) {
    openBoxes();
    StudioState state = window->state();
    StudioLight light;
    light.kind = StudioLight::Kind::spot;
    light.location = {1.23456, -2.34567, 3.45678};
    light.direction = {0.123456, -0.9, 0.2};
    light.angle = 0.25; // less than the field shows
    state.hasLights = true;
    state.lights = {light};
    const QString file = homeFolder() + "/exact.selvarin";
    QString why;
    ASSERT_TRUE(saveStudioDocument(file, state, &why)) << why.toStdString();
    ASSERT_TRUE(window->openFiles({file}));
    auto* const panel = find<LightsPanel>();
    const QList<QDoubleSpinBox*> fields = panel->findChildren<QDoubleSpinBox*>();
    ASSERT_EQ(fields.size(), 6);
    StudioModel read;
    std::wstring message;
    ASSERT_TRUE(read.load(window->state(), &message));
    const KivModel& model = read.model();
    fields[3]->setValue(17.0); // Y
    const StudioLight placed = window->state().lights.at(0);
    EXPECT_GT(model.scale, 1.0);
    EXPECT_EQ(placed.location.y, (17.0 - model.origin.y) * model.scale) << "the field has the coordinates of the file";
    EXPECT_EQ(placed.location.x, light.location.x);
    EXPECT_EQ(placed.location.z, light.location.z);
    EXPECT_EQ(placed.direction.x, light.direction.x);
    EXPECT_EQ(placed.direction.y, light.direction.y);
    EXPECT_EQ(placed.angle, light.angle);
    // One angle of the way it shines leaves the other to the last digits.
    const auto elevation = [](const Kiv3DVector& d) { return std::atan2(-d.y, std::hypot(d.x, d.z)); };
    fields[0]->setValue(fields[0]->value() + 30.0);
    const StudioLight turned = window->state().lights.at(0);
    EXPECT_NEAR(elevation(turned.direction), elevation(light.direction), 1e-12);
    EXPECT_GT(std::abs(turned.direction.x - light.direction.x), 0.01);
    EXPECT_EQ(turned.location.x, light.location.x);
    EXPECT_EQ(turned.angle, light.angle);
}

TEST_F(StudioPanels, NothingMovesWhenAnObjectGetsALookOfItsOwn) {
    openBoxes();
    clickObject(0);
    QApplication::processEvents();
    auto* const tree = control<QTreeWidget>(Dlg::combinableTree);
    ASSERT_FALSE(asPicture()->isVisible());
    const QPoint before = tree->mapTo(window.get(), QPoint());
    toggleOutline();
    find<LookPanel>()->flush();
    QApplication::processEvents();
    ASSERT_TRUE(asPicture()->isVisible());
    EXPECT_EQ(tree->mapTo(window.get(), QPoint()), before);
}

TEST_F(StudioPanels, ObjectsAndTheLookHaveNames) {
    openBoxes();
    clickObject(1);
    EXPECT_NE(label("Look of \"right\""), nullptr);
    // A file of one object without a name.
    ASSERT_TRUE(window->openFiles({write("statue.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n")}));
    auto* const list = find<ObjectsPanel>();
    ASSERT_EQ(list->count(), 1);
    EXPECT_EQ(list->item(0)->text(0), "statue");
    EXPECT_NE(label("1 triangle"), nullptr);
    // A long one is shown in part, and whole by its tip.
    const QString name = QString("<b>").append(QString(200, 'x'));
    ASSERT_TRUE(
        window->openFiles({write("long.obj", "o " + name.toUtf8() + "\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n")}));
    EXPECT_FALSE(list->horizontalScrollBar()->isVisible());
    EXPECT_TRUE(list->item(0)->toolTip(0).contains(name.toHtmlEscaped()));
    const int width = find<LookPanel>()->minimumSizeHint().width();
    clickObject(0);
    EXPECT_LE(find<LookPanel>()->minimumSizeHint().width(), std::max(width, 320));
}

TEST_F(StudioPanels, ADrawingOfLinesTellsHowManyThereAre) {
    const QByteArray lines = "0\nSECTION\n2\nENTITIES\n"
                             "0\nLINE\n8\n0\n10\n0\n20\n0\n30\n0\n11\n5\n21\n0\n31\n0\n"
                             "0\nLINE\n8\n0\n10\n0\n20\n0\n30\n0\n11\n0\n21\n5\n31\n0\n"
                             "0\nENDSEC\n0\nEOF\n";
    ASSERT_TRUE(window->openFiles({write("lines.dxf", lines)}));
    EXPECT_EQ(find<ObjectsPanel>()->count(), 0);
    EXPECT_NE(label("2 lines"), nullptr);
}
