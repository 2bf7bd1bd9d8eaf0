// Opening, adding, dropping, going back: what becomes of the document.
#include "apps/studio/optionsbox.h"
#include "qt/kivcolorfield.h"
#include "studio/window/windowfixture.h"

#include <QColorDialog>
#include <QDialogButtonBox>
#include <QDropEvent>
#include <QMessageBox>
#include <QMimeData>
#include <QScreen>
#include <QTreeWidget>
#include <QUrl>
#include <QWindow>

namespace {

constexpr const char* farBox = "o far\n"
                               "v 90 0 0\nv 92 0 0\nv 92 2 0\nv 90 2 0\nv 90 0 2\nv 92 0 2\nv 92 2 2\nv 90 2 2\n"
                               "f 4 3 2 1\nf 5 6 7 8\nf 1 2 6 5\nf 2 3 7 6\nf 3 4 8 7\nf 4 1 5 8\n";

class StudioWindowDocuments : public StudioWindowTest {
protected:
    // Presses the button with that text in the message that comes, and keeps what it said.
    void hear(const QString& button) {
        whenModal([this, button](QWidget* modal) {
            const auto* const box = qobject_cast<QMessageBox*>(modal);
            heard << (box != nullptr ? box->text() : modal->windowTitle());
            for (QAbstractButton* const each : modal->findChildren<QAbstractButton*>()) {
                if (each->text() == button) {
                    each->click();
                    return;
                }
            }
            ADD_FAILURE() << "no button " << button.toStdString();
            modal->close();
        });
    }
    // Through the menu and the dialog.
    void addModel(const QString& file) {
        chooseFile(file);
        trigger(StudioText::addModels);
        settle();
    }
    QAction* redoAction() const {
        for (QAction* const each : window->findChildren<QAction*>()) {
            if (each->text().startsWith("&Redo")) {
                return each;
            }
        }
        return nullptr;
    }
    // Makes the right box another one than the left.
    void giveTheRightOneALook() {
        find<ObjectsPanel>()->select({1});
        emit find<ObjectsPanel>()->selectionChangedByUser();
        auto* const tree = control<QTreeWidget>(KivPropertiesDlg::combinableTree);
        const QRect row = tree->visualItemRect(tree->topLevelItem(0));
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, QPoint(row.left() + 10, row.center().y()));
        ASSERT_TRUE(QTest::qWaitFor([&] { return window->state().objects.contains(1); }, 3000));
    }
    // Where the point of the file is in the view.
    QPointF placeOf(const StudioModel& model, const Kiv3DPoint& point) const {
        double x = 0.0;
        double y = 0.0;
        const auto* const view = find<StudioView>();
        EXPECT_TRUE(
            window->state().camera.project(model.model().toScene(point), view->width(), view->height(), &x, &y));
        return {x, y};
    }
    void drop(const QList<QUrl>& urls) const {
        QMimeData data;
        data.setUrls(urls);
        QDropEvent event(QPointF(50, 50), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        static_cast<QObject*>(window.get())->event(&event); // as nothing was dragged over it before
    }

    QStringList heard;
};

} // namespace

