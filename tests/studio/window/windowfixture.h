// The main window for tests: real mouse and keys on real widgets, without a display.
#ifndef TESTS_STUDIO_WINDOW_WINDOWFIXTURE_H
#define TESTS_STUDIO_WINDOW_WINDOWFIXTURE_H

#include "apps/studio/lightspanel.h"
#include "apps/studio/lookpanel.h"
#include "apps/studio/objectspanel.h"
#include "apps/studio/studioview.h"
#include "apps/studio/studiowindow.h"
#include "kivrender/host/kivlanguage.h"
#include "kivrender/render/kivrenderer.h"
#include "kivrender/shader/kivshader.h"
#include "support/temphome.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QSettings>
#include <QTabWidget>
#include <QTest>
#include <QTimer>
#include <functional>
#include <gtest/gtest.h>
#include <memory>

// Two boxes side by side, apart.
inline constexpr const char* twoBoxes =
    "o left\n"
    "v -3 0 0\nv -1 0 0\nv -1 2 0\nv -3 2 0\nv -3 0 2\nv -1 0 2\nv -1 2 2\nv -3 2 2\n"
    "f 4 3 2 1\nf 5 6 7 8\nf 1 2 6 5\nf 2 3 7 6\nf 3 4 8 7\nf 4 1 5 8\n"
    "o right\n"
    "v 1 0 0\nv 3 0 0\nv 3 2 0\nv 1 2 0\nv 1 0 2\nv 3 0 2\nv 3 2 2\nv 1 2 2\n"
    "f 12 11 10 9\nf 13 14 15 16\nf 9 10 14 13\nf 10 11 15 14\nf 11 12 16 15\nf 12 9 13 16\n";

class StudioWindowTest : public testing::Test {
protected:
    StudioWindowTest() : former(KivToolkit::install(&toolkit)) {
        qputenv("XDG_STATE_HOME", (homeFolder() + "/state").toUtf8());
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, homeFolder() + "/config");
        EXPECT_TRUE(kivLoadLanguage(L"en"));
        host = std::make_unique<StudioHost>();
        EXPECT_TRUE(loader.loadShaders());
        open();
    }
    ~StudioWindowTest() override {
        window.reset();
        for (unsigned long i = 0; i < KivShader::shaders(); ++i) {
            KivShader::getByIndex(i)->destroyPages(nullptr);
        }
        host.reset();
        loader.unloadShaders();
        KivToolkit::install(former);
    }

    QString homeFolder() const {
        return QString::fromStdString(home.path().string());
    }
    void open() {
        window = std::make_unique<StudioWindow>(*host, toolkit);
        window->show();
        QTest::qWait(20);
    }
    QString write(const QString& name, const QByteArray& content) const {
        const QString file = homeFolder() + "/" + name;
        QFile out(file);
        EXPECT_TRUE(out.open(QIODevice::WriteOnly) && out.write(content) == content.size());
        return file;
    }
    void openBoxes() {
        ASSERT_TRUE(window->openFiles({write("boxes.obj", twoBoxes)}));
        settle();
    }
    void settle() const {
        EXPECT_TRUE(QTest::qWaitFor([this] { return window->isSettled(); }, 20000));
    }
    template <class Widget> Widget* find() const {
        auto* const found = window->findChild<Widget*>();
        EXPECT_NE(found, nullptr);
        return found;
    }
    // A control of the panel of looks.
    template <class Widget> Widget* control(int number) const {
        for (Widget* const each : find<LookPanel>()->template findChildren<Widget*>()) {
            if (each->property("control").isValid() && each->property("control").toInt() == number) {
                return each;
            }
        }
        ADD_FAILURE() << "no such control: " << number;
        return nullptr;
    }
    KivWindow& panel() const {
        return *find<LookPanel>()->dialog().getWindow();
    }
    QAction* action(StudioText text) const {
        const QString name = studioText(text);
        for (QAction* const each : window->findChildren<QAction*>()) {
            if (each->text() == name) {
                return each;
            }
        }
        ADD_FAILURE() << "no action " << name.toStdString();
        return nullptr;
    }
    void trigger(StudioText text) const {
        action(text)->trigger();
    }
    // By its beginning, as the names of steps come behind.
    QAction* undoAction() const {
        for (QAction* const each : window->findChildren<QAction*>()) {
            if (each->text().startsWith("&Undo")) {
                return each;
            }
        }
        return nullptr;
    }
    static void whenModal(std::function<void(QWidget*)> act) {
        QTimer::singleShot(10, qApp, [act = std::move(act)]() {
            QWidget* const modal = QApplication::activeModalWidget();
            if (modal == nullptr) {
                whenModal(act);
            } else {
                act(modal);
            }
        });
    }
    // Presses the button with that text in the message that comes.
    static void answer(const QString& button) {
        whenModal([button](QWidget* modal) {
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
    // Types a name into the file dialog that comes.
    static void chooseFile(const QString& file, const QString& filter = {}) {
        whenModal([=](QWidget* modal) {
            auto* const dialog = qobject_cast<QFileDialog*>(modal);
            ASSERT_NE(dialog, nullptr);
            if (!filter.isEmpty()) {
                dialog->selectNameFilter(filter);
            }
            auto* const field = dialog->findChild<QLineEdit*>("fileNameEdit");
            ASSERT_NE(field, nullptr);
            field->setText(file);
            QTest::keyClick(field, Qt::Key_Return);
        });
    }
    static double covered(const QImage& image) {
        const QRgb ground = image.pixel(1, 1);
        int count = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                count += image.pixel(x, y) != ground ? 1 : 0;
            }
        }
        return static_cast<double>(count) / (image.width() * image.height());
    }
    QTabWidget& tabs() const {
        return *qobject_cast<QTabWidget*>(window->centralWidget());
    }

    const TempHome home;
    KivQtToolkit toolkit;
    KivToolkit* former;
    KivRenderer loader;
    std::unique_ptr<StudioHost> host;
    std::unique_ptr<StudioWindow> window;
};

#endif
