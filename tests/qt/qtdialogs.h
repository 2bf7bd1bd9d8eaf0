// The library under Qt's windows: a host in a home of its own, the shaders, English texts. One at a time.
#ifndef TESTS_QT_QTDIALOGS_H
#define TESTS_QT_QTDIALOGS_H

#include "kivrender/host/kivdefaulthost.h"
#include "kivrender/host/kivlanguage.h"
#include "kivrender/platform/kivwindow.h"
#include "kivrender/render/kivrenderer.h"
#include "qt/kivqttoolkit.h"
#include "qt/kivqtwindow.h"
#include "support/temphome.h"

#include <QApplication>
#include <QTest>
#include <QTimer>
#include <QWidget>
#include <functional>
#include <gtest/gtest.h>

class QtDialogs : public testing::Test {
protected:
    QtDialogs() : former(KivToolkit::install(&toolkit)) {
        KivHostApplicationServices::setDefaultHost(&host);
        EXPECT_TRUE(kivLoadLanguage(L"en"));
        EXPECT_TRUE(renderer.loadShaders());
    }
    ~QtDialogs() override {
        renderer.unloadShaders();
        KivToolkit::install(former);
    }

    // The widget of a control.
    template <class Widget = QWidget> static Widget* at(KivWindow* window, int control) {
        QWidget* const root = KivQtWindow::widgetOf(window);
        for (Widget* const each : root->findChildren<Widget*>()) {
            if (each->property("control").isValid() && each->property("control").toInt() == control) {
                return each;
            }
        }
        ADD_FAILURE() << "no such control: " << control;
        return nullptr;
    }
    // Runs as soon as a modal window is there, which it is given. It must close it.
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

    const TempHome home;
    KivDefaultHost host;
    KivQtToolkit toolkit;
    KivToolkit* former;
    KivRenderer renderer;
};

#endif
