// Makes the pictures of Studio's windows, for the guide and for whoever judges how they look:
//
//     studio_pictures FOLDER [LANGUAGE [MODEL]]
//
// It works the windows as their tests do, without a display. The script scripts/studio-pictures makes files of a
// decent size of what it writes.
#include "apps/studio/compareview.h"
#include "apps/studio/lookpanel.h"
#include "apps/studio/objectspanel.h"
#include "apps/studio/optionsbox.h"
#include "apps/studio/pictureview.h"
#include "apps/studio/studiohost.h"
#include "apps/studio/studiostyle.h"
#include "apps/studio/studioview.h"
#include "apps/studio/studiowindow.h"
#include "kivrender/dialogs/kivpropertiesdlg.h"
#include "kivrender/host/kivlanguage.h"
#include "kivrender/render/kivrenderer.h"
#include "kivrender/shader/kivshader.h"
#include "qt/kivnumberfield.h"
#include "qt/kivpagetabs.h"
#include "qt/kivqttoolkit.h"
#include "studio/offscreen.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QDir>
#include <QLocale>
#include <QTabBar>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>
#include <cstdio>
#include <functional>
#include <memory>

namespace {

using Dlg = KivPropertiesDlg;

class Photographer {
public:
    Photographer(QString folder, StudioHost& host, KivQtToolkit& toolkit)
        : album(std::move(folder)), window(std::make_unique<StudioWindow>(host, toolkit)) {
        window->resize(1280, 820);
        window->show();
        settle();
    }

    void take(const QString& name) {
        shoot(*window, name);
    }
    bool open(const QString& model) {
        const bool opened = window->openFiles({model});
        settle();
        return opened;
    }
    void style(const QString& name) {
        auto* const combo = control<QComboBox>(Dlg::stylesCombo);
        const int index = combo->findText(name);
        if (index < 0) {
            std::fprintf(stderr, "studio_pictures: there is no style %s\n", name.toUtf8().constData());
            faults = true;
            return;
        }
        combo->setCurrentIndex(index);
        emit combo->activated(index);
        settle();
    }
    // Checks all added looks, or the second alone.
    void addAll(bool all) {
        auto* const tree = control<QTreeWidget>(Dlg::combinableTree);
        for (int i = 0; i < tree->topLevelItemCount(); ++i) {
            QTreeWidgetItem* const item = tree->topLevelItem(i);
            if ((item->checkState(0) == Qt::Checked) != (all || i == 1)) {
                const QRect row = tree->visualItemRect(item);
                QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, QPoint(row.left() + 10, row.center().y()));
            }
        }
        QTest::qWait(600);
        settle();
    }
    QStringList pages() const {
        QStringList names;
        for (int i = 0; i < pageBar()->count(); ++i) {
            names << pageBar()->tabText(i);
        }
        return names;
    }
    void page(int index) {
        pageBar()->setCurrentIndex(index);
        QTest::qWait(50);
    }
    // The panel of looks alone, as high as its page wants to be.
    void takePanel(const QString& name) {
        window->resize(1280, 1180);
        settle();
        shoot(*find<LookPanel>(), name);
        window->resize(1280, 820);
        settle();
    }
    void select(const std::vector<int>& objects) {
        find<ObjectsPanel>()->select(objects);
        emit find<ObjectsPanel>()->selectionChangedByUser();
        settle();
    }
    // The first number of the first page.
    void bands(double number) {
        auto* const field = find<LookPanel>()->findChild<KivPageTabs*>()->page()->findChild<KivNumberField*>();
        field->setValue(number);
        emit field->edited();
        QTest::qWait(600);
        settle();
    }
    void dropOwnLooks() {
        emit find<LookPanel>()->ownLooksDropped();
        settle();
    }
    void trigger(StudioText text) {
        for (QAction* const each : window->findChildren<QAction*>()) {
            if (each->text() == studioText(text)) {
                each->trigger();
                return;
            }
        }
        faults = true;
    }
    void takeModal(const QString& name, const std::function<void()>& opens) {
        takeWhenModal(name);
        opens();
        settle();
    }
    void drawingPage(const QString& name) {
        for (QComboBox* const each : tabs().currentWidget()->findChildren<QComboBox*>()) {
            if (const int index = each->findText(name); index >= 0) {
                each->setCurrentIndex(index);
                emit each->activated(index);
            }
        }
    }
    void saveStyle() {
        control<QAbstractButton>(Dlg::saveStyleButton)->click();
    }
    void showTab(int index) {
        tabs().setCurrentIndex(index);
        QTest::qWait(100);
    }
    void zoomResult(double factor) {
        auto* picture = qobject_cast<PictureView*>(tabs().currentWidget());
        if (picture == nullptr) {
            picture = tabs().currentWidget()->findChild<PictureView*>();
        }
        picture->zoomTo(factor);
        QTest::qWait(50);
    }
    void settle() {
        QTest::qWait(30);
        if (!QTest::qWaitFor([this] { return window->isSettled(); }, 30000)) {
            faults = true;
        }
        QTest::qWait(500); // the preview too
    }
    QTabWidget& tabs() {
        return *qobject_cast<QTabWidget*>(window->centralWidget());
    }