TEST_F(StudioWindowDocuments, AStepWhoseModelIsGoneIsNotGone) {
    openBoxes();
    addModel(write("far.obj", farBox));
    ASSERT_EQ(find<ObjectsPanel>()->count(), 3);
    undoAction()->trigger();
    ASSERT_EQ(find<ObjectsPanel>()->count(), 2);
    const StudioState before = window->state();
    ASSERT_TRUE(QFile::rename(homeFolder() + "/far.obj", homeFolder() + "/away.obj"));
    hear("OK");
    redoAction()->trigger();
    ASSERT_EQ(heard.size(), 1);
    EXPECT_TRUE(heard[0].startsWith("This step can't be redone:")) << heard[0].toStdString();
    EXPECT_TRUE(heard[0].contains("far.obj")) << heard[0].toStdString();
    EXPECT_TRUE(window->state() == before);
    EXPECT_EQ(find<ObjectsPanel>()->count(), 2);
    EXPECT_FALSE(window->isWindowModified());
    emit tabs().currentChanged(0); // shows anew what can be done
    EXPECT_FALSE(undoAction()->isEnabled());
    EXPECT_TRUE(redoAction()->isEnabled());
    ASSERT_TRUE(QFile::rename(homeFolder() + "/away.obj", homeFolder() + "/far.obj"));
    redoAction()->trigger();
    EXPECT_EQ(find<ObjectsPanel>()->count(), 3) << "the step is still there";

    ASSERT_TRUE(QFile::remove(homeFolder() + "/boxes.obj"));
    const StudioState after = window->state();
    hear("OK");
    undoAction()->trigger();
    ASSERT_EQ(heard.size(), 2);
    EXPECT_TRUE(heard[1].startsWith("This step can't be undone:")) << heard[1].toStdString();
    EXPECT_TRUE(window->state() == after);
    EXPECT_EQ(find<ObjectsPanel>()->count(), 3);
}

TEST_F(StudioWindowDocuments, AModelThatIsAddedLeavesTheRestAsItIs) {
    openBoxes();
    trigger(StudioText::viewLeft);
    giveTheRightOneALook();
    for (QAction* const each : find<LightsPanel>()->findChildren<QAction*>()) {
        if (each->text() == "Lamp") {
            each->trigger();
        }
    }
    settle();
    const StudioState before = window->state();
    ASSERT_EQ(before.lights.size(), 2U);
    StudioModel model;
    std::wstring message;
    ASSERT_TRUE(model.load(before, &message));
    const Kiv3DPoint corner(1.0, 2.0, 2.0);
    const QPointF place = placeOf(model, corner);
    const Kiv3DPoint lamp = before.lights[1].location;
    const Kiv3DPoint lampInFile(lamp.x / model.model().scale + model.model().origin.x,
                                lamp.y / model.model().scale + model.model().origin.y,
                                lamp.z / model.model().scale + model.model().origin.z);

    addModel(write("far.obj", farBox));
    const StudioState after = window->state();
    ASSERT_EQ(after.models.size(), 2U);
    EXPECT_EQ(find<ObjectsPanel>()->count(), 3);
    EXPECT_TRUE(after.objects.contains(1)) << "the look of its own stays";
    ASSERT_TRUE(model.load(after, &message));
    const QPointF now = placeOf(model, corner);
    EXPECT_NEAR(now.x(), place.x(), 0.01);
    EXPECT_NEAR(now.y(), place.y(), 0.01);
    const Kiv3DPoint there = model.model().toScene(lampInFile);
    EXPECT_NEAR(after.lights[1].location.x, there.x, 1e-6);
    EXPECT_NEAR(after.lights[1].location.y, there.y, 1e-6);
    EXPECT_NEAR(after.lights[1].location.z, there.z, 1e-6);
    undoAction()->trigger();
    EXPECT_TRUE(window->state() == before);
}

TEST_F(StudioWindowDocuments, AModelThatIsAddedToTheBuiltInSceneTakesItsPlace) {
    settle();
    const StudioCamera before = window->state().camera;
    addModel(write("far.obj", farBox));
    EXPECT_EQ(find<ObjectsPanel>()->count(), 1);
    EXPECT_FALSE(window->state().camera == before) << "it is framed";
}

TEST_F(StudioWindowDocuments, ADropIsOverBeforeAnythingIsAsked) {
    openBoxes();
    trigger(StudioText::viewLeft);
    const QUrl file = QUrl::fromLocalFile(write("far.obj", farBox));
    hear("Don't save");
    drop({file});
    EXPECT_TRUE(heard.isEmpty());
    EXPECT_EQ(find<ObjectsPanel>()->count(), 2);
    ASSERT_TRUE(QTest::qWaitFor([&] { return find<ObjectsPanel>()->count() == 1; }, 5000));
    ASSERT_EQ(heard.size(), 1);
    EXPECT_TRUE(heard[0].contains("\"boxes.obj\"")) << "the question names the document: " << heard[0].toStdString();
}

