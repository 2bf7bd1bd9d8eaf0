// Somebody at work with Studio's window: the story runs on a thread of its own, as a user is none of the program's, and
// looks at the window between its steps. So the window's own loops, of dialogs and renders, run as they always do.
#ifndef TESTS_STUDIO_ENDTOEND_STUDIOUSER_H
#define TESTS_STUDIO_ENDTOEND_STUDIOUSER_H

#include "apps/studio/studiohost.h"
#include "apps/studio/studiotexts.h"
#include "apps/studio/studiowindow.h"
#include "kivrender/render/kivrenderer.h"
#include "studio/endtoend/display.h"
#include "support/temphome.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTabWidget>
#include <QThread>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <type_traits>

class StudioUser : public testing::Test {
protected:
    StudioUser();
    ~StudioUser() override;
    void SetUp() override;

    // Runs the story on a thread and the program's loop on this one.
    void play(const std::function<void()>& story);

    // --- on the story's thread

    // Calls f on the thread of the windows and gives its result.
    template <class F> auto ask(F f) {
        using Result = decltype(f());
        if constexpr (std::is_void_v<Result>) {
            QMetaObject::invokeMethod(
                qApp, [&f] { f(); }, Qt::BlockingQueuedConnection);
        } else {
            Result result{};
            QMetaObject::invokeMethod(
                qApp, [&f, &result] { result = f(); }, Qt::BlockingQueuedConnection);
            return result;
        }
    }
    // Ends the story with a message if it is not so.
    static void require(bool holds, const QString& what);
    // Waits until f, on the thread of the windows, is true; ends the story if that does not come.
    void await(const QString& what, const std::function<bool()>& f, int milliseconds = 20000);
    // The view shows the document as it is.
    void settle();
    // Waits for a dialog and gives the keys to it.
    void awaitDialog();
    void awaitNoDialog();
    // Names the file in the file dialog that comes, by its name.
    void chooseFile(const QString& file);
    // Gives the keys to the main window.
    void toWindow();
    // Where a widget's point is on the screen; its middle without a point.
    QPoint on(QWidget* widget);
    static QPoint at(const QWidget& widget, QPoint point);
    template <class Widget> Widget* find() {
        return window->findChild<Widget*>();
    }
    // A control of the panel of looks.
    QWidget* control(int number);
    QTabWidget& tabs() const;

    QString file(const QString& name) const;
    QString write(const QString& name, const QByteArray& content) const;
    // The part of the picture that is not as its corner.
    static double covered(const QImage& image);

    // Opens another window in place of the present one.
    void open();

    const TempHome home;
    KivQtToolkit toolkit;
    KivToolkit* former = nullptr;
    KivRenderer loader;
    std::unique_ptr<StudioHost> host;
    std::unique_ptr<StudioWindow> window;
};

// Two boxes side by side, apart.
QByteArray twoBoxes();
// A wavy ring of so many triangles, times two.
QByteArray wavyRing(int around, int across);

#endif