    bool faults = false;

private:
    template <class Widget> Widget* find() const {
        return window->findChild<Widget*>();
    }
    template <class Widget> Widget* control(int number) const {
        for (Widget* const each : find<LookPanel>()->template findChildren<Widget*>()) {
            if (each->property("control").isValid() && each->property("control").toInt() == number) {
                return each;
            }
        }
        qFatal("the panel lacks a control");
    }
    QTabBar* pageBar() const {
        return find<LookPanel>()->findChild<QTabBar*>();
    }
    void shoot(QWidget& widget, const QString& name) {
        if (!widget.grab().save(album + "/" + name + ".png")) {
            std::fprintf(stderr, "studio_pictures: %s can't be written\n", name.toUtf8().constData());
            faults = true;
        }
    }
    void takeWhenModal(const QString& name) {
        QTimer::singleShot(20, qApp, [this, name] {
            QWidget* const modal = QApplication::activeModalWidget();
            if (modal == nullptr) {
                takeWhenModal(name);
                return;
            }
            QTest::qWait(200);
            shoot(*modal, name);
            modal->close();
        });
    }

    QString album;
    std::unique_ptr<StudioWindow> window;
};

void makeDark() {
    QPalette dark;
    dark.setColor(QPalette::Window, QColor(45, 46, 50));
    dark.setColor(QPalette::WindowText, QColor(225, 225, 225));
    dark.setColor(QPalette::Base, QColor(32, 33, 36));
    dark.setColor(QPalette::AlternateBase, QColor(45, 46, 50));
    dark.setColor(QPalette::ToolTipBase, QColor(60, 61, 66));
    dark.setColor(QPalette::ToolTipText, QColor(225, 225, 225));
    dark.setColor(QPalette::Text, QColor(225, 225, 225));
    dark.setColor(QPalette::Button, QColor(58, 59, 64));
    dark.setColor(QPalette::ButtonText, QColor(225, 225, 225));
    dark.setColor(QPalette::BrightText, QColor(255, 120, 120));
    dark.setColor(QPalette::Link, QColor(110, 170, 255));
    dark.setColor(QPalette::Highlight, QColor(60, 120, 200));
    dark.setColor(QPalette::HighlightedText, Qt::white);
    dark.setColor(QPalette::PlaceholderText, QColor(140, 140, 140));
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        dark.setColor(QPalette::Disabled, role, QColor(120, 120, 120));
    }
    QApplication::setPalette(dark);
}

// All pages of all looks.
void takePages(Photographer& photographer) {
    photographer.addAll(true);
    for (int i = 0; i < photographer.pages().size(); ++i) {
        photographer.page(i);
        photographer.takePanel("page-" + photographer.pages()[i].toLower().replace(' ', '-'));
    }
    photographer.page(0);
    photographer.addAll(false);
}

void takeResults(Photographer& photographer) {
    photographer.trigger(StudioText::render);
    photographer.take("picture");
    photographer.showTab(0);
    photographer.style("Blueprint");
    photographer.trigger(StudioText::render);
    photographer.zoomResult(2.0);
    photographer.take("picture-zoomed");
    photographer.trigger(StudioText::compare);
    photographer.take("compare");
    photographer.showTab(0);
}

// A drawing with its layers, its page, and the dialog that saves it.
void takeDrawing(Photographer& photographer) {
    photographer.trigger(StudioText::renderDrawing);
    photographer.take("drawing");
    photographer.drawingPage("A4");
    photographer.zoomResult(3.0);
    photographer.take("drawing-zoomed");
    photographer.takeModal("drawing-save", [&] { photographer.trigger(StudioText::exportDrawing); });
    photographer.showTab(0);
    photographer.takeModal("drawing-export", [&] { photographer.trigger(StudioText::exportDrawing); });
}