TEST_F(StudioWindowDocuments, WhatIsNoFileOfThisComputerIsTold) {
    openBoxes();
    hear("OK");
    drop({QUrl("https://example.org/model.obj")});
    ASSERT_TRUE(QTest::qWaitFor([&] { return heard.size() == 1; }, 5000));
    EXPECT_TRUE(heard[0].contains("https://example.org/model.obj")) << heard[0].toStdString();
    EXPECT_EQ(find<ObjectsPanel>()->count(), 2);
}

TEST_F(StudioWindowDocuments, OptionsThatCantBeKeptStayInSight) {
    const KivCommonSettings options = window->state().options;
    KivToolkit::install(nullptr); // without it there is no page that could keep them
    OptionsBox box(options, {4, 3}, window.get());
    KivToolkit::install(&toolkit);
    box.show();
    hear("OK");
    box.accept();
    ASSERT_EQ(heard.size(), 1);
    EXPECT_TRUE(heard[0].contains("can't be kept")) << heard[0].toStdString();
    EXPECT_TRUE(box.isVisible());
    box.reject();
    EXPECT_EQ(box.result(), QDialog::Rejected);
}

TEST_F(StudioWindowDocuments, ANameWithTheMarkOfChangesInItIsShownAsItIs) {
    ASSERT_TRUE(window->openFiles({write("a[*]b.obj", twoBoxes)}));
    EXPECT_TRUE(window->windowHandle()->title().startsWith("a[*]b.obj "))
        << window->windowHandle()->title().toStdString();
    trigger(StudioText::viewLeft);
    EXPECT_TRUE(window->windowHandle()->title().startsWith("a[*]b.obj* "))
        << window->windowHandle()->title().toStdString();
}

TEST_F(StudioWindowDocuments, MissingShadersAreToldInTheWindow) {
    window->tellMissing(); // nothing is missing, and nothing is told
    window.reset();
    for (unsigned long i = 0; i < KivShader::shaders(); ++i) {
        KivShader::getByIndex(i)->destroyPages(nullptr);
    }
    loader.unloadShaders();
    open();
    hear("OK");
    window->tellMissing();
    ASSERT_EQ(heard.size(), 1);
    EXPECT_TRUE(heard[0].contains("shaders")) << heard[0].toStdString();
    window.reset();
    ASSERT_TRUE(loader.loadShaders());
}

TEST_F(StudioWindowDocuments, TheWindowIsNoLargerThanItsScreen) {
    const QSize room = window->screen()->availableGeometry().size();
    ASSERT_LT(room.width(), 1400) << "the screen is smaller than the window would like to be";
    const auto fits = [&] { return window->width() <= room.width() && window->height() < room.height(); };
    EXPECT_TRUE(fits()) << window->width() << " x " << window->height();
    window->resize(2 * room);
    ASSERT_TRUE(window->close());
    window.reset();
    open();
    EXPECT_TRUE(fits()) << "after it was larger: " << window->width() << " x " << window->height();
}

TEST_F(StudioWindowDocuments, DialogsOfColoursSayWhatTheyAreFor) {
    openBoxes();
    QStringList titles;
    const auto look = [&] {
        whenModal([&](QWidget* modal) {
            ASSERT_NE(qobject_cast<QColorDialog*>(modal), nullptr);
            titles << modal->windowTitle();
            static_cast<QDialog*>(modal)->reject();
        });
    };
    look();
    emit find<LightsPanel>()->findChild<KivColorField*>()->clicked();
    look();
    std::uint32_t colour = 0;
    EXPECT_FALSE(toolkit.pickColor(nullptr, colour));
    EXPECT_EQ(titles, (QStringList{"Colour of the light", "Choose a colour"}));
}