// Some hidden, one seen through.
void takeShown(Photographer& photographer) {
    photographer.select({3, 4, 5});
    photographer.trigger(StudioText::hideObjects);
    photographer.select({13});
    photographer.trigger(StudioText::ghostObjects);
    photographer.take("objects-shown");
    photographer.trigger(StudioText::showAllObjects);
    photographer.trigger(StudioText::ghostObjects);
    photographer.select({});
}

bool takeAll(const QString& folder, StudioHost& host, KivQtToolkit& toolkit, const QString& model) {
    Photographer photographer(folder, host, toolkit);
    photographer.take("window");
    photographer.takeModal("options", [&] { photographer.trigger(StudioText::options); });
    photographer.takeModal("save-style", [&] { photographer.saveStyle(); });
    photographer.takeModal("keys", [&] { photographer.trigger(StudioText::keys); });
    photographer.takeModal("about", [&] { photographer.trigger(StudioText::about); });
    takePages(photographer);
    // Two objects with looks of their own; with others, their values vary.
    photographer.select({13});
    photographer.bands(2);
    photographer.select({15});
    photographer.bands(8);
    photographer.select({13, 15, 16});
    photographer.take("objects");
    photographer.dropOwnLooks();
    // Looks that have nothing in common: no pages are shown.
    photographer.select({13});
    photographer.style("Blueprint");
    photographer.select({13, 15});
    photographer.take("objects-apart");
    photographer.dropOwnLooks();
    photographer.select({});
    for (const char* const style : {"Watercolour", "Pen and ink"}) {
        photographer.style(style);
        photographer.take(QString("window-%1").arg(style).toLower().replace(' ', '-'));
    }
    takeShown(photographer);
    takeDrawing(photographer);
    takeResults(photographer);
    makeDark();
    photographer.style("Noir");
    photographer.take("window-dark");
    photographer.trigger(StudioText::renderDrawing);
    photographer.take("drawing-dark");
    photographer.showTab(0);
    photographer.takeModal("options-dark", [&] { photographer.trigger(StudioText::options); });
    QApplication::setPalette(QApplication::style()->standardPalette());
    if (!model.isEmpty()) {
        QTimer::singleShot(300, qApp, [] { // the question whether to save
            if (auto* const box = qobject_cast<QDialog*>(QApplication::activeModalWidget())) {
                for (QAbstractButton* const each : box->findChildren<QAbstractButton*>()) {
                    if (each->text() == studioText(StudioText::discardButton)) {
                        each->click();
                        return;
                    }
                }
            }
        });
        photographer.open(model);
        photographer.style("Comic");
        photographer.take("window-model");
    }
    return !photographer.faults;
}

} // namespace

int main(int argc, char** argv) {
    const OffscreenDisplay display(1920, 1200);
    // Nobody's own preferences are to show or to change.
    const QTemporaryDir home;
    for (const char* const variable : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME"}) {
        qputenv(variable, home.path().toUtf8());
    }
    const QApplication application(argc, argv);
    QApplication::setStyle(new StudioStyle("Fusion"));
    if (argc < 2 || argc > 4 || !QDir().mkpath(argv[1])) {
        std::fputs("usage: studio_pictures FOLDER [LANGUAGE [MODEL]]\n", stderr);
        return 2;
    }
    if (!kivLoadLanguage(argc > 2 ? QString(argv[2]).toStdWString().c_str() : L"en")) {
        std::fputs("studio_pictures: there is no such language\n", stderr);
        return 1;
    }
    QLocale::setDefault(QLocale(argc > 2 ? argv[2] : "en"));
    KivQtToolkit toolkit;
    KivToolkit::install(&toolkit);
    bool good = false;
    {
        StudioHost host;
        KivRenderer loader;
        loader.loadShaders();
        good = takeAll(QString(argv[1]), host, toolkit, argc > 3 ? QString(argv[3]) : QString());
        for (unsigned long i = 0; i < KivShader::shaders(); ++i) {
            KivShader::getByIndex(i)->destroyPages(nullptr);
        }
        loader.unloadShaders();
    }
    KivToolkit::install(nullptr);
    return good ? 0 : 1;
}
